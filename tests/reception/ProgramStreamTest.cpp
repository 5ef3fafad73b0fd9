// Following one programme of a multiplex, and making a stream of its own out of it.
#include "middleware/si/ProgramStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <optional>
#include <set>

#include "middleware/si/ProgramWatch.h"
#include "middleware/si/SectionDemux.h"
#include "middleware/si/TableReaders.h"
#include "middleware/stream/Reception.h"
#include "tests/si/Captures.h"
#include "tests/si/StreamBuilder.h"
#include "tests/support/TinyStream.h"

namespace durix::test {
namespace {

constexpr std::uint16_t PROGRAM = 7;
constexpr std::uint16_t PMT = 0x100;
constexpr std::uint16_t OTHER_PMT = 0x180;
constexpr std::uint8_t H264 = 0x1B;
constexpr std::uint8_t AUDIO = 0x04;

Bytes stream(std::uint8_t type, std::uint16_t pid, const Bytes& descriptors = {}) {
  return join({{type}, word(0xE000U | pid), word(0xF000U | static_cast<unsigned>(descriptors.size())), descriptors});
}

Bytes pmt(std::uint16_t pcrPid, std::initializer_list<Bytes> streams, std::uint8_t version = 0,
          std::uint16_t number = PROGRAM, const Bytes& descriptors = {}) {
  const auto size = static_cast<unsigned>(descriptors.size());
  return section({.table = PMT_TABLE, .extension = number, .version = version},
                 join({word(0xE000U | pcrPid), word(0xF000U | size), descriptors, join(streams)}));
}

template <typename Take>
void forPackets(const Bytes& bytes, Take take) {
  PacketReader reader = readerOf(bytes);
  while (const auto packet = reader.next()) take(*packet);
}

std::vector<Program> programsIn(const Bytes& bytes, std::uint16_t number = PROGRAM) {
  std::vector<Program> programs;
  ProgramWatch watch(number, [&](const Program& program) { programs.push_back(program); });
  forPackets(bytes, [&](const PacketView& packet) { watch.feed(packet); });
  return programs;
}

// A stream as its tables describe it, and what its packets are.
struct Told {
  std::vector<std::pair<std::uint16_t, std::uint16_t>> pat;
  std::vector<Program> programs;                         // each time that the PMT was sent
  std::map<std::uint16_t, std::vector<Bytes>> payloads;  // by PID, of other PIDs
  std::map<std::uint16_t, std::vector<std::uint64_t>> clocks;
  std::uint64_t continuityErrors = 0;
};

class Output {
 public:
  ProgramStream make() {
    return ProgramStream(
        [this](PacketView::Bytes packet) { _bytes.insert(_bytes.end(), packet.begin(), packet.end()); });
  }
  const Bytes& bytes() const { return _bytes; }

  Told told() const {
    Told told;
    SectionDemux demux([&](std::uint16_t pid, const Section& section) {
      if (pid == 0) {
        told.pat = readPat(section);
      } else {
        told.programs.push_back(readPmt(section, pid));
      }
    });
    demux.select(0);
    ReceptionMeter meter;
    forPackets(_bytes, [&](const PacketView& packet) {
      meter.feed(packet);
      demux.feed(packet);
      for (const auto& [number, pid] : told.pat) demux.select(pid);
      if (const auto pcr = packet.pcr()) told.clocks[packet.pid()].push_back(*pcr);
      const auto payload = packet.payload();
      if (!demux.isSelected(packet.pid())) told.payloads[packet.pid()].emplace_back(payload.begin(), payload.end());
    });
    told.continuityErrors = meter.reception().continuityErrors;
    return told;
  }

