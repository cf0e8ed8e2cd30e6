// The tree view of the XML viewer.
#pragma once

#include <QListView>
#include <optional>

#include "viewer/forms/CPrintTreeView.h"
#include "viewer/forms/WidgetXmlTreeModel.h"

namespace fieldpost {

/// Shows a tree as a list of rows, and draws indentation, expansion signs and connecting lines itself, so
/// that the window stays responsive with a million elements or a hundred thousand levels. The keys are those
/// of a tree view: Left and Right, plus, minus and asterisk.
class WidgetXmlTree final : public QListView, public PrintableTree {
  Q_OBJECT

 public:
  explicit WidgetXmlTree(QWidget* parent = nullptr);

  /// Shows the rows of a model, which outlives the view.
  void Show(WidgetXmlTreeModel& rows);

  /// Extends the horizontal scroll range to the labels of new nodes; to be called after the model was
  /// updated.
  void MeasureNewNodes();

  /// The node of the current row; nothing without one.
  [[nodiscard]] std::optional<XmlTree::Node> CurrentNode() const;

  /// Makes a node the current one, and expands its collapsed ancestors.
  void GoTo(XmlTree::Node node);

  void ExpandAll();
  void CollapseAll();

  /// The indentation for each level, in twips: the unit in which the view is printed.
  [[nodiscard]] int Indentation() const;

  [[nodiscard]] int PrintedRows() const override;
  [[nodiscard]] Row PrintedRow(int row) const override;
  [[nodiscard]] QFont PrintedFont() const override { return font(); }
  [[nodiscard]] int PrintedIndentation() const override { return Indentation(); }
  [[nodiscard]] QSizeF ScreenDots() const override;

  void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;

 protected:
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  class Delegate;

  [[nodiscard]] QRect SignRect(const QRect& row, std::uint32_t level) const;
  [[nodiscard]] bool IsOnSign(const QPoint& where) const;
  void Toggle(XmlTree::Node node);
  bool WorkKey(int key, XmlTree::Node node);
  void CollapseOrGoUp(XmlTree::Node node);
  void ExpandOrGoDown(XmlTree::Node node);
  void TakeStyle();
  void ForgetWidths();
  void NoteWidth(int width);

  WidgetXmlTreeModel* rows_ = nullptr;
  int indentation_ = 0;  // in pixels
  int widest_ = 0;
  XmlTree::Node measured_ = 0;  // nodes whose width is in widest_ by estimate
};

}  // namespace fieldpost
