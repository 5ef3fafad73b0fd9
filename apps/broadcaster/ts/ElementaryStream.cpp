#include "apps/broadcaster/ts/ElementaryStream.h"

#include <algorithm>
#include <utility>

namespace broadcaster {
namespace {

/// At most 40 ms may lie between two clock references (TR 101 290, 5.2.2); a packet may wait for its turn.
constexpr Ticks PCR_INTERVAL = std::chrono::milliseconds(32);

constexpr std::size_t HEADER = 4;

/// A time of 33 bits at 90 kHz, cut up by marker bits (ISO/IEC 13818-1, 2.4.3.7).
void writeTimestamp(ByteWriter& writer, std::uint64_t prefix, Ticks time) {
  const auto value = static_cast<std::uint64_t>(time.count() / 300);
  writer.u8(prefix << 4 | (value >> 29 & 0xE) | 1);
  writer.u16((value >> 14 & 0xFFFE) | 1);
  writer.u16((value << 1 & 0xFFFE) | 1);
}

Bytes makePes(std::uint8_t streamId, std::size_t headerLength, const AccessUnit& unit) {
  const bool hasDecoding = unit.decoding != unit.presentation;
  const std::size_t times = hasDecoding ? 10 : 5;
  const std::size_t extra = std::max(times, headerLength);
  const std::size_t length = 3 + extra + unit.data.size();
  const bool video = (streamId & 0xF0U) == 0xE0U;  // a length of 0, "not said", is for pictures alone
  ByteWriter writer;
  writer.u24(1);
  writer.u8(streamId);
  writer.u16(video || length > 0xFFFF ? 0 : length);
  writer.u8(0x84);  // data_alignment_indicator
  writer.u8(hasDecoding ? 0xC0 : 0x80);
  writer.u8(extra);
  writeTimestamp(writer, hasDecoding ? 3 : 2, unit.presentation);
  if (hasDecoding) writeTimestamp(writer, 1, unit.decoding);
  writer.bytes(Bytes(extra - times, 0xFF));
  writer.bytes(unit.data);
  return writer.get();
}

/// The six bytes of a clock reference (ISO/IEC 13818-1, 2.4.3.5).
void writePcr(ByteWriter& writer, Ticks time) {
  const auto base = static_cast<std::uint64_t>(time.count() / 300) & 0x1FFFFFFFFULL;
  const auto extension = static_cast<std::uint64_t>(time.count() % 300);
  writer.u32(base >> 1);
  writer.u16((base & 1) << 15 | 0x7E00 | extension);
}

}  // namespace

ElementaryStream::ElementaryStream(Settings settings, std::unique_ptr<AccessUnitSource> source)
    : _settings(std::move(settings)), _source(std::move(source)) {}

bool ElementaryStream::prepare() {
  if (!_pes.empty()) return true;
  if (_ended) return false;
  std::optional<AccessUnit> unit = _source->next();
  if (!unit) {
    _ended = true;
    return false;
  }
  unit->presentation += PRELOAD;
  unit->decoding += PRELOAD;
  _decoding = unit->decoding;
  _randomAccess = unit->randomAccess;
  _pes = makePes(_settings.streamId, _settings.headerLength, *unit);
  _sent = 0;
  return true;
}

std::optional<Ticks> ElementaryStream::deadline(Ticks now) {
  if (!prepare() || now < _decoding - _settings.lead || isHeld(now)) return std::nullopt;
  return _decoding;
}

/// Whether the unit that waits must not go out under the old identifier any more, and not yet under the new one.
bool ElementaryStream::isHeld(Ticks now) {
  if (_settings.relocation == nullptr || _moved || _sent > 0) return false;
  Relocation& relocation = *_settings.relocation;
  if (_settings.carriesPcr && _randomAccess && _decoding >= PRELOAD + relocation.at()) relocation.announce(now);
  if (!relocation.isAnnounced()) return false;
  if (!relocation.isDone(now)) return true;
  _moved = true;
  _settings.pid = _settings.laterPid;
  return false;
}

bool ElementaryStream::finished() {
  return !prepare();
}

void ElementaryStream::fill(Packet& packet, Ticks now, Ticks pcr) {
  const bool hasData = deadline(now).has_value();
  const bool starts = hasData && _sent == 0;
  const bool hasPcr = pcrDue(now);
  if (hasPcr) _pcrDue = now + PCR_INTERVAL;

  ByteWriter adaptation;  // without its length
  if (hasPcr || (starts && _randomAccess) || !hasData) {
    adaptation.u8((starts && _randomAccess ? 0x40 : 0) | (hasPcr ? 0x10 : 0));
    if (hasPcr) writePcr(adaptation, pcr);
  }
  // The adaptation field also fills up a packet that the rest of the unit does not: length alone, or flags and
  // stuffing.
  const std::size_t room = PACKET_SIZE - HEADER - (adaptation.size() > 0 ? adaptation.size() + 1 : 0);
  const std::size_t count = hasData ? std::min(room, _pes.size() - _sent) : 0;
  const std::size_t field = PACKET_SIZE - HEADER - count;

  packet.fill(0xFF);
  packet[0] = 0x47;
  packet[1] = static_cast<std::uint8_t>((starts ? 0x40 : 0) | _settings.pid >> 8);
  packet[2] = static_cast<std::uint8_t>(_settings.pid);
  packet[3] = static_cast<std::uint8_t>((field > 0 ? 0x20 : 0) | (count > 0 ? 0x10 : 0) | _continuity);
  if (field > 0) packet[4] = static_cast<std::uint8_t>(field - 1);
  if (field > 1) {
    packet[5] = 0;
    std::ranges::copy(adaptation.get(), packet.begin() + 5);
  }
  if (count == 0) {
    // A packet without payload repeats the counter of the one before it.
    packet[3] = static_cast<std::uint8_t>((packet[3] & 0xF0U) | ((_continuity + 15U) & 0xFU));
    return;
  }
  std::copy_n(_pes.begin() + static_cast<std::ptrdiff_t>(_sent), count,
              packet.end() - static_cast<std::ptrdiff_t>(count));
  _continuity = (_continuity + 1) & 0xF;
  _sent += count;
  if (_sent == _pes.size()) _pes.clear();
}

}  // namespace broadcaster
