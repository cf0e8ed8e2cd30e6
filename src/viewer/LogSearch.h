// Finds a text in a log, one slice after the other.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/SearchDirection.h"

namespace fieldpost {

enum class SearchState { Running, Found, NotFound };

/// A search that goes once around the text, from a position to its end (or beginning) and on from the other
/// side. Each step looks at one slice, so that a window can go on living between two of them.
class LogSearch {
 public:
  static constexpr std::size_t SliceBytes = std::size_t{1} << 20U;

  /// What is looked for: for each of its characters, the ways (UTF-8, none empty) in which it may be written.
  using Pattern = std::vector<std::vector<std::string>>;

  /// Finds nothing.
  LogSearch() = default;

  /// `text` must stay where it is while the search runs. A match that begins at `from` is the first to be
  /// found forward, and the last to be found backward.
  LogSearch(std::string_view text, Pattern pattern, std::size_t from, SearchDirection direction);

  /// Looks at the next slice.
  SearchState Step();

  /// Where the match begins and ends, once found.
  [[nodiscard]] std::size_t Begin() const { return position_; }
  [[nodiscard]] std::size_t End() const { return end_; }

 private:
  [[nodiscard]] bool MatchesHere();
  void Move();

  std::string_view text_;
  Pattern pattern_;
  SearchDirection direction_ = SearchDirection::Forward;
  std::array<bool, 256> mayBegin_{};  // by the first byte
  std::size_t position_ = 0;          // the next to look at
  std::size_t end_ = 0;
  std::size_t left_ = 0;  // positions not looked at yet
};

}  // namespace fieldpost
