#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "crash/tracer/ChangingCalls.h"

namespace fieldpost::tracer {
namespace {

struct NamedFault {
  std::string_view name;
  Fault fault;
  int error;
};

constexpr std::array Faults{
    NamedFault{"ENOSPC", Fault::NoSpace, ENOSPC},
    NamedFault{"EIO", Fault::InputOutput, EIO},
    NamedFault{"EACCES", Fault::NoPermission, EACCES},
    NamedFault{"EROFS", Fault::ReadOnly, EROFS},
    NamedFault{"EMFILE", Fault::TooManyFiles, EMFILE},
    NamedFault{"EINTR", Fault::Interrupted, EINTR},
    NamedFault{"EXDEV", Fault::OtherDisk, EXDEV},
    NamedFault{"short", Fault::Short, 0},
    NamedFault{"torn", Fault::Torn, EIO},
    NamedFault{"close", Fault::FailingClose, EIO},
};

bool IsFlush(Change change) {
  return change == Change::Fsync || change == Change::Syncfs;
}

bool CanBeInterrupted(Change change) {
  return change == Change::Create || change == Change::Write || change == Change::Copy ||
         change == Change::Truncate || change == Change::Fsync || change == Change::Close;
}

}  // namespace

// Which call can fail how. A network file system reports errors of permission and of space at any call, a
// copy-on-write one needs space even to remove a name, and one that met a fault turns read-only between two
// calls.
bool CanHave(Change change, Fault fault) {
  switch (fault) {
    case Fault::NoSpace:
    case Fault::InputOutput:
      return change != Change::Close;
    case Fault::NoPermission:
    case Fault::ReadOnly:
      return change != Change::Close && !IsFlush(change);
    case Fault::TooManyFiles:
      return change == Change::Create;
    case Fault::Interrupted:
      return CanBeInterrupted(change);
    case Fault::OtherDisk:
      return change == Change::Rename || change == Change::Link;
    case Fault::Short:
    case Fault::Torn:
      return change == Change::Write;
    case Fault::FailingClose:
      return change == Change::Close;
  }
  return false;
}

std::optional<Fault> FaultNamed(std::string_view name) {
  for (const NamedFault& known : Faults)
    if (known.name == name) return known.fault;
  return std::nullopt;
}

int ErrorOf(Fault fault) {
  for (const NamedFault& known : Faults)
    if (known.fault == fault) return known.error;
  return 0;
}

std::string FaultNames(Change change) {
  std::string names;
  for (const NamedFault& known : Faults) {
    if (!CanHave(change, known.fault)) continue;
    names += (names.empty() ? "\"" : ",\"") + std::string(known.name) + "\"";
  }
  return names;
}

std::string JsonText(std::string_view text) {
  std::string result = "\"";
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (letter == '"' || letter == '\\') result += '\\';
    if (byte >= ' ') {
      result += letter;
      continue;
    }
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), "\\u%04x", byte);
    result += escape.data();
  }
  return result + '"';
}

std::string JsonBytes(std::string_view bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t group = 3;
  std::string result = "\"";
  for (std::size_t i = 0; i < bytes.size(); i += group) {
    std::uint32_t word = 0;
    for (std::size_t k = 0; k < group; ++k)
      word = word << 8U | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k <= group; ++k)
      result += i + k > bytes.size() ? '=' : digits[word >> (18 - 6 * k) & 63U];
  }
  return result + '"';
}

}  // namespace fieldpost::tracer
