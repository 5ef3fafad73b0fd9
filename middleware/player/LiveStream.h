#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "middleware/player/LiveBytes.h"
#include "middleware/reception/ServiceReception.h"
#include "middleware/si/ProgramStream.h"

namespace durix {

/// Makes what is received of a service into a stream for the decoder. The receiving thread brings packets, one other
/// thread says what is played.
class LiveStream : public ServiceTaker {
 public:
  /// `wake` is called on the receiving thread when there is a new programme, or the end; it must not wait.
  explicit LiveStream(std::function<void()> wake) : _wake(std::move(wake)) {}

  /// What the service consists of; null as long as that is not known.
  std::shared_ptr<const Program> program() const;

  /// Why nothing comes any more; nothing as long as something may.
  std::optional<PacketTaker::End> ended() const;

  /// From here on these contents go into these bytes; nothing goes into those before.
  void play(ProgramStream::Contents contents, std::shared_ptr<LiveBytes> bytes);

  /// From here on these contents go into the same bytes.
  void goOn(ProgramStream::Contents contents);

  void takeProgram(const Program& program) override;
  void takePacket(const PacketView& packet) override;
  void end(PacketTaker::End reason) override;

 private:
  void write(PacketView::Bytes packet);  // _mutex is held

  const std::function<void()> _wake;

  // guarded by _mutex; under it the bytes' is taken
  mutable std::mutex _mutex;
  std::shared_ptr<const Program> _program;
  std::optional<PacketTaker::End> _ended;
  std::shared_ptr<LiveBytes> _bytes;
  std::optional<ProgramStream> _stream;
  bool _hasToldOfDrops = false;
};

}  // namespace durix
