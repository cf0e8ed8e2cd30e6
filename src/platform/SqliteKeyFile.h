// The SQLite file behind a key store: found, made, checked and connected to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "platform/SqliteStatement.h"

namespace fieldpost {

/// A call on a key store comes to nothing. `what()` says why when the store itself is at fault, else it is
/// empty.
class KeyCallFailed : public std::runtime_error {
 public:
  explicit KeyCallFailed(KeyStatus status, const std::string& reason = {})
      : std::runtime_error(reason), status_(status) {}

  [[nodiscard]] KeyStatus Status() const { return status_; }

 private:
  KeyStatus status_;
};

/// The status of a key store's call that SQLite made fail, by SQLite's primary result code.
KeyStatus KeyStatusOf(const SqliteError& error);

/// What to tell the user about it, e.g. "the file is damaged, or is no key store (...)".
std::string ReasonFor(const SqliteError& error);

/// A transaction that is rolled back unless it is committed.
class SqliteTransaction {
 public:
  SqliteTransaction(sqlite3* database, std::string_view begin);
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;
  ~SqliteTransaction();

  void Commit();

 private:
  sqlite3* database_;
};

/// Tables: `keys` (id, parent, name), whose first rows are the roots, and `key_values` (key, name, type,
/// data). Operations that fail throw KeyCallFailed, SqliteError or FileError.
class SqliteKeyFile {
 public:
  /// Opens nothing yet.
  SqliteKeyFile(FileSystem& files, std::filesystem::path file);

  /// Connects to the file that bears the name now. False when there is none, or it holds nothing yet.
  bool OpenExisting();

  /// Connects to the file, and makes it first where it is missing.
  void OpenOrMake();

  /// The connection, which OpenExisting and OpenOrMake may replace.
  [[nodiscard]] sqlite3* Database() const { return database_.get(); }

  /// Which connection this is: changes when another file has taken the place of the one that was open.
  [[nodiscard]] int Generation() const { return generation_; }

  /// Does `work` wholly or not at all, and durably; waits while another process writes.
  template <typename Work>
  void InTransaction(Work work) {
    SqliteTransaction transaction(Database(), "BEGIN IMMEDIATE");
    work();
    transaction.Commit();
  }

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };

  void Connect(const FileStamp& stamp);
  void Disconnect();
  void CheckVersion();
  void MakeTables();

  FileSystem& files_;
  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Close> database_;
  FileStamp connected_;  ///< which file the connection is to
  bool ready_ = false;   ///< its tables are there, sound and of our version
  int generation_ = 0;
};

}  // namespace fieldpost
