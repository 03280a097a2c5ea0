// PasswordHash: crypto_pwhash_str at the "interactive" cost.  Protection is
// access control, not encryption (the text is stored in the clear), so the
// hash only has to keep the password itself secret, which people reuse; the
// interactive cost (about a tenth of a second and 64 MiB per check) makes
// guessing expensive while an open stays quick.
#include "engine/password_hash.h"

#include <sodium.h>

#include "engine/engine_error.h"

namespace ks::engine {
namespace {

void InitSodium() {
  // sodium_init is thread-safe and returns 1 once it has already run.
  if (sodium_init() < 0) throw EngineError(KSENG_ERR_INTERNAL, "libsodium failed to start");
}

}  // namespace

std::string HashPassword(std::string_view password) {
  InitSodium();
  char hash[crypto_pwhash_STRBYTES];
  if (crypto_pwhash_str(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                        crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0) {
    throw EngineError(KSENG_ERR_MEMORY, "password hashing ran out of memory");
  }
  return std::string(hash);
}

bool VerifyPassword(const std::string& hash, std::string_view password) {
  InitSodium();
  return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

}  // namespace ks::engine
