#include "platform/SqliteKeyStore.h"

#include <sqlite3.h>

#include <cerrno>
#include <memory>

#include "common/Text.h"
#include "contract/KeyStoreContract.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

struct SqliteFixture {
  TempFolder folder;
  DiskFileSystem files;
};

KeyStoreUnderTest MakeSqliteKeyStore() {
  auto fixture = std::make_shared<SqliteFixture>();
  auto store = std::make_unique<SqliteKeyStore>(fixture->files, fixture->folder / "registry.sqlite");
  return {std::move(fixture), std::move(store)};
}

INSTANTIATE_TEST_SUITE_P(Sqlite, KeyStoreContract, testing::Values(KeyStoreMaker(MakeSqliteKeyStore)));

/// Opens a store as another program would.
class RawDatabase {
 public:
  explicit RawDatabase(const fs::path& file) { EXPECT_EQ(sqlite3_open(file.c_str(), &database_), SQLITE_OK); }
  RawDatabase(const RawDatabase&) = delete;
  RawDatabase& operator=(const RawDatabase&) = delete;
  ~RawDatabase() { sqlite3_close(database_); }

  void Run(const char* sql) const {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(database_, sql, nullptr, nullptr, &error), SQLITE_OK) << error;
  }

 private:
  sqlite3* database_ = nullptr;
};

class SqliteKeyStoreTest : public testing::Test {
 protected:
  static constexpr KeyHandle Root = KeyHandle::LocalMachine;

  static KeyStatus Write(KeyStore& keys, std::string_view key, std::string_view text) {
    OpenedKey opened(keys);
    if (const KeyStatus status = opened.Create(Root, key, KeyAllAccess); status != KeyOk) return status;
    return keys.SetValue(opened.Handle(), "", KeyTypeText, text);
  }
  static KeyStatus Read(KeyStore& keys, std::string_view key, std::string& text) {
    OpenedKey opened(keys);
    KeyData data;
    KeyStatus status = opened.Open(Root, key, KeyReadAccess);
    if (status == KeyOk) status = keys.QueryValue(opened.Handle(), "", data);
    if (status == KeyOk) text = data.bytes.c_str();
    return status;
  }
  static std::string Text(KeyStore& keys, std::string_view key) {
    std::string text = "(missing)";
    static_cast<void>(Read(keys, key, text));
    return text;
  }

  TempFolder folder_;
  DiskFileSystem files_;
  fs::path file_ = folder_.Path() / "registry.sqlite";
};

TEST_F(SqliteKeyStoreTest, ReadingCreatesNoFile) {
  SqliteKeyStore keys(files_, folder_.Path() / "missing" / "registry.sqlite");
  std::string text;
  std::vector<std::string> names;
  EXPECT_EQ(keys.Check(), KeyOk);
  EXPECT_EQ(Read(keys, "K", text), KeyMissing);
  EXPECT_EQ(keys.ListSubkeys(Root, names), KeyOk);
  EXPECT_EQ(keys.DeleteKey(Root, "K"), KeyMissing);
  EXPECT_THAT(Names(folder_.Path()), testing::IsEmpty());
}

TEST_F(SqliteKeyStoreTest, CreatesFileAndFoldersForTheOwnerOnly) {
  const fs::path file = folder_.Path() / "new" / "deeper" / "registry.sqlite";
  SqliteKeyStore keys(files_, file);
  ASSERT_EQ(Write(keys, "K", "x"), KeyOk);
  const auto others = fs::perms::group_all | fs::perms::others_all;
  for (const fs::path& path : {file, file.parent_path(), file.parent_path().parent_path()}) {
    EXPECT_EQ(fs::status(path).permissions() & others, fs::perms::none) << path;
  }
}

TEST_F(SqliteKeyStoreTest, KeepsValuesAcrossInstances) {
  {
    SqliteKeyStore keys(files_, file_);
    ASSERT_EQ(Write(keys, R"(A\B)", "kept"), KeyOk);
  }
  SqliteKeyStore keys(files_, file_);
  EXPECT_EQ(Text(keys, R"(a\b)"), "kept");
}

TEST_F(SqliteKeyStoreTest, TwoInstancesSeeEachOthersWrites) {
  SqliteKeyStore first(files_, file_);
  SqliteKeyStore second(files_, file_);
  EXPECT_EQ(Text(second, "K"), "(missing)");
  ASSERT_EQ(Write(first, "K", "one"), KeyOk);
  EXPECT_EQ(Text(second, "K"), "one");
  ASSERT_EQ(Write(second, "K", "two"), KeyOk);
  EXPECT_EQ(Text(first, "K"), "two");
}

TEST_F(SqliteKeyStoreTest, DoesNotWriteAnUnchangedValue) {
  SqliteKeyStore keys(files_, file_);
  ASSERT_EQ(Write(keys, "K", "x"), KeyOk);
  const FileStamp before = files_.Stamp(file_);
  ASSERT_EQ(Write(keys, "K", "x"), KeyOk);
  EXPECT_EQ(files_.Stamp(file_), before);
}

