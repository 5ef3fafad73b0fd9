#include "middleware/recorder/Take.h"

#include <algorithm>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Clock.h"
#include "middleware/portability/Files.h"
#include "middleware/portability/Log.h"
#include "middleware/recorder/RecordingPlace.h"
#include "middleware/recorder/Repair.h"
#include "middleware/recorder/SoundChoice.h"
#include "middleware/recordings/RecordingComponents.h"
#include "middleware/recordings/Recordings.h"
#include "middleware/store/Store.h"

namespace durix {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr milliseconds WRITE_INTERVAL{100};
constexpr seconds LOOK_INTERVAL{1};   // at the disk, which then keeps what was written
constexpr seconds KEEP_INTERVAL{15};  // of what the store knows of a running recording
constexpr seconds RETRY_INTERVAL{1};
constexpr std::uint64_t MOST_TIME_SHIFT = std::uint64_t{4} << 30U;
constexpr std::uint64_t LEAST_TIME_SHIFT = std::uint64_t{8} << 20U;

std::string text(Store& store, durix_property property) {
  return store.property(property).value_or("");
}

}  // namespace

Take::Take(const Parts& parts, const Timer& timer)
    : _parts(parts),
      _timer(timer),
      _isTimeShift(timer.type == TimerType::TimeShift),
      _takesAllSound(text(parts.reception.store, DURIX_PROPERTY_RECORD_ALL_AUDIO_CHANNELS) != "false"),
      _language(text(parts.reception.store, DURIX_PROPERTY_AUDIO_LANGUAGE)),
      _recording(timer.recording),
      _stream([this](PacketView::Bytes packet) { takeOwn(packet); }),
      _hasFile(timer.recording != 0) {
  if (_recording != 0) {
    _joint.begin();
    if (open()) _state = State::Running;
    if (_file != nullptr) _pids.begin(componentsOf(_file->path()));
  }
  _writer = std::thread([this] { write(); });
}

Take::~Take() {
  finish(Ending::Interrupted);
}

void Take::keepReceiving() {
  if (_isFinished || _state == State::Failed) return;
  if (_isEnded.exchange(false)) {
    _reception.reset();
    _start.restart();  // nobody receives: its thread is not there
    _joint.begin();
    _queue.endReception();
  }
  if (_reception != nullptr || steady_clock::now() < _nextTry) return;
  _nextTry = steady_clock::now() + RETRY_INTERVAL;
  try {
    ServiceTaker& taker = *this;
    const auto use = _isTimeShift ? ReceiverUse::Live : ReceiverUse::Recording;
    _reception = std::make_unique<ServiceReception>(_parts.reception, _timer.service.id, use, taker);
    _lastTrouble.clear();
  } catch (const Failure& failure) {
    const std::string trouble = *failure.what() == '\0' ? "no reception" : failure.what();
    if (std::exchange(_lastTrouble, trouble) != trouble) {
      logLine("recorder: timer " + std::to_string(_timer.id) + " waits: " + trouble);
    }
  }
}

// ---- The receiving thread ----

void Take::takeProgram(const Program& program) {
  const auto contents = _pids.place(chosenContents(program));
  for (const auto pid : _pids.moved()) {
    _start.restart(pid);
    _joint.begin(pid);
  }
  if (_recording != 0) {
    std::vector<Component> components;
    for (const auto& part : contents.parts) components.emplace_back(part.component).pid = part.outPid;
    _parts.recordings.setFeeds(_recording, recordedFeeds(components));
  }
  _received.clear();
  for (const auto& part : contents.parts) _received.push_back(part.component.pid);
  _start.setContents(contents);
  _stream.setContents(contents);
}

ProgramStream::Contents Take::chosenContents(const Program& program) const {
  if (_takesAllSound || _isTimeShift) return contentsOf(program);
  return contentsOf(withOneSound(program, _language));
}

void Take::takePacket(const PacketView& packet) {
  if (packet.isScrambled() && !_hasToldScrambled) tellScrambled(packet);
  _stream.feed(packet);
}

void Take::tellScrambled(const PacketView& packet) {
  if (std::ranges::find(_received, packet.pid()) == _received.end()) return;
  _hasToldScrambled = true;
  logLine("recorder: timer " + std::to_string(_timer.id) + ": \"" + _timer.service.name +
          "\" is scrambled, as a whole or in part; that is left out");
}

