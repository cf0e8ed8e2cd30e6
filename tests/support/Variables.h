// Environment variables that are set for a scope.
#pragma once

#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fieldpost::test {

/// Sets variables, or unsets those without a value, and restores their former values at the end of the scope.
class Variables {
 public:
  using Value = std::optional<std::string>;

  Variables(std::initializer_list<std::pair<std::string, Value>> values) {
    for (const auto& [name, value] : values) {
      const char* before = std::getenv(name.c_str());
      before_.emplace_back(name, before == nullptr ? Value() : Value(before));
      Set(name, value);
    }
  }
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;
  ~Variables() {
    for (auto entry = before_.rbegin(); entry != before_.rend(); ++entry) Set(entry->first, entry->second);
  }

 private:
  static void Set(const std::string& name, const Value& value) {
    if (value) {
      ::setenv(name.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name.c_str());
    }
  }

  std::vector<std::pair<std::string, Value>> before_;
};

}  // namespace fieldpost::test