TEST_F(SqliteKeyStoreTest, TreatsAnEmptyFileAsAnEmptyStore) {
  folder_.Write("registry.sqlite", "");
  SqliteKeyStore keys(files_, file_);
  std::string text;
  EXPECT_EQ(Read(keys, "K", text), KeyMissing);
  EXPECT_EQ(fs::file_size(file_), 0U) << "reading does not write";
  ASSERT_EQ(Write(keys, "K", "x"), KeyOk);
  EXPECT_EQ(Text(keys, "K"), "x");
}

TEST_F(SqliteKeyStoreTest, ReconnectsWhenTheFileIsReplaced) {
  SqliteKeyStore keys(files_, file_);
  ASSERT_EQ(Write(keys, "K", "old"), KeyOk);
  KeyHandle open = KeyHandle::None;
  ASSERT_EQ(keys.OpenKey(Root, "K", KeyAllAccess, open), KeyOk);
  {
    SqliteKeyStore other(files_, folder_.Path() / "other.sqlite");
    ASSERT_EQ(Write(other, "K", "new"), KeyOk);
  }
  fs::rename(folder_.Path() / "other.sqlite", file_);
  EXPECT_EQ(Text(keys, "K"), "new");
  KeyData data;
  EXPECT_EQ(keys.QueryValue(open, "", data), KeyBadHandle) << "the key was open in the replaced file";
  fs::remove(file_);
  EXPECT_EQ(Text(keys, "K"), "(missing)");
  ASSERT_EQ(Write(keys, "K", "anew"), KeyOk);
  EXPECT_EQ(Text(keys, "K"), "anew");
}

