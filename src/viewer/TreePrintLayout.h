// The layout of a printed tree on its pages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace fieldpost {

/// Positions and lengths on a page are in twips, 1440 to the inch, from the top left of the printable area.
using Twips = double;

/// Measures of the page, the tree view and the screen.
struct PrintMeasures {
  Twips pageWidth = 0;      ///< of the printable area
  Twips pageHeight = 0;     ///< of the printable area
  int indentation = 0;      ///< of the tree view for each level; used as twips unchanged
  Twips screenPixelX = 15;  ///< width of one pixel of the screen
  Twips screenPixelY = 15;  ///< height of one pixel of the screen
};

/// A connecting line.
struct PrintedLine {
  Twips x1, y1, x2, y2;
  bool operator==(const PrintedLine&) const = default;
};

/// One node on its page.
struct PrintedNode {
  std::size_t page;  ///< from 0
  Twips top;         ///< of its line
  Twips height;      ///< of its line
  Twips labelX;      ///< left edge of the label
  Twips labelY;      ///< top of the label's text
  std::optional<PrintedLine> horizontal;
  std::vector<PrintedLine> verticals;  ///< that of the parent's column first, then towards the root
};

/// Places the visible nodes of a tree in order, one line each. Connecting lines to the right of the page are
/// omitted, so that the time for a deep tree does not grow with the square of its depth.
class TreePrintLayout {
 public:
  /// The margin at the top and at the bottom of each page.
  static constexpr Twips Margin = 100;

  explicit TreePrintLayout(const PrintMeasures& measures) : measures_(measures) {}

  /// Places the next node. `level` is the number of its ancestors, at most one more than that of the previous
  /// node; `textHeight` is the height of its label. A line that is taller than a page gets a page of its own.
  PrintedNode Place(std::uint32_t level, bool hasNextSibling, Twips textHeight);

 private:
  [[nodiscard]] Twips ColumnOf(std::size_t level) const;
  void BreakPageFor(Twips height);
  void AddVerticals(PrintedNode& node, std::size_t level) const;

  PrintMeasures measures_;
  std::size_t page_ = 0;
  Twips y_ = Margin;
  std::vector<bool> hasNextSibling_;  // of the node and its ancestors, by level
};

}  // namespace fieldpost
