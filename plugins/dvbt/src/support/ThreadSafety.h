#pragma once

// clang's thread-safety annotations; nothing elsewhere.
#if defined(__clang__)
#define BC_ANNOTATE(x) __attribute__((x))
#else
#define BC_ANNOTATE(x)
#endif

#define BC_CAPABILITY(name) BC_ANNOTATE(capability(name))
#define BC_SCOPED_CAPABILITY BC_ANNOTATE(scoped_lockable)
#define BC_GUARDED_BY(mutex) BC_ANNOTATE(guarded_by(mutex))
#define BC_REQUIRES(...) BC_ANNOTATE(requires_capability(__VA_ARGS__))
#define BC_ACQUIRE(...) BC_ANNOTATE(acquire_capability(__VA_ARGS__))
#define BC_RELEASE(...) BC_ANNOTATE(release_capability(__VA_ARGS__))
#define BC_EXCLUDES(...) BC_ANNOTATE(locks_excluded(__VA_ARGS__))
#define BC_NO_ANALYSIS BC_ANNOTATE(no_thread_safety_analysis)