TEST_F(SqliteKeyStoreTest, RefusesAndKeepsAFileThatIsNotAnIntactStore) {
  struct Case {
    const char* name;
    std::function<void()> make;
    const char* problem;
  };
  const auto soundStore = [this] {
    SqliteKeyStore keys(files_, file_);
    ASSERT_EQ(Write(keys, "K", std::string(20'000, 'x')), KeyOk);
  };
  const std::vector<Case> cases{
      {"garbage", [this] { folder_.Write("registry.sqlite", std::string(5000, 'g')); }, "is damaged"},
      {"a short text", [this] { folder_.Write("registry.sqlite", "hello"); }, "is damaged"},
      {"truncated",
       [&] {
         soundStore();
         fs::resize_file(file_, fs::file_size(file_) - 4096);
       },
       "is damaged"},
      {"a page overwritten",
       [&] {
         soundStore();
         std::string bytes = ReadFile(file_);
         bytes.replace(4096, 4096, std::string(4096, '\x5A'));
         folder_.Write("registry.sqlite", bytes);
       },
       "is damaged"},
      {"another program's", [this] { RawDatabase(file_).Run("CREATE TABLE t (x); PRAGMA user_version = 1"); },
       "no key store of this program"},
      {"another program's, still empty", [this] { RawDatabase(file_).Run("PRAGMA application_id = 7"); },
       "no key store of this program"},
      {"another program's, without a number", [this] { RawDatabase(file_).Run("CREATE TABLE t (x)"); },
       "no key store of this program"},
      {"without a version",
       [&] {
         soundStore();
         RawDatabase(file_).Run("PRAGMA user_version = 0");
       },
       "no key store of this program"},
      {"a later version",
       [&] {
         soundStore();
         RawDatabase(file_).Run("PRAGMA user_version = 2");
       },
       "of version 2, made by a later version"},
      {"tables missing",
       [&] {
         soundStore();
         RawDatabase(file_).Run("DROP TABLE key_values");
       },
       "is damaged"},
      {"a control character in a table's description",
       [&] {
         soundStore();
         folder_.Write("registry.sqlite",
                       Replaced(ReadFile(file_), "CREATE TABLE key_", "CREATE TABLE key\x02"));
       },
       R"(key store (malformed database schema (key_values) - unrecognized token: "\x02"))"},
  };
  for (const Case& given : cases) {
    fs::remove(file_);
    given.make();
    const std::string before = ReadFile(file_);
    SqliteKeyStore keys(files_, file_);
    std::string text;
    EXPECT_EQ(Write(keys, "K", "overwritten"), KeyStoreDamaged) << given.name;
    EXPECT_EQ(Read(keys, "K", text), KeyStoreDamaged) << given.name;
    EXPECT_THAT(keys.Problem(), testing::HasSubstr(given.problem)) << given.name;
    EXPECT_THAT(keys.Problem(), testing::HasSubstr(Utf8FromPath(file_))) << given.name;
    EXPECT_EQ(EscapeControls(keys.Problem()), keys.Problem()) << given.name;
    EXPECT_EQ(ReadFile(file_), before) << given.name;
    EXPECT_THAT(Names(folder_.Path()), testing::ElementsAre("registry.sqlite")) << given.name;
  }
}

TEST_F(SqliteKeyStoreTest, ReadsAFileUpToTheLimit) {
  constexpr std::uintmax_t largest = 64U << 20U;
  {
    SqliteKeyStore keys(files_, file_);
    ASSERT_EQ(Write(keys, "K", "stored"), KeyOk);
  }
  std::string text;
  fs::resize_file(file_, largest);
  SqliteKeyStore full(files_, file_);
  EXPECT_EQ(Read(full, "K", text), KeyOk);
  EXPECT_EQ(text, "stored");
  fs::resize_file(file_, largest + 1);
  EXPECT_NE(Read(full, "K", text), KeyOk);
  EXPECT_NE(Write(full, "K", "anew"), KeyOk);
  EXPECT_THAT(full.Problem(), testing::EndsWith("larger than 67108864 bytes"));
  EXPECT_EQ(fs::file_size(file_), largest + 1);
}

TEST_F(SqliteKeyStoreTest, RefusesAFolderWithAReason) {
  fs::create_directory(file_);
  SqliteKeyStore keys(files_, file_);
  std::string text;
  EXPECT_EQ(Read(keys, "K", text), KeyRefused);
  EXPECT_EQ(Write(keys, "K", "x"), KeyRefused);
  EXPECT_THAT(keys.Problem(), testing::HasSubstr(Utf8FromPath(file_)));
}

TEST_F(SqliteKeyStoreTest, ReportsAFolderThatCannotBeCreated) {
  folder_.Write("file", "");
  SqliteKeyStore keys(files_, folder_.Path() / "file" / "registry.sqlite");
  EXPECT_EQ(Write(keys, "K", "x"), KeyRefused);
  EXPECT_THAT(keys.Problem(), testing::HasSubstr("file"));
}

TEST_F(SqliteKeyStoreTest, ReportsAFileThatCannotBeCreated) {
  SqliteKeyStore keys(files_, file_);
  const FailingCall failing("open", ENOSPC);
  EXPECT_EQ(Write(keys, "K", "x"), KeyRefused);
  EXPECT_THAT(keys.Problem(), testing::HasSubstr("No space left on device"));
}

TEST_F(SqliteKeyStoreTest, RefusesAValueOfMoreThan16MiB) {
  constexpr std::size_t largest = 16U << 20U;
  SqliteKeyStore keys(files_, file_);
  EXPECT_EQ(keys.SetValue(Root, "V", KeyTypeBinary, std::string(largest + 1, 'x')), KeyBadArgument);
  EXPECT_FALSE(fs::exists(file_));
  ASSERT_EQ(keys.SetValue(Root, "V", KeyTypeBinary, std::string(largest, 'x')), KeyOk);
  KeyData data;
  ASSERT_EQ(keys.QueryValue(Root, "V", data), KeyOk);
  EXPECT_EQ(data.bytes.size(), largest);
}

TEST_F(SqliteKeyStoreTest, KeepsTheValuesOfEachRootApart) {
  SqliteKeyStore keys(files_, file_);
  for (const KeyHandle root : {KeyHandle::ClassesRoot, KeyHandle::CurrentUser, KeyHandle::LocalMachine,
                               KeyHandle::Users, KeyHandle::CurrentConfig}) {
    const std::string text = std::to_string(static_cast<std::uint32_t>(root));
    ASSERT_EQ(keys.SetValue(root, "V", KeyTypeText, text), KeyOk);
    KeyData data;
    ASSERT_EQ(keys.QueryValue(root, "V", data), KeyOk);
    EXPECT_EQ(data.bytes, text + std::string(1, '\0'));
  }
}

TEST_F(SqliteKeyStoreTest, AcceptsRepeatedSeparatorsAndLimitsTheDepth) {
  SqliteKeyStore keys(files_, file_);
  ASSERT_EQ(Write(keys, R"(\A\\B\)", "x"), KeyOk);
  EXPECT_EQ(Text(keys, R"(A\B)"), "x");
  std::string deep = "k";
  for (int level = 1; level < 512; ++level) deep += R"(\k)";
  std::string text;
  EXPECT_EQ(Read(keys, deep, text), KeyMissing);
  EXPECT_EQ(Read(keys, deep + R"(\k)", text), KeyBadArgument);
}

TEST_F(SqliteKeyStoreTest, TerminatesTextsThatAnotherProgramStored) {
  {
    SqliteKeyStore keys(files_, file_);
    ASSERT_EQ(Write(keys, "K", "x"), KeyOk);
  }
  RawDatabase(file_).Run("UPDATE key_values SET data = X'616263'");
  SqliteKeyStore keys(files_, file_);
  OpenedKey opened(keys);
  KeyData data;
  ASSERT_EQ(opened.Open(Root, "K", KeyReadAccess), KeyOk);
  ASSERT_EQ(keys.QueryValue(opened.Handle(), "", data), KeyOk);
  EXPECT_EQ(data.bytes, std::string("abc\0", 4)) << "the store adds the terminator";
}

}  // namespace
}  // namespace fieldpost::test
