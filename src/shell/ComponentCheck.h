// Checks that the components of the program can be created.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace fieldpost {

/// A part that the program needs, under the name that it has on its oldest platform.
struct Component {
  std::string_view name;                          ///< such as "Scrrun.DLL"
  std::function<std::shared_ptr<void>()> create;  ///< returns nothing or throws when it cannot be created
};

/// Creates one object of each component, in order, keeps them until the end of the check and releases them
/// all. Stops at the first that cannot be created and returns the failure text of that one; empty when all
/// were created. Shows and logs nothing: the program continues, and fails where it uses the missing
/// component.
std::string CheckComponents(std::span<const Component> components);

}  // namespace fieldpost
