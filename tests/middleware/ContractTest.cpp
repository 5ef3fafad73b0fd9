#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

#include "Support.h"
#include "durix/durix_player.h"
#include "durix/durix_recorder.h"
#include "middleware/durix_tools.h"

namespace durix::test {
namespace {

TinyMultiplex twoServices() {
  return {.services = {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}}};
}

void ignore(durix_event_data*, void*) {}

// A pointer that is no handle of anything, and may not be looked behind.
template <typename T>
T* foreign() {
  return reinterpret_cast<T*>(std::uintptr_t{0xDEAD0});
}

template <typename T>
std::function<void*()> requestOf(T request) {
  return [=]() -> void* {
    void* const data = ostiv_mem_calloc(1, sizeof request);
    std::memcpy(data, &request, sizeof request);
    return data;
  };
}

TEST(Contract, RunsTwiceInOneProcess) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  const auto live = durix_tools_memory_live();
  durix_handle* stale = nullptr;
  for (int life = 0; life < 2; ++life) {
    ASSERT_EQ(middleware.start(), DURIX_OK);
    EXPECT_NE(middleware.handle(), stale) << "no handle is given twice";
    durix_handle* second = nullptr;
    EXPECT_NE(durix_init(&second, 0, middleware.data().c_str(), "", nullptr, 0, nullptr), DURIX_OK) << "one at a time";
    EXPECT_NE(durix_allow_updates(stale), DURIX_OK);
    ASSERT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_ON));
    ASSERT_TRUE(middleware.scan({474'000'000}));
    EXPECT_EQ(middleware.names().size(), 2U);
    stale = middleware.handle();
    ASSERT_EQ(middleware.stop(), DURIX_OK);
    EXPECT_NE(durix_deinit(stale), DURIX_OK);
  }
  EXPECT_EQ(durix_tools_memory_live(), live) << "everything that was handed out has come back";
}

TEST(Contract, StopsInTheMiddleOfAScan) {
  Middleware middleware;
  ASSERT_EQ(middleware.start(), DURIX_OK);
  std::vector<durix_scan_frequency> many(1'000'000, tuning(1'000'000));
  const durix_scan_configuration list{static_cast<std::uint32_t>(many.size()), many.data()};
  ASSERT_EQ(durix_discover_start(middleware.handle(), 1, 1, &list, true), DURIX_OK);
  ASSERT_TRUE(middleware.log().waitFor(DURIX_EVENT_DISCOVER_PROGRESS));
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  const auto count = middleware.log().events().size();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(middleware.log().events().size(), count) << "no event comes late";
}

TEST(Contract, CanBeStoppedFromAHandler) {
  Middleware middleware;
  ASSERT_EQ(middleware.start(), DURIX_OK);
  struct Stop {
    durix_handle* handle;
    std::promise<durix_return_code> code;
  } stop{middleware.handle(), {}};
  ASSERT_EQ(durix_callback_add(
                nullptr, DURIX_EVENT_DISCOVER_FINISHED,
                [](durix_event_data*, void* user) {
                  auto& own = *static_cast<Stop*>(user);
                  own.code.set_value(durix_deinit(own.handle));
                },
                &stop),
            DURIX_OK);
  const durix_scan_configuration nothing{0, nullptr};
  ASSERT_EQ(durix_discover_start(middleware.handle(), 1, 1, &nothing, true), DURIX_OK);
  EXPECT_EQ(stop.code.get_future().get(), DURIX_OK);
  EXPECT_NE(middleware.stop(), DURIX_OK) << "it has";
  EXPECT_EQ(middleware.start(), DURIX_OK) << "and the next one runs";
}

// Everything of one life that another may still hold: valid while `middleware` runs, stale afterwards.
struct Things {
  durix_handle* handle;
  durix_provider provider;
  durix_esg_object service, feed;
  durix_player* player = nullptr;
  durix_recorder* recorder = nullptr;

  explicit Things(const Middleware& middleware)
      : handle(middleware.handle()),
        provider(middleware.provider()),
        service(middleware.services().at(0)),
        feed(middleware.feeds(service).at(1)) {
    const durix_render_data none{};
    EXPECT_EQ(durix_player_init(), DURIX_OK);
    EXPECT_EQ(durix_player_create(&player, &none, nullptr), DURIX_OK);
    EXPECT_EQ(durix_recorder_create(&recorder), DURIX_OK);
  }
};

