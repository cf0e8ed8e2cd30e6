// The SQLite file of a key store: found, created, checked and connected to.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"

namespace fieldpost {

/// A call on a key store failed. `what()` is the reason when the store itself is at fault, and empty
/// otherwise.
class KeyCallFailed : public std::runtime_error {
 public:
  explicit KeyCallFailed(KeyStatus status, const std::string& reason = {})
      : std::runtime_error(reason), status_(status) {}

  [[nodiscard]] KeyStatus Status() const { return status_; }

 private:
  KeyStatus status_;
};

/// Returns the status of a key store's call that SQLite made fail, by SQLite's primary result code.
KeyStatus KeyStatusOf(const SQLite::Exception& error);

/// Returns the reason of a failure of SQLite for the user, e.g. "the file is damaged, or is no key store
/// (...)". Control characters that SQLite quotes from the file are escaped.
std::string ReasonFor(const SQLite::Exception& error);

/// Tables: `keys` (id, parent, name), whose first rows are the roots, and `key_values` (key, name, type,
/// data). Operations that fail throw KeyCallFailed, SQLite::Exception or FileError.
class SqliteKeyFile {
 public:
  /// `file` is an absolute path. It is opened by OpenExisting or OpenOrCreate.
  SqliteKeyFile(FileSystem& files, std::filesystem::path file);

  /// Connects to the file that has the name now. Returns false when it is missing or empty.
  bool OpenExisting();

  /// Connects to the file, which is created where it is missing.
  void OpenOrCreate();

  /// Returns the connection, which OpenExisting and OpenOrCreate may replace. There must be one.
  [[nodiscard]] SQLite::Database& Database() const { return *database_; }

  /// Returns the number of the connection. It changes when another file has replaced the one that was open.
  [[nodiscard]] int Generation() const { return generation_; }

  /// Runs `work` in one durable transaction, which is rolled back when `work` throws. Waits while another
  /// process writes.
  template <typename Work>
  void InTransaction(Work work) {
    SQLite::Transaction transaction(Database(), SQLite::TransactionBehavior::IMMEDIATE);
    work();
    transaction.commit();
  }

 private:
  void Connect(const FileStamp& stamp);
  void Disconnect();
  void CheckVersion();
  void CreateTables();

  FileSystem& files_;
  std::filesystem::path file_;
  std::unique_ptr<SQLite::Database> database_;
  FileStamp connected_;  ///< the file that the connection is to
  bool ready_ = false;   ///< the tables exist, are intact and of SchemaVersion
  int generation_ = 0;
};

}  // namespace fieldpost
