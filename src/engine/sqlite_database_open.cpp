// SqliteDatabase: creating files, opening them (every refusal made before
// anything could be written), closing.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <random>

#include "engine/engine_error.h"
#include "engine/file_probe.h"
#include "engine/password_hash.h"
#include "engine/schema.h"
#include "engine/sqlite_database.h"

namespace ks::engine {
namespace {

// How long a writer waits for another process's lock before KSENG_ERR_BUSY.
constexpr int kBusyTimeoutMs = 2000;
// Rollback journal, never WAL: a reader of a WAL database writes (its -shm
// file) even to read.  FULL: in rollback-journal mode NORMAL may lose the
// last commit or damage the file on power loss; batching keeps the cost of
// the extra syncs to a few per thousand documents.
constexpr const char* kWriterPragmas =
    "PRAGMA journal_mode = DELETE;"
    "PRAGMA synchronous = FULL;";

std::string Directory(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string CanonicalPath(const std::string& path) {
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) == nullptr) {
    throw EngineError(ErrnoCode(errno), "cannot resolve the path");
  }
  return resolved;
}

// Refuses what the caller may not open: a schema newer than ours, or a
// protected database without the right login group and password.
void CheckSchemaAndCredentials(Connection& connection,
                               const std::optional<Credentials>& credentials) {
  {
    auto tables = connection.Prepared(
        "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name IN ('settings', "
        "'documents')");
    tables->Step();
    Require(tables->Int(0) == 2, KSENG_ERR_NOT_DATABASE, "database tables are missing");
  }
  {
    auto version = connection.Prepared("PRAGMA user_version");
    version->Step();
    Require(version->Int(0) <= static_cast<int64_t>(kSchemaVersion), KSENG_ERR_VERSION,
            "database written by a newer engine");
  }
  SettingsStore settings(connection);
  std::optional<std::string> hash = settings.Text(setting::kPasswordHash);
  if (!hash) return;
  Require(credentials.has_value(), KSENG_ERR_PASSWORD_REQUIRED, "database is protected");
  // Both checks always run, so the time taken does not tell which failed.
  bool password_ok = VerifyPassword(*hash, credentials->password);
  bool group_ok = settings.Text(setting::kLoginGroup).value_or("") == credentials->login_group;
  Require(password_ok && group_ok, KSENG_ERR_PASSWORD_WRONG, "wrong login group or password");
}

// What a reader that cannot roll back an interrupted write says.
constexpr const char* kRollBackAdvice =
    "an interrupted write left a journal beside the database that must be rolled back: open the "
    "database once for writing, as the owner of the file and its folder";

// Makes the first read on a new connection, which tells whether a writer was
// interrupted: its journal must then be rolled back before anything can be
// read.  True when it was, and `connection` cannot do it (it reads only).
bool FindsInterruptedWrite(Connection& connection) {
  sqlite3_busy_timeout(connection.get(), kBusyTimeoutMs);
  int rc = sqlite3_exec(connection.get(), "SELECT count(*) FROM sqlite_schema", nullptr, nullptr,
                        nullptr);
  if (rc == SQLITE_READONLY_ROLLBACK) return true;
  if (rc != SQLITE_OK) ThrowSqlite(connection.get(), rc, "read database");
  return false;
}

// Rolls back the journal an interrupted write left, on a writable connection
// of its own that is closed again at once.  Rolling back restores the last
// committed state: it changes nothing that was ever committed.  Refused with
// KSENG_ERR_INTERRUPTED when the file or its folder (where the journal is
// deleted) cannot be written.
void RollBackInterruptedWrite(const std::string& full_path) {
  Require(
      ::access(full_path.c_str(), W_OK) == 0 && ::access(Directory(full_path).c_str(), W_OK) == 0,
      KSENG_ERR_INTERRUPTED, kRollBackAdvice);
  std::unique_ptr<Connection> writer;
  try {
    writer = std::make_unique<Connection>(FileUri(full_path, false), SQLITE_OPEN_READWRITE);
  } catch (const EngineError& error) {
    if (error.code() == KSENG_ERR_ACCESS) throw EngineError(KSENG_ERR_INTERRUPTED, kRollBackAdvice);
    throw;
  }
  // SQLite falls back to reading only when it may not write after all.
  Require(sqlite3_db_readonly(writer->get(), "main") == 0, KSENG_ERR_INTERRUPTED, kRollBackAdvice);
  sqlite3_busy_timeout(writer->get(), kBusyTimeoutMs);
  writer->Exec(kWriterPragmas);
  // The first read of a connection that may write rolls the journal back.
  Require(!FindsInterruptedWrite(*writer), KSENG_ERR_INTERRUPTED, kRollBackAdvice);
}

// A new file under a unique temporary name beside `path`, removed again
// unless Keep() is called.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& path) {
    std::random_device seed;
    std::mt19937_64 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::string candidate = fmt::format("{}.new-{:016x}", path, random());
      // 0666 lets the umask decide, as for any other file the user creates.
      int fd = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (fd >= 0) {
        close(fd);
        path_ = candidate;
        return;
      }
      if (errno != EEXIST) throw EngineError(ErrnoCode(errno), "cannot create the file");
    }
    throw EngineError(KSENG_ERR_IO, "cannot find a free temporary name");
  }
  ~TemporaryFile() {
    if (path_.empty()) return;
    unlink(path_.c_str());
    unlink((path_ + "-journal").c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }
  void Keep() { path_.clear(); }

 private:
  std::string path_;
};

}  // namespace

