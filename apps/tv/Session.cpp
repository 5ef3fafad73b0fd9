#include "Session.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "Failure.h"
#include "OptionValues.h"
#include "host/HostClock.h"
#include "host/HostState.h"
#include "velmora/Recorder.h"
#include "velmora/Velmora.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds RECEIVER_LIMIT{10};
constexpr seconds EXPECTATION_LIMIT{3};
constexpr seconds CHANNELS_LIMIT{30};
constexpr seconds ACTIVE_LIMIT{10};
constexpr seconds ERROR_GRACE{1};  // a state of error that passes on its own is none
constexpr milliseconds TURN{50};

/// Whether a receiver has been announced: the plugin has looked at what there is for it.
bool known(PluginState state) {
  return state != PLUGIN_INACTIVE;
}

void handReceiversOn(const std::vector<ReceiverChoice>& receivers) {
  std::string text;
  for (const ReceiverChoice& receiver : receivers) text += (text.empty() ? "" : " ") + receiver.escaped();
  // Before the plugin is loaded: no other thread reads the environment yet.
  if (text.empty()) {
    unsetenv("DURIX_RECEIVERS");
  } else {
    setenv("DURIX_RECEIVERS", text.c_str(), 1);
  }
}

/// Host and middleware keep the same time.
void shareClock(const PluginLibrary& library) {
  auto* systemTime = library.find<std::uint32_t(std::int64_t*)>("ostiv_time_get_system_time");
  if (systemTime == nullptr) return;
  host::setClock([systemTime] {
    std::int64_t now = 0;
    systemTime(&now);
    return now;
  });
}

}  // namespace

Session::Session(Setup setup)
    : _setup((handReceiversOn(setup.receivers), std::move(setup))),
      _library(_setup.plugin),
      _sideDoor(_library),
      _plugin(_library.plugin()) {
  _watch = std::make_unique<PluginWatch>(*_plugin);
  try {
    start();
  } catch (...) {
    _midnights.reset();
    _watch.reset();
    _plugin->close();
    throw;
  }
}

Session::~Session() {
  _midnights.reset();
  _watch.reset();
  _plugin->close();
}

void Session::start() {
  shareClock(_library);
  if (!host::open(_setup.data)) {
    throw Failure("cannot read \"" + _setup.data + "/host.json\": " + _lastError.text());
  }
  if (!_plugin->init(_setup.data.c_str(), _setup.library.c_str())) {
    const std::string reason = _sideDoor.startFailure().value_or(_lastError.text());
    throw Failure("the middleware does not start" + (reason.empty() ? "" : ": " + reason) + "; \"" + _setup.data +
                  "/tv.log\" tells more");
  }
  if (Recorder* recorder = _plugin->getRecorder()) {
    recorder->init();
    _midnights = std::make_unique<host::DailyRefresh>([recorder] { recorder->refresh(); });
  }
  applyKeptOptions();
}

void Session::applyKeptOptions() {
  const std::map<std::string, std::string> kept = host::rememberedOptions();
  for (Option* option : allOptions(*_plugin->getOptions())) {
    const auto found = kept.find(option->getId());
    if (found != kept.end() && valueFault(*option, found->second).empty()) setOptionValue(*option, found->second);
  }
}

unsigned Session::frequencyUnit() const {
  constexpr unsigned HERTZ_IN_KILOHERTZ = 1000;
  const bool satellite = !_setup.receivers.empty() && _setup.receivers.front().type == RECEIVER_DVB_S;
  return satellite ? HERTZ_IN_KILOHERTZ : 1;
}

bool Session::expectReceiver(const Interrupt& interrupt) {
  return known(_plugin->getState()) ||
         (!_plugin->getDevices().empty() && known(_watch->waitFor(known, EXPECTATION_LIMIT, interrupt)));
}

void Session::waitForReceiver(const Interrupt& interrupt) {
  if (!known(_plugin->getState()) && _plugin->getDevices().empty()) {
    throw Failure(
        "there is no receiver: give one with --receiver TYPE=file:DIRECTORY, or choose one for good with "
        "\"tv receivers select\"");
  }
  if (known(_watch->waitFor(known, RECEIVER_LIMIT, interrupt))) return;
  throw Failure("no receiver was announced within " + std::to_string(RECEIVER_LIMIT.count()) + " seconds; \"" +
                _setup.data + "/tv.log\" tells more");
}

Session::ServicesHeld Session::waitForChannels(const Interrupt& interrupt) {
  goOnWithReceiver();
  waitForReceiver(interrupt);
  const auto end = std::chrono::steady_clock::now() + CHANNELS_LIMIT;
  ServicesHeld held(_services, std::defer_lock);
  for (;;) {
    interrupt.check();
    if (held.try_lock_for(TURN)) {
      const PluginState state =
          _watch->waitFor([](PluginState now) { return now != PLUGIN_ERROR; }, ERROR_GRACE, interrupt);
      if (state == PLUGIN_ACTIVE) return held;
      if (state == PLUGIN_DISCOVER_PENDING) throw Failure("there are no channels yet: \"tv scan\" finds them");
      if (state == PLUGIN_ERROR) {
        throw Failure("the plugin reports an error; \"" + _setup.data +
                      R"(/tv.log" tells more, "tv scan" starts anew)");
      }
      held.unlock();
      interrupt.waitFor(TURN);
    }
    if (std::chrono::steady_clock::now() > end) break;
  }
  if (_plugin->getState() == PLUGIN_DISCOVERING) throw Failure("a scan is going on: ask again when it is done");
  throw Failure("the channel list was not loaded within " + std::to_string(CHANNELS_LIMIT.count()) + " seconds; \"" +
                _setup.data + "/tv.log\" tells more");
}

void Session::goOnWithReceiver() {
  if (_plugin->getState() != PLUGIN_INACTIVE || !_watch->wasActive()) return;
  const auto sources = _sideDoor.sources();
  if (!sources) return;
  const bool isBack = std::any_of(sources->begin(), sources->end(),
                                  [](const auto& source) { return source.inUse && source.isPresent; });
  if (isBack) _plugin->update();
}

Session::ServicesAlone Session::waitForServices(const Interrupt& interrupt) {
  ServicesAlone alone(_services, std::defer_lock);
  const auto end = std::chrono::steady_clock::now() + CHANNELS_LIMIT;
  while (!alone.try_lock_for(TURN)) {
    interrupt.check();
    if (std::chrono::steady_clock::now() > end)
      throw Failure("the channels are in use by another command; ask again later");
  }
  return alone;
}

bool Session::waitForActive(const Interrupt& interrupt) {
  const auto active = [](PluginState state) { return state == PLUGIN_ACTIVE; };
  return active(_watch->waitFor(active, ACTIVE_LIMIT, interrupt));
}

}  // namespace tv
