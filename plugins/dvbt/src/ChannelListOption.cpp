#include "ChannelListOption.h"

ChannelListOption::ChannelListOption() {
  init(OPTION_ACTION, OPTION_CATEGORY_CHANNELS, "BC_PLUGIN_OPTIONS", CHANNEL_LIST_OPTION_ID,
       "velmora.option.channel_list.description", false);
}

ChannelListOption::~ChannelListOption() = default;
