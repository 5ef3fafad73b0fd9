#include "ScriptedPlatform.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <utility>

#include "velmora/Logger.h"
#include "velmora/Velmora.h"

namespace {

ScriptedPlatform* current = nullptr;

durix_return_code answer(const std::string& call) {
  current->transcript.push_back(call);
  return current->failing.contains(call) ? 3 : DURIX_OK;
}

durix_return_code answer(const char* call, const durix_provider* provider) {
  return answer(std::string(call) + " " + std::to_string(provider->identity));
}

template <typename Item>
void handOut(const std::vector<Item>& values, Item** items, std::uint32_t* count) {
  *items = static_cast<Item*>(ostiv_mem_calloc(values.size() + 1, sizeof(Item)));
  std::copy(values.begin(), values.end(), *items);
  *count = static_cast<std::uint32_t>(values.size());
}

}  // namespace

ScriptedPlatform::ScriptedPlatform() {
  current = this;
}

ScriptedPlatform::~ScriptedPlatform() {
  EXPECT_EQ(liveAllocations, 0) << "middleware memory was not released";
  for (const std::string& path : files) std::remove(path.c_str());
  current = nullptr;
}

Lines ScriptedPlatform::takeTranscript() {
  return std::exchange(transcript, {});
}

void ScriptedPlugin::note(const char* line) {
  current->transcript.emplace_back(line);
}

void ScriptedPlugin::setState(PluginState newState) {
  state = newState;
  current->transcript.push_back("state " + std::to_string(newState));
}

bool ScriptedPlugin::discover(const durix_scan_configuration* configuration, BroadcastProtocolType scanProtocol,
                              ReceiverType scanReceiver, bool flag) {
  return answer("discover " + std::to_string(configuration->count) + " frequencies, protocol " +
                std::to_string(scanProtocol) + ", receiver " + std::to_string(scanReceiver) + (flag ? ", flag" : "")) ==
         DURIX_OK;
}

void ScriptedPlugin::deleteAll() {
  note("deleteAll");
  if (onDeleteAll) onDeleteAll();
}

std::string writeFile(const std::string& name, const std::string& text) {
  std::string path = testing::TempDir() + "plugin_tuning_" + std::to_string(getpid()) + "_" + name;
  std::ofstream(path, std::ios::binary) << text;
  current->files.insert(path);
  return path;
}

// ---- the host ----

Logger::Logger(std::string category) : _category(std::move(category)) {}

Logger* Logger::loggerFactory(const char* category) {
  return new Logger(category);
}

void Logger::_log(const char* level, const char* /*file*/, int /*line*/, const char* format, ...) {
  std::array<char, 1024> text{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized)
  va_end(arguments);
  current->transcript.push_back(std::string(level) + " " + text.data());
}

struct Velmora::State {};
Velmora::Velmora() = default;

Velmora* Velmora::getInstance() {
  static auto* const instance = new Velmora;
  return instance;
}

std::string Velmora::getProperty(const std::string& name) {
  return "/" + name;
}

Device::Device(void* record) {
  std::memcpy(_record, record, sizeof _record);
}

// ---- the middleware ----

void* ostiv_mem_calloc(std::size_t count, std::size_t size) {
  if (!current->hasMemory) return nullptr;
  ++current->liveAllocations;
  return std::calloc(count, size);
}

void ostiv_mem_free(void* memory) {
  --current->liveAllocations;
  std::free(memory);
}

std::uint32_t ostiv_file_directory_read(const char* /*directory*/, void** iterator, ostiv_directory_entry* entry) {
  auto* place = static_cast<std::size_t*>(*iterator);
  if (place == nullptr) *iterator = place = new std::size_t(0);
  if (*place >= current->directory.size()) {
    delete place;
    return 1;
  }
  *entry = current->directory[(*place)++];
  return 0;
}

std::uint32_t ostiv_file_path_join(char* out, std::uint32_t size, const char* directory, const char* name) {
  return std::snprintf(out, size, "%s%s", directory, name) < static_cast<int>(size) ? 0 : 1;
}

std::uint32_t ostiv_file_legalize_filename(char* out, std::uint32_t size, const char* path, std::uint32_t flag) {
  return flag == 1 && std::snprintf(out, size, "%s", path) < static_cast<int>(size) ? 0 : 1;
}

durix_return_code durix_providers_get(durix_handle* /*handle*/, durix_provider** providers, std::uint32_t* count) {
  if (answer("providers_get") != DURIX_OK) return 3;
  handOut(current->providers, providers, count);
  return DURIX_OK;
}

durix_return_code durix_provider_mount(const durix_provider* provider) {
  return answer("mount", provider);
}
durix_return_code durix_provider_unmount(const durix_provider* provider) {
  return answer("unmount", provider);
}
durix_return_code durix_provider_activate(const durix_provider* provider) {
  return answer("activate", provider);
}
durix_return_code durix_provider_deactivate(const durix_provider* provider) {
  return answer("deactivate", provider);
}
durix_return_code durix_provider_match(const durix_provider* provider, durix_provider_protocol /*protocol*/,
                                       durix_device_receiver_type /*type*/) {
  answer("match", provider);
  return current->matching.contains(provider->identity) ? DURIX_OK : 3;
}

durix_return_code durix_discover_start(durix_handle* /*handle*/, durix_provider_protocol protocol,
                                       durix_device_receiver_type type, const durix_scan_configuration* configuration,
                                       bool flag) {
  return answer("discover_start " + std::to_string(protocol) + " " + std::to_string(type) + " " +
                std::to_string(configuration->count) + (flag ? " flag" : ""));
}

durix_return_code durix_discover_cancel(durix_handle* /*handle*/) {
  return answer("discover_cancel");
}

durix_return_code durix_device_get(durix_handle* /*handle*/, durix_device** devices, std::uint32_t* count) {
  if (answer("device_get") != DURIX_OK) return 3;
  std::vector<durix_device> records(current->devices);
  for (std::uint32_t i = 0; i < current->devices; ++i) records[i].words[0] = i;
  handOut(records, devices, count);
  return DURIX_OK;
}

durix_return_code durix_device_execute_request(void* /*device*/, std::uint32_t request, void* data) {
  const auto* const bytes = static_cast<std::uint8_t*>(data);
  const std::size_t size = request == DURIX_REQUEST_SET_ADDRESS ? 50 : request == DURIX_REQUEST_SELECT ? 516 : 0;
  current->request.assign(bytes, bytes + size);
  if (data != nullptr) ostiv_mem_free(data);
  return answer("request " + std::to_string(request)) == DURIX_OK ? 7 : 1;  // here only 1 is a failure
}

durix_return_code durix_property_get(durix_handle* /*handle*/, durix_property property, char** value) {
  const auto found = current->properties.find(property);
  if (found == current->properties.end()) return 3;
  *value = static_cast<char*>(ostiv_mem_calloc(found->second.size() + 1, 1));
  found->second.copy(*value, found->second.size());
  return DURIX_OK;
}
