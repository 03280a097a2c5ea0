// Real mailboxes written by other software, cut by MailboxReader and
// composed by CEudoraMessage, against what Python's mailbox and email
// modules make of the same files: the number of messages, each subject and
// each message text.
//
// The Python side picks the text part by the same rule (first text/plain
// that is not an attachment, else text/html; outside attached messages
// first), decodes it with the email package, reads the character sets the
// way the converter reads them (ISO-8859-1 as Windows-1252, GB2312 as GBK,
// ...) and undeclared text by the library's rule, and takes the first line
// of the Subject only, as the composer does.  What remains are real
// differences between the two readers; each one expected is listed below
// with its reason.  Skipped when python3 or the corpus is absent.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "api/write_file.h"
#include "core/charset_converter.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mailbox_reader.h"
#include "modules/tool_output.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kPython = "/usr/bin/python3";

// Prints one line per message: "M", the subject and the text, both as hex
// of their UTF-8; or one line "E" and the error when Python cannot read the
// mailbox at all.
constexpr const char* kScript = R"PY(
import sys, mailbox, email
from email import policy

ALIASES = {'iso-8859-1': 'cp1252', 'iso8859-1': 'cp1252', 'iso_8859-1': 'cp1252',
           'latin1': 'cp1252', 'l1': 'cp1252', 'cp819': 'cp1252',
           'ks_c_5601-1987': 'cp949', 'ks_c_5601': 'cp949', 'ksc5601': 'cp949',
           'gb2312': 'gbk', 'x-gbk': 'gbk', 'euc-cn': 'gbk', 'big5': 'cp950',
           'x-sjis': 'shift_jis', 'x-mac-roman': 'mac_roman', 'unicode-1-1-utf-7': 'utf-7',
           'iso-8859-8-i': 'iso-8859-8', 'windows-874': 'cp874'}
ASCII = {'us-ascii', 'ascii', 'ansi_x3.4-1968', 'us'}

def cp1252(b):
    # Windows-1252, with the five bytes it leaves undefined as Latin-1.
    out = []
    for ch in b:
        try:
            out.append(bytes([ch]).decode('cp1252'))
        except UnicodeDecodeError:
            out.append(chr(ch))
    return ''.join(out)

def undeclared(b):
    try:
        return b.decode('utf-8')
    except UnicodeDecodeError:
        pass
    out = []
    for line in b.splitlines(keepends=True):
        try:
            out.append(line.decode('utf-8'))
        except UnicodeDecodeError:
            out.append(cp1252(line))
    return ''.join(out)

def declared(charset, b):
    if not charset:
        return undeclared(b)
    name = charset.strip().strip('"\'').lower()
    if name in ASCII:
        return undeclared(b)
    name = ALIASES.get(name, name)
    if name in ('cp1252', 'windows-1252'):
        return cp1252(b)
    try:
        return b.decode(name, errors='replace')
    except LookupError:
        return undeclared(b)

def walk(part, encapsulated, leaves):
    if part.is_multipart():
        if part.get_content_type() == 'message/rfc822':
            leaves.append((part, encapsulated, 'message'))
            for sub in part.get_payload():
                walk(sub, True, leaves)
            return
        for sub in part.get_payload():
            walk(sub, encapsulated, leaves)
        return
    # A multipart whose boundary was never found holds its body as text.
    kind = 'as-is' if part.get_content_maintype() == 'multipart' else 'leaf'
    leaves.append((part, encapsulated, kind))

def is_attachment(part):
    return (part.get_content_disposition() == 'attachment' or bool(part.get_filename())
            or bool(part.get_param('name')))

def raw_bytes(part):
    payload = part._payload
    return payload.encode('ascii', 'surrogateescape') if isinstance(payload, str) else b''

def text_of(msg):
    leaves = []
    walk(msg, False, leaves)
    plain = 'MIME-Version' not in msg and 'Content-Type' not in msg
    candidates = []
    for encapsulated in (False, True):
        for subtype in ('plain', 'html'):
            for part, inside, kind in leaves:
                ctype = 'text/plain' if kind == 'as-is' else part.get_content_type()
                if inside == encapsulated and ctype == 'text/' + subtype and not is_attachment(part):
                    candidates.append((part, kind))
    # Parts of nothing but blanks only when there is nothing else.
    filled = [c for c in candidates if raw_bytes(c[0]).strip(b' \t\r\n')]
    if not filled and not candidates:
        return ''
    part, kind = (filled or candidates)[0]
    if plain:
        return undeclared(raw_bytes(part))
    body = raw_bytes(part) if kind == 'as-is' else part.get_payload(decode=True) or b''
    return declared(part.get_content_charset(), body)

