// The direction of a search.
#pragma once

namespace fieldpost {

/// Forward searches towards the end.
enum class SearchDirection { Forward, Backward };

}  // namespace fieldpost
