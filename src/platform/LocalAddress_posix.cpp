#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include "platform/LocalAddress.h"

namespace fieldpost {
namespace {

/// An IPv6 address, or an IPv4 address mapped to IPv6 (RFC 4291, section 2.5.5.2).
using Address = std::array<unsigned char, 16>;

Address Mapped(const void* address) {
  Address result{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
  std::memcpy(&result[12], address, 4);
  return result;
}

std::optional<Address> Parsed(const std::string& text) {
  const std::string plain = text.substr(0, text.find('%'));
  in_addr four{};
  if (::inet_pton(AF_INET, plain.c_str(), &four) == 1) return Mapped(&four);
  Address six{};
  if (::inet_pton(AF_INET6, plain.c_str(), six.data()) == 1) return six;
  return std::nullopt;
}

std::optional<Address> AddressOf(const sockaddr* socket) {
  if (socket == nullptr) return std::nullopt;
  if (socket->sa_family == AF_INET) {
    sockaddr_in four{};
    std::memcpy(&four, socket, sizeof four);
    return Mapped(&four.sin_addr);
  }
  if (socket->sa_family != AF_INET6) return std::nullopt;
  sockaddr_in6 six{};
  std::memcpy(&six, socket, sizeof six);
  Address result{};
  std::memcpy(result.data(), &six.sin6_addr, result.size());
  return result;
}

bool IsLoopback(const Address& address) {
  constexpr Address sixLoopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  constexpr Address fourLoopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 127};
  return address == sixLoopback || std::memcmp(address.data(), fourLoopback.data(), 13) == 0;
}

struct FreeInterfaces {
  void operator()(ifaddrs* list) const { ::freeifaddrs(list); }
};

}  // namespace

bool IsThisMachine(const std::string& address) {
  const std::optional<Address> wanted = Parsed(address);
  if (!wanted) return false;
  if (IsLoopback(*wanted)) return true;
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0) return false;
  const std::unique_ptr<ifaddrs, FreeInterfaces> interfaces(first);
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (AddressOf(entry->ifa_addr) == wanted) return true;
  }
  return false;
}

}  // namespace fieldpost
