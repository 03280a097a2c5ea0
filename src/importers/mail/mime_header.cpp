#include "importers/mail/mime_header.h"

#include <algorithm>
#include <array>
#include <vector>

#include "importers/mail/mime_encoded_words.h"
#include "importers/mail/mime_quoted_printable.h"

namespace ks::mail {

namespace {

// More parameters than any real header has; the rest are not read.
constexpr size_t kMostParameters = 64;
// RFC 2231 sections beyond this number are not read.
constexpr int kMostSections = 999;

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string LowerCopy(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = Lower(c);
  return lower;
}

bool EqualsLower(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (Lower(text[i]) != lower[i]) return false;
  }
  return true;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

// The line starting at `at` without its line end, and where the next one
// starts.
std::string_view LineAt(std::string_view text, size_t at, size_t* next) {
  const size_t newline = text.find('\n', at);
  size_t end = newline == std::string_view::npos ? text.size() : newline;
  *next = newline == std::string_view::npos ? text.size() : newline + 1;
  if (end > at && text[end - 1] == '\r') --end;
  return text.substr(at, end - at);
}

// Where the colon ending the field name of `line` is; npos when the line
// does not begin a header field.  A name is printable ASCII without blanks.
size_t FieldNameEnd(std::string_view line) {
  for (size_t i = 0; i < line.size(); ++i) {
    const auto c = static_cast<unsigned char>(line[i]);
    if (c == ':') return i == 0 ? std::string_view::npos : i;
    if (c < 0x21 || c > 0x7E) return std::string_view::npos;
  }
  return std::string_view::npos;
}

// Skips blanks and (nested) comments in parentheses.
void SkipSpace(std::string_view text, size_t* at) {
  int depth = 0;
  while (*at < text.size()) {
    const char c = text[*at];
    if (c == '(') {
      ++depth;
    } else if (c == ')' && depth > 0) {
      --depth;
    } else if (depth == 0 && !IsBlank(c)) {
      return;
    } else if (c == '\\' && depth > 0 && *at + 1 < text.size()) {
      ++*at;  // the character it escapes; a backslash that ends the text escapes nothing
    }
    ++*at;
  }
}

// A token: up to a blank, a comment or one of `stops`.
std::string_view Token(std::string_view text, size_t* at, std::string_view stops) {
  const size_t start = *at;
  while (*at < text.size() && !IsBlank(text[*at]) && text[*at] != '(' &&
         stops.find(text[*at]) == std::string_view::npos) {
    ++*at;
  }
  return text.substr(start, *at - start);
}

struct Parameter {
  std::string attribute;  // lower case
  std::string value;      // unquoted
};

// The "attribute=value" list after the first ";" from `at`.
std::vector<Parameter> ParseParameters(std::string_view text, size_t at) {
  std::vector<Parameter> parameters;
  while (parameters.size() < kMostParameters) {
    at = text.find(';', at);
    if (at == std::string_view::npos) break;
    ++at;
    SkipSpace(text, &at);
    const size_t equals = text.find_first_of("=;", at);
    if (equals == std::string_view::npos) break;
    if (text[equals] == ';') {
      at = equals;
      continue;
    }
    Parameter parameter;
    parameter.attribute = LowerCopy(Trim(text.substr(at, equals - at)));
    at = equals + 1;
    SkipSpace(text, &at);
    if (at < text.size() && text[at] == '"') {
      for (++at; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size()) ++at;
        parameter.value += text[at];
      }
      if (at < text.size()) ++at;  // the closing quote
    } else {
      // Up to the next ";", blanks inside kept (unquoted file names have
      // them), a comment after the value left out.
      const size_t end = std::min(text.find(';', at), text.size());
      const std::string_view value = text.substr(at, end - at);
      parameter.value = std::string(Trim(value.substr(0, value.find('('))));
      at = end;
    }
    if (!parameter.attribute.empty()) parameters.push_back(std::move(parameter));
  }
  return parameters;
}

std::string PercentDecoded(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
        HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// The value of parameter `want`.  An RFC 2231 value (extended, or in
// sections) wins over a plain one, which older programs add beside it.
// `text` says whether the value is for people (decoded to UTF-8) or a
// token for the parser (kept as written).
std::string ParameterValue(const std::vector<Parameter>& parameters, std::string_view want,
                           bool text, ks::core::CharsetConverter& converter,
                           std::string_view code_page) {
  const Parameter* plain = nullptr;
  struct Section {
    int number;
    bool extended;
    const std::string* value;
  };
  std::vector<Section> sections;
  for (const Parameter& parameter : parameters) {
    const std::string_view attribute = parameter.attribute;
    if (attribute == want) {
      if (plain == nullptr) plain = &parameter;
      continue;
    }
    if (!attribute.starts_with(want) || attribute.size() <= want.size() ||
        attribute[want.size()] != '*') {
      continue;
    }
    std::string_view rest = attribute.substr(want.size() + 1);
    if (rest.empty()) {
      sections.push_back({0, true, &parameter.value});
      continue;
    }
    const bool extended = rest.back() == '*';
    if (extended) rest.remove_suffix(1);
    if (rest.empty() || rest.size() > 3 ||
        !std::all_of(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; })) {
      continue;
    }
    int number = 0;
    for (const char c : rest) number = number * 10 + (c - '0');
    if (number <= kMostSections) sections.push_back({number, extended, &parameter.value});
  }
  if (sections.empty()) {
    if (plain == nullptr) return {};
    return text ? DecodeHeaderValue(plain->value, converter, code_page) : plain->value;
  }
  std::stable_sort(sections.begin(), sections.end(),
                   [](const Section& a, const Section& b) { return a.number < b.number; });
  std::string charset;
  std::string bytes;
  for (size_t i = 0; i < sections.size(); ++i) {
    if (i > 0 && sections[i].number == sections[i - 1].number) continue;
    std::string_view value = *sections[i].value;
    if (sections[i].extended) {
      if (i == 0) {
        // charset'language'text
        const size_t first = value.find('\'');
        const size_t second =
            first == std::string_view::npos ? std::string_view::npos : value.find('\'', first + 1);
        if (second != std::string_view::npos) {
          charset = std::string(value.substr(0, first));
          value.remove_prefix(second + 1);
        }
      }
      bytes += PercentDecoded(value);
    } else {
      bytes += value;
    }
  }
  if (!text) return bytes;
  std::string out;
  converter.AppendText(charset, bytes, out, code_page);
  return out;
}

enum Field { kMimeVersion, kContentType, kTransferEncoding, kDisposition, kFieldCount };

constexpr std::array<std::string_view, kFieldCount> kFieldNames = {
    "mime-version", "content-type", "content-transfer-encoding", "content-disposition"};

void ReadContentType(std::string_view value, std::string_view default_type, MimeHeader* header,
                     std::vector<Parameter>* parameters) {
  const size_t slash = default_type.find('/');
  header->type = default_type.substr(0, slash);
  header->subtype = default_type.substr(slash + 1);
  size_t at = 0;
  SkipSpace(value, &at);
  const std::string_view type = Token(value, &at, "/;");
  SkipSpace(value, &at);
  if (at < value.size() && value[at] == '/') {
    ++at;
    SkipSpace(value, &at);
    const std::string_view subtype = Token(value, &at, ";");
    if (!type.empty() && !subtype.empty()) {
      header->type = LowerCopy(type);
      header->subtype = LowerCopy(subtype);
    }
  }
  *parameters = ParseParameters(value, at);
}

}  // namespace

