// WriteAll: writes a whole text to a file descriptor, carrying on after
// short writes and interrupted calls.
#pragma once

#include <string_view>

namespace ks::core {

// False when a write fails (errno says why); what was written stays.
bool WriteAll(int fd, std::string_view text);

}  // namespace ks::core
