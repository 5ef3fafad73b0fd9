#include "Fixture.h"

#include <cstring>

namespace durix::test {
namespace {

constexpr std::uint32_t EVENTS[] = {DURIX_EVENT_TIMER_ACTIVATING, DURIX_EVENT_TIMER_ACTIVE, DURIX_EVENT_TIMER_DEACTIVE,
                                    DURIX_EVENT_RECORDER_DEVICE_FULL};

std::vector<durix_esg_object> taken(durix_esg_object* objects, std::uint32_t count) {
  std::vector<durix_esg_object> list(objects, objects + count);
  ostiv_mem_free(objects);
  return list;
}

}  // namespace

void RecorderFixture::SetUp() {
  write(_middleware.airDirectory() / "474000000.ts", multiplexOf({"One", "Two"}, 1, 4));
  write(_middleware.airDirectory() / "482000000.ts", multiplexOf({"Three"}, 2, 4));
}

void RecorderFixture::TearDown() {
  if (_middleware.handle() != nullptr) stop();
}

void RecorderFixture::start(unsigned tuners, bool isActive) {
  ASSERT_EQ(
      _middleware.start("dvb-t=file:" + _middleware.airDirectory().string() + ",tuners=" + std::to_string(tuners)),
      DURIX_OK);
  for (const auto event : EVENTS) durix_callback_add(nullptr, event, handle, this);
  if (_middleware.services().empty()) {
    ASSERT_TRUE(_middleware.scan({474'000'000, 482'000'000}));
  }
  ASSERT_EQ(durix_recorder_create(&_recorder), DURIX_OK);
  const auto provider = _middleware.provider();
  if (isActive) {
    ASSERT_EQ(durix_recorder_activate(_recorder, &provider), DURIX_OK);
  }
}

void RecorderFixture::stop() {
  for (const auto event : EVENTS) durix_callback_remove(nullptr, event, handle);
  EXPECT_EQ(_middleware.stop(), DURIX_OK);
}

durix_return_code RecorderFixture::add(const std::string& name, std::int64_t start, std::int64_t end,
                                       std::uint32_t value, std::uint32_t type) {
  const auto of = service(name);
  durix_esg_object* timer = nullptr;
  const auto code =
      durix_recorder_add_timer(_recorder, _middleware.provider().protocol, &of, type, static_cast<std::int32_t>(start),
                               static_cast<std::int32_t>(end), value, "A name / of \"it\"", &timer);
  if (code == DURIX_OK) _added = *timer;
  return code;
}

durix_esg_object RecorderFixture::service(const std::string& name) const {
  for (const auto& service : _middleware.services()) {
    if (_middleware.text(service, DURIX_ATTRIBUTE_NAME) == name) return service;
  }
  return {};
}

std::vector<durix_esg_object> RecorderFixture::timers() const {
  durix_esg_object* objects = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(durix_recorder_list_timers(_recorder, &objects, &count), DURIX_OK);
  return taken(objects, count);
}

std::vector<durix_esg_object> RecorderFixture::recordings() const {
  durix_esg_object* objects = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(durix_recorder_list_recordings(_recorder, &objects, &count), DURIX_OK);
  return taken(objects, count);
}

std::filesystem::path RecorderFixture::fileOf(std::uint32_t recording) const {
  std::filesystem::path file;
  durix_tools_recording_look(
      recording,
      [](const durix_tools_recording* look, void* user) { *static_cast<std::filesystem::path*>(user) = look->file; },
      &file);
  return file;
}

std::uint32_t RecorderFixture::secondsOf(std::uint32_t recording) const {
  std::uint32_t seconds = 0;
  durix_tools_recording_look(
      recording,
      [](const durix_tools_recording* look, void* user) { *static_cast<std::uint32_t*>(user) = look->seconds; },
      &seconds);
  return seconds;
}

void RecorderFixture::handle(durix_event_data* event, void* user) {
  auto& fixture = *static_cast<RecorderFixture*>(user);
  Told told;
  told.event = wordAt(event, DURIX_OFFSET_EVENT);
  told.timer = wordAt(event, DURIX_OFFSET_TIMER_ID);
  if (told.event == DURIX_EVENT_TIMER_ACTIVATING) {
    told.value = wordAt(event, DURIX_OFFSET_TIMER_ACTIVATING_VALUE);
    const std::uint32_t* ids = nullptr;
    std::memcpy(&ids, reinterpret_cast<const char*>(event) + DURIX_OFFSET_TIMER_ACTIVATING_IDS, sizeof ids);
    told.others.assign(ids, ids + wordAt(event, DURIX_OFFSET_TIMER_ACTIVATING_COUNT));
  }
  for (const auto& timer : fixture.timers()) told.timers.push_back(timer.id);
  const durix_esg_object timer{DURIX_OBJECT_TIMER, told.timer, 0};
  durix_esg_object* recording = nullptr;
  if (durix_recorder_get_recording(fixture._recorder, &timer, &recording) == DURIX_OK && recording != nullptr) {
    told.recording = recording->id;
  }
  if (fixture._inside) fixture._inside(told);
  const std::scoped_lock lock(fixture._mutex);
  fixture._told.push_back(std::move(told));
  fixture._changed.notify_all();
}

Told RecorderFixture::next() {
  std::unique_lock lock(_mutex);
  const bool came = _changed.wait_for(lock, LONGEST_WAIT, [&] { return _read < _told.size(); });
  EXPECT_TRUE(came) << "no event came";
  return came ? _told[_read++] : Told{};
}

bool RecorderFixture::isQuiet() {
  std::unique_lock lock(_mutex);
  return !_changed.wait_for(lock, std::chrono::milliseconds(400), [&] { return _read < _told.size(); });
}

std::int64_t RecorderFixture::now() {
  std::int64_t seconds = 0;
  ostiv_time_get_system_time(&seconds);
  return seconds;
}

}  // namespace durix::test
