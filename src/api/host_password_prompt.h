// HostPasswordPrompt: the password prompt the host set with
// KSIMP_SetPasswordPrompt, a C callback with the host's own pointer.  The
// session keeps one for the process; every database the library opens that
// turns out to be protected (an import's database, another Kestro database
// as a source, the database of an entry-form list) asks through it, on the
// thread that opens it.
#pragma once

#include <mutex>

#include "core/protected_database.h"
#include "ks_imp.h"

class HostPasswordPrompt final : public ks::core::PasswordPrompt {
 public:
  // Replaces the host's callback (null: none, protected databases then
  // stay closed).
  void Set(KSIMP_PASSWORD_PROMPT callback, void* host_data);
  // Whether the host set a callback: the prompt to hand on, or null.
  ks::core::PasswordPrompt* IfSet();

  bool Ask(const std::string& path, Reason reason, std::string_view message,
           ks::core::Credentials& credentials) override;

 private:
  std::mutex mutex_;
  KSIMP_PASSWORD_PROMPT callback_ = nullptr;  // guarded by mutex_
  void* host_data_ = nullptr;                 // guarded by mutex_
};
