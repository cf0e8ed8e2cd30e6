#include "platform/HostLookup.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/OwnNetwork.h"

namespace fieldpost::test {
namespace {

using Addresses = std::vector<std::uint32_t>;

/// Returns the addresses of a name as text. Only names that the machine itself resolves are used.
std::string Looked(const std::string& name) {
  return InOwnNetwork({}, [&name] {
    SystemHostLookup hosts;
    if (!hosts.Start()) return std::string("not started");
    std::string text;
    for (const std::uint32_t address : hosts.Resolve(name)) text += ::inet_ntoa({address}) + std::string(" ");
    hosts.Stop();
    return text;
  });
}

TEST(HostLookupTest, ResolvesNamesAndAddresses) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  EXPECT_EQ(Looked("localhost").substr(0, 10), "127.0.0.1 ");
  EXPECT_EQ(Looked("127.0.0.1"), "127.0.0.1 ");
  EXPECT_EQ(Looked("192.0.2.200"), "192.0.2.200 ");
}

TEST(HostLookupTest, ReturnsNothingForInvalidAndUnknownNames) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  for (const std::string& name :
       {std::string(), std::string(" "), std::string("."), std::string(".."), std::string("a..b"),
        std::string("no such machine"), std::string("no-such-machine.invalid"),
        std::string("256.256.256.256"), std::string("::1"), std::string("local\nhost"),
        std::string("localhost\0", 10), std::string("localhost\0.example", 18), std::string("-"),
        std::string("\xFF\xFE"), std::string(64, 'a') + ".invalid", std::string(255, 'a'),
        std::string(256, 'a'), std::string(100000, 'a')}) {
    EXPECT_EQ(Looked(name), "") << name.substr(0, 40);
  }
}

TEST(HostLookupTest, ReturnsNothingForAnEmptyName) {
  SystemHostLookup hosts;
  ASSERT_TRUE(hosts.Start());
  EXPECT_EQ(hosts.Resolve(""), Addresses{});
  hosts.Stop();
}

}  // namespace
}  // namespace fieldpost::test
