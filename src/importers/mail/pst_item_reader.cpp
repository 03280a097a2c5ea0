#include "importers/mail/pst_item_reader.h"

#include <fmt/format.h>
#include <libpff.h>

#include "core/charset_converter.h"

namespace {

// The recipients as Outlook shows them, one property per list.
constexpr uint32_t kDisplayTo = 0x0e04;
constexpr uint32_t kDisplayCc = 0x0e03;
constexpr uint32_t kDisplayBcc = 0x0e02;
constexpr uint32_t kDisplayName = 0x3001;
// The Windows code page of the HTML body's bytes.
constexpr uint32_t kInternetCodePage = 0x3fde;

// Seconds between 1601-01-01 (FILETIME) and 1970-01-01.
constexpr int64_t kFiletimeEpochSeconds = 11644473600;
constexpr uint64_t kFiletimeTicksPerSecond = 10000000;

// Calls of libpff that answer 1 (read), 0 (not there) or -1 (failed).
void Check(int status, const char* what) {
  if (status == -1) pst::ThrowDamaged(fmt::format("its {} cannot be read", what));
}

// A string libpff hands out with its terminating NUL; NULs inside are
// dropped too, as no document holds one.
std::string WithoutNuls(std::string text) {
  std::erase(text, '\0');
  return text;
}

template <typename SizeFn, typename ReadFn>
std::string Utf8Property(const char* what, uint64_t most, SizeFn size_of, ReadFn read) {
  size_t size = 0;
  const int found = size_of(&size);
  Check(found, what);
  if (found != 1 || size == 0) return {};
  if (size > most) {
    throw PstError(PstError::Kind::kDamaged,
                   fmt::format("its {} claims {} bytes, more than can be real", what, size));
  }
  std::string text(size, '\0');
  Check(read(reinterpret_cast<uint8_t*>(text.data()), size), what);
  return WithoutNuls(std::move(text));
}

std::string MessageString(PffHandle* item, uint32_t entry, uint64_t most) {
  return pst::PropertyText(item, entry, most).value_or("");
}

// A stored subject may begin with a mark, 0x01 and a character that gives
// the length of its prefix ("FW: ", "RE: "); what Outlook shows follows it.
std::string WithoutPrefixMark(std::string subject) {
  if (subject.size() >= 2 && subject[0] == '\x01') subject.erase(0, 2);
  return subject;
}

// A value of one line: a subject or a name holds no line end in a field.
std::string OneLine(std::string text) {
  for (char& c : text) {
    if (c == '\r' || c == '\n' || c == '\t') c = ' ';
  }
  return text;
}

// CR LF for every line end, as every document of the library has them.
std::string WithCrLf(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      out += "\r\n";
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (c == '\n') {
      out += "\r\n";
    } else {
      out += c;
    }
  }
  return out;
}

OutlookItem::Kind KindOf(uint8_t type) {
  switch (type) {
    case LIBPFF_ITEM_TYPE_CONTACT:
    case LIBPFF_ITEM_TYPE_DISTRIBUTION_LIST:
      return OutlookItem::Kind::kContact;
    case LIBPFF_ITEM_TYPE_APPOINTMENT:
      return OutlookItem::Kind::kAppointment;
    case LIBPFF_ITEM_TYPE_TASK:
      return OutlookItem::Kind::kTask;
    case LIBPFF_ITEM_TYPE_NOTE:
      return OutlookItem::Kind::kNote;
    case LIBPFF_ITEM_TYPE_ACTIVITY:
      return OutlookItem::Kind::kJournal;
    case LIBPFF_ITEM_TYPE_CONFIGURATION:
    case LIBPFF_ITEM_TYPE_DOCUMENT:
    case LIBPFF_ITEM_TYPE_FOLDER:
    case LIBPFF_ITEM_TYPE_ATTACHMENT:
    case LIBPFF_ITEM_TYPE_ATTACHMENTS:
    case LIBPFF_ITEM_TYPE_RECIPIENTS:
    case LIBPFF_ITEM_TYPE_SUB_ASSOCIATED_CONTENTS:
    case LIBPFF_ITEM_TYPE_SUB_FOLDERS:
    case LIBPFF_ITEM_TYPE_SUB_MESSAGES:
    case LIBPFF_ITEM_TYPE_UNKNOWN:
      return OutlookItem::Kind::kOther;
    default:
      // E-mail in all its forms: notes, signed and encrypted mail, meeting
      // requests, posts, reports, faxes, voice mail, text messages, task
      // requests, conflicts, and items with no class at all.
      return OutlookItem::Kind::kMessage;
  }
}

