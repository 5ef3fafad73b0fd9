// The calls of libdurix_player and libdurix_recorder, answered by the scripted middleware that stands.
#include "tests/support/ScriptedAnswers.h"

using namespace scripted;

namespace {

durix_recorder* const RECORDER = reinterpret_cast<durix_recorder*>(0x30);

/// The event that says so follows.
durix_return_code notePlaying(const char* call, durix_player* player, std::uint32_t event) {
  const durix_return_code code = note(call, name(player));
  if (code == 0 && middleware().post) middleware().post(Event(event).put(DURIX_OFFSET_PLAYER_HANDLE, player));
  return code;
}

}  // namespace

extern "C" {

// ---- players ----

durix_return_code durix_player_init(void) {
  return note("durix_player_init");
}
durix_return_code durix_player_deinit(void) {
  return note("durix_player_deinit");
}
durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void* /*user*/) {
  if (const auto code = note("durix_player_create", number(render_data->kind)); code != 0) return code;
  *player = middleware().newPlayer();
  return 0;
}
durix_return_code durix_player_destroy(durix_player* player) {
  return note("durix_player_destroy", name(player));
}
durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* /*render_data*/) {
  return note("durix_player_render_data_set", name(player));
}
durix_return_code durix_player_feed_add(durix_player* /*player*/, const durix_esg_object* feed) {
  return note("durix_player_feed_add", name(feed));
}
durix_return_code durix_player_feed_remove(durix_player* /*player*/, const durix_esg_object* feed) {
  return note("durix_player_feed_remove", name(feed));
}
durix_return_code durix_player_start(durix_player* player, bool /*flag*/) {
  return notePlaying("durix_player_start", player, DURIX_PLAYER_EVENT_STARTED);
}
durix_return_code durix_player_stop(durix_player* player) {
  return notePlaying("durix_player_stop", player, DURIX_PLAYER_EVENT_CLOSED);
}
durix_return_code durix_player_pause(durix_player* /*player*/, bool on) {
  return note("durix_player_pause", number(on));
}
durix_return_code durix_player_seek(durix_player* /*player*/, uint32_t position) {
  return note("durix_player_seek", number(position));
}
durix_return_code durix_player_get_position(durix_player* /*player*/, uint32_t* position) {
  *position = 0;
  return note("durix_player_get_position");
}
durix_return_code durix_player_get_duration(durix_player* /*player*/, uint32_t* duration) {
  *duration = 0;
  return note("durix_player_get_duration");
}
durix_return_code durix_player_size_set(durix_player* /*player*/, uint32_t width, uint32_t height) {
  return note("durix_player_size_set", number(width) + "," + number(height));
}
durix_return_code durix_player_volume_set(durix_player* /*player*/, uint8_t volume) {
  return note("durix_player_volume_set", number(volume));
}
durix_return_code durix_player_teletext_set_page(durix_player* /*player*/, uint32_t page, uint32_t subpage) {
  return note("durix_player_teletext_set_page", number(page) + "," + number(subpage));
}
durix_return_code durix_player_teletext_change_page(durix_player* /*player*/, uint32_t command) {
  return note("durix_player_teletext_change_page", number(command));
}

// ---- recorder ----

durix_return_code durix_recorder_create(durix_recorder** recorder) {
  if (const auto code = note("durix_recorder_create"); code != 0) return code;
  *recorder = RECORDER;
  return 0;
}
durix_return_code durix_recorder_close(durix_recorder* /*recorder*/) {
  return note("durix_recorder_close");
}
durix_return_code durix_recorder_activate(durix_recorder* /*recorder*/, const durix_provider* provider) {
  return note("durix_recorder_activate", name(provider));
}
durix_return_code durix_recorder_deactivate(durix_recorder* /*recorder*/, const durix_provider* provider) {
  return note("durix_recorder_deactivate", name(provider));
}
durix_return_code durix_recorder_list_recordings(durix_recorder* /*recorder*/, durix_esg_object** recordings,
                                                 uint32_t* count) {
  if (const auto code = note("durix_recorder_list_recordings"); code != 0) return code;
  giveArray("durix_recorder_list_recordings", std::vector<durix_esg_object>{}, recordings, count);
  return 0;
}
durix_return_code durix_recorder_list_timers(durix_recorder* /*recorder*/, durix_esg_object** timers, uint32_t* count) {
  if (const auto code = note("durix_recorder_list_timers"); code != 0) return code;
  giveArray("durix_recorder_list_timers", std::vector<durix_esg_object>{}, timers, count);
  return 0;
}
durix_return_code durix_recorder_add_timer(durix_recorder* /*recorder*/, durix_provider_protocol protocol,
                                           const durix_esg_object* service, uint32_t type, int32_t start, int32_t end,
                                           uint32_t value, const char* title, durix_esg_object** timer) {
  const auto code =
      note("durix_recorder_add_timer", number(protocol) + "," + name(service) + "," + number(type) + "," +
                                           number(start) + "," + number(end) + "," + number(value) + "," + title);
  if (code != 0) return code;
  const auto lock = world();
  middleware().timers.push_back({DURIX_OBJECT_TIMER, middleware().nextTimer++, 0});
  *timer = &middleware().timers.back();
  return 0;
}
durix_return_code durix_recorder_modify_timer(durix_recorder* /*recorder*/, const durix_esg_object* timer,
                                              int32_t start, int32_t end, uint32_t value, const char* title) {
  return note("durix_recorder_modify_timer",
              name(timer) + "," + number(start) + "," + number(end) + "," + number(value) + "," + title);
}
durix_return_code durix_recorder_remove_timer(durix_recorder* /*recorder*/, const durix_esg_object* timer) {
  return note("durix_recorder_remove_timer", name(timer));
}
durix_return_code durix_recorder_remove_recording(durix_recorder* /*recorder*/, const durix_esg_object* recording) {
  return note("durix_recorder_remove_recording", name(recording));
}
durix_return_code durix_recorder_get_recording(durix_recorder* /*recorder*/, const durix_esg_object* timer,
                                               durix_esg_object** recording) {
  static durix_esg_object written{9, 901, 0};
  const auto code = note("durix_recorder_get_recording", name(timer));
  if (code == 0) *recording = &written;
  return code;
}

}  // extern "C"
