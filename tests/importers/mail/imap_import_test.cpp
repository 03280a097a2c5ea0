// IMAP servers as a mail source, against a real Dovecot started for this
// suite on loopback ports: queuing counts a mailbox's messages and refuses a
// server that cannot be read with its own error; the import reads every
// message without marking it read; a connection cut in the middle keeps what
// arrived before it; IMAPS with a certificate of the server's own making is
// refused unless the check is turned off; a "new messages" profile run twice
// imports each message once.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/error_codes.h"
#include "core/scoped_env.h"
#include "importers/mail/dovecot_server.h"
#include "importers/import_fixture.h"
#include "importers/mail/imap_connection.h"

namespace {

using dovecot_test::CuttingRelay;
using dovecot_test::DovecotServer;
using dovecot_test::GeneratedMessage;

constexpr int kManyMessages = 1000;
constexpr int kFewMessages = 5;

std::string SubjectOf(int i) { return "Message " + std::to_string(i); }

std::vector<std::string> Messages(int count) {
  std::vector<std::string> messages;
  for (int i = 1; i <= count; ++i) messages.push_back(GeneratedMessage(SubjectOf(i), 1 + i % 28));
  return messages;
}

// An IMAP source as a host queues it.
struct ImapSource {
  std::string server;
  std::string user;
  std::string password;
  std::string mailbox;
  uint32_t port = 0;
  std::string firewall;  // "host:port"
  int32_t firewall_type = KSIMP_FIREWALL_NONE;
};

class ImapImportTest : public ImportFixture {
 protected:
  static void SetUpTestSuite() {
    server_ = new DovecotServer();
    server_->AddUser("ann", "secret", Messages(kManyMessages));
    server_->AddUser("bob", "hunter2", Messages(kFewMessages));
    server_->AddUser("carl", "pw", {});
    server_->AddUser("dora", "pw", Messages(kFewMessages));
    // INBOX, "Entwürfe", and "Archiv.2024" under an "Archiv" that is no mailbox.
    server_->AddUser("eve", "pw", {GeneratedMessage("In 1", 3), GeneratedMessage("In 2", 4)});
    server_->AddMailbox("eve", "Entw&APw-rfe", {GeneratedMessage("Draft 1", 5)});
    server_->AddMailbox("eve", "Archiv.2024", {GeneratedMessage("Old 1", 6)});
    server_->Start();
  }
  static void TearDownTestSuite() {
    delete server_;
    server_ = nullptr;
  }

  void SetUp() override {
    if (!server_->SkipReason().empty()) GTEST_SKIP() << server_->SkipReason();
    ImportFixture::SetUp();
  }

  ImapSource Plain(const std::string& user, const std::string& password) const {
    return {"127.0.0.1", user, password, "INBOX", server_->imap_port(), "", KSIMP_FIREWALL_NONE};
  }

  static uint32_t QueueImap(uint32_t handle, const ImapSource& s) {
    return KSIMP_AddFileToImport(handle, "server", KSIMP_TYPE_IMAP_SERVER, KSIMP_LOC_END, 0, nullptr,
                                 0, nullptr, 0, 0, nullptr, 1, 0, nullptr, 0, 0, nullptr, 0,
                                 nullptr, 0, nullptr, nullptr, 0, 0, s.server.c_str(),
                                 s.user.c_str(), s.password.c_str(), s.mailbox.c_str(),
                                 s.firewall.c_str(), "fw-user", "fw-password", s.firewall_type,
                                 static_cast<int32_t>(s.port));
  }

  static std::string LogOf(uint32_t handle) {
    std::vector<char> log(1 << 16);
    return KSIMP_GetLogData(handle, log.data(), static_cast<int32_t>(log.size())) != 0 ? log.data()
                                                                                      : "";
  }

  // Queues the source (the server's certificate checked or not) and
  // imports it.
  ImportOutcome ImportImap(const ImapSource& source, bool check_certificate = false) {
    ImportOutcome outcome;
    outcome.handle = KSIMP_InitImportUsingFileName(database_.c_str());
    EXPECT_EQ(KSIMP_SetImapCertificateCheck(outcome.handle, check_certificate ? 1 : 0), 1u);
    EXPECT_EQ(QueueImap(outcome.handle, source), 1u) << LogOf(outcome.handle);
    total_bytes_ = KSIMP_GetTotalBytes(outcome.handle);
    outcome.result = KSIMP_Import(outcome.handle, 0, 0, nullptr, &outcome.documents_added);
    outcome.error = KSIMP_GetLastImportError(outcome.handle);
    outcome.log = LogOf(outcome.handle);
    return outcome;
  }

