// The tree that the XML viewer shows: one label for each element of a file.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace fieldpost {

/// A list that never copies its items when it grows, so that growing takes no long pause.
template <class Item, std::size_t BlockItems>
class BlockList {
 public:
  [[nodiscard]] std::size_t Size() const { return size_; }
  [[nodiscard]] std::size_t MemoryBytes() const { return blocks_.size() * sizeof(Block); }
  [[nodiscard]] const Item& operator[](std::size_t at) const {
    return (*blocks_[at / BlockItems])[at % BlockItems];
  }
  [[nodiscard]] Item& operator[](std::size_t at) { return (*blocks_[at / BlockItems])[at % BlockItems]; }

  void Add(const Item& item) { Append(&item, 1); }

  void Append(const Item* items, std::size_t count) {
    while (count > 0) {
      if (size_ == blocks_.size() * BlockItems) blocks_.push_back(std::make_unique_for_overwrite<Block>());
      const std::size_t fits = std::min(count, BlockItems - size_ % BlockItems);
      std::copy_n(items, fits, blocks_.back()->begin() + static_cast<std::ptrdiff_t>(size_ % BlockItems));
      size_ += fits;
      items += fits;
      count -= fits;
    }
  }

  /// Calls `take` with a pointer and a count for each contiguous part of the `count` items from `at` on.
  template <class Take>
  void ForEachPart(std::size_t at, std::size_t count, Take take) const {
    while (count > 0) {
      const std::size_t fits = std::min(count, BlockItems - at % BlockItems);
      take(&(*this)[at], fits);
      at += fits;
      count -= fits;
    }
  }

  void Clear() {
    blocks_.clear();
    size_ = 0;
  }

 private:
  using Block = std::array<Item, BlockItems>;

  std::vector<std::unique_ptr<Block>> blocks_;
  std::size_t size_ = 0;
};

/// A tree of labels that can be read while it grows. Nodes are numbered from 0 in document order, so that the
/// descendants of a node follow it. Nothing here recurses: depth costs no more than breadth.
class XmlTree {
 public:
  using Node = std::uint32_t;

  /// No node: the parent of a root, or the next sibling of the last child.
  static constexpr Node None = 0xFFFFFFFF;

  /// Returns the number of nodes.
  [[nodiscard]] Node Size() const { return static_cast<Node>(nodes_.Size()); }

  /// Returns the number of a node's ancestors: 0 for a root.
  [[nodiscard]] std::uint32_t Level(Node node) const { return nodes_[node].level; }

  [[nodiscard]] Node Parent(Node node) const { return nodes_[node].parent; }

  /// Returns the first node after `node` that is not below it; the end of the tree while `node` is open.
  [[nodiscard]] Node End(Node node) const;

  [[nodiscard]] bool HasChildren(Node node) const;

  /// Returns the next child of the same parent, or the next root; `None` when there is none so far.
  [[nodiscard]] Node NextSibling(Node node) const;

  /// Returns the key of a node: "Node-1" for the first one, and so on.
  [[nodiscard]] static std::string Key(Node node);

  /// Returns the label in UTF-8, or its first `maxBytes` bytes; the cut may fall within a character.
  [[nodiscard]] std::string Label(Node node, std::size_t maxBytes = static_cast<std::size_t>(-1)) const;

  /// Returns up to `maxBytes` bytes of the label, from byte `from` on.
  [[nodiscard]] std::string LabelPart(Node node, std::size_t from, std::size_t maxBytes) const;

  /// Returns the length of the whole label in bytes.
  [[nodiscard]] std::size_t LabelBytes(Node node) const;

  /// Returns the memory that the tree takes, in bytes.
  [[nodiscard]] std::size_t MemoryBytes() const;

  /// Opens a node below the innermost open one; a root when none is open.
  void Open(std::string_view label);

  /// Appends to the label of the innermost open node. Only while one is open.
  void AppendToLabel(std::string_view text);

  /// Closes the innermost open node. Only while one is open.
  void Close();

  /// Removes all nodes.
  void Clear();

 private:
  struct NodeData {
    std::uint64_t textAt;  // offset in text_ of the label, or of its first part
    std::uint32_t textBytes;
    Node parent;
    Node end;  // None while the node is open
    std::uint32_t level;
  };
  struct Piece {
    std::uint64_t at;  // offset in text_
    std::uint64_t
        end;  // offset in the label after the piece, so that a part of a label is found by bisection
  };

  [[nodiscard]] const std::vector<Piece>& MorePieces(Node node) const;
  void CopyText(std::uint64_t at, std::uint64_t bytes, std::string& target) const;

  BlockList<NodeData, 16384> nodes_;
  BlockList<char, 1048576> text_;
  // Later pieces of labels that were extended after other labels had been stored.
  std::unordered_map<Node, std::vector<Piece>> more_;
  Node open_ = None;
};

}  // namespace fieldpost
