#include "middleware/recordings/RecordingIndex.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace durix {
namespace {

constexpr std::string_view MAGIC = "tvindex1";
constexpr std::size_t ENTRY_SIZE = 16;         // two numbers of 64 bits, the lowest byte first
constexpr std::uint64_t ENTRY_INTERVAL = 500;  // milliseconds
constexpr std::size_t READ_SIZE = PACKET_SIZE * 4096;
constexpr std::uint8_t COUNTER_MASK = 0x0F;

void put64(std::vector<std::uint8_t>& bytes, std::uint64_t value) {
  for (int shift = 0; shift < 64; shift += 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

std::uint64_t get64(std::span<const std::uint8_t> bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < 8; ++i) value |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  return value;
}

// All of a file from a place on.
std::optional<std::vector<std::uint8_t>> tailOf(const std::filesystem::path& file, std::uint64_t from) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream.seekg(static_cast<std::streamoff>(from))) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  std::array<char, 16384> part{};
  while (stream.read(part.data(), part.size()) || stream.gcount() > 0) {
    bytes.insert(bytes.end(), part.begin(), part.begin() + stream.gcount());
  }
  return bytes;
}

}  // namespace

std::optional<IndexEntry> RecordingMeter::feed(const PacketView& packet, std::uint64_t offset) {
  if (packet.hasError() || !isContinuous(packet)) ++_errors;
  _clock.feed(packet);
  if (packet.pid() != 0 || !packet.startsUnit()) return std::nullopt;
  if (_lastEntry && milliseconds() < *_lastEntry + ENTRY_INTERVAL) return std::nullopt;
  _lastEntry = milliseconds();
  return IndexEntry{*_lastEntry, offset};
}

// ISO/IEC 13818-1, 2.4.3.3: a packet may be sent twice, and one without payload does not count.
bool RecordingMeter::isContinuous(const PacketView& packet) {
  if (packet.isDiscontinuity()) _counters.erase(packet.pid());
  if (packet.hasError() || !packet.hasPayload() || packet.pid() == NULL_PID) return true;
  const auto [known, isNew] = _counters.try_emplace(packet.pid(), packet.continuity());
  if (isNew) return true;
  const std::uint8_t last = std::exchange(known->second, packet.continuity());
  return packet.continuity() == ((last + 1) & COUNTER_MASK) || packet.continuity() == last;
}

std::filesystem::path indexOf(const std::filesystem::path& recording) {
  return std::filesystem::path(recording).replace_extension(".index");
}

std::filesystem::path descriptionOf(const std::filesystem::path& recording) {
  return std::filesystem::path(recording).replace_extension(".json");
}

std::vector<std::uint8_t> indexHead() {
  return {MAGIC.begin(), MAGIC.end()};
}

void appendEntry(std::vector<std::uint8_t>& bytes, const IndexEntry& entry) {
  put64(bytes, entry.milliseconds);
  put64(bytes, entry.offset);
}

std::optional<std::vector<IndexEntry>> readIndex(const std::filesystem::path& index, std::size_t known) {
  const std::uint64_t from = known == 0 ? 0 : MAGIC.size() + known * ENTRY_SIZE;
  const auto bytes = tailOf(index, from);
  if (!bytes) return std::nullopt;
  std::span<const std::uint8_t> rest = *bytes;
  if (known == 0) {
    if (rest.size() < MAGIC.size() || !std::equal(MAGIC.begin(), MAGIC.end(), rest.begin())) return std::nullopt;
    rest = rest.subspan(MAGIC.size());
  }
  std::vector<IndexEntry> entries;
  for (; rest.size() >= ENTRY_SIZE; rest = rest.subspan(ENTRY_SIZE)) {
    const IndexEntry entry{get64(rest), get64(rest.subspan(8))};
    // Times and places only grow: what does not was never written so.
    if (!entries.empty() &&
        (entry.milliseconds < entries.back().milliseconds || entry.offset < entries.back().offset)) {
      break;
    }
    entries.push_back(entry);
  }
  return entries;
}

bool writeIndex(const std::filesystem::path& index, const std::vector<IndexEntry>& entries) {
  auto bytes = indexHead();
  for (const auto& entry : entries) appendEntry(bytes, entry);
  auto unfinished = index;
  unfinished += ".new";
  {
    std::ofstream stream(unfinished, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) return false;
  }
  std::error_code error;
  std::filesystem::rename(unfinished, index, error);
  return !error;
}

std::optional<Measured> measure(const std::filesystem::path& recording, IndexEntry first, const std::stop_token& stop) {
  std::ifstream stream(recording, std::ios::binary);
  if (!stream.seekg(static_cast<std::streamoff>(first.offset))) return std::nullopt;
  RecordingMeter meter(first.milliseconds);
  Measured result;
  std::uint64_t offset = first.offset;
  std::vector<std::uint8_t> buffer(READ_SIZE);
  for (bool isLast = false; !isLast;) {
    if (stop.stop_requested()) return std::nullopt;
    stream.read(reinterpret_cast<char*>(buffer.data()), static_cast<std::streamsize>(buffer.size()));
    const auto size = static_cast<std::size_t>(stream.gcount());
    isLast = size < buffer.size();
    std::span<const std::uint8_t> rest(buffer.data(), size);
    for (; rest.size() >= PACKET_SIZE; rest = rest.subspan(PACKET_SIZE), offset += PACKET_SIZE) {
      const auto entry = meter.feed(PacketView(rest.first<PACKET_SIZE>()), offset);
      if (entry && (offset > first.offset || first.offset == 0)) result.entries.push_back(*entry);
    }
  }
  if (stream.bad()) return std::nullopt;
  result.end = {meter.milliseconds(), offset};
  result.errors = meter.errors();
  return result;
}

std::optional<Fitted> fit(std::vector<IndexEntry> entries, const std::filesystem::path& recording,
                          const std::stop_token& stop) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(recording, error);
  if (error) return std::nullopt;
  while (!entries.empty() && entries.back().offset > size) entries.pop_back();
  const bool isAnew = entries.empty();
  auto measured = measure(recording, isAnew ? IndexEntry{} : entries.back(), stop);
  if (!measured) return std::nullopt;
  entries.insert(entries.end(), measured->entries.begin(), measured->entries.end());
  if (entries.empty() || entries.back() != measured->end) entries.push_back(measured->end);
  return Fitted{std::move(entries), measured->errors, isAnew};
}

}  // namespace durix