  // Queuing that fails: the error recorded and the log.
  std::pair<uint32_t, std::string> RefusedQueue(const ImapSource& source, bool check_certificate) {
    const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
    KSIMP_SetImapCertificateCheck(handle, check_certificate ? 1 : 0);
    EXPECT_EQ(QueueImap(handle, source), 0u);
    EXPECT_EQ(KSIMP_GetTotalBytes(handle), 0u);
    const uint32_t error = KSIMP_GetLastImportError(handle);
    std::string log = LogOf(handle);
    KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
    return {error, log};
  }

  // The subjects of the documents stored, sorted.
  std::vector<std::string> StoredSubjects() const {
    std::vector<std::string> subjects = Subjects();
    std::erase(subjects, "");
    std::sort(subjects.begin(), subjects.end());
    return subjects;
  }

  static std::vector<std::string> ExpectedSubjects(int count) {
    std::vector<std::string> subjects;
    for (int i = 1; i <= count; ++i) subjects.push_back(SubjectOf(i));
    std::sort(subjects.begin(), subjects.end());
    return subjects;
  }

  static DovecotServer* server_;
  uint32_t total_bytes_ = 0;
};

DovecotServer* ImapImportTest::server_ = nullptr;

TEST_F(ImapImportTest, ReadsAThousandMessagesWithoutMarkingThemRead) {
  const ImportOutcome outcome = ImportImap(Plain("ann", "secret"));
  EXPECT_EQ(total_bytes_, static_cast<uint32_t>(kManyMessages)) << "queuing counts the messages";
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << outcome.log;
  EXPECT_EQ(outcome.documents_added, static_cast<uint32_t>(kManyMessages));
  EXPECT_EQ(StoredSubjects(), ExpectedSubjects(kManyMessages));
  const std::vector<std::string> documents = Documents();
  ASSERT_FALSE(documents.empty());
  EXPECT_NE(documents.front().find("MailBox[ INBOX ]"), std::string::npos) << documents.front();
  EXPECT_NE(documents.front().find("From[ Sender <sender@example.com> ]"), std::string::npos);

  // Read again, everything is there once more: nothing was taken away or
  // flagged on the server (a message marked read would be read just the
  // same, so the flags are asked for directly).
  ImapServer server = *ParseImapServer("127.0.0.1", server_->imap_port(), nullptr);
  server.user = "ann";
  server.password = "secret";
  server.verify_certificate = false;
  ImapConnection connection(server);
  ImapMailboxState state;
  ASSERT_TRUE(connection.Open()) << connection.failure().detail;
  ASSERT_TRUE(connection.Examine(&state)) << connection.failure().detail;
  EXPECT_EQ(state.exists, static_cast<uint32_t>(kManyMessages));
  std::vector<uint32_t> unseen;
  ASSERT_TRUE(connection.SearchUids(1, 0xFFFFFFFFu, &unseen));
  EXPECT_EQ(unseen.size(), static_cast<size_t>(kManyMessages));
}

TEST_F(ImapImportTest, AnEmptyMailboxImportsNothingAndSucceeds) {
  const ImportOutcome outcome = ImportImap(Plain("carl", "pw"));
  EXPECT_EQ(total_bytes_, 0u);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL);
  EXPECT_NE(outcome.log.find("holds no message to import"), std::string::npos) << outcome.log;
}

TEST_F(ImapImportTest, ServersThatCannotBeReadAreNotQueued) {
  auto [error, log] = RefusedQueue(Plain("ann", "wrong"), false);
  EXPECT_EQ(error, error_code::kImapLoginRefused);
  EXPECT_NE(log.find("The mail server 127.0.0.1:" + std::to_string(server_->imap_port()) +
                     " refused the user name or password."),
            std::string::npos)
      << log;

  ImapSource nobody = Plain("ann", "secret");
  nobody.port = dovecot_test::FreePort();
  std::tie(error, log) = RefusedQueue(nobody, false);
  EXPECT_EQ(error, error_code::kImapCannotConnect) << log;

  ImapSource missing = Plain("ann", "secret");
  missing.mailbox = "No Such Box";
  std::tie(error, log) = RefusedQueue(missing, false);
  EXPECT_EQ(error, error_code::kImapMailbox) << log;
  EXPECT_NE(log.find("The mailbox No Such Box could not be opened"), std::string::npos) << log;

  ImapSource nameless = Plain("ann", "secret");
  nameless.server = "imap://";
  std::tie(error, log) = RefusedQueue(nameless, false);
  EXPECT_EQ(error, error_code::kImapCannotConnect) << log;
}