struct Call {
  std::string name;
  std::function<durix_return_code(Things&)> make;
};

// Every call of the contract on the things it is given, with valid other arguments.
std::vector<Call> everyCall() {
  static durix_esg_object* objects;
  static durix_provider* providers;
  static durix_device* devices;
  static std::uint32_t count;
  static std::int32_t* numbers;
  static std::int32_t number;
  static std::uint8_t flag;
  static char* text;
  static const durix_render_data render{};
  static const durix_scan_configuration nothing{0, nullptr};
  return {
      {"deinit", [](Things& t) { return durix_deinit(t.handle); }},
      {"allow_updates", [](Things& t) { return durix_allow_updates(t.handle); }},
      {"callback_add", [](Things& t) { return durix_callback_add(t.handle, 1, ignore, nullptr); }},
      {"callback_remove", [](Things& t) { return durix_callback_remove(t.handle, 1, ignore); }},
      {"property_set", [](Things& t) { return durix_property_set(t.handle, 1, "x"); }},
      {"property_get", [](Things& t) { return durix_property_get(t.handle, 1, &text); }},
      {"providers_get", [](Things& t) { return durix_providers_get(t.handle, &providers, &count); }},
      {"discover_start", [](Things& t) { return durix_discover_start(t.handle, 0, 0, &nothing, true); }},
      {"discover_cancel", [](Things& t) { return durix_discover_cancel(t.handle); }},
      {"device_get", [](Things& t) { return durix_device_get(t.handle, &devices, &count); }},
      {"provider_mount", [](Things& t) { return durix_provider_mount(&t.provider); }},
      {"provider_unmount", [](Things& t) { return durix_provider_unmount(&t.provider); }},
      {"provider_activate", [](Things& t) { return durix_provider_activate(&t.provider); }},
      {"provider_deactivate", [](Things& t) { return durix_provider_deactivate(&t.provider); }},
      {"provider_match", [](Things& t) { return durix_provider_match(&t.provider, 1, 1); }},
      {"services_get", [](Things& t) { return durix_services_get(&t.provider, &objects, &count); }},
      {"attribute_get_str", [](Things& t) { return durix_attribute_get_str(&t.service, 22, &text); }},
      {"attribute_get_int", [](Things& t) { return durix_attribute_get_int(&t.service, 43, &number); }},
      {"attribute_get_bool", [](Things& t) { return durix_attribute_get_bool(&t.service, 21, &flag); }},
      {"attribute_get_array",
       [](Things& t) { return durix_attribute_get_array_int(&t.service, 25, &numbers, &count); }},
      {"program_events_get", [](Things& t) { return durix_program_events_get(&t.service, &objects, &count); }},
      {"feeds_get", [](Things& t) { return durix_esg_object_feeds_get(&t.service, &objects, &count); }},
      {"feed_open", [](Things& t) { return durix_feed_open(&t.feed, 0); }},
      {"feeds_close", [](Things& t) { return durix_feeds_close(&t.feed, 1, 0); }},
      {"player_destroy", [](Things& t) { return durix_player_destroy(t.player); }},
      {"player_render_data_set", [](Things& t) { return durix_player_render_data_set(t.player, &render); }},
      {"player_feed_add", [](Things& t) { return durix_player_feed_add(t.player, &t.feed); }},
      {"player_feed_remove", [](Things& t) { return durix_player_feed_remove(t.player, &t.feed); }},
      {"player_start", [](Things& t) { return durix_player_start(t.player, true); }},
      {"player_stop", [](Things& t) { return durix_player_stop(t.player); }},
      {"player_pause", [](Things& t) { return durix_player_pause(t.player, true); }},
      {"player_seek", [](Things& t) { return durix_player_seek(t.player, 1); }},
      {"player_get_position", [](Things& t) { return durix_player_get_position(t.player, &count); }},
      {"player_get_duration", [](Things& t) { return durix_player_get_duration(t.player, &count); }},
      {"player_size_set", [](Things& t) { return durix_player_size_set(t.player, 1, 1); }},
      {"player_volume_set", [](Things& t) { return durix_player_volume_set(t.player, 1); }},
      {"player_teletext_set_page", [](Things& t) { return durix_player_teletext_set_page(t.player, 100, 0); }},
      {"player_teletext_change_page", [](Things& t) { return durix_player_teletext_change_page(t.player, 0); }},
      {"recorder_close", [](Things& t) { return durix_recorder_close(t.recorder); }},
      {"recorder_activate", [](Things& t) { return durix_recorder_activate(t.recorder, &t.provider); }},
      {"recorder_deactivate", [](Things& t) { return durix_recorder_deactivate(t.recorder, &t.provider); }},
      {"recorder_list_recordings",
       [](Things& t) { return durix_recorder_list_recordings(t.recorder, &objects, &count); }},
      {"recorder_list_timers", [](Things& t) { return durix_recorder_list_timers(t.recorder, &objects, &count); }},
      {"recorder_add_timer",
       [](Things& t) { return durix_recorder_add_timer(t.recorder, 1, &t.service, 0, 1, 2, 30, "x", &objects); }},
      {"recorder_modify_timer",
       [](Things& t) { return durix_recorder_modify_timer(t.recorder, &t.service, 1, 2, 30, "x"); }},
      {"recorder_remove_timer", [](Things& t) { return durix_recorder_remove_timer(t.recorder, &t.service); }},
      {"recorder_remove_recording", [](Things& t) { return durix_recorder_remove_recording(t.recorder, &t.service); }},
      {"recorder_get_recording",
       [](Things& t) { return durix_recorder_get_recording(t.recorder, &t.service, &objects); }},
      {"device_execute_request",
       [](Things& t) { return durix_device_execute_request(t.handle, DURIX_REQUEST_LIST_AVAILABLE, nullptr); }},
  };
}

