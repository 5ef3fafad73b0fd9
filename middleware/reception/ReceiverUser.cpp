#include "middleware/reception/ReceiverUser.h"

#include <exception>
#include <string>

#include "middleware/portability/Log.h"

namespace durix {

template <typename Call>
void ReceiverUser::call(bool isLast, Call inside) {
  if (!enter(isLast)) return;
  try {
    inside();
  } catch (const std::exception& error) {  // what this was about is lost for it
    logLine(std::string("reception: ") + error.what());
  }
  exit();
}

void ReceiverUser::take(const PacketView& packet) {
  call(false, [&] { _taker.take(packet); });
}

void ReceiverUser::beginAgain() {
  call(false, [&] { _taker.beginAgain(); });
}

void ReceiverUser::end(PacketTaker::End reason) {
  call(true, [&] { _taker.end(reason); });
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
