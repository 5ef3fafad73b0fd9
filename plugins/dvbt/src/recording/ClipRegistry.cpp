#include "recording/ClipRegistry.h"

#include <algorithm>
#include <utility>

#include "velmora/Playlist.h"

namespace {

template <typename Item>
bool holds(const std::vector<Item*>& list, const Item* item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

template <typename Item>
void takeOut(std::vector<Item*>& list, const Item* item) {
  list.erase(std::remove(list.begin(), list.end(), item), list.end());
}

template <typename Item>
Item* findById(const std::vector<Item*>& list, unsigned contentId) {
  const auto found =
      std::find_if(list.begin(), list.end(), [&](const Item* i) { return i->getContentId() == contentId; });
  return found == list.end() ? nullptr : *found;
}

}  // namespace

ClipRegistry::~ClipRegistry() {
  for (const Scheduling* const scheduling : _schedulings) delete scheduling;
  for (const Recording* const recording : _recordings) delete recording;
}

std::vector<Scheduling*> ClipRegistry::schedulings() const {
  const Lock lock(_listMutex);
  return _schedulings;
}

std::vector<Recording*> ClipRegistry::recordings() const {
  const Lock lock(_listMutex);
  return _recordings;
}

std::vector<TimedClip*> ClipRegistry::everyOne() const {
  const Lock lock(_listMutex);
  std::vector<TimedClip*> clips(_schedulings.begin(), _schedulings.end());
  clips.insert(clips.end(), _recordings.begin(), _recordings.end());
  for (const auto& retired : _retired) {
    if (auto* const clip = dynamic_cast<TimedClip*>(retired.get())) clips.push_back(clip);
  }
  return clips;
}

void ClipRegistry::add(Scheduling* scheduling) {
  const Lock lock(_listMutex);
  _schedulings.push_back(scheduling);
}

void ClipRegistry::add(Recording* recording) {
  const Lock lock(_listMutex);
  _recordings.push_back(recording);
}

bool ClipRegistry::contains(const Scheduling* scheduling) const {
  const Lock lock(_listMutex);
  return holds(_schedulings, scheduling);
}

bool ClipRegistry::contains(const Recording* recording) const {
  const Lock lock(_listMutex);
  return holds(_recordings, recording);
}

Scheduling* ClipRegistry::findScheduling(unsigned contentId) const {
  const Lock lock(_listMutex);
  return findById(_schedulings, contentId);
}

Recording* ClipRegistry::findRecording(unsigned contentId) const {
  const Lock lock(_listMutex);
  return findById(_recordings, contentId);
}

void ClipRegistry::sortSchedulings() {
  std::vector<std::pair<long, Scheduling*>> keyed;
  for (Scheduling* const scheduling : schedulings()) keyed.emplace_back(scheduling->getStartTimeT(), scheduling);
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<Scheduling*> sorted;
  sorted.reserve(keyed.size());
  for (const auto& [start, scheduling] : keyed) sorted.push_back(scheduling);
  const Lock lock(_listMutex);
  _schedulings = std::move(sorted);
}

void ClipRegistry::remove(const Scheduling* scheduling) {
  const Lock lock(_listMutex);
  takeOut(_schedulings, scheduling);
}

void ClipRegistry::remove(const Recording* recording) {
  const Lock lock(_listMutex);
  takeOut(_recordings, recording);
}

std::vector<Scheduling*> ClipRegistry::takeSchedulings() {
  const Lock lock(_listMutex);
  return std::exchange(_schedulings, {});
}

void ClipRegistry::retire(Clip* clip) {
  const Lock lock(_listMutex);
  _retired.emplace_back(clip);
}

void ClipRegistry::retire(Playlist* playlist) {
  playlist->releaseClips();
  const Lock lock(_listMutex);
  _retired.emplace_back(playlist);
}
