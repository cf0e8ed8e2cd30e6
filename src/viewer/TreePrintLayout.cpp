#include "viewer/TreePrintLayout.h"

#include <algorithm>

namespace fieldpost {

PrintedNode TreePrintLayout::Place(std::uint32_t level, bool hasNextSibling, Twips textHeight) {
  const Twips height = textHeight + measures_.screenPixelY;
  BreakPageFor(height);
  hasNextSibling_.resize(std::size_t{level} + 1);
  hasNextSibling_[level] = hasNextSibling;
  const Twips left = static_cast<Twips>(level) * measures_.indentation;
  PrintedNode node{.page = page_,
                   .top = y_,
                   .height = height,
                   .labelX = left,
                   .labelY = y_ + (height - textHeight) / 2,
                   .horizontal = std::nullopt,
                   .verticals = {}};
  if (level > 0) {
    const Twips middle = y_ + height / 2;
    if (ColumnOf(level) <= measures_.pageWidth) {
      node.horizontal = {ColumnOf(level), middle, left - 2 * measures_.screenPixelX, middle};
    }
    AddVerticals(node, level);
  }
  y_ += height;
  return node;
}

/// Returns the x position of the vertical line that joins the nodes of a level.
Twips TreePrintLayout::ColumnOf(std::size_t level) const {
  return static_cast<Twips>(level) * measures_.indentation - measures_.indentation / 2.0;
}

void TreePrintLayout::BreakPageFor(Twips height) {
  if (y_ + height <= measures_.pageHeight - Margin || y_ == Margin) return;
  ++page_;
  y_ = Margin;
}

void TreePrintLayout::AddVerticals(PrintedNode& node, std::size_t level) const {
  const Twips bottom = node.top + node.height;
  const auto vertical = [&](std::size_t of, Twips to) {
    node.verticals.push_back({ColumnOf(of), node.top, ColumnOf(of), to});
  };
  if (ColumnOf(level) <= measures_.pageWidth) {
    vertical(level, hasNextSibling_[level] ? bottom : node.top + node.height / 2);
  }
  const auto columns = static_cast<std::size_t>(measures_.pageWidth / std::max(measures_.indentation, 1)) + 1;
  for (std::size_t of = std::min(level - 1, columns); of >= 1; --of) {
    if (hasNextSibling_[of] && ColumnOf(of) <= measures_.pageWidth) vertical(of, bottom);
  }
}

}  // namespace fieldpost
