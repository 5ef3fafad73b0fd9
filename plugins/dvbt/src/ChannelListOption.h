#pragma once

#include "velmora/Option.h"

/// The action "update the channel list".
class ChannelListOption : public Option {
 public:
  ChannelListOption();
  ~ChannelListOption() override;
};
