// KestroSource: another Kestro database opened for reading as an import's
// source.  Credentials the host attached to the source are tried first; when
// the engine rejects them the file is opened once more without them, and a
// file that is still refused for its protection goes to the password prompt
// when there is one.  The handle is closed when the object goes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/protected_database.h"

namespace ks::kestro {

// The source credentials split at the first CR: the text before it is the
// password, the text after it the login group, the order in which the
// engine's open takes them.  A text without a CR is a password alone.
ks::core::Credentials SplitSourceCredentials(std::string_view joined);
// The two joined by one CR, as a host's credentials travel with a source.
std::string JoinSourceCredentials(std::string_view login_group, std::string_view password);

class KestroSource {
 public:
  // Opens `path` read-only (access 1, share 1).  `credentials` is the
  // source's joined text (empty: none); `prompt` may be null.
  KestroSource(const std::string& path, std::string_view credentials,
               ks::core::PasswordPrompt* prompt);
  ~KestroSource();
  KestroSource(const KestroSource&) = delete;
  KestroSource& operator=(const KestroSource&) = delete;

  bool is_open() const { return database_ != 0; }
  uint32_t database() const { return database_; }
  // The engine's error when the source stayed closed: of the last open
  // tried, 4000 when a prompt was cancelled; 0 when it is open.
  uint32_t engine_error() const { return engine_error_; }
  // Whether the engine refused the credentials the host attached to it.
  bool credentials_rejected() const { return credentials_rejected_; }

  // Closes the source now (EngCloseDatabase is called even when it never
  // opened, as the engine takes a 0 handle and answers that it is unknown).
  void Close();

 private:
  uint32_t database_ = 0;
  uint32_t engine_error_ = 0;
  bool credentials_rejected_ = false;
  bool closed_ = false;
};

}  // namespace ks::kestro
