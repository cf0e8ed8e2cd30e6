#include "viewer/forms/CPrintTreeView.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QFontMetricsF>
#include <QImage>
#include <QPaintEngine>
#include <QPdfWriter>
#include <QPrintEngine>
#include <QPrinter>

#include "common/forms/WidgetText.h"
#include "support/CommandOutput.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A tree of given rows, in a font of 9 points, on a screen of 96 dots per inch: a pixel is 15 twips.
class GivenTree final : public PrintableTree {
 public:
  explicit GivenTree(std::vector<Row> rows, int indentation = 300)
      : rows_(std::move(rows)), indentation_(indentation) {}

  [[nodiscard]] int PrintedRows() const override { return static_cast<int>(rows_.size()); }
  [[nodiscard]] Row PrintedRow(int row) const override { return rows_[static_cast<std::size_t>(row)]; }
  [[nodiscard]] QFont PrintedFont() const override { return QFont(QStringLiteral("DejaVu Sans"), 9); }
  [[nodiscard]] int PrintedIndentation() const override { return indentation_; }
  [[nodiscard]] QSizeF ScreenDots() const override { return {96, 96}; }

 private:
  std::vector<Row> rows_;
  int indentation_;
};

PrintableTree::Row Row(std::uint32_t level, bool hasNextSibling, std::string_view label) {
  return {.level = level, .hasNextSibling = hasNextSibling, .label = ToQt(label)};
}

/// Returns the height of a label in twips; 9 points are 180.
double TextHeight() {
  QFont font(QStringLiteral("DejaVu Sans"));
  font.setPixelSize(180);
  return QFontMetricsF(font).height();
}

/// The drawing operations, in the units of the painter.
struct Drawn {
  std::vector<std::string> labels;  // "page x text"
  std::vector<double> baselines;
  std::vector<QLineF> lines;
  int page = 1;
  bool ended = false;
  bool failsAtNewPage = false;
};

class RecordingEngine final : public QPaintEngine, public QPrintEngine {
 public:
  RecordingEngine(Drawn& drawn, int height) : QPaintEngine(AllFeatures), drawn_(drawn), height_(height) {}

  bool begin(QPaintDevice*) override { return true; }
  bool end() override { return drawn_.ended = true; }
  void updateState(const QPaintEngineState&) override {}
  void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
  void drawLines(const QLineF* lines, int count) override {
    drawn_.lines.insert(drawn_.lines.end(), lines, lines + count);
  }
  void drawTextItem(const QPointF& at, const QTextItem& item) override {
    drawn_.labels.push_back(fmt::format("{} {} {}", drawn_.page, at.x(), FromQt(item.text())));
    drawn_.baselines.push_back(at.y());
  }
  [[nodiscard]] Type type() const override { return User; }

  void setProperty(PrintEnginePropertyKey, const QVariant&) override {}
  [[nodiscard]] QVariant property(PrintEnginePropertyKey) const override { return {}; }
  bool newPage() override {
    ++drawn_.page;
    return !drawn_.failsAtNewPage;
  }
  bool abort() override { return true; }
  [[nodiscard]] int metric(QPaintDevice::PaintDeviceMetric metric) const override {
    if (metric == QPaintDevice::PdmWidth) return 11'000;
    if (metric == QPaintDevice::PdmHeight) return height_;
    const bool dots = metric == QPaintDevice::PdmDpiX || metric == QPaintDevice::PdmDpiY ||
                      metric == QPaintDevice::PdmPhysicalDpiX || metric == QPaintDevice::PdmPhysicalDpiY;
    return dots ? 1440 : 1;
  }
  [[nodiscard]] QPrinter::PrinterState printerState() const override { return QPrinter::Active; }

 private:
  Drawn& drawn_;
  int height_;
};

