// The portability calls, answered by the scripted middleware that stands.
#include <cstdlib>
#include <ctime>

#include "tests/support/ScriptedAnswers.h"

using namespace scripted;

extern "C" {

void* ostiv_mem_calloc(size_t count, size_t size) {
  if (ScriptedMiddleware::current() != nullptr) {
    if (!middleware().hasMemory) return nullptr;
    middleware().allocated();
  }
  return std::calloc(count, size);
}

void ostiv_mem_free(void* memory) {
  if (memory != nullptr && ScriptedMiddleware::current() != nullptr) middleware().released();
  std::free(memory);
}

uint32_t ostiv_file_open(ostiv_file* file, const char* path, const char* mode) {
  if (const auto code = note("ostiv_file_open", text(path) + "," + mode); code != 0) return code;
  const auto lock = world();
  const auto found = middleware().files.find(path);
  if (*mode == 'r' && found == middleware().files.end()) return 1;
  std::string& content = middleware().files[path];
  if (*mode == 'w') content.clear();
  file->stream = &content;
  file->size = static_cast<std::uint32_t>(content.size()) + middleware().lostBytes;
  middleware().readSoFar = 0;
  ++middleware().openFiles;
  return 0;
}

uint32_t ostiv_file_read(ostiv_file* file, void* buffer, uint32_t size, uint32_t* bytes_read) {
  middleware().count("ostiv_file_read");
  const auto lock = world();
  const auto& content = *static_cast<const std::string*>(file->stream);
  *bytes_read = static_cast<std::uint32_t>(content.copy(static_cast<char*>(buffer), size, middleware().readSoFar));
  middleware().readSoFar += *bytes_read;
  return 0;
}

uint32_t ostiv_file_write(ostiv_file* file, const void* data, uint32_t length) {
  const auto lock = world();
  static_cast<std::string*>(file->stream)->append(static_cast<const char*>(data), length);
  return note("ostiv_file_write", std::string(static_cast<const char*>(data), length - 1));
}

uint32_t ostiv_file_close(ostiv_file* /*file*/) {
  --middleware().openFiles;
  return 0;
}
uint32_t ostiv_file_directory_read(const char* /*directory*/, void** iterator, ostiv_directory_entry* entry) {
  const auto lock = world();
  const auto& listing = middleware().listing;
  const auto next = reinterpret_cast<std::uintptr_t>(*iterator);
  if (next >= listing.size()) return 1;
  *entry = listing[next];
  *iterator = reinterpret_cast<void*>(next + 1);
  return 0;
}
uint32_t ostiv_file_path_join(char* out, uint32_t size, const char* directory, const char* file) {
  return std::snprintf(out, size, "%s%s", directory, file) < static_cast<int>(size) ? 0 : 1;
}
uint32_t ostiv_file_legalize_filename(char* out, uint32_t size, const char* path, uint32_t /*flag*/) {
  return std::snprintf(out, size, "%s", path) < static_cast<int>(size) ? 0 : 1;
}

uint32_t ostiv_time_get_system_time(int64_t* seconds) {
  *seconds = ScriptedMiddleware::current() == nullptr ? 0 : middleware().time.load();
  return 0;
}
void ostiv_time_sleep(uint32_t duration) {
  note("ostiv_time_sleep", number(duration));
}

uint32_t ostiv_localtime_s(int64_t seconds, ostiv_tm* local) {
  const std::time_t time = seconds;
  std::tm fields{};
  if (seconds < 0 || localtime_r(&time, &fields) == nullptr) return 1;
  *local = {fields.tm_sec,  fields.tm_min,  fields.tm_hour, fields.tm_mday, fields.tm_mon,
            fields.tm_year, fields.tm_wday, fields.tm_yday, fields.tm_isdst};
  return 0;
}

int64_t ostiv_mktime(ostiv_tm* local) {
  std::tm fields{};
  fields.tm_mday = local->day;
  fields.tm_mon = local->month;
  fields.tm_year = local->year;
  fields.tm_hour = local->hour;
  fields.tm_isdst = local->daylight;
  return std::mktime(&fields);
}

char* ostiv_utf8_to_lower(const char* value) {
  std::string lowered = value;
  for (char& letter : lowered) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return copyOf(lowered);
}
void ostiv_log_debug(const char* value) {
  note("ostiv_log_debug", value);
}

}  // extern "C"