// Calls that need no thing to be a success of its kind, or look at none: theirs are other tests.
bool isFor(const std::string& name, const std::string& things) {
  const bool isPlayer = name.starts_with("player_");
  const bool isRecorder = name.starts_with("recorder_");
  if (name == "device_execute_request") return false;
  if (things == "object") {
    return name.starts_with("attribute") || name.starts_with("program") || name.starts_with("feed") ||
           name == "player_feed_add" || name == "player_feed_remove";
  }
  if (things == "provider") return name.starts_with("provider_") || name == "services_get";
  if (things == "player") return isPlayer;
  if (things == "recorder") return isRecorder;
  return !isPlayer && !isRecorder && !isFor(name, "object") && !isFor(name, "provider");
}

TEST(Contract, AnswersEveryBadArgumentWithAnError) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const Things good(middleware);
  struct Row {
    std::string things, why;
    std::function<void(Things&)> spoil;
  };
  const std::vector<Row> rows{
      {"handle", "foreign", [](Things& t) { t.handle = foreign<durix_handle>(); }},
      {"provider", "unknown identity", [](Things& t) { t.provider.identity = 9; }},
      {"provider", "another type", [](Things& t) { t.provider.receiver_type = 2; }},
      {"provider", "zero", [](Things& t) { t.provider = {}; }},
      {"object", "unknown", [](Things& t) { t.service.id = t.feed.id = 4'000'000'000; }},
      {"object", "empty", [](Things& t) { t.service = t.feed = {}; }},
      {"object", "another kind", [](Things& t) { t.service.kind = 2, t.feed.kind = 1; }},
      {"object", "no kind", [](Things& t) { t.service.kind = t.feed.kind = 77; }},
      {"object", "changed", [](Things& t) { ++t.service.opaque, ++t.feed.opaque; }},
      {"player", "null", [](Things& t) { t.player = nullptr; }},
      {"player", "foreign", [](Things& t) { t.player = foreign<durix_player>(); }},
      {"recorder", "null", [](Things& t) { t.recorder = nullptr; }},
      {"recorder", "foreign", [](Things& t) { t.recorder = foreign<durix_recorder>(); }},
  };
  int made = 0;
  for (const Row& row : rows) {
    for (const auto& call : everyCall()) {
      if (!isFor(call.name, row.things)) continue;
      Things bad = good;
      row.spoil(bad);
      EXPECT_NE(call.make(bad), DURIX_OK) << call.name << ": " << row.why;
      ++made;
    }
  }
  EXPECT_GT(made, 100) << "the rows reach the calls";
  EXPECT_EQ(middleware.names().size(), 2U) << "and nothing has changed";
}

TEST(Contract, AnswersEveryLateCallWithAnError) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  Things late(middleware);
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  for (const auto& call : everyCall()) EXPECT_NE(call.make(late), DURIX_OK) << call.name;
  EXPECT_EQ(durix_device_execute_request(late.handle, DURIX_REQUEST_LIST_AVAILABLE, nullptr), 1U);
  durix_player* player = nullptr;
  durix_recorder* recorder = nullptr;
  const durix_render_data none{};
  EXPECT_NE(durix_callback_add(nullptr, 1, ignore, nullptr), DURIX_OK);
  EXPECT_NE(durix_callback_remove(nullptr, 1, ignore), DURIX_OK);
  EXPECT_NE(durix_player_init(), DURIX_OK);
  EXPECT_NE(durix_player_deinit(), DURIX_OK);
  EXPECT_NE(durix_player_create(&player, &none, nullptr), DURIX_OK);
  EXPECT_NE(durix_recorder_create(&recorder), DURIX_OK);
  EXPECT_NE(durix_tools_receivers([](const durix_tools_receiver*, void*) {}, nullptr), DURIX_OK);

  ASSERT_EQ(middleware.start(), DURIX_OK);
  for (const auto& call : everyCall()) {
    const bool isOfOneLife = isFor(call.name, "handle") || isFor(call.name, "player") || isFor(call.name, "recorder");
    if (!isOfOneLife) continue;
    EXPECT_NE(call.make(late), DURIX_OK) << call.name << " in the next life";
  }
}

