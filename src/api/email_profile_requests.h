// What a host asks of the user's e-mail profiles without the e-mail wizard
// and the profile list: save a profile, list, show and describe them, and
// delete one.  The profiles live in the folder "profiles" of the per-user
// configuration folder (beside the configuration file, see
// core/config_store.h).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace email_profile_requests {

std::filesystem::path ProfileFolder();

// The KSIMP_SaveEmailProfile contract: 0 when saved, else the message
// number that says why not.  A text that does not read adds a log line for
// handle 0 naming the line; a file that cannot be written, one naming the
// file and the cause.
uint32_t Save(const std::string& key_values, bool replace);

// The name of profile `index` in the user's order.
std::optional<std::string> NameAt(uint32_t index);

// The profile's "KEY=value" lines without its passwords, and the words that
// describe what it selects; nothing when there is no such profile or its
// file cannot be read.
std::optional<std::string> ShownText(const std::string& name);
std::optional<std::string> Description(const std::string& name);

// Whether the profile was there and is gone now; a failure adds a log line
// for handle 0.
bool Delete(const std::string& name);

}  // namespace email_profile_requests
