#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "Support.h"
#include "middleware/events/EventQueue.h"

namespace durix::test {
namespace {

using namespace std::chrono_literals;
using Scope = EventQueue::Scope;

constexpr std::uint32_t EVENT = DURIX_EVENT_FEEDS_CHANGED;

// Counts its calls; the first one may be held inside.
struct Target {
  std::atomic<int> calls{0};
  std::promise<void> entered;
  std::promise<void> mayLeave;

  static void count(durix_event_data*, void* user) { ++static_cast<Target*>(user)->calls; }
  static void hold(durix_event_data*, void* user) {
    auto& target = *static_cast<Target*>(user);
    if (++target.calls > 1) return;
    target.entered.set_value();
    target.mayLeave.get_future().wait();
  }
};

TEST(EventRecord, HasItsFieldsAtTheOffsetsOfTheContract) {
  int object = 0;
  EventRecord end(DURIX_PLAYER_EVENT_END_OF_MEDIA);
  end.put(DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE, &object);  // 4: not aligned for a pointer of 64 bits
  const auto* const bytes = reinterpret_cast<const unsigned char*>(end.data());
  int* read = nullptr;
  std::memcpy(static_cast<void*>(&read), bytes + 4, sizeof read);
  EXPECT_EQ(read, &object);
  EXPECT_EQ(wordAt(end.data(), 0), 41U);

  EventRecord statistics(DURIX_EVENT_RECEIVER_STATISTICS);
  statistics.putText(DURIX_OFFSET_STATISTICS_MFER, DURIX_STATISTICS_TEXT_SIZE, std::string(300, 'x'));
  statistics.put(DURIX_OFFSET_STATISTICS_BATTERY_LEVEL, std::uint8_t{55});
  const auto* const text = reinterpret_cast<const char*>(statistics.data()) + 1050;
  EXPECT_EQ(::strnlen(text, 256), 255U) << "ends with a NUL though it did not fit";
  EXPECT_EQ(text[256], 55) << "what is behind stays its own";
  EXPECT_EQ(wordAt(statistics.data(), DURIX_OFFSET_STATISTICS_FREQUENCY), 0U) << "never written";
}

TEST(EventQueue, DeliversNothingBeforeItIsAllowed) {
  const auto queue = EventQueue::create();
  Target target;
  queue->add(EVENT, Target::count, &target, Scope::Instance);
  queue->post(EventRecord(EVENT));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(target.calls, 0);
  queue->allow();
  EXPECT_TRUE(eventually([&] { return target.calls == 1; })) << "what was waiting comes then";
  queue->stop();
  queue->post(EventRecord(EVENT));
  EXPECT_EQ(target.calls, 1) << "nothing afterwards";
}

TEST(EventQueue, KnowsRegistrationsByEventHandlerAndUser) {
  const auto queue = EventQueue::create();
  queue->allow();
  Target first, second, other;
  queue->add(EVENT, Target::count, &first, Scope::Instance);
  queue->add(EVENT, Target::count, &first, Scope::Instance);  // again: still one
  queue->add(EVENT, Target::count, &second, Scope::All);
  queue->add(EVENT, Target::count, &first, Scope::All);  // in both scopes: called once
  queue->add(EVENT + 1, Target::count, &other, Scope::Instance);
  const auto calls = [&] {
    const int before = other.calls;
    queue->post(EventRecord(EVENT));
    queue->post(EventRecord(EVENT + 1));
    EXPECT_TRUE(eventually([&] { return other.calls == before + 1; }));
    return std::pair(first.calls.exchange(0), second.calls.exchange(0));
  };
  EXPECT_EQ(calls(), std::pair(1, 1));
  EXPECT_TRUE(queue->remove(EVENT, Target::count, Scope::Instance));
  EXPECT_EQ(calls(), std::pair(1, 1)) << "the other scope's registrations stay";
  EXPECT_FALSE(queue->remove(EVENT, Target::count, Scope::Instance)) << "nothing of that scope is left";
  EXPECT_TRUE(queue->remove(EVENT, Target::count, Scope::All));
  EXPECT_EQ(calls(), std::pair(0, 0)) << "all users of the handler";
  queue->stop();
}

TEST(EventQueue, ForgetsASubjectAndItsRegistrations) {
  const auto queue = EventQueue::create();
  Target gone, kept, last;
  queue->add(EVENT, Target::count, &gone, Scope::All);
  queue->add(EVENT + 1, Target::count, &kept, Scope::Instance);
  queue->add(EVENT + 2, Target::count, &last, Scope::Instance);
  for (const Target* subject : {&gone, &kept}) {
    EventRecord record(EVENT + 1);
    record.about(subject);
    queue->post(std::move(record));
  }
  queue->forget(&gone);
  queue->post(EventRecord(EVENT));
  queue->post(EventRecord(EVENT + 2));
  queue->allow();
  EXPECT_TRUE(eventually([&] { return last.calls == 1; }));
  EXPECT_EQ(gone.calls, 0);
  EXPECT_EQ(kept.calls, 1) << "what was about the other one is dropped";
  queue->stop();
}

TEST(EventQueue, WaitsWithARemovalForTheHandlerThatRuns) {
  const auto queue = EventQueue::create();
  queue->allow();
  Target target;
  queue->add(EVENT, Target::hold, &target, Scope::Instance);
  queue->post(EventRecord(EVENT));
  queue->post(EventRecord(EVENT));
  target.entered.get_future().wait();
  Target elsewhere;
  queue->add(EVENT, Target::count, &elsewhere, Scope::Instance);  // no lock is held while a handler runs
  auto removal = std::async(std::launch::async, [&] { return queue->remove(EVENT, Target::hold, Scope::Instance); });
  EXPECT_EQ(removal.wait_for(50ms), std::future_status::timeout);
  target.mayLeave.set_value();
  EXPECT_TRUE(removal.get());
  EXPECT_TRUE(eventually([&] { return elsewhere.calls >= 1; }));
  EXPECT_EQ(target.calls, 1) << "not called again";
  queue->stop();
}

// What a handler does to its own queue, from inside.
struct Inside {
  std::shared_ptr<EventQueue> queue;
  std::promise<bool> result;
  static void removeItself(durix_event_data*, void* user) {
    auto& inside = *static_cast<Inside*>(user);
    inside.result.set_value(inside.queue->remove(EVENT, Inside::removeItself, Scope::Instance));
  }
  static void stopIt(durix_event_data*, void* user) {
    auto& inside = *static_cast<Inside*>(user);
    inside.queue->stop();
    inside.result.set_value(true);
  }
};

TEST(EventQueue, LetsAHandlerRemoveItselfAndStopTheQueue) {
  for (const auto handler : {Inside::removeItself, Inside::stopIt}) {
    Inside inside{EventQueue::create(), {}};
    inside.queue->allow();
    inside.queue->add(EVENT, handler, &inside, Scope::Instance);
    inside.queue->post(EventRecord(EVENT));
    auto result = inside.result.get_future();
    ASSERT_EQ(result.wait_for(20s), std::future_status::ready);
    EXPECT_TRUE(result.get());
    if (handler == Inside::removeItself) inside.queue->stop();
  }
}

TEST(EventQueue, SkipsAHandlerThatAnEarlierOneRemoved) {
  struct Pair {
    std::shared_ptr<EventQueue> queue = EventQueue::create();
    Target second;
  } pair;
  pair.queue->add(
      EVENT,
      [](durix_event_data*, void* user) {
        static_cast<Pair*>(user)->queue->remove(EVENT, Target::count, Scope::Instance);
      },
      &pair, Scope::Instance);
  pair.queue->add(EVENT, Target::count, &pair.second, Scope::Instance);
  Target after;
  pair.queue->add(EVENT + 1, Target::count, &after, Scope::Instance);
  pair.queue->allow();
  pair.queue->post(EventRecord(EVENT));
  pair.queue->post(EventRecord(EVENT + 1));
  EXPECT_TRUE(eventually([&] { return after.calls == 1; }));
  EXPECT_EQ(pair.second.calls, 0);
  pair.queue->stop();
}

TEST(EventQueue, HoldsProducersBackWhileItIsLong) {
  const auto queue = EventQueue::create();
  for (int i = 0; i < 2000; ++i) queue->post(EventRecord(EVENT));
  std::stop_source stop;
  auto room = std::async(std::launch::async, [&] { return queue->waitForRoom(stop.get_token()); });
  EXPECT_EQ(room.wait_for(50ms), std::future_status::timeout);
  stop.request_stop();
  EXPECT_FALSE(room.get()) << "asked to stop";
  queue->allow();
  EXPECT_TRUE(queue->waitForRoom({})) << "delivered in the meantime";
  queue->stop();
}

TEST(EventQueue, SurvivesManyThreads) {
  const auto queue = EventQueue::create();
  queue->allow();
  Target all;
  queue->add(EVENT, Target::count, &all, Scope::All);
  constexpr int THREADS = 4;
  constexpr int ROUNDS = 200;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < THREADS; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < ROUNDS; ++round) {
          auto target = std::make_unique<Target>();  // gone right after its removal
          queue->add(EVENT + 1, Target::count, target.get(), Scope::Instance);
          queue->post(EventRecord(EVENT));
          queue->post(EventRecord(EVENT + 1));
          queue->remove(EVENT + 1, Target::count, Scope::Instance);
          // Another thread may have removed it first: no matter who did, nobody is inside any more after both.
          queue->remove(EVENT + 1, Target::count, Scope::Instance);
        }
      });
    }
  }
  EXPECT_TRUE(eventually([&] { return all.calls == THREADS * ROUNDS; })) << "every event exactly once";
  queue->stop();
}

}  // namespace
}  // namespace durix::test
