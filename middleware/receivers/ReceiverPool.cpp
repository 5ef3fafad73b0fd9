#include "middleware/receivers/ReceiverPool.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "middleware/portability/Log.h"

namespace durix {
namespace {
constexpr std::chrono::milliseconds INTERVAL(500);
}

ReceiverPool::ReceiverPool(std::vector<std::unique_ptr<Broadcast>> broadcasts, Notice notice)
    : _broadcasts(std::move(broadcasts)), _notice(std::move(notice)), _presences(_broadcasts.size()) {
  look();
  if (!_broadcasts.empty()) _watcher = std::jthread([this](const std::stop_token& stop) { watch(stop); });
}

ReceiverType ReceiverPool::type() const {
  return _broadcasts.empty() ? ReceiverType::Any : _broadcasts.front()->settings().type;
}

std::unique_ptr<ByteSource> ReceiverPool::tune(const durix_scan_frequency& frequency) const {
  const auto* const carrier = carrierOf(frequency);
  return carrier == nullptr ? nullptr : carrier->tune(frequency);
}

std::optional<std::filesystem::path> ReceiverPool::shiftedFile(const durix_scan_frequency& frequency) const {
  const auto* const carrier = carrierOf(frequency);
  return carrier == nullptr ? std::nullopt : carrier->shiftedFile(frequency);
}

std::string ReceiverPool::revision(const durix_scan_frequency& frequency) const {
  const auto* const carrier = carrierOf(frequency);
  return carrier == nullptr ? std::string() : carrier->revision(frequency);
}

const Broadcast* ReceiverPool::carrierOf(const durix_scan_frequency& frequency) const {
  const auto found = std::find_if(_broadcasts.begin(), _broadcasts.end(),
                                  [&](const auto& broadcast) { return broadcast->carries(frequency); });
  return found == _broadcasts.end() ? nullptr : found->get();
}

void ReceiverPool::stop() {
  if (!_watcher.joinable()) return;
  _watcher.request_stop();
  _watcher.join();
}

void ReceiverPool::look() {
  for (std::size_t i = 0; i < _broadcasts.size(); ++i) {
    const Broadcast& broadcast = *_broadcasts[i];
    const auto change = _presences[i].see(broadcast.isPresent(), std::chrono::steady_clock::now());
    if (!change) continue;
    for (std::uint32_t tuner = 0; tuner < broadcast.settings().tuners; ++tuner) _notice(broadcast, *change);
  }
}

void ReceiverPool::watch(const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  while (!never.wait_for(lock, stop, INTERVAL, [] { return false; }) && !stop.stop_requested()) {
    try {
      look();
    } catch (const std::exception& error) {
      logLine(std::string("receivers: ") + error.what());
    }
  }
}

}  // namespace durix
