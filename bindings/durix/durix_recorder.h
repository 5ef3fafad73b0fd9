/*
 * libdurix_recorder: timers and recordings. Times are seconds since the epoch.
 * The codes DURIX_INSUFFICIENT_DISK_SPACE, DURIX_CONFLICTING_TIMER and DURIX_INVALID_TIME say why a timer was refused.
 */
#ifndef DURIX_DURIX_RECORDER_H
#define DURIX_DURIX_RECORDER_H

#include "durix.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct durix_recorder durix_recorder;

enum { DURIX_TIMER_RECORDING = 0, DURIX_TIMER_TIMESHIFT = 1 };

durix_return_code durix_recorder_create(durix_recorder** recorder);
durix_return_code durix_recorder_close(durix_recorder* recorder);
durix_return_code durix_recorder_activate(durix_recorder* recorder, const durix_provider* provider);
durix_return_code durix_recorder_deactivate(durix_recorder* recorder, const durix_provider* provider);
durix_return_code durix_recorder_list_recordings(durix_recorder* recorder, durix_esg_object** recordings,
                                                 uint32_t* count);
durix_return_code durix_recorder_list_timers(durix_recorder* recorder, durix_esg_object** timers, uint32_t* count);

/*
 * protocol is word 0 of the provider record; value is 30 for recordings and 0 for a timeshift. *timer points to the new
 * timer's record, which stays the middleware's and lives as long as the timer.
 */
durix_return_code durix_recorder_add_timer(durix_recorder* recorder, durix_provider_protocol protocol,
                                           const durix_esg_object* service, uint32_t type, int32_t start, int32_t end,
                                           uint32_t value, const char* name, durix_esg_object** timer);
durix_return_code durix_recorder_modify_timer(durix_recorder* recorder, const durix_esg_object* timer, int32_t start,
                                              int32_t end, uint32_t value, const char* name);
durix_return_code durix_recorder_remove_timer(durix_recorder* recorder, const durix_esg_object* timer);
durix_return_code durix_recorder_remove_recording(durix_recorder* recorder, const durix_esg_object* recording);

/* The recording that a timer writes: a record that stays the middleware's; null when there is none yet. */
durix_return_code durix_recorder_get_recording(durix_recorder* recorder, const durix_esg_object* timer,
                                               durix_esg_object** recording);

#ifdef __cplusplus
}
#endif
#endif
