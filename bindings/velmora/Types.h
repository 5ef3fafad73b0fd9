#pragma once

#include <cstdint>

/// Numbered as the middleware's protocols; 0 is none or any.
enum BroadcastProtocolType : std::uint32_t {
  BROADCAST_PROTOCOL_NONE = 0,
  BROADCAST_PROTOCOL_DVB = 1,
  BROADCAST_PROTOCOL_ATSC = 2,
  BROADCAST_PROTOCOL_ISDB = 3,
  BROADCAST_PROTOCOL_LAST = 12
};

/// Numbered as the middleware's receiver types; 0 is none or any.
enum ReceiverType : std::uint32_t {
  RECEIVER_NONE = 0,
  RECEIVER_DVB_T = 1,
  RECEIVER_DVB_C = 2,
  RECEIVER_DVB_S = 3,
  RECEIVER_ATSC = 4,
  RECEIVER_ISDB_T = 5
};

enum VmTeletextPageCmd : std::uint32_t {
  TELETEXT_PAGE_NEXT = 0,
  TELETEXT_PAGE_PREVIOUS = 1,
  TELETEXT_SUBPAGE_NEXT = 2,
  TELETEXT_SUBPAGE_PREVIOUS = 3
};
