// The filter list as kept in the configuration, so that later sessions read
// back the list an earlier one built.  Layout:
//
//   [SOFTWARE\Kestro\Windows\5.0\Kestro\Filters]
//   NumFilters=14
//   [SOFTWARE\Kestro\Windows\5.0\Kestro\Filters\Filter1]     one key per filter,
//   Name="Text (*.txt)"                                      numbered from 1 in
//   Description="Standard ASCII text files that ..."         list order
//   Extensions="txt"
//   FileType=1000
//   OptionMask=1151
//   Constant=5
//
// Texts are written between double quotes because the profile reader trims
// values and some names and descriptions end in blanks that must survive;
// a text read without the quotes (edited by hand) is taken as it stands.
#pragma once

#include <string_view>
#include <vector>

#include "core/config_store.h"
#include "core/import_filter.h"
#include "core/profile_file.h"

namespace ks::core {

inline constexpr std::string_view kFiltersKey = "SOFTWARE\\Kestro\\Windows\\5.0\\Kestro\\Filters";

// Replaces the list kept in `configuration` (in memory; the caller saves).
// Entries of a longer list kept earlier lose their values.  Throws
// ConfigError when a text holds a line break, which a profile line cannot.
void StoreFilterList(ProfileFile& configuration, const std::vector<ImportFilter>& filters);

// The list kept in the store; empty when none is kept.  Throws ConfigError,
// naming the file, the entry and the value, when the kept list is damaged.
std::vector<ImportFilter> ReadFilterList(const ConfigStore& store);

// A text as written between quotes, and back.
std::string QuotedProfileText(std::string_view text);
std::string UnquotedProfileText(std::string_view value);

}  // namespace ks::core
