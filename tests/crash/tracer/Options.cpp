#include "crash/tracer/Options.h"

#include <charconv>
#include <cstring>
#include <string_view>

namespace fieldpost::tracer {
namespace {

/// The number of a call, which is at least 1; 0 of anything else.
std::uint64_t CallNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

bool TakeFlag(Options& options, std::string_view name) {
  bool* const flag = name == "--attempts"       ? &options.attempts
                     : name == "--socket-marks" ? &options.socketMarks
                     : name == "--from-then-on" ? &options.fromThenOn
                                                : nullptr;
  if (flag != nullptr) *flag = true;
  return flag != nullptr;
}

bool TakeValue(Options& options, std::string_view name, const char* value) {
  if (name == "--record") options.record = value;
  if (name == "--count") options.count = value;
  if (name == "--kill") options.kill = CallNumber(value);
  if (name == "--at") options.at = CallNumber(value);
  if (name == "--fault") options.fault = FaultNamed(value);
  return (name == "--record" && !options.record.empty()) || (name == "--count" && !options.count.empty()) ||
         (name == "--kill" && options.kill != 0) || (name == "--at" && options.at != 0) ||
         (name == "--fault" && options.fault);
}

bool IsWhole(const Options& options) {
  return options.program != nullptr && *options.program != nullptr &&
         options.fault.has_value() == (options.at != 0) && !(options.kill != 0 && options.fault) &&
         (!options.fromThenOn || options.fault);
}

}  // namespace

std::optional<Options> ReadOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(arguments[i], "--") == 0) {
      options.program = arguments + i + 1;
      break;
    }
    if (TakeFlag(options, arguments[i])) continue;
    if (i + 1 == count || !TakeValue(options, arguments[i], arguments[i + 1])) return std::nullopt;
    ++i;
  }
  if (!IsWhole(options)) return std::nullopt;
  return options;
}

}  // namespace fieldpost::tracer
