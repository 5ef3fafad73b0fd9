#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "ChannelChoice.h"
#include "Commands.h"
#include "Failure.h"
#include "Moment.h"
#include "Number.h"
#include "RecorderContents.h"
#include "Session.h"
#include "TimerRefusal.h"
#include "host/HostClock.h"
#include "velmora/Recorder.h"
#include "velmora/Service.h"

namespace tv {
namespace {

struct Export {
  std::string id, file;
};

struct TimeShiftWish {
  std::string channel, minutes;
};

constexpr double LONGEST_TIME_SHIFT = 60.0 * 24;  // minutes
constexpr double SECONDS_IN_MINUTE = 60;
constexpr std::chrono::milliseconds TURN{100};
constexpr std::size_t COPY_SIZE = std::size_t{1} << 20U;

Recording& chooseRecording(Context& context, const std::string& id) {
  const auto number = static_cast<unsigned>(readId(id));
  for (Recording* recording : recorderOf(context.session.plugin()).getRecorded()) {
    if (recording->getId() == number) return *recording;
  }
  throw UsageError("there is no recording " + id + "; \"tv recordings\" lists what there is");
}

std::string lengthText(long seconds) {
  const auto two = [](long value) { return (value < 10 ? "0" : "") + std::to_string(value); };
  return std::to_string(seconds / 3600) + ":" + two(seconds / 60 % 60) + ":" + two(seconds % 60);
}

std::string remarks(const Json& recording) {
  if (recording.value("offline", false)) return "offline";
  const bool isActive = recording.at("active").get<bool>();
  std::string text = isActive ? "recording" : "";
  if (!isActive && recording.contains("bytes") && recording.at("duration").get<long>() == 0) {
    text = "nothing to be seen: no reception, or scrambled";
  }
  const auto errors = recording.value("errors", std::uint64_t{0});
  if (errors > 0) text += (text.empty() ? "" : ", ") + std::to_string(errors) + (errors == 1 ? " error" : " errors");
  return text;
}

int recordings(Context& context) {
  context.session.expectReceiver(context.interrupt);  // which tells what is being recorded
  Json list = Json::array();
  for (Recording* recording : recorderOf(context.session.plugin()).getRecorded()) {
    list.push_back(recordingJson(*recording, context.session.sideDoor()));
  }
  if (context.output.json()) {
    context.output.value(list);
    return EXIT_DONE;
  }
  const std::int64_t now = host::now();
  Table table({{"ID", Column::RIGHT},
               {"Name", Column::LEFT, true},
               {"Channel", Column::LEFT, true},
               {"Start"},
               {"Length", Column::RIGHT},
               {"Remarks"}});
  for (const Json& recording : list) {
    table.addRow({{std::to_string(recording.at("id").get<unsigned>()), Tone::FAINT},
                  {recording.at("name").get<std::string>(), Tone::BOLD},
                  {recording.at("channel").get<std::string>()},
                  {momentText(recording.at("startTime").get<std::int64_t>(), now), Tone::ACCENT},
                  {lengthText(recording.at("duration").get<long>())},
                  {remarks(recording), Tone::WARNING}});
  }
  if (table.empty()) {
    context.output.message("There are no recordings");
  } else {
    context.output.table(table);
  }
  return EXIT_DONE;
}

int remove(Context& context, const std::string& id) {
  context.session.expectReceiver(context.interrupt);
  Recording& recording = chooseRecording(context, id);
  const Json told = recordingJson(recording, context.session.sideDoor());
  if (told.at("active").get<bool>()) {
    throw Failure("recording " + id + " is being recorded: cancel its timer first, \"tv timers\" lists it");
  }
  if (!recorderOf(context.session.plugin()).deleteRecording(&recording)) {
    throw Failure("recording " + id + " could not be deleted" +
                  (told.value("offline", false) ? ": its directory is not there"
                                                : "; \"" + context.session.setup().data + "/tv.log\" tells why"));
  }
  if (context.output.json()) {
    context.output.value(told);
  } else {
    context.output.message("Recording " + id + " is deleted", Tone::GOOD);
  }
  return EXIT_DONE;
}

/// Copies what is there now; an unfinished copy is never seen under its name.
void copy(Context& context, const SideDoor::RecordingState& state, const std::filesystem::path& target) {
  auto unfinished = target;
  unfinished += ".part";
  std::ifstream in(state.file, std::ios::binary);
  std::ofstream out(unfinished, std::ios::binary | std::ios::trunc);
  if (!in) throw Failure("cannot read \"" + state.file + "\"");
  if (!out) throw Failure("cannot write \"" + target.string() + "\"");
  std::vector<char> buffer(COPY_SIZE);
  std::uint64_t copied = 0;
  try {
    while (copied < state.bytes) {
      context.interrupt.check();
      in.read(buffer.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(COPY_SIZE, state.bytes - copied)));
      if (in.gcount() <= 0) break;
      out.write(buffer.data(), in.gcount());
      copied += static_cast<std::uint64_t>(in.gcount());
      context.output.progress(static_cast<unsigned>(copied * 100 / state.bytes), target.filename().string());
    }
    if (copied < state.bytes || !out.flush()) throw Failure("\"" + target.string() + "\" could not be written whole");
    out.close();
    std::filesystem::rename(unfinished, target);
  } catch (...) {
    context.output.endProgress();
    std::error_code ignored;
    std::filesystem::remove(unfinished, ignored);
    throw;
  }
  context.output.endProgress();
}

int exportTo(Context& context, const Export& wish) {
  Recording& recording = chooseRecording(context, wish.id);
  const auto state = context.session.sideDoor().recording(recording.getId());
  if (!state) throw Failure("exporting is not available with this middleware");
  if (!state->isThere) throw Failure("recording " + wish.id + " is offline: \"" + state->file + "\" is not there");
  const auto target = std::filesystem::path(context.directory) / wish.file;
  copy(context, *state, target);
  if (context.output.json()) {
    Json json = recordingJson(recording, context.session.sideDoor());
    json["exported"] = target.string();
    context.output.value(json);
  } else {
    context.output.message("\"" + recording.getName() + "\" is in " + target.string(), Tone::GOOD);
  }
  return EXIT_DONE;
}

int playlists(Context& context) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  Recorder& recorder = recorderOf(context.session.plugin());
  std::vector<Playlist*> all = recorder.getSchedulings();
  for (Playlist* playlist : recorder.getRecordings()) all.push_back(playlist);
  Json list = Json::array();
  Table table({{"ID", Column::RIGHT}, {"Name", Column::LEFT, true}, {"From"}, {"To"}, {"Items"}});
  const std::int64_t now = host::now();
  for (Playlist* playlist : all) {
    const Json json = playlistJson(*playlist);
    list.push_back(json);
    std::string items;
    for (const Json& item : json.at("items")) items += (items.empty() ? "" : ", ") + item.dump();
    const auto moment = [&](const char* key) {
      const auto time = json.at(key).get<std::int64_t>();
      return time > 0 ? momentText(time, now) : "";
    };
    table.addRow({{std::to_string(playlist->getId()), Tone::FAINT},
                  {playlist->getName(), Tone::BOLD},
                  {moment("start"), Tone::FAINT},
                  {moment("end"), Tone::FAINT},
                  {items}});
  }
  if (context.output.json()) {
    context.output.value(list);
  } else {
    context.output.table(table);
  }
  return EXIT_DONE;
}

