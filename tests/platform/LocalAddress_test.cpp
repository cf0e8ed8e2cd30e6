#include "platform/LocalAddress.h"

#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <netdb.h>

#include <array>
#include <cerrno>

#include "support/FailingCall.h"

namespace fieldpost::test {
namespace {

TEST(LocalAddressTest, LoopbackAddressesAreLocal) {
  for (const char* address : {"127.0.0.1", "127.1.2.3", "::1", "::ffff:127.0.0.1"}) {
    EXPECT_TRUE(IsThisMachine(address)) << address;
  }
}

TEST(LocalAddressTest, OtherAddressesAndTextsAreNot) {
  // Documentation addresses (RFC 5737, RFC 3849), and texts that are not addresses.
  for (const char* address :
       {"192.0.2.1", "2001:db8::1", "::ffff:192.0.2.1", "128.0.0.1", "", "localhost", "127.1"}) {
    EXPECT_FALSE(IsThisMachine(address)) << address;
  }
}

TEST(LocalAddressTest, AddressesOfTheInterfacesAreLocal) {
  ifaddrs* first = nullptr;
  ASSERT_EQ(::getifaddrs(&first), 0);
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
    const int family = entry->ifa_addr == nullptr ? AF_UNSPEC : entry->ifa_addr->sa_family;
    if (family != AF_INET && family != AF_INET6) continue;
    std::array<char, NI_MAXHOST> text{};
    const socklen_t size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    ASSERT_EQ(::getnameinfo(entry->ifa_addr, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST), 0);
    EXPECT_TRUE(IsThisMachine(text.data())) << text.data();
  }
  ::freeifaddrs(first);
}

TEST(LocalAddressTest, OnlyLoopbackIsLocalWhenTheInterfacesAreUnknown) {
  const FailingCall failing("getifaddrs", EMFILE);
  EXPECT_FALSE(IsThisMachine("192.0.2.1"));
  EXPECT_EQ(failing.Failures(), 1);
  EXPECT_TRUE(IsThisMachine("127.0.0.1"));
}

}  // namespace
}  // namespace fieldpost::test
