#pragma once

#include <string>

#include "velmora/Types.h"

/// Management requests for the receivers of a device. The plugin makes none of these: it is there for the host.
/// Every operation is true on success; the lists that are asked for arrive by the middleware's own means.
/// Holds no state but the handle, so that any thread may call.
class ReceiverControl {
 public:
  explicit ReceiverControl(void* handle);  // the middleware's device handle, not owned
  ReceiverControl(const ReceiverControl&) = delete;
  ReceiverControl& operator=(const ReceiverControl&) = delete;
  virtual ~ReceiverControl();

  bool listSelectedReceivers();
  bool listReceivers();
  /// Any type but 0; of each text at most 256 bytes are sent.
  bool selectReceiver(ReceiverType type, std::string first, std::string second);
  bool resetReceiversToDefaults();
  /// A non-empty address, of which at most 48 bytes are sent, and a port, cut to 16 bits.
  bool setAddress(std::string address, int port);

 private:
  void* const _handle;
};