TEST(Contract, AnswersEveryNullWithAnError) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  Things t(middleware);
  std::uint32_t count = 7;
  durix_esg_object* objects = nullptr;
  durix_callback_entry entry{1, nullptr};
  const std::vector<durix_return_code> codes{
      durix_init(nullptr, 0, middleware.data().c_str(), "", nullptr, 0, nullptr),
      durix_init(&t.handle, 0, middleware.data().c_str(), "", nullptr, 3, nullptr),
      durix_init(&t.handle, 0, middleware.data().c_str(), "", &entry, 1, nullptr),
      durix_callback_add(t.handle, 1, nullptr, nullptr),
      durix_callback_add(t.handle, 0, ignore, nullptr),
      durix_callback_add(t.handle, 42, ignore, nullptr),
      durix_property_set(t.handle, 1, nullptr),
      durix_property_get(t.handle, 1, nullptr),
      durix_providers_get(t.handle, nullptr, &count),
      durix_providers_get(t.handle, nullptr, nullptr),
      durix_provider_mount(nullptr),
      durix_services_get(nullptr, &objects, &count),
      durix_services_get(&t.provider, &objects, nullptr),
      durix_discover_start(t.handle, 0, 0, nullptr, true),
      durix_device_get(t.handle, nullptr, &count),
      durix_attribute_get_str(nullptr, 22, nullptr),
      durix_attribute_get_str(&t.service, 22, nullptr),
      durix_attribute_get_int(&t.service, 43, nullptr),
      durix_attribute_get_bool(&t.service, 21, nullptr),
      durix_attribute_get_array_int(&t.service, 25, nullptr, nullptr),
      durix_program_events_get(nullptr, &objects, &count),
      durix_esg_object_feeds_get(&t.service, &objects, nullptr),
      durix_feed_open(nullptr, 0),
      durix_feeds_close(nullptr, 1, 0),
      durix_feeds_close(&t.feed, 0, 0),
      durix_player_create(nullptr, nullptr, nullptr),
      durix_player_create(&t.player, nullptr, nullptr),
      durix_player_feed_add(t.player, nullptr),
      durix_player_volume_set(t.player, 101),
      durix_recorder_create(nullptr),
      durix_recorder_list_timers(t.recorder, nullptr, nullptr),
      durix_tools_scan_report(nullptr, nullptr),
      durix_tools_receivers(nullptr, nullptr)};
  for (std::size_t i = 0; i < codes.size(); ++i) EXPECT_NE(codes[i], DURIX_OK) << i;
  EXPECT_EQ(count, 7U) << "out values are written on success only";
  EXPECT_EQ(objects, nullptr);
}