void Take::takeOwn(PacketView::Bytes packet) {
  const PacketView view(packet);
  if (_isAway) {  // it begins anew when that is over
    _start.restart();
    _joint.begin();
    return;
  }
  if (!_start.lets(view)) return;
  if (const auto mark = _joint.before(view)) _queue.push(*mark);
  _queue.push(packet);
}

void Take::end(PacketTaker::End) {
  _isEnded = true;
}

// ---- The writer ----

void Take::write() {
  while (const auto batch = _queue.pop(WRITE_INTERVAL)) {
    if (_state == State::Failed) continue;  // until the recorder has seen it
    try {
      writeBatch(*batch);
    } catch (const WriteFailure& failure) {
      fail(failure.what());
    } catch (const std::exception& error) {
      logLine(std::string("recorder: ") + error.what());
    }
  }
}

void Take::writeBatch(const PacketQueue::Batch& batch) {
  if (_file == nullptr) {
    const bool isWanted = !batch.packets.empty() || _isAway;
    if (!isWanted || steady_clock::now() < _nextOpen || !open()) return;
    if (_isAway.exchange(false)) return;
  }
  if (!batch.packets.empty()) {
    _file->write(batch.packets);
    _state = State::Running;
  }
  if (batch.isLast) _file->cutUnits();
  if (_isTimeShift) limitTimeShift();
  if (steady_clock::now() < _nextLook) return;
  _nextLook = steady_clock::now() + LOOK_INTERVAL;
  lookAfter();
}

// A disk that is away may come back.
bool Take::open() {
  _nextOpen = steady_clock::now() + RETRY_INTERVAL;
  try {
    if (_recording == 0) beginRecording();
    openFile();
    return _file != nullptr;
  } catch (const WriteFailure& failure) {
    if (failure.reason() == WriteFailure::Reason::Full) {
      fail(failure.what());
    } else {
      tellTrouble(failure.what());
    }
  } catch (const std::exception& error) {  // of the store
    tellTrouble(error.what());
  }
  _file.reset();
  _isAway = true;
  return false;
}

void Take::tellTrouble(const std::string& trouble) {
  if (std::exchange(_openTrouble, trouble) != trouble) {
    logLine("recorder: timer " + std::to_string(_timer.id) + " waits: " + trouble);
  }
}

// The row is there before the first packet is: whatever happens then, the recording is known.
void Take::beginRecording() {
  const auto directory = _isTimeShift ? timeShiftDirectory() : recordingsDirectory(_parts.reception.store);
  std::error_code error;
  if (!std::filesystem::is_directory(directory, error)) {
    throw WriteFailure(WriteFailure::Reason::Gone, "the directory " + directory.string() + " is not there");
  }
  const std::uint64_t room = freeBytes(directory);
  if (room < FREE_RESERVE) {
    throw WriteFailure(WriteFailure::Reason::Full, "there is no room in " + directory.string());
  }
  _limit = std::min(MOST_TIME_SHIFT, (room - FREE_RESERVE) / 2);
  Recording recording;
  recording.service = _timer.service;
  recording.texts = _timer.texts;
  recording.start = clock::now();
  recording.end = _timer.end;
  const auto naming = [&](std::uint32_t id) {
    return keptPath(newRecordingFile(directory, id, _isTimeShift ? "" : _timer.texts.name));
  };
  _recording = _parts.recordings.begin(_timer.id, std::move(recording), naming);
}

// Goes on behind what is there; a new file where there is none.
void Take::openFile() {
  const auto recording = _parts.recordings.recording(_recording);
  if (!recording) return;
  const auto path = resolved(recording->file);
  Settled known;
  std::error_code error;
  if (std::filesystem::exists(path, error)) {
    // It may have been away when others were put in order.
    const auto settled = settle(path);
    if (!settled) throw WriteFailure(WriteFailure::Reason::Gone, "recording " + path.string() + " cannot be read");
    known = *settled;
  } else {
    std::filesystem::remove(indexOf(path), error);
  }
  _file = std::make_unique<RecordingFile>(path, known.end);
  _hasFile = true;
  _errorsBefore = known.errors + (known.isAnew ? 0 : recording->errors);
  _nextKeep = steady_clock::now() + KEEP_INTERVAL;
  _parts.recordings.setWritten(_recording, true);
  const auto timer = _parts.recordings.timer(_timer.id);
  _parts.recordings.changeRecording(_recording, [&](Recording& row) {
    row.state = Recording::State::Running;
    row.end = timer ? timer->end : _timer.end;
  });
  if (!_isTimeShift) describe(*_parts.recordings.recording(_recording), _file->size());
}

