#include "middleware/reception/Tuners.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/reception/TunedReceiver.h"

namespace durix {
namespace {

std::uint32_t tunersOf(const ReceiverPool& receivers) {
  std::uint32_t tuners = 0;
  for (const auto& broadcast : receivers.broadcasts()) tuners += broadcast->settings().tuners;
  return tuners;
}

}  // namespace

class Tuners::Table {
 public:
  explicit Table(TunedReceiver::Parts parts) : _parts(parts), _count(tunersOf(parts.receivers)) {}

  using ReceiverPtr = std::shared_ptr<TunedReceiver>;

  std::uint32_t count() const { return _count; }

  /// The receiver that is on the multiplex, with one user more; null when none is.
  ReceiverPtr share(std::uint32_t multiplex, const std::shared_ptr<ReceiverUser>& user);

  /// A receiver for a user, which has to give one up; null when there is none. Without a source it is one for
  /// somebody who reads by himself.
  ReceiverPtr occupy(const StoredMultiplex* multiplex, std::unique_ptr<ByteSource> source,
                     const std::shared_ptr<ReceiverUser>& user);

  void leave(const ReceiverPtr& receiver, const std::shared_ptr<ReceiverUser>& user);

  std::vector<ReceiverPtr> inUse() const;

  void stop();

  TunedReceiver::Parts parts() const { return _parts; }

 private:
  ReceiverPtr shareLocked(std::uint32_t multiplex, const std::shared_ptr<ReceiverUser>& user) const;
  // _mutex is held
  ReceiverPtr victimFor(ReceiverUse use) const;
  std::vector<ReceiverPtr> inUseLocked() const;
  void prune();

  // fixed after construction
  const TunedReceiver::Parts _parts;
  const std::uint32_t _count;

  // guarded by _mutex, under which the receivers' own are taken
  mutable std::mutex _mutex;
  std::vector<ReceiverPtr> _receivers;  // all that have users or are in use
  bool _isStopped = false;
};

class Tuners::Share : public TunedShare {
 public:
  Share(std::shared_ptr<Table> table, Table::ReceiverPtr receiver, std::shared_ptr<ReceiverUser> user)
      : _table(std::move(table)), _receiver(std::move(receiver)), _user(std::move(user)) {}
  ~Share() override { _table->leave(_receiver, _user); }

