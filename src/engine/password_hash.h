// PasswordHash: the salted, slow hash kept for a protected database in place
// of its password (libsodium's Argon2id string format, which carries its own
// salt and cost parameters, so files stay verifiable if the cost changes).
#pragma once

#include <string>
#include <string_view>

namespace ks::engine {

// Hashes `password` with a fresh random salt.  Throws EngineError.
std::string HashPassword(std::string_view password);

// True when `password` matches `hash` (a string from HashPassword).
bool VerifyPassword(const std::string& hash, std::string_view password);

}  // namespace ks::engine
