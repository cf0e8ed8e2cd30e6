#include "viewer/LogReader.h"
#include "common/Limits.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>
#include <vector>

#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class LogReaderTest : public testing::Test {
 protected:
  /// Everything that a reader returns for a file of these bytes.
  std::string Shown(std::string_view bytes) const { return All(folder_.Write("log", bytes)); }

  std::string All(const std::filesystem::path& file) const {
    LogReader reader(files_, file);
    return Rest(reader);
  }

  static std::string Rest(LogReader& reader) {
    std::string all;
    for (auto piece = reader.Next(); piece; piece = reader.Next()) all += *piece;
    return all;
  }

  test::TempFolder folder_;
  DiskFileSystem files_;
};

TEST_F(LogReaderTest, EveryKindOfLineEndEndsARow) {
  struct Row {
    std::string bytes;
    std::string expected;
  };
  for (const Row& row : {
           Row{"", ""},
           Row{"a", "a"},
           Row{"a\r\nb\r\n", "a\nb\n"},
           Row{"a\nb\rc", "a\nb\nc"},
           Row{"\r", "\n"},
           Row{"\r\r\n\n", "\n\n\n"},
           Row{"a\r", "a\n"},
           Row{"\n\r\n\r", "\n\n\n"},
           Row{"a\rb\r\nc\n", "a\nb\nc\n"},
       }) {
    EXPECT_EQ(Shown(row.bytes), row.expected) << testing::PrintToString(row.bytes);
  }
}

TEST_F(LogReaderTest, EscapesControlCharactersAndMalformedUtf8) {
  struct Row {
    std::string bytes;
    std::string expected;
  };
  for (const Row& row : {
           Row{"Gr\xC3\xBC\xC3\x9F", "Gr\xC3\xBC\xC3\x9F"},
           Row{"\xF0\x9F\x98\x80.", "\xF0\x9F\x98\x80."},
           Row{"a\tb", "a\tb"},
           Row{"\xFF\t\t\xC3\xBC", "\\xFF\t\t\xC3\xBC"},
           Row{std::string("\0\x1B[1m\x7F", 6), "\\x00\\x1B[1m\\x7F"},
           Row{"\xC2\x85|\xE2\x80\xAE|\xE2\x80\xA8", "\\xC2\\x85|\\xE2\\x80\\xAE|\\xE2\\x80\\xA8"},
           Row{"\xFF\xC3|\xC3", "\\xFF\\xC3|\\xC3"},
           Row{"\xC0\xAF|\xED\xA0\x80", "\\xC0\\xAF|\\xED\\xA0\\x80"},
           Row{"\xE2\x82", "\\xE2\\x82"},
       }) {
    EXPECT_EQ(Shown(row.bytes), row.expected) << testing::PrintToString(row.bytes);
  }
}

TEST_F(LogReaderTest, ReturnsWholeRowsInPiecesOfBoundedSize) {
  // Pieces end inside a row, between CR and LF, and inside a character.
  for (const std::size_t before : {0U, 1U, 2U, 3U, 4U, 5U}) {
    std::string bytes(before, 'x');
    std::string expected = bytes;
    while (bytes.size() < 2 * LogReader::PieceBytes) {
      bytes += "\xC3\xBC\r\n";
      expected += "\xC3\xBC\n";
    }
    LogReader reader(files_, folder_.Write("log", bytes));
    std::string shown;
    for (auto piece = reader.Next(); piece; piece = reader.Next()) {
      EXPECT_LE(piece->size(), LogReader::PieceBytes + LogReader::MaxRowBytes);
      EXPECT_TRUE(piece->empty() || piece->back() == '\n');
      shown += *piece;
    }
    EXPECT_EQ(shown, expected) << before;
  }
}

TEST_F(LogReaderTest, ContinuesALongLineInFurtherRowsBetweenCharacters) {
  const std::string part(LogReader::MaxRowBytes - 1, 'x');
  EXPECT_EQ(Shown(part + "y\r\nend"), part + "y\nend");
  EXPECT_EQ(Shown(part + "\xC3\xBC" + part + "\r\nend"), part + "\n\xC3\xBC" + part.substr(1) + "\nx\nend");
}

