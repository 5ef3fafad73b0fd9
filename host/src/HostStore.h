#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "host/src/StateFile.h"

namespace host {

/// The host's properties and the remembered values of options, in memory and in host.json. Tells nobody.
class HostStore {
 public:
  bool open(const std::filesystem::path& directory);
  bool save();

  std::string property(const std::string& name) const;  // empty when absent

  /// Whether it was another value, or none, before.
  bool setProperty(const std::string& name, const std::string& value);

  void rememberOption(const std::string& id, const std::string& value);
  std::map<std::string, std::string> options() const;

 private:
  std::mutex _saving;  // held while the file is written, so that an older state never replaces a newer; before _mutex

  mutable std::mutex _mutex;  // a leaf
  // guarded by _mutex
  std::filesystem::path _file;                           // empty: nothing is written
  KeptState _kept;                                       // what the file holds
  std::map<std::string, std::string> _systemProperties;  // `system.*`: of this run only
};

HostStore& hostStore();

}  // namespace host
