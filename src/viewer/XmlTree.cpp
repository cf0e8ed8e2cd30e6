#include "viewer/XmlTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
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
  return LabelPart(node, 0, maxBytes);
}

std::string XmlTree::LabelPart(Node node, std::size_t from, std::size_t maxBytes) const {
  std::string part;
  std::uint64_t next = from;
  const auto take = [&](std::uint64_t at, std::uint64_t begin, std::uint64_t end) {
    const std::uint64_t bytes = std::min<std::uint64_t>(end - next, maxBytes - part.size());
    CopyText(at + (next - begin), bytes, part);
    next += bytes;
  };
  std::uint64_t begin = nodes_[node].textBytes;
  if (next < begin) take(nodes_[node].textAt, 0, begin);
  const std::vector<Piece>& pieces = MorePieces(node);
  auto piece = std::upper_bound(pieces.begin(), pieces.end(), next,
                                [](std::uint64_t offset, const Piece& one) { return offset < one.end; });
  if (piece != pieces.begin()) begin = std::prev(piece)->end;
  for (; piece != pieces.end() && part.size() < maxBytes; ++piece) {
    take(piece->at, begin, piece->end);
    begin = piece->end;
  }
  return part;
}

std::size_t XmlTree::LabelBytes(Node node) const {
  const std::vector<Piece>& pieces = MorePieces(node);
  return static_cast<std::size_t>(pieces.empty() ? nodes_[node].textBytes : pieces.back().end);
}

const std::vector<XmlTree::Piece>& XmlTree::MorePieces(Node node) const {
  static const std::vector<Piece> none;
  const auto more = more_.find(node);
  return more == more_.end() ? none : more->second;
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
  const std::uint64_t begin = pieces.size() > 1 ? pieces.rbegin()[1].end : data.textBytes;
  if (!pieces.empty() && pieces.back().at + (pieces.back().end - begin) == at) {
    pieces.back().end += text.size();
  } else {
    pieces.push_back({.at = at, .end = LabelBytes(open_) + text.size()});
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
  text_.ForEachPart(static_cast<std::size_t>(at), static_cast<std::size_t>(bytes),
                    [&](const char* text, std::size_t count) { target.append(text, count); });
}

}  // namespace fieldpost
