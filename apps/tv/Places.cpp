#include "Places.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>

#include "Failure.h"

namespace fs = std::filesystem;

namespace tv {
namespace {

std::string userDataDirectory() {
  if (const char* base = std::getenv("XDG_DATA_HOME"); base != nullptr && *base == '/')
    return std::string(base) + "/tv";
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return std::string(home) + "/.local/share/tv";
  }
  return {};
}

std::string firstThere(const fs::path& from, std::initializer_list<const char*> candidates) {
  std::error_code error;
  for (const char* candidate : candidates) {
    const fs::path path = (from / candidate).lexically_normal();
    if (fs::exists(path, error)) return path.string();
  }
  return {};
}

std::string absolutePath(const std::string& path) {
  std::error_code error;
  fs::path absolute = fs::absolute(path, error).lexically_normal();
  if (error) throw Failure("cannot find \"" + path + "\": " + error.message());
  if (!absolute.has_filename()) absolute = absolute.parent_path();  // "DIR/" is DIR
  return absolute.string();
}

}  // namespace

Places defaultPlaces() {
  std::error_code error;
  const fs::path programs = fs::read_symlink("/proc/self/exe", error).parent_path();
  Places places;
  places.data = userDataDirectory();
  places.plugin = firstThere(programs, {"../lib/libbroadcast_dvbt.so", TV_INSTALLED_PLUGIN});
  places.library = firstThere(programs, {"../share/tv/locations", "../share/locations"});
  if (!places.library.empty()) places.library = fs::path(places.library).parent_path().string();
  return places;
}

std::string prepareDataDirectory(const std::string& directory) {
  if (directory.empty()) throw Failure("there is no data directory: give one with --data DIR or TV_DATA");
  std::string path = absolutePath(directory);
  const fs::path parent = fs::path(path).parent_path();
  std::error_code error;
  fs::create_directories(parent, error);
  // Made for the owner alone: it holds the socket that takes commands.
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
    throw Failure("cannot make the data directory \"" + path + "\": " + std::strerror(errno));
  }
  if (!fs::is_directory(path, error)) throw Failure("the data directory \"" + path + "\" is not a directory");
  if (access(path.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw Failure("cannot use the data directory \"" + path + "\": " + std::strerror(errno));
  }
  return path;
}

std::string requireLibraryDirectory(const std::string& directory) {
  if (directory.empty()) {
    throw Failure("cannot find the library directory with locations/: give one with --library DIR or TV_LIBRARY");
  }
  std::string path = absolutePath(directory);
  std::error_code error;
  if (!fs::is_directory(path, error)) {
    throw Failure("the library directory \"" + path + "\" is not there: give one with --library DIR or TV_LIBRARY");
  }
  return path;
}

}  // namespace tv
