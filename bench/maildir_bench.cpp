// Importing the benchmark's 100,000 messages as a Maildir (one file per
// message, one document each) beside the same messages as a standard
// mailbox, in the same run: the Maildir walk and reading alone, and with each
// message shaped and composed as the import does (no engine); the import
// split into its documents and its full-text index; Python's mailbox, email
// and sqlite3 modules over the same Maildir.
//
//   maildir_bench [maildir] [mail.mbox] [folder]
//
// The sources default to $BENCH_DATA/maildir and $BENCH_DATA/mail.mbox
// (BENCH_DATA defaults to ${TMPDIR:-/tmp}/bench-data; gen_all.sh makes both,
// the Maildir from the mailbox by mbox_to_maildir.py).  folder (or TMPDIR,
// else /tmp) receives the databases, removed afterwards.  Each import runs
// in a child process of its own (this program, started again with --import)
// and is the best of three rounds; every figure is given as time on the
// clock and as processor time of the working thread.  The page cache is
// warm: every file is read once before the first round.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench_support.h"
#include "end_add_timer.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/maildir_tree.h"
#include "importers/mail/message_file.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "python_mail_baseline.h"

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

struct Timed {
  double seconds = 1e9;
  double cpu_seconds = 1e9;
  void KeepBest(const Timed& other) {
    seconds = std::min(seconds, other.seconds);
    cpu_seconds = std::min(cpu_seconds, other.cpu_seconds);
  }
};

struct ImportFigures {
  Timed total;
  Timed index;
  uint32_t documents = 0;
};

// The child's side: imports `source` as `type` into a new `database` and
// prints its figures on one line.
int ImportInThisProcess(int32_t type, const std::string& source, const std::string& database) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, source.c_str(), type, 1, 0, nullptr, 0, nullptr, 0, 0, nullptr,
                             1, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0,
                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0)) {
    Fail("cannot queue " + source);
  }
  bench::end_add_seconds = 0;
  bench::end_add_cpu_seconds = 0;
  const double cpu_start = bench::ThreadCpuSeconds();
  uint32_t documents = 0;
  if (KSIMP_Import(handle, 0, 0, nullptr, &documents) != 1) Fail("the import failed");
  fmt::print("{} {} {} {} {}\n", Seconds(start), bench::end_add_seconds,
             bench::ThreadCpuSeconds() - cpu_start, bench::end_add_cpu_seconds, documents);
  unlink(database.c_str());
  return 0;
}

ImportFigures ImportInChild(int32_t type, const std::string& source, const std::string& database) {
  char self[4096] = {};
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) Fail("cannot find this program");
  const std::string command =
      fmt::format("'{}' --import {} '{}' '{}'", std::string(self, static_cast<size_t>(length)),
                  type, source, database);
  ImportFigures best;
  for (int round = 0; round < 3; ++round) {
    FILE* child = popen(command.c_str(), "r");
    if (child == nullptr) Fail("cannot start " + command);
    Timed total, index;
    uint32_t documents = 0;
    const int read = fscanf(child, "%lf %lf %lf %lf %u", &total.seconds, &index.seconds,
                            &total.cpu_seconds, &index.cpu_seconds, &documents);
    if (pclose(child) != 0 || read != 5) Fail("the import in " + command + " failed");
    best.total.KeepBest(total);
    best.index.KeepBest(index);
    best.documents = documents;
  }
  return best;
}

