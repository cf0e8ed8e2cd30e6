#include "viewer/forms/FrmLogFile.h"
#include "common/Limits.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QWheelEvent>
#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <span>
#include <utility>

#include "support/WindowSite.h"
#include "viewer/LogReader.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A clock that shows a second later each time it is read, and midnight after the day's last second.
class RunningClock final : public Clock {
 public:
  LocalTime now;

  [[nodiscard]] LocalTime Now() const override {
    LocalTime shown = now;
    shown.second += reads_++;
    if (shown.second < 60) return shown;
    shown.day += 1;
    shown.hour = shown.minute = shown.second = 0;
    return shown;
  }
  [[nodiscard]] std::chrono::steady_clock::time_point Steady() const override { return {}; }

 private:
  mutable int reads_ = 0;
};

struct LogSite : test::WindowSite {
  std::unique_ptr<FrmLogFile> form;

  void WriteToday(std::string_view bytes) const {
    folder.Write("home/Faultlog/Log/FPProg_15032004.log", bytes);
  }

  void Open() {
    form = std::make_unique<FrmLogFile>(files, program.paths, program.log, display);
    form->resize(500, 300);
    form->show();
    form->activateWindow();
    View().setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !form->IsLoading(); }, 20'000));
  }

  void OpenWith(std::string_view bytes) {
    WriteToday(bytes);
    Open();
  }

  [[nodiscard]] QPlainTextEdit& View() const { return Find<QPlainTextEdit>("txtLogFile"); }
  [[nodiscard]] std::string Shown() const { return FromQt(View().toPlainText()); }
  [[nodiscard]] int Caret() const { return View().textCursor().position(); }
  [[nodiscard]] std::string Selected() const {
    return FromQt(View().textCursor().selectedText().replace(QChar::ParagraphSeparator, u'\n'));
  }
  [[nodiscard]] std::string FirstVisibleRow() const {
    return FromQt(View().cursorForPosition(QPoint(0, 0)).block().text());
  }
  [[nodiscard]] std::string Caption() const { return FromQt(form->windowTitle()); }

  template <class T>
  [[nodiscard]] T& Find(const char* name) const {
    return *form->findChild<T*>(QLatin1String(name));
  }

  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
    QTest::keyClick(&View(), key, modifiers);
  }

  /// Does something that starts a search, and waits for its end. Returns whether it found something.
  template <class Action>
  [[nodiscard]] bool Searching(Action action) const {
    const QSignalSpy ended(form.get(), &FrmLogFile::FindEnded);
    action();
    return QTest::qWaitFor([&] { return !ended.isEmpty(); }, 20'000) && ended.last().first().toBool();
  }
};

TEST(FrmLogFile, StaysEmptyWithoutALogFolder) {
  LogSite site;
  std::filesystem::remove_all(site.Tree("Log"));
  site.Open();
  EXPECT_EQ(site.Caption(), "Log File");
  EXPECT_EQ(site.Shown(), "");
  EXPECT_FALSE(std::filesystem::exists(site.Tree("Log")));
}

TEST(FrmLogFile, WritesTheFirstLineOfADayWithoutEntries) {
  LogSite site;
  site.Open();
  EXPECT_EQ(site.Caption(), "Log File    FPProg_15032004.log");
  EXPECT_EQ(site.Shown(), "15.03.2004 14:37:09  [Log File]\n");
  EXPECT_EQ(test::ReadFile(site.program.log.TodaysFile()), "15.03.2004 14:37:09  [Log File]\r\n");
}

TEST(FrmLogFile, ShowsTheFileAsItWasWhenTheWindowOpened) {
  LogSite site;
  site.OpenWith("one\r\ntwo\r\n");
  EXPECT_EQ(site.Shown(), "one\ntwo\n");
  site.program.log.WriteLog("three", LogCategory::Error);
  EXPECT_EQ(site.Shown(), "one\ntwo\n");
  site.Open();
  EXPECT_THAT(site.Shown(), HasSubstr("[Error]:three\n"));
}

