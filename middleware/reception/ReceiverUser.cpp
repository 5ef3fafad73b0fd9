#include "middleware/reception/ReceiverUser.h"

#include <exception>
#include <string>

#include "middleware/portability/Log.h"

namespace durix {

void ReceiverUser::take(const PacketView& packet) {
  if (!enter(false)) return;
  try {
    _taker.take(packet);
  } catch (const std::exception& error) {  // this packet is lost for it
    logLine(std::string("reception: ") + error.what());
  }
  exit();
}

void ReceiverUser::end(PacketTaker::End reason) {
  if (!enter(true)) return;
  try {
    _taker.end(reason);
  } catch (const std::exception& error) {
    logLine(std::string("reception: ") + error.what());
  }
  exit();
}

bool ReceiverUser::enter(bool isLast) {
  const std::scoped_lock lock(_mutex);
  if (_isOver) return false;
  _isOver = isLast;
  _inside = std::this_thread::get_id();
  return true;
}

void ReceiverUser::exit() {
  const std::scoped_lock lock(_mutex);
  _inside = {};
  _left.notify_all();
}

void ReceiverUser::leave() {
  std::unique_lock lock(_mutex);
  _isOver = true;
  if (_inside == std::this_thread::get_id()) return;
  _left.wait(lock, [this] { return _inside == std::thread::id(); });
}

}  // namespace durix
