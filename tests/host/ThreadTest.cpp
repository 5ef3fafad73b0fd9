#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "tests/host/Support.h"
#include "velmora/VmThread.h"

namespace {

class Worker : public VmThread {
 public:
  explicit Worker(std::function<void(int pass)> body) : _body(std::move(body)) {}
  ~Worker() override { join(); }
  void run(void*) override { _body(++_passes); }
  int passes() const { return _passes; }

 private:
  const std::function<void(int)> _body;
  std::atomic<int> _passes = 0;
};

TEST(Thread, RunsAgainAfterItHasEnded) {
  Worker worker([](int) {});
  for (int pass = 1; pass <= 20; ++pass) {
    worker.start();
    worker.join();
    EXPECT_EQ(worker.passes(), pass);
  }
}

TEST(Thread, NeedsNoJoinBetweenTwoRuns) {
  Worker worker([](int) {});
  for (int round = 0; round < 200; ++round) worker.start();
  worker.join();
  EXPECT_GE(worker.passes(), 1);
  EXPECT_LE(worker.passes(), 200);
}

TEST(Thread, StartingWhileItRunsAsksForOneMorePassThatJoinWaitsFor) {
  Flag entered;
  Flag release;
  Worker worker([&](int pass) {
    if (pass > 1) return;
    entered.raise();
    EXPECT_TRUE(release.wait());
  });
  worker.start();
  ASSERT_TRUE(entered.wait());
  worker.start();
  worker.start();
  release.raise();
  worker.join();
  EXPECT_EQ(worker.passes(), 2);
}

TEST(Thread, ARequestInTheTailOfAPassIsNotLost) {
  for (int round = 0; round < 200; ++round) {
    std::atomic<bool> wanted = false;
    std::atomic<bool> served = false;
    Worker worker([&](int) { served = wanted.load(); });
    worker.start();
    wanted = true;
    worker.start();
    worker.join();
    ASSERT_TRUE(served);
  }
}

TEST(Thread, JoinNeedsNothingToWaitFor) {
  Worker idle([](int) {});
  idle.join();
  Worker* self = nullptr;
  Worker joining([&](int) { self->join(); });
  self = &joining;
  joining.start();
  joining.join();
  joining.join();
  EXPECT_EQ(joining.passes(), 1);
}

TEST(Thread, LetsNoExceptionOut) {
  const LogCapture log;
  Worker worker([](int pass) {
    if (pass == 1) throw std::runtime_error("first");
    throw 2;
  });
  worker.start();
  worker.join();
  worker.start();
  worker.join();
  EXPECT_EQ(worker.passes(), 2);
  ASSERT_EQ(log.lines().size(), 2U);
  EXPECT_NE(log.lines()[0].message.find("first"), std::string::npos);
}

TEST(Thread, MayBeDeletedInItsOwnBody) {
  static Flag gone;  // nobody joins the thread that raises it
  struct Suicide : VmThread {
    void run(void*) override {
      start();  // the pass that is asked for dies with it
      delete this;
      gone.raise();
    }
  };
  (new Suicide)->start();
  EXPECT_TRUE(gone.wait());
}

}  // namespace
