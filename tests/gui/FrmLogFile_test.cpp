#include "viewer/forms/FrmLogFile.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include "support/WindowSite.h"
#include "viewer/forms/WidgetLogText.h"

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
  }

  void OpenWith(std::string_view bytes) {
    WriteToday(bytes);
    Open();
  }

  [[nodiscard]] WidgetLogText& View() const { return Find<WidgetLogText>("txtLogFile"); }
  [[nodiscard]] std::string Shown() const { return std::string(View().Text().Bytes()); }
  [[nodiscard]] std::string Selected() const { return FromQt(View().SelectedText()); }
  [[nodiscard]] std::string Caption() const { return FromQt(form->windowTitle()); }

  template <class T>
  [[nodiscard]] T& Find(const char* name) const {
    return *form->findChild<T*>(QLatin1String(name));
  }

  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
    QTest::keyClick(&View(), key, modifiers);
  }

  /// Does something that starts a search, and waits for its end. Whether it found something.
  template <class Action>
  [[nodiscard]] bool Searching(Action action) const {
    QSignalSpy ended(&View(), &WidgetLogText::FindEnded);
    action();
    return (!ended.isEmpty() || ended.wait(20'000)) && ended.last().first().toBool();
  }
};

TEST(FrmLogFile, WithoutALogFolderStaysEmpty) {
  LogSite site;
  std::filesystem::remove_all(site.Tree("Log"));
  site.Open();
  EXPECT_EQ(site.Caption(), "Log File");
  EXPECT_EQ(site.Shown(), "");
  EXPECT_FALSE(std::filesystem::exists(site.Tree("Log")));
}

TEST(FrmLogFile, ADayWithoutEntriesGetsItsFirstLine) {
  LogSite site;
  site.Open();
  EXPECT_EQ(site.Caption(), "Log File    FPProg_15032004.log");
  EXPECT_EQ(site.Shown(), "15.03.2004 14:37:09  [Log File]\r\n");
  EXPECT_EQ(test::ReadFile(site.program.log.TodaysFile()), site.Shown());
}

TEST(FrmLogFile, ShowsTheFileAsItWasWhenTheWindowOpened) {
  LogSite site;
  site.OpenWith("one\r\ntwo\r\n");
  EXPECT_EQ(site.Shown(), "one\r\ntwo\r\n");
  site.program.log.WriteLog("three", LogCategory::Error);
  EXPECT_EQ(site.Shown(), "one\r\ntwo\r\n");
  site.Open();
  EXPECT_THAT(site.Shown(), HasSubstr("[Error]:three\r\n"));
}

TEST(FrmLogFile, AnEmptyFileStaysEmpty) {
  LogSite site;
  site.OpenWith("");
  EXPECT_EQ(site.Caption(), "Log File    FPProg_15032004.log");
  EXPECT_EQ(site.Shown(), "");
}

TEST(FrmLogFile, AtMidnightTheCaptionMayBeOfTheDayBefore) {
  LogSite site;
  RunningClock clock;
  clock.now = {.year = 2004, .month = 3, .day = 15, .hour = 23, .minute = 59, .second = 58};
  ModWriteLogFile log(site.files, clock, site.program.paths);
  site.WriteToday("yesterday\r\n");
  site.folder.Write("home/Faultlog/Log/FPProg_16032004.log", "today\r\n");
  const FrmLogFile form(site.files, site.program.paths, log, site.display);
  EXPECT_EQ(FromQt(form.windowTitle()), "Log File    FPProg_15032004.log");
  EXPECT_EQ(form.findChild<WidgetLogText*>()->Text().Bytes(), "today\r\n");
}

TEST(FrmLogFile, ALogThatCannotBeReadSaysWhy) {
  LogSite site;
  std::filesystem::create_directory(site.program.log.TodaysFile());
  site.Open();
  EXPECT_THAT(site.Shown(), StartsWith("cannot read "));
  EXPECT_THAT(site.Shown(), HasSubstr("FPProg_15032004.log"));
  EXPECT_EQ(site.View().Text().Rows(), 1U);
}

TEST(FrmLogFile, KeysMoveTheCaret) {
  LogSite site;
  site.OpenWith("ab cd\r\nGr\xC3\xBC\xC3\x9F\r\n\r\nlast");  // offsets: 0, 7, 15, 17, 21
  struct Row {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    std::size_t expected;
  };
  for (const Row& row : {
           Row{Qt::Key_Right, Qt::NoModifier, 1},
           Row{Qt::Key_Right, Qt::ControlModifier, 3},
           Row{Qt::Key_End, Qt::NoModifier, 5},
           Row{Qt::Key_Down, Qt::NoModifier, 13},
           Row{Qt::Key_Left, Qt::NoModifier, 11},
           Row{Qt::Key_Left, Qt::NoModifier, 9},
           Row{Qt::Key_Home, Qt::NoModifier, 7},
           Row{Qt::Key_Left, Qt::NoModifier, 5},
           Row{Qt::Key_Right, Qt::NoModifier, 7},
           Row{Qt::Key_Down, Qt::NoModifier, 15},
           Row{Qt::Key_Down, Qt::NoModifier, 17},
           Row{Qt::Key_End, Qt::ControlModifier, 21},
           Row{Qt::Key_Right, Qt::NoModifier, 21},
           Row{Qt::Key_Home, Qt::ControlModifier, 0},
           Row{Qt::Key_Left, Qt::NoModifier, 0},
           Row{Qt::Key_Up, Qt::NoModifier, 0},
           Row{Qt::Key_PageDown, Qt::NoModifier, 17},
           Row{Qt::Key_PageUp, Qt::NoModifier, 0},
       }) {
    site.Key(row.key, row.modifiers);
    EXPECT_EQ(site.View().Caret(), row.expected) << row.key;
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

TEST(FrmLogFile, ACharacterThatIsSpelledOutIsOneStepOfTheCaret) {
  LogSite site;
  site.OpenWith("a\x1B\xC2\x85z");
  EXPECT_EQ(FromQt(site.View().VisibleText()), "a\\x1B\\u0085z");
  for (const std::size_t expected : {1U, 2U, 4U, 5U}) {
    site.Key(Qt::Key_Right);
    EXPECT_EQ(site.View().Caret(), expected);
  }
  for (const std::size_t expected : {4U, 2U, 1U, 0U}) {
    site.Key(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(site.View().Caret(), expected);
  }
  EXPECT_EQ(site.Selected(), "a\x1B\xC2\x85z");
}

TEST(FrmLogFile, TypingChangesNothing) {
  LogSite site;
  site.OpenWith("ab");
  QTest::keyClicks(&site.View(), "xyz");
  site.Key(Qt::Key_Delete);
  site.Key(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(site.Shown(), "ab");
}

TEST(FrmLogFile, TheMouseSelects) {
  LogSite site;
  site.OpenWith("first line\r\nsecond line\r\n");
  QWidget* const page = site.View().viewport();
  const int row = site.View().fontMetrics().lineSpacing();
  QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, QPoint(0, row / 2));
  QTest::mouseMove(page, QPoint(page->width() - 1, row / 2));
  QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, QPoint(page->width() - 1, row / 2));
  EXPECT_EQ(site.Selected(), "first line");
  QTest::mouseDClick(page, Qt::LeftButton, Qt::NoModifier, QPoint(10, row + row / 2));
  EXPECT_EQ(site.Selected(), "second");
  QTest::mouseClick(page, Qt::LeftButton, Qt::ShiftModifier, QPoint(page->width() - 1, row + row / 2));
  EXPECT_EQ(site.Selected(), "second line");
}

TEST(FrmLogFile, WheelAndBarsScroll) {
  LogSite site;
  std::string lines;
  for (int i = 0; i < 1000; ++i) lines += fmt::format("line {}\r\n", i);
  site.OpenWith(lines + std::string(2000, 'x'));
  QScrollBar& rows = *site.View().verticalScrollBar();
  EXPECT_THAT(FromQt(site.View().VisibleText()), StartsWith("line 0\nline 1\n"));
  QWheelEvent wheel({10, 10}, site.View().mapToGlobal(QPointF(10, 10)), {}, {0, -120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(site.View().viewport(), &wheel);
  EXPECT_EQ(rows.value(), QApplication::wheelScrollLines());
  site.Key(Qt::Key_Down, Qt::ControlModifier);
  EXPECT_EQ(rows.value(), QApplication::wheelScrollLines() + 1);
  EXPECT_EQ(site.View().Caret(), 0U);
  site.Key(Qt::Key_End, Qt::ControlModifier);
  EXPECT_EQ(rows.value(), rows.maximum());
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

TEST(FrmLogFile, WhatIsNotThereIsSaid) {
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

TEST(FrmLogFile, TheSelectionIsWhatIsLookedFor) {
  LogSite site;
  site.OpenWith("needle hay needle");
  site.Key(Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
  site.Key(Qt::Key_Left, Qt::ShiftModifier);
  site.Key(Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(FromQt(site.Find<QLineEdit>("txtFind").text()), "needle");
}

TEST(FrmLogFile, ScreenReadersGetWhatIsInSight) {
  LogSite site;
  site.OpenWith("one\r\ntwo");
  QAccessibleInterface* const access = QAccessible::queryAccessibleInterface(&site.View());
  ASSERT_NE(access, nullptr);
  EXPECT_EQ(access->role(), QAccessible::EditableText);
  EXPECT_TRUE(access->state().readOnly);
  EXPECT_EQ(FromQt(access->text(QAccessible::Name)), "Log file");
  EXPECT_EQ(FromQt(access->text(QAccessible::Value)), "one\ntwo");
}

/// The longest time that the event loop was not reached while `condition` was waited for.
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

TEST(FrmLogFile, ALogOfAHundredMegabytesOpensAndIsSearched) {
  LogSite site;
  std::string text;
  constexpr int Lines = 1'200'000;
  for (int i = 0; i < Lines; ++i) {
    fmt::format_to(std::back_inserter(text),
                   "15.03.2004 14:37:09  [Search Latest]:Found {:07} OK files in the folders\r\n", i);
  }
  text.resize(text.size() + 20'000'000, 'x');  // one line of 20 MB
  text += "\r\nthe end\r\n";
  site.WriteToday(text);
  QElapsedTimer time;
  time.start();
  site.form = std::make_unique<FrmLogFile>(site.files, site.program.paths, site.program.log, site.display);
  site.form->resize(1200, 900);
  site.form->grab();
  const qint64 opened = time.restart();
  site.form->show();
  site.Key(Qt::Key_End, Qt::ControlModifier);
  site.form->grab();
  const qint64 atEnd = time.restart();
  std::optional<bool> found;
  QObject::connect(&site.View(), &WidgetLogText::FindEnded, [&](bool ended) { found = ended; });
  site.View().Find("OF THESE THERE ARE NONE", SearchDirection::Forward);
  const qint64 pause = LongestPause([&] { return found.has_value(); });
  const qint64 searched = time.restart();
  site.View().Find("Found 0600000 ok", SearchDirection::Backward);
  found.reset();
  LongestPause([&] { return found.has_value(); });
  std::cout << text.size() / 1'000'000 << " MB: first picture after " << opened << " ms, the end after "
            << atEnd << " ms, searched in " << searched << " ms with at most " << pause
            << " ms between two events\n";
  EXPECT_EQ(site.Selected(), "Found 0600000 OK");
  EXPECT_THAT(FromQt(site.View().VisibleText()), HasSubstr("Found 0600000 OK files"));
  EXPECT_EQ(site.View().Text().Bytes(), text);
}

}  // namespace
}  // namespace fieldpost
