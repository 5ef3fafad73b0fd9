#include "velmora/Clip.h"

#include <algorithm>

#include "host/src/PlaylistShelf.h"

Clip::Clip(unsigned id, Plugin* plugin, AvContent::AvType type) : AvContent(id, plugin, type) {}

Clip::~Clip() {
  host::PlaylistShelf::leaveAll(this);
}

bool Clip::isFavorite() {
  return AvContent::isFavorite();
}
void Clip::setFavorite(bool favorite, long position) {
  AvContent::setFavorite(favorite, position);
}

TimedClip::TimedClip(Plugin* plugin, unsigned id, AvContent::AvType type) : Clip(id, plugin, type) {}
TimedClip::~TimedClip() = default;

long TimedClip::getStartTimeT() const {
  const std::lock_guard lock(_store);
  return _startTimeT;
}

long TimedClip::getEndTimeT() const {
  const std::lock_guard lock(_store);
  return _endTimeT;
}

void TimedClip::setStartTimeT(long time) {
  const std::lock_guard lock(_store);
  _startTimeT = time;
}

void TimedClip::setEndTimeT(long time) {
  const std::lock_guard lock(_store);
  _endTimeT = time;
}

std::string TimedClip::getStartTime() const {
  const std::lock_guard lock(_store);
  return _startTime;
}

std::string TimedClip::getEndTime() const {
  const std::lock_guard lock(_store);
  return _endTime;
}

void TimedClip::setStartTime(const std::string& time) {
  const std::lock_guard lock(_store);
  _startTime = time;
}

void TimedClip::setEndTime(const std::string& time) {
  const std::lock_guard lock(_store);
  _endTime = time;
}

AvContent* TimedClip::getTargetService() const {
  const std::lock_guard lock(_store);
  return _targetService;
}

void TimedClip::setTargetService(AvContent* service) {
  const std::lock_guard lock(_store);
  _targetService = service;
}

std::string TimedClip::getTargetServiceName() const {
  const std::lock_guard lock(_store);
  return _targetServiceName;
}

void TimedClip::setTargetServiceName(const std::string& name) {
  const std::lock_guard lock(_store);
  _targetServiceName = name;
}

unsigned TimedClip::getTargetServiceNetworkId() const {
  const std::lock_guard lock(_store);
  return _targetServiceNetworkId;
}

void TimedClip::setTargetServiceNetworkId(unsigned network) {
  const std::lock_guard lock(_store);
  _targetServiceNetworkId = network;
}

void TimedClip::addTargetProgram(AvContent* program) {
  if (!program) return;
  const std::lock_guard lock(_store);
  if (std::find(_targetPrograms.begin(), _targetPrograms.end(), program) != _targetPrograms.end()) return;
  _targetPrograms.push_back(program);
}

void TimedClip::removeTargetProgram(AvContent* program) {
  const std::lock_guard lock(_store);
  std::erase(_targetPrograms, program);
}

std::vector<AvContent*> TimedClip::getTargetPrograms() const {
  const std::lock_guard lock(_store);
  return _targetPrograms;
}

bool TimedClip::isActive() const {
  const std::lock_guard lock(_store);
  return _active;
}

void TimedClip::setActive(bool active) {
  const std::lock_guard lock(_store);
  _active = active;
}

Recording::Recording(Plugin* plugin, unsigned id, AvContent::AvType type) : TimedClip(plugin, id, type) {}
Recording::~Recording() = default;
bool Recording::isScheduled() {
  return getBoolProperty("scheduled");
}
void Recording::setScheduled(bool scheduled) {
  setBoolProperty("scheduled", scheduled);
}
void Recording::fillMetadata() {}

Scheduling::Scheduling(Plugin* plugin, unsigned id, AvContent::AvType type) : TimedClip(plugin, id, type) {}
Scheduling::~Scheduling() = default;
void Scheduling::fillMetadata() {}

Recording* Scheduling::getTargetRecording() const {
  const std::lock_guard lock(_store);
  return _targetRecording;
}

void Scheduling::setTargetRecording(Recording* recording) {
  const std::lock_guard lock(_store);
  _targetRecording = recording;
}