void Take::lookAfter() {
  _file->sync();
  if (!_file->isThere()) throw WriteFailure(WriteFailure::Reason::Gone, "the file of a recording has gone");
  checkRoom();
  if (_isTimeShift || steady_clock::now() < _nextKeep) return;
  _nextKeep = steady_clock::now() + KEEP_INTERVAL;
  const std::uint64_t errors = _errorsBefore + _file->errors();
  if (_parts.recordings.recording(_recording)->errors == errors) return;
  _parts.recordings.changeRecording(_recording, [&](Recording& row) { row.errors = errors; });
}

void Take::checkRoom() {
  if (freeBytes(_file->path().parent_path()) >= FREE_RESERVE) return;
  if (_isTimeShift && (_file->size() - _forgotten) / 2 >= LEAST_TIME_SHIFT) {
    _limit = (_file->size() - _forgotten) / 2;
    return;
  }
  throw WriteFailure(WriteFailure::Reason::Full, "there is no more room for " + _file->path().string());
}

// The oldest part goes in steps, so that a player that reads there is not chased by every packet.
void Take::limitTimeShift() {
  const std::uint64_t step = std::max<std::uint64_t>(_limit / 32, std::uint64_t{1} << 20U);
  if (_file->size() - _forgotten <= _limit + step) return;
  const std::uint64_t beginning = (_file->size() - _limit) / PACKET_SIZE * PACKET_SIZE;
  _parts.recordings.setBeginning(_recording, beginning);
  if (!_file->forget(beginning)) throw WriteFailure(WriteFailure::Reason::Full, "a time shift has reached its limit");
  _forgotten = beginning;
}

void Take::fail(const std::string& why) {
  logLine("recorder: timer " + std::to_string(_timer.id) + ": " + why);
  _state = State::Failed;
}

// ---- The end ----

bool Take::finish(Ending ending) {
  if (!std::exchange(_isFinished, true)) endWriting();
  if (_isKept || _recording == 0) return true;
  try {
    keepEnd(ending);
    _isKept = true;
  } catch (const Failure& failure) {
    tellTrouble(failure.what());
  }
  return _isKept;
}

void Take::endWriting() {
  _reception.reset();
  _queue.close();
  _writer.join();
  if (const auto lost = _queue.lost(); lost > 0) {
    logLine("recorder: timer " + std::to_string(_timer.id) + ": the disk was too slow for " + std::to_string(lost) +
            " packets");
  }
  if (_recording == 0) return;
  if (_file != nullptr) {
    try {
      _file->finish();
    } catch (const WriteFailure& failure) {
      logLine(std::string("recorder: ") + failure.what());  // what is missing is read from the stream
    }
    _errorsBefore += _file->errors();
    _size = _file->size();
    _file.reset();
  }
  _parts.recordings.setWritten(_recording, false);
}

// What never had a file is no recording.
void Take::keepEnd(Ending ending) {
  if (!_hasFile && ending == Ending::Over) {
    if (const auto recording = _parts.recordings.recording(_recording)) removeFiles(resolved(recording->file));
    _parts.recordings.changeTimer(_timer.id, [](Timer& timer) { timer.recording = 0; });
    return _parts.recordings.removeRecording(_recording);
  }
  _parts.recordings.changeRecording(_recording, [&](Recording& row) {
    row.errors = _errorsBefore;
    const std::int64_t now = std::max(clock::now(), row.start);
    row.end = row.end == 0 ? now : std::min(now, row.end);
    if (ending == Ending::Over) row.state = Recording::State::Finished;
  });
  const auto recording = _parts.recordings.recording(_recording);
  if (recording && !_isTimeShift) describe(*recording, _size);
}

}  // namespace durix