TEST(FrmLogFile, ShowsAnEmptyFileAsEmpty) {
  LogSite site;
  site.OpenWith("");
  EXPECT_EQ(site.Caption(), "Log File    FPProg_15032004.log");
  EXPECT_EQ(site.Shown(), "");
}

TEST(FrmLogFile, CaptionMayNameTheDayBeforeAtMidnight) {
  LogSite site;
  RunningClock clock;
  clock.now = {.year = 2004, .month = 3, .day = 15, .hour = 23, .minute = 59, .second = 58};
  ModWriteLogFile log(site.files, clock, site.program.paths);
  site.WriteToday("yesterday\r\n");
  site.folder.Write("home/Faultlog/Log/FPProg_16032004.log", "today\r\n");
  const FrmLogFile form(site.files, site.program.paths, log, site.display);
  EXPECT_EQ(FromQt(form.windowTitle()), "Log File    FPProg_15032004.log");
  EXPECT_EQ(FromQt(form.findChild<QPlainTextEdit*>()->toPlainText()), "today\n");
}

TEST(FrmLogFile, SaysWhyALogIsUnreadable) {
  LogSite site;
  std::filesystem::create_directory(site.program.log.TodaysFile());
  site.Open();
  EXPECT_THAT(site.Shown(), StartsWith("cannot read "));
  EXPECT_THAT(site.Shown(), HasSubstr("FPProg_15032004.log"));
  EXPECT_EQ(site.View().blockCount(), 1);
}

TEST(FrmLogFile, KeysMoveTheCaret) {
  LogSite site;
  site.OpenWith("ab cd\r\nGr\xC3\xBC\xC3\x9F\r\n\r\nlast");  // rows from 0, 6, 11, 12 to 16
  struct Row {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    int expected;
  };
  for (const Row& row : {
           Row{Qt::Key_Right, Qt::NoModifier, 1},
           Row{Qt::Key_Right, Qt::ControlModifier, 3},
           Row{Qt::Key_End, Qt::NoModifier, 5},
           Row{Qt::Key_Down, Qt::NoModifier, 10},
           Row{Qt::Key_Left, Qt::NoModifier, 9},
           Row{Qt::Key_Left, Qt::NoModifier, 8},
           Row{Qt::Key_Home, Qt::NoModifier, 6},
           Row{Qt::Key_Left, Qt::NoModifier, 5},
           Row{Qt::Key_Right, Qt::NoModifier, 6},
           Row{Qt::Key_Down, Qt::NoModifier, 11},
           Row{Qt::Key_Down, Qt::NoModifier, 12},
           Row{Qt::Key_End, Qt::ControlModifier, 16},
           Row{Qt::Key_Right, Qt::NoModifier, 16},
           Row{Qt::Key_Home, Qt::ControlModifier, 0},
           Row{Qt::Key_Left, Qt::NoModifier, 0},
           Row{Qt::Key_Up, Qt::NoModifier, 0},
           Row{Qt::Key_PageDown, Qt::NoModifier, 12},
           Row{Qt::Key_PageUp, Qt::NoModifier, 0},
       }) {
    site.Key(row.key, row.modifiers);
    EXPECT_EQ(site.Caret(), row.expected) << row.key;
    EXPECT_EQ(site.Selected(), "");
  }
}

