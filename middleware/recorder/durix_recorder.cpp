// libdurix_recorder: the calls of durix_recorder.h.

#include "durix/durix_recorder.h"

#include <memory>
#include <span>
#include <vector>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/HandleTable.h"
#include "middleware/portability/Memory.h"
#include "middleware/recorder/Recorder.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::ObjectKind;
using durix::Providers;
using durix::Recorder;

namespace {

struct Handle {
  std::weak_ptr<Instance> instance;
  std::shared_ptr<Recorder> recorder;
};

// Never destroyed: a call may come while the process ends.
durix::HandleTable<durix_recorder, Handle>& handles() {
  static auto* const table = new durix::HandleTable<durix_recorder, Handle>;
  return *table;
}

// The handle of the running instance; another one is an error.
std::shared_ptr<Handle> find(const durix_recorder* recorder, const std::shared_ptr<Instance>& instance) {
  auto handle = handles().find(recorder);
  if (handle == nullptr || handle->instance.lock() != instance) throw Failure(Code::UnknownObject);
  return handle;
}

template <typename Call>
durix_return_code withRecorder(const durix_recorder* handle, Call call) {
  return guarded([&] {
    const auto instance = Instance::current();
    call(*instance, *find(handle, instance)->recorder);
  });
}

// The identifier in a record of a kind; a record that its holder has changed is none.
std::uint32_t idOf(const durix_esg_object* object, ObjectKind kind) {
  need(object);
  if (object->kind != static_cast<std::uint32_t>(kind) || object->opaque != 0) throw Failure(Code::UnknownObject);
  return object->id;
}

std::string textOf(const char* text) {
  return text == nullptr ? "" : text;
}

template <typename Stored>
durix_esg_object recordOf(ObjectKind kind, const Stored& stored) {
  return {static_cast<std::uint32_t>(kind), stored.id, 0};
}

void hand(const std::vector<durix_esg_object>& records, durix_esg_object** objects, uint32_t* count) {
  *objects = durix::copyForCaller(std::span<const durix_esg_object>(records));
  *count = static_cast<std::uint32_t>(records.size());
}

durix::TimerType typeOf(std::uint32_t type) {
  if (type != DURIX_TIMER_RECORDING && type != DURIX_TIMER_TIMESHIFT) throw Failure(Code::InvalidArgument);
  return static_cast<durix::TimerType>(type);
}

}  // namespace

extern "C" {

durix_return_code durix_recorder_create(durix_recorder** recorder) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(recorder);
    auto one = Recorder::of(instance);
    one->join();
    *recorder = handles().add(std::make_shared<Handle>(Handle{instance, std::move(one)}));
  });
}

durix_return_code durix_recorder_close(durix_recorder* recorder) {
  return guarded([&] {
    const auto instance = Instance::current();
    find(recorder, instance);
    const auto handle = handles().remove(recorder);
    if (handle == nullptr) throw Failure(Code::UnknownObject);  // somebody else was faster
    handle->recorder->leave();
  });
}

durix_return_code durix_recorder_activate(durix_recorder* recorder, const durix_provider* provider) {
  return withRecorder(recorder, [&](Instance& instance, Recorder& one) {
    one.activate(Providers::typeOf(provider, *instance.store().catalogue()));
  });
}

durix_return_code durix_recorder_deactivate(durix_recorder* recorder, const durix_provider* provider) {
  return withRecorder(recorder, [&](Instance& instance, Recorder& one) {
    Providers::typeOf(provider, *instance.store().catalogue());
    one.deactivate();
  });
}

durix_return_code durix_recorder_list_recordings(durix_recorder* recorder, durix_esg_object** recordings,
                                                 uint32_t* count) {
  return withRecorder(recorder, [&](Instance& instance, Recorder&) {
    need(recordings, count);
    std::vector<durix_esg_object> records;
    for (const auto& recording : instance.recordings().recordings()) {
      records.push_back(recordOf(ObjectKind::Recording, recording));
    }
    hand(records, recordings, count);
  });
}

durix_return_code durix_recorder_list_timers(durix_recorder* recorder, durix_esg_object** timers, uint32_t* count) {
  return withRecorder(recorder, [&](Instance& instance, Recorder&) {
    need(timers, count);
    std::vector<durix_esg_object> records;
    for (const auto& timer : instance.recordings().timers()) {
      if (timer.type == durix::TimerType::Recording) records.push_back(recordOf(ObjectKind::Timer, timer));
    }
    hand(records, timers, count);
  });
}

durix_return_code durix_recorder_add_timer(durix_recorder* recorder, durix_provider_protocol protocol,
                                           const durix_esg_object* service, uint32_t type, int32_t start, int32_t end,
                                           uint32_t value, const char* name, durix_esg_object** timer) {
  return withRecorder(recorder, [&](Instance& instance, Recorder& one) {
    need(timer);
    const auto id = idOf(service, ObjectKind::Service);
    const auto catalogue = instance.store().catalogue();
    const auto* const known = catalogue->service(id);
    if (known == nullptr) throw Failure(Code::UnknownObject);
    if (static_cast<std::uint32_t>(durix::protocolOf(known->receiver)) != protocol) {
      throw Failure(Code::InvalidArgument, "a timer names another provider than its service's");
    }
    const auto added = one.add({typeOf(type), id, start, end, value, textOf(name)});
    *timer = instance.recordings().record(ObjectKind::Timer, added);
  });
}

durix_return_code durix_recorder_modify_timer(durix_recorder* recorder, const durix_esg_object* timer, int32_t start,
                                              int32_t end, uint32_t value, const char* name) {
  return withRecorder(recorder, [&](Instance&, Recorder& one) {
    one.modify(idOf(timer, ObjectKind::Timer), {durix::TimerType::Recording, 0, start, end, value, textOf(name)});
  });
}

durix_return_code durix_recorder_remove_timer(durix_recorder* recorder, const durix_esg_object* timer) {
  return withRecorder(recorder, [&](Instance&, Recorder& one) { one.removeTimer(idOf(timer, ObjectKind::Timer)); });
}

// A time shift is removed by its timer.
durix_return_code durix_recorder_remove_recording(durix_recorder* recorder, const durix_esg_object* recording) {
  return withRecorder(recorder, [&](Instance& instance, Recorder& one) {
    need(recording);
    const bool isTimer = recording->kind == DURIX_OBJECT_TIMER;
    const auto id = idOf(recording, isTimer ? ObjectKind::Timer : ObjectKind::Recording);
    const auto timer = instance.recordings().timer(id);
    const bool isTimeShift = timer && timer->type == durix::TimerType::TimeShift;
    if (isTimer != isTimeShift) throw Failure(Code::UnknownObject);
    one.removeRecording(id);
  });
}

durix_return_code durix_recorder_get_recording(durix_recorder* recorder, const durix_esg_object* timer,
                                               durix_esg_object** recording) {
  return withRecorder(recorder, [&](Instance& instance, Recorder&) {
    need(recording);
    const auto known = instance.recordings().timer(idOf(timer, ObjectKind::Timer));
    if (!known) throw Failure(Code::UnknownObject);
    const bool hasWritten = known->recording != 0 && known->type == durix::TimerType::Recording;
    *recording = hasWritten ? instance.recordings().record(ObjectKind::Recording, known->recording) : nullptr;
  });
}
}
