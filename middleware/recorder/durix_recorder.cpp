// libdurix_recorder: the calls of durix_recorder.h.

#include "durix/durix_recorder.h"

#include <memory>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/HandleTable.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::Providers;

namespace {

// A recorder lives as long as the instance that it was made with, if nobody closes it before.
struct Recorder {
  std::weak_ptr<Instance> instance;
};

// Never destroyed: a call may come while the process ends.
durix::HandleTable<durix_recorder, Recorder>& recorders() {
  static auto* const table = new durix::HandleTable<durix_recorder, Recorder>;
  return *table;
}

template <typename Call>
durix_return_code withRecorder(const durix_recorder* handle, Call call) {
  return guarded([&] {
    const auto instance = Instance::current();
    const auto recorder = recorders().find(handle);
    if (recorder == nullptr || recorder->instance.lock() != instance) throw Failure(Code::UnknownObject);
    call(*instance);
  });
}

// There are no timers and no recordings.
durix_return_code listNothing(const durix_recorder* recorder, durix_esg_object** objects, uint32_t* count) {
  return withRecorder(recorder, [&](Instance&) {
    need(objects, count);
    *objects = nullptr;
    *count = 0;
  });
}

durix_return_code unknownObject(const durix_recorder* recorder) {
  return withRecorder(recorder, [](Instance&) { throw Failure(Code::UnknownObject); });
}

}  // namespace

extern "C" {

durix_return_code durix_recorder_create(durix_recorder** recorder) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(recorder);
    *recorder = recorders().add(std::make_shared<Recorder>(Recorder{instance}));
  });
}

durix_return_code durix_recorder_close(durix_recorder* recorder) {
  return withRecorder(recorder, [&](Instance&) { recorders().remove(recorder); });
}

durix_return_code durix_recorder_activate(durix_recorder* recorder, const durix_provider* provider) {
  return withRecorder(recorder,
                      [&](Instance& instance) { Providers::typeOf(provider, *instance.store().catalogue()); });
}

durix_return_code durix_recorder_deactivate(durix_recorder* recorder, const durix_provider* provider) {
  return durix_recorder_activate(recorder, provider);  // both only need to know the provider
}

durix_return_code durix_recorder_list_recordings(durix_recorder* recorder, durix_esg_object** recordings,
                                                 uint32_t* count) {
  return listNothing(recorder, recordings, count);
}

durix_return_code durix_recorder_list_timers(durix_recorder* recorder, durix_esg_object** timers, uint32_t* count) {
  return listNothing(recorder, timers, count);
}

durix_return_code durix_recorder_add_timer(durix_recorder* recorder, durix_provider_protocol, const durix_esg_object*,
                                           uint32_t, int32_t, int32_t, uint32_t, const char*, durix_esg_object**) {
  return withRecorder(recorder, [](Instance&) {
    throw Failure(Code::NotSupported, "a timer is to be added, but nothing can be recorded yet");
  });
}

durix_return_code durix_recorder_modify_timer(durix_recorder* recorder, const durix_esg_object*, int32_t, int32_t,
                                              uint32_t, const char*) {
  return unknownObject(recorder);
}

durix_return_code durix_recorder_remove_timer(durix_recorder* recorder, const durix_esg_object*) {
  return unknownObject(recorder);
}

durix_return_code durix_recorder_remove_recording(durix_recorder* recorder, const durix_esg_object*) {
  return unknownObject(recorder);
}

durix_return_code durix_recorder_get_recording(durix_recorder* recorder, const durix_esg_object*, durix_esg_object**) {
  return unknownObject(recorder);
}
}
