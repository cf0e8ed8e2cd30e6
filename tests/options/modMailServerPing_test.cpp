#include "options/modMailServerPing.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/OwnNetwork.h"

namespace fieldpost::test {
namespace {

using Steps = std::vector<std::string>;

std::uint32_t Address(const char* dotted) {
  return ::inet_addr(dotted);
}

class FakeHosts final : public HostLookup {
 public:
  explicit FakeHosts(Steps& steps) : steps_(steps) {}
  bool starts = true;
  std::vector<std::uint32_t> addresses{Address("192.0.2.7")};

  bool Start() override {
    steps_.emplace_back("start");
    return starts;
  }
  std::vector<std::uint32_t> Resolve(std::string_view hostName) override {
    steps_.push_back("resolve '" + std::string(hostName) + "'");
    return addresses;
  }
  void Stop() override { steps_.emplace_back("stop"); }

 private:
  Steps& steps_;
};

class FakeEcho final : public IcmpEcho {
 public:
  explicit FakeEcho(Steps& steps) : steps_(steps) {}
  std::uint32_t status = 0;
  std::vector<EchoRequest> requests;

  std::uint32_t Send(const EchoRequest& request, StatusDisplay&) override {
    steps_.emplace_back("echo");
    requests.push_back(request);
    return status;
  }

 private:
  Steps& steps_;
};

class StepDisplay final : public StatusDisplay {
 public:
  explicit StepDisplay(Steps& steps) : steps_(steps) {}
  void ProcessEvents() override { steps_.emplace_back("events"); }