/// A printer of 1440 dots per inch that records the drawing operations.
class RecordingPrinter final : public QPrinter {
 public:
  explicit RecordingPrinter(int height = 15'000) : engine_(drawn, height) { setEngines(&engine_, &engine_); }

  Drawn drawn;

 private:
  RecordingEngine engine_;
};

TEST(CPrintTreeView, PrintsASingleRootWithoutConnectors) {
  RecordingPrinter printer;
  const GivenTree tree({Row(0, false, "root")});
  CPrintTreeView printing(printer);
  printing.SetControl(tree);
  EXPECT_TRUE(printing.PrintControl());
  EXPECT_THAT(printer.drawn.labels, ElementsAre("1 0 root"));
  EXPECT_THAT(printer.drawn.lines, IsEmpty());
  EXPECT_TRUE(printer.drawn.ended);
}

TEST(CPrintTreeView, DrawsConnectorsInTwips) {
  RecordingPrinter printer;
  const GivenTree tree(
      {Row(0, false, "root"), Row(1, true, "child"), Row(2, false, "last"), Row(1, false, "sibling")});
  CPrintTreeView printing(printer);
  printing.SetControl(tree);
  ASSERT_TRUE(printing.PrintControl());
  const double line = TextHeight() + 15;
  const auto top = [&](int row) { return 100 + row * line; };
  EXPECT_THAT(
      printer.drawn.lines,
      ElementsAre(QLineF(150, top(1) + line / 2, 270, top(1) + line / 2), QLineF(150, top(1), 150, top(2)),
                  QLineF(450, top(2) + line / 2, 570, top(2) + line / 2),
                  QLineF(450, top(2), 450, top(2) + line / 2), QLineF(150, top(2), 150, top(3)),
                  QLineF(150, top(3) + line / 2, 270, top(3) + line / 2),
                  QLineF(150, top(3), 150, top(3) + line / 2)));
  EXPECT_THAT(printer.drawn.labels, ElementsAre("1 0 root", "1 300 child", "1 600 last", "1 300 sibling"));
  QFont font(QStringLiteral("DejaVu Sans"));
  font.setPixelSize(180);
  for (int row = 0; row < 4; ++row) {
    EXPECT_NEAR(printer.drawn.baselines[static_cast<std::size_t>(row)],
                top(row) + 7.5 + QFontMetricsF(font).ascent(), 0.01);
  }
}

TEST(CPrintTreeView, UsesTheIndentationUnchanged) {
  RecordingPrinter printer;
  const GivenTree tree({Row(0, false, "a"), Row(1, false, "b"), Row(2, false, "c")}, 20);
  CPrintTreeView printing(printer);
  printing.SetControl(tree);
  ASSERT_TRUE(printing.PrintControl());
  EXPECT_THAT(printer.drawn.labels, ElementsAre("1 0 a", "1 20 b", "1 40 c"));
}

TEST(CPrintTreeView, BreaksThePageOnceForOneLineTooMany) {
  const double line = TextHeight() + 15;
  for (const int rows : {10, 11}) {
    RecordingPrinter printer(static_cast<int>(std::ceil(100 + 10 * line + 100)));
    std::vector<PrintableTree::Row> given(static_cast<std::size_t>(rows), Row(1, true, "x"));
    given.front() = Row(0, false, "root");
    const GivenTree tree(given);
    CPrintTreeView printing(printer);
    printing.SetControl(tree);
    std::vector<int> pagesBefore;
    QObject::connect(&printing, &CPrintTreeView::BeforeNewPage, &printing,
                     [&] { pagesBefore.push_back(printer.drawn.page); });
    ASSERT_TRUE(printing.PrintControl());
    EXPECT_THAT(pagesBefore, SizeIs(rows == 10 ? 0U : 1U)) << rows;
    if (rows == 10) continue;
    EXPECT_EQ(pagesBefore.front(), 1) << "the ending page is still the current one";
    EXPECT_EQ(printer.drawn.labels.back(), "2 300 x");
    EXPECT_NEAR(printer.drawn.baselines.back(), printer.drawn.baselines.front(), 0.01);
  }
}

TEST(CPrintTreeView, FailsWhenThereIsNothingToPrint) {
  RecordingPrinter printer;
  CPrintTreeView printing(printer);
  EXPECT_FALSE(printing.PrintControl());
  const GivenTree empty({});
  printing.SetControl(empty);
  EXPECT_FALSE(printing.PrintControl());
}

TEST(CPrintTreeView, FailsWhenThePrinterFailsAtAPage) {
  RecordingPrinter printer(700);
  printer.drawn.failsAtNewPage = true;
  const GivenTree tree({Row(0, false, "a"), Row(1, true, "b"), Row(1, false, "c")});
  CPrintTreeView printing(printer);
  printing.SetControl(tree);
  EXPECT_FALSE(printing.PrintControl());
  EXPECT_THAT(printer.drawn.labels, SizeIs(2));
}

TEST(CPrintTreeView, StopsWhenTheProgressFunctionReturnsFalse) {
  RecordingPrinter printer;
  const GivenTree tree(std::vector<PrintableTree::Row>(10, Row(0, true, "x")));
  CPrintTreeView printing(printer);
  printing.SetControl(tree);
  printing.SetProgress([](int done, int all) { return done < all / 2; });
  EXPECT_FALSE(printing.PrintControl());
  EXPECT_THAT(printer.drawn.labels, SizeIs(5));
}

TEST(CPrintTreeView, PlacesTextAndLinesInAPdf) {
  const test::TempFolder folder;
  const QString file = PathToQt(folder / "tree.pdf");
  {
    QPdfWriter pdf(file);
    pdf.setPageSize(QPageSize(QPageSize::A4));
    pdf.setPageMargins(QMarginsF(36, 36, 36, 36), QPageLayout::Point);
    std::vector<PrintableTree::Row> rows(100, Row(1, true, "entry"));
    rows.front() = Row(0, false, "FLFILE");
    rows.back() = Row(1, false, "last");
    const GivenTree tree(rows);
    CPrintTreeView printing(pdf);
    printing.SetControl(tree);
    ASSERT_TRUE(printing.PrintControl());
  }
  const QString text = ToQt(test::RunCommand("pdftotext " + FromQt(file) + " -").output);
  EXPECT_EQ(text.count(QStringLiteral("entry")), 98);
  EXPECT_EQ(text.count(QChar(0x0C)), 2) << "pages";
  EXPECT_TRUE(text.section(QChar(0x0C), 1, 1).contains(QStringLiteral("last")));
  const test::CommandResult rendered =
      test::RunCommand("pdftoppm -r 288 -gray -png " + FromQt(file) + " " + Utf8FromPath(folder / "page"));
  ASSERT_EQ(rendered.status, 0) << rendered.output;
  const QImage page(PathToQt(folder / "page-1.png"));
  ASSERT_FALSE(page.isNull());
  // Five twips are a dot of this picture; the page's margins are 36 points, 144 dots.
  const auto darkness = [&](double x, double y) {
    int darkest = 255;
    for (int dx = -1; dx <= 1; ++dx) {
      for (int dy = -1; dy <= 1; ++dy) {
        darkest = std::min(darkest, qGray(page.pixel(144 + qRound(x / 5) + dx, 144 + qRound(y / 5) + dy)));
      }
    }
    return 255 - darkest;
  };
  const double line = TextHeight() + 15;
  EXPECT_GT(darkness(150, 100 + 1.25 * line), 30) << "the vertical line of the first child";
  EXPECT_GT(darkness(150, 100 + 9.75 * line), 30) << "it goes on";
  EXPECT_GT(darkness(210, 100 + 1.5 * line), 30) << "the horizontal line of the first child";
  EXPECT_LT(darkness(150, 100 + 0.5 * line), 250) << "the root's text is left of it, or nothing";
  EXPECT_LT(darkness(75, 100 + 1.5 * line), 10) << "nothing left of the lines";
  EXPECT_LT(darkness(210, 100 + 1.25 * line), 10) << "nothing between the lines";
}

}  // namespace
}  // namespace fieldpost
