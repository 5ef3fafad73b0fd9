#pragma once

#include "velmora/Option.h"

inline constexpr char CHANNEL_LIST_OPTION_ID[] = "velmora.option.channel_list.id";

/// The action that asks for an update of the channel list.
class ChannelListOption : public Option {
 public:
  ChannelListOption();
  ~ChannelListOption() override;
};