/// A time shift that ends with this; others may watch it until then.
class RunningTimeShift {
 public:
  RunningTimeShift(Session& session, Recorder& recorder, Recording* recording)
      : _session(session), _recorder(recorder), _recording(recording) {
    _session.setTimeShift(recording);
  }
  RunningTimeShift(const RunningTimeShift&) = delete;
  RunningTimeShift& operator=(const RunningTimeShift&) = delete;
  ~RunningTimeShift() {
    if (isOver()) return;
    _session.setTimeShift(nullptr);
    _recorder.endTimeshift(_recording);
  }

  /// There is one at a time: whoever starts another one has ended this.
  bool isOver() const { return _session.timeShift() != _recording; }

 private:
  Session& _session;
  Recorder& _recorder;
  Recording* const _recording;
};

int timeShift(Context& context, const TimeShiftWish& wish) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  const std::vector<Service*> services = context.session.plugin().getServices();
  Service* const service = services[chooseChannel(wish.channel, channelKeys(services))];
  Recorder& recorder = recorderOf(context.session.plugin());
  const std::int64_t begun = host::now();
  const auto length = std::llround(readNumber(wish.minutes, 0, LONGEST_TIME_SHIFT, "--for") * SECONDS_IN_MINUTE);
  Recording* const recording = recorder.timeshift(service, static_cast<int>(length));
  if (recording == nullptr) {
    throw Failure("\"" + service->getName() +
                  "\" is not shifted: " + refusalOf(context, {service, begun, begun + length}));
  }
  const RunningTimeShift running(context.session, recorder, recording);
  const std::string id = std::to_string(recording->getId());
  context.output.message("Time shift " + id + " runs; \"tv play --recording " + id + "\" shows it", Tone::PLAIN);
  const std::int64_t end = recording->getEndTimeT();
  while (host::now() < end && context.output.good()) {
    context.interrupt.check();
    if (running.isOver()) throw Failure("another time shift has taken the place of this one");
    const std::int64_t passed = std::clamp<std::int64_t>(host::now() - begun, 0, length);
    context.output.progress(static_cast<unsigned>(passed * 100 / std::max<std::int64_t>(length, 1)),
                            service->getName());
    context.interrupt.waitFor(TURN);
  }
  context.output.endProgress();
  const Json told = recordingJson(*recording, context.session.sideDoor());
  if (context.output.json()) {
    context.output.value(told);
  } else {
    context.output.line("\"" + service->getName() + "\" was shifted for " +
                        lengthText(told.at("duration").get<long>()));
  }
  return EXIT_DONE;
}

}  // namespace

