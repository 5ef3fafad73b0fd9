#include "Stage.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "host/HostClock.h"
#include "host/HostLog.h"
#include "velmora/Velmora.h"

extern "C" BroadcastPlugin* vm_init();

namespace {

Stage* onStage = nullptr;

std::string join(const Lines& lines) {
  std::string joined;
  for (const std::string& line : lines) joined += (joined.empty() ? "" : ",") + line;
  return joined;
}

}  // namespace

std::uint32_t Event::id() const {
  std::uint32_t id = 0;
  std::memcpy(&id, _bytes.data(), sizeof id);
  return id;
}

Stage::Stage() {
  onStage = this;
  files["/lib/scan_conf.txt"] = "lang:eng\nlang:deu\n";
  host::setClock([this] { return time; });
  host::setLogSink([this](const host::LogLine& line) {
    note(line.level + " " + line.message);
    const std::lock_guard<std::mutex> lock(_mutex);
    _origins[line.message] = line.category + " " + line.file;
  });
}

Stage::~Stage() {
  close();
  host::setLogSink(nullptr);
  host::setClock(nullptr);
  onStage = nullptr;
  if (library != "/lib") std::filesystem::remove_all(library);
}

Stage* Stage::current() {
  return onStage;
}

BroadcastPlugin* Stage::plugin() {
  if (_plugin == nullptr) {
    _plugin = vm_init();
    _plugin->addListener(this);
  }
  return _plugin;
}

BroadcastPlugin* Stage::startedPlugin() {
  plugin()->init("/data", library.c_str());
  drop();
  return _plugin;
}

void Stage::close() {
  if (_plugin == nullptr) return;
  _plugin->close();
  _plugin = nullptr;
}

void Stage::deliver(Event event) {
  const std::vector<Registration> told = registrations;
  for (const Registration& registration : told) {
    if (registration.event == event.id()) registration.handler(event.data(), registration.user);
  }
}

void Stage::receiverOn(std::uint32_t protocol, std::uint32_t type) {
  deliver(Event(DURIX_EVENT_RECEIVER_ON)
              .put(DURIX_OFFSET_RECEIVER_ON_PROTOCOL, protocol)
              .put(DURIX_OFFSET_RECEIVER_ON_TYPE, type));
}

void Stage::scanFinished(const Lines& names) {
  Event event(DURIX_EVENT_DISCOVER_FINISHED);
  event.put(DURIX_OFFSET_DISCOVER_SERVICE_COUNT, static_cast<std::uint32_t>(names.size()));
  std::size_t offset = DURIX_OFFSET_DISCOVER_SERVICE_NAMES;
  for (const std::string& name : names) {
    event.text(offset, name);
    offset += DURIX_DISCOVER_NAME_SIZE;
  }
  deliver(event);
}

Lines Stage::take() {
  const std::lock_guard<std::mutex> lock(_mutex);
  return std::exchange(_lines, {});
}

Lines Stage::takeOfOtherThreads() {
  const std::lock_guard<std::mutex> lock(_mutex);
  return std::exchange(_others, {});
}

std::string Stage::originOf(const std::string& message) {
  const std::lock_guard<std::mutex> lock(_mutex);
  return _origins[message];
}

void Stage::note(const std::string& line) {
  const std::lock_guard<std::mutex> lock(_mutex);
  (std::this_thread::get_id() == _ownThread ? _lines : _others).push_back(line);
}

durix_return_code Stage::call(const std::string& name, const std::string& arguments) {
  const std::string line = name + "(" + arguments + ")";
  note(line);
  if (const auto work = during.find(name); work != during.end()) work->second();
  if (++_calls == failNth) return 1;
  auto found = failing.find(line);
  if (found == failing.end()) found = failing.find(name);
  return found == failing.end() ? 0 : found->second;
}

void Stage::addLocations(const std::string& fileName, const std::string& xml) {
  if (library == "/lib") {
    std::string directory = std::filesystem::temp_directory_path() / "transcripts-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) throw std::runtime_error("no directory for " + fileName);
    std::filesystem::create_directory(directory + "/locations");
    files[directory + "/scan_conf.txt"] = "lang:eng\nlang:deu\n";
    library = directory;
  }
  std::ofstream(library + "/locations/" + fileName) << xml;
  ostiv_directory_entry entry{};
  entry.type = OSTIV_ENTRY_FILE;
  fileName.copy(entry.name, sizeof entry.name - 1);
  listing.push_back(entry);
}

void Stage::tell(const std::string& notice) {
  note(notice);
  if (onNotice) onNotice();
}

void Stage::addProvider(std::uint32_t identity, std::uint32_t protocol, std::uint32_t type) {
  providers.push_back({protocol, type, identity, "Network", {0, 0}});
}

void Stage::addService(std::uint32_t id, const std::string& name, int type, int number) {
  services.push_back({1, id, 0});
  texts[{id, DURIX_ATTRIBUTE_NAME}] = name;
  numbers[{id, DURIX_ATTRIBUTE_STREAM_TYPES}] = type;
  numbers[{id, DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = number;
}

void Stage::notifyDiscover(Plugin* /*plugin*/, bool finished, bool success, unsigned progress, unsigned frequency,
                           unsigned serviceCount, Lines serviceNames) {
  tell("> discover finished=" + std::to_string(finished) + " success=" + std::to_string(success) + " " +
       std::to_string(progress) + "% " + std::to_string(frequency) + " " + std::to_string(serviceCount) + " [" +
       join(serviceNames) + "]");
}

void Stage::notifyStatistics(Plugin* /*plugin*/, unsigned frequency, unsigned bandwidth, bool locked,
                             unsigned char quality, unsigned char battery) {
  tell("> statistics " + std::to_string(frequency) + " " + std::to_string(bandwidth) + " " + std::to_string(locked) +
       " " + std::to_string(quality) + " " + std::to_string(battery));
}

void Stage::notifyPlayer(Plugin* /*plugin*/, bool isStarted, bool hasError) {
  tell("> player " + std::to_string(isStarted) + " " + std::to_string(hasError));
}

void Stage::pluginStateChanged(Plugin* /*plugin*/, PluginState /*before*/, PluginState now) {
  tell("> state " + std::to_string(now));
}

void Stage::notifyServiceUpdate(Plugin* /*plugin*/, std::vector<Service*>* changed) {
  Lines names;
  for (Service* const service : *changed) names.push_back(service->getName());
  tell("> services [" + join(names) + "]");
}

std::string asText(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

std::string expected(const std::string& name) {
  std::ifstream file(std::string(EXPECTED_DIRECTORY) + "/" + name + ".txt");
  Lines lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.front() != '#') lines.push_back(line);
  }
  return asText(lines);
}
