#include "tests/support/TinyStream.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/si/StreamBuilder.h"

namespace durix::test {
namespace {

constexpr std::uint16_t NETWORK = 0x3001;
constexpr std::uint16_t FIRST_PMT_PID = 0x0100;
constexpr std::uint8_t H264 = 0x1B;
constexpr std::uint8_t MPEG_AUDIO = 0x03;

std::uint16_t pmtPid(std::size_t index) {
  return static_cast<std::uint16_t>(FIRST_PMT_PID + index);
}

Bytes language(std::string_view code) {
  return descriptor(0x0A, join({text(code), {0}}));
}

Bytes pmt(const TinyService& service) {
  const std::pair<std::uint8_t, Bytes> picture{H264, {}};
  const std::pair<std::uint8_t, Bytes> first{MPEG_AUDIO, language("CES")};
  const std::pair<std::uint8_t, Bytes> second{MPEG_AUDIO, language("eng")};
  if (service.type == 0x02) return pmtSection(service.id, {first});
  return pmtSection(service.id, {picture, first, second});
}

// The logical channel numbers stand with the private data specifier of their inventor (IEC 62216, 8.3.2).
Bytes channelNumbers(const TinyMultiplex& multiplex) {
  Bytes entries;
  for (const auto& service : multiplex.services) {
    if (service.channelNumber != 0) entries = join({entries, word(service.id), word(0xFC00U | service.channelNumber)});
  }
  return join({descriptor(0x5F, join({word(0), word(0x28)})), descriptor(0x83, entries)});
}

// EN 300 468, annex C.
Bytes moment(std::int64_t utc) {
  const auto bcd = [](std::int64_t value) { return static_cast<std::uint8_t>(value / 10 << 4 | value % 10); };
  const std::int64_t second = utc % 86400;
  return join({word(static_cast<unsigned>(utc / 86400 + 40587)),
               {bcd(second / 3600), bcd(second / 60 % 60), bcd(second % 60)}});
}

}  // namespace

Bytes TinyMultiplex::bytes() const {
  StreamBuilder stream;
  std::vector<std::pair<unsigned, unsigned>> programs;
  Bytes entries;
  for (std::size_t i = 0; i < services.size(); ++i) {
    programs.emplace_back(services[i].id, pmtPid(i));
    entries = join({entries, sdtEntry(services[i].id, serviceDescriptor(services[i].type, services[i].name),
                                      services[i].isProtected)});
  }
  const auto lastSection = [&](std::uint8_t table) { return static_cast<std::uint8_t>(half == table ? 1 : 0); };
  if (hasPat) stream.add(0x00, {patSection(transportStream, programs, 0, lastSection(0x00))});
  for (std::size_t i = 0; hasPmt && i < services.size(); ++i) stream.add(pmtPid(i), {pmt(services[i])});
  if (hasSdt) {
    stream.add(0x11, {section({.table = 0x42, .extension = transportStream, .last = lastSection(0x42)},
                              sdtBody(originalNetwork, {entries}))});
  }
  if (hasNit) stream.add(0x10, {nitSection(NETWORK, transportStream, originalNetwork, channelNumbers(*this))});
  if (event) {
    const Bytes duration{0x01, 0x00, 0x00};
    const Bytes present = join(
        {word(transportStream), word(originalNetwork), {0, 0x4E}, word(1), moment(*event), duration, word(0x8000)});
    stream.add(0x12, {section({.table = 0x4E, .extension = services.at(0).id}, present)});
  }
  if (time) stream.add(0x14, {join({{0x70}, word(0x7005), moment(*time)})});
  Bytes all = stream.bytes();
  Bytes null{0x47, 0x1F, 0xFF, 0x10};
  null.resize(188, 0xFF);
  all.reserve(all.size() + nullPackets * null.size());
  for (std::uint32_t i = 0; i < nullPackets; ++i) all.insert(all.end(), null.begin(), null.end());
  return all;
}

void write(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::FILE* const out = std::fopen(file.c_str(), "wb");
  if (out == nullptr) throw std::runtime_error("cannot write " + file.string());
  const std::size_t count = bytes.empty() ? 0 : std::fwrite(bytes.data(), 1, bytes.size(), out);
  if (std::fclose(out) != 0 || count != bytes.size()) throw std::runtime_error("cannot write " + file.string());
}

std::string contentsOf(const std::filesystem::path& file) {
  std::string contents;
  std::FILE* const in = std::fopen(file.c_str(), "rb");
  if (in == nullptr) return contents;
  std::array<char, 4096> part{};
  while (const std::size_t count = std::fread(part.data(), 1, part.size(), in)) contents.append(part.data(), count);
  std::fclose(in);
  return contents;
}

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = std::filesystem::temp_directory_path() / "tv-test.XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary directory");
  _path = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

}  // namespace durix::test