TEST_F(ImapImportTest, ACertificateOfTheServersOwnMakingIsRefusedUnlessTheCheckIsOff) {
  const ImapSource imaps{"imaps://127.0.0.1", "bob", "hunter2", "INBOX", server_->imaps_port(), "",
                          KSIMP_FIREWALL_NONE};
  const auto [error, log] = RefusedQueue(imaps, /*check_certificate=*/true);
  EXPECT_EQ(error, error_code::kImapCertificate);
  EXPECT_NE(log.find("could not be verified"), std::string::npos) << log;

  // STARTTLS checks it just the same.
  const auto [starttls_error, starttls_log] = RefusedQueue(Plain("bob", "hunter2"), true);
  EXPECT_EQ(starttls_error, error_code::kImapCertificate) << starttls_log;

  const ImportOutcome outcome = ImportImap(imaps, /*check_certificate=*/false);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(StoredSubjects(), ExpectedSubjects(kFewMessages));
}

TEST_F(ImapImportTest, AnAbortKeepsWhatArrivedAndIsNoFailure) {
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  KSIMP_SetImapCertificateCheck(handle, 0);
  ASSERT_EQ(QueueImap(handle, Plain("ann", "secret")), 1u) << LogOf(handle);
  std::atomic<bool> done{false};
  std::thread aborter([&] {
    while (!done.load() && KSIMP_GetNumDocsAdded(handle) < 20) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    KSIMP_Abort(handle);
  });
  uint32_t added = 0;
  const uint32_t result = KSIMP_Import(handle, 0, 0, nullptr, &added);
  done.store(true);
  aborter.join();
  EXPECT_EQ(result, 1u) << LogOf(handle);
  EXPECT_GE(added, 20u);
  EXPECT_LT(added, static_cast<uint32_t>(kManyMessages)) << "the abort was seen";
  EXPECT_EQ(Documents().size(), added);
}

TEST_F(ImapImportTest, TheFirewallIsCrossedAsASocks5OrHttpProxy) {
  for (const auto& [type, proxy] :
       {std::pair{KSIMP_FIREWALL_SOCKS5, CuttingRelay::Proxy::kSocks5},
        std::pair{KSIMP_FIREWALL_HTTP_TUNNEL, CuttingRelay::Proxy::kHttpConnect}}) {
    FreshDatabase();
    const CuttingRelay firewall(server_->imap_port(), size_t{1} << 30, proxy);
    ImapSource source = Plain("bob", "hunter2");
    source.server = "mail.example.com";  // only the firewall resolves it
    source.port = 143;
    source.firewall = "127.0.0.1:" + std::to_string(firewall.port());
    source.firewall_type = type;
    const ImportOutcome outcome = ImportImap(source);
    EXPECT_EQ(outcome.result, 1u) << type << ": " << outcome.log;
    EXPECT_EQ(firewall.proxied(), 2) << type << ": the count on queuing, then the import";
    EXPECT_EQ(StoredSubjects(), ExpectedSubjects(kFewMessages)) << type;
  }
}

TEST_F(ImapImportTest, AServerThatNeverAnswersTimesOut) {
  // A listener whose connections are accepted by the system and never spoken to.
  uint16_t port = 0;
  const int silent = dovecot_test::BoundLoopbackSocket(&port);
  ASSERT_EQ(::listen(silent, 4), 0);

  ImapServer server = *ParseImapServer("127.0.0.1", port, nullptr);
  server.connect_timeout = std::chrono::milliseconds(300);
  server.stall_timeout = std::chrono::milliseconds(300);
  ImapConnection connection(server);
  EXPECT_FALSE(connection.Open());
  EXPECT_EQ(connection.failure().kind, ImapFailure::Kind::kTimeout) << connection.failure().detail;
  EXPECT_EQ(ImapErrorCode(connection.failure().kind), error_code::kImapTimedOut);
  ::close(silent);
}

class ImapProfileTest : public ImapImportTest {
 protected:
  std::pair<uint32_t, std::string> RunProfile(const std::string& name) {
    const ImportOutcome run = RunEmailProfiles({name});
    EXPECT_EQ(run.result, 1u) << run.log;
    return {run.documents_added, run.log};
  }

