#pragma once

#include <cstddef>
#include <string>
#include <vector>

class Service;

namespace tv {

/// What a channel can be called by.
struct ChannelKey {
  unsigned id = 0;
  int number = 0;  // 0 when it has none
  std::string name;
};

std::vector<ChannelKey> channelKeys(const std::vector<Service*>& services);

/// The place in `channels` of what CHANNEL names on a command line: a number above 0 that one channel has, else the
/// exact name, else #ID. Throws UsageError with the candidates when it is ambiguous or unknown.
std::size_t chooseChannel(const std::string& text, const std::vector<ChannelKey>& channels);

}  // namespace tv
