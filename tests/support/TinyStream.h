#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace durix::test {

/// A service of a tiny multiplex, with the components of its kind: a picture (H.264) and two sounds for television, one
/// sound for radio.
struct TinyService {
  std::uint16_t id = 0;
  std::string name{};        // ASCII
  std::uint8_t type = 0x01;  // EN 300 468, table 89: 0x19 television in HD, 0x02 radio, 0x0C data
  bool isProtected = false;
  std::uint16_t channelNumber = 0;  // 0: none
};

/// A multiplex of a few hundred bytes: enough tables for a scan and no programme. What a test needs to be different is
/// set; the rest makes a whole multiplex.
struct TinyMultiplex {
  std::uint16_t originalNetwork = 0x20FA;
  std::uint16_t transportStream = 1;
  std::vector<TinyService> services{};
  bool hasPat = true;
  bool hasPmt = true;
  bool hasSdt = true;
  bool hasNit = true;
  std::optional<std::uint8_t> half{};   // the table, PAT or SDT, that announces a section more than it has
  std::optional<std::int64_t> time{};   // of a TDT, UTC seconds since the epoch
  std::optional<std::int64_t> event{};  // start of a present event of the first service
  std::uint32_t nullPackets = 0;        // behind the tables

  std::vector<std::uint8_t> bytes() const;
};

/// Writes `bytes` to a file, whose directories are made.
void write(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);

/// All bytes of a file; nothing when it cannot be read.
std::string contentsOf(const std::filesystem::path& file);

/// A directory that is gone with all it holds when the test is.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::filesystem::path& path() const { return _path; }
  std::filesystem::path operator/(const std::string& name) const { return _path / name; }

 private:
  std::filesystem::path _path;
};

}  // namespace durix::test
