#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "middleware/player/TeletextPackets.h"
#include "middleware/player/TeletextPage.h"

struct vbi_decoder;
struct vbi_event;

namespace durix {

/// The teletext of one PID: keeps the pages as they come, at presentation level 1.5 of EN 300 706. Pages whose number
/// has other than decimal digits are not for viewers and left out. Used by one thread at a time.
class TeletextDecoder {
 public:
  /// Told during feed() of each page that has come whole; may ask for it.
  using Arrival = std::function<void(const TeletextAddress& address)>;

  /// The language says which letters a page has that does not tell by itself (EN 300 706, table 32); may be empty.
  TeletextDecoder(const std::string& language, Arrival arrival);

  /// A transport packet of the PID.
  void feed(const PacketView& packet) { _packets.feed(packet); }
  /// The next packet does not continue those before.
  void interrupt() { _packets.drop(); }

  /// The page as it came last, its clock as the newest header has it; subpage 0 is the one that came last. Nothing when
  /// it has not come.
  std::optional<TeletextPage> page(const TeletextAddress& address) const;

  /// The pages that have come, in order; and the subpages of one.
  std::vector<std::uint32_t> pages() const;
  std::vector<std::uint32_t> subpages(std::uint32_t page) const;

 private:
  struct Known {
    std::uint32_t last = 0;                    // subpage that came last
    std::map<std::uint32_t, bool> subpages{};  // whether its header goes on with those of other pages
  };
  struct Ended {
    int page = 0;  // digits of four bits, as the subpage
    int subpage = 0;
    bool rolls = false;  // the header is one of all pages
  };
  struct Delete {
    void operator()(vbi_decoder* decoder) const;
  };

  static void handle(vbi_event* event, void* user);
  void begin();
  void decode(const TeletextPackets::Packet& packet);
  void take(const Ended& ended);
  void forget(const TeletextAddress& address);

  const int _region;
  const Arrival _arrival;
  TeletextPackets _packets;
  std::unique_ptr<vbi_decoder, Delete> _decoder;
  double _time = 0;
  // a bit for each magazine:
  std::uint8_t _begun = 0;    // a page is in progress
  std::uint8_t _damaged = 0;  // it lacks something
  std::vector<Ended> _ended;  // by the packet that is being decoded
  std::map<std::uint32_t, Known> _known;
  std::size_t _count = 0;  // of all subpages
  std::string _clock;      // bytes of the clock's cells in the newest header; empty before any
};

}  // namespace durix
