// A reload of the channel list, without the middleware: sorting, the user's order, doubles. All three are stated
// pairwise and must not cost so; "asked" counts the attributes that are read for it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "guide/ChannelOrder.h"

namespace {

constexpr int SMALLEST = 1 << 8;
constexpr int LARGEST = 1 << 14;
constexpr unsigned SEED = 1;  // the same list at every run

/// Numbers in no order, every fourth name once more.
std::vector<channel_order::Key> keys(std::int64_t count) {
  std::mt19937 random(SEED);
  std::vector<channel_order::Key> all;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t name = i % 4 == 0 ? i / 2 : i;
    all.push_back({i % 5 == 0 ? 2 : 1, static_cast<int>(random() % 1000), "Channel " + std::to_string(name)});
  }
  return all;
}

void sorting(benchmark::State& state) {
  const auto list = keys(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(channel_order::byNumber(list));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(sorting)->RangeMultiplier(4)->Range(SMALLEST, LARGEST)->Complexity(benchmark::oNLogN);

void userOrder(benchmark::State& state) {
  std::vector<std::uint32_t> ids(static_cast<std::size_t>(state.range(0)));
  std::iota(ids.begin(), ids.end(), 0);
  std::vector<channel_order::Line> lines;
  for (auto id = ids.rbegin(); id != ids.rend(); ++id) lines.push_back({static_cast<std::int32_t>(*id), 1});
  std::int64_t asked = 0;
  const auto network = [&](std::size_t) {
    ++asked;
    return 1;
  };
  for (auto _ : state) benchmark::DoNotOptimize(channel_order::byUser(lines, ids, network));
  state.SetComplexityN(state.range(0));
  state.counters["asked"] = benchmark::Counter(static_cast<double>(asked), benchmark::Counter::kAvgIterations);
}
BENCHMARK(userOrder)->RangeMultiplier(4)->Range(SMALLEST, LARGEST)->Complexity();

void doubles(benchmark::State& state) {
  const auto list = keys(state.range(0));
  std::int64_t asked = 0;
  const auto quality = [&](std::size_t place) {
    ++asked;
    return static_cast<int>(place % 7);
  };
  for (auto _ : state) benchmark::DoNotOptimize(channel_order::bestOfEachName(list, quality));
  state.SetComplexityN(state.range(0));
  state.counters["asked"] = benchmark::Counter(static_cast<double>(asked), benchmark::Counter::kAvgIterations);
}
BENCHMARK(doubles)->RangeMultiplier(4)->Range(SMALLEST, LARGEST)->Complexity();

}  // namespace
