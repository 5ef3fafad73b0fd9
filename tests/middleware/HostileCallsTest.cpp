// Calls with arguments that no honest user gives: each is answered with an error, and nothing breaks.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

#include "EveryCall.h"
#include "middleware/durix_tools.h"

namespace durix::test {
namespace {

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

TEST(HostileCalls, AnswersEveryBadArgumentWithAnError) {
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

TEST(HostileCalls, AnswersEveryLateCallWithAnError) {
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

TEST(HostileCalls, AnswersEveryNullWithAnError) {
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
      durix_recorder_create(nullptr),
      durix_recorder_list_timers(t.recorder, nullptr, nullptr),
      durix_tools_scan_report(nullptr, nullptr),
      durix_tools_receivers(nullptr, nullptr)};
  for (std::size_t i = 0; i < codes.size(); ++i) EXPECT_NE(codes[i], DURIX_OK) << i;
  EXPECT_EQ(count, 7U) << "out values are written on success only";
  EXPECT_EQ(objects, nullptr);
}

// A list that claims to be longer than any is refused before it is read: what stands behind its first entry is
// nobody's.
TEST(HostileCalls, AnswersEveryHugeCountWithAnError) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  const durix_callback_entry entry{1, ignore};
  durix_handle* handle = nullptr;
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const auto guide = middleware.feeds(middleware.services().at(0)).at(0);
  for (const std::uint32_t count : {0xFFFF'FFFFU, 0x8000'0000U, 0x0200'0000U}) {
    durix_scan_frequency one = tuning(474'000'000);
    const durix_scan_configuration list{count, &one};
    EXPECT_NE(durix_discover_start(middleware.handle(), 0, 0, &list, true), DURIX_OK);
    EXPECT_NE(durix_feeds_close(&guide, count, 0), DURIX_OK);
  }
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  for (const std::uint32_t count : {0xFFFF'FFFFU, 0x8000'0000U, 0x0200'0000U}) {
    EXPECT_NE(durix_init(&handle, 0, middleware.data().c_str(), "", &entry, count, nullptr), DURIX_OK);
  }
  EXPECT_EQ(handle, nullptr);
}

// A handler may make any call; each is answered at once.
TEST(HostileCalls, AnswersEveryCallFromAHandler) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  struct Inside {
    Things things;
    std::promise<std::size_t> made;
  } inside{Things(middleware), {}};
  const auto callAll = [](durix_event_data*, void* user) {
    auto& own = *static_cast<Inside*>(user);
    std::size_t made = 0;
    const auto calls = everyCall();
    for (auto call = calls.rbegin(); call != calls.rend(); ++call, ++made)
      call->make(own.things);  // the end comes last
    durix_handle* next = nullptr;
    durix_init(&next, 0, "/nonexistent", "", nullptr, 0, nullptr);
    own.made.set_value(made);
  };
  ASSERT_EQ(durix_callback_add(nullptr, DURIX_EVENT_RECEIVER_LOCK, callAll, &inside), DURIX_OK);
  durix_scan_frequency one = tuning(474'000'000);
  const durix_scan_configuration list{1, &one};
  ASSERT_EQ(durix_discover_start(middleware.handle(), 0, 0, &list, true), DURIX_OK);
  EXPECT_EQ(inside.made.get_future().get(), everyCall().size());
  EXPECT_NE(middleware.stop(), DURIX_OK) << "the first call of the list has ended it";
  EXPECT_EQ(middleware.start(), DURIX_OK);
}

// Four threads make every call at random, on things that are good, gone or of another life, while the middleware ends.
TEST(HostileCalls, FromManyThreadsAreSurvived) {
  Middleware middleware;
  middleware.air("474000000", twoServices());
  for (int life = 0; life < 3; ++life) {
    ASSERT_EQ(middleware.start(), DURIX_OK);
    ASSERT_TRUE(middleware.scan({474'000'000}));
    const Things things(middleware);
    const auto calls = everyCall();
    std::atomic<bool> isOver{false};
    std::atomic<unsigned> made{0};
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        Things own = things;
        for (unsigned step = i; !isOver; step += 7) {
          const auto& call = calls[1 + step % (calls.size() - 1)];  // not the one that ends it
          call.make(own);
          ++made;
        }
      });
    }
    EXPECT_TRUE(eventually([&] { return made > 2000; }));
    EXPECT_EQ(middleware.stop(), DURIX_OK);
    isOver = true;
  }
}

}  // namespace
}  // namespace durix::test
