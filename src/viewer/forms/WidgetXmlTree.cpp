#include "viewer/forms/WidgetXmlTree.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

namespace fieldpost {
namespace {

// The widest row, in pixels: widgets count pixels in 32 bits.
constexpr std::int64_t MaxWidth = 1'000'000'000;

}  // namespace

/// Draws the lines and the expansion sign of a row, then its label like any list.
class WidgetXmlTree::Delegate final : public QStyledItemDelegate {
 public:
  explicit Delegate(WidgetXmlTree& view) : QStyledItemDelegate(&view), view_(view) {}

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const XmlTree::Node node = view_.rows_->NodeAt(index.row());
    QStyleOptionViewItem label(option);
    label.rect.setLeft(view_.SignRect(option.rect, view_.rows_->Tree().Level(node)).right() + 1);
    DrawBranches(*painter, option, node);
    label.rect.setWidth(QStyledItemDelegate::sizeHint(option, index).width());
    label.textElideMode = Qt::ElideNone;
    view_.NoteWidth(label.rect.right() + view_.horizontalOffset());
    QStyledItemDelegate::paint(painter, label, index);
  }

  /// Gives all rows the width of the widest.
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const int margin = view_.style()->pixelMetric(QStyle::PM_FocusFrameVMargin, &option, &view_) + 1;
    return {view_.widest_, QStyledItemDelegate::sizeHint(option, index).height() + 2 * margin};
  }

 private:
  /// Draws the lines of the visible columns, from the node towards the root. A line continues where a sibling
  /// follows.
  void DrawBranches(QPainter& painter, const QStyleOptionViewItem& option, XmlTree::Node node) const {
    const XmlTree& tree = view_.rows_->Tree();
    QStyleOptionViewItem branch(option);
    branch.state &= ~(QStyle::State_Selected | QStyle::State_MouseOver | QStyle::State_HasFocus);
    for (XmlTree::Node of = node; of != XmlTree::None; of = tree.Parent(of)) {
      branch.rect = view_.SignRect(option.rect, tree.Level(of));
      if (branch.rect.right() < 0) return;
      if (branch.rect.left() > view_.viewport()->width()) continue;
      branch.state.setFlag(QStyle::State_Sibling, tree.NextSibling(of) != XmlTree::None);
      branch.state.setFlag(QStyle::State_Item, of == node);
      branch.state.setFlag(QStyle::State_Children, of == node && tree.HasChildren(node));
      branch.state.setFlag(QStyle::State_Open, of == node && view_.rows_->IsExpanded(node));
      view_.style()->drawPrimitive(QStyle::PE_IndicatorBranch, &branch, &painter, &view_);
    }
  }

  WidgetXmlTree& view_;
};

WidgetXmlTree::WidgetXmlTree(QWidget* parent) : QListView(parent) {
  setUniformItemSizes(true);
  setSelectionMode(SingleSelection);
  setEditTriggers(NoEditTriggers);
  setHorizontalScrollMode(ScrollPerPixel);
  setItemDelegate(new Delegate(*this));
  TakeStyle();
}

void WidgetXmlTree::Show(WidgetXmlTreeModel& rows) {
  rows_ = &rows;
  setModel(&rows);
}

void WidgetXmlTree::TakeStyle() {
  indentation_ = style()->pixelMetric(QStyle::PM_TreeViewIndentation, nullptr, this);
}

void WidgetXmlTree::ForgetWidths() {
  widest_ = 0;
  measured_ = 0;
}

void WidgetXmlTree::changeEvent(QEvent* event) {
  QListView::changeEvent(event);
  if (event->type() == QEvent::StyleChange) TakeStyle();
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
    ForgetWidths();
    MeasureNewNodes();
  }
}

/// Estimates the width of labels from their bytes, because measuring a million labels takes seconds. Labels
/// that are wider than estimated are noted when they are drawn.
void WidgetXmlTree::MeasureNewNodes() {
  if (rows_ == nullptr) return;
  const XmlTree& tree = rows_->Tree();
  if (tree.Size() < measured_) ForgetWidths();
  const std::int64_t character = fontMetrics().averageCharWidth();
  std::int64_t widest = 0;
  for (; measured_ < tree.Size(); ++measured_) {
    const std::size_t bytes = std::min(tree.LabelBytes(measured_), WidgetXmlTreeModel::MaxShownBytes) + 2;
    const std::int64_t left = (std::int64_t{tree.Level(measured_)} + 1) * indentation_;
    widest = std::max(widest, left + static_cast<std::int64_t>(bytes) * character);
  }
  NoteWidth(static_cast<int>(std::min(widest, MaxWidth)));
}

void WidgetXmlTree::NoteWidth(int width) {
  if (width <= widest_) return;
  widest_ = width;
  scheduleDelayedItemsLayout();
}

