// Opening a database that its owner protected with a login group and a
// password.  The engine refuses such a file without them (4000) and refuses
// wrong ones (4001); this is where the library asks a person for them, tries
// again for as long as the answer is wrong, and remembers the login group
// that opened each file (never the password) for the next time.
//
// The protection is the engine's access check, not encryption: the library
// only passes what the person typed on to the engine.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/profile_file.h"

namespace ks::core {

// A login group and a password as a person typed them.  The password is
// overwritten when the object goes, so that it does not linger in freed
// memory longer than the open that needed it.
struct Credentials {
  Credentials() = default;
  Credentials(std::string group, std::string secret)
      : login_group(std::move(group)), password(std::move(secret)) {}
  Credentials(const Credentials&) = default;
  Credentials& operator=(const Credentials&) = default;
  ~Credentials();

  std::string login_group;
  std::string password;
};

// Overwrites every byte of `text` before clearing it.
void WipeText(std::string& text);

// Asks a person for the login group and password of a protected database:
// the host's callback, a terminal, or a test's scripted answers.
class PasswordPrompt {
 public:
  virtual ~PasswordPrompt() = default;

  // Why the prompt is shown.
  enum class Reason : uint32_t {
    kPasswordRequired = 4000,  // the first ask for this open
    kPasswordWrong = 4001,     // the previous answer was refused
  };

  // Asks for the credentials of the database at `path`.  `message`, when not
  // empty, is shown first (the retry's "The password you have entered is
  // invalid, please try again.").  `credentials.login_group` comes in holding
  // the group to propose and goes out holding the answer.  False: cancelled.
  virtual bool Ask(const std::string& path, Reason reason, std::string_view message,
                   Credentials& credentials) = 0;
};

// The value under a database's File Settings key that holds the login group
// that last opened it.
inline constexpr std::string_view kLoginGroupValue = "Login Group";
// The login group proposed for a file no group has opened yet.
inline constexpr std::string_view kDefaultLoginGroup = "Default";

// The database's full path as the remembered settings are keyed by it: an
// absolute path without "." or ".." parts (the file itself need not exist).
std::string FullDatabasePath(std::string_view path);

// The login group remembered for the database at `full_path`, or "Default".
std::string RememberedLoginGroup(const ProfileFile& configuration, std::string_view full_path);
// Remembers `login_group` for it (in memory; the caller saves).
void RememberLoginGroup(ProfileFile& configuration, std::string_view full_path,
                        std::string_view login_group);

// What an open came to: the engine's handle (0 when the database stays
// closed) and, when it stayed closed, the engine's error.
struct DatabaseOpening {
  uint32_t database = 0;
  uint32_t engine_error = 0;
  bool cancelled = false;  // the person cancelled the prompt
};

// The password prompt for the database at `path`: shows `first_message`
// with the first ask (when not empty), proposes the remembered login group,
// opens with EngOpenDatabaseEx(access, share) and what the person answered,
// asks again with message 14085 for as long as the engine says 4001, and
// remembers the login group in the user's configuration once the database
// opens.  Any other engine error ends the prompt, which keeps that error for
// the caller.
DatabaseOpening RunPasswordPrompt(PasswordPrompt& prompt, const std::string& path,
                                  int32_t access_mode, int32_t share_mode,
                                  std::string_view first_message = {});

// Opens the database at `path` with EngOpenDatabase(access, share) and, when
// the engine says it is protected (4000) and there is a prompt, runs the
// password prompt with `notice` shown first (when not empty).  Without a
// prompt a protected database stays closed with error 4000.
DatabaseOpening OpenAskingPassword(const std::string& path, int32_t access_mode, int32_t share_mode,
                                   PasswordPrompt* prompt, std::string_view notice = {});

}  // namespace ks::core
