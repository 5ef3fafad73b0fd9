// How fast packets are found, in clean streams and in what is none. A scan reads a file as fast as it can, so that this
// bounds it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "middleware/stream/PacketReader.h"

namespace {

constexpr std::size_t PACKET = 188;
constexpr std::size_t SIZE = PACKET * 50'000;
constexpr unsigned SEED = 1;

using Bytes = std::vector<std::uint8_t>;

class Memory final : public durix::ByteSource {
 public:
  explicit Memory(const Bytes& bytes) : _bytes(bytes) {}
  std::size_t read(std::span<std::uint8_t> buffer) override {
    const std::size_t size = std::min(buffer.size(), _bytes.size() - _at);
    std::copy_n(_bytes.data() + _at, size, buffer.data());
    _at += size;
    return size;
  }
  bool rewind() override {
    _at = 0;
    return true;
  }
  bool hasFailed() const override { return false; }

 private:
  const Bytes& _bytes;
  std::size_t _at = 0;
};

void read(benchmark::State& state, const Bytes& bytes) {
  for (auto _ : state) {
    durix::PacketReader reader(std::make_unique<Memory>(bytes));
    while (const auto packet = reader.next()) benchmark::DoNotOptimize(packet->pid());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

Bytes noise() {
  std::mt19937 random(SEED);
  Bytes bytes(SIZE);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
  return bytes;
}

Bytes packets() {
  Bytes bytes = noise();
  for (std::size_t at = 0; at < SIZE; at += PACKET) {
    bytes[at] = 0x47;
    bytes[at + 1] &= 0x1F;  // no error indicator
  }
  return bytes;
}

void cleanStream(benchmark::State& state) {
  read(state, packets());
}
BENCHMARK(cleanStream);

void randomBytes(benchmark::State& state) {
  read(state, noise());
}
BENCHMARK(randomBytes);

void zeroBytes(benchmark::State& state) {
  read(state, Bytes(SIZE));
}
BENCHMARK(zeroBytes);

}  // namespace
