#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "middleware/receivers/ReceiverSettings.h"
#include "middleware/receivers/StreamTime.h"
#include "middleware/stream/ByteSource.h"

namespace durix {

/// What is on air for a receiver: transport streams by frequency. Directories of files are one kind, networks another.
/// Unchanging after construction; any thread.
class Broadcast {
 public:
  Broadcast() = default;
  Broadcast(const Broadcast&) = delete;
  Broadcast& operator=(const Broadcast&) = delete;
  virtual ~Broadcast() = default;

  /// The stream of a frequency from its beginning; null when there is no signal. Throws Failure when there is a stream
  /// that cannot be read.
  virtual std::unique_ptr<ByteSource> tune(const durix_scan_frequency& frequency) const = 0;

  /// Whether there is a signal on a frequency.
  virtual bool carries(const durix_scan_frequency& frequency) const = 0;

  /// The file that a frequency's stream comes from, when its moments are to be shifted so that it is on air now;
  /// nothing for what has its own time.
  virtual std::optional<std::filesystem::path> shiftedFile(const durix_scan_frequency& frequency) const = 0;

  /// What the stream of a frequency is: another text once it is another stream; empty without a signal.
  virtual std::string revision(const durix_scan_frequency& frequency) const = 0;

  /// Whether a receiver is there to be tuned at all.
  virtual bool isPresent() const = 0;

  /// When its streams were on air: what the first stream that tells a time tells first; when none does, the earliest
  /// start of a present event.
  virtual StreamTime firstTime() const = 0;

  virtual const ReceiverSettings& settings() const = 0;
  virtual std::string source() const = 0;  // as people write it
};

/// A directory of `FREQUENCY.ts`; where a polarisation is given, `FREQUENCYH.ts`, `V`, `L` or `R` before that.
class DirectoryBroadcast : public Broadcast {
 public:
  explicit DirectoryBroadcast(ReceiverSettings settings) : _settings(std::move(settings)) {}

  std::unique_ptr<ByteSource> tune(const durix_scan_frequency& frequency) const override;
  bool carries(const durix_scan_frequency& frequency) const override { return fileOf(frequency).has_value(); }
  std::optional<std::filesystem::path> shiftedFile(const durix_scan_frequency& frequency) const override;
  std::string revision(const durix_scan_frequency& frequency) const override;
  bool isPresent() const override;
  StreamTime firstTime() const override;
  const ReceiverSettings& settings() const override { return _settings; }
  std::string source() const override { return "file:" + _settings.directory.string(); }

 private:
  std::optional<std::filesystem::path> fileOf(const durix_scan_frequency& frequency) const;
  std::vector<std::filesystem::path> streams() const;

  const ReceiverSettings _settings;
};

}  // namespace durix
