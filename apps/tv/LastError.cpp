#include "LastError.h"

#include "host/HostLog.h"

namespace tv {

LastError::LastError() {
  host::setLogSink([this](const host::LogLine& line) {
    if (line.level != "ERR") return;
    const std::lock_guard lock(_mutex);
    _text = line.message;
  });
}

LastError::~LastError() {
  host::setLogSink({});
}

std::string LastError::text() const {
  const std::lock_guard lock(_mutex);
  return _text;
}

}  // namespace tv