TEST(FrmLogFile, ShiftSelectsAndControlCCopies) {
  LogSite site;
  site.OpenWith("ab\r\ncd\r\nef");
  QApplication::clipboard()->setText("before");
  site.Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QApplication::clipboard()->text()), "before");
  site.Key(Qt::Key_Right);
  site.Key(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(site.Selected(), "b\nc");
  site.Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QApplication::clipboard()->text()), "b\nc");
  site.Key(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(site.Selected(), "a");
  site.Key(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(site.Selected(), "ab\ncd\nef");
}

TEST(FrmLogFile, ShowsNoControlCharacterAndBreaksNoRowButAtALineEnd) {
  LogSite site;
  site.OpenWith("a\x1B\xC2\x85\xE2\x80\xA9z\xFF|\xEF\xB7\x90|\xEF\xB7\x91\tb\r\nend");
  EXPECT_EQ(site.Shown(), "a\\x1B\\xC2\\x85\\xE2\\x80\\xA9z\\xFF|\\xEF\\xB7\\x90|\\xEF\\xB7\\x91\tb\nend");
  EXPECT_EQ(site.View().blockCount(), 2);
}

TEST(FrmLogFile, TypingChangesNothing) {
  LogSite site;
  site.OpenWith("ab");
  QTest::keyClicks(&site.View(), "xyz");
  site.Key(Qt::Key_Delete);
  site.Key(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(site.Shown(), "ab");
}

TEST(FrmLogFile, MouseSelects) {
  LogSite site;
  site.OpenWith("first line\r\nsecond line\r\n");
  QWidget* const page = site.View().viewport();
  const int row = site.View().cursorRect().height();
  QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, QPoint(0, row / 2));
  QTest::mouseMove(page, QPoint(page->width() - 1, row / 2));
  QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, QPoint(page->width() - 1, row / 2));
  EXPECT_EQ(site.Selected(), "first line");
  QTest::mouseDClick(page, Qt::LeftButton, Qt::NoModifier, QPoint(10, row + row / 2));
  EXPECT_EQ(site.Selected(), "second");
  QTextCursor rowEnd = site.View().textCursor();
  rowEnd.movePosition(QTextCursor::EndOfBlock);
  QTest::mouseClick(page, Qt::LeftButton, Qt::ShiftModifier,
                    site.View().cursorRect(rowEnd).center() - QPoint(4, 0));
  EXPECT_EQ(site.Selected(), "second line");
}

TEST(FrmLogFile, WheelAndBarsScroll) {
  LogSite site;
  std::string lines;
  for (int i = 0; i < 1000; ++i) lines += fmt::format("line {}\r\n", i);
  site.OpenWith(lines + std::string(2000, 'x'));
  QScrollBar& rows = *site.View().verticalScrollBar();
  EXPECT_EQ(site.FirstVisibleRow(), "line 0");
  QWheelEvent wheel({10, 10}, site.View().mapToGlobal(QPointF(10, 10)), {}, {0, -120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(site.View().viewport(), &wheel);
  EXPECT_EQ(rows.value(), QApplication::wheelScrollLines());
  site.Key(Qt::Key_Down, Qt::ControlModifier);
  EXPECT_EQ(rows.value(), QApplication::wheelScrollLines() + 1);
  EXPECT_EQ(site.Caret(), 0);
  site.Key(Qt::Key_End, Qt::ControlModifier);
  EXPECT_TRUE(site.View().viewport()->rect().contains(site.View().cursorRect()));
  EXPECT_GT(site.View().horizontalScrollBar()->value(), 0);
  site.Key(Qt::Key_Home, Qt::NoModifier);
  EXPECT_EQ(site.View().horizontalScrollBar()->value(), 0);
}

TEST(FrmLogFile, FindGoesAroundWithoutRegardToCase) {
  LogSite site;
  site.OpenWith("M\xC3\xBCller one\r\nM\xC3\x9CLLER two\r\nother\r\n");
  auto& box = site.Find<QLineEdit>("txtFind");
  EXPECT_FALSE(box.isVisible());
  site.Key(Qt::Key_F, Qt::ControlModifier);
  ASSERT_TRUE(box.hasFocus());
  EXPECT_TRUE(site.Searching([&] {
    QKeyEvent umlaut(QEvent::KeyPress, Qt::Key_Udiaeresis, Qt::NoModifier, QStringLiteral("\u00FC"));
    QCoreApplication::sendEvent(&box, &umlaut);
    QTest::keyClicks(&box, "LL");
  }));
  EXPECT_EQ(site.Selected(), "\xC3\xBCll");
  struct Row {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    std::string expected;
  };
  for (const Row& row :
       {Row{Qt::Key_Return, Qt::NoModifier, "\xC3\x9CLL"}, Row{Qt::Key_Return, Qt::NoModifier, "\xC3\xBCll"},
        Row{Qt::Key_Return, Qt::ShiftModifier, "\xC3\x9CLL"}, Row{Qt::Key_F3, Qt::NoModifier, "\xC3\xBCll"},
        Row{Qt::Key_F3, Qt::ShiftModifier, "\xC3\x9CLL"}}) {
    EXPECT_TRUE(site.Searching([&] { QTest::keyClick(&box, row.key, row.modifiers); }));
    EXPECT_EQ(site.Selected(), row.expected) << row.key << row.modifiers;
    EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "");
  }
  QTest::keyClick(&box, Qt::Key_Escape);
  EXPECT_FALSE(box.isVisible());
  EXPECT_TRUE(site.View().hasFocus());
}

TEST(FrmLogFile, SaysThatATextIsNotFound) {
  LogSite site;
  site.OpenWith("one\r\n");
  site.Key(Qt::Key_F, Qt::ControlModifier);
  auto& box = site.Find<QLineEdit>("txtFind");
  EXPECT_FALSE(site.Searching([&] { QTest::keyClicks(&box, "z"); }));
  EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "Not found");
  EXPECT_TRUE(site.Searching([&] {
    box.selectAll();
    QTest::keyClicks(&box, "n");
  }));
  EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "");
  EXPECT_FALSE(site.Searching([&] {
    box.setText("two");
    QTest::mouseClick(&site.Find<QPushButton>("cmdFindPrevious"), Qt::LeftButton);
  }));
}

