#include "common/forms/WidgetStatusDisplay.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTest>

#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

struct Shown {
  QLabel step;
  QLabel label;
  QProgressBar bar;
  QPlainTextEdit lines;
  WidgetStatusDisplay display;

  Shown() { display.ShowIn({.label = &label, .bar = &bar, .lines = &lines, .step = &step}); }
};

TEST(WidgetStatusDisplay, ShowsTheLastValueWithoutProcessEvents) {
  Shown shown;
  shown.display.SetRange(10);
  shown.display.SetLabel("1%");
  shown.display.SetLabel("100%");
  shown.display.SetPosition(10);
  EXPECT_TRUE(QTest::qWaitFor([&] { return shown.bar.value() == 10; }, 2000));
  EXPECT_EQ(FromQt(shown.label.text()), "100%");
}

TEST(WidgetStatusDisplay, ShowsStepsAndLinesAtOnce) {
  Shown shown;
  shown.display.SetStep("Packing files...");
  shown.display.ShowStatusLine("Found 3 OK files");
  shown.display.ShowStatusLine("<b>as it stands</b>");
  EXPECT_EQ(FromQt(shown.step.text()), "Packing files...");
  EXPECT_EQ(FromQt(shown.lines.toPlainText()), "Found 3 OK files\n<b>as it stands</b>");
}

TEST(WidgetStatusDisplay, ProcessesEventsByTimeHoweverOftenItIsCalled) {
  Shown shown;
  int turns = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] { ++turns; });
  timer.start(0);
  QElapsedTimer elapsed;
  elapsed.start();
  while (elapsed.elapsed() < 220) shown.display.ProcessEvents();
  EXPECT_GE(turns, 3);
  EXPECT_LE(turns, 5);
}

TEST(WidgetStatusDisplay, IgnoresDestroyedWidgets) {
  WidgetStatusDisplay display;
  {
    QLabel label;
    QProgressBar bar;
    display.ShowIn({.label = &label, .bar = &bar, .lines = {}, .step = {}});
    display.SetLabel("x");
    display.SetPosition(1);
  }
  display.SetRange(3);
  display.SetStep("y");
  display.ShowStatusLine("z");
  QTest::qWait(100);
  EXPECT_FALSE(display.IsCancelled());
}

}  // namespace
}  // namespace fieldpost
