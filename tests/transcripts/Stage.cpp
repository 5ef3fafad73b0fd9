#include "Stage.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "velmora/Velmora.h"

extern "C" BroadcastPlugin* vm_init();

namespace {

std::string join(const Lines& lines) {
  std::string joined;
  for (const std::string& line : lines) joined += (joined.empty() ? "" : ",") + line;
  return joined;
}

}  // namespace

Stage::Stage() {
  files["/lib/scan_conf.txt"] = "lang:eng\nlang:deu\n";
}

Stage::~Stage() {
  close();
  if (library != "/lib") std::filesystem::remove_all(library);
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