MimeHeader ParseMimeHeader(std::string_view header, ks::core::CharsetConverter& converter,
                           std::string_view code_page, std::string_view default_type) {
  // The four fields' values, folded lines joined.
  std::array<std::string, kFieldCount> values;
  std::array<bool, kFieldCount> seen{};
  int current = -1;  // the field whose continuation lines are being read
  for (size_t at = 0, next = 0; at < header.size(); at = next) {
    const std::string_view line = LineAt(header, at, &next);
    if (!line.empty() && (line.front() == ' ' || line.front() == '\t')) {
      if (current >= 0) values[static_cast<size_t>(current)] += line;
      continue;
    }
    current = -1;
    // The four names begin with "C" or "M": most lines are passed over at
    // their first character.
    if (line.empty() || (Lower(line.front()) != 'c' && Lower(line.front()) != 'm')) continue;
    const size_t colon = FieldNameEnd(line);
    if (colon == std::string_view::npos) continue;
    const std::string_view name = line.substr(0, colon);
    for (size_t field = 0; field < kFieldCount; ++field) {
      if (!seen[field] && EqualsLower(name, kFieldNames[field])) {
        seen[field] = true;
        values[field] = line.substr(colon + 1);
        current = static_cast<int>(field);
      }
    }
  }

  MimeHeader result;
  result.has_mime_version = seen[kMimeVersion];
  result.has_content_type = seen[kContentType];
  std::vector<Parameter> parameters;
  ReadContentType(values[kContentType], default_type, &result, &parameters);
  result.boundary = ParameterValue(parameters, "boundary", false, converter, code_page);
  result.has_boundary =
      std::any_of(parameters.begin(), parameters.end(),
                  [](const Parameter& parameter) { return parameter.attribute.starts_with("boundary"); });
  result.charset = ParameterValue(parameters, "charset", false, converter, code_page);
  result.name = ParameterValue(parameters, "name", true, converter, code_page);

  size_t at = 0;
  const std::string_view encoding = values[kTransferEncoding];
  SkipSpace(encoding, &at);
  result.transfer_encoding = LowerCopy(Token(encoding, &at, ";"));

  const std::string_view disposition = values[kDisposition];
  at = 0;
  SkipSpace(disposition, &at);
  result.disposition = LowerCopy(Token(disposition, &at, ";"));
  result.filename = ParameterValue(ParseParameters(disposition, at), "filename", true, converter,
                                   code_page);
  return result;
}

std::string HeaderFieldValue(std::string_view header, std::string_view name) {
  std::string value;
  bool found = false;
  for (size_t at = 0, next = 0; at < header.size(); at = next) {
    const std::string_view line = LineAt(header, at, &next);
    const bool continuation = !line.empty() && (line.front() == ' ' || line.front() == '\t');
    if (found) {
      if (!continuation) break;
      value += line;
      continue;
    }
    const size_t colon = continuation ? std::string_view::npos : FieldNameEnd(line);
    if (colon != std::string_view::npos && EqualsLower(line.substr(0, colon), name)) {
      found = true;
      value = line.substr(colon + 1);
    }
  }
  return std::string(Trim(value));
}

PartText SplitPart(std::string_view part) {
  for (size_t at = 0, next = 0; at < part.size(); at = next) {
    const std::string_view line = LineAt(part, at, &next);
    if (line.empty()) return {part.substr(0, at), part.substr(next)};
    const bool continuation = line.front() == ' ' || line.front() == '\t';
    if (!continuation && FieldNameEnd(line) == std::string_view::npos) {
      return {part.substr(0, at), part.substr(at)};
    }
  }
  return {part, part.substr(part.size())};
}

}  // namespace ks::mail
