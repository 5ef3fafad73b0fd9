#include "EveryCall.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <initializer_list>

namespace durix::test {

TinyMultiplex twoServices() {
  return {.services = {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}}};
}

void ignore(durix_event_data* /*event*/, void* /*user*/) {}

Things::Things(const Middleware& middleware)
    : handle(middleware.handle()),
      provider(middleware.provider()),
      service(middleware.services().at(0)),
      feed(middleware.feeds(service).at(1)) {
  const durix_render_data none{};
  EXPECT_EQ(durix_player_init(), DURIX_OK);
  EXPECT_EQ(durix_player_create(&player, &none, nullptr), DURIX_OK);
  EXPECT_EQ(durix_recorder_create(&recorder), DURIX_OK);
}

namespace {

// What a call hands out, given back at once.
struct Out {
  durix_esg_object* objects = nullptr;
  durix_esg_object* services = nullptr;  // the array that the system's allocator gives
  durix_esg_object* lent = nullptr;      // stays the middleware's
  durix_provider* providers = nullptr;
  durix_device* devices = nullptr;
  std::int32_t* numbers = nullptr;
  char* text = nullptr;
  std::uint32_t count = 0;
  std::int32_t number = 0;
  std::uint8_t flag = 0;

  Out() = default;
  Out(const Out&) = delete;
  Out& operator=(const Out&) = delete;
  ~Out() {
    std::free(services);
    for (void* const memory : std::initializer_list<void*>{objects, providers, devices, numbers, text}) {
      ostiv_mem_free(memory);
    }
  }
};

constexpr durix_render_data RENDER{};
constexpr durix_scan_configuration NOTHING{0, nullptr};

}  // namespace

