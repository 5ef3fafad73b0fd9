#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "durix/durix_player.h"
#include "middleware/player/TeletextDecoder.h"

namespace durix {

/// What a teletext player shows: the pages that have come, the one that is wanted, and the thread that hands it out as
/// a picture. A page that is not there yet is handed out when it comes; again when it looks different, at most four
/// times a second. Any thread; the handler runs on the screen's own thread, with no lock held.
class TeletextScreen {
 public:
  /// A teletext stream: the language is that of its letters where pages do not say.
  struct Stream {
    std::uint16_t pid = 0;
    std::string language{};

    bool operator==(const Stream&) const = default;
  };

  explicit TeletextScreen(const durix_render_data& data);
  TeletextScreen(const TeletextScreen&) = delete;
  TeletextScreen& operator=(const TeletextScreen&) = delete;
  ~TeletextScreen();

  /// The old handler does not run any more on return, except when it makes this very call.
  void setHandler(const durix_render_data& data);

  /// What feed() takes from now on; a stream that stays keeps its pages. `first` is shown when nothing else is wanted.
  void setStreams(const std::vector<Stream>& streams, std::uint32_t first);

  /// A packet of the multiplex.
  void feed(const PacketView& packet);
  /// The next packet does not continue those before.
  void interrupt();

  void setShown(bool isShown);  // nothing is handed out while it is not
  void setPaused(bool isPaused);

  /// Throws Failure InvalidArgument when no page can have that number.
  void show(const TeletextAddress& address);
  /// 0 next page, 1 the one before, 2 next subpage, 3 the one before, of those that have come, round and round. Throws
  /// Failure when none has.
  void change(std::uint32_t command);

  /// Nothing is handed out any more, and the handler does not run on return, except as above.
  void close() noexcept;

 private:
  struct State;

  const std::shared_ptr<State> _state;  // the thread's too: the handler may be what ends this
  std::thread _thread;
};

}  // namespace durix
