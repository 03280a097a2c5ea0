// CEmailProfiles: the user's e-mail profiles in their folder: the list
// (CProfileList, "Profiles.inf"), one ".emw" file per profile
// (CEmailProfileUtil) and, beside it, what the profile's runs remember
// about its mailboxes ("<file>.state", MailboxCheckpoints).  Everything in the
// folder is readable by its owner only.  Changes take a lock on the list, so
// two processes saving profiles at once both keep theirs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "importers/mail/email_profile.h"
#include "importers/mail/email_profile_list.h"

class CEmailProfiles {
 public:
  explicit CEmailProfiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

  const std::filesystem::path& folder() const { return folder_; }

  // The list in the user's order; empty when there is none yet.  A list
  // that cannot be read gives nothing, with *why set.
  std::optional<CProfileList> List(std::string* why) const;

  // The profile `name` as its file reads; nothing with *why set when the
  // list has no such profile or its file cannot be read.
  std::optional<EmailProfile> Load(std::string_view name, std::string* why) const;

  // Where the listed profile's file and its run state are; empty paths
  // for a name the list does not hold.
  std::filesystem::path FileOf(std::string_view name) const;
  std::filesystem::path StateFileOf(std::string_view name) const;

  // Saves the profile: over the listed profile of the same name when
  // `replace` is set, else as a new profile at the end of the list, in a
  // file named after it ("%s%s(%d).emw" with the first free number when a
  // file of that name is there already).  Returns 0, or the message that
  // says why not (invalid name 14408/14409, incomplete 14406, duplicate
  // 14407, or 11009 with *why set when a file cannot be written).
  uint32_t Save(const EmailProfile& profile, bool replace, std::string* why) const;

  // Takes the profile off the list and deletes its file and run state.
  bool Delete(std::string_view name, std::string* why) const;

  // After a successful run: reads the profile's file again (the user may
  // have changed it meanwhile) and, when it selects new messages, makes
  // `day` its start date and writes it.  True when nothing needed writing.
  bool StoreStartDate(std::string_view name, const ProfileDate& day, std::string* why) const;

  // 0 for a name a profile may have, else 14408 (a character file names
  // cannot hold) or 14409 (empty, ".", "..", blanks at either end, longer
  // than 200 bytes).
  static uint32_t CheckName(std::string_view name);
  // Whether the profile says enough to be run: a name, a known application,
  // a database, both dates for a selection between dates, and a server
  // (IMAP) or something selected in the mail store.
  static bool IsComplete(const EmailProfile& profile);

  // Profile and list files are far below this; anything larger is not ours.
  static constexpr size_t kMaxFileBytes = size_t{4} << 20;

 private:
  std::filesystem::path ListPath() const { return folder_ / std::string(CProfileList::kFileName); }
  bool WriteList(const CProfileList& list, std::string* why) const;
  // A file name for a new profile that neither the list nor the folder uses.
  std::string FreeFileName(const CProfileList& list, std::string_view name) const;

  std::filesystem::path folder_;
};
