#pragma once

#include <string>

class Service;

/// What the recorder asks of the plugin beyond the host's interface.
class RecorderHost {
 public:
  /// The service of the channel list with this name and original network; null when there is none.
  virtual Service* getService(const std::string& name, unsigned network) = 0;

 protected:
  ~RecorderHost() = default;
};
