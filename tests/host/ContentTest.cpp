#include <gtest/gtest.h>

#include "tests/host/Support.h"
#include "velmora/Playlist.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace {

class TestProgram : public Program {
 public:
  TestProgram(std::int32_t start, std::int32_t end) : Program(1, nullptr), _start(start), _end(end) {}
  std::string getTitle() override { return "own title"; }
  std::int32_t getStartTimeT() override { return _start; }
  std::int32_t getEndTimeT() override { return _end; }

 private:
  const std::int32_t _start;
  const std::int32_t _end;
};

class TestService : public Service {
 public:
  explicit TestService(std::vector<Program*> programs) : Service(1, nullptr), _programs(std::move(programs)) {}
  using Service::getPrograms;
  std::vector<Program*> getPrograms(bool) override { return _programs; }

 private:
  const std::vector<Program*> _programs;
};

TEST(Content, NameAndTitleStandInForEachOther) {
  struct Row {
    const char* title;
    const char* name;
    const char* shownTitle;
    const char* shownName;
  };
  for (const Row& row : {Row{"", "", "", ""}, {"T", "", "T", "T"}, {"", "N", "N", "N"}, {"T", "N", "T", "N"}}) {
    AvContent content(1, nullptr, AvContent::AV_CLIP);
    content.setTitle(row.title);
    content.setName(row.name);
    EXPECT_EQ(content.getTitle(), row.shownTitle);
    EXPECT_EQ(content.getName(), row.shownName);
  }
  TestProgram program(0, 0);
  EXPECT_EQ(program.getName(), "own title");  // also a title that the subclass keeps
}

TEST(Content, HasTheValuesThatNobodySet) {
  AvContent content(7, nullptr, AvContent::AV_RECORDING);
  EXPECT_TRUE(content.isPlayable());
  EXPECT_FALSE(content.isPlaying());
  EXPECT_EQ(content.getDuration(), 0);
  EXPECT_EQ(content.getIntProperty("absent"), 0);
  EXPECT_FALSE(content.getBoolProperty("absent"));
  EXPECT_EQ(content.propertyGet("absent", "fallback"), "fallback");
  content.setIntProperty("duration", 90);
  content.setIntProperty("channelnumber", -1);
  content.propertyAdd("uri", "a");
  content.propertyAdd("uri", "b");
  EXPECT_EQ(content.getDuration(), 90);
  EXPECT_EQ(content.getChannelNumber(), -1);
  EXPECT_EQ(content.propertyGet("uri", ""), "b");
}

