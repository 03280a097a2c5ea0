#include "importers/mail/email_profile_util.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "importers/mail/password_scrambler.h"

namespace {

enum class Key {
  kType,
  kName,
  kImapServer,
  kImapUser,
  kImapPassword,
  kTypeFirewall,
  kFirewallPort,
  kFirewallServer,
  kFirewallUser,
  kFirewallPassword,
  kFirewallData,
  kNameKestro,
  kTypeMsg,
  kDateStartComp,
  kDateEndComp,
  kDateStart,
  kDateEnd,
  kOptionLocation,
  kOptionEform,
  kOptionHeader,
  kOptionAttach,
  kOptionImportAttach,
  kMailRoot,
  kAll,
  kMailbox,
  kFolder,
  kImapVerifyCertificate,
};

struct KeyText {
  Key key;
  std::string_view text;  // the key and its "="
};

// The order in which the reader tests a line: the first key whose text the
// line contains takes it.  Not the order of writing.
constexpr KeyText kReadOrder[] = {
    {Key::kType, "TYPE="},
    {Key::kName, "NAME="},
    {Key::kImapServer, "IMAP_SERVER="},
    {Key::kImapUser, "IMAP_USER="},
    {Key::kImapPassword, "IMAP_PASSWORD="},
    {Key::kTypeFirewall, "TYPE_FIREWALL="},
    {Key::kFirewallPort, "FIREWALL_PORT="},
    {Key::kFirewallServer, "FIREWALL_SERVER="},
    {Key::kFirewallUser, "FIREWALL_USER="},
    {Key::kFirewallPassword, "FIREWALL_PASSWORD="},
    {Key::kFirewallData, "FIREWALL_DATA="},
    {Key::kNameKestro, "NAME_KESTRO="},
    {Key::kTypeMsg, "TYPE_MSG="},
    {Key::kDateStartComp, "DATE_START_COMP="},
    {Key::kDateEndComp, "DATE_END_COMP="},
    {Key::kDateStart, "DATE_START="},
    {Key::kDateEnd, "DATE_END="},
    {Key::kOptionLocation, "OPTION_LOCATION="},
    {Key::kOptionEform, "OPTION_EFORM="},
    {Key::kOptionHeader, "OPTION_HEADER="},
    {Key::kOptionAttach, "OPTION_ATTACH="},
    {Key::kOptionImportAttach, "OPTION_IMPORT_ATTACH="},
    {Key::kMailRoot, "MAILROOT="},
    {Key::kAll, "ALL="},
    {Key::kMailbox, "MAILBOX="},
    {Key::kFolder, "FOLDER="},
    {Key::kImapVerifyCertificate, "IMAP_VERIFY_CERTIFICATE="},
};

// The key's name without its "=".
std::string_view NameOf(Key key) {
  for (const KeyText& k : kReadOrder) {
    if (k.key == key) return k.text.substr(0, k.text.size() - 1);
  }
  return {};
}

constexpr std::string_view kAllSelected = "Yes";

// The profile reader's integers: blanks, a sign and the digits that follow,
// 0 without digits; beyond the range of 32 bits the value stops at its end.
int32_t ReadInteger(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  int64_t value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = std::min<int64_t>(value * 10 + (text[i] - '0'), int64_t{1} << 32);
  }
  if (negative) value = -value;
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

// "-" and digits only, at least one digit.
bool IsWholeInteger(std::string_view text) {
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view WithoutTrailingReturns(std::string_view line) {
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::string WithoutQuotes(std::string_view text) {
  std::string plain;
  for (const char c : text) {
    if (c != '"') plain += c;
  }
  return plain;
}

// A list entry as written: name, a comma, then the number (every
// application but Outlook) or a text (Outlook).  An entry whose end is not a
// number keeps all of it as its name.
ProfileListEntry SplitListEntry(std::string_view value, bool outlook) {
  ProfileListEntry entry;
  const size_t comma = value.rfind(',');
  if (comma == std::string_view::npos) {
    entry.name = value;
    return entry;
  }
  const std::string_view rest = value.substr(comma + 1);
  if (outlook) {
    entry.name = value.substr(0, comma);
    entry.text = rest;
  } else if (rest.empty() || IsWholeInteger(rest)) {
    entry.name = value.substr(0, comma);
    if (!rest.empty()) entry.number = ReadInteger(rest);
  } else {
    entry.name = value;
  }
  return entry;
}

// What a line of either reader sets.  `file` tells the two apart: the file
// reader unscrambles passwords and reads anything, the host's text is plain
// and must be well formed.  False when the value is refused.
class ValueSetter {
 public:
  ValueSetter(EmailProfile* profile, bool file) : profile_(*profile), file_(file) {}

  bool Set(Key key, std::string_view value) {
    EmailProfile& p = profile_;
    switch (key) {
      case Key::kType:
        return Integer(value, &p.type);
      case Key::kName:
        p.name = value;
        return true;
      case Key::kImapServer:
        p.imap_server = value;
        return true;
      case Key::kImapUser:
        p.imap_user = value;
        return true;
      case Key::kImapPassword:
        return Password(value, &p.imap_password);
      case Key::kTypeFirewall:
        return Integer(value, &p.firewall_type);
      case Key::kFirewallPort:
        return Integer(value, &p.firewall_port);
      case Key::kFirewallServer:
        p.firewall_server = value;
        return true;
      case Key::kFirewallUser:
        p.firewall_user = value;
        return true;
      case Key::kFirewallPassword:
        return Password(value, &p.firewall_password);
      case Key::kFirewallData:
        p.firewall_data = value;
        return true;
      case Key::kNameKestro:
        p.database = value;
        return true;
      case Key::kTypeMsg:
        return Integer(value, &p.selection);
      case Key::kDateStartComp:
        return Date(WithoutQuotes(value), &p.date_start_comp);
      case Key::kDateEndComp:
        return Date(WithoutQuotes(value), &p.date_end_comp);
      case Key::kDateStart:
        return Date(value, &p.date_start);
      case Key::kDateEnd:
        return Date(value, &p.date_end);
      case Key::kOptionLocation:
        return Integer(value, &p.option_location);
      case Key::kOptionEform:
        return Integer(value, &p.option_eform);
      case Key::kOptionHeader:
        return Integer(value, &p.option_header);
      case Key::kOptionAttach:
        return Integer(value, &p.option_attach);
      case Key::kOptionImportAttach:
        return Integer(value, &p.option_import_attach);
      case Key::kMailRoot:
        p.mail_root = value;
        return true;
      case Key::kAll:
        p.all = value == kAllSelected;
        return file_ || p.all || value.empty() || value == "No";
      case Key::kMailbox:
        raw_mailboxes_.emplace_back(value);
        return true;
      case Key::kFolder:
        raw_folders_.emplace_back(value);
        return true;
      case Key::kImapVerifyCertificate:
        p.imap_verify_certificate = value != "No";
        return file_ || value == "Yes" || value == "No";
    }
    return false;
  }

  // The list entries are split once the application is known: its line may
  // come after them.
  void Finish() {
    const bool outlook = profile_.type == mail_application::kOutlook;
    const auto split = [&](const std::vector<std::string>& raw) {
      std::vector<ProfileListEntry> entries;
      for (const std::string& value : raw) {
        if (file_) {
          entries.push_back(SplitListEntry(value, outlook));
        } else {
          entries.push_back(ProfileListEntry{value, 1, {}});
        }
      }
      return entries;
    };
    profile_.mailboxes = split(raw_mailboxes_);
    profile_.folders = split(raw_folders_);
  }

 private:
  bool Integer(std::string_view value, int32_t* target) const {
    if (!file_ && !IsWholeInteger(value)) return false;
    *target = ReadInteger(value);
    return true;
  }

  bool Password(std::string_view value, std::string* target) const {
    if (!file_) {
      *target = value;
      return true;
    }
    *target = UnscramblePassword(value).value_or(std::string());
    return true;
  }

  bool Date(std::string_view value, std::optional<ProfileDate>* target) const {
    *target = ParseProfileDate(value);
    return file_ || value.empty() || target->has_value();
  }

  EmailProfile& profile_;
  bool file_;
  std::vector<std::string> raw_mailboxes_;
  std::vector<std::string> raw_folders_;
};

template <typename EachLine>
void ForEachLine(std::string_view text, EachLine&& each) {
  while (!text.empty()) {
    const size_t end = text.find('\n');
    each(WithoutTrailingReturns(text.substr(0, end)));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

// A value as one line of the file: a line break inside it would start a new
// line, and returns at its end would be dropped by the reader.
std::string OnOneLine(std::string_view value) {
  std::string line(WithoutTrailingReturns(value));
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

class ProfileWriter {
 public:
  void Integer(Key key, int32_t value) { text_ += fmt::format("{}={}\n", NameOf(key), value); }
  void Text(Key key, std::string_view value) {
    text_ += fmt::format("{}={}\n", NameOf(key), OnOneLine(value));
  }
  void Date(Key key, const std::optional<ProfileDate>& date) {
    Text(key, date ? FormatProfileDate(*date) : std::string());
  }
  void QuotedDate(Key key, const std::optional<ProfileDate>& date) {
    Text(key, date ? fmt::format("\"{}\"", FormatProfileDate(*date)) : std::string());
  }
  void Entries(Key key, const std::vector<ProfileListEntry>& entries, bool outlook) {
    for (const ProfileListEntry& entry : entries) {
      Text(key, outlook ? fmt::format("{},{}", entry.name, entry.text)
                        : fmt::format("{},{}", entry.name, entry.number));
    }
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

}  // namespace

EmailProfile CEmailProfileUtil::Read(std::string_view text) {
  EmailProfile profile;
  ValueSetter setter(&profile, /*file=*/true);
  ForEachLine(text, [&](std::string_view line) {
    for (const KeyText& k : kReadOrder) {
      const size_t at = line.find(k.text);
      if (at == std::string_view::npos) continue;
      setter.Set(k.key, line.substr(at + k.text.size()));
      break;
    }
  });
  setter.Finish();
  return profile;
}

std::string CEmailProfileUtil::Write(const EmailProfile& p) {
  ProfileWriter out;
  out.Integer(Key::kType, p.type);
  out.Text(Key::kName, p.name);
  out.Text(Key::kNameKestro, p.database);
  if (p.type == mail_application::kImap) {
    out.Text(Key::kImapServer, p.imap_server);
    out.Text(Key::kImapUser, p.imap_user);
    out.Text(Key::kImapPassword, ScramblePassword(p.imap_password));
    out.Integer(Key::kTypeFirewall, p.firewall_type);
    out.Integer(Key::kFirewallPort, p.firewall_port);
    out.Text(Key::kFirewallServer, p.firewall_server);
    out.Text(Key::kFirewallUser, p.firewall_user);
    out.Text(Key::kFirewallPassword, ScramblePassword(p.firewall_password));
    out.Text(Key::kFirewallData, p.firewall_data);
    if (!p.imap_verify_certificate) out.Text(Key::kImapVerifyCertificate, "No");
  }
  out.Integer(Key::kTypeMsg, p.selection);
  if (p.selection == message_selection::kNewMessages) {
    out.Date(Key::kDateStart, p.date_start);
    out.Text(Key::kDateEnd, "");
  } else if (p.selection == message_selection::kBetweenDates) {
    out.Date(Key::kDateStart, p.date_start);
    out.Date(Key::kDateEnd, p.date_end);
    out.QuotedDate(Key::kDateStartComp, p.date_start_comp);
    out.QuotedDate(Key::kDateEndComp, p.date_end_comp);
  } else {
    out.Text(Key::kDateStart, "");
    out.Text(Key::kDateEnd, "");
  }
  out.Integer(Key::kOptionLocation, p.option_location);
  out.Integer(Key::kOptionEform, p.option_eform);
  out.Integer(Key::kOptionHeader, p.option_header);
  out.Integer(Key::kOptionAttach, p.option_attach);
  out.Integer(Key::kOptionImportAttach, p.option_import_attach);
  out.Text(Key::kMailRoot, p.mail_root);
  if (p.all) {
    out.Text(Key::kAll, kAllSelected);
  } else {
    const bool outlook = p.type == mail_application::kOutlook;
    out.Entries(Key::kFolder, p.folders, outlook);
    out.Entries(Key::kMailbox, p.mailboxes, outlook);
  }
  return out.Take();
}

bool CEmailProfileUtil::FromKeyValues(std::string_view text, EmailProfile* profile,
                                      std::string* bad_line) {
  EmailProfile read;
  ValueSetter setter(&read, /*file=*/false);
  bool good = true;
  ForEachLine(text, [&](std::string_view line) {
    if (!good || line.empty()) return;
    const size_t equals = line.find('=');
    const std::string_view name = line.substr(0, equals);
    const auto known = std::find_if(std::begin(kReadOrder), std::end(kReadOrder),
                                    [name](const KeyText& k) { return NameOf(k.key) == name; });
    if (equals == std::string_view::npos || known == std::end(kReadOrder) ||
        !setter.Set(known->key, line.substr(equals + 1))) {
      *bad_line = line;
      good = false;
    }
  });
  if (!good) return false;
  setter.Finish();
  *profile = std::move(read);
  return true;
}

std::string CEmailProfileUtil::ShownText(const EmailProfile& profile) {
  std::string shown;
  ForEachLine(Write(profile), [&](std::string_view line) {
    if (line.starts_with("IMAP_PASSWORD=") || line.starts_with("FIREWALL_PASSWORD=")) return;
    shown.append(line);
    shown += '\n';
  });
  return shown;
}
