// Reading IMAP responses and the server text, without a server: responses
// cut into any pieces read the same; literals are taken whole and never
// mistaken for responses; what no server should send is refused, not
// guessed at.
#include "importers/mail/imap_response.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "importers/mail/imap_checkpoints.h"
#include "importers/mail/imap_server.h"

namespace {

std::vector<ImapResponse> ReadAll(ImapResponseReader& reader) {
  std::vector<ImapResponse> responses;
  while (std::optional<ImapResponse> response = reader.Next()) responses.push_back(*response);
  return responses;
}

// A FETCH whose literal holds lines that look like responses of their own.
const std::string kFetchWithTrickyBody =
    "* 1 FETCH (FLAGS (\\Seen) UID 7 BODY[] {37}\r\n"
    "K2 OK not the end\r\n"
    "* 9 EXISTS\r\n"
    "{99}\r\n"
    ")\r\n"
    "K2 OK Fetch completed.\r\n";

TEST(ImapResponseReader, ReadsTheSameWhateverPiecesTheBytesComeIn) {
  ImapResponseReader whole;
  whole.Feed(kFetchWithTrickyBody);
  const std::vector<ImapResponse> expected = ReadAll(whole);
  ASSERT_EQ(expected.size(), 2u);
  EXPECT_EQ(expected[0].tag, "*");
  ASSERT_EQ(expected[0].literals.size(), 1u);
  EXPECT_EQ(expected[0].literals[0], "K2 OK not the end\r\n* 9 EXISTS\r\n{99}\r\n");
  EXPECT_EQ(expected[1].tag, "K2");

  ImapResponseReader bytewise;
  std::vector<ImapResponse> got;
  for (const char c : kFetchWithTrickyBody) {
    bytewise.Feed(std::string_view(&c, 1));
    for (ImapResponse& r : ReadAll(bytewise)) got.push_back(std::move(r));
  }
  ASSERT_EQ(got.size(), expected.size());
  for (size_t i = 0; i < got.size(); ++i) {
    EXPECT_EQ(got[i].tag, expected[i].tag);
    EXPECT_EQ(got[i].text, expected[i].text);
    EXPECT_EQ(got[i].literals, expected[i].literals);
  }
  EXPECT_EQ(bytewise.Pending(), 0u);
}

TEST(ImapResponseReader, RefusesLinesAndLiteralsAboveItsLimits) {
  ImapResponseReader lines(/*longest_line=*/16, /*largest_literal=*/8);
  lines.Feed("* OK this line is far too long\r\n");
  EXPECT_FALSE(lines.Next());
  EXPECT_TRUE(lines.Failed());

  ImapResponseReader literals(/*longest_line=*/64, /*largest_literal=*/8);
  literals.Feed("* 1 FETCH (BODY[] {9}\r\n");
  EXPECT_FALSE(literals.Next());
  EXPECT_TRUE(literals.Failed()) << "refused before its bytes arrive";

  ImapResponseReader endless(/*longest_line=*/16, /*largest_literal=*/8);
  endless.Feed(std::string(17, 'x'));
  EXPECT_FALSE(endless.Next());
  EXPECT_TRUE(endless.Failed()) << "a line without an end is refused once it is too long";
}

ImapResponse One(const std::string& bytes) {
  ImapResponseReader reader;
  reader.Feed(bytes);
  std::optional<ImapResponse> response = reader.Next();
  EXPECT_TRUE(response) << bytes;
  return response.value_or(ImapResponse{});
}

// A FETCH response read as "sequence uid [body]", "-" for what it lacks;
// "refused" when it is no fetch of a message.
std::string Fetched(const std::string& bytes) {
  ImapResponse response = One(bytes);
  const std::optional<ImapFetchedMessage> message = ReadFetchedMessage(response);
  if (!message) return "refused";
  return std::to_string(message->sequence) + " " +
         (message->uid ? std::to_string(*message->uid) : "-") + " " +
         (message->body ? "[" + *message->body + "]" : "-");
}

TEST(ImapFetchedMessage, TakesUidAndBodyInAnyOrderAndSkipsTheRest) {
  EXPECT_EQ(Fetched(kFetchWithTrickyBody), "1 7 [K2 OK not the end\r\n* 9 EXISTS\r\n{99}\r\n]");
  EXPECT_EQ(Fetched("* 3 FETCH (BODY[HEADER.FIELDS (FROM TO)] \"x\" BODY[] \"quoted \\\"text\\\"\" "
                    "ENVELOPE (NIL \"a\" ((NIL NIL \"b\" \"c\")) NIL) UID 12)\r\n"),
            "3 12 [quoted \"text\"]");
  EXPECT_EQ(Fetched("* 4 FETCH (FLAGS (\\Seen))\r\n"), "4 - -");
  EXPECT_EQ(Fetched("* 5 FETCH (UID 9 BODY[] NIL)\r\n"), "5 9 []");
}

TEST(ImapFetchedMessage, RefusesWhatIsNoFetchOfAMessage) {
  for (const char* bytes : {
           "* 0 FETCH (UID 1)\r\n",               // no message 0
           "* 1 FETCH (UID 0)\r\n",               // no UID 0
           "* 1 FETCH (UID 4294967296)\r\n",      // beyond 32 bits
           "* 1 FETCH UID 1\r\n",                 // no list
           "* 1 FETCH (UID 1\r\n",                // unclosed
           "* 1 FETCH (UID 1) trailing\r\n",      // more after the list
           "* 1 FETCH (BODY[] {3})\r\n",          // an announcement not at a line end
           "* 1 FETCH (BODY[ \"x\")\r\n",         // an unclosed section
           "* 1 EXISTS\r\n",
           "K1 OK FETCH (UID 1)\r\n",
       }) {
    EXPECT_EQ(Fetched(bytes), "refused") << bytes;
  }
}

TEST(ImapMailboxState, ReadsWhatExamineSays) {
  ImapMailboxState state;
  EXPECT_TRUE(ReadMailboxState(One("* 172 EXISTS\r\n"), &state));
  EXPECT_TRUE(ReadMailboxState(One("* OK [UIDVALIDITY 3857529045] UIDs valid\r\n"), &state));
  EXPECT_TRUE(ReadMailboxState(One("* OK [UIDNEXT 4392] Predicted next UID\r\n"), &state));
  EXPECT_FALSE(ReadMailboxState(One("* OK [UNSEEN 12] First unseen.\r\n"), &state));
  EXPECT_FALSE(ReadMailboxState(One("* 1 RECENT\r\n"), &state));
  EXPECT_FALSE(ReadMailboxState(One("* OK [UIDVALIDITY 99999999999] big\r\n"), &state));
  EXPECT_EQ(state.exists, 172u);
  EXPECT_EQ(state.uid_validity, 3857529045u);
  EXPECT_EQ(state.uid_next, 4392u);
}

TEST(ImapCompletion, TellsOkNoAndBadApart) {
  EXPECT_EQ(ReadCompletion(One("K1 OK done\r\n"))->status, ImapCompletion::Status::kOk);
  EXPECT_EQ(ReadCompletion(One("K1 no [TRYCREATE] gone\r\n"))->text, "[TRYCREATE] gone");
  EXPECT_EQ(ReadCompletion(One("K1 BAD what\r\n"))->status, ImapCompletion::Status::kBad);
  EXPECT_FALSE(ReadCompletion(One("* OK untagged\r\n")));
  EXPECT_FALSE(ReadCompletion(One("K1 MAYBE\r\n")));
}

TEST(ImapSearchResult, ReadsUidsAndRefusesWhatIsNoUid) {
  EXPECT_EQ(ReadSearchResult(One("* SEARCH 2 84 882\r\n")), (std::vector<uint32_t>{2, 84, 882}));
  EXPECT_EQ(ReadSearchResult(One("* SEARCH\r\n")), std::vector<uint32_t>{});
  EXPECT_FALSE(ReadSearchResult(One("* SEARCH 2 x\r\n")));
  EXPECT_FALSE(ReadSearchResult(One("* SEARCH 0\r\n")));
  EXPECT_FALSE(ReadSearchResult(One("* 3 EXISTS\r\n")));
}

TEST(ImapCommandText, UidSetsAndMailboxNames) {
  EXPECT_EQ(UidSetText({4, 5, 6, 7, 9, 12, 13}), "4:7,9,12:13");
  EXPECT_EQ(UidSetText({1}), "1");
  EXPECT_EQ(MailboxArgument("INBOX"), "INBOX");
  EXPECT_EQ(MailboxArgument("Sent Items"), "\"Sent Items\"");
  EXPECT_EQ(MailboxArgument("a\"b\\c"), "\"a\\\"b\\\\c\"");
  EXPECT_FALSE(MailboxArgument("evil\r\nK9 DELETE INBOX"));
}

TEST(ImapServerText, ChoosesTlsAndPortByWhatTheTextSays) {
  std::string why;
  std::optional<ImapServer> s = ParseImapServer("mail.example.com", 0, &why);
  ASSERT_TRUE(s);
  EXPECT_EQ(s->Url(), "imap://mail.example.com:143/");
  EXPECT_EQ(s->security, ImapServer::Security::kStartTls);

  s = ParseImapServer("mail.example.com:993", 0, &why);
  EXPECT_EQ(s->security, ImapServer::Security::kImplicitTls) << "993 means IMAPS";
  s = ParseImapServer("imaps://mail.example.com/", 0, &why);
  EXPECT_EQ(s->Url(), "imaps://mail.example.com:993/");
  s = ParseImapServer("imap://[::1]:1143", 0, &why);
  EXPECT_EQ(s->Name(), "[::1]:1143");
  s = ParseImapServer("imaps://mail.example.com:1993", 2993, &why);
  EXPECT_EQ(s->port, 2993) << "the port argument wins";

  for (const char* bad : {"", "imap://", "host:0", "host:70000", "user@host", "a/b", "[::1"}) {
    EXPECT_FALSE(ParseImapServer(bad, 0, &why)) << bad;
  }
  EXPECT_FALSE(ParseImapServer("host", 70000, &why));

  ImapServer server = *ParseImapServer("host", 0, &why);
  EXPECT_TRUE(SetImapFirewall(&server, 3, "proxy", 0, "u", "p", &why));
  EXPECT_EQ(server.ProxyUrl(), "socks5h://proxy:1080");
  EXPECT_TRUE(SetImapFirewall(&server, 1, "proxy:3128", 0, "", "", &why));
  EXPECT_EQ(server.ProxyUrl(), "http://proxy:3128");
  EXPECT_FALSE(SetImapFirewall(&server, 7, "proxy", 0, "", "", &why));
  EXPECT_FALSE(SetImapFirewall(&server, 2, "", 0, "", "", &why));
}

TEST(ImapCheckpoints, SurviveBeingWrittenAndReadAndIgnoreOtherLines) {
  ImapCheckpoints checkpoints;
  checkpoints.Set({ImapCheckpoints::KeyOf("ann", "host:993", "INBOX"), 7, 120});
  checkpoints.Set({ImapCheckpoints::KeyOf("ann", "host:993", "Sent Items"), 8, 3});
  checkpoints.Set({ImapCheckpoints::KeyOf("ann", "host:993", "INBOX"), 7, 150});
  const std::string text = checkpoints.Serialize();
  EXPECT_EQ(text, "imap 7 150 ann@host:993/INBOX\nimap 8 3 ann@host:993/Sent Items\n");
  const ImapCheckpoints read =
      ImapCheckpoints::Parse("120 1 2 ab /mailbox\n" + text + "imap x 1 bad\nimap 1 2\n");
  EXPECT_EQ(read.checkpoints(), checkpoints.checkpoints());
}

}  // namespace
