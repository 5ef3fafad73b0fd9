#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "middleware/reception/PacketTaker.h"

namespace durix {

/// One user of a receiver: calls its taker with no lock held, and not at all once it has left. Any thread.
class ReceiverUser {
 public:
  /// The taker lives until leave() is over.
  ReceiverUser(ReceiverUse use, PacketTaker& taker) : _use(use), _taker(taker) {}
  ReceiverUser(const ReceiverUser&) = delete;
  ReceiverUser& operator=(const ReceiverUser&) = delete;

  ReceiverUse use() const { return _use; }

  void take(const PacketView& packet);
  void beginAgain();

  /// The first call only is told.
  void end(PacketTaker::End reason);

  /// Returns when nobody is inside the taker, or the taker itself calls this.
  void leave();

 private:
  template <typename Call>
  void call(bool isLast, Call inside);
  bool enter(bool isLast);
  void exit();

  // fixed after construction
  const ReceiverUse _use;
  PacketTaker& _taker;

  // guarded by _mutex, a leaf
  std::mutex _mutex;
  std::condition_variable _left;
  bool _isOver = false;     // nothing more is told
  std::thread::id _inside;  // who calls the taker, or none
};

}  // namespace durix
