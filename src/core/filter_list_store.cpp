#include "core/filter_list_store.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <string>

namespace ks::core {
namespace {

constexpr std::string_view kNumFilters = "NumFilters";
constexpr std::string_view kName = "Name";
constexpr std::string_view kDescription = "Description";
constexpr std::string_view kExtensions = "Extensions";
constexpr std::string_view kFileType = "FileType";
constexpr std::string_view kOptionMask = "OptionMask";
constexpr std::string_view kConstant = "Constant";

std::string FilterKey(size_t number) {
  return fmt::format("{}\\Filter{}", kFiltersKey, number);
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

// Reads one filter's values, naming the file and the entry in any failure.
class KeptFilterReader {
 public:
  KeptFilterReader(const ConfigStore& store, std::string key)
      : store_(store), key_(std::move(key)) {}

  std::string Text(std::string_view name) const { return UnquotedProfileText(Value(name)); }

  template <typename Number>
  Number Numeric(std::string_view name) const {
    const std::string value = Value(name);
    const auto number = ParseNumber<Number>(value);
    if (!number) Fail(fmt::format("{} is \"{}\", not a number", name, value));
    return *number;
  }

 private:
  std::string Value(std::string_view name) const {
    auto value = store_.values().Get(key_, name);
    if (!value) Fail(fmt::format("{} is missing", name));
    return *value;
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw ConfigError(
        fmt::format("the filter list kept in {} is damaged: [{}] {}; mend or remove it",
                    store_.path().string(), key_, what));
  }

  const ConfigStore& store_;
  std::string key_;
};

}  // namespace

std::string QuotedProfileText(std::string_view text) {
  return fmt::format("\"{}\"", text);
}

std::string UnquotedProfileText(std::string_view value) {
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

void StoreFilterList(ProfileFile& configuration, const std::vector<ImportFilter>& filters) {
  for (const ImportFilter& filter : filters) {
    for (const std::string* text : {&filter.name, &filter.description, &filter.extensions}) {
      if (text->find_first_of("\r\n") != std::string::npos) {
        throw ConfigError(fmt::format("the filter text \"{}\" holds a line break", *text));
      }
    }
  }
  const auto kept_before =
      ParseNumber<size_t>(configuration.GetOr(kFiltersKey, kNumFilters, "0")).value_or(0);
  for (size_t number = filters.size() + 1; number <= kept_before; ++number) {
    for (const std::string& key : configuration.Keys(FilterKey(number))) {
      configuration.Remove(FilterKey(number), key);
    }
  }
  configuration.Set(kFiltersKey, kNumFilters, std::to_string(filters.size()));
  for (size_t i = 0; i < filters.size(); ++i) {
    const ImportFilter& filter = filters[i];
    const std::string key = FilterKey(i + 1);
    configuration.Set(key, kName, QuotedProfileText(filter.name));
    configuration.Set(key, kDescription, QuotedProfileText(filter.description));
    configuration.Set(key, kExtensions, QuotedProfileText(filter.extensions));
    configuration.Set(key, kFileType, std::to_string(filter.file_type));
    configuration.Set(key, kOptionMask, std::to_string(filter.option_mask));
    configuration.Set(key, kConstant, std::to_string(filter.stored_constant));
  }
}

std::vector<ImportFilter> ReadFilterList(const ConfigStore& store) {
  std::vector<ImportFilter> filters;
  if (!store.values().Get(kFiltersKey, kNumFilters)) return filters;
  const auto count =
      KeptFilterReader(store, std::string(kFiltersKey)).Numeric<uint32_t>(kNumFilters);
  for (size_t number = 1; number <= count; ++number) {
    const KeptFilterReader kept(store, FilterKey(number));
    ImportFilter filter;
    filter.name = kept.Text(kName);
    filter.description = kept.Text(kDescription);
    filter.extensions = kept.Text(kExtensions);
    filter.file_type = kept.Numeric<int32_t>(kFileType);
    filter.option_mask = kept.Numeric<uint32_t>(kOptionMask);
    filter.stored_constant = kept.Numeric<int32_t>(kConstant);
    filters.push_back(std::move(filter));
  }
  return filters;
}

}  // namespace ks::core