TEST(Contract, KnowsTheTypeOfEachAttribute) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const auto service = middleware.services().at(0);
  const auto feed = middleware.feeds(service).at(1);
  const auto typeOf = [](const durix_esg_object& object, durix_attribute attribute) {
    char* text = nullptr;
    std::int32_t number = 0;
    std::uint8_t flag = 0;
    std::int32_t* numbers = nullptr;
    std::uint32_t count = 0;
    std::string types;
    if (durix_attribute_get_str(&object, attribute, &text) == DURIX_OK) types += 's';
    if (durix_attribute_get_int(&object, attribute, &number) == DURIX_OK) types += 'i';
    if (durix_attribute_get_bool(&object, attribute, &flag) == DURIX_OK) types += 'b';
    if (durix_attribute_get_array_int(&object, attribute, &numbers, &count) == DURIX_OK) types += 'a';
    ostiv_mem_free(text);
    ostiv_mem_free(numbers);
    return types;
  };
  std::string ofService, ofFeed;
  for (durix_attribute attribute = 0; attribute <= 60; ++attribute) {
    const auto one = typeOf(service, attribute);
    const auto other = typeOf(feed, attribute);
    if (!one.empty()) ofService += std::to_string(attribute) + one + " ";
    if (!other.empty()) ofFeed += std::to_string(attribute) + other + " ";
  }
  EXPECT_EQ(ofService, "9s 18s 21b 22s 23s 25a 36i 41i 43i 48i ");
  EXPECT_EQ(ofFeed, "10s 26i 30s 35s 49i ");
}

TEST(Contract, MountsAndActivatesOneProvider) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const durix_provider provider = middleware.provider();
  EXPECT_EQ(std::tuple(provider.protocol, provider.receiver_type, std::string(provider.name), provider.reserved[0]),
            std::tuple(1U, 1U, "DVB-T", 0U));
  EXPECT_NE(durix_provider_activate(&provider), DURIX_OK) << "not mounted";
  EXPECT_EQ(middleware.names().size(), 2U) << "its services are to be asked for before that";
  ASSERT_EQ(durix_provider_mount(&provider), DURIX_OK);
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_PROTOCOL_TYPE), "");
  ASSERT_EQ(durix_provider_activate(&provider), DURIX_OK);
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_PROTOCOL_TYPE), "DVB-T");
  EXPECT_NE(durix_property_set(middleware.handle(), DURIX_PROPERTY_PROTOCOL_TYPE, "x"), DURIX_OK) << "to be read";
  EXPECT_NE(durix_property_set(middleware.handle(), 3, "x"), DURIX_OK) << "no such property";
  ASSERT_EQ(durix_provider_unmount(&provider), DURIX_OK);
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_PROTOCOL_TYPE), "");
  EXPECT_EQ(durix_provider_deactivate(&provider), DURIX_OK) << "every provider is, before a scan";
  struct Row {
    std::uint32_t protocol, type;
    bool matches;
  };
  for (const Row& row : {Row{1, 1, true}, Row{0, 0, true}, Row{1, 0, true}, Row{1, 2, false}, Row{2, 1, false}}) {
    EXPECT_EQ(durix_provider_match(&provider, row.protocol, row.type) == DURIX_OK, row.matches);
  }
}