 private:
  const std::shared_ptr<Table> _table;
  const Table::ReceiverPtr _receiver;
  const std::shared_ptr<ReceiverUser> _user;
};

Tuners::Table::ReceiverPtr Tuners::Table::share(std::uint32_t multiplex, const std::shared_ptr<ReceiverUser>& user) {
  const std::scoped_lock lock(_mutex);
  if (_isStopped) throw Failure(Code::NoInstance);
  return shareLocked(multiplex, user);
}

Tuners::Table::ReceiverPtr Tuners::Table::shareLocked(std::uint32_t multiplex,
                                                      const std::shared_ptr<ReceiverUser>& user) const {
  for (const auto& receiver : _receivers) {
    if (receiver->multiplex() && receiver->multiplex()->id == multiplex && receiver->add(user)) return receiver;
  }
  return nullptr;
}

Tuners::Table::ReceiverPtr Tuners::Table::occupy(const StoredMultiplex* multiplex, std::unique_ptr<ByteSource> source,
                                                 const std::shared_ptr<ReceiverUser>& user) {
  ReceiverPtr victim;
  ReceiverPtr receiver;
  {
    const std::scoped_lock lock(_mutex);
    if (_isStopped) throw Failure(Code::NoInstance);
    if (multiplex != nullptr) {
      if (auto shared = shareLocked(multiplex->id, user)) return shared;  // somebody was faster
    }
    prune();
    if (inUseLocked().size() >= _count) {
      victim = victimFor(user->use());
      if (victim == nullptr) return nullptr;
    }
    receiver = multiplex == nullptr ? std::make_shared<TunedReceiver>(_parts, user)
                                    : std::make_shared<TunedReceiver>(_parts, *multiplex, std::move(source), user);
    _receivers.push_back(receiver);
    if (victim != nullptr) victim->end(PacketTaker::End::Taken);
  }
  if (victim != nullptr) victim->tellEnd();
  return receiver;
}

// The least important one, and of these the one that was taken last.
Tuners::Table::ReceiverPtr Tuners::Table::victimFor(ReceiverUse use) const {
  ReceiverPtr least;
  for (const auto& receiver : inUseLocked()) {
    if (receiver->use() < use && (least == nullptr || receiver->use() <= least->use())) least = receiver;
  }
  return least;
}

std::vector<Tuners::Table::ReceiverPtr> Tuners::Table::inUseLocked() const {
  std::vector<ReceiverPtr> used;
  std::ranges::copy_if(_receivers, std::back_inserter(used),
                       [](const auto& receiver) { return !receiver->hasEnded(); });
  return used;
}

std::vector<Tuners::Table::ReceiverPtr> Tuners::Table::inUse() const {
  const std::scoped_lock lock(_mutex);
  return inUseLocked();
}

// Who leaves last waits for the thread; when that is the thread itself, somebody will do so later.
void Tuners::Table::leave(const ReceiverPtr& receiver, const std::shared_ptr<ReceiverUser>& user) {
  user->leave();
  receiver->remove(*user);
  if (!receiver->users().empty()) return;
  receiver->join();
  const std::scoped_lock lock(_mutex);
  prune();
}

// Drops what nobody has any more; the threads of these have nothing left to do.
void Tuners::Table::prune() {
  std::erase_if(_receivers, [](const auto& known) { return known->isAbandoned(); });
}

void Tuners::Table::stop() {
  std::vector<ReceiverPtr> receivers;
  {
    const std::scoped_lock lock(_mutex);
    _isStopped = true;
    receivers.swap(_receivers);
  }
  for (const auto& receiver : receivers) {
    receiver->end(PacketTaker::End::Closed);
    receiver->tellEnd();
    receiver->join();
  }
}

Tuners::Tuners(EventQueue& events, const ReceiverPool& receivers, StreamTap* tap)
    : _table(std::make_shared<Table>(TunedReceiver::Parts{events, receivers, tap})) {}

Tuners::~Tuners() {
  stop();
}

std::unique_ptr<TunedShare> Tuners::open(const StoredMultiplex& multiplex, ReceiverUse use, PacketTaker& taker) {
  const auto user = std::make_shared<ReceiverUser>(use, taker);
  auto receiver = _table->share(multiplex.id, user);
  if (receiver == nullptr) {
    auto source = _table->parts().receivers.tune(multiplex.tuning);
    if (source == nullptr) throw Failure(Code::NoSignal);
    receiver = _table->occupy(&multiplex, std::move(source), user);
  }
  if (receiver == nullptr) throw Failure(Code::Busy, "every receiver is needed for something as important");
  return std::make_unique<Share>(_table, std::move(receiver), user);
}

std::unique_ptr<TunedShare> Tuners::reserve(ReceiverUse use, PacketTaker& taker) {
  const auto user = std::make_shared<ReceiverUser>(use, taker);
  auto receiver = _table->occupy(nullptr, nullptr, user);
  return receiver == nullptr ? nullptr : std::make_unique<Share>(_table, std::move(receiver), user);
}

std::uint32_t Tuners::count() const {
  return _table->count();
}

std::vector<std::uint32_t> Tuners::multiplexes(ReceiverUse atLeast) const {
  std::vector<std::uint32_t> received;
  for (const auto& receiver : _table->inUse()) {
    if (receiver->multiplex() && receiver->use() >= atLeast) received.push_back(receiver->multiplex()->id);
  }
  return received;
}

std::vector<Tuners::Occupation> Tuners::occupations() const {
  std::vector<Occupation> all;
  for (const auto& receiver : _table->inUse()) {
    all.push_back({.multiplex = receiver->multiplex(),
                   .use = receiver->use(),
                   .users = static_cast<std::uint32_t>(receiver->users().size())});
  }
  return all;
}

void Tuners::stop() {
  _table->stop();
}

}  // namespace durix
