#include "middleware/si/ProgramWatch.h"

#include <algorithm>
#include <utility>

#include "middleware/si/TableReaders.h"

namespace durix {
namespace {
constexpr std::uint16_t PAT_PID = 0;
}

ProgramWatch::ProgramWatch(std::uint16_t number, Sink sink)
    : _number(number), _sink(std::move(sink)), _pat([this](const Section& section) { takePat(section); }) {}

void ProgramWatch::feed(const PacketView& packet) {
  if (packet.pid() == PAT_PID) {
    _pat.feed(packet);
  } else if (_pmtPid && packet.pid() == *_pmtPid) {
    if (std::exchange(_isPmtMoved, false) || !_pmt) {
      _pmt.emplace([this](const Section& section) { takePmt(section); });
    }
    _pmt->feed(packet);
  }
}

// A PAT that does not list the programme for a while changes nothing: it is received as long as it is sent.
void ProgramWatch::takePat(const Section& section) {
  if (section.tableId() != PAT_TABLE || !section.isCurrent()) return;
  for (const auto& [number, pid] : readPat(section)) {
    if (number != _number || _pmtPid == pid) continue;
    _pmtPid = pid;
    _isPmtMoved = true;
    _last.clear();
  }
}

void ProgramWatch::takePmt(const Section& section) {
  if (section.tableId() != PMT_TABLE || !section.isCurrent() || section.extension() != _number) return;
  if (std::ranges::equal(section.bytes(), _last)) return;
  _last.assign(section.bytes().begin(), section.bytes().end());
  _sink(readPmt(section, *_pmtPid));
}

}  // namespace durix
