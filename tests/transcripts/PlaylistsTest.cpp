#include <gtest/gtest.h>

#include "RecordingRoom.h"

namespace {

constexpr int DAY = 86400;
constexpr int JUNE_5 = 1685923200;   // 2023-06-05T00:00:00, a Monday
constexpr int JULY_30 = 1690675200;  // a Sunday
constexpr int NOON = DAY / 2;

class Playlists : public testing::Test, protected RecordingRoom {
 protected:
  void openAt(int time) {
    stage.time = time;
    openRecorder();
  }
  /// The lists that hold the clip.
  std::string listsOf(Clip* clip) {
    std::string names;
    for (const auto& playlists : {recorder->getSchedulings(), recorder->getRecordings()}) {
      for (Playlist* const playlist : playlists) {
        if (playlist->indexOf(clip) >= 0) names += playlist->getName() + " ";
      }
    }
    return names;
  }
};

TEST_F(Playlists, CoverDaysWeeksAndMonths) {
  openAt(JUNE_5 + NOON);
  EXPECT_EQ(spans(recorder->getSchedulings()) + spans(recorder->getRecordings()), expected("playlists_early"));
  EXPECT_TRUE(recorder->getPlaylists().empty());
  stage.time = JUNE_5 + 3 * DAY + NOON;  // the eighth: a third week
  recorder->refresh();
  recorder->refresh();  // the days go on by one with each
  EXPECT_EQ(spans(recorder->getSchedulings()) + spans(recorder->getRecordings()), expected("playlists_refreshed"));
}

TEST_F(Playlists, OfTheLastDaysOfAMonthKeepASixthWeek) {
  openAt(JULY_30 + NOON);
  EXPECT_EQ(recorder->getRecordings().size(), 18U);
  EXPECT_EQ(spans(recorder->getRecordings()), expected("playlists_late"));
  recorder->refresh();  // the months begin where the sixth week was
  EXPECT_EQ(spans(recorder->getRecordings()), expected("playlists_late_refreshed"));
  stage.time = JULY_30 + 2 * DAY + NOON;
  recorder->refresh();
  EXPECT_NE(spans(recorder->getRecordings()).find(" recordings.playlist.weeks.two -1 -1 "), std::string::npos)
      << "a spare one again, by its old name";
}

TEST_F(Playlists, TakeWhatStartsStrictlyInside) {
  struct Row {
    int start;
    const char* lists;
  };
  const std::vector<Row> recordings = {
      {JUNE_5 - DAY + 1, "recordings.playlist.weeks.this "},
      {JUNE_5 - DAY, ""},  // Sunday 00:00
      {JUNE_5 - DAY - 1, "recordings.playlist.weeks.one "},
      {JUNE_5 - 7 * DAY, "recordings.playlist.weeks.one "},  // in May as well: the first list only
      {JUNE_5 - 8 * DAY - 1, "recordings.playlist.month.may "},
      {1656633600 + 1, "recordings.playlist.month.july "},  // 2022-07-01, eleven months back
      {1656633600, ""},
      {1656633600 - 1, ""},
      {1656633600 - 2, "recordings.playlist.older "},
  };
  std::uint32_t id = 50;
  for (const Row& row : recordings) store(id++, "R", row.start, row.start + 60);
  openAt(JUNE_5 + NOON);
  for (std::size_t i = 0; i < recordings.size(); ++i) {
    EXPECT_EQ(listsOf(recorder->getRecorded().at(i)), recordings[i].lists) << i;
  }
  for (const Row& row : {Row{JUNE_5 + DAY - 1, "schedulings.playlist.all schedulings.playlist.monday "},
                         Row{JUNE_5 + DAY, "schedulings.playlist.all "},
                         Row{JUNE_5 + DAY + 1, "schedulings.playlist.all schedulings.playlist.tuesday "},
                         Row{JUNE_5 + 7 * DAY - 1, "schedulings.playlist.all schedulings.playlist.sunday "},
                         Row{JUNE_5 + 7 * DAY + 1, "schedulings.playlist.all "}}) {
    EXPECT_EQ(listsOf(record("T", row.start, row.start + 60)), row.lists) << row.start;
  }
}

TEST_F(Playlists, TellWhatARefreshChanges) {
  store(50, "Film", JUNE_5 + 60, JUNE_5 + 120);
  openAt(JUNE_5 + NOON);
  record("Late", JUNE_5 + DAY + 600, JUNE_5 + DAY + 900);
  record("Early", JUNE_5 + DAY + 300, JUNE_5 + DAY + 500);
  std::string order;
  for (Clip* const clip : recorder->getSchedulings().front()->getClips()) order += clip->getName() + " ";
  EXPECT_EQ(order, "Early Late ");
  stage.time = JUNE_5 + DAY;
  stage.drop();
  recorder->refresh();
  EXPECT_EQ(told(), expected("playlists_told"));
  EXPECT_EQ(listsOf(recorder->getScheduled().front()), "schedulings.playlist.all schedulings.playlist.tuesday ");
}

TEST_F(Playlists, KeepATimerThatMovesToAnotherDayWhereItWas) {
  openAt(JUNE_5 + NOON);
  Scheduling* const first = record("First", JUNE_5 + 80000, JUNE_5 + 80600);
  record("Second", JUNE_5 + 80001, JUNE_5 + 80600);
  describe(TIMER, "First", JUNE_5 + DAY + 60, JUNE_5 + DAY + 120);
  stage.drop();
  recorder->modifyScheduling(first, JUNE_5 + DAY + 60, JUNE_5 + DAY + 120, "First");
  EXPECT_EQ(told(),
            "INFO modifyScheduling\ndurix_recorder_modify_timer(900,1686009660,1686009720,30,First)\n"
            "> playlist schedulings.playlist.all [First]\nINFO Timer modified ok\n");
  EXPECT_EQ(listsOf(first), "schedulings.playlist.all schedulings.playlist.monday ");
  Playlist* const all = recorder->getSchedulings().front();
  EXPECT_EQ(all->indexOf(first), 1) << "sorted anew";
  first->setStartTimeT(JUNE_5);
  all->sortClips(Playlist::SORT_BY_NAME);
  EXPECT_EQ(all->indexOf(first), 1) << "by time only";
}

/// A list that has it already is passed over, so that it may come into a second one.
TEST_F(Playlists, TakeARecordingThatStartsTwiceTwice) {
  openAt(JUNE_5 + NOON);
  record("Film", JUNE_5 - 7 * DAY, JUNE_5 + DAY);
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(listsOf(recorder->getRecorded().front()), "recordings.playlist.weeks.one recordings.playlist.month.may ");
}

TEST_F(Playlists, OfRecordingsAreMissedWhenThereAreNone) {
  open();
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  std::size_t misses = 0;
  recorder->refresh();
  for (const std::string& line : stage.take()) {
    if (line == "ERR BroadcastRecorder, recording playlists size mismatch, serious bug here!") ++misses;
  }
  EXPECT_EQ(misses, 3U) << "weeks, spare weeks, months: each stops at the first";
}

}  // namespace
