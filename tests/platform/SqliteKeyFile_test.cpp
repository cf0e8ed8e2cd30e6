#include "platform/SqliteKeyFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace fieldpost::test {
namespace {

/// A database in memory with a function that fails with the code that it is given.
class FailingDatabase {
 public:
  FailingDatabase() {
    EXPECT_EQ(sqlite3_open(":memory:", &database_), SQLITE_OK);
    const auto fail = [](sqlite3_context* context, int, sqlite3_value** values) {
      sqlite3_result_error_code(context, sqlite3_value_int(values[0]));
    };
    EXPECT_EQ(sqlite3_create_function(database_, "fail", 1, SQLITE_UTF8, nullptr, fail, nullptr, nullptr),
              SQLITE_OK);
  }
  FailingDatabase(const FailingDatabase&) = delete;
  FailingDatabase& operator=(const FailingDatabase&) = delete;
  ~FailingDatabase() { sqlite3_close(database_); }

  [[nodiscard]] SqliteError ErrorOf(int code) const {
    try {
      SqliteStatement(database_, "SELECT fail(?)").Bind(1, code).Step();
    } catch (const SqliteError& error) {
      return error;
    }
    throw std::logic_error("it did not fail");
  }

 private:
  sqlite3* database_ = nullptr;
};

TEST(SqliteKeyFileTest, EachFailureOfTheDatabaseHasAStatusAndAReason) {
  const FailingDatabase database;
  const struct {
    int code;
    KeyStatus status;
    const char* reason;
  } rows[] = {
      {SQLITE_BUSY, KeyBusy, "another program has been using it for too long"},
      {SQLITE_LOCKED, KeyBusy, "another program has been using it for too long"},
      {SQLITE_PERM, KeyRefused, "access permission denied"},
      {SQLITE_READONLY, KeyRefused, "attempt to write a readonly database"},
      {SQLITE_CANTOPEN, KeyRefused, "unable to open database file"},
      {SQLITE_AUTH, KeyRefused, "authorization denied"},
      {SQLITE_FULL, KeyDiskFull, "database or disk is full"},
      {SQLITE_TOOBIG, KeyBadArgument, "string or blob too big"},
      {SQLITE_IOERR, KeyInputOutput, "disk I/O error"},
      {SQLITE_CORRUPT, KeyStoreDamaged,
       "the file is damaged, or is no key store (database disk image is malformed)"},
      {SQLITE_NOTADB, KeyStoreDamaged, "the file is damaged, or is no key store (file is not a database)"},
  };
  for (const auto& row : rows) {
    const SqliteError error = database.ErrorOf(row.code);
    EXPECT_EQ(KeyStatusOf(error), row.status) << row.code;
    EXPECT_EQ(ReasonFor(error), row.reason) << row.code;
  }
}

}  // namespace
}  // namespace fieldpost::test