TEST(Content, StoresSurviveManyThreads) {
  AvContent content(1, nullptr, AvContent::AV_SERVICE);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&content, thread] {
      for (int i = 0; i < 200; ++i) {
        const std::string key = std::to_string(thread) + "." + std::to_string(i);
        content.setIntProperty(key, i);
        content.propertyAdd(key, key);
        content.setTitle(key);
        if (content.getName().empty()) content.setPlayable(false);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(content.isPlayable());
  EXPECT_EQ(content.getIntProperty("2.199"), 199);
}

TEST(Tags, StayOnceAndAreKnownByAddressAndId) {
  Tag* const recorded = TagFactory::getInstance()->getTag("Recorded", "Recorded", "");
  EXPECT_EQ(TagFactory::getInstance()->getTag("Recorded", "later name", "x"), recorded);
  EXPECT_EQ(recorded->getName(), "Recorded");
  AvContent content(1, nullptr, AvContent::AV_PROGRAM);
  content.addTag(recorded);
  content.addTag(recorded);
  content.addTag(nullptr);
  EXPECT_EQ(content.getTags(), std::vector<Tag*>{recorded});
  EXPECT_TRUE(content.hasTag(recorded));
  EXPECT_TRUE(content.hasTag("Recorded"));
  content.removeTag(recorded);
  content.removeTag(recorded);
  EXPECT_FALSE(content.hasTag("Recorded"));
}

TEST(TimedClip, TakesEachTargetProgramOnce) {
  Scheduling scheduling(nullptr, 1, AvContent::AV_SCHEDULING);
  TestProgram first(0, 1);
  TestProgram second(1, 2);
  for (AvContent* const program : std::vector<AvContent*>{&first, &second, &first, nullptr}) {
    scheduling.addTargetProgram(program);
  }
  EXPECT_EQ(scheduling.getTargetPrograms(), (std::vector<AvContent*>{&first, &second}));
  scheduling.removeTargetProgram(&first);
  scheduling.removeTargetProgram(&first);
  EXPECT_EQ(scheduling.getTargetPrograms(), std::vector<AvContent*>{&second});
}

TEST(Playlist, ListsEachClipOnceAndLosesThoseThatDie) {
  Playlist first(1, nullptr, 0);
  auto second = std::make_unique<Playlist>(2, nullptr, 0);
  Recording staying(nullptr, 1, AvContent::AV_RECORDING);
  auto dying = std::make_unique<Recording>(nullptr, 2, AvContent::AV_RECORDING);
  first.addClips({dying.get(), &staying, nullptr, dying.get()});
  second->addClip(dying.get());
  EXPECT_EQ(first.getSize(), 2U);
  EXPECT_EQ(first.indexOf(&staying), 1);
  EXPECT_LT(second->indexOf(&staying), 0);
  dying.reset();
  EXPECT_EQ(first.getClips(), std::vector<Clip*>{&staying});
  EXPECT_EQ(second->getSize(), 0U);
  second->addClip(&staying);
  second.reset();  // the clip that is left must not go back to it
  first.removeClip(&staying);
  first.addClip(&staying);
  first.releaseClips();
  EXPECT_EQ(first.getSize(), 0U);
}

TEST(Playlist, DeletesItsClipsOnlyWhenAskedTo) {
  static int alive = 0;
  struct Counted : Clip {
    Counted() : Clip(1, nullptr, AV_CLIP) { ++alive; }
    ~Counted() override { --alive; }
  };
  Playlist playlist(1, nullptr, 0);
  playlist.addClips({new Counted, new Counted});
  playlist.freeClips();
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(playlist.getSize(), 0U);
}

TEST(Playlist, SortsByStartOrNameAndKeepsEqualsInOrder) {
  Recording a(nullptr, 1, AvContent::AV_RECORDING);
  Recording b(nullptr, 2, AvContent::AV_RECORDING);
  Recording c(nullptr, 3, AvContent::AV_RECORDING);
  a.setStartTimeT(20);
  b.setStartTimeT(10);
  c.setStartTimeT(20);
  a.setName("z");
  b.setTitle("y");
  c.setName("x");
  Playlist playlist(1, nullptr, 0);
  playlist.addClips({&a, &b, &c});
  playlist.sortClips(Playlist::SORT_BY_TIME);
  EXPECT_EQ(playlist.getClips(), (std::vector<Clip*>{&b, &a, &c}));
  playlist.sortClips(Playlist::SORT_BY_NAME);
  EXPECT_EQ(playlist.getClips(), (std::vector<Clip*>{&c, &b, &a}));
}

TEST(Playlist, StaysWholeWhileClipsComeAndDie) {
  Playlist playlist(1, nullptr, 0);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        Recording clip(nullptr, 1, AvContent::AV_RECORDING);
        playlist.addClip(&clip);
        if (i % 2 == 0) playlist.removeClip(&clip);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(playlist.getSize(), 0U);
}

TEST(Service, FindsProgrammesByTime) {
  TestProgram first(100, 200);
  TestProgram second(200, 300);
  TestProgram late(400, 500);
  TestService service({&first, &second, &late});
  const auto names = [&](const std::vector<Program*>& programs) {
    std::string text;
    for (const Program* const program : programs) text += program == &first ? '1' : program == &second ? '2' : '3';
    return text;
  };
  struct Span {
    const char* reason;
    int from;
    int to;
    const char* found;
  };
  for (const Span& span : {Span{"inside one", 150, 160, "1"},
                           {"touching ends do not count", 200, 400, "2"},
                           {"over all", 0, 1000, "123"},
                           {"in the gap", 300, 400, ""},
                           {"an instant", 250, 250, "2"},
                           {"backwards, inside one", 260, 240, "2"}}) {
    EXPECT_EQ(names(service.getPrograms(span.from, span.to)), span.found) << span.reason;
  }
  struct Moment {
    const char* reason;
    std::int64_t now;
    const char* current;
    const char* next;
  };
  for (const Moment& moment : {Moment{"before all", 50, "", "1"},
                               {"in the first", 150, "1", "2"},
                               {"the end is the next one's", 200, "2", "3"},
                               {"in the gap", 350, "", "3"},
                               {"in the last", 450, "3", ""},
                               {"after all", 600, "", ""}}) {
    const ManualClock clock(moment.now);
    const auto one = [&](Program* program) { return program ? names({program}) : std::string(); };
    EXPECT_EQ(one(service.getCurrentProgram()), moment.current) << moment.reason;
    EXPECT_EQ(one(service.getNextProgram()), moment.next) << moment.reason;
  }
}

}  // namespace