std::optional<XmlTree::Node> WidgetXmlTree::CurrentNode() const {
  if (!currentIndex().isValid()) return std::nullopt;
  return rows_->NodeAt(currentIndex().row());
}

void WidgetXmlTree::GoTo(XmlTree::Node node) {
  rows_->Reveal(node);
  setCurrentIndex(rows_->index(rows_->RowOf(node)));
}

void WidgetXmlTree::ExpandAll() {
  rows_->ExpandAll();
  scrollTo(currentIndex());
}

void WidgetXmlTree::CollapseAll() {
  rows_->CollapseAll();
  scrollTo(currentIndex());
}

int WidgetXmlTree::PrintedRows() const {
  return rows_ == nullptr ? 0 : rows_->rowCount();
}

PrintableTree::Row WidgetXmlTree::PrintedRow(int row) const {
  const XmlTree::Node node = rows_->NodeAt(row);
  return {.level = rows_->Tree().Level(node),
          .hasNextSibling = rows_->Tree().NextSibling(node) != XmlTree::None,
          .label = rows_->ShownLabel(node)};
}

int WidgetXmlTree::Indentation() const {
  constexpr double twipsAnInch = 1440;
  return qRound(indentation_ * twipsAnInch / ScreenDots().width());
}

QSizeF WidgetXmlTree::ScreenDots() const {
  return {screen()->logicalDotsPerInchX(), screen()->logicalDotsPerInchY()};
}

/// Scrolls to the start of the label, not of the row, because all rows are as wide as the widest.
void WidgetXmlTree::scrollTo(const QModelIndex& index, ScrollHint hint) {
  if (!index.isValid()) return;
  const int before = horizontalScrollBar()->value();
  QListView::scrollTo(index, hint);
  const int left = static_cast<int>(rows_->Tree().Level(rows_->NodeAt(index.row()))) * indentation_;
  const int width = viewport()->width();
  const bool inSight = left >= before && left <= before + width * 3 / 4;
  horizontalScrollBar()->setValue(inSight ? before : std::max(0, left - width / 4));
}

/// Returns the area of the sign that expands and collapses a node.
QRect WidgetXmlTree::SignRect(const QRect& row, std::uint32_t level) const {
  return {row.left() + static_cast<int>(level) * indentation_, row.top(), indentation_, row.height()};
}

bool WidgetXmlTree::IsOnSign(const QPoint& where) const {
  const QModelIndex index = indexAt(where);
  if (!index.isValid()) return false;
  const XmlTree::Node node = rows_->NodeAt(index.row());
  return rows_->Tree().HasChildren(node) &&
         SignRect(visualRect(index), rows_->Tree().Level(node)).contains(where);
}

void WidgetXmlTree::Toggle(XmlTree::Node node) {
  rows_->SetExpanded(node, !rows_->IsExpanded(node));
}

void WidgetXmlTree::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !IsOnSign(event->pos())) return QListView::mousePressEvent(event);
  Toggle(rows_->NodeAt(indexAt(event->pos()).row()));
}

void WidgetXmlTree::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->pos());
  if (event->button() == Qt::LeftButton && index.isValid()) return Toggle(rows_->NodeAt(index.row()));
  QListView::mouseDoubleClickEvent(event);
}

void WidgetXmlTree::keyPressEvent(QKeyEvent* event) {
  const std::optional<XmlTree::Node> node = CurrentNode();
  const bool plain = (event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier)) == Qt::NoModifier;
  if (node && plain && WorkKey(event->key(), *node)) return event->accept();
  QListView::keyPressEvent(event);
}

bool WidgetXmlTree::WorkKey(int key, XmlTree::Node node) {
  switch (key) {
    case Qt::Key_Left:
      CollapseOrGoUp(node);
      return true;
    case Qt::Key_Right:
      ExpandOrGoDown(node);
      return true;
    case Qt::Key_Plus:
      rows_->SetExpanded(node, true);
      return true;
    case Qt::Key_Minus:
      rows_->SetExpanded(node, false);
      return true;
    case Qt::Key_Asterisk:
      rows_->ExpandBelow(node);
      return true;
    default:
      return false;
  }
}

void WidgetXmlTree::CollapseOrGoUp(XmlTree::Node node) {
  const XmlTree& tree = rows_->Tree();
  if (tree.HasChildren(node) && rows_->IsExpanded(node)) return rows_->SetExpanded(node, false);
  if (tree.Parent(node) != XmlTree::None) GoTo(tree.Parent(node));
}

void WidgetXmlTree::ExpandOrGoDown(XmlTree::Node node) {
  if (!rows_->Tree().HasChildren(node)) return;
  if (!rows_->IsExpanded(node)) return rows_->SetExpanded(node, true);
  GoTo(node + 1);
}

}  // namespace fieldpost