 private:
  Bytes _bytes;
};

Component componentOf(const Bytes& descriptors, std::uint16_t pid, std::uint8_t type = AUDIO) {
  return {.pid = pid, .streamType = type, .descriptors = descriptors};
}

TEST(ProgramWatch, TellsAProgrammeOnceUntilItChanges) {
  const Bytes pat = patSection(1, {{PROGRAM, PMT}});
  const Bytes one = pmt(0x200, {stream(H264, 0x200)});
  const Bytes two = pmt(0x200, {stream(H264, 0x200), stream(AUDIO, 0x201)}, 1);
  StreamBuilder builder;
  for (const auto& table : {one, one, two, two, one}) builder.add(0, {pat}).add(PMT, {table});
  const auto programs = programsIn(builder.bytes());
  ASSERT_EQ(programs.size(), 3U);
  EXPECT_EQ(programs[0].components.size(), 1U);
  EXPECT_EQ(programs[1].components.size(), 2U);
  EXPECT_EQ(programs[2].components.size(), 1U);
}

TEST(ProgramWatch, FollowsThePmtToAnotherPid) {
  const Bytes before = pmt(0x200, {stream(H264, 0x200)});
  const Bytes after = pmt(0x300, {stream(H264, 0x300)}, 1);
  StreamBuilder builder;
  builder.add(0, {patSection(1, {{PROGRAM, PMT}})}).add(PMT, {before});
  builder.add(OTHER_PMT, {after});  // not its own yet
  builder.add(0, {patSection(1, {{PROGRAM, OTHER_PMT}}, 1)}).add(PMT, {before}).add(OTHER_PMT, {after});
  const auto programs = programsIn(builder.bytes());
  ASSERT_EQ(programs.size(), 2U);
  EXPECT_EQ(programs[0].pmtPid, PMT);
  EXPECT_EQ(programs[1].pmtPid, OTHER_PMT);
  EXPECT_EQ(programs[1].pcrPid, 0x300);
}

TEST(ProgramWatch, KeepsAProgrammeThatThePatLeavesOutForAWhile) {
  StreamBuilder builder;
  builder.add(0, {patSection(1, {{PROGRAM, PMT}})}).add(PMT, {pmt(0x200, {stream(H264, 0x200)})});
  builder.add(0, {patSection(1, {}, 1)}).add(PMT, {pmt(0x200, {stream(H264, 0x200), stream(AUDIO, 0x201)}, 1)});
  EXPECT_EQ(programsIn(builder.bytes()).size(), 2U);
}

TEST(ProgramWatch, ReadsItsOwnOfSeveralPmtsOnOnePid) {
  StreamBuilder builder;
  builder.add(0, {patSection(1, {{PROGRAM + 1, PMT}, {PROGRAM, PMT}})});
  builder.add(PMT, {pmt(0x300, {stream(H264, 0x300)}, 0, PROGRAM + 1), pmt(0x200, {stream(H264, 0x200)})});
  const auto programs = programsIn(builder.bytes());
  ASSERT_EQ(programs.size(), 1U);
  EXPECT_EQ(programs[0].pcrPid, 0x200);
}

TEST(ProgramWatch, SurvivesThePatOfACaptureThatEmpties) {
  const Bytes file = bytesOf("fr-france5-pat-changes-2019");
  if (file.empty()) GTEST_SKIP() << "no captures in " << captureFolder();
  const auto programs = programsIn(file, 1045);
  ASSERT_EQ(programs.size(), 1U);
  EXPECT_EQ(programs[0].pmtPid, 400);
}

TEST(ProgramStream, HoldsTheChosenComponentsUnderTheirNewPids) {
  const Bytes programDescriptor = descriptor(0x0E, {0xC0, 0x00, 0x10});
  const Bytes language = descriptor(0x0A, join({text("fra"), {0}}));
  Output output;
  ProgramStream program = output.make();
  program.setContents({.number = PROGRAM,
                       .pcrPid = 0x200,
                       .pmtPid = 0x1000,
                       .descriptors = programDescriptor,
                       .parts = {{componentOf({}, 0x200, H264), 0x101}, {componentOf(language, 0x202), 0x102}}});
  StreamBuilder input;
  input.addPcr(0x200, 1).addPcr(0x300, 2);
  for (const std::uint16_t pid : std::initializer_list<std::uint16_t>{0x200, 0x201, 0x202})
    input.add(pid, {text(std::to_string(pid))});
  forPackets(input.bytes(), [&](const PacketView& packet) { program.feed(packet); });
  const Told told = output.told();
  EXPECT_EQ(told.pat, (std::vector<std::pair<std::uint16_t, std::uint16_t>>{{PROGRAM, 0x1000}}));
  ASSERT_FALSE(told.programs.empty());
  const Program& made = told.programs.front();
  EXPECT_EQ(made.pcrPid, 0x101);
  EXPECT_EQ(made.descriptors, programDescriptor);
  ASSERT_EQ(made.components.size(), 2U);
  EXPECT_EQ(made.components[1].pid, 0x102);
  EXPECT_EQ(made.components[1].streamType, AUDIO);
  EXPECT_EQ(made.components[1].descriptors, language);
  EXPECT_EQ(told.clocks, (std::map<std::uint16_t, std::vector<std::uint64_t>>{{0x101, {1}}}));
  std::set<std::uint16_t> pids;
  for (const auto& [pid, payloads] : told.payloads) pids.insert(pid);
  EXPECT_EQ(pids, (std::set<std::uint16_t>{0x101, 0x102}));
  EXPECT_EQ(told.continuityErrors, 0U);
}

TEST(ProgramStream, HasANewVersionForNewContentsOnly) {
  Output output;
  ProgramStream program = output.make();
  ProgramStream::Contents contents{.number = PROGRAM, .pcrPid = 0x200, .pmtPid = PMT};
  for (const std::uint16_t pid : std::initializer_list<std::uint16_t>{0x200, 0x200, 0x202, 0x200}) {
    contents.parts = {{componentOf({}, pid), pid}};
    program.setContents(contents);
  }
  std::vector<int> versions;
  for (const auto& made : output.told().programs) versions.push_back(made.version);
  EXPECT_EQ(versions, (std::vector<int>{0, 1, 2}));
}

// The picture whose packets carry the clock is not wanted, the clock is.
TEST(ProgramStream, KeepsTheClockOfAComponentThatIsNoPart) {
  Output output;
  ProgramStream program = output.make();
  program.setContents({.number = PROGRAM, .pcrPid = 0x200, .pmtPid = PMT, .parts = {{componentOf({}, 0x201), 0x201}}});
  StreamBuilder input;
  for (std::uint64_t i = 0; i < 20; ++i) {
    input.addPcr(0x200, i * 2'700'000).add(0x200, {text("picture")}).add(0x201, {text("sound")});
  }
  forPackets(input.bytes(), [&](const PacketView& packet) { program.feed(packet); });
  const Told told = output.told();
  EXPECT_EQ(told.clocks.at(0x200).size(), 20U);
  EXPECT_EQ(told.payloads.at(0x201).size(), 20U);
  for (const auto& payload : told.payloads.at(0x200)) EXPECT_TRUE(payload.empty());
  EXPECT_GE(told.programs.size(), 19U) << "the tables come ten times a second";
  EXPECT_EQ(told.continuityErrors, 0U);
}

struct Probed {
  std::uint16_t program = 0;
  std::set<std::uint16_t> pids;
};

// What ffprobe makes of a stream; nothing when there is none on this system.
std::optional<Probed> probe(const std::filesystem::path& file) {
  const std::string command = "ffprobe -v error -show_programs -of json '" + file.string() + "' 2>/dev/null";
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  std::string text;
  for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) text.push_back(static_cast<char>(byte));
  constexpr int NOT_FOUND = 127 << 8;  // the shell's word for it
  if (::pclose(pipe) == NOT_FOUND) return std::nullopt;
  const auto json = nlohmann::json::parse(text);  // throws where it is no stream
  Probed probed{.program = json["programs"][0]["program_id"], .pids = {}};
  for (const auto& each : json["programs"][0]["streams"]) {
    probed.pids.insert(static_cast<std::uint16_t>(std::stoi(each["id"].get<std::string>(), nullptr, 16)));
  }
  return probed;
}

TEST(ProgramStream, IsAProgrammeForOthersToo) {
  constexpr std::uint16_t RAI_1 = 3401;
  const Bytes file = bytesOf("it-rai-dvbt-2022");
  if (file.empty()) GTEST_SKIP() << "no captures in " << captureFolder();
  Output output;
  ProgramStream program = output.make();
  std::set<std::uint16_t> pids;
  ProgramWatch watch(RAI_1, [&](const Program& found) {
    for (const auto& component : found.components) pids.insert(component.pid);
    program.setContents(contentsOf(found));
  });
  forPackets(file, [&](const PacketView& packet) {
    watch.feed(packet);
    program.feed(packet);
  });
  const TemporaryDirectory directory;
  write(directory / "program.ts", output.bytes());
  const auto probed = probe(directory / "program.ts");
  if (!probed) GTEST_SKIP() << "no ffprobe here";
  EXPECT_EQ(probed->program, RAI_1);
  EXPECT_EQ(probed->pids, pids);
}

}  // namespace
}  // namespace durix::test