// The Maildir walked and every message read as the import does; with
// `compose`, each also shaped and composed into its document text.
Timed WalkMaildir(const std::string& path, bool compose, uint64_t* messages) {
  const auto start = Clock::now();
  const double cpu_start = bench::ThreadCpuSeconds();
  std::string why;
  const std::optional<MaildirTree> tree = MaildirTree::Open(path, &why);
  if (!tree) Fail(why);
  size_t kept = 0;
  *messages = 0;
  std::string bytes;
  for (const std::string& relative : tree->folders()) {
    const std::optional<MaildirFolder> folder = tree->OpenFolder(relative, &why);
    if (!folder) Fail(why);
    for (const MaildirMessage& file : folder->messages()) {
      if (folder->Read(file, message_file::kLargestMessage, &bytes, &why) !=
          MaildirFolder::ReadResult::kRead) {
        Fail(why);
      }
      ++*messages;
      if (!compose) {
        kept += bytes.size();
        continue;
      }
      message_file::Message message =
          message_file::AsMailboxMessage(bytes, static_cast<int64_t>(file.delivered));
      CStdMessage composer;
      composer.SetSeparatorLine(std::move(message.separator_line));
      composer.SetMailBox("maildir");
      composer.SetRawText(std::move(message.raw_text));
      kept += composer.DocumentText().size();
    }
  }
  if (kept == 0) Fail("the Maildir gave no text");
  return {Seconds(start), bench::ThreadCpuSeconds() - cpu_start};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::string(argv[1]) == "--import") {
    return ImportInThisProcess(std::atoi(argv[2]), argv[3], argv[4]);
  }
  const std::string maildir = argc > 1 ? argv[1] : bench::BenchDataFile("maildir");
  const std::string mbox = argc > 2 ? argv[2] : bench::BenchDataFile("mail.mbox");
  const std::string folder = bench::WorkFolder(argc > 3 ? argv[3] : nullptr);
  if (!MaildirTree::IsMaildir(maildir)) Fail(maildir + " is not a Maildir");
  const double megabytes = static_cast<double>(MaildirTree::MessageBytes(maildir)) / 1e6;

  uint64_t messages = 0;
  WalkMaildir(maildir, false, &messages);  // warms the page cache
  Timed walk, composed;
  for (int round = 0; round < 3; ++round) {
    walk.KeepBest(WalkMaildir(maildir, false, &messages));
    composed.KeepBest(WalkMaildir(maildir, true, &messages));
  }
  const std::string database = folder + "/maildir_bench.kst";
  const ImportFigures as_maildir = ImportInChild(KSIMP_TYPE_MAILDIR, maildir, database);
  const ImportFigures as_mbox = ImportInChild(KSIMP_TYPE_MBX, mbox, database);
  const bench::PythonMailFigures baseline =
      bench::TimePythonMail("mailbox.Maildir(path, create=False)", maildir, folder);
  const long python_messages = baseline.messages;
  const Timed python{baseline.seconds, baseline.cpu_seconds};

  const double count = static_cast<double>(messages);
  auto line = [&](const char* what, const Timed& timed) {
    fmt::print("  {:<34} {:7.3f} s {:9.0f} messages/s   CPU {:7.3f} s {:9.0f} messages/s\n", what,
               timed.seconds, count / timed.seconds, timed.cpu_seconds, count / timed.cpu_seconds);
  };
  const auto documents_only = [](const ImportFigures& f) {
    return Timed{f.total.seconds - f.index.seconds, f.total.cpu_seconds - f.index.cpu_seconds};
  };
  fmt::print("{}: {} messages, {:.1f} MB; imported {} documents (mailbox: {}; Python: {})\n",
             maildir, messages, megabytes, as_maildir.documents, as_mbox.documents,
             python_messages);
  line("Maildir walk and reading alone", walk);
  line("walk, reading and composer", composed);
  line("Maildir import, documents only", documents_only(as_maildir));
  line("Maildir import's full-text index", as_maildir.index);
  line("Maildir import in all", as_maildir.total);
  line("mailbox import, documents only", documents_only(as_mbox));
  line("mailbox import in all", as_mbox.total);
  line("Python mailbox.Maildir+email+sqlite3", python);
  fmt::print("  documents only: Maildir {:.2f}x the mailbox's time; {:.1f}x Python's speed\n",
             documents_only(as_maildir).seconds / documents_only(as_mbox).seconds,
             python.seconds / documents_only(as_maildir).seconds);
  return 0;
}
