#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "middleware/store/Catalogue.h"
#include "middleware/store/Database.h"
#include "middleware/store/ScanYield.h"

namespace durix {

/// Everything that outlives a process: `durix.db` in the data directory. What an operation changes is durable when it
/// returns. Owned by the instance; any thread. Operations throw Failure: as the database fails, or NoInstance once
/// the store is closed.
class Store {
 public:
  /// Opens the database of a directory, or makes one. Throws Failure: DataDirectory, DatabaseDamaged, DatabaseNewer or
  /// Busy, and then nothing in the directory has changed.
  explicit Store(const std::filesystem::path& directory);
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();

  std::optional<std::string> property(durix_property number);
  void setProperty(durix_property number, std::string_view value);

  /// The receivers to use when nobody gives any.
  struct Selection {
    ReceiverType type = ReceiverType::Any;
    std::string source, options;
  };
  std::optional<Selection> selection();
  void setSelection(const Selection& selection);
  void forgetSelection();  // and the receiver's address

  /// Never null; unchanging.
  std::shared_ptr<const Catalogue> catalogue() const;

  /// What a scan did to the list of services.
  struct Change {
    bool isNewProvider = false;
    bool isNewList = false;
  };
  Change takeScan(const ScanYield& yield);

  /// What a service consists of, as it is received; whether that changed its feeds.
  bool takeProgram(std::uint32_t service, const Program& program);

  /// For classes with tables of their own: runs `work` on the database, which nobody else uses meanwhile, and returns
  /// what it returns. Nothing of the store is called from inside.
  template <typename Work>
  auto use(Work work) {
    const std::scoped_lock lock(_mutex);
    return work(database());
  }

  /// Other threads may still be inside; every later operation that needs the database fails.
  void close();

 private:
  Database& database();  // _mutex is held

  mutable std::mutex _mutex;  // one statement or transaction at a time; nothing else is taken under it but the next
  std::unique_ptr<Database> _database;

  mutable std::mutex _catalogueMutex;  // a leaf
  std::shared_ptr<const Catalogue> _catalogue;
};

}  // namespace durix
