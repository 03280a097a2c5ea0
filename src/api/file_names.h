// Splitting a queued file name into the names it holds: hosts queue several
// files at once by joining their names with "|".
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names of `joined`, in order.  Leading blanks (spaces and tabs) of each
// name after the first are dropped, so "a| b" gives "a" and "b".
std::vector<std::string> SplitFileNames(std::string_view joined);
