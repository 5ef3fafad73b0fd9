#pragma once

#include "durix/durix.h"
#include "velmora/Clip.h"

/// A recording timer. Made and deleted by the recorder.
class BroadcastScheduling : public Scheduling {
 public:
  BroadcastScheduling(durix_esg_object* object, Plugin* plugin);  // copies the record
  ~BroadcastScheduling() override = default;

  void fillMetadata() override;  // reads the host's fields from the middleware again

  virtual durix_esg_object* getHandle();  // never null; lives as long as this

 private:
  durix_esg_object _handle;
};
