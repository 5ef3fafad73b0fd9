#pragma once

#include <atomic>
#include <vector>

#include "durix/durix.h"
#include "velmora/Clip.h"

/// A stored recording, or the timer of a running timeshift. Made and deleted by the recorder.
class BroadcastRecording : public Recording {
 public:
  BroadcastRecording(durix_esg_object* object, Plugin* plugin);  // copies the record
  ~BroadcastRecording() override;

  bool isScheduled() override;
  void setScheduled(bool scheduled) override;
  void fillMetadata() override;  // reads the host's fields from the middleware again

  virtual std::vector<durix_esg_object> getFeeds();
  virtual durix_esg_object* getHandle();  // never null; lives as long as this

 private:
  durix_esg_object _handle;
  std::atomic<bool> _scheduled;
};
