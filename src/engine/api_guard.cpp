// ApiGuard: the thread-local last error.
#include "engine/api_guard.h"

namespace ks::engine {
namespace {

struct LastError {
  uint32_t code = KSENG_OK;
  std::string text;
};

LastError& ThreadLastError() noexcept {
  thread_local LastError last;
  return last;
}

}  // namespace

uint32_t LastErrorCode() noexcept {
  return ThreadLastError().code;
}

const std::string& LastErrorText() noexcept {
  return ThreadLastError().text;
}

void SetLastError(uint32_t code, const char* text) noexcept {
  LastError& last = ThreadLastError();
  last.code = code;
  try {
    last.text = text;
  } catch (...) {
    last.text.clear();  // the code is what matters; the text is a courtesy
  }
}

}  // namespace ks::engine