def subject_of(msg):
    # The value as written (8-bit bytes kept as surrogates), first line only.
    raw = next((value for name, value in msg._headers if name.lower() == 'subject'), None)
    if raw is None:
        return ''
    first = raw.encode('ascii', 'surrogateescape').split(b'\n')[0].split(b'\r')[0]
    value = undeclared(first).strip()
    return str(policy.default.header_factory('subject', value))

out = sys.stdout.buffer
try:
    if sys.argv[2] == 'mbox':
        messages = list(mailbox.mbox(sys.argv[1], create=False))
    else:
        with open(sys.argv[1], 'rb') as f:
            messages = [email.message_from_binary_file(f)]
except Exception as e:
    out.write(b'E\t' + type(e).__name__.encode() + b'\n')
    sys.exit(0)
for msg in messages:
    subject = subject_of(msg).encode('utf-8', 'surrogatepass').hex()
    text = text_of(msg).encode('utf-8', 'surrogatepass').hex()
    out.write(('M\t%s\t%s\n' % (subject, text)).encode())
)PY";

struct Composed {
  std::string subject;
  std::string text;
};

struct Mailbox {
  std::string error;  // Python's, when it could not read the file
  std::vector<Composed> messages;
};

std::string FromHex(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// `mailbox` read as a mailbox, or as one message when `single` is set.
Mailbox ReadByPython(const fs::path& script, const fs::path& mailbox, bool single) {
  Mailbox result;
  const std::string mode = single ? "message" : "mbox";
  std::istringstream lines(RunTool(kPython, "'" + script.string() + "'", mailbox.string(), mode).output);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.starts_with("E\t")) result.error = line.substr(2);
    if (!line.starts_with("M\t")) continue;
    const size_t tab = line.find('\t', 2);
    result.messages.push_back({FromHex(line.substr(2, tab - 2)), FromHex(line.substr(tab + 1))});
  }
  return result;
}

Composed Compose(std::string raw, std::string separator_line = {}) {
  CEudoraMessage message;
  message.SetSeparatorLine(std::move(separator_line));
  message.SetRawText(std::move(raw));
  return {message.Subject(), message.MessageText()};
}

Mailbox ReadByUs(const fs::path& path, MailboxReader::Mode mode) {
  MailboxReader reader(ReadFile(path), mode);
  Mailbox result;
  while (const std::optional<MailboxReader::Message> found = reader.Next()) {
    result.messages.push_back(
        Compose(std::string(found->raw_text), std::string(found->separator_line)));
  }
  return result;
}

// Line ends as LF and the blank lines at the end left out: the two readers
// end a message's text at different line ends of the separator (ours before
// the line end that ends the message, Python's after it).
std::string Comparable(std::string text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') {
      out += '\n';
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else {
      out += text[i];
    }
  }
  while (!out.empty() && (out.back() == '\n' || out.back() == ' ' || out.back() == '\t')) out.pop_back();
  return out;
}

std::string Trimmed(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.pop_back();
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.erase(0, 1);
  return text;
}

// The messages whose subject or text is known to come out differently (the
// file, the message's number, "subject" or "text"), and why.
const std::map<std::tuple<std::string, size_t, std::string>, std::string> kExpected = {
    {{"base64-extra-character.eml", 0, "text"},
     "Base64 of 4n+1 characters: Python gives up and keeps the encoded text, the decoder gives "
     "the bytes the whole characters carry (\"Hello World!\")"},
};

bool Expected(const std::string& file, size_t message, const std::string& what) {
  return kExpected.contains({file, message, what});
}

class MailCorpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (access(kPython, X_OK) != 0) GTEST_SKIP() << kPython << " is not installed";
    if (!fs::is_directory(Corpus("mbox"))) GTEST_SKIP() << "no shared corpus beside the checkout";
    script_ = folder_.file("mail_reference.py");
    std::ofstream(script_) << kScript;
  }

  static fs::path Corpus(const char* kind) { return fs::path(KS_SHARED_DIR) / "corpus" / kind; }

  // Compares every message of the mailbox `path`.
  void Compare(const fs::path& path, MailboxReader::Mode mode) {
    Compare(path.filename().string(), ReadByUs(path, mode), ReadByPython(script_, path, false));
  }

  void Compare(const std::string& name, const Mailbox& ours, const Mailbox& python) {
    ASSERT_TRUE(python.error.empty()) << name << ": " << python.error;
    EXPECT_EQ(ours.messages.size(), python.messages.size()) << name;
    const size_t count = std::min(ours.messages.size(), python.messages.size());
    for (size_t i = 0; i < count; ++i) {
      const Composed& a = ours.messages[i];
      const Composed& b = python.messages[i];
      EXPECT_TRUE(ks::core::IsValidUtf8(a.subject) && ks::core::IsValidUtf8(a.text))
          << name << " message " << i;
      const bool same_subject = Trimmed(a.subject) == Trimmed(b.subject);
      const bool same_text = Comparable(a.text) == Comparable(b.text);
      EXPECT_EQ(same_subject, !Expected(name, i, "subject"))
          << name << " message " << i << " subject\n ours:   " << a.subject
          << "\n python: " << b.subject;
      EXPECT_EQ(same_text, !Expected(name, i, "text"))
          << name << " message " << i << " text\n ours:\n" << Comparable(a.text).substr(0, 2000)
          << "\n python:\n" << Comparable(b.text).substr(0, 2000);
    }
  }

  TempDir folder_;
  fs::path script_;
};

// Python's mbox starts a message at every line that begins with "From ", as
// the standard mode does, and neither looks at anything else: where the
// writer meant otherwise both agree on the same "wrong" count.  Content-Length
// headers (netscape-content-length.mbox) are ignored by both; body lines that
// begin with "From " unescaped (unmunged-bom.mbox) start a message for both;
// and neither turns a quoted ">From " line (eudora2unix-test1.mbox) back into
// "From ": Python's mbox is the kind that keeps the ">", and so is ours.
TEST_F(MailCorpus, StandardMailboxesGiveTheMessagesPythonGives) {
  for (const fs::directory_entry& entry : fs::directory_iterator(Corpus("mbox"))) {
    Compare(entry.path(), MailboxReader::Mode::kStandard);
  }
}

// Eudora mode starts a message only at "From ???@???", where Python starts
// one at any line beginning with "From ".  This mailbox has no body line
// beginning with "From ", so the two count the same five messages.
TEST_F(MailCorpus, EudoraMailboxesGiveTheMessagesPythonGives) {
  Compare(Corpus("eudora") / "In-win-eudora71.mbx", MailboxReader::Mode::kEudora);
}

// The same five messages as saved by Eudora for the Macintosh, with CR line
// ends.  Python's mbox splits lines at LF only: the whole file is one line,
// and reading its separator fails (the "line" holds 8-bit bytes).  Ours are
// the five messages with the subjects Python reads from the Windows mailbox;
// their texts differ from the Windows ones by what each Eudora wrote
// (Macintosh paths after "Attachment converted:", its own HTML markers).
TEST_F(MailCorpus, MacintoshEudoraMailboxHasTheMessagesOfTheWindowsOne) {
  const fs::path mac = Corpus("eudora") / "In-mac-eudora624";
  EXPECT_FALSE(ReadByPython(script_, mac, false).error.empty())
      << "Python reads CR-only mailboxes now: compare this one like the others";
  const Mailbox ours = ReadByUs(mac, MailboxReader::Mode::kEudora);
  const Mailbox windows = ReadByPython(script_, Corpus("eudora") / "In-win-eudora71.mbx", false);
  ASSERT_EQ(ours.messages.size(), windows.messages.size());
  for (size_t i = 0; i < ours.messages.size(); ++i) {
    EXPECT_EQ(Trimmed(ours.messages[i].subject), Trimmed(windows.messages[i].subject));
    EXPECT_TRUE(ks::core::IsValidUtf8(ours.messages[i].text));
    EXPECT_NE(ours.messages[i].text.find_first_not_of(" \r\n"), std::string::npos);
  }
}

TEST_F(MailCorpus, SingleMessagesGiveTheTextPythonGives) {
  // Messages in many character sets and MIME shapes, one to a file.
  for (const fs::directory_entry& entry : fs::directory_iterator(Corpus("eml"))) {
    // As a mailbox hands a message over: the rest of its separator line
    // first, then the message with CR LF line ends.
    Mailbox ours;
    ours.messages.push_back(Compose(" Mon Jan 01 00:00:00 2024\r\n" +
                                    MailboxReader::WithCrLfLineEnds(ReadFile(entry.path()))));
    Compare(entry.path().filename().string(), ours, ReadByPython(script_, entry.path(), true));
  }
}

}  // namespace
