// The thread's loop: wait until something may look different or is asked for; take the page out under the lock; draw it
// and call the handler without. `isInside` is true during the call, and who waits for its end waits on `changed`.

#include "middleware/player/TeletextScreen.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds SHORTEST{250};  // between two pictures of one page
constexpr std::chrono::milliseconds FLASHING{500};  // there, then away as long
constexpr TeletextAddress FIRST{100, 0}, LAST{899, 0};

enum Command : std::uint32_t { NEXT_PAGE, PREVIOUS_PAGE, NEXT_SUBPAGE, PREVIOUS_SUBPAGE };

/// The number before or after `current`, which need not be there itself.
std::uint32_t neighbour(const std::vector<std::uint32_t>& numbers, std::uint32_t current, bool isForward) {
  if (isForward) {
    const auto next = std::ranges::upper_bound(numbers, current);
    return next == numbers.end() ? numbers.front() : *next;
  }
  const auto same = std::ranges::lower_bound(numbers, current);
  return same == numbers.begin() ? numbers.back() : *std::prev(same);
}

}  // namespace

struct TeletextScreen::State {
  struct Carousel {
    Stream stream;
    std::unique_ptr<TeletextDecoder> decoder;
  };

  // guarded by `mutex`, a leaf
  std::mutex mutex;
  std::condition_variable changed;
  durix_render_data handler{};
  std::vector<Carousel> carousels;
  TeletextAddress wanted;            // page 0: none
  std::optional<TeletextPage> last;  // handed out
  Clock::time_point lastTime;
  bool lastFlash = true;
  bool isAsked = false;  // the wanted page is to be handed out, however it looks
  bool hasNews = false;  // something has come since it was looked at
  bool isShown = false;
  bool isPaused = false;
  bool isClosed = false;
  bool isInside = false;  // the handler runs
  std::thread::id thread;

  std::optional<TeletextPage> find() const {
    for (const Carousel& carousel : carousels) {
      if (auto page = carousel.decoder->page(wanted)) return page;
    }
    return std::nullopt;
  }

  /// Whether flashing characters are to be there now.
  static bool isFlashOn(Clock::time_point now) { return now.time_since_epoch() / FLASHING % 2 == 0; }

  /// When to look at the page again; nothing as long as nothing happens.
  std::optional<Clock::time_point> due() const {
    if (!isShown || isPaused || isClosed || wanted.page == 0) return std::nullopt;
    if (isAsked || (hasNews && (!last || last->address().page != wanted.page))) return Clock::time_point::min();
    if (hasNews) return lastTime + SHORTEST;
    if (last && last->flashes()) return lastTime + SHORTEST;
    return std::nullopt;
  }

  /// The page, when it is to be handed out.
  std::optional<TeletextPage> take(bool isFlashing) {
    hasNews = false;
    auto page = find();
    if (!page) return std::nullopt;
    const bool isSame = last && last->address() == page->address() && last->looksLike(*page) &&
                        (!page->flashes() || lastFlash == isFlashing);
    if (isSame && !isAsked) {
      lastTime = Clock::now();
      return std::nullopt;
    }
    isAsked = false;
    last = page;
    lastTime = Clock::now();
    lastFlash = isFlashing;
    return page;
  }

  void waitForHandler(std::unique_lock<std::mutex>& lock) {
    if (std::this_thread::get_id() == thread) return;
    changed.wait(lock, [this] { return !isInside; });
  }

  void run();
  static void handOut(const durix_render_data& to, const TeletextPage& page, bool isFlashOn);
};

void TeletextScreen::State::run() {
  std::unique_lock lock(mutex);
  while (!isClosed) {
    const auto time = due();
    if (!time) {
      changed.wait(lock);
      continue;
    }
    if (*time > Clock::now()) {
      changed.wait_until(lock, *time);
      continue;
    }
    const bool isFlashing = isFlashOn(Clock::now());
    const auto page = take(isFlashing);
    if (!page) {
      isAsked = false;  // it is handed out as news when it comes
      continue;
    }
    const durix_render_data to = handler;
    isInside = true;
    lock.unlock();
    handOut(to, *page, isFlashing);
    lock.lock();
    isInside = false;
    changed.notify_all();
  }
}

void TeletextScreen::State::handOut(const durix_render_data& to, const TeletextPage& page, bool isFlashOn) {
  if (to.picture == nullptr) return;
  try {
    const auto pixels = page.draw(isFlashOn);
    FFPic picture{};
    picture.width = TeletextPage::WIDTH;
    picture.height = TeletextPage::HEIGHT;
    picture.stride = TeletextPage::WIDTH * 4;
    picture.rgba = pixels.data();
    picture.page = page.address().page;
    picture.subpage = page.address().subpage;
    std::ranges::transform(page.lines(), picture.lines, [](const std::string& line) { return line.c_str(); });
    to.picture(&picture, to.user);
  } catch (const std::exception& error) {  // memory, or a handler that must not throw
    logLine(std::string("teletext: a picture was not handed out: ") + error.what());
  }
}

