#include <map>
#include <set>

#include "Commands.h"
#include "Failure.h"
#include "HiddenNote.h"
#include "LocationChoice.h"
#include "LocationFiles.h"
#include "ScanWatch.h"
#include "Session.h"
#include "Text.h"
#include "velmora/Service.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr milliseconds TURN{50};
constexpr seconds SILENCE_LIMIT{120};  // without any notice a scan is given up
constexpr seconds CANCEL_LIMIT{10};

/// A scan as it goes on, shown.
class ScanRun {
 public:
  explicit ScanRun(Context& context)
      : _context(context), _unit(context.session.frequencyUnit()), _watch(context.session.plugin()) {}

  /// The final notice.
  ScanNotice run(const std::string& place) {
    BroadcastPlugin& plugin = _context.session.plugin();
    const bool started = plugin.requestDiscover(place, true);
    // The announcement of a receiver may have started it first; then the request is refused although it is met.
    if (!started && plugin.getState() != PLUGIN_DISCOVERING && !(_ahead = _watch.next(TURN))) {
      throw Failure("the scan of \"" + place + "\" was refused; \"" + _context.session.setup().data +
                    "/tv.log\" tells why");
    }
    _context.output.message("Scanning " + place, Tone::BOLD);
    auto heard = steady_clock::now();
    while (steady_clock::now() - heard < SILENCE_LIMIT) {
      if (_context.interrupt.raised()) cancel();
      const std::optional<ScanNotice> notice = next();
      if (!notice) continue;
      heard = steady_clock::now();
      show(*notice);
      if (notice->finished) return *notice;
    }
    plugin.discover_cancel();
    throw Failure("the scan gave no sign for " + std::to_string(SILENCE_LIMIT.count()) + " seconds and was given up");
  }

 private:
  std::optional<ScanNotice> next() {
    if (!_ahead) return _watch.next(TURN);
    return std::exchange(_ahead, std::nullopt);
  }

  void show(const ScanNotice& notice) {
    for (const std::string& name : notice.names) {
      if (!name.empty() && _shown.insert(name).second) _context.output.message("  + " + name, Tone::GOOD);
    }
    if (notice.finished) {
      _context.output.endProgress();
    } else {
      _context.output.progress(notice.progress,
                               frequencyText(notice.frequency, _unit) + "  " + counted(_shown.size(), "service"));
    }
  }

  /// Ends the scan in order: what has been stored stays.
  [[noreturn]] void cancel() {
    _context.session.plugin().discover_cancel();
    const auto end = steady_clock::now() + CANCEL_LIMIT;
    while (steady_clock::now() < end) {
      const std::optional<ScanNotice> notice = next();
      if (notice && notice->finished) break;
    }
    throw Interrupted();
  }

  Context& _context;
  const unsigned _unit;
  ScanWatch _watch;
  std::optional<ScanNotice> _ahead;
  std::set<std::string> _shown;
};

Json frequenciesJson(const std::vector<SideDoor::FrequencyResult>& results) {
  Json list = Json::array();
  for (const auto& result : results) {
    list.push_back({{"frequency", result.frequency}, {"outcome", result.outcome}, {"services", result.services}});
  }
  return list;
}

/// Why a scan found nothing, for each frequency.
void tellWhy(Context& context, const std::vector<SideDoor::FrequencyResult>& results) {
  const unsigned unit = context.session.frequencyUnit();
  Table table({{"Frequency", Column::RIGHT}, {"Result"}});
  for (const auto& result : results) {
    table.addRow({frequencyText(result.frequency, unit) + " " + result.polarisation, {result.outcome, Tone::WARNING}});
  }
  if (!context.output.json()) context.output.table(table);
}

/// "49 frequencies without signal" and so on, in one line.
std::string summary(const std::vector<SideDoor::FrequencyResult>& results) {
  std::map<std::string, unsigned> counts;
  for (const auto& result : results) ++counts[result.outcome];
  std::string text;
  for (const auto& [outcome, count] : counts) {
    text +=
        (text.empty() ? "" : ", ") + std::to_string(count) + (count == 1 ? " frequency: " : " frequencies: ") + outcome;
  }
  return text;
}

int tellSuccess(Context& context, const ScanNotice& final) {
  if (!context.session.waitForActive(context.interrupt)) {
    throw Failure("the scan found services, but the plugin does not offer them; \"" + context.session.setup().data +
                  "/tv.log\" tells more");
  }
  std::vector<std::string> names;
  for (Service* service : context.session.plugin().getServices()) names.push_back(service->getName());
  if (context.output.json()) {
    Json result{{"success", true}, {"services", final.serviceCount}, {"names", names}};
    if (const auto results = context.session.sideDoor().scanResults())
      result["frequencies"] = frequenciesJson(*results);
    context.output.value(result);
    return EXIT_DONE;
  }
  context.output.line(
      toned(counted(final.serviceCount, "service") + " found", Tone::BOLD, context.output.style().colours) + ", " +
      counted(names.size(), "channel") + " in the list; \"tv channels\" shows " + (names.size() == 1 ? "it" : "them"));
  tellHidden(context);
  return EXIT_DONE;
}

/// A receiver that is announced at the same moment has the plugin scan once more; what it finds replaces the report.
void waitForLateScan(Context& context) {
  const auto end = steady_clock::now() + CANCEL_LIMIT;
  while (context.session.plugin().getState() == PLUGIN_DISCOVERING && steady_clock::now() < end) {
    if (context.interrupt.waitFor(TURN)) throw Interrupted();
  }
}

int tellFailure(Context& context, const ScanNotice& final) {
  waitForLateScan(context);
  const auto results = context.session.sideDoor().scanResults();
  if (context.output.json()) {
    Json result{{"success", false}, {"services", final.serviceCount}, {"names", Json::array()}};
    if (results) result["frequencies"] = frequenciesJson(*results);
    context.output.value(result);
  } else if (results) {
    tellWhy(context, *results);
  }
  if (!results) throw Failure("the scan found nothing; why is not available with this middleware");
  throw Failure("the scan found nothing (" + summary(*results) + "); check the receiver and the location");
}

int scan(Context& context, const std::string& wanted) {
  Session& session = context.session;
  checkLocationFiles(session.setup().library);
  session.waitForReceiver(context.interrupt);
  const std::string place = chooseLocation(wanted, session.plugin());
  const Session::ServicesAlone alone = session.waitForServices(context.interrupt);
  const ScanNotice final = ScanRun(context).run(place);
  return final.success ? tellSuccess(context, final) : tellFailure(context, final);
}

}  // namespace

void addScanCommand(Syntax& app, Action& action) {
  auto place = std::make_shared<std::string>();
  Syntax command = app.command("scan", "Looks for channels");
  command.optionalWord("LOCATION", *place, "The place to scan; without it that of the location option, else Full Scan");
  command.whenChosen([&action, place] { action = [place](Context& context) { return scan(context, *place); }; });
}

}  // namespace tv