std::vector<Call> everyCall() {
  struct Row {
    const char* name;
    durix_return_code (*make)(Things&, Out&);
  };
  static const std::vector<Row> rows{
      {"deinit", [](Things& t, Out&) { return durix_deinit(t.handle); }},
      {"allow_updates", [](Things& t, Out&) { return durix_allow_updates(t.handle); }},
      {"callback_add", [](Things& t, Out&) { return durix_callback_add(t.handle, 1, ignore, nullptr); }},
      {"callback_remove", [](Things& t, Out&) { return durix_callback_remove(t.handle, 1, ignore); }},
      {"property_set", [](Things& t, Out&) { return durix_property_set(t.handle, 1, "x"); }},
      {"property_get", [](Things& t, Out& out) { return durix_property_get(t.handle, 1, &out.text); }},
      {"providers_get", [](Things& t, Out& out) { return durix_providers_get(t.handle, &out.providers, &out.count); }},
      {"discover_start", [](Things& t, Out&) { return durix_discover_start(t.handle, 0, 0, &NOTHING, true); }},
      {"discover_cancel", [](Things& t, Out&) { return durix_discover_cancel(t.handle); }},
      {"device_get", [](Things& t, Out& out) { return durix_device_get(t.handle, &out.devices, &out.count); }},
      {"provider_mount", [](Things& t, Out&) { return durix_provider_mount(&t.provider); }},
      {"provider_unmount", [](Things& t, Out&) { return durix_provider_unmount(&t.provider); }},
      {"provider_activate", [](Things& t, Out&) { return durix_provider_activate(&t.provider); }},
      {"provider_deactivate", [](Things& t, Out&) { return durix_provider_deactivate(&t.provider); }},
      {"provider_match", [](Things& t, Out&) { return durix_provider_match(&t.provider, 1, 1); }},
      {"services_get", [](Things& t, Out& out) { return durix_services_get(&t.provider, &out.services, &out.count); }},
      {"attribute_get_str", [](Things& t, Out& out) { return durix_attribute_get_str(&t.service, 22, &out.text); }},
      {"attribute_get_int", [](Things& t, Out& out) { return durix_attribute_get_int(&t.service, 43, &out.number); }},
      {"attribute_get_bool", [](Things& t, Out& out) { return durix_attribute_get_bool(&t.service, 21, &out.flag); }},
      {"attribute_get_array",
       [](Things& t, Out& out) { return durix_attribute_get_array_int(&t.service, 25, &out.numbers, &out.count); }},
      {"program_events_get",
       [](Things& t, Out& out) { return durix_program_events_get(&t.service, &out.objects, &out.count); }},
      {"feeds_get",
       [](Things& t, Out& out) { return durix_esg_object_feeds_get(&t.service, &out.objects, &out.count); }},
      {"feed_open", [](Things& t, Out&) { return durix_feed_open(&t.feed, 0); }},
      {"feeds_close", [](Things& t, Out&) { return durix_feeds_close(&t.feed, 1, 0); }},
      {"player_destroy", [](Things& t, Out&) { return durix_player_destroy(t.player); }},
      {"player_render_data_set", [](Things& t, Out&) { return durix_player_render_data_set(t.player, &RENDER); }},
      {"player_feed_add", [](Things& t, Out&) { return durix_player_feed_add(t.player, &t.feed); }},
      {"player_feed_remove", [](Things& t, Out&) { return durix_player_feed_remove(t.player, &t.feed); }},
      {"player_start", [](Things& t, Out&) { return durix_player_start(t.player, true); }},
      {"player_stop", [](Things& t, Out&) { return durix_player_stop(t.player); }},
      {"player_pause", [](Things& t, Out&) { return durix_player_pause(t.player, true); }},
      {"player_seek", [](Things& t, Out&) { return durix_player_seek(t.player, 1); }},
      {"player_get_position", [](Things& t, Out& out) { return durix_player_get_position(t.player, &out.count); }},
      {"player_get_duration", [](Things& t, Out& out) { return durix_player_get_duration(t.player, &out.count); }},
      {"player_size_set", [](Things& t, Out&) { return durix_player_size_set(t.player, 1, 1); }},
      {"player_volume_set", [](Things& t, Out&) { return durix_player_volume_set(t.player, 1); }},
      {"player_teletext_set_page", [](Things& t, Out&) { return durix_player_teletext_set_page(t.player, 100, 0); }},
      {"player_teletext_change_page", [](Things& t, Out&) { return durix_player_teletext_change_page(t.player, 0); }},
      {"recorder_close", [](Things& t, Out&) { return durix_recorder_close(t.recorder); }},
      {"recorder_activate", [](Things& t, Out&) { return durix_recorder_activate(t.recorder, &t.provider); }},
      {"recorder_deactivate", [](Things& t, Out&) { return durix_recorder_deactivate(t.recorder, &t.provider); }},
      {"recorder_list_recordings",
       [](Things& t, Out& out) { return durix_recorder_list_recordings(t.recorder, &out.objects, &out.count); }},
      {"recorder_list_timers",
       [](Things& t, Out& out) { return durix_recorder_list_timers(t.recorder, &out.objects, &out.count); }},
      {"recorder_add_timer",
       [](Things& t, Out& out) {
         return durix_recorder_add_timer(t.recorder, 1, &t.service, 0, 1, 2, 30, "x", &out.lent);
       }},
      {"recorder_modify_timer",
       [](Things& t, Out&) { return durix_recorder_modify_timer(t.recorder, &t.service, 1, 2, 30, "x"); }},
      {"recorder_remove_timer", [](Things& t, Out&) { return durix_recorder_remove_timer(t.recorder, &t.service); }},
      {"recorder_remove_recording",
       [](Things& t, Out&) { return durix_recorder_remove_recording(t.recorder, &t.service); }},
      {"recorder_get_recording",
       [](Things& t, Out& out) { return durix_recorder_get_recording(t.recorder, &t.service, &out.lent); }},
      {"device_execute_request",
       [](Things& t, Out&) { return durix_device_execute_request(t.handle, DURIX_REQUEST_LIST_AVAILABLE, nullptr); }},
  };
  std::vector<Call> calls;
  calls.reserve(rows.size());
  for (const Row& row : rows) {
    calls.push_back({row.name, [make = row.make](Things& things) {
                       Out out;
                       return make(things, out);
                     }});
  }
  return calls;
}

}  // namespace durix::test