  std::string ServerProfile(const std::string& name, const std::string& user,
                            const std::string& selection_lines, const std::string& password = "pw",
                            uint16_t port = 0) const {
    return "TYPE=1405\nNAME=" + name + "\nNAME_KESTRO=" + database_ +
           "\nIMAP_SERVER=imap://127.0.0.1:" + std::to_string(port ? port : server_->imap_port()) +
           "\nIMAP_USER=" + user + "\nIMAP_PASSWORD=" + password +
           "\nIMAP_VERIFY_CERTIFICATE=No\nTYPE_MSG=0\n" + selection_lines;
  }

  TempDir config_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_.path().string()};
};

TEST_F(ImapProfileTest, ANewMessagesProfileRunTwiceImportsEachMessageOnce) {
  ASSERT_EQ(KSIMP_SaveEmailProfile(ServerProfile("Server", "dora", "MAILBOX=INBOX\n").c_str(), 0),
            0u);

  auto [added, log] = RunProfile("Server");
  EXPECT_EQ(added, static_cast<uint32_t>(kFewMessages)) << log;
  std::tie(added, log) = RunProfile("Server");
  EXPECT_EQ(added, 0u) << log;
  EXPECT_NE(log.find("\"Server\" Profile - No new messages since last import."),
            std::string::npos)
      << log;

  server_->Deliver("dora", "2000000.test", GeneratedMessage("Late news", 20));
  std::tie(added, log) = RunProfile("Server");
  EXPECT_EQ(added, 1u) << log;
  std::vector<std::string> expected = ExpectedSubjects(kFewMessages);
  expected.push_back("Late news");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(StoredSubjects(), expected) << "each message once";
}

TEST_F(ImapProfileTest, AllMailboxesAreListedAndEachMessageImportedOnce) {
  ASSERT_EQ(KSIMP_SaveEmailProfile(ServerProfile("Every", "eve", "ALL=Yes\n").c_str(), 0), 0u);
  auto [added, log] = RunProfile("Every");
  EXPECT_EQ(added, 4u) << "INBOX, Entwürfe and Archiv.2024, not Archiv, which is none: " << log;
  EXPECT_EQ(StoredSubjects(), (std::vector<std::string>{"Draft 1", "In 1", "In 2", "Old 1"}));
  size_t drafts = 0;
  for (const std::string& document : Documents()) {
    if (document.find("MailBox[ Entwürfe ]") != std::string::npos) ++drafts;
  }
  EXPECT_EQ(drafts, 1u) << "the mailbox's name decoded";

  std::tie(added, log) = RunProfile("Every");
  EXPECT_EQ(added, 0u) << log;
  server_->Deliver("eve", "2000001.test", GeneratedMessage("Draft 2", 7), "Entw&APw-rfe");
  std::tie(added, log) = RunProfile("Every");
  EXPECT_EQ(added, 1u) << log;
  EXPECT_EQ(StoredSubjects().size(), 5u) << "each message once";
}

// A connection cut in the middle keeps the messages before it, and the
// next run takes the rest.
TEST_F(ImapProfileTest, ARunCutShortIsResumedAfterTheMessagesItTook) {
  // The login and the first messages pass; then the server's bytes stop.
  CuttingRelay relay(server_->imap_port(), 64 * 1024);
  ASSERT_EQ(KSIMP_SaveEmailProfile(
                ServerProfile("Cut", "ann", "MAILBOX=INBOX\n", "secret", relay.port()).c_str(), 0),
            0u);
  const ImportOutcome cut = RunEmailProfiles({"Cut"});
  EXPECT_EQ(cut.result, 0u);
  EXPECT_EQ(cut.error, error_code::kImapConnectionLost) << cut.log;
  EXPECT_NE(cut.log.find("The connection to the mail server 127.0.0.1:"), std::string::npos)
      << cut.log;
  const uint32_t first = cut.documents_added;
  EXPECT_EQ(relay.cuts(), 1) << "the count on queuing passes, the run is cut";
  EXPECT_GT(first, 0u);
  EXPECT_LT(first, static_cast<uint32_t>(kManyMessages));
  EXPECT_EQ(Documents().size(), first) << "every message counted is kept";

  relay.CutAfter(size_t{1} << 40);
  const auto [rest, log] = RunProfile("Cut");
  EXPECT_EQ(first + rest, static_cast<uint32_t>(kManyMessages)) << log;
  EXPECT_EQ(StoredSubjects(), ExpectedSubjects(kManyMessages)) << "each message once";
}

}  // namespace