void addRecordingCommands(Syntax& app, Action& action) {
  Syntax listing = app.command("recordings", "What has been recorded");
  listing.whenChosen([&action] {
    if (!action) action = recordings;
  });
  auto deleted = std::make_shared<std::string>();
  Syntax deleting = listing.command("delete", "Deletes a recording with its file");
  deleting.word("ID", *deleted, "The recording's number");
  deleting.whenChosen([&action, deleted] {
    readId(*deleted);
    action = [deleted](Context& context) { return remove(context, *deleted); };
  });
  auto wish = std::make_shared<Export>();
  Syntax exporting = listing.command("export", "Copies a recording as a transport stream");
  exporting.word("ID", wish->id, "The recording's number");
  exporting.word("FILE", wish->file, "Where to, as in FILE.ts");
  exporting.whenChosen([&action, wish] {
    readId(wish->id);
    action = [wish](Context& context) { return exportTo(context, *wish); };
  });

  app.command("playlists", "Timers by day, recordings by week and month").whenChosen([&action] { action = playlists; });

  auto shift = std::make_shared<TimeShiftWish>();
  Syntax shifting = app.command("timeshift", "Runs a time shift, which can be watched meanwhile");
  shifting.word("CHANNEL", shift->channel, "A number, a name or #ID");
  shifting.option("--for", shift->minutes, "MINUTES", "How long");
  shifting.whenChosen([&action, shift] {
    if (shift->minutes.empty()) throw UsageError("say how long: --for MINUTES");
    readNumber(shift->minutes, 0, LONGEST_TIME_SHIFT, "--for");
    action = [shift](Context& context) { return timeShift(context, *shift); };
  });
}

}  // namespace tv
