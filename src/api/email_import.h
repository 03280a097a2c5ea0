// EmailImport: the session's e-mail import, from
// KSIMP_InitEmailImportUsingFileHandle to the end of KSIMP_ImportEmail: its
// handle, the host's open databases, the profiles queued in order and the
// one being run.  Each queued profile imports under an import handle of its
// own, made when it is queued: its byte total counts from then on, and its
// counters are what the host's progress queries read while it runs.
//
// The host's polling thread reads it while the import runs, so every access
// takes the session's locks (SessionGuard); nothing here calls out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/session_guard.h"
#include "importers/mail/email_profile.h"

class EmailImport {
 public:
  // One queued profile.
  struct Item {
    uint32_t handle = 0;       // the import handle its mailboxes are imported under
    std::string profile;       // its name in the profile list
    EmailProfile settings;     // the profile as its file read when queued
    std::string description;   // what it selects, in the profile list's words
    uint32_t total_bytes = 0;  // its mailboxes' size when queued
  };

  // What the host may ask about the profile being run.
  struct Current {
    uint32_t handle = 0;  // the profile's import handle
    std::string profile;
    std::string database;
    std::string description;
  };

  explicit EmailImport(SessionLocks& locks) : locks_(locks) {}
  EmailImport(const EmailImport&) = delete;
  EmailImport& operator=(const EmailImport&) = delete;

  // Makes `handle` the e-mail import's handle, with the host's `database`
  // (0 for none).  False while an e-mail import runs.  An import that was
  // begun and never run is dropped: its handle and those of its profiles
  // are added to *dropped for the caller to release.
  bool Begin(uint32_t handle, uint32_t database, std::vector<uint32_t>* dropped);
  // Whether `handle` is the e-mail import's.
  bool Owns(uint32_t handle);

  // Another open database of the host; ignored for another handle or 0.
  void AddDatabase(uint32_t handle, uint32_t database);
  // The host's databases, the first given first.
  std::vector<uint32_t> Databases();

  // Queues a profile; false for another handle or once the import runs.
  bool Add(uint32_t handle, Item item);
  // The run begins: the queued profiles, in order; nothing for another
  // handle or when it runs already.
  std::optional<std::vector<Item>> Start(uint32_t handle);
  // The profile being run (nullptr: none, between two profiles).
  void SetCurrent(const Item* item);
  // Forgets the import; `handle` is no longer the e-mail import's.
  void End(uint32_t handle);

  // For the host's queries on the e-mail import's handle: nothing for
  // another handle, or when no profile is being run.
  std::optional<Current> CurrentOf(uint32_t handle);
  // The profiles' byte totals added up; 0 for another handle.
  uint32_t TotalBytes(uint32_t handle);
  // Profiles queued; 0 for another handle.
  uint32_t Count(uint32_t handle);

 private:
  SessionLocks& locks_;
  // All guarded by the locks.
  uint32_t handle_ = 0;  // 0: no e-mail import
  bool running_ = false;
  std::vector<uint32_t> databases_;
  std::vector<Item> items_;
  std::optional<Current> current_;
};
