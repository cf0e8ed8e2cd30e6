// Which way a search goes.
#pragma once

namespace fieldpost {

enum class SearchDirection { Forward, Backward };

}  // namespace fieldpost
