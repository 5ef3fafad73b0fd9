#pragma once

#include <exception>
#include <new>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"

namespace durix {

inline durix_return_code codeOf(Code code) {
  return static_cast<durix_return_code>(code);
}

/// The border of the contract: runs a call and turns what it throws into a return code. The call returns nothing, which
/// is success, or a code.
template <typename Call>
durix_return_code guarded(Call call) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
      return DURIX_OK;
    } else {
      return call();
    }
  } catch (const Failure& failure) {
    if (*failure.what() != '\0') logLine(failure.what());
    return codeOf(failure.code());
  } catch (const std::bad_alloc&) {
    return codeOf(Code::OutOfMemory);
  } catch (const std::exception& error) {
    logLine(error.what());
    return codeOf(Code::Failed);
  } catch (...) {
    return codeOf(Code::Failed);
  }
}

/// Throws Failure InvalidArgument unless all pointers are set.
template <typename... Pointers>
void need(const Pointers*... pointers) {
  const bool isMissing = (... || (pointers == nullptr));
  if (isMissing) throw Failure(Code::InvalidArgument);
}

}  // namespace durix