TEST_F(LogReaderTest, CutsALongLineBetweenCharactersWhereAPieceEnds) {
  const std::string character = "\xF0\x9F\x98\x80";
  for (const std::size_t inFirstPiece : {1U, 2U, 3U, 4U}) {
    // The character is across the cut, and as many of its bytes are in the first piece.
    const std::string part(LogReader::MaxRowBytes - 1, 'x');
    const std::string filler(
        (LogReader::PieceBytes - part.size() - inFirstPiece - 1) % LogReader::MaxRowBytes, 'f');
    std::string bytes = filler + "\n";
    std::string expected = bytes;
    while (bytes.size() + part.size() + inFirstPiece < LogReader::PieceBytes) {
      bytes += std::string(LogReader::MaxRowBytes, 'y');
      expected += std::string(LogReader::MaxRowBytes, 'y') + "\n";
    }
    EXPECT_EQ(bytes.size() + part.size() + inFirstPiece, LogReader::PieceBytes);
    EXPECT_EQ(Shown(bytes + part + character + "z\n"), expected + part + "\n" + character + "z\n")
        << inFirstPiece;
  }
}

TEST_F(LogReaderTest, CutsALineOfContinuationBytesAlone) {
  std::string shown = Shown(std::string(5 * LogReader::MaxRowBytes, '\x80'));
  std::size_t rows = 1;
  for (std::size_t end = shown.find('\n'); end != std::string::npos; end = shown.find('\n')) {
    EXPECT_LE(end, 4 * LogReader::MaxRowBytes);
    shown.erase(end, 1).erase(0, end);
    ++rows;
  }
  EXPECT_GE(rows, 5U);
}

TEST_F(LogReaderTest, ReadsTheFileToTheSizeThatItHadWhenItWasOpened) {
  const std::filesystem::path file = folder_.Write("log", "one\n");
  LogReader reader(files_, file);
  std::ofstream(file, std::ios::app) << "two\n";
  EXPECT_EQ(Rest(reader), "one\n");
}

TEST_F(LogReaderTest, EndsWhereAFileEndsThatHasBecomeShorter) {
  const std::filesystem::path file = folder_.Write("log", "one\ntwo\n");
  LogReader reader(files_, file);
  std::filesystem::resize_file(file, 5);
  EXPECT_EQ(Rest(reader), "one\nt");
}

TEST_F(LogReaderTest, ShowsTheEndOfALargeLogAfterARowThatSaysSo) {
  const std::string row = "15.03.2004 14:37:09  [Search Latest]:Found 12 OK files\r\n";
  std::string bytes = "the first line\r\n";
  while (bytes.size() <= MaxShownLogBytes + 3 * LogReader::PieceBytes) bytes += row;
  const std::filesystem::path file = folder_.Write("log", bytes);
  LogReader reader(files_, file);
  EXPECT_EQ(reader.Next(), "The log has 65 MiB; only its last 64 MiB are shown. The whole log is in " +
                               Utf8FromPath(file) + "\n");
  EXPECT_EQ(reader.Next(), "");
  std::size_t shown = 0;
  for (auto piece = reader.Next(); piece; piece = reader.Next()) {
    for (std::size_t at = 0; at < piece->size(); at += row.size() - 1) {
      ASSERT_EQ(piece->substr(at, row.size() - 1), row.substr(0, row.size() - 2) + "\n");
    }
    shown += piece->size() / (row.size() - 1) * row.size();
  }
  EXPECT_LE(shown, MaxShownLogBytes);
  EXPECT_GT(shown + row.size(), MaxShownLogBytes);
}

TEST_F(LogReaderTest, ShowsALogOfTheLargestSizeWhole) {
  const std::filesystem::path file = folder_.Write("log", "first\n");
  std::filesystem::resize_file(file, MaxShownLogBytes);
  LogReader reader(files_, file);
  EXPECT_THAT(reader.Next().value_or(""), StartsWith("first\n\\x00\\x00"));
  std::filesystem::resize_file(file, MaxShownLogBytes + 1);
  LogReader larger(files_, file);
  EXPECT_THAT(larger.Next().value_or(""), StartsWith("The log has 65 MiB; only its last 64 MiB are shown."));
}

TEST_F(LogReaderTest, ThrowsWhenTheFileCannotBeRead) {
  EXPECT_THROW(LogReader(files_, folder_ / "missing"), FileError);
  EXPECT_THROW(LogReader(files_, folder_.Folder("folder")), FileError);
  LogReader reader(files_, folder_.Write("log", "text"));
  const test::FailingCall failing("read", EIO);
  try {
    static_cast<void>(reader.Next());
    ADD_FAILURE() << "was read";
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), HasSubstr("Input/output error"));
  }
}

}  // namespace
}  // namespace fieldpost
