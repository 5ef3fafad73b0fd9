#include "OnAir.h"

#include <algorithm>

#include "tests/si/StreamBuilder.h"
#include "tests/support/TinyStream.h"

namespace durix::test {
namespace {

constexpr std::uint64_t TICKS_IN_FRAME = 27'000'000 / 25;
constexpr unsigned FRAMES_IN_GROUP = 12;
constexpr std::uint16_t NETWORK = 0x20FA;

class Multiplexer {
 public:
  void tables(const std::vector<std::string>& names, std::uint16_t transportStream) {
    std::vector<std::pair<unsigned, unsigned>> programs;
    Bytes entries;
    for (std::size_t i = 0; i < names.size(); ++i) {
      programs.emplace_back(i + 1, pmtPid(i));
      const auto entry = sdtEntry(static_cast<std::uint16_t>(i + 1), serviceDescriptor(1, names[i]));
      entries = join({entries, entry});
    }
    section(0, patSection(transportStream, programs));
    for (std::size_t i = 0; i < names.size(); ++i) section(pmtPid(i), pmt(i));
    section(0x11, test::section({.table = 0x42, .extension = transportStream}, sdtBody(NETWORK, {entries})));
    section(0x10, nitSection(1, transportStream, NETWORK, {}));
  }

  void frame(std::size_t place, unsigned number) {
    const std::uint64_t clock = number * TICKS_IN_FRAME;
    const bool isKey = number % FRAMES_IN_GROUP == 0;
    const Bytes picture =
        join({{0, 0, 0, 1, 9, 0x10, 0, 0, 0, 1}, {static_cast<std::uint8_t>(isKey ? 0x67 : 0x41)}, Bytes(300, 0x55)});
    unit(videoPid(place), unitOf(0xE0, clock, picture), clock);
    for (std::uint16_t sound = 0; sound < 2; ++sound) {
      unit(static_cast<std::uint16_t>(firstSoundPid(place) + sound), unitOf(0xC0, clock, Bytes(100, 0x33)),
           std::nullopt);
    }
  }

  Bytes bytes;

 private:
  static Bytes pmt(std::size_t place) {
    const auto language = [](std::string_view code) { return descriptor(0x0A, join({text(code), {0}})); };
    const auto stream = [](std::uint8_t type, std::uint16_t pid, const Bytes& descriptors) {
      return join(
          {{type}, word(0xE000U | pid), word(0xF000U | static_cast<unsigned>(descriptors.size())), descriptors});
    };
    const std::uint16_t sound = firstSoundPid(place);
    return test::section({.table = 0x02, .extension = static_cast<std::uint16_t>(place + 1)},
                         join({word(0xE000U | videoPid(place)), word(0xF000), stream(0x1B, videoPid(place), {}),
                               stream(0x03, sound, language("fra")),
                               stream(0x03, static_cast<std::uint16_t>(sound + 1), language("eng"))}));
  }

  void section(std::uint16_t pid, const Bytes& table) {
    Bytes rest = join({{0}, table});
    for (bool isFirst = true; !rest.empty(); isFirst = false) {
      Bytes part(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(rest.size(), 184)));
      rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(part.size()));
      part.resize(184, 0xFF);
      add({.pid = pid, .startsUnit = isFirst, .payload = part});
    }
  }

  void unit(std::uint16_t pid, Bytes rest, std::optional<std::uint64_t> clock) {
    for (bool isFirst = true; !rest.empty(); isFirst = false) {
      const std::size_t most = isFirst && clock ? 176 : 184;
      Bytes part(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(std::min(rest.size(), most)));
      rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(part.size()));
      add({.pid = pid, .startsUnit = isFirst, .pcr = isFirst ? clock : std::nullopt, .payload = part});
    }
  }

  void add(PacketParts parts) {
    parts.counter = _counters[parts.pid]++ & 0x0F;
    const Bytes packet = packetOf(parts);
    bytes.insert(bytes.end(), packet.begin(), packet.end());
  }

  std::map<std::uint16_t, std::uint8_t> _counters;
};

}  // namespace

Bytes packetOf(const PacketParts& parts) {
  Bytes packet{0x47, static_cast<std::uint8_t>((parts.startsUnit ? 0x40 : 0) | parts.pid >> 8),
               static_cast<std::uint8_t>(parts.pid)};
  Bytes field;
  if (parts.pcr || parts.isRandomAccess) {
    field.push_back(static_cast<std::uint8_t>((parts.isRandomAccess ? 0x40 : 0) | (parts.pcr ? 0x10 : 0)));
  }
  if (parts.pcr) {
    const std::uint64_t base = *parts.pcr / 300;
    const std::uint64_t extension = *parts.pcr % 300;
    for (const int shift : {25, 17, 9, 1}) field.push_back(static_cast<std::uint8_t>(base >> shift));
    field.push_back(static_cast<std::uint8_t>((base & 1) << 7 | 0x7E | extension >> 8));
    field.push_back(static_cast<std::uint8_t>(extension));
  }
  const std::size_t room = 184 - parts.payload.size();
  const bool hasField = room > 0;
  packet.push_back(
      static_cast<std::uint8_t>((hasField ? 0x20 : 0) | (parts.payload.empty() ? 0 : 0x10) | parts.counter));
  if (hasField) {
    packet.push_back(static_cast<std::uint8_t>(room - 1));
    if (field.empty() && room > 1) field.push_back(0);
    packet.insert(packet.end(), field.begin(), field.end());
  }
  packet.resize(188 - parts.payload.size(), 0xFF);
  packet.insert(packet.end(), parts.payload.begin(), parts.payload.end());
  return packet;
}

Bytes unitOf(std::uint8_t streamId, std::uint64_t time, const Bytes& data) {
  const std::uint64_t stamp = time / 300;
  const Bytes times{static_cast<std::uint8_t>(0x21 | (stamp >> 29 & 0x0E)), static_cast<std::uint8_t>(stamp >> 22),
                    static_cast<std::uint8_t>(stamp >> 14 | 1), static_cast<std::uint8_t>(stamp >> 7),
                    static_cast<std::uint8_t>(stamp << 1 | 1)};
  const bool isPicture = streamId == 0xE0;
  const auto length = isPicture ? 0 : static_cast<unsigned>(3 + times.size() + data.size());
  return join({{0, 0, 1, streamId}, word(length), {0x80, 0x80, 5}, times, data});
}

Bytes multiplexOf(const std::vector<std::string>& names, std::uint16_t transportStream, unsigned seconds) {
  Multiplexer multiplexer;
  for (unsigned frame = 0; frame < seconds * 25; ++frame) {
    if (frame % 3 == 0) multiplexer.tables(names, transportStream);
    for (std::size_t place = 0; place < names.size(); ++place) multiplexer.frame(place, frame);
  }
  return multiplexer.bytes;
}

std::map<std::uint16_t, unsigned> pidsIn(const std::filesystem::path& file) {
  const std::string bytes = contentsOf(file);
  std::map<std::uint16_t, unsigned> pids;
  for (std::size_t at = 0; at + 188 <= bytes.size(); at += 188) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<std::uint8_t>(bytes[at + i])); };
    ++pids[static_cast<std::uint16_t>((byte(1) & 0x1F) << 8 | byte(2))];
  }
  return pids;
}

}  // namespace durix::test
