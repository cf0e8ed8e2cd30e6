#include "shell/ComponentCheck.h"

#include <fmt/format.h>

#include <exception>
#include <vector>

namespace fieldpost {
namespace {

std::shared_ptr<void> Create(const Component& component) {
  try {
    return component.create();
  } catch (const std::exception&) {
    return nullptr;
  }
}

}  // namespace

std::string CheckComponents(std::span<const Component> components) {
  std::vector<std::shared_ptr<void>> created;
  for (const Component& component : components) {
    created.push_back(Create(component));
    if (!created.back()) return fmt::format("\"{}\" not respond", component.name);
  }
  return {};
}

}  // namespace fieldpost
