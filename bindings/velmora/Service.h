#pragma once

#include <string>
#include <vector>

#include "velmora/Content.h"

class Program;

/// A channel.
class Service : public AvContent {
 public:
  Service(unsigned id, Plugin* plugin);
  ~Service() override;
  virtual std::vector<Program*> getPrograms(bool all) = 0;  // all, or those that have not ended
  virtual int getQuality();
  virtual void setChannelNumber(unsigned number);
  virtual int getOriginalNetwork();
  virtual int getServiceId();
  virtual std::string getProtocolType();
  virtual Program* getCurrentProgram();
  virtual int getSourceID();

  /// The programmes that touch the span from `from` to `to` (seconds since the epoch; end > from and start < to).
  std::vector<Program*> getPrograms(int from, int to);
  Program* getNextProgram();
};
