#pragma once

#include <string>

#include "durix/durix.h"
#include "velmora/Types.h"

/// A place to scan, as one `location` element of a locations file describes it. Owned by the location catalogue.
class BCLocation {
 public:
  BCLocation();
  BCLocation(const BCLocation&) = delete;
  BCLocation& operator=(const BCLocation&) = delete;
  virtual ~BCLocation();

  void releaseScanConfiguration();

  // fixed once the file has been read
  std::string filePath;               // of the file that it came from
  std::string name;                   // what the user chooses
  std::string icon;                   // a flag or picture name for the host
  ReceiverType type = RECEIVER_NONE;  // 0: any receiver

  /// Null until the frequencies are parsed; then record and array are the middleware allocator's, and stay until they
  /// are released by name: the destructor does not. Written with the catalogue's parser mutex held.
  durix_scan_configuration* scanConfiguration = nullptr;
};
