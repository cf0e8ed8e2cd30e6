#include "viewer/forms/WidgetXmlTreeModel.h"

#include <algorithm>

#include "common/Utf8.h"
#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

QChar Harmless(QChar c) {
  const char16_t code = c.unicode();
  const CharacterKind kind = KindOf(code);
  if (kind == CharacterKind::Visible) return c;
  if (kind == CharacterKind::LineSeparator || code == '\t' || code == '\n' || code == '\r')
    return QLatin1Char(' ');
  if (code < 0x20) return QChar(0x2400 + code);
  return code == 0x7F ? QChar(0x2421) : QChar(0xFFFD);
}

}  // namespace

void WidgetXmlTreeModel::ShowNewNodes() {
  if (tree_.Size() == shown_) return;
  if (!allExpanded_) return Change([] {});
  beginInsertRows({}, static_cast<int>(shown_), static_cast<int>(tree_.Size() - 1));
  shown_ = tree_.Size();
  endInsertRows();
}

void WidgetXmlTreeModel::ShowNothing() {
  beginResetModel();
  shown_ = 0;
  allExpanded_ = true;
  collapsed_.clear();
  visible_.clear();
  endResetModel();
}

XmlTree::Node WidgetXmlTreeModel::NodeAt(int row) const {
  return allExpanded_ ? static_cast<XmlTree::Node>(row) : visible_[static_cast<std::size_t>(row)];
}

int WidgetXmlTreeModel::RowOf(XmlTree::Node node) const {
  if (allExpanded_) return static_cast<int>(node);
  return static_cast<int>(std::upper_bound(visible_.begin(), visible_.end(), node) - visible_.begin()) - 1;
}

bool WidgetXmlTreeModel::IsExpanded(XmlTree::Node node) const {
  return allExpanded_ || node >= collapsed_.size() || !collapsed_[node];
}

void WidgetXmlTreeModel::SetExpanded(XmlTree::Node node, bool expanded) {
  if (IsExpanded(node) == expanded || !tree_.HasChildren(node)) return;
  Change([&] { collapsed_[node] = !expanded; });
}

void WidgetXmlTreeModel::ExpandBelow(XmlTree::Node node) {
  if (allExpanded_) return;
  Change([&] {
    for (XmlTree::Node below = node; below < tree_.End(node); ++below) collapsed_[below] = false;
  });
}

void WidgetXmlTreeModel::Reveal(XmlTree::Node node) {
  if (NodeAt(RowOf(node)) == node) return;
  Change([&] {
    for (auto above = tree_.Parent(node); above != XmlTree::None; above = tree_.Parent(above)) {
      collapsed_[above] = false;
    }
  });
}

void WidgetXmlTreeModel::ExpandAll() {
  if (allExpanded_) return;
  Change([&] { std::fill(collapsed_.begin(), collapsed_.end(), false); });
}

void WidgetXmlTreeModel::CollapseAll() {
  if (tree_.Size() == 0) return;
  Change([&] {
    for (XmlTree::Node node = 0; node < tree_.Size(); ++node) collapsed_[node] = tree_.HasChildren(node);
  });
}

/// Changes which nodes are collapsed. The selection moves to the nearest visible ancestor of a node that is
/// hidden.
void WidgetXmlTreeModel::Change(const std::function<void()>& change) {
  Q_EMIT layoutAboutToBeChanged();
  const QModelIndexList before = persistentIndexList();
  std::vector<XmlTree::Node> nodes;
  for (const QModelIndex& one : before) nodes.push_back(NodeAt(one.row()));
  collapsed_.resize(tree_.Size());
  change();
  shown_ = tree_.Size();
  FindVisible();
  QModelIndexList after;
  for (const XmlTree::Node node : nodes) after.push_back(index(RowOf(node)));
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged();
}

void WidgetXmlTreeModel::FindVisible() {
  visible_.clear();
  allExpanded_ = std::find(collapsed_.begin(), collapsed_.end(), true) == collapsed_.end();
  if (allExpanded_) return collapsed_.clear();
  for (XmlTree::Node node = 0; node < shown_; node = collapsed_[node] ? tree_.End(node) : node + 1) {
    visible_.push_back(node);
  }
}

QString WidgetXmlTreeModel::ShownLabel(XmlTree::Node node) const {
  const bool isCut = tree_.LabelBytes(node) > MaxShownBytes;
  constexpr std::size_t restOfCharacter = 3;
  const std::string label = tree_.Label(node, MaxShownBytes + restOfCharacter);
  QString shown = ToQt(std::string_view(label).substr(0, CharacterBoundary(label, MaxShownBytes)));
  for (QChar& c : shown) c = Harmless(c);
  if (isCut) shown += QChar(0x2026);
  return shown;
}

int WidgetXmlTreeModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  return static_cast<int>(allExpanded_ ? shown_ : visible_.size());
}

QVariant WidgetXmlTreeModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const XmlTree::Node node = NodeAt(index.row());
  if (role == Qt::DisplayRole) return ShownLabel(node);
  if (role == Qt::AccessibleDescriptionRole) return Position(node);
  return {};
}

/// Describes the level and the expansion state of a node in words.
QString WidgetXmlTreeModel::Position(XmlTree::Node node) const {
  const QString level = QStringLiteral("Level %1").arg(tree_.Level(node) + 1);
  if (!tree_.HasChildren(node)) return level;
  return level + (IsExpanded(node) ? QStringLiteral(", expanded") : QStringLiteral(", collapsed"));
}

}  // namespace fieldpost
