// The mailbox files an e-mail profile selects: each MAILBOX entry, the
// mailboxes found in each FOLDER entry, or with ALL every mailbox of the mail
// store (MAILROOT).  For a Maildir profile every entry, and MAILROOT with
// ALL, is a Maildir folder, listed as it is.  For Outlook Express a MAILBOX
// entry is a folder file (.dbx), and a FOLDER entry, or MAILROOT with ALL,
// a store folder whose folder files of messages are taken, by name.
// Entries that are not absolute paths lie under MAILROOT.
#pragma once

#include <string>
#include <vector>

#include "importers/mail/email_profile.h"

// The mailboxes in the profile's order, each once.  A MAILBOX entry is
// listed whether or not its file exists (the run reports it); a folder that
// cannot be listed is listed itself, so the run reports it the same way.
// A folder's mailboxes are found through its subfolders, without following
// links: Eudora mailboxes by their ".mbx" extension, standard ones by the
// "From " their first line starts with.
std::vector<std::string> SelectedMailboxFiles(const EmailProfile& profile);

// What an Outlook profile selects: folders of its personal folders file
// (MAILROOT, a .pst or .ost file), each FOLDER entry naming one by its path
// ("Inbox/Projects"), or with ALL every folder (an empty folder name).  A
// MAILBOX entry names another such file, every folder of it.
struct OutlookFolderSource {
  std::string file;
  std::string folder;  // empty: every folder of the file
};
std::vector<OutlookFolderSource> SelectedOutlookFolders(const EmailProfile& profile);
