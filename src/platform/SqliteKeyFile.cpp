#include "platform/SqliteKeyFile.h"

#include <array>
#include <new>
#include <utility>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::int64_t SchemaVersion = 1;
constexpr std::int64_t ApplicationId = 0x46504B53;
constexpr int BusyMilliseconds = 2'000;

// NOCASE knows the case of ASCII letters only. AUTOINCREMENT never gives a row's number a second time, so
// that a key that was deleted while it was open is not taken for another. The first rows are the roots.
constexpr std::array<std::string_view, 4> Schema{
    "CREATE TABLE keys (id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER,"
    " name TEXT NOT NULL COLLATE NOCASE, UNIQUE (parent, name))",
    "CREATE TABLE key_values (key INTEGER NOT NULL, name TEXT NOT NULL COLLATE NOCASE, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY (key, name))",
    "INSERT INTO keys (id, parent, name) VALUES (1, NULL, 'HKEY_CLASSES_ROOT'), (2, NULL, "
    "'HKEY_CURRENT_USER'),"
    " (3, NULL, 'HKEY_LOCAL_MACHINE'), (4, NULL, 'HKEY_USERS'), (6, NULL, 'HKEY_CURRENT_CONFIG')",
    "PRAGMA application_id = 1179667283",
};

std::int64_t Pragma(sqlite3* database, std::string_view pragma) {
  SqliteStatement statement(database, pragma);
  statement.Step();
  return statement.Number(0);
}

void Execute(sqlite3* database, std::string_view sql) {
  SqliteStatement(database, sql).Step();
}

}  // namespace

KeyStatus KeyStatusOf(const SqliteError& error) {
  switch (error.Code()) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return KeyBusy;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_AUTH:
      return KeyRefused;
    case SQLITE_FULL:
      return KeyDiskFull;
    case SQLITE_TOOBIG:
      return KeyBadArgument;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:  // a table or column is not what it should be
      return KeyStoreDamaged;
    default:
      return KeyInputOutput;
  }
}

std::string ReasonFor(const SqliteError& error) {
  // SQLite quotes what it found in the file.
  const std::string description = EscapeControls(error.what());
  switch (KeyStatusOf(error)) {
    case KeyBusy:
      return "another program has been using it for too long";
    case KeyStoreDamaged:
      return "the file is damaged, or is no key store (" + description + ")";
    default:
      return description;
  }
}

SqliteTransaction::SqliteTransaction(sqlite3* database, std::string_view begin) : database_(database) {
  Execute(database, begin);
}

SqliteTransaction::~SqliteTransaction() {
  if (sqlite3_get_autocommit(database_) == 0) sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::Commit() {
  Execute(database_, "COMMIT");
}

SqliteKeyFile::SqliteKeyFile(FileSystem& files, std::filesystem::path file)
    : files_(files), file_(std::move(file)) {}

bool SqliteKeyFile::OpenExisting() {
  if (!files_.Exists(file_)) {
    Disconnect();
    return false;
  }
  const FileStamp stamp = files_.Stamp(file_);
  if (stamp.device != connected_.device || stamp.file != connected_.file) Disconnect();
  if (stamp.size > MaxRegistryBytes) throw FileTooLarge(file_, MaxRegistryBytes);
  if (!database_) Connect(stamp);
  if (!ready_) CheckVersion();
  return ready_;
}

void SqliteKeyFile::OpenOrMake() {
  if (!files_.Exists(file_)) {
    files_.CreateFolders(file_.parent_path(), FileAccess::OwnerOnly);
    try {
      files_.WriteNew(file_, "", FileAccess::OwnerOnly);
    } catch (const FileError&) {
      if (!files_.Exists(file_)) throw;  // else another process was faster
    }
  }
  if (OpenExisting()) return;
  if (!database_) throw KeyCallFailed(KeyRefused, "the file was taken away while it was being made");
  MakeTables();
}

void SqliteKeyFile::Disconnect() {
  database_.reset();
  ready_ = false;
}

void SqliteKeyFile::Connect(const FileStamp& stamp) {
  sqlite3* database = nullptr;
  const int status = sqlite3_open_v2(Utf8FromPath(file_).c_str(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<sqlite3, Close> opened(database);
  if (!opened) throw std::bad_alloc();  // no test: only where there is no memory left
  if (status != SQLITE_OK) throw SqliteError(database);
  sqlite3_busy_timeout(database, BusyMilliseconds);
  sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // EXTRA also flushes the folder when the journal goes, so that no power cut brings a finished write back.
  Execute(database, "PRAGMA synchronous = EXTRA");
  Execute(database, "PRAGMA temp_store = MEMORY");
  database_ = std::move(opened);
  ++generation_;
  connected_ = stamp;
}

void SqliteKeyFile::CheckVersion() {
  const SqliteTransaction transaction(database_.get(), "BEGIN");
  const std::int64_t version = Pragma(database_.get(), "PRAGMA user_version");
  const std::int64_t application = Pragma(database_.get(), "PRAGMA application_id");
  const std::int64_t tables = Pragma(database_.get(), "SELECT count(*) FROM sqlite_master");
  if (version == 0 && application == 0 && tables == 0) return;
  if (application != ApplicationId || version < SchemaVersion) {
    throw KeyCallFailed(KeyStoreDamaged, "the file is no key store of this program");
  }
  if (version > SchemaVersion) {
    throw KeyCallFailed(KeyStoreDamaged, "the file is of version " + std::to_string(version) +
                                             ", made by a later version of the program");
  }
  SqliteStatement check(database_.get(), "PRAGMA quick_check(1)");
  check.Step();
  if (check.Bytes(0) != "ok") {
    throw KeyCallFailed(KeyStoreDamaged, "the file is damaged (" + EscapeControls(check.Bytes(0)) + ")");
  }
  ready_ = true;
}

void SqliteKeyFile::MakeTables() {
  InTransaction([this] {
    if (Pragma(database_.get(), "SELECT count(*) FROM sqlite_master") != 0) return;
    for (const std::string_view sql : Schema) Execute(database_.get(), sql);
    Execute(database_.get(), "PRAGMA user_version = 1");
  });
  CheckVersion();
}

}  // namespace fieldpost
