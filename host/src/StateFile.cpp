#include "host/src/StateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

namespace host {
namespace {

using nlohmann::json;

constexpr int VERSION = 1;
constexpr mode_t OWNER_ONLY = 0600;

std::string lastError() {
  return std::generic_category().message(errno);
}

bool isTexts(const json& value) {
  return value.is_object() &&
         std::all_of(value.begin(), value.end(), [](const json& member) { return member.is_string(); });
}

/// Closes the descriptor, also on the way out of a failure.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : _descriptor(descriptor) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_descriptor >= 0) ::close(_descriptor);
  }
  int get() const { return _descriptor; }

 private:
  const int _descriptor;
};

bool writeDurably(const std::filesystem::path& file, const std::string& text) {
  const Descriptor out(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, OWNER_ONLY));
  if (out.get() < 0) return false;
  for (std::size_t written = 0; written < text.size();) {
    const ssize_t step = ::write(out.get(), text.data() + written, text.size() - written);
    if (step < 0 && errno != EINTR) return false;
    if (step > 0) written += static_cast<std::size_t>(step);
  }
  return ::fsync(out.get()) == 0;
}

/// Makes the new name of a file survive a power failure; where a file system cannot, the file itself is still whole.
void syncDirectory(const std::filesystem::path& directory) {
  const Descriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() >= 0) ::fsync(opened.get());
}

}  // namespace

Loaded readState(const std::filesystem::path& file, KeptState& state, std::string& why) {
  std::error_code error;
  if (!std::filesystem::exists(file, error) && !error) return Loaded::ABSENT;
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  std::array<char, 4096> block{};
  while (stream.read(block.data(), block.size()) || stream.gcount() > 0) {
    text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
  }
  if (!stream.is_open() || stream.bad()) {
    why = errno ? lastError() : "it cannot be read";
    return Loaded::UNREADABLE;
  }
  const json root = json::parse(text, nullptr, false);
  if (!root.is_object() || !root.contains("version") || !root["version"].is_number_integer()) {
    why = "it is not a state file";
    return Loaded::DAMAGED;
  }
  if (root["version"] > VERSION) {
    why = "it comes from a newer version";
    return Loaded::NEWER;
  }
  const json properties = root.value("properties", json());
  const json options = root.value("options", json());
  if (!isTexts(properties) || !isTexts(options)) {
    why = "properties or options are not texts";
    return Loaded::DAMAGED;
  }
  state.properties = properties.get<std::map<std::string, std::string>>();
  state.options = options.get<std::map<std::string, std::string>>();
  return Loaded::FINE;
}

bool writeState(const std::filesystem::path& file, const KeptState& state, std::string& why) {
  const json root = {{"version", VERSION}, {"properties", state.properties}, {"options", state.options}};
  const std::string text = root.dump(2, ' ', false, json::error_handler_t::replace) + '\n';
  std::filesystem::path temporary = file;
  temporary += ".tmp";
  if (!writeDurably(temporary, text) || ::rename(temporary.c_str(), file.c_str()) != 0) {
    why = lastError();
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    return false;
  }
  syncDirectory(file.parent_path());
  return true;
}

}  // namespace host
