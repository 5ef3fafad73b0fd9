// The side door: recordings and what stands in the way of timers.

#include <algorithm>
#include <filesystem>
#include <string>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/durix_tools.h"
#include "middleware/portability/Files.h"
#include "middleware/recordings/Conflicts.h"
#include "middleware/recordings/RecordingReader.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;

extern "C" {

durix_return_code durix_tools_recording_look(uint32_t id, durix_tools_recording_handler handler, void* user) {
  return guarded([&] {
    const auto instance = Instance::current();
    auto& recordings = instance->recordings();
    const auto recording = recordings.recording(id);
    if (!recording || handler == nullptr) throw Failure(Code::UnknownObject);
    const std::string file = durix::resolved(recording->file);
    durix_tools_recording look{};
    look.file = file.c_str();
    look.errors = recording->errors;
    look.growing = recordings.isWritten(id) ? 1 : 0;
    if (std::filesystem::exists(file)) {
      const auto reader = durix::RecordingReader::open(recordings, id);
      look.present = 1;
      look.bytes = reader->size();
      look.seconds = reader->duration();
    }
    handler(&look, user);
  });
}

durix_return_code durix_tools_conflicts(uint32_t service, int64_t start, int64_t end, uint32_t except_timer,
                                        uint32_t* receivers, uint32_t* timers, uint32_t size, uint32_t* count) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(receivers, count);
    const auto catalogue = instance->store().catalogue();
    const auto* const known = catalogue->service(service);
    if (known == nullptr) throw Failure(Code::UnknownObject);
    const auto others = durix::demandsOf(instance->recordings().timers(), *catalogue, known->receiver, except_timer);
    *receivers = std::max(instance->tuners().count(), 1U);
    const auto inTheWay = durix::conflictsOf({0, known->multiplex, start, end}, others, *receivers);
    *count = static_cast<std::uint32_t>(inTheWay.size());
    if (timers != nullptr) std::copy_n(inTheWay.begin(), std::min(*count, size), timers);
  });
}
}
