#include "platform/SqliteKeyFile.h"

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <utility>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::int64_t SchemaVersion = 1;
constexpr std::int64_t ApplicationId = 0x46504B53;
constexpr int BusyMilliseconds = 2'000;

// NOCASE ignores the case of ASCII letters only. AUTOINCREMENT never reuses a row number, so that a key that
// was deleted while it was open is not taken for another. The first rows are the roots.
constexpr std::array Schema{
    "CREATE TABLE keys (id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER,"
    " name TEXT NOT NULL COLLATE NOCASE, UNIQUE (parent, name))",
    "CREATE TABLE key_values (key INTEGER NOT NULL, name TEXT NOT NULL COLLATE NOCASE, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY (key, name))",
    "INSERT INTO keys (id, parent, name) VALUES (1, NULL, 'HKEY_CLASSES_ROOT'), (2, NULL, "
    "'HKEY_CURRENT_USER'),"
    " (3, NULL, 'HKEY_LOCAL_MACHINE'), (4, NULL, 'HKEY_USERS'), (6, NULL, 'HKEY_CURRENT_CONFIG')",
    "PRAGMA application_id = 1179667283",
};

}  // namespace

KeyStatus KeyStatusOf(const SQLite::Exception& error) {
  switch (error.getErrorCode() & 0xFF) {
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
    case SQLITE_ERROR:  // a table or column is missing
      return KeyStoreDamaged;
    default:
      return KeyInputOutput;
  }
}

std::string ReasonFor(const SQLite::Exception& error) {
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

void SqliteKeyFile::OpenOrCreate() {
  if (!files_.Exists(file_)) {
    files_.CreateFolders(file_.parent_path(), FileAccess::OwnerOnly);
    try {
      files_.WriteNew(file_, "", FileAccess::OwnerOnly);
    } catch (const FileError&) {
      if (!files_.Exists(file_)) throw;  // otherwise another process created it first
    }
  }
  if (OpenExisting()) return;
  if (!database_) throw KeyCallFailed(KeyRefused, "the file was removed while it was being created");
  CreateTables();
}

void SqliteKeyFile::Disconnect() {
  database_.reset();
  ready_ = false;
}

void SqliteKeyFile::Connect(const FileStamp& stamp) {
  auto database = std::make_unique<SQLite::Database>(
      Utf8FromPath(file_), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX, BusyMilliseconds);
  sqlite3_db_config(database->getHandle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(database->getHandle(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // EXTRA also flushes the folder when the journal is removed, so that no power cut undoes a committed write.
  database->exec("PRAGMA synchronous = EXTRA");
  database->exec("PRAGMA temp_store = MEMORY");
  database_ = std::move(database);
  ++generation_;
  connected_ = stamp;
}

void SqliteKeyFile::CheckVersion() {
  const SQLite::Transaction reading(*database_);
  const std::int64_t version = database_->execAndGet("PRAGMA user_version");
  const std::int64_t application = database_->execAndGet("PRAGMA application_id");
  const std::int64_t tables = database_->execAndGet("SELECT count(*) FROM sqlite_master");
  if (version == 0 && application == 0 && tables == 0) return;
  if (application != ApplicationId || version < SchemaVersion) {
    throw KeyCallFailed(KeyStoreDamaged, "the file is no key store of this program");
  }
  if (version > SchemaVersion) {
    throw KeyCallFailed(KeyStoreDamaged, "the file is of version " + std::to_string(version) +
                                             ", made by a later version of the program");
  }
  const std::string check = database_->execAndGet("PRAGMA quick_check(1)");
  if (check != "ok") {
    throw KeyCallFailed(KeyStoreDamaged, "the file is damaged (" + EscapeControls(check) + ")");
  }
  ready_ = true;
}

void SqliteKeyFile::CreateTables() {
  InTransaction([this] {
    if (database_->execAndGet("SELECT count(*) FROM sqlite_master").getInt() != 0) return;
    for (const char* const sql : Schema) database_->exec(sql);
    database_->exec("PRAGMA user_version = 1");
  });
  CheckVersion();
}

}  // namespace fieldpost
