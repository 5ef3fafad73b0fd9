#include "guide/ServiceOrderFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "durix/ostiv.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

constexpr const char* FILE_NAME = "service_order.dat";
constexpr std::uint32_t CHUNK = 128;  // bytes

/// An open file, closed at the end of its scope.
class OpenFile {
 public:
  explicit OpenFile(const char* mode) : _open(ostiv_file_open(&_file, FILE_NAME, mode) == 0) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (_open) ostiv_file_close(&_file);
  }

  explicit operator bool() const { return _open; }
  ostiv_file* operator->() { return &_file; }
  ostiv_file* get() { return &_file; }

 private:
  ostiv_file _file{};
  const bool _open;
};

}  // namespace

std::string ServiceOrderFile::read() {
  const Lock lock(_mutex);
  OpenFile file("r");
  if (!file) {
    BC_ERR(LOG, "Error while opening service_order.dat");
    return {};
  }
  std::string text;
  while (text.size() < file->size) {
    std::array<char, CHUNK> chunk;
    std::uint32_t delivered = 0;
    if (ostiv_file_read(file.get(), chunk.data(), CHUNK, &delivered) != 0 || delivered == 0) break;
    text.append(chunk.data(), std::min(delivered, CHUNK));
  }
  return text;
}

void ServiceOrderFile::write(const std::vector<Service*>& services) {
  const Lock lock(_mutex);
  OpenFile file("w");
  if (!file) {
    BC_ERR(LOG, "Error while creating service_order.dat");
    return;
  }
  for (Service* const service : services) {
    if (service == nullptr) continue;
    std::array<char, 32> line;  // two numbers of 32 bits, a sign each
    const int length = std::snprintf(line.data(), line.size(), "%d.%d\n", static_cast<std::int32_t>(service->getId()),
                                     service->getOriginalNetwork());
    ostiv_file_write(file.get(), line.data(), static_cast<std::uint32_t>(length));
  }
}
