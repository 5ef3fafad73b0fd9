// The file of a recording: how it begins and ends, its index, a disk that is full.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <span>

#include "Fixture.h"
#include "middleware/recorder/CleanEnd.h"
#include "middleware/recorder/CleanStart.h"
#include "middleware/recorder/Joint.h"
#include "middleware/recorder/KeptPids.h"
#include "middleware/recorder/RecordingFile.h"
#include "middleware/recorder/Repair.h"
#include "middleware/recordings/RecordingReader.h"
#include "middleware/recordings/Recordings.h"
#include "middleware/store/Store.h"
#include "tests/support/Eventually.h"

namespace durix::test {
namespace {

PacketView viewOf(const Bytes& packet) {
  return PacketView(std::span<const std::uint8_t>(packet).first<PACKET_SIZE>());
}

TEST(KeyFrame, IsKnownByItsBytesOrItsFlag) {
  struct Row {
    std::string why;
    StreamKind kind;
    Bytes data;
    bool isKey;
    bool hasFlag = false;
  };
  const std::vector<Row> rows{
      {"H.264 parameters", StreamKind::H264, {0, 0, 1, 0x09, 0x10, 0, 0, 1, 0x67, 1}, true},
      {"H.264 picture by itself", StreamKind::H264, {0, 0, 0, 1, 0x65, 1}, true},
      {"H.264 picture of others", StreamKind::H264, {0, 0, 1, 0x41, 1}, false},
      {"HEVC parameters", StreamKind::Hevc, {0, 0, 1, 0x40, 1}, true},
      {"HEVC picture of others", StreamKind::Hevc, {0, 0, 1, 0x02, 1}, false},
      {"MPEG-2 sequence", StreamKind::Mpeg2Video, {0, 0, 1, 0xB3, 1}, true},
      {"MPEG-2 picture", StreamKind::Mpeg2Video, {0, 0, 1, 0x00, 1}, false},
      {"anything with the flag", StreamKind::Vvc, {1, 2, 3}, true, true},
      {"nothing", StreamKind::H264, {}, false},
  };
  for (const auto& row : rows) {
    const auto packet = packetOf(
        {.pid = 0x200, .startsUnit = true, .isRandomAccess = row.hasFlag, .payload = unitOf(0xE0, 0, row.data)});
    EXPECT_EQ(beginsKeyFrame(viewOf(packet), row.kind), row.isKey) << row.why;
  }
}

TEST(CleanStart, WaitsForAKeyFrameAndThenForWholeUnits) {
  constexpr std::uint16_t VIDEO = 0x200;
  constexpr std::uint16_t SOUND = 0x201;
  ProgramStream::Contents contents{.number = 1, .pcrPid = VIDEO, .pmtPid = 0x100};
  Component video;
  video.pid = VIDEO;
  video.kind = StreamKind::H264;
  Component sound;
  sound.pid = SOUND;
  sound.kind = StreamKind::Mpeg1Audio;
  contents.parts = {{video, VIDEO}, {sound, SOUND}};
  CleanStart start;
  start.setContents(contents);
  const auto lets = [&](std::uint16_t pid, bool startsUnit, std::uint8_t code) {
    const auto packet =
        packetOf({.pid = pid, .startsUnit = startsUnit, .payload = unitOf(0xE0, 0, {0, 0, 1, code, 1, 2})});
    return start.lets(viewOf(packet));
  };
  for (const std::string when : {"at first", "after a break"}) {
    EXPECT_TRUE(lets(0, true, 0)) << when << ": tables always";
    EXPECT_TRUE(lets(0x100, true, 0)) << when;
    EXPECT_FALSE(lets(SOUND, true, 0)) << when;
    EXPECT_FALSE(lets(VIDEO, true, 0x41)) << when;
    EXPECT_FALSE(lets(VIDEO, false, 0x67)) << when;
    EXPECT_TRUE(lets(VIDEO, true, 0x67)) << when;
    EXPECT_FALSE(lets(SOUND, false, 0)) << when;
    EXPECT_TRUE(lets(SOUND, true, 0)) << when;
    EXPECT_TRUE(lets(SOUND, false, 0)) << when;
    EXPECT_TRUE(lets(VIDEO, true, 0x41)) << when;
    start.restart(VIDEO);
    start.setContents(contents);
    EXPECT_FALSE(lets(VIDEO, true, 0x41)) << when << ": it comes from elsewhere now";
    EXPECT_TRUE(lets(SOUND, false, 0)) << when << ": it goes on meanwhile";
    EXPECT_TRUE(lets(VIDEO, true, 0x67)) << when;
    start.restart();
  }
  bool isIn = false;
  for (int i = 0; i < 4'000 && !isIn; ++i) isIn = lets(SOUND, true, 0);
  EXPECT_TRUE(isIn) << "where no picture comes, sound begins some time";
}

TEST(Joint, IsMarkedOnceInFrontOfEachPid) {
  Joint joint;
  const auto packet = packetOf({.pid = 0x200, .counter = 7, .startsUnit = true, .payload = Bytes(184, 1)});
  EXPECT_FALSE(joint.before(viewOf(packet))) << "nothing is joined yet";
  joint.begin();
  const auto mark = joint.before(viewOf(packet));
  ASSERT_TRUE(mark);
  const PacketView view{std::span<const std::uint8_t, PACKET_SIZE>(*mark)};
  EXPECT_EQ(view.pid(), 0x200);
  EXPECT_TRUE(view.isDiscontinuity());
  EXPECT_FALSE(view.hasPayload());
  EXPECT_EQ(view.continuity(), 6) << "what follows counts on";
  EXPECT_FALSE(joint.before(viewOf(packet)));
  joint.begin(0x200);
  EXPECT_TRUE(joint.before(viewOf(packet))) << "it has one of its own";
  EXPECT_FALSE(joint.before(viewOf(packet)));
}

TEST(KeptPids, GoOnWhenTheBroadcasterMovesThem) {
  struct Stream {
    std::uint16_t pid, outPid;
    StreamKind kind;
    std::string language{};
  };
  struct Row {
    std::string why;
    std::uint16_t pcrPid, pmtPid;
    std::vector<Stream> streams;
    std::vector<std::uint16_t> moved;
  };
  constexpr auto VIDEO = StreamKind::H264;
  constexpr auto SOUND = StreamKind::Mpeg1Audio;
  const std::vector<Row> rows{
      {"at first", 257, 256, {{257, 257, VIDEO}, {258, 258, SOUND, "fra"}, {259, 259, SOUND, "eng"}}, {}},
      {"the same", 257, 256, {{257, 257, VIDEO}, {258, 258, SOUND, "fra"}, {259, 259, SOUND, "eng"}}, {}},
      {"another language", 257, 256, {{257, 257, VIDEO}, {258, 258, SOUND, "deu"}, {259, 259, SOUND, "eng"}}, {}},
      {"all are elsewhere",
       267,
       266,
       {{267, 257, VIDEO}, {269, 259, SOUND, "eng"}, {268, 258, SOUND, "deu"}},
       {257, 259, 258}},
      {"one more, where another one was", 267, 266, {{267, 257, VIDEO}, {257, 0x1000, SOUND, "ita"}}, {}},
      {"another kind of picture, where tables are", 0x100, 266, {{256, 0x1000, StreamKind::Hevc}}, {0x1000}},
      {"a clock of its own is in the way", 257, 256, {{267, 267, VIDEO}}, {}},
  };
  KeptPids pids;
  for (const auto& row : rows) {
    ProgramStream::Contents contents{.number = 1, .pcrPid = row.pcrPid, .pmtPid = row.pmtPid};
    for (const auto& stream : row.streams) {
      Component component;
      component.pid = stream.pid;
      component.kind = stream.kind;
      if (!stream.language.empty()) component.languages = {{stream.language, 0}};
      contents.parts.push_back({component, stream.pid});
    }
    const auto placed = pids.place(contents);
    EXPECT_EQ(placed.pmtPid, 256) << row.why;
    for (std::size_t i = 0; i < row.streams.size(); ++i) {
      EXPECT_EQ(placed.parts[i].outPid, row.streams[i].outPid) << row.why << ", " << i;
    }
    EXPECT_EQ(pids.moved(), row.moved) << row.why;
  }
}

TEST(RecordingMeter, CountsTimeAndWhatWasLost) {
  const Bytes stream = multiplexOf({"One"}, 1, 3);
  const auto measured = [](const Bytes& bytes) {
    RecordingMeter meter;
    for (std::size_t at = 0; at < bytes.size(); at += PACKET_SIZE) {
      meter.feed(PacketView(std::span(bytes).subspan(at).first<PACKET_SIZE>()), at);
    }
    return std::pair(meter.milliseconds(), meter.errors());
  };
  EXPECT_EQ(measured(stream), (std::pair<std::uint64_t, std::uint64_t>(3000 - 40, 0)));
  Bytes lossy = stream;
  const auto videoAt = [&](std::size_t from) {
    while (viewOf(Bytes(lossy.begin() + static_cast<std::ptrdiff_t>(from), lossy.end())).pid() != videoPid(0))
      from += PACKET_SIZE;
    return static_cast<std::ptrdiff_t>(from);
  };
  const auto first = videoAt(PACKET_SIZE * 100);
  lossy.erase(lossy.begin() + first, lossy.begin() + first + static_cast<std::ptrdiff_t>(PACKET_SIZE));
  const auto second = videoAt(PACKET_SIZE * 200);
  lossy[static_cast<std::size_t>(second) + 1] |= 0x80;  // says itself that it is damaged
  EXPECT_EQ(measured(lossy).second, 3U) << "one lost, one damaged, and the gap that it leaves";
}

// A directory for recordings of a recording of nine seconds.
class RecordedFile : public ::testing::Test {
 protected:
  void record(const Bytes& stream) {
    RecordingFile file(_directory / "1 x.ts", {});
    for (std::size_t at = 0; at < stream.size();) {
      const std::size_t size = std::min<std::size_t>(stream.size() - at, PACKET_SIZE * 50);
      file.write(std::span(stream).subspan(at, size));
      at += size;
    }
    file.finish();
  }
  TemporaryDirectory _directory;
};

TEST_F(RecordedFile, HasAnIndexThatIsTheSameWhenItIsMadeAnew) {
  record(multiplexOf({"One"}, 1, 9));
  const auto file = _directory / "1 x.ts";
  const auto written = readIndex(indexOf(file));
  ASSERT_TRUE(written);
  auto measured = measure(file);
  ASSERT_TRUE(measured);
  measured->entries.push_back(measured->end);
  ASSERT_EQ(written->size(), measured->entries.size());
  for (std::size_t i = 0; i + 1 < written->size(); ++i) EXPECT_EQ((*written)[i], measured->entries[i]) << i;
  EXPECT_GE(written->size(), 9000U / 600);
  std::ofstream(indexOf(file), std::ios::app) << "half an ent";
  EXPECT_EQ(readIndex(indexOf(file))->size(), written->size()) << "what is torn is left out";
}

TEST_F(RecordedFile, EndsWithWholeUnits) {
  Bytes stream = multiplexOf({"One"}, 1, 2);
  const auto packetAt = [&](std::size_t at) {
    return PacketView(std::span<const std::uint8_t>(stream).subspan(at).first<PACKET_SIZE>());
  };
  std::size_t at = stream.size() / 2 / PACKET_SIZE * PACKET_SIZE;
  while (packetAt(at).pid() != videoPid(0) || !packetAt(at).startsUnit()) at += PACKET_SIZE;
  stream.resize(at + PACKET_SIZE);  // the first of the two packets of a picture
  write(_directory / "whole", stream);
  auto expected = pidsIn(_directory / "whole");
  --expected[videoPid(0)];
  record(stream);
  EXPECT_EQ(pidsIn(_directory / "1 x.ts"), expected) << "the picture goes, sound stays";
}

TEST_F(RecordedFile, IsReadFromTheSecondThatIsWanted) {
  TemporaryDirectory data;
  Store store(data.path());
  Recordings recordings(store);
  record(multiplexOf({"One"}, 1, 9));
  const auto id = recordings.begin(0, {}, [&](std::uint32_t) { return _directory / "1 x.ts"; });
  for (const std::string when : {"with its index", "without", "with one of something longer"}) {
    if (when == "without") std::filesystem::remove(indexOf(_directory / "1 x.ts"));
    if (when == "with one of something longer") writeIndex(indexOf(_directory / "1 x.ts"), {{99'000, 99'000'000}});
    const auto reader = RecordingReader::open(recordings, id);
    EXPECT_FALSE(reader->isGrowing());
    EXPECT_EQ(reader->duration(), 9U) << when << ": whole seconds";
    EXPECT_EQ(reader->offsetOf(0), 0U) << when;
    for (const std::uint32_t second : {1U, 4U, 8U}) {
      const auto offset = reader->offsetOf(second);
      EXPECT_EQ(offset % PACKET_SIZE, 0U);
      EXPECT_NEAR(static_cast<double>(offset) / static_cast<double>(reader->size()), second / 9.0, 0.08) << when;
      EXPECT_NEAR(reader->secondAt(offset), second, 1);
      Bytes packet(PACKET_SIZE);
      ASSERT_EQ(reader->read(offset, packet), PACKET_SIZE);
      EXPECT_EQ(viewOf(packet).pid(), 0) << when << ": tables stand there";
    }
    EXPECT_LT(reader->offsetOf(100), reader->size()) << when << ": within what is there";
    Bytes rest(PACKET_SIZE);
    EXPECT_EQ(reader->read(reader->size(), rest), 0U);
  }
}

TEST_F(RecordedFile, HasItsCompanionsMadeAnewWhereTheyAreLostOrDoNotFit) {
  TemporaryDirectory data;
  Store store(data.path());
  Recordings recordings(store);
  record(multiplexOf({"One"}, 1, 3));
  const auto file = _directory / "1 x.ts";
  const auto id = recordings.begin(0, {}, [&](std::uint32_t) { return file; });
  recordings.changeRecording(id, [](Recording& row) { row.state = Recording::State::Finished; });
  std::filesystem::remove(indexOf(file));
  restoreCompanions(recordings, {});
  const std::string stream = contentsOf(file);
  const std::string index = contentsOf(indexOf(file));
  const std::string description = contentsOf(descriptionOf(file));
  EXPECT_NE(description.find("\"finished\""), std::string::npos);
  for (const std::string left : {"", "tvindex1", "tvindex1, and then what nobody wrote there", "{\"id\": 1}\n"}) {
    std::ofstream(indexOf(file)) << left;
    std::ofstream(descriptionOf(file)) << left;
    restoreCompanions(recordings, {});
    EXPECT_EQ(contentsOf(indexOf(file)), index) << left;
    EXPECT_EQ(contentsOf(descriptionOf(file)), description) << left;
  }
  std::filesystem::resize_file(file, stream.size() / 2);
  restoreCompanions(recordings, {});
  EXPECT_LE(readIndex(indexOf(file))->back().offset, stream.size() / 2) << "it was cut";
  EXPECT_EQ(contentsOf(file), stream.substr(0, stream.size() / 2)) << "which nobody else does";
}

// A small file system in memory, as root only.
class SmallDisk {
 public:
  SmallDisk(std::filesystem::path place, const std::string& size) : _place(std::move(place)) {
    std::filesystem::create_directories(_place);
    _isThere = ::mount("tmpfs", _place.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() {
    if (_isThere) ::umount2(_place.c_str(), MNT_DETACH);
  }
  bool isThere() const { return _isThere; }
  bool setReadOnly(bool isReadOnly) const {
    const unsigned long flags = isReadOnly ? MS_REMOUNT | MS_RDONLY : MS_REMOUNT;
    return ::mount("tmpfs", _place.c_str(), "tmpfs", flags, nullptr) == 0;
  }

 private:
  std::filesystem::path _place;
  bool _isThere = false;
};

TEST_F(RecordedFile, IsCutAtAPacketWhenTheDiskIsFull) {
  const SmallDisk disk(_directory.path(), "256k");
  if (!disk.isThere()) GTEST_SKIP() << "no file system can be mounted here";
  try {
    record(multiplexOf({"One", "Two", "Three"}, 1, 9));
    FAIL() << "there is not so much room";
  } catch (const WriteFailure& failure) {
    EXPECT_EQ(failure.reason(), WriteFailure::Reason::Full) << failure.what();
  }
  const auto size = std::filesystem::file_size(_directory / "1 x.ts");
  EXPECT_GT(size, 100'000U);
  EXPECT_EQ(size % PACKET_SIZE, 0U);
}

class FullDisk : public RecorderFixture {};

TEST_F(FullDisk, IsToldBeforeItHurts) {
  const auto directory = _middleware.data() / "recordings";
  const SmallDisk disk(directory, "48m");
  if (!disk.isThere()) GTEST_SKIP() << "no file system can be mounted here";
  start();
  EXPECT_EQ(add("One", now(), now() + 3600), static_cast<std::uint32_t>(DURIX_INSUFFICIENT_DISK_SPACE));
  ASSERT_EQ(add("One", now(), now() + 20), DURIX_OK);
  ASSERT_EQ(add("Two", now(), now() + 20), DURIX_OK);
  std::uint32_t recording = 0;
  for (int i = 0; i < 4; ++i) {
    const Told told = next();
    if (told.event == DURIX_EVENT_TIMER_ACTIVE) recording = told.recording;
  }
  write(directory / "another", Bytes(std::size_t{20} << 20U));
  for (int i = 0; i < 2; ++i) {
    const Told full = next();
    EXPECT_EQ(full.event, static_cast<std::uint32_t>(DURIX_EVENT_RECORDER_DEVICE_FULL));
    EXPECT_EQ(std::ranges::count(full.timers, full.timer), 1) << "it is listed still";
    EXPECT_NE(full.recording, 0U);
  }
  EXPECT_TRUE(eventually([&] { return timers().empty(); }));
  EXPECT_TRUE(isQuiet()) << "one each, and nothing else";
  EXPECT_EQ(recordings().size(), 2U) << "what was written stays";
  EXPECT_EQ(std::filesystem::file_size(fileOf(recording)) % PACKET_SIZE, 0U);
  const durix_esg_object object{9, recording, 0};
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &object), DURIX_OK);
  stop();  // before the disk goes
}

TEST_F(FullDisk, LetsRecordingsBeDeleted) {
  const SmallDisk disk(_middleware.data(), "48m");
  if (!disk.isThere()) GTEST_SKIP() << "no file system can be mounted here";
  start();
  ASSERT_EQ(add("One", now(), now() + 20), DURIX_OK);
  const auto timer = _added;
  next();
  const durix_esg_object recording{9, next().recording, 0};
  EXPECT_TRUE(eventually([&] { return secondsOf(recording.id) >= 1; }));
  ASSERT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  const auto file = fileOf(recording.id);
  std::ofstream filling(_middleware.data() / "another", std::ios::binary);
  const std::string part(4096, 'x');
  while (filling.write(part.data(), static_cast<std::streamsize>(part.size())).flush()) {
  }
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &recording), DURIX_OK) << "room comes of nothing else";
  EXPECT_TRUE(recordings().empty());
  EXPECT_FALSE(std::filesystem::exists(file));
  stop();  // before the disk goes
}

TEST_F(FullDisk, LosesTheTimerAsSoonAsThereIsRoomForThat) {
  const SmallDisk disk(_middleware.data(), "48m");
  if (!disk.isThere()) GTEST_SKIP() << "no file system can be mounted here";
  start();
  ASSERT_EQ(add("One", now(), now() + 20), DURIX_OK);
  next();
  const durix_esg_object recording{9, next().recording, 0};
  const auto filler = _middleware.data() / "another";
  std::ofstream filling(filler, std::ios::binary);
  const std::string part(4096, 'x');
  while (filling.write(part.data(), static_cast<std::streamsize>(part.size())).flush()) {
  }
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_RECORDER_DEVICE_FULL));
  filling.close();
  std::filesystem::remove(filler);
  EXPECT_TRUE(eventually([&] { return timers().empty(); })) << "it stands in nobody's way";
  EXPECT_LE(_middleware.number(recording, DURIX_ATTRIBUTE_END_TIME), now()) << "the real end";
  stop();  // before the disk goes
}

TEST_F(FullDisk, IsWaitedForWhileNothingCanBeWrittenThere) {
  const SmallDisk disk(_middleware.data() / "recordings", "64m");
  if (!disk.isThere()) GTEST_SKIP() << "no file system can be mounted here";
  start();
  const std::int64_t then = now() + 3600;
  ASSERT_EQ(add("One", then, then + 60), DURIX_OK);
  const auto timer = _added;
  ASSERT_EQ(add("Two", then, then + 30), DURIX_OK);
  ASSERT_TRUE(disk.setReadOnly(true));
  jump(then);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVATING));
  EXPECT_TRUE(eventually([&] { return recordings().size() == 2; })) << "they try";
  jump(then + 30);
  const Told over = next();
  EXPECT_EQ(over.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_DEACTIVE));
  EXPECT_EQ(over.recording, 0U) << "there never was anything";
  EXPECT_EQ(recordings().size(), 1U);
  ASSERT_TRUE(disk.setReadOnly(false));
  const Told active = next();
  EXPECT_EQ(active.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVE));
  EXPECT_TRUE(eventually([&] { return secondsOf(active.recording) >= 1; }));
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  const std::string bytes = contentsOf(fileOf(active.recording));
  const std::span<const std::uint8_t> stream(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  bool hasBegun = false;
  for (std::size_t at = 0; at < stream.size() && !hasBegun; at += PACKET_SIZE) {
    const PacketView packet(stream.subspan(at).first<PACKET_SIZE>());
    hasBegun = packet.pid() == videoPid(0) && packet.hasPayload();
    EXPECT_TRUE(!hasBegun || beginsKeyFrame(packet, StreamKind::H264)) << "with a picture that needs no other";
  }
  EXPECT_TRUE(hasBegun);
  stop();  // before the disk goes
}

}  // namespace
}  // namespace durix::test
