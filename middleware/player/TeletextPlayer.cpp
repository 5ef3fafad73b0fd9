#include "middleware/player/TeletextPlayer.h"

#include <algorithm>
#include <string>

#include "middleware/api/Instance.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {

constexpr std::uint8_t INITIAL_PAGE = 1;  // teletext_type (EN 300 468, table 100)
constexpr std::uint32_t INDEX = 100;
constexpr std::uint32_t LAST = 899;

/// A page as the descriptor has it, in digits of four bits; the index when it is none for viewers.
std::uint32_t pageOf(const TeletextEntry& entry) {
  const std::uint32_t page = (entry.page >> 8 & 0xFU) * 100 + (entry.page >> 4 & 0xFU) * 10 + (entry.page & 0xFU);
  return page >= INDEX && page <= LAST && (entry.page & 0xFU) <= 9 && (entry.page >> 4 & 0xFU) <= 9 ? page : INDEX;
}

}  // namespace

TeletextPlayer::TeletextPlayer(Instance& instance, const durix_render_data& data)
    : _instance(instance), _screen(data) {}

TeletextPlayer::~TeletextPlayer() {
  TeletextPlayer::stop();
}

void TeletextPlayer::setRenderData(const durix_render_data& data) {
  _screen.setHandler(data);
}

void TeletextPlayer::start() {
  const std::scoped_lock lock(_receptionMutex);
  if (_isStopped) throw Failure(Code::NoInstance);
  tune();
  _isStarted = true;
  _screen.setShown(true);
}

void TeletextPlayer::tune() {
  if (_reception != nullptr && !_hasEnded) return;
  _reception.reset();
  _hasEnded = false;
  const auto chosen = feeds();
  if (chosen.empty()) throw Failure(Code::UnknownObject, "a teletext player without a feed");
  const ServiceReception::Parts parts{_instance.tuners(), _instance.store(), _instance.events()};
  ServiceTaker& taker = *this;
  _reception = std::make_unique<ServiceReception>(parts, chosen.back().service, ReceiverUse::Live, taker);
}

// A receiver that was taken may be free again by the time that somebody wants to read on.
void TeletextPlayer::resume() {
  const std::scoped_lock lock(_receptionMutex);
  if (!_isStarted || _isStopped) return;
  try {
    tune();
  } catch (const Failure& failure) {  // the pages that have come stay
    logLine(std::string("teletext: ") + failure.what());
  }
}

void TeletextPlayer::end() {
  const std::scoped_lock lock(_receptionMutex);
  _isStarted = false;
  _screen.setShown(false);
  _reception.reset();
}

void TeletextPlayer::pause(bool isOn) {
  _screen.setPaused(isOn);
}

void TeletextPlayer::stop() noexcept {
  {
    const std::scoped_lock lock(_receptionMutex);
    _isStopped = true;
    _reception.reset();
  }
  _screen.close();
}

void TeletextPlayer::setTeletextPage(std::uint32_t page, std::uint32_t subpage) {
  _screen.show({page, subpage});
  resume();
}

void TeletextPlayer::changeTeletextPage(std::uint32_t command) {
  resume();
  _screen.change(command);
}

void TeletextPlayer::takeProgram(const Program& program) {
  const std::scoped_lock lock(_programMutex);
  _program = program;
  chooseStreams(program);
}

void TeletextPlayer::takePacket(const PacketView& packet) {
  _screen.feed(packet);
}

// The pages that have come stay to be looked at.
void TeletextPlayer::end(PacketTaker::End) {
  _hasEnded = true;
}

void TeletextPlayer::feedsChanged() {
  const std::scoped_lock lock(_programMutex);
  if (_program) chooseStreams(*_program);
}

// The feeds may be older than the programme: where it has none of their streams any more, it has others instead.
void TeletextPlayer::chooseStreams(const Program& program) {
  const auto chosen = feeds();
  const auto isChosen = [&](const Component& component) {
    return std::ranges::any_of(chosen, [&](const ChosenFeed& feed) { return feed.feed.pid == component.pid; });
  };
  std::vector<const Component*> components;
  for (const Component& component : program.components) {
    if (component.kind == StreamKind::Teletext) components.push_back(&component);
  }
  if (std::ranges::any_of(components, [&](const Component* one) { return isChosen(*one); })) {
    std::erase_if(components, [&](const Component* one) { return !isChosen(*one); });
  }
  std::vector<TeletextScreen::Stream> streams;
  std::uint32_t first = INDEX;
  for (const Component* component : components) {
    streams.push_back({component->pid, component->teletext.empty() ? "" : component->teletext.front().language});
    const auto entry = std::ranges::find(component->teletext, INITIAL_PAGE, &TeletextEntry::type);
    if (first == INDEX && entry != component->teletext.end()) first = pageOf(*entry);
  }
  _screen.setStreams(streams, first);
}

}  // namespace durix