TeletextScreen::TeletextScreen(const durix_render_data& data) : _state(std::make_shared<State>()) {
  _state->handler = data;
  const std::scoped_lock lock(_state->mutex);
  _thread = std::thread([state = _state] { state->run(); });
  _state->thread = _thread.get_id();
}

TeletextScreen::~TeletextScreen() {
  close();
  if (std::this_thread::get_id() == _thread.get_id()) {
    _thread.detach();  // it ends when the handler returns
  } else {
    _thread.join();
  }
}

void TeletextScreen::setHandler(const durix_render_data& data) {
  std::unique_lock lock(_state->mutex);
  _state->handler = data;
  _state->isAsked = true;
  _state->changed.notify_all();
  _state->waitForHandler(lock);
}

void TeletextScreen::setStreams(const std::vector<Stream>& streams, std::uint32_t first) {
  const std::scoped_lock lock(_state->mutex);
  std::vector<State::Carousel> carousels;
  for (const Stream& stream : streams) {
    const auto old = std::ranges::find(_state->carousels, stream, &State::Carousel::stream);
    if (old != _state->carousels.end()) {
      carousels.push_back(std::move(*old));
      _state->carousels.erase(old);
    } else {
      auto news = [state = _state.get()](const TeletextAddress&) { state->hasNews = true; };  // the lock is held
      carousels.push_back({stream, std::make_unique<TeletextDecoder>(stream.language, std::move(news))});
    }
  }
  _state->carousels = std::move(carousels);
  if (_state->wanted.page == 0) _state->wanted.page = first;
}

void TeletextScreen::feed(const PacketView& packet) {
  const std::scoped_lock lock(_state->mutex);
  const auto found = std::ranges::find_if(_state->carousels,
                                          [&](const State::Carousel& one) { return one.stream.pid == packet.pid(); });
  if (found == _state->carousels.end()) return;
  const bool hadNews = std::exchange(_state->hasNews, false);
  found->decoder->feed(packet);
  if (_state->hasNews) _state->changed.notify_all();
  _state->hasNews = _state->hasNews || hadNews;
}

void TeletextScreen::interrupt() {
  const std::scoped_lock lock(_state->mutex);
  for (const State::Carousel& carousel : _state->carousels) carousel.decoder->interrupt();
}

void TeletextScreen::setShown(bool isShown) {
  const std::scoped_lock lock(_state->mutex);
  _state->isShown = isShown;
  _state->isAsked = isShown;
  _state->changed.notify_all();
}

void TeletextScreen::setPaused(bool isPaused) {
  const std::scoped_lock lock(_state->mutex);
  _state->isPaused = isPaused;
  _state->changed.notify_all();
}

void TeletextScreen::show(const TeletextAddress& address) {
  if (address.page < FIRST.page || address.page > LAST.page || !isSubpage(address.subpage)) {
    throw Failure(Code::InvalidArgument);
  }
  const std::scoped_lock lock(_state->mutex);
  _state->wanted = address;
  _state->isAsked = true;
  _state->changed.notify_all();
}

void TeletextScreen::change(std::uint32_t command) {
  const std::scoped_lock lock(_state->mutex);
  const bool isPage = command == NEXT_PAGE || command == PREVIOUS_PAGE;
  const bool isForward = command == NEXT_PAGE || command == NEXT_SUBPAGE;
  TeletextAddress& wanted = _state->wanted;
  std::vector<std::uint32_t> numbers;
  for (const State::Carousel& carousel : _state->carousels) {
    const auto more = isPage ? carousel.decoder->pages() : carousel.decoder->subpages(wanted.page);
    numbers.insert(numbers.end(), more.begin(), more.end());
  }
  if (numbers.empty()) throw Failure(Code::Failed, "no page of the teletext has come yet");
  std::ranges::sort(numbers);
  if (isPage) {
    wanted = {neighbour(numbers, wanted.page, isForward), 0};
  } else {
    const bool isAny = wanted.subpage == 0 && _state->last && _state->last->address().page == wanted.page;
    wanted.subpage = neighbour(numbers, isAny ? _state->last->address().subpage : wanted.subpage, isForward);
  }
  _state->isAsked = true;
  _state->changed.notify_all();
}

void TeletextScreen::close() noexcept {
  std::unique_lock lock(_state->mutex);
  _state->isClosed = true;
  _state->changed.notify_all();
  _state->waitForHandler(lock);
}

}  // namespace durix
