#include "platform/LocalAddress.h"

#include <gtest/gtest.h>

namespace fieldpost::test {
namespace {

TEST(LocalAddressTest, LoopbackIsThisMachine) {
  for (const char* address : {"127.0.0.1", "127.1.2.3", "::1", "::ffff:127.0.0.1"}) {
    EXPECT_TRUE(IsThisMachine(address)) << address;
  }
}

TEST(LocalAddressTest, OthersAreNot) {
  // Addresses kept for documentation (RFC 5737, RFC 3849), and what is none.
  for (const char* address :
       {"192.0.2.1", "2001:db8::1", "::ffff:192.0.2.1", "128.0.0.1", "", "localhost", "127.1"}) {
    EXPECT_FALSE(IsThisMachine(address)) << address;
  }
}

}  // namespace
}  // namespace fieldpost::test