 private:
  Steps& steps_;
};

struct PingSite {
  Steps steps;
  FakeHosts hosts{steps};
  FakeEcho echo{steps};
  StepDisplay display{steps};
  modMailServerPing ping{hosts, echo, display};
  std::string message = "before";
};

TEST(ModMailServerPingTest, AllStepsComeInOrder) {
  PingSite site;
  EXPECT_TRUE(site.ping.PingMailServer("mail.partner.example", site.message));
  EXPECT_EQ(site.steps,
            (Steps{"start", "events", "resolve 'mail.partner.example'", "events", "echo", "events"}));
}

TEST(ModMailServerPingTest, TheEchoIsAsGiven) {
  PingSite site;
  site.ping.PingMailServer("mail.partner.example", site.message);
  EXPECT_EQ(site.echo.requests,
            (std::vector<EchoRequest>{{Address("192.0.2.7"), 32, 128, std::chrono::milliseconds(1000)}}));
}

TEST(ModMailServerPingTest, SocketsThatDoNotStartEndIt) {
  PingSite site;
  site.hosts.starts = false;
  EXPECT_FALSE(site.ping.PingMailServer("mail.partner.example", site.message));
  EXPECT_EQ(site.message, "WSock32.dll is Not responding!");
  EXPECT_EQ(site.steps, Steps{"start"});
  EXPECT_EQ(site.ping.LastStatus(), 10091U);
}

TEST(ModMailServerPingTest, ANameWithoutAddressEndsItAndStopsTheSockets) {
  PingSite site;
  site.hosts.addresses.clear();
  EXPECT_FALSE(site.ping.PingMailServer("nowhere.example", site.message));
  EXPECT_EQ(site.message, "Unable To Resolve Host");
  EXPECT_EQ(site.steps, (Steps{"start", "events", "resolve 'nowhere.example'", "stop"}));
  EXPECT_EQ(site.ping.LastStatus(), 11001U);
}

TEST(ModMailServerPingTest, BlanksRoundTheNameDoNotCount) {
  for (const auto& [given, looked] :
       std::vector<std::pair<std::string, std::string>>{{"  mail.example", "mail.example"},
                                                        {"mail.example   ", "mail.example"},
                                                        {" mail.example ", "mail.example"},
                                                        {"mail example", "mail example"},
                                                        {"\tmail.example", "\tmail.example"},
                                                        {"   ", ""},
                                                        {"", ""}}) {
    PingSite site;
    site.ping.PingMailServer(given, site.message);
    EXPECT_EQ(site.steps.at(2), "resolve '" + looked + "'") << "'" << given << "'";
  }
}

TEST(ModMailServerPingTest, OfSeveralAddressesTheFirstIsAsked) {
  PingSite site;
  site.hosts.addresses = {Address("192.0.2.9"), Address("192.0.2.1"), Address("127.0.0.1")};
  site.echo.status = 11010;
  EXPECT_FALSE(site.ping.PingMailServer("many.example", site.message));
  ASSERT_EQ(site.echo.requests.size(), 1U);
  EXPECT_EQ(site.echo.requests.front().address, Address("192.0.2.9"));
}

struct StatusCase {
  std::uint32_t status;
  std::optional<std::string> words;
  bool answered = false;
};

TEST(ModMailServerPingTest, EachStatusHasItsWordsOrLeavesTheMessage) {
  const std::vector<StatusCase> cases{
      {0, "Success", true},
      {11001, "Buffer too Small"},
      {11002, "Destination Unreahable"},
      {11003, "Dest Host Not Reachable"},
      {11004, "Dest Protocol Not Reachable"},
      {11005, "Dest Port Not Reachable"},
      {11006, "No Resources Available"},
      {11007, "Bad Option"},
      {11008, "Hardware Error"},
      {11009, "Packet too Big"},
      {11010, "Reqested Timed Out"},
      {11011, "Bad Request"},
      {11012, "Bad Route"},
      {11013, std::nullopt},
      {11014, "TTL Exprd Reassemb"},
      {11015, "Parameter Problem"},
      {11016, "Source Quench"},
      {11017, "Option too Big"},
      {11018, "Bad Destination"},
      {11019, "Address Deleted"},
      {11020, "Spec MTU Change"},
      {11021, "MTU Change"},
      {11022, "Unload"},
      {11023, std::nullopt},
      {11050, "General Failure"},
      {11000, std::nullopt},
      {1, std::nullopt},
      {0x7FFFFFFFU, std::nullopt},
      // Below zero as a signed number.
      {0x80000000U, std::nullopt, true},
      {0xFFFFFFFFU, std::nullopt, true},
  };
  for (const StatusCase& given : cases) {
    PingSite site;
    site.echo.status = given.status;
    EXPECT_EQ(site.ping.PingMailServer("mail.example", site.message), given.answered) << given.status;
    EXPECT_EQ(site.message, given.words.value_or("before")) << given.status;
    EXPECT_EQ(site.ping.LastStatus(), given.status);
    EXPECT_EQ(site.steps.back(), "events") << given.status;
  }
}

TEST(ModMailServerPingTest, SendIcmpEchoTakesAnySizeAndReturnsTheStatus) {
  PingSite site;
  site.echo.status = 11013;
  EXPECT_EQ(site.ping.SendIcmpEcho(Address("192.0.2.5"), "192.0.2.5", 7), 11013U);
  EXPECT_EQ(site.echo.requests,
            (std::vector<EchoRequest>{{Address("192.0.2.5"), 7, 128, std::chrono::milliseconds(1000)}}));
  EXPECT_EQ(site.ping.LastStatus(), 11013U);
}

/// The outcome of a check with the real resolver and real echoes: result, status and message.
std::string RealPing(std::string_view hostName) {
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  StatusDisplay display;
  modMailServerPing ping(hosts, echo, display);
  std::string message = "before";
  const bool answered = ping.PingMailServer(hostName, message);
  return std::string(answered ? "yes " : "no ") + std::to_string(ping.LastStatus()) + " " + message;
}

TEST(ModMailServerPingTest, OnTheRealNetwork) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  for (const auto& [hostName, outcome] : std::vector<std::pair<std::string, std::string>>{
           {"localhost", "yes 0 Success"},
           {"  127.0.0.1 ", "yes 0 Success"},
           {"no-such-machine.invalid", "no 11001 Unable To Resolve Host"},
           {"", "no 11001 Unable To Resolve Host"},
           {"192.0.2.1", "no 11002 Destination Unreahable"}}) {
    EXPECT_EQ(InOwnNetwork({}, [&name = hostName] { return RealPing(name); }), outcome) << hostName;
  }
}

TEST(ModMailServerPingTest, AMachineThatDoesNotAnswerTimesOut) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  EXPECT_EQ(InOwnNetwork({.answersEchoes = false}, [] { return RealPing("127.0.0.1"); }),
            "no 11010 Reqested Timed Out");
}

}  // namespace
}  // namespace fieldpost::test
