#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

#include "EveryCall.h"
#include "middleware/durix_tools.h"

namespace durix::test {
namespace {

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
        Row{"no data", DURIX_REQUEST_SET_ADDRESS, none, 1},
        Row{"too little data", DURIX_REQUEST_SET_ADDRESS, requestOf(std::array<char, 49>{'1'}), 1},
        Row{"too little data", DURIX_REQUEST_SELECT, requestOf(address), 1},
        Row{"data of nowhere", DURIX_REQUEST_SET_ADDRESS, [] { return foreign<void>(); }, 1},
        Row{"list", DURIX_REQUEST_LIST_SELECTED, none, 0}, Row{"list", DURIX_REQUEST_LIST_AVAILABLE, none, 0},
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
  const TemporaryDirectory other;  // whose streams tell no time, but a later event
  multiplex.time.reset();
  multiplex.event = ON_AIR + 86'400;
  write(other / "474000000.ts", multiplex.bytes());
  for (const auto& receivers :
       {source + ",time=stream", "dvb-t=file:" + other.path().string() + ",time=stream " + source + ",time=stream"}) {
    ASSERT_EQ(middleware.start(receivers), DURIX_OK);
    EXPECT_NEAR(now(), double{ON_AIR}, 30) << receivers;
    ASSERT_EQ(middleware.stop(), DURIX_OK);
  }
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
