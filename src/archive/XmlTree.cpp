#include "archive/XmlTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace fieldpost {
namespace {

constexpr std::uint32_t MaxFirstPiece = std::numeric_limits<std::uint32_t>::max() / 2;

}  // namespace

XmlTree::Node XmlTree::End(Node node) const {
  return std::min(nodes_[node].end, Size());
}

bool XmlTree::HasChildren(Node node) const {
  return End(node) > node + 1;
}

XmlTree::Node XmlTree::NextSibling(Node node) const {
  const Node next = End(node);
  return next < Size() && Parent(next) == Parent(node) ? next : None;
}

std::string XmlTree::Key(Node node) {
  return fmt::format("Node-{}", std::uint64_t{node} + 1);
}

std::string XmlTree::Label(Node node, std::size_t maxBytes) const {
  std::string label;
  const NodeData& data = nodes_[node];
  label.reserve(std::min<std::size_t>(data.textBytes, maxBytes));
  CopyText(data.textAt, std::min<std::uint64_t>(data.textBytes, maxBytes), label);
  const auto more = more_.find(node);
  if (more == more_.end()) return label;
  for (const Piece& piece : more->second) {
    if (label.size() == maxBytes) break;
    CopyText(piece.at, std::min<std::uint64_t>(piece.bytes, maxBytes - label.size()), label);
  }
  return label;
}

std::size_t XmlTree::LabelBytes(Node node) const {
  std::size_t bytes = nodes_[node].textBytes;
  const auto more = more_.find(node);
  if (more == more_.end()) return bytes;
  for (const Piece& piece : more->second) bytes += static_cast<std::size_t>(piece.bytes);
  return bytes;
}

std::size_t XmlTree::MemoryBytes() const {
  std::size_t bytes = nodes_.MemoryBytes() + text_.MemoryBytes();
  for (const auto& [node, pieces] : more_) bytes += sizeof(node) + pieces.capacity() * sizeof(Piece);
  return bytes;
}

void XmlTree::Open(std::string_view label) {
  if (Size() == None - 1) throw std::length_error("too many elements");
  nodes_.Add({.textAt = text_.Size(),
              .textBytes = 0,
              .parent = open_,
              .end = None,
              .level = open_ == None ? 0 : Level(open_) + 1});
  open_ = Size() - 1;
  AppendToLabel(label);
}

void XmlTree::AppendToLabel(std::string_view text) {
  NodeData& data = nodes_[open_];
  const std::uint64_t at = text_.Size();
  const bool whole = !more_.contains(open_) && data.textAt + data.textBytes == at;
  text_.Append(text.data(), text.size());
  if (whole && text.size() < MaxFirstPiece - std::min(data.textBytes, MaxFirstPiece)) {
    data.textBytes += static_cast<std::uint32_t>(text.size());
    return;
  }
  std::vector<Piece>& pieces = more_[open_];
  if (!pieces.empty() && pieces.back().at + pieces.back().bytes == at) {
    pieces.back().bytes += text.size();
  } else {
    pieces.push_back({.at = at, .bytes = text.size()});
  }
}

void XmlTree::Close() {
  nodes_[open_].end = Size();
  open_ = nodes_[open_].parent;
}

void XmlTree::Clear() {
  nodes_.Clear();
  text_.Clear();
  more_.clear();
  open_ = None;
}

void XmlTree::CopyText(std::uint64_t at, std::uint64_t bytes, std::string& target) const {
  text_.ForEachStretch(static_cast<std::size_t>(at), static_cast<std::size_t>(bytes),
                       [&](const char* text, std::size_t count) { target.append(text, count); });
}

}  // namespace fieldpost