std::optional<int64_t> MessageTime(PffHandle* item) {
  using TimeFn = int (*)(libpff_item_t*, uint64_t*, libpff_error_t**);
  for (const TimeFn get : {TimeFn{libpff_message_get_client_submit_time},
                           TimeFn{libpff_message_get_delivery_time},
                           TimeFn{libpff_message_get_creation_time}}) {
    uint64_t filetime = 0;
    if (get(item, &filetime, nullptr) == 1 && filetime != 0) {
      return static_cast<int64_t>(filetime / kFiletimeTicksPerSecond) - kFiletimeEpochSeconds;
    }
  }
  return std::nullopt;
}

// The name of the charset of a Windows code page, as iconv knows it.
std::string CharsetOfCodePage(uint32_t code_page) {
  switch (code_page) {
    case 65001:
      return "UTF-8";
    case 1200:
      return "UTF-16LE";
    case 1201:
      return "UTF-16BE";
    case 20127:
      return "US-ASCII";
    case 28591:
      return "ISO-8859-1";
    case 50220:
    case 50221:
    case 50222:
      return "ISO-2022-JP";
    case 51932:
      return "EUC-JP";
    case 20866:
      return "KOI8-R";
    case 0:
      return {};
    default:
      if (code_page >= 28592 && code_page <= 28605) {
        return fmt::format("ISO-8859-{}", code_page - 28590);
      }
      return fmt::format("CP{}", code_page);
  }
}

}  // namespace

std::string PstItemReader::HtmlBody(PffHandle* item) const {
  const std::string bytes = Utf8Property(
      "HTML text", limits_.most_body_bytes,
      [&](size_t* size) {
        return libpff_message_get_html_body_size(item, size, nullptr);
      },
      [&](uint8_t* text, size_t size) {
        return libpff_message_get_html_body(item, text, size, nullptr);
      });
  if (bytes.empty()) return {};
  const uint32_t code_page = pst::PropertyNumber(item, kInternetCodePage).value_or(0);
  const std::string charset = ks::core::IsValidUtf8(bytes) ? "" : CharsetOfCodePage(code_page);
  return WithCrLf(ks::core::CharsetConverter::ForThisThread().ToUtf8(charset, bytes, ansi_code_page_));
}

OutlookItem PstItemReader::Read(PffHandle* item, bool with_attachments,
                                std::vector<std::string>* left_out) const {
  OutlookItem read;
  uint8_t type = 0;
  libpff_item_get_type(item, &type, nullptr);
  read.kind = KindOf(type);
  if (read.kind != OutlookItem::Kind::kMessage) return read;

  const uint64_t most = limits_.most_body_bytes;
  read.subject = OneLine(WithoutPrefixMark(Utf8Property(
      "subject", most,
      [&](size_t* size) {
        return libpff_message_get_utf8_subject_size(item, size, nullptr);
      },
      [&](uint8_t* text, size_t size) {
        return libpff_message_get_utf8_subject(item, text, size, nullptr);
      })));
  read.from = OneLine(Utf8Property(
      "sender", most,
      [&](size_t* size) {
        return libpff_message_get_utf8_sender_name_size(item, size, nullptr);
      },
      [&](uint8_t* text, size_t size) {
        return libpff_message_get_utf8_sender_name(item, text, size, nullptr);
      }));
  if (read.from.empty()) {
    read.from = OneLine(Utf8Property(
        "sender", most,
        [&](size_t* size) {
          return libpff_message_get_utf8_sender_email_address_size(item, size, nullptr);
        },
        [&](uint8_t* text, size_t size) {
          return libpff_message_get_utf8_sender_email_address(item, text, size, nullptr);
        }));
  }
  read.to = OneLine(MessageString(item, kDisplayTo, most));
  read.cc = OneLine(MessageString(item, kDisplayCc, most));
  read.bcc = OneLine(MessageString(item, kDisplayBcc, most));
  read.time = MessageTime(item);
  read.plain_body = WithCrLf(Utf8Property(
      "text", most,
      [&](size_t* size) {
        return libpff_message_get_plain_text_body_size(item, size, nullptr);
      },
      [&](uint8_t* text, size_t size) {
        return libpff_message_get_plain_text_body(item, text, size, nullptr);
      }));
  read.html_body = HtmlBody(item);
  if (read.plain_body.empty() && read.html_body.empty()) {
    read.rtf_body = Utf8Property(
        "rich text", most,
        [&](size_t* size) {
          return libpff_message_get_rtf_body_size(item, size, nullptr);
        },
        [&](uint8_t* text, size_t size) {
          return libpff_message_get_rtf_body(item, text, size, nullptr);
        });
  }
  int attachments = 0;
  Check(libpff_message_get_number_of_attachments(item, &attachments, nullptr), "attachments");
  read.attachment_count = attachments;
  if (with_attachments && attachments > 0) ReadAttachments(item, &read, left_out);
  return read;
}

