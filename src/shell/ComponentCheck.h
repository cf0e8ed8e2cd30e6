// Whether everything that the program is made of can be created.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace fieldpost {

/// Something that the program needs, known by the name that it has on its oldest platform.
struct Component {
  std::string_view name;                          ///< such as "Scrrun.DLL"
  std::function<std::shared_ptr<void>()> create;  ///< empty, or an exception, when it cannot be created
};

/// Creates one object of each component, in order, keeps them to the end of the check and releases them all.
/// Stops at the first that cannot be created; returns what is wrong with that one, empty when nothing is.
/// Nothing is shown and nothing is logged: the program runs on, and says so where it misses the component.
std::string CheckComponents(std::span<const Component> components);

}  // namespace fieldpost