void SqliteDatabase::Create(const std::string& path, std::string_view login_group,
                            std::string_view password, bool replace) {
  Require(!path.empty(), KSENG_ERR_ARGUMENT, "empty path");
  Require(login_group.empty() == password.empty(), KSENG_ERR_ARGUMENT,
          "a protected database needs both a login group and a password");
  struct stat info {};
  bool exists = lstat(path.c_str(), &info) == 0;
  Require(!exists || (replace && !S_ISDIR(info.st_mode)), KSENG_ERR_EXISTS, "file exists");

  std::string hash = password.empty() ? std::string() : HashPassword(password);
  TemporaryFile temporary(path);
  {
    Connection connection(FileUri(temporary.path(), false), SQLITE_OPEN_READWRITE);
    connection.Exec(kWriterPragmas);
    // 16 KB pages (SQLite's default is 4 KB): a quarter of the pages, b-tree
    // levels and writes for the same documents.  Adding documents and
    // indexing them both run markedly faster; a page is still small next to
    // a typical document, so reading one costs little more.  It can only be
    // chosen before the first table exists.
    connection.Exec("PRAGMA page_size = 16384");
    connection.Exec("BEGIN");
    CreateSchema(connection);
    SettingsStore(connection).Seed(login_group, hash);
    connection.Exec("COMMIT");
  }
  if (replace) {
    // A journal left by the replaced file would be "recovered" into ours.
    unlink((path + "-journal").c_str());
    if (rename(temporary.path().c_str(), path.c_str()) != 0) {
      throw EngineError(ErrnoCode(errno), "cannot move the new file into place");
    }
  } else if (link(temporary.path().c_str(), path.c_str()) != 0) {
    // link() never replaces: the file may have appeared since the check.
    int error = errno;
    Require(error != EEXIST, KSENG_ERR_EXISTS, "file exists");
    // Some file systems have no hard links; fall back to a plain rename.
    struct stat again {};
    Require(lstat(path.c_str(), &again) != 0, KSENG_ERR_EXISTS, "file exists");
    if (rename(temporary.path().c_str(), path.c_str()) != 0) {
      throw EngineError(ErrnoCode(errno), "cannot move the new file into place");
    }
  } else {
    unlink(temporary.path().c_str());
  }
  temporary.Keep();
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::Open(const std::string& path, int32_t access,
                                                     int32_t share,
                                                     const std::optional<Credentials>& credentials,
                                                     const EngineTuning& tuning) {
  Require(!path.empty(), KSENG_ERR_ARGUMENT, "empty path");
  Require(access == KSENG_ACCESS_READ || access == KSENG_ACCESS_READWRITE, KSENG_ERR_ARGUMENT,
          "unknown access mode");
  Require(share == KSENG_SHARE_READ || share == KSENG_SHARE_READWRITE, KSENG_ERR_ARGUMENT,
          "unknown share mode");
  uint32_t version = ProbeDatabaseFile(path);
  Require(version != 0, KSENG_ERR_NOT_DATABASE, "database was never completed");
  Require(version <= kSchemaVersion, KSENG_ERR_VERSION, "database written by a newer engine");
  std::string full_path = CanonicalPath(path);
  bool writable = access == KSENG_ACCESS_READWRITE;
  if (writable) {
    Require(
        ::access(full_path.c_str(), W_OK) == 0 && ::access(Directory(full_path).c_str(), W_OK) == 0,
        KSENG_ERR_ACCESS, "file or its folder cannot be written");
  }

  auto reader = std::make_unique<Connection>(FileUri(full_path, true), SQLITE_OPEN_READONLY);
  bool interrupted = FindsInterruptedWrite(*reader);
  if (interrupted && !writable) {
    // A reader may not roll the journal back itself.  A connection of its
    // own that may write does it, and the reader starts again on the file as
    // it was last committed.  A clean file never gets here, so a read-only
    // open of one still writes nothing.
    reader.reset();
    RollBackInterruptedWrite(full_path);
    reader = std::make_unique<Connection>(FileUri(full_path, true), SQLITE_OPEN_READONLY);
    // Another writer may have been killed in the meantime: that is rare
    // enough to report rather than to try again.
    Require(!FindsInterruptedWrite(*reader), KSENG_ERR_INTERRUPTED, kRollBackAdvice);
    interrupted = false;
  }
  if (!interrupted) CheckSchemaAndCredentials(*reader, credentials);

  if (!writable) {
    // Scratch search tables stay in memory: a reader creates no files.
    reader->Exec("PRAGMA temp_store = MEMORY");
    return std::unique_ptr<SqliteDatabase>(
        new SqliteDatabase(std::move(reader), full_path, false, share, tuning));
  }
  reader.reset();

  auto writer = std::make_unique<Connection>(FileUri(full_path, false), SQLITE_OPEN_READWRITE);
  Require(sqlite3_db_readonly(writer->get(), "main") == 0, KSENG_ERR_ACCESS,
          "file cannot be written");
  sqlite3_busy_timeout(writer->get(), kBusyTimeoutMs);
  // Rolling back an interrupted write restores the last committed state; it
  // changes nothing that was ever committed.
  if (interrupted) CheckSchemaAndCredentials(*writer, credentials);
  writer->Exec(kWriterPragmas);
  writer->Exec(fmt::format("PRAGMA cache_size = {}", -tuning.cache_kib).c_str());
  std::unique_ptr<SqliteDatabase> database(
      new SqliteDatabase(std::move(writer), full_path, true, share, tuning));
  database->Writing([&] {
    if (version < kSchemaVersion) UpgradeSchema(*database->connection_, version);
    database->search_.CatchUp();
  });
  database->batch_.Commit();
  return database;
}

std::unique_ptr<Connection> SqliteDatabase::OpenSecondWriter() const {
  auto writer = std::make_unique<Connection>(FileUri(path_, false), SQLITE_OPEN_READWRITE);
  sqlite3_busy_timeout(writer->get(), kBusyTimeoutMs);
  writer->Exec(kWriterPragmas);
  return writer;
}

SqliteDatabase::SqliteDatabase(std::unique_ptr<Connection> connection, std::string path,
                               bool writable, int32_t share, const EngineTuning& tuning)
    : connection_(std::move(connection)),
      path_(std::move(path)),
      writable_(writable),
      share_mode_(share),
      tuning_(tuning),
      settings_(*connection_),
      documents_(*connection_),
      search_(*connection_, documents_, settings_),
      order_(*connection_, documents_, search_, tuning.order_gap),
      forms_(*connection_),
      attachments_(*connection_),
      batch_(*connection_, tuning.batch),
      pending_(*connection_, tuning.pending_limit) {}

SqliteDatabase::~SqliteDatabase() {
  // Close() commits; without it the connection's close rolls back whatever
  // the open batch held.
  pending_.Clear();
}

void SqliteDatabase::Close() {
  if (closed_) return;
  closed_ = true;
  pending_.Clear();
  if (!writable_) return;
  CommitBatch();
  IndexInParallel();
  IndexAndCommit();
}

}  // namespace ks::engine
