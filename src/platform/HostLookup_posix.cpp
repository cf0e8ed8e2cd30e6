#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/HostLookup.h"

namespace fieldpost {
namespace {

/// The longest name in bytes (RFC 1035, section 2.3.4).
constexpr std::size_t LongestName = 255;

struct FreeAddresses {
  void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

/// A zero byte would end the name early, so that another name would be looked up.
bool CanBeName(std::string_view hostName) {
  return !hostName.empty() && hostName.size() <= LongestName && hostName.find('\0') == std::string_view::npos;
}

std::uint32_t AddressOf(const addrinfo& entry) {
  sockaddr_in socket{};
  std::memcpy(&socket, entry.ai_addr, sizeof socket);
  return socket.sin_addr.s_addr;
}

}  // namespace

bool SystemHostLookup::Start() {
  return true;
}

std::vector<std::uint32_t> SystemHostLookup::Resolve(std::string_view hostName) {
  if (!CanBeName(hostName)) return {};
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;  // otherwise each address is returned once per socket type
  addrinfo* first = nullptr;
  if (::getaddrinfo(std::string(hostName).c_str(), nullptr, &wanted, &first) != 0) return {};
  const std::unique_ptr<addrinfo, FreeAddresses> list(first);
  std::vector<std::uint32_t> result;
  for (const addrinfo* entry = first; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family == AF_INET) result.push_back(AddressOf(*entry));
  }
  return result;
}

void SystemHostLookup::Stop() {}

}  // namespace fieldpost
