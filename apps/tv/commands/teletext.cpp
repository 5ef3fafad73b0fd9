#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "ChannelChoice.h"
#include "Commands.h"
#include "Failure.h"
#include "PictureFile.h"
#include "Session.h"
#include "TeletextText.h"
#include "velmora/Player.h"
#include "velmora/Service.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::chrono::seconds CAROUSEL{30};  // a page that is sent at all comes within this time
constexpr milliseconds NEIGHBOUR_LIMIT{2000};
constexpr milliseconds SETTLING{1500};
constexpr milliseconds TURN{50};

struct TeletextWish {
  std::string channel;
  std::string page;
  TeletextPlace place;
  std::string png;
};

/// A page in memory of its own.
struct ReceivedPage {
  TeletextPlace place;
  std::array<std::string, FFPIC_TELETEXT_LINES> lines;
  RgbaPicture picture;
  std::vector<std::uint8_t> pixels;
};

/// Keeps the last page that the player shows.
class PageWatch : public PlayerListener {
 public:
  void imageReceived(FFPic* picture) override {
    ReceivedPage page{{picture->page, picture->subpage}, {}, {picture->width, picture->height, picture->stride}, {}};
    std::ranges::copy(picture->lines, page.lines.begin());
    page.pixels.assign(picture->rgba, picture->rgba + std::size_t{picture->stride} * picture->height);
    const std::scoped_lock lock(_mutex);
    _page = std::move(page);
    _changed.notify_all();
  }
  void playerStarted() override {}
  void playerError() override {}
  void playerStopped() override {}
  void playerBlocked() override {}
  void playerUnblocked() override {}

  /// The next page that fits, nothing when none comes within the limit. Throws Interrupted.
  template <typename Fits>
  std::optional<ReceivedPage> waitFor(Fits fits, milliseconds limit, const Interrupt& interrupt) {
    const auto end = steady_clock::now() + limit;
    std::unique_lock lock(_mutex);
    while (!_page || !fits(_page->place)) {
      if (steady_clock::now() >= end) return std::nullopt;
      _changed.wait_for(lock, TURN);
      interrupt.check();
    }
    return std::exchange(_page, std::nullopt);
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  std::optional<ReceivedPage> _page;  // guarded by _mutex
};

/// The teletext of a channel while this lives.
class TeletextSession {
 public:
  TeletextSession(BroadcastPlugin& plugin, Service& service)
      : _player(plugin.createTeletextPlayer(&service, nullptr, &_watch)) {}

  bool start(const TeletextPlace& place) { return _player != nullptr && askFor(place) && _player->start(false); }
  bool askFor(const TeletextPlace& place) { return _player->setTeletextPage(place.page, place.subpage); }

  std::optional<ReceivedPage> receive(const TeletextPlace& place, milliseconds limit, const Interrupt& interrupt) {
    const auto fits = [&](const TeletextPlace& one) {
      return one.page == place.page && (place.subpage == 0 || one.subpage == place.subpage);
    };
    return _watch.waitFor(fits, limit, interrupt);
  }

  /// The page that has come next to one that has not: a command of the player says on which side.
  std::optional<TeletextPlace> neighbour(const TeletextPlace& place, VmTeletextPageCmd command,
                                         const Interrupt& interrupt) {
    if (!askFor(place) || !_player->changeTeletextPage(command)) return std::nullopt;
    const auto any = [&](const TeletextPlace& one) { return one.page != place.page || place.subpage != 0; };
    const auto page = _watch.waitFor(any, NEIGHBOUR_LIMIT, interrupt);
    return page ? std::optional(page->place) : std::nullopt;
  }

 private:
  PageWatch _watch;  // outlives the player
  std::unique_ptr<Player> _player;
};

/// Why the page is not shown: what came instead.
std::string absence(TeletextSession& teletext, const std::string& channel, const TeletextPlace& place,
                    const Interrupt& interrupt) {
  const std::string text = "page " + teletextPlaceText(place) + " of \"" + channel + "\" did not come within " +
                           std::to_string(CAROUSEL.count()) + " seconds; ";
  std::vector<std::string> near;
  const TeletextPlace any{place.page, 0};
  if (place.subpage != 0 && teletext.askFor(any)) {
    if (const auto page = teletext.receive(any, NEIGHBOUR_LIMIT, interrupt))
      near.push_back(teletextPlaceText(page->place));
  }
  for (const VmTeletextPageCmd command : {TELETEXT_PAGE_PREVIOUS, TELETEXT_PAGE_NEXT}) {
    const auto page = teletext.neighbour(any, command, interrupt);
    if (!page) continue;
    if (const auto name = std::to_string(page->page); std::ranges::find(near, name) == near.end()) near.push_back(name);
  }
  if (near.empty()) return text + "no page did";
  std::string list;
  for (const std::string& name : near) list += (list.empty() ? "" : ", ") + name;
  return text + "near it there is " + list;
}

/// What is drawn again within a moment is more complete: its links are known later than the page, rows were lost.
void settle(TeletextSession& teletext, ReceivedPage& page, const Interrupt& interrupt) {
  const auto end = steady_clock::now() + SETTLING;
  const auto left = [&] { return std::chrono::ceil<milliseconds>(end - steady_clock::now()); };
  while (auto again = teletext.receive(page.place, left(), interrupt)) page = *std::move(again);
}

void show(const Context& context, const ReceivedPage& page) {
  if (!context.output.json()) {
    for (const std::string& line : page.lines) context.output.line(teletextLine(line));
    return;
  }
  context.output.value({{"page", page.place.page}, {"subpage", page.place.subpage}, {"text", page.lines}});
}

int teletext(Context& context, const TeletextWish& wish) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  const std::vector<Service*> services = context.session.plugin().getServices();
  Service& service = *services[chooseChannel(wish.channel, channelKeys(services))];
  const std::string name = service.getName();
  if (!context.session.sideDoor().hasTeletext(service.getId()).value_or(true)) {
    throw Failure("\"" + name + "\" has no teletext");
  }
  TeletextSession session(context.session.plugin(), service);
  if (!session.start(wish.place)) {
    throw Failure("the teletext of \"" + name + "\" cannot be received; \"" + context.session.setup().data +
                  "/tv.log\" tells more");
  }
  std::optional<ReceivedPage> page = session.receive(wish.place, CAROUSEL, context.interrupt);
  if (!page) throw Failure(absence(session, name, wish.place, context.interrupt));
  settle(session, *page, context.interrupt);
  if (!wish.png.empty()) {
    page->picture.pixels = page->pixels.data();
    const std::string path = (std::filesystem::path(context.directory) / wish.png).string();
    writePng(page->picture, path);
  }
  show(context, *page);
  return EXIT_DONE;
}

}  // namespace

void addTeletextCommand(Syntax& app, Action& action) {
  auto wish = std::make_shared<TeletextWish>();
  Syntax showing = app.command("teletext", "A page of teletext, as text or as a picture");
  showing.word("CHANNEL", wish->channel, "A number, a name or #ID");
  showing.word("PAGE[.SUB]", wish->page, "100 to 899, and a subpage where one is meant");
  showing.option("--png", wish->png, "FILE", "Writes a picture of the page too");
  showing.whenChosen([&action, wish] {
    wish->place = readTeletextPlace(wish->page);
    action = [wish](Context& context) { return teletext(context, *wish); };
  });
}

}  // namespace tv
