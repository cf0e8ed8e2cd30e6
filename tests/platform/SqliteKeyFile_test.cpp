#include "platform/SqliteKeyFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace fieldpost::test {
namespace {

/// A database in memory with the SQL function `fail`, which fails with the code of its argument.
class FailingDatabase {
 public:
  FailingDatabase() {
    const auto fail = [](sqlite3_context* context, int, sqlite3_value** values) {
      sqlite3_result_error_code(context, sqlite3_value_int(values[0]));
    };
    database_.createFunction("fail", 1, false, nullptr, fail);
  }

  [[nodiscard]] SQLite::Exception ErrorOf(int code) {
    try {
      SQLite::Statement statement(database_, "SELECT fail(?)");
      statement.bind(1, code);
      statement.executeStep();
    } catch (const SQLite::Exception& error) {
      return error;
    }
    throw std::logic_error("it did not fail");
  }

 private:
  SQLite::Database database_{":memory:", SQLite::OPEN_READWRITE};
};

TEST(SqliteKeyFileTest, MapsEachDatabaseErrorToStatusAndReason) {
  FailingDatabase database;
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
    const SQLite::Exception error = database.ErrorOf(row.code);
    EXPECT_EQ(KeyStatusOf(error), row.status) << row.code;
    EXPECT_EQ(ReasonFor(error), row.reason) << row.code;
  }
}

}  // namespace
}  // namespace fieldpost::test
