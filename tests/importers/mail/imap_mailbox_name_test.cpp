// Mailbox names between a profile and an IMAP server: modified UTF-7 both
// ways, what it refuses, and the LIST responses the names come in.
#include "importers/mail/imap_mailbox_name.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "importers/mail/imap_response.h"

namespace {

TEST(ImapMailboxNames, RoundTripThroughModifiedUtf7) {
  const std::pair<std::string, std::string> cases[] = {
      {"INBOX", "INBOX"},
      {"Entwürfe", "Entw&APw-rfe"},
      {"&", "&-"},
      {"Tom & Jerry", "Tom &- Jerry"},
      {"日本語", "&ZeVnLIqe-"},
      {"~peter/mail/台北/日本語", "~peter/mail/&U,BTFw-/&ZeVnLIqe-"},
      {"📧 Post", "&2D3c5w- Post"},  // beyond U+FFFF: a surrogate pair in one run
      {"Tab\there", "Tab&AAk-here"},
  };
  for (const auto& [name, encoded] : cases) {
    EXPECT_EQ(EncodeImapMailboxName(name), encoded) << name;
    EXPECT_EQ(DecodeImapMailboxName(encoded), name) << encoded;
  }
}

TEST(ImapMailboxNames, WhatIsNoModifiedUtf7IsRefusedAndShownAsItStands) {
  EXPECT_EQ(EncodeImapMailboxName("Entw\xFCrfe"), std::nullopt) << "Latin-1, not UTF-8";
  for (const char* bad : {"Entw&APw", "Entw\xFCrfe", "&APw/-", "&AP-", "&2D0-", "&3Mc-", "a&ZeVnLIqeA-"}) {
    EXPECT_EQ(DecodeImapMailboxName(bad), std::nullopt) << bad;
    EXPECT_EQ(ImapMailboxDisplayName(bad), bad);
  }
}

TEST(ImapMailboxNames, ListResponsesGiveTheNamesThatCanBeOpened) {
  ImapResponse plain{"*", "LIST (\\HasNoChildren) \".\" Entw&APw-rfe", {}};
  ImapResponse quoted{"*", "list (\\HasNoChildren) \"/\" \"Tom &- \\\"J\\\"\"", {}};
  ImapResponse literal{"*", "LIST () NIL {7}", {"a b (c)"}};
  ImapResponse parent{"*", "LIST (\\Noselect \\HasChildren) \".\" Archiv", {}};
  ImapResponse gone{"*", "LIST (\\NonExistent) \"/\" Old", {}};
  EXPECT_EQ(ReadListedMailbox(plain)->name, "Entw&APw-rfe");
  EXPECT_EQ(ReadListedMailbox(quoted)->name, "Tom &- \"J\"");
  EXPECT_EQ(ReadListedMailbox(literal)->name, "a b (c)");
  EXPECT_TRUE(ReadListedMailbox(plain)->selectable);
  EXPECT_FALSE(ReadListedMailbox(parent)->selectable);
  EXPECT_FALSE(ReadListedMailbox(gone)->selectable);
  for (ImapResponse bad : {ImapResponse{"*", "LIST (\\HasNoChildren) \".\"", {}},
                           ImapResponse{"*", "LIST \".\" INBOX", {}},
                           ImapResponse{"*", "LSUB () \".\" INBOX", {}},
                           ImapResponse{"K1", "LIST () \".\" INBOX", {}},
                           ImapResponse{"*", "LIST () \".\" INBOX extra", {}}}) {
    EXPECT_EQ(ReadListedMailbox(bad), std::nullopt) << bad.text;
  }
}

}  // namespace
