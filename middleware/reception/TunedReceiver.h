#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

#include "middleware/reception/ReceiverUser.h"
#include "middleware/store/Catalogue.h"
#include "middleware/stream/ByteSource.h"

namespace durix {

class EventQueue;
class LoopedStream;
class ReceiverPool;
class StreamTap;

/// A receiver in use. One that is on a multiplex reads it in real time on a thread of its own and hands each packet to
/// all its users; another one is just kept for somebody who reads by himself. Any thread.
///
/// In use -> ended, for good: taken away, without signal, without users, or closed.
class TunedReceiver {
 public:
  using Users = std::vector<std::shared_ptr<ReceiverUser>>;

  /// Those outlive the thread.
  struct Parts {
    EventQueue& events;
    const ReceiverPool& receivers;
    StreamTap* tap = nullptr;  // or none
  };

  /// On a multiplex, whose stream begins with `source`.
  TunedReceiver(Parts parts, const StoredMultiplex& multiplex, std::unique_ptr<ByteSource> source,
                std::shared_ptr<ReceiverUser> first);

  /// For somebody who reads by himself.
  TunedReceiver(Parts parts, std::shared_ptr<ReceiverUser> user);

  TunedReceiver(const TunedReceiver&) = delete;
  TunedReceiver& operator=(const TunedReceiver&) = delete;
  ~TunedReceiver() { join(); }

  const std::optional<StoredMultiplex>& multiplex() const { return _multiplex; }

  /// False when it has ended.
  bool add(std::shared_ptr<ReceiverUser> user);

  /// It ends with its last user.
  void remove(const ReceiverUser& user);

  Users users() const;
  ReceiverUse use() const;  // the most important one
  bool hasEnded() const;

  /// It has ended, and neither a user nor its thread is left.
  bool isAbandoned() const;

  /// Ends it, for the reason that is told first; its thread, if there is one, will tell the users.
  void end(PacketTaker::End reason);

  /// Tells the users that it has ended, when it has no thread that does. No lock is held.
  void tellEnd();

  /// Waits until its thread has told everything; nothing on the thread itself.
  void join();

 private:
  void run();
  void receive(const std::stop_token& stop);
  void handOn(const PacketView& packet, bool isAgain);
  void follow(LoopedStream& stream) const;

  // fixed after construction
  const Parts _parts;
  const std::optional<StoredMultiplex> _multiplex;

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  Users _users;
  std::optional<PacketTaker::End> _end;  // once it has ended

  std::atomic<std::uint32_t> _usersVersion{0};  // counts changes of _users
  std::atomic<std::thread::id> _runner;         // the thread, once it runs
  std::atomic<bool> _isDone{false};             // the thread's last word
  std::stop_source _stop;                       // of the thread

  // the thread's own
  std::unique_ptr<ByteSource> _source;
  Users _present;  // copy of _users
  std::uint32_t _presentVersion = 0;

  std::mutex _joining;  // one thread joins, the others wait for it
  std::thread _thread;  // last: it uses all the others
};

}  // namespace durix