void PstItemReader::ReadAttachments(PffHandle* item, OutlookItem* read,
                                    std::vector<std::string>* left_out) const {
  for (int i = 0; i < read->attachment_count; ++i) {
    libpff_item_t* raw = nullptr;
    if (libpff_message_get_attachment(item, i, &raw, nullptr) != 1 || raw == nullptr) {
      left_out->push_back(fmt::format("attachment {} cannot be read", i + 1));
      continue;
    }
    const PstItem attachment(raw);
    OutlookAttachment taken;
    try {
      taken.name = OneLine(Utf8Property(
          "name", 4096,
          [&](size_t* size) {
            return libpff_attachment_get_utf8_long_filename_size(raw, size, nullptr);
          },
          [&](uint8_t* text, size_t size) {
            return libpff_attachment_get_utf8_long_filename(raw, text, size, nullptr);
          }));
      if (taken.name.empty()) {
        taken.name = OneLine(Utf8Property(
            "name", 4096,
            [&](size_t* size) {
              return libpff_attachment_get_utf8_short_filename_size(raw, size, nullptr);
            },
            [&](uint8_t* text, size_t size) {
              return libpff_attachment_get_utf8_short_filename(raw, text, size, nullptr);
            }));
      }
      if (taken.name.empty()) {
        taken.name = OneLine(pst::PropertyText(raw, kDisplayName, 4096).value_or(""));
      }
      int type = 0;
      Check(libpff_attachment_get_type(raw, &type, nullptr), "attachment kind");
      if (type == LIBPFF_ATTACHMENT_TYPE_DATA) {
        size64_t size = 0;
        const int found = libpff_attachment_get_data_size(raw, &size, nullptr);
        Check(found, "attachment size");
        if (size > limits_.most_attachment_bytes) {
          left_out->push_back(fmt::format("the attachment \"{}\" holds {} bytes, more than the "
                                          "{} an attachment may have",
                                          taken.name, size, limits_.most_attachment_bytes));
          continue;
        }
        if (found == 1 && size > 0) {
          taken.content.resize(size);
          if (libpff_attachment_data_seek_offset(raw, 0, SEEK_SET, nullptr) == -1) {
            pst::ThrowDamaged("its attachment cannot be read");
          }
          size_t done = 0;
          while (done < taken.content.size()) {
            const ssize_t got = libpff_attachment_data_read_buffer(
                raw, reinterpret_cast<uint8_t*>(taken.content.data() + done),
                taken.content.size() - done, nullptr);
            if (got <= 0) pst::ThrowDamaged("its attachment cannot be read");
            done += static_cast<size_t>(got);
          }
        }
      } else if (type == LIBPFF_ATTACHMENT_TYPE_ITEM) {
        libpff_item_t* attached = nullptr;
        if (libpff_attachment_get_item(raw, &attached, nullptr) != 1 || attached == nullptr) {
          pst::ThrowDamaged("its attached message cannot be read");
        }
        const PstItem owned(attached);
        taken.message = std::make_unique<OutlookItem>(Read(attached, false, left_out));
      } else {
        // A link to a file elsewhere: that path is the sender's, not ours
        // to open.
        left_out->push_back(fmt::format("the attachment \"{}\" is a link to a file elsewhere",
                                        taken.name));
        continue;
      }
    } catch (const PstError& damaged) {
      left_out->push_back(
          fmt::format("attachment {} (\"{}\"): {}", i + 1, taken.name, damaged.what()));
      continue;
    }
    read->attachments.push_back(std::move(taken));
  }
}
