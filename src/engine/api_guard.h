// ApiGuard: the one place where C++ exceptions stop.  Every C function runs
// its body through Guarded(), which turns any exception into the function's
// failure value and the calling thread's last error (EngLastError).
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <string>

#include "engine/engine_error.h"

namespace ks::engine {

// The calling thread's last error code, and a description of it for
// diagnostics (tests print it; the C interface has only the code).
uint32_t LastErrorCode() noexcept;
const std::string& LastErrorText() noexcept;
void SetLastError(uint32_t code, const char* text) noexcept;

template <typename Result, typename Body>
Result Guarded(Result failure, Body&& body) noexcept {
  try {
    SetLastError(KSENG_OK, "");
    return body();
  } catch (const EngineError& error) {
    SetLastError(error.code(), error.what());
  } catch (const std::bad_alloc&) {
    SetLastError(KSENG_ERR_MEMORY, "out of memory");
  } catch (const std::exception& error) {
    SetLastError(KSENG_ERR_INTERNAL, error.what());
  } catch (...) {
    SetLastError(KSENG_ERR_INTERNAL, "unknown exception");
  }
  return failure;
}

}  // namespace ks::engine
