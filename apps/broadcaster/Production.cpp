#include "apps/broadcaster/Production.h"

#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <future>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "apps/broadcaster/Broadcast.h"
#include "apps/broadcaster/media/VideoSource.h"

namespace broadcaster {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

/// A file under a temporary name until it is complete.
class TransportFile {
 public:
  explicit TransportFile(fs::path path) : _path(std::move(path)), _part(_path.string() + ".part") {
    _stream.open(_part, std::ios::binary | std::ios::trunc);
    if (!_stream) fail("cannot write");
  }
  TransportFile(const TransportFile&) = delete;
  TransportFile& operator=(const TransportFile&) = delete;
  ~TransportFile() {
    std::error_code ignored;
    if (!_complete) fs::remove(_part, ignored);
  }

  void write(const Packet& packet) {
    _stream.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
    if (!_stream) fail("cannot write");
  }

  void complete() {
    _stream.close();
    if (!_stream) fail("cannot write");
    fs::rename(_part, _path);
    _complete = true;
  }

 private:
  [[noreturn]] void fail(const char* what) const {
    throw std::runtime_error(std::string(what) + " " + _part.string() + ": " + std::strerror(errno));
  }

  fs::path _path;
  fs::path _part;
  std::ofstream _stream;
  bool _complete = false;
};

void makeDirectory(const fs::path& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (!fs::is_directory(directory)) {
    throw std::runtime_error("cannot make the directory " + directory.string() +
                             (error ? ": " + error.message() : std::string(": there is a file of that name")));
  }
}

/// A bar that is drawn over itself on a terminal; elsewhere a line each quarter.
class Progress {
 public:
  Progress(bool quiet, std::int64_t whole) : _quiet(quiet), _terminal(isatty(STDOUT_FILENO) == 1), _whole(whole) {}

  void show(std::int64_t done) {
    const std::int64_t percent = done * 100 / _whole;
    if (_quiet || percent < _next) return;
    if (!_terminal) {
      std::cout << "Broadcasting " << percent << " %" << std::endl;
      _next = percent - percent % 25 + 25;
      return;
    }
    constexpr std::int64_t WIDTH = 40;
    const auto filled = static_cast<std::size_t>(percent * WIDTH / 100);
    std::cout << "\rBroadcasting [" << std::string(filled, '#') << std::string(WIDTH - filled, '.') << "] "
              << std::setw(3) << percent << " %" << (percent == 100 ? "\n" : "") << std::flush;
    _next = percent + 1;
  }

 private:
  bool _quiet;
  bool _terminal;
  std::int64_t _whole;
  std::int64_t _next = 0;
};

void writeMultiplex(const Network& network, const Multiplex& multiplex, const Order& order,
                    std::atomic<std::int64_t>& bytes) {
  TransportFile file(order.directory / (std::to_string(multiplex.frequency) + ".ts"));
  makeMultiplex(network, multiplex, order.start, order.length, [&](const Packet& packet) {
    file.write(packet);
    bytes += static_cast<std::int64_t>(packet.size());
  });
  file.complete();
}

void summarise(const Network& network, const Order& order) {
  for (const Multiplex& multiplex : network.multiplexes) {
    std::cout << (order.directory / (std::to_string(multiplex.frequency) + ".ts")).string() << ": "
              << multiplex.services.size() << " services, " << order.length.count() << " s, "
              << multiplex.bitRate / 1000 << " kbit/s\n";
  }
}

}  // namespace

void produce(const Order& order) {
  makeDirectory(order.directory);
  const Network network = sampleNetwork(canEncodeH264());
  std::int64_t whole = 1;
  for (const Multiplex& multiplex : network.multiplexes) whole += multiplex.bitRate / 8 * order.length.count();

  std::atomic<std::int64_t> bytes = 0;
  Progress progress(order.quiet, whole);
  std::vector<std::future<void>> writers;
  for (const Multiplex& multiplex : network.multiplexes) {
    writers.push_back(std::async(std::launch::async, [&] { writeMultiplex(network, multiplex, order, bytes); }));
  }
  for (std::future<void>& writer : writers) {
    while (writer.wait_for(100ms) != std::future_status::ready) progress.show(bytes);
  }
  for (std::future<void>& writer : writers) writer.get();
  progress.show(whole);
  if (!order.quiet) summarise(network, order);
}

}  // namespace broadcaster
