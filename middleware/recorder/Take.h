#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "middleware/reception/ServiceReception.h"
#include "middleware/recorder/CleanStart.h"
#include "middleware/recorder/Joint.h"
#include "middleware/recorder/KeptPids.h"
#include "middleware/recorder/PacketQueue.h"
#include "middleware/recorder/RecordingFile.h"
#include "middleware/recordings/Recording.h"
#include "middleware/si/ProgramStream.h"

namespace durix {

class Recordings;

/// What one timer writes while it runs: receives its service, and writes it on a thread of its own. Whatever fails is
/// tried again until it is finished, but for a disk that is full. Overlapping timers of one service each have their
/// own.
///
/// Waiting --first packets are in the file--> Running --no room, or the file is gone--> Failed. Owned and called by the
/// recorder, one call at a time; state() by any thread.
class Take : private ServiceTaker {
 public:
  struct Parts {
    ServiceReception::Parts reception;  // all outlive this
    Recordings& recordings;
  };
  /// A timer that has written goes on in the same file.
  Take(const Parts& parts, const Timer& timer);
  Take(const Take&) = delete;
  Take& operator=(const Take&) = delete;
  ~Take() override;  // as finish(Interrupted) if it was not finished

  enum class State : std::uint8_t { Waiting, Running, Failed };
  State state() const { return _state; }

  /// Sees to it that the service is received, as far as it can be; to be called again and again.
  void keepReceiving();

  enum class Ending : std::uint8_t { Over, Interrupted };
  /// Everything that came is written, and the recording is described, when it returns. A recording that is over is
  /// finished; one that is interrupted may go on later. False while the store has no room for that: to be called again.
  bool finish(Ending ending);

 private:
  void takeProgram(const Program& program) override;
  void takePacket(const PacketView& packet) override;
  void end(PacketTaker::End reason) override;

  void takeOwn(PacketView::Bytes packet);
  void tellScrambled(const PacketView& packet);

  void write();
  void writeBatch(const PacketQueue::Batch& batch);
  bool open();
  void tellTrouble(const std::string& trouble);
  void openFile();
  void beginRecording();
  void lookAfter();
  void limitTimeShift();
  void checkRoom();
  void fail(const std::string& why);
  void endWriting();
  void keepEnd(Ending ending);
  ProgramStream::Contents chosenContents(const Program& program) const;

  // fixed after construction
  const Parts _parts;
  const Timer _timer;
  const bool _isTimeShift;
  const bool _takesAllSound;
  const std::string _language;  // of sound

  std::atomic<State> _state = State::Waiting;
  std::atomic<std::uint32_t> _recording;  // 0: none yet
  std::atomic<bool> _isEnded = false;     // the reception
  std::atomic<bool> _isAway = false;      // the place to write to: what comes is lost
  PacketQueue _queue;

  // the receiving thread's
  KeptPids _pids;
  std::vector<std::uint16_t> _received;  // PIDs in the multiplex
  bool _hasToldScrambled = false;
  CleanStart _start;
  Joint _joint;
  ProgramStream _stream;

  // the recorder's
  std::chrono::steady_clock::time_point _nextTry;
  std::string _lastTrouble;  // that was logged
  bool _isFinished = false;
  bool _isKept = false;  // its end, by the store
  std::unique_ptr<ServiceReception> _reception;

  // the writer's; when it has ended the recorder's
  std::unique_ptr<RecordingFile> _file;
  std::chrono::steady_clock::time_point _nextLook;
  std::chrono::steady_clock::time_point _nextKeep;
  std::chrono::steady_clock::time_point _nextOpen;
  std::string _openTrouble;         // that was logged
  std::uint64_t _errorsBefore = 0;  // of the recording, before this take; when it has ended all
  std::uint64_t _size = 0;          // when it has ended
  bool _hasFile = false;            // it has written, or one before it
  std::uint64_t _limit = 0;         // bytes, of a time shift
  std::uint64_t _forgotten = 0;     // as far as it has given its room back
  std::thread _writer;              // last
};

}  // namespace durix
