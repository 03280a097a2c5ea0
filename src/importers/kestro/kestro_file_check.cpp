#include "importers/kestro/kestro_file_check.h"

#include <fmt/format.h>

#include "core/error_codes.h"
#include "core/message_texts.h"
#include "ks_eng5.h"

namespace ks::kestro {
namespace {

// The message with each placeholder replaced once, literally: a path that
// holds "%2" stays as it is.
std::string FillIn(std::string_view message, std::string_view first, std::string_view second) {
  std::string text;
  for (size_t i = 0; i < message.size(); ++i) {
    if (message[i] == '%' && i + 1 < message.size() &&
        (message[i + 1] == '1' || message[i + 1] == '2')) {
      text += message[i + 1] == '1' ? first : second;
      ++i;
    } else {
      text += message[i];
    }
  }
  return text;
}

}  // namespace

std::string EngineErrorWords(uint32_t engine_error) {
  switch (engine_error) {
    case KSENG_ERR_NOT_FOUND:
      return "the file does not exist";
    case KSENG_ERR_ACCESS:
      return "the file cannot be read";
    case KSENG_ERR_NOT_DATABASE:
      return "the file is not a Kestro database, or it is damaged";
    case KSENG_ERR_FOREIGN:
      return "the file is a database of another program";
    case KSENG_ERR_VERSION:
      return "the database was written by a newer version of Kestro";
    case KSENG_ERR_IO:
      return "an input/output error occurred";
    case KSENG_ERR_BUSY:
      return "the database is in use by another program";
    case KSENG_ERR_MEMORY:
      return "out of memory";
    case KSENG_ERR_INTERRUPTED:
      return "an interrupted write left a journal beside the database; open it once for "
             "writing, as its owner";
    case KSENG_ERR_PASSWORD_REQUIRED:
      return "the database is protected by a password";
    case KSENG_ERR_PASSWORD_WRONG:
      return "the login group or password is wrong";
    default:
      return fmt::format("the database engine reported error {}", engine_error);
  }
}

std::string KestroFileErrorText(std::string_view path, std::string_view cause) {
  return FillIn(MessageText(error_code::kKestroFileError), cause, path);
}

KestroFileRefusal RefusalOfSource(std::string_view path, uint32_t engine_error,
                                  bool credentials_rejected) {
  switch (engine_error) {
    case KSENG_ERR_NOT_DATABASE:
    case KSENG_ERR_FOREIGN:
      return {error_code::kNotAKestro5File,
              FillIn(MessageText(error_code::kNotAKestro5File), path, {})};
    case KSENG_ERR_PASSWORD_REQUIRED:
    case KSENG_ERR_PASSWORD_WRONG:
      return {error_code::kPasswordProtected,
              KestroFileErrorText(
                  path, EngineErrorWords(credentials_rejected ? KSENG_ERR_PASSWORD_WRONG
                                                              : KSENG_ERR_PASSWORD_REQUIRED))};
    default:
      return {error_code::kKestroFileError,
              KestroFileErrorText(path, EngineErrorWords(engine_error))};
  }
}

}  // namespace ks::kestro
