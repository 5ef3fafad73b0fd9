#include "middleware/durix_tools.h"

#include <algorithm>
#include <map>
#include <string>

#include "middleware/api/Devices.h"
#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Clock.h"
#include "middleware/portability/Log.h"
#include "middleware/portability/Memory.h"
#include "middleware/portability/Text.h"
#include "middleware/store/ServiceFilter.h"

using durix::FrequencyOutcome;
using durix::guarded;
using durix::Instance;
using durix::need;

namespace {

std::uint32_t put(char* out, std::uint32_t size, const std::string& text) {
  if (out != nullptr && size > 0) {
    const auto part = durix::cutAtCharacter(text, size - 1);
    out[part.copy(out, part.size())] = '\0';
  }
  return static_cast<std::uint32_t>(text.size());
}

std::uint32_t resultOf(FrequencyOutcome::Result result) {
  switch (result) {
    case FrequencyOutcome::Result::NoSignal:
      return DURIX_TOOLS_NO_SIGNAL;
    case FrequencyOutcome::Result::NoTables:
      return DURIX_TOOLS_NO_TABLES;
    case FrequencyOutcome::Result::Services:
      return DURIX_TOOLS_SERVICES;
    case FrequencyOutcome::Result::Unreadable:
      return DURIX_TOOLS_UNREADABLE;
    case FrequencyOutcome::Result::Cancelled:
      break;
  }
  return DURIX_TOOLS_CANCELLED;
}

std::string optionsOf(const durix::ReceiverSettings& settings) {
  const std::string time = settings.time == durix::TimeMode::Stream ? "stream" : "now";
  return "time=" + time + ",tuners=" + std::to_string(settings.tuners);
}

}  // namespace

extern "C" {

uint32_t durix_tools_version() {
  return DURIX_TOOLS_VERSION;
}

void durix_tools_clock_set(int64_t seconds) {
  durix::clock::set(seconds);
}

void durix_tools_clock_replace(durix_tools_clock clock, void* user) {
  durix::clock::replace(clock, user);
}

uint64_t durix_tools_memory_live() {
  return durix::memoryStatistics().liveBlocks;
}

uint64_t durix_tools_memory_mixups() {
  return durix::memoryStatistics().mixUps;
}

uint32_t durix_tools_start_failure(char* text, uint32_t size) {
  std::uint32_t length = 0;
  guarded([&] { length = put(text, size, Instance::startFailure()); });
  return length;
}

void durix_tools_log_replace(durix_tools_log_handler handler, void* user) {
  durix::setLogHandler(handler, user);
}

durix_return_code durix_tools_scan_report(durix_tools_frequency_handler handler, void* user) {
  return guarded([&] {
    const auto report = Instance::current()->scan().report();
    if (handler == nullptr) throw durix::Failure(durix::Code::InvalidArgument);
    for (const auto& outcome : report.frequencies) {
      const durix_tools_frequency frequency{outcome.tuning, resultOf(outcome.result), outcome.services,
                                            outcome.text.c_str()};
      handler(&frequency, user);
    }
    if (report.error.empty()) return;
    const durix_tools_frequency failure{{}, DURIX_TOOLS_UNREADABLE, 0, report.error.c_str()};
    handler(&failure, user);
  });
}

durix_return_code durix_tools_hidden_services(uint32_t* protected_services, uint32_t* radio_services) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(protected_services, radio_services);
    const auto active = instance->providers().active();
    if (!active) throw durix::Failure(durix::Code::Failed);
    using Verdict = durix::ServiceFilter::Verdict;
    const durix::ServiceFilter filter(instance->store());
    std::map<Verdict, std::uint32_t> counts;
    const auto catalogue = instance->store().catalogue();
    for (const auto& [id, service] : catalogue->services) {
      const bool isChannel = service.receiver == *active && service.kind != durix::ServiceKind::Other;
      if (isChannel) ++counts[filter.judge(service)];
    }
    *protected_services = counts[Verdict::Protected];
    *radio_services = counts[Verdict::Radio];
  });
}

uint32_t durix_tools_feeds(uint32_t service, uint32_t type) {
  std::uint32_t count = 0;
  guarded([&] {
    const auto catalogue = Instance::current()->store().catalogue();
    const auto* const found = catalogue->service(service);
    if (found == nullptr) return;
    count = static_cast<std::uint32_t>(
        std::ranges::count(found->feeds, static_cast<std::int32_t>(type), &durix::Feed::type));
  });
  return count;
}

durix_return_code durix_tools_guide(durix_tools_guide_state* state) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(state);
    const auto progress = instance->guideCollector().progress();
    const auto active = instance->providers().active();
    const durix::ServiceFilter filter(instance->store());
    std::uint32_t unread = 0;
    const auto catalogue = instance->store().catalogue();
    for (const auto& [id, service] : catalogue->services) {
      const bool isListed = service.receiver == active && filter.judge(service) == durix::ServiceFilter::Verdict::Shown;
      if (isListed && !instance->guide().isRead(id)) ++unread;
    }
    *state = {.open = static_cast<std::uint32_t>(instance->guideFeeds().multiplexes().size()),
              .multiplexes = progress.multiplexes,
              .received = progress.done,
              .gone_round = static_cast<std::uint8_t>(progress.isDone),
              .unread = unread,
              .events = instance->guide().counts().events,
              .dropped = progress.dropped};
  });
}

uint8_t durix_tools_guide_has(uint32_t service, uint32_t event) {
  std::uint8_t has = 0;
  guarded([&] {
    const auto instance = Instance::current();
    if (instance->store().catalogue()->service(service) == nullptr) return;
    has = instance->guide().of(service)->contains(event) ? 1 : 0;
  });
  return has;
}

durix_return_code durix_tools_receivers(durix_tools_receiver_handler handler, void* user) {
  return guarded([&] {
    const auto instance = Instance::current();
    if (handler == nullptr) throw durix::Failure(durix::Code::InvalidArgument);
    for (const auto& broadcast : instance->receivers().broadcasts()) {
      const auto& settings = broadcast->settings();
      const std::string source = broadcast->source();
      const std::string options = optionsOf(settings);
      const durix_tools_receiver receiver{durix::nameOf(settings.type),
                                          source.c_str(),
                                          options.c_str(),
                                          settings.tuners,
                                          1,
                                          static_cast<std::uint8_t>(broadcast->isPresent())};
      handler(&receiver, user);
    }
    const auto selected = instance->store().selection();
    if (!selected) return;
    const auto settings = durix::parseSelection(selected->type, selected->source, selected->options);
    const std::string options = optionsOf(settings);
    const durix_tools_receiver receiver{
        durix::nameOf(selected->type), selected->source.c_str(), options.c_str(), settings.tuners, 0, 0};
    handler(&receiver, user);
  });
}

durix_return_code durix_tools_uses(uint32_t* receivers, durix_tools_use_handler handler, void* user) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(receivers);
    if (handler == nullptr) throw durix::Failure(durix::Code::InvalidArgument);
    *receivers = instance->tuners().count();
    for (const auto& each : instance->tuners().occupations()) {
      const durix_tools_use use{.use = static_cast<std::uint32_t>(each.use),
                                .users = each.users,
                                .multiplex = each.multiplex ? each.multiplex->id : 0,
                                .frequency = each.multiplex ? each.multiplex->tuning.frequency : 0};
      handler(&use, user);
    }
  });
}

uint32_t durix_tools_device_text(const durix_device* device, char* text, uint32_t size) {
  std::uint32_t length = 0;
  guarded([&] {
    need(device);
    length = put(text, size, durix::deviceText(*device));
  });
  return length;
}
}
