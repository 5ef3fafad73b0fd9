#include "middleware/recorder/KeptPids.h"

#include <algorithm>
#include <set>

namespace durix {
namespace {

constexpr std::uint16_t FIRST_FREE = 0x1000;

bool isOneKind(const Component& one, const Component& other) {
  return one.streamType == other.streamType && one.kind == other.kind;
}

bool isSamePlace(const Component& one, const Component& other) {
  return one.pid == other.pid && isOneKind(one, other);
}

// Whether it goes on in the other. What nothing is known of may be anything.
bool goesOnIn(const Component& one, const Component& other) {
  return one.kind != StreamKind::Data && isOneKind(one, other) && languagesOf(one) == languagesOf(other);
}

}  // namespace

void KeptPids::begin(std::span<const Component> components) {
  for (const auto& component : components) keep({component, component.pid});
}

ProgramStream::Contents KeptPids::place(ProgramStream::Contents contents) {
  if (_tablePid == NULL_PID) _tablePid = contents.pmtPid;
  contents.pmtPid = _tablePid;
  std::set<std::uint16_t> taken{0, _tablePid};
  if (std::ranges::none_of(contents.parts, [&](const auto& part) { return part.component.pid == contents.pcrPid; })) {
    taken.insert(contents.pcrPid);
  }
  std::vector<ProgramStream::Part*> waiting;
  for (auto& part : contents.parts) waiting.push_back(&part);
  const auto take = [&](ProgramStream::Part& part, std::uint16_t pid) {
    part.outPid = pid;
    return taken.insert(pid).second;
  };
  for (const auto isIt : {isSamePlace, goesOnIn}) {  // who stays goes before who comes
    std::erase_if(waiting, [&](ProgramStream::Part* part) {
      return std::ranges::any_of(_known, [&](const auto& known) {
        return isIt(known.component, part->component) && take(*part, known.outPid);
      });
    });
  }
  for (auto* const part : waiting) {
    if (take(*part, part->component.pid)) continue;
    for (std::uint16_t pid = FIRST_FREE; !take(*part, pid);) ++pid;
  }
  _moved.clear();
  for (const auto& part : contents.parts) keep(part);
  return contents;
}

void KeptPids::keep(const ProgramStream::Part& part) {
  const auto known = std::ranges::find(_known, part.outPid, &ProgramStream::Part::outPid);
  if (known == _known.end()) {
    _known.push_back(part);
    return;
  }
  if (!isSamePlace(known->component, part.component)) _moved.push_back(part.outPid);
  *known = part;
}

}  // namespace durix
