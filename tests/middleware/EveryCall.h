#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Support.h"
#include "durix/durix_player.h"
#include "durix/durix_recorder.h"

namespace durix::test {

TinyMultiplex twoServices();

/// A handler that does nothing.
void ignore(durix_event_data* event, void* user);

/// A pointer that is no handle of anything, and may not be looked behind.
template <typename T>
T* foreign() {
  return reinterpret_cast<T*>(std::uintptr_t{0xDEAD0});
}

/// Everything of one life that another may still hold: valid while `middleware` runs, stale afterwards.
struct Things {
  durix_handle* handle;
  durix_provider provider;
  durix_esg_object service, feed;
  durix_player* player = nullptr;
  durix_recorder* recorder = nullptr;

  explicit Things(const Middleware& middleware);  // which has found services
};

struct Call {
  std::string name;
  std::function<durix_return_code(Things&)> make;
};

/// Every call of the contract on the things it is given, with valid other arguments; the first ends the life.
std::vector<Call> everyCall();

}  // namespace durix::test
