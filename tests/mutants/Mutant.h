// Mutants in a build that contains them all. The environment selects the active mutant of a process.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

namespace fieldpost::mutants {

/// The number of the active mutant, from the variable MUTANT; -1 when it is missing.
inline const int Chosen = [] {
  const char* const number = std::getenv("MUTANT");
  return number == nullptr ? -1 : std::atoi(number);
}();

/// Appends the numbers of the points that a process reached, one per line, to the file that MUTANT_RECORD
/// names.
class Record {
 public:
  Record() {
    if (const char* const file = std::getenv("MUTANT_RECORD")) file_ = file;
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  ~Record() {
    if (file_.empty()) return;
    std::ofstream out(file_, std::ios::app);
    for (std::size_t number = 0; number < reached_.size(); ++number) {
      if (reached_[number]) out << number << '\n';
    }
  }

  void Add(int number) {
    if (!file_.empty()) reached_.set(static_cast<std::size_t>(number));
  }

 private:
  std::string file_;
  std::bitset<100'000> reached_;
};

inline Record Reached;

/// Records that a mutant was reached. Whether it is the active one.
inline bool On(int number) {
  Reached.Add(number);
  return number == Chosen;
}

/// A mutant that calls `Function` instead of the operation in the source.
template <int TheNumber, class TheFunction>
struct M {
  static constexpr int Number = TheNumber;
  using Function = TheFunction;
};

template <class Original, class... Operands>
decltype(auto) Choose(Operands&&... operands) {
  return Original()(std::forward<Operands>(operands)...);
}

/// Calls `Original`, or the function of the active mutant.
template <class Original, class Mutant, class... Others, class... Operands>
auto Choose(Operands&&... operands) -> decltype(Original()(std::forward<Operands>(operands)...)) {
  if (On(Mutant::Number)) return typename Mutant::Function()(std::forward<Operands>(operands)...);
  return Choose<Original, Others...>(std::forward<Operands>(operands)...);
}

struct Increment {
  decltype(auto) operator()(auto& value) const { return ++value; }
};
struct Decrement {
  decltype(auto) operator()(auto& value) const { return --value; }
};
struct IncrementAfter {
  auto operator()(auto& value) const { return value++; }
};
struct DecrementAfter {
  auto operator()(auto& value) const { return value--; }
};
struct AddTo {
  decltype(auto) operator()(auto& value, const auto& other) const { return value += other; }
};
struct TakeFrom {
  decltype(auto) operator()(auto& value, const auto& other) const { return value -= other; }
};
struct Same {
  auto operator()(auto value) const { return value; }
};
struct OneMore {
  auto operator()(auto value) const { return static_cast<decltype(value)>(value + 1); }
};
struct OneLess {
  auto operator()(auto value) const { return static_cast<decltype(value)>(value - 1); }
};

}  // namespace fieldpost::mutants