TEST(Contract, TakesRequestsAboutReceivers) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start("dvb-t=file:" + middleware.airDirectory().string() + ",tuners=2"), DURIX_OK);
  durix_device* devices = nullptr;
  std::uint32_t count = 0;
  ASSERT_EQ(durix_device_get(middleware.handle(), &devices, &count), DURIX_OK);
  ASSERT_EQ(count, 2U);
  std::array<char, 32> text{};
  EXPECT_EQ(durix_tools_device_text(&devices[1], text.data(), text.size()), 16U);
  EXPECT_STREQ(text.data(), "DVB-T receiver 2");

  durix_request_select choice{1, {}, {}};
  ("file:" + middleware.airDirectory().string()).copy(static_cast<char*>(choice.first), sizeof choice.first);
  std::string("time=stream").copy(static_cast<char*>(choice.second), sizeof choice.second);
  auto unknown = choice;
  unknown.receiver_type = 9;
  auto full = choice;
  std::fill(std::begin(full.first), std::end(full.first), 'x');  // no NUL ends it, and it is no source
  durix_request_address address{"10.0.0.1", 5000};
  const auto live = durix_tools_memory_live();
  struct Row {
    std::string why;
    std::uint32_t request;
    std::function<void*()> data;
    durix_return_code code;
  };
  const std::function<void*()> none = [] { return nullptr; };
  for (const Row& row :
       {Row{"address", DURIX_REQUEST_SET_ADDRESS, requestOf(address), 0},
        Row{"no address", DURIX_REQUEST_SET_ADDRESS, requestOf(durix_request_address{}), 1},
        Row{"no data", DURIX_REQUEST_SET_ADDRESS, none, 1}, Row{"list", DURIX_REQUEST_LIST_SELECTED, none, 0},
        Row{"list", DURIX_REQUEST_LIST_AVAILABLE, none, 0},
        Row{"unknown type", DURIX_REQUEST_SELECT, requestOf(unknown), 1},
        Row{"text that fills its field", DURIX_REQUEST_SELECT, requestOf(full), 1},
        Row{"no data", DURIX_REQUEST_SELECT, none, 1}, Row{"select", DURIX_REQUEST_SELECT, requestOf(choice), 0},
        Row{"unknown", 99, requestOf(choice), 1}}) {
    EXPECT_EQ(durix_device_execute_request(devices, row.request, row.data()), row.code) << row.why;
    EXPECT_EQ(durix_device_execute_request(nullptr, row.request, row.data()), 1U) << row.why;
  }
  EXPECT_EQ(durix_tools_memory_live(), live) << "the data passed over each time";
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_RECEIVER_ADDRESS), "10.0.0.1:5000");
  ostiv_mem_free(devices);

  ASSERT_EQ(middleware.stop(), DURIX_OK);
  ASSERT_EQ(middleware.start(""), DURIX_OK);
  EXPECT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_ON)) << "the selection counts when none is given";
  EXPECT_EQ(durix_device_execute_request(middleware.handle(), DURIX_REQUEST_RESET, nullptr), 0U);
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  ASSERT_EQ(middleware.start(""), DURIX_OK);
  ASSERT_EQ(durix_device_get(middleware.handle(), &devices, &count), DURIX_OK);
  EXPECT_EQ(count, 0U) << "forgotten";
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_RECEIVER_ADDRESS), "");
}

TEST(Contract, StartsTheClockOfAStreamBeforeUpdates) {
  constexpr std::int64_t ON_AIR = 1'600'000'000;
  Middleware middleware;
  auto multiplex = twoServices();
  multiplex.time = ON_AIR;
  middleware.air("474000000", multiplex);
  const auto now = [] {
    std::int64_t seconds = 0;
    ostiv_time_get_system_time(&seconds);
    return static_cast<double>(seconds);
  };
  const auto source = "dvb-t=file:" + middleware.airDirectory().string();
  ASSERT_EQ(middleware.start(source + ",time=stream"), DURIX_OK);
  EXPECT_NEAR(now(), double{ON_AIR}, 30);
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  ASSERT_EQ(middleware.start(source), DURIX_OK);
  EXPECT_NEAR(now(), static_cast<double>(std::time(nullptr)), 30);
}

TEST(Contract, RefusesReceiversThatItCannotUnderstand) {
  Middleware middleware;
  EXPECT_NE(middleware.start("dvb-t=file:/a dvb-s=file:/b"), DURIX_OK);
  std::array<char, 128> text{};
  EXPECT_GT(durix_tools_start_failure(text.data(), text.size()), 10U);
  EXPECT_EQ(middleware.start(""), DURIX_OK) << "and can be started all the same";
  EXPECT_EQ(durix_tools_start_failure(text.data(), text.size()), 0U);
}

TEST(Contract, SurvivesManyThreadsAtItsEnd) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  for (int life = 0; life < 3; ++life) {
    ASSERT_EQ(middleware.start(), DURIX_OK);
    ASSERT_TRUE(middleware.scan({474'000'000}));
    const durix_provider provider = middleware.provider();
    durix_handle* const handle = middleware.handle();
    std::atomic<bool> isOver{false};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        while (!isOver) {
          durix_esg_object* services = nullptr;
          std::uint32_t count = 0;
          char* text = nullptr;
          if (durix_services_get(&provider, &services, &count) == DURIX_OK && count > 0) {
            if (durix_attribute_get_str(services, DURIX_ATTRIBUTE_NAME, &text) == DURIX_OK) ostiv_mem_free(text);
          }
          std::free(services);
          durix_property_set(handle, DURIX_PROPERTY_ESG_LANGUAGE, std::to_string(i).c_str());
          const durix_scan_frequency frequency = tuning(474'000'000);
          durix_scan_frequency list = frequency;
          const durix_scan_configuration one{1, &list};
          durix_discover_start(handle, 0, 0, &one, true);
        }
      });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(middleware.stop(), DURIX_OK);
    isOver = true;
  }
}

}  // namespace
}  // namespace durix::test
