#pragma once

#include <mutex>
#include <optional>
#include <set>

#include "middleware/store/Catalogue.h"

namespace durix {

/// Which providers are mounted, and which one is active. There is one provider for each receiver type, whose number is
/// its identity. Any thread.
class Providers {
 public:
  /// As the contract hands it out; its name lives for ever.
  static durix_provider record(ReceiverType type);

  /// The provider that a record is; throws Failure: InvalidArgument for null, UnknownObject.
  static ReceiverType typeOf(const durix_provider* provider, const Catalogue& catalogue);

  void mount(ReceiverType type);
  void unmount(ReceiverType type);  // deactivates it first; no failure when it is not mounted

  /// False when it is not mounted. Another one that was active is active no more.
  bool activate(ReceiverType type);
  void deactivate(ReceiverType type);  // no failure when it is not active

  std::optional<ReceiverType> active() const;

 private:
  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::set<ReceiverType> _mounted;
  std::optional<ReceiverType> _active;
};

}  // namespace durix