TEST(FrmLogFile, FindProposesTheSelection) {
  LogSite site;
  site.OpenWith("needle hay needle");
  site.Key(Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
  site.Key(Qt::Key_Left, Qt::ShiftModifier);
  site.Key(Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(FromQt(site.Find<QLineEdit>("txtFind").text()), "needle");
}

TEST(FrmLogFile, FindProposesNoSelectionOfSeveralRows) {
  LogSite site;
  site.OpenWith("one\r\ntwo");
  site.Key(Qt::Key_A, Qt::ControlModifier);
  site.Key(Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(FromQt(site.Find<QLineEdit>("txtFind").text()), "");
}

TEST(FrmLogFile, ScreenReadersGetTheWholeText) {
  LogSite site;
  std::string lines;
  for (int i = 0; i < 1000; ++i) lines += fmt::format("line {}\n", i);
  site.OpenWith(lines);
  QAccessibleInterface* const access = QAccessible::queryAccessibleInterface(&site.View());
  ASSERT_NE(access, nullptr);
  EXPECT_EQ(access->role(), QAccessible::EditableText);
  EXPECT_TRUE(access->state().readOnly);
  EXPECT_TRUE(access->state().multiLine);
  EXPECT_EQ(FromQt(access->text(QAccessible::Name)), "Log file");
  QAccessibleTextInterface* const text = access->textInterface();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->characterCount(), static_cast<int>(lines.size()));
  EXPECT_EQ(FromQt(text->text(0, text->characterCount())), lines);
  site.Key(Qt::Key_Down);
  EXPECT_EQ(text->cursorPosition(), 7);
}

TEST(FrmLogFile, SaysFirstWhichPartOfALargeLogIsShown) {
  LogSite site;
  site.WriteToday("first\r\n");
  const std::filesystem::path file = site.program.log.TodaysFile();
  std::filesystem::resize_file(file, MaxShownLogBytes + 1);
  const FrmLogFile form(site.files, site.program.paths, site.program.log, site.display);
  EXPECT_EQ(
      FromQt(form.findChild<QPlainTextEdit*>()->toPlainText()),
      "The log has 65 MiB; only its last 64 MiB are shown. The whole log is in " + Utf8FromPath(file) + "\n");
}

/// The longest time in milliseconds between two turns of the event loop, while `condition` is waited for.
template <class Condition>
qint64 LongestPause(Condition condition) {
  QElapsedTimer pause;
  qint64 longest = 0;
  pause.start();
  while (!condition()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    longest = std::max(longest, pause.restart());
  }
  return longest;
}

TEST(FrmLogFile, LoadsAndSearchesALargeLogBetweenEvents) {
  LogSite site;
  std::string text;
  constexpr int lines = 150'000;
  for (int i = 0; i < lines; ++i) {
    fmt::format_to(std::back_inserter(text),
                   "15.03.2004 14:37:09  [Search Latest]:Found {:07} OK files in the folders\n", i);
  }
  text += "the end\n";
  site.WriteToday(text);
  QElapsedTimer time;
  time.start();
  site.form = std::make_unique<FrmLogFile>(site.files, site.program.paths, site.program.log, site.display);
  site.form->resize(1200, 900);
  site.form->grab();
  const qint64 opened = time.restart();
  site.form->show();
  EXPECT_TRUE(site.form->IsLoading());
  EXPECT_EQ(site.FirstVisibleRow(), text.substr(0, text.find('\n')));
  site.program.log.WriteLog("too late", LogCategory::Error);

  // Requested while the log is being loaded, the search begins when the whole log is there.
  const QSignalSpy ended(site.form.get(), &FrmLogFile::FindEnded);
  site.Key(Qt::Key_F, Qt::ControlModifier);
  auto& box = site.Find<QLineEdit>("txtFind");
  box.setText("OF THESE THERE ARE NONE");
  QTest::keyClick(&box, Qt::Key_Return);
  EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "Searching...");
  const qint64 loadingPause = LongestPause([&] { return !site.form->IsLoading(); });
  const qint64 loaded = time.restart();
  const qint64 searchingPause = LongestPause([&] { return !ended.isEmpty(); });
  const qint64 searched = time.restart();
  EXPECT_FALSE(ended.last().first().toBool());
  EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "Not found");
  EXPECT_EQ(site.Caret(), 0);
  EXPECT_EQ(site.Shown(), text);

  EXPECT_TRUE(site.Searching([&] {
    box.setText("Found 0060000 ok");
    QTest::keyClick(&box, Qt::Key_Return, Qt::ShiftModifier);
  }));
  EXPECT_EQ(site.Selected(), "Found 0060000 OK");
  EXPECT_TRUE(site.View().viewport()->rect().contains(site.View().cursorRect()));
  std::cout << text.size() / 1'000'000 << " MB: first picture after " << opened << " ms, loaded after "
            << loaded << " ms with at most " << loadingPause << " ms between two events, searched in "
            << searched << " ms with at most " << searchingPause << " ms\n";
}

