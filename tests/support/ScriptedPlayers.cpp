// The calls of libdurix_player and libdurix_recorder, answered by the scripted middleware that stands.
#include "tests/support/ScriptedAnswers.h"

using namespace scripted;

namespace {

durix_recorder* const RECORDER = reinterpret_cast<durix_recorder*>(0x30);

/// A call about a player, with what else it was given.
durix_return_code notePlayer(const char* call, durix_player* player, const std::string& arguments = {}) {
  return note(call, name(player) + (arguments.empty() ? "" : "," + arguments));
}

/// The event that says so follows.
durix_return_code notePlaying(const char* call, durix_player* player, std::uint32_t event,
                              const std::string& arguments = {}) {
  const durix_return_code code = notePlayer(call, player, arguments);
  if (code == 0 && middleware().post) middleware().post(Event(event).put(DURIX_OFFSET_PLAYER_HANDLE, player));
  return code;
}

std::string describe(const durix_render_data& render) {
  return number(render.kind) + ",window " + number(reinterpret_cast<std::intptr_t>(render.window)) +
         (render.picture == nullptr ? "" : ",pictures");
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
durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void* user) {
  const auto code =
      note("durix_player_create", describe(*render_data) + (user == nullptr ? ",no listener" : ",a listener"));
  if (ScriptedMiddleware::current() == nullptr) return code;
  *player = middleware().newPlayer();  // written by a call that failed too
  if (code != 0) return code;
  const auto lock = world();
  middleware().renders[*player] = *render_data;
  return 0;
}
durix_return_code durix_player_destroy(durix_player* player) {
  return notePlayer("durix_player_destroy", player);
}
durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* render_data) {
  const auto code = notePlayer("durix_player_render_data_set", player, describe(*render_data));
  if (code != 0) return code;
  const auto lock = world();
  middleware().renders[player] = *render_data;
  return 0;
}
durix_return_code durix_player_feed_add(durix_player* player, const durix_esg_object* feed) {
  return notePlayer("durix_player_feed_add", player, name(feed));
}
durix_return_code durix_player_feed_remove(durix_player* player, const durix_esg_object* feed) {
  return notePlayer("durix_player_feed_remove", player, name(feed));
}
durix_return_code durix_player_start(durix_player* player, bool flag) {
  return notePlaying("durix_player_start", player, DURIX_PLAYER_EVENT_STARTED, number(flag));
}
durix_return_code durix_player_stop(durix_player* player) {
  return notePlaying("durix_player_stop", player, DURIX_PLAYER_EVENT_CLOSED);
}
durix_return_code durix_player_pause(durix_player* player, bool on) {
  return notePlayer("durix_player_pause", player, number(on));
}
durix_return_code durix_player_seek(durix_player* player, uint32_t position) {
  return notePlayer("durix_player_seek", player, number(position));
}
durix_return_code durix_player_get_position(durix_player* player, uint32_t* position) {
  const auto code = notePlayer("durix_player_get_position", player);
  if (ScriptedMiddleware::current() != nullptr) *position = middleware().position;  // by a call that failed too
  return code;
}
durix_return_code durix_player_get_duration(durix_player* player, uint32_t* duration) {
  const auto code = notePlayer("durix_player_get_duration", player);
  if (ScriptedMiddleware::current() != nullptr) *duration = middleware().duration;
  return code;
}
durix_return_code durix_player_size_set(durix_player* player, uint32_t width, uint32_t height) {
  return notePlayer("durix_player_size_set", player, number(width) + "," + number(height));
}
durix_return_code durix_player_volume_set(durix_player* player, uint8_t volume) {
  return notePlayer("durix_player_volume_set", player, number(volume));
}
durix_return_code durix_player_teletext_set_page(durix_player* player, uint32_t page, uint32_t subpage) {
  return notePlayer("durix_player_teletext_set_page", player, number(page) + "," + number(subpage));
}
durix_return_code durix_player_teletext_change_page(durix_player* player, uint32_t command) {
  return notePlayer("durix_player_teletext_change_page", player, number(command));
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
  const auto lock = world();
  giveArray("durix_recorder_list_recordings", middleware().recordings, recordings, count);
  return 0;
}
durix_return_code durix_recorder_list_timers(durix_recorder* /*recorder*/, durix_esg_object** timers, uint32_t* count) {
  if (const auto code = note("durix_recorder_list_timers"); code != 0) return code;
  const auto lock = world();
  giveArray("durix_recorder_list_timers", middleware().listedTimers, timers, count);
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
  if (code == 0) *recording = handsOutNothing("durix_recorder_get_recording") ? nullptr : &written;
  return code;
}

}  // extern "C"
