// The text view of the log viewer.
#pragma once

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QMimeData>
#include <QPlainTextEdit>

namespace fieldpost {

/// Qt's plain text view in the fixed font, with a tab stop every eight columns. Copying takes the plain text
/// alone: Qt's own copy also makes HTML of it, which takes seconds for a log of some megabytes.
class WidgetLogView final : public QPlainTextEdit {
 public:
  explicit WidgetLogView(QWidget* parent = nullptr) : QPlainTextEdit(parent) {
    constexpr int tabColumns = 8;
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setTabStopDistance(tabColumns * QFontMetricsF(font()).horizontalAdvance(u' '));
  }

 protected:
  [[nodiscard]] QMimeData* createMimeDataFromSelection() const override {
    auto* const copy = new QMimeData;
    copy->setText(textCursor().selectedText().replace(QChar::ParagraphSeparator, u'\n'));
    return copy;
  }
};

}  // namespace fieldpost