TEST(FrmLogFile, ClosesWhileTheLogIsBeingLoaded) {
  LogSite site;
  site.WriteToday(std::string(2 * LogReader::PieceBytes, '\n'));
  site.form = std::make_unique<FrmLogFile>(site.files, site.program.paths, site.program.log, site.display);
  EXPECT_TRUE(site.form->IsLoading());
  site.form.reset();
  QCoreApplication::processEvents();
}

/// A disk whose files can be read once.
class FailingDisk final : public test::DyingFileSystem {
 public:
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const std::filesystem::path& path) const override {
    return std::make_unique<FailingReader>(DyingFileSystem::OpenForReading(path));
  }

 private:
  class FailingReader final : public FileReader {
   public:
    explicit FailingReader(std::unique_ptr<FileReader> reader) : reader_(std::move(reader)) {}
    std::size_t Read(std::span<char> buffer) override {
      if (std::exchange(wasRead_, true)) throw FileError("cannot read", "/the/log", "Input/output error");
      return reader_->Read(buffer);
    }

   private:
    std::unique_ptr<FileReader> reader_;
    bool wasRead_ = false;
  };
};

TEST(FrmLogFile, EndsInALineThatSaysWhyTheRestIsUnreadable) {
  LogSite site;
  const std::string row = std::string(1023, 'x') + "\n";
  std::string text;
  while (text.size() < 2 * LogReader::PieceBytes) text += row;
  site.WriteToday(text);
  const FailingDisk disk;
  FrmLogFile form(disk, site.program.paths, site.program.log, site.display);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !form.IsLoading(); }));
  EXPECT_EQ(FromQt(form.findChild<QPlainTextEdit*>()->toPlainText()),
            text.substr(0, LogReader::PieceBytes) + "cannot read /the/log: Input/output error");
}

}  // namespace
}  // namespace fieldpost
