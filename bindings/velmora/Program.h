#pragma once

#include <cstdint>
#include <string>

#include "velmora/Content.h"

class Service;

/// One programme of a channel's guide. Times are seconds since the epoch; time texts are UTC, YYYY-MM-DDTHH:MM:SSZ.
class Program : public AvContent {
 public:
  Program(unsigned id, Plugin* plugin);
  ~Program() override;
  virtual std::string getStartTime();
  virtual std::int32_t getStartTimeT();
  virtual std::string getEndTime();
  virtual std::int32_t getEndTimeT();
  virtual std::string getStartTimeUtc();
  virtual std::string getEndTimeUtc();
  virtual void setScheduledForRecording(bool scheduled);
  virtual bool isScheduledForRecording();

  Service* getService() const { return _service; }

 protected:
  Service* _service = nullptr;  // not owned; set by the plugin's programme
};
