#include "options/modMailServerPing.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

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
};

TEST(modMailServerPing, TakesItsStepsInOrder) {
  PingSite site;
  EXPECT_TRUE(site.ping.PingMailServer("mail.partner.example").isReached);
  EXPECT_EQ(site.steps,
            (Steps{"start", "events", "resolve 'mail.partner.example'", "events", "echo", "events"}));
}

TEST(modMailServerPing, SendsTheGivenEcho) {
  PingSite site;
  static_cast<void>(site.ping.PingMailServer("mail.partner.example"));
  EXPECT_EQ(site.echo.requests,
            (std::vector<EchoRequest>{{Address("192.0.2.7"), 32, 128, std::chrono::milliseconds(1000)}}));
}

TEST(modMailServerPing, FailsWhenTheSocketsDoNotStart) {
  PingSite site;
  site.hosts.starts = false;
  const PingResult result = site.ping.PingMailServer("mail.partner.example");
  EXPECT_FALSE(result.isReached);
  EXPECT_EQ(result.message, "WSock32.dll is Not responding!");
  EXPECT_EQ(site.steps, Steps{"start"});
  EXPECT_EQ(result.status, 10091U);
}

TEST(modMailServerPing, StopsTheSocketsWhenTheNameHasNoAddress) {
  PingSite site;
  site.hosts.addresses.clear();
  const PingResult result = site.ping.PingMailServer("nowhere.example");
  EXPECT_FALSE(result.isReached);
  EXPECT_EQ(result.message, "Unable To Resolve Host");
  EXPECT_EQ(site.steps, (Steps{"start", "events", "resolve 'nowhere.example'", "stop"}));
  EXPECT_EQ(result.status, 11001U);
}

TEST(modMailServerPing, TrimsBlanksFromTheName) {
  for (const auto& [given, looked] :
       std::vector<std::pair<std::string, std::string>>{{"  mail.example", "mail.example"},
                                                        {"mail.example   ", "mail.example"},
                                                        {" mail.example ", "mail.example"},
                                                        {"mail example", "mail example"},
                                                        {"\tmail.example", "\tmail.example"},
                                                        {"   ", ""},
                                                        {"", ""}}) {
    PingSite site;
    static_cast<void>(site.ping.PingMailServer(given));
    EXPECT_EQ(site.steps.at(2), "resolve '" + looked + "'") << "'" << given << "'";
  }
}

TEST(modMailServerPing, PingsTheFirstOfSeveralAddresses) {
  PingSite site;
  site.hosts.addresses = {Address("192.0.2.9"), Address("192.0.2.1"), Address("127.0.0.1")};
  site.echo.status = 11010;
  EXPECT_FALSE(site.ping.PingMailServer("many.example").isReached);
  ASSERT_EQ(site.echo.requests.size(), 1U);
  EXPECT_EQ(site.echo.requests.front().address, Address("192.0.2.9"));
}

struct StatusCase {
  std::uint32_t status;
  std::string words;
  bool isReached = false;
};

TEST(modMailServerPing, NamesEachStatusThatHasWords) {
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
      {11013, ""},
      {11014, "TTL Exprd Reassemb"},
      {11015, "Parameter Problem"},
      {11016, "Source Quench"},
      {11017, "Option too Big"},
      {11018, "Bad Destination"},
      {11019, "Address Deleted"},
      {11020, "Spec MTU Change"},
      {11021, "MTU Change"},
      {11022, "Unload"},
      {11023, ""},
      {11050, "General Failure"},
      {11000, ""},
      {1, ""},
      {0x7FFFFFFFU, ""},
      // Negative as a signed number.
      {0x80000000U, "", true},
      {0xFFFFFFFFU, "", true},
  };
  for (const StatusCase& given : cases) {
    PingSite site;
    site.echo.status = given.status;
    const PingResult result = site.ping.PingMailServer("mail.example");
    EXPECT_EQ(result.isReached, given.isReached) << given.status;
    EXPECT_EQ(result.message, given.words) << given.status;
    EXPECT_EQ(result.status, given.status);
    EXPECT_EQ(site.steps.back(), "events") << given.status;
  }
}

TEST(modMailServerPing, SendIcmpEchoTakesAnySizeAndReturnsTheStatus) {
  PingSite site;
  site.echo.status = 11013;
  EXPECT_EQ(site.ping.SendIcmpEcho(Address("192.0.2.5"), "192.0.2.5", 7), 11013U);
  EXPECT_EQ(site.echo.requests,
            (std::vector<EchoRequest>{{Address("192.0.2.5"), 7, 128, std::chrono::milliseconds(1000)}}));
}

/// Checks with the real resolver and real echoes. Returns whether the machine was reached, status and
/// message.
std::string RealPing(std::string_view hostName) {
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  StatusDisplay display;
  modMailServerPing ping(hosts, echo, display);
  const PingResult result = ping.PingMailServer(hostName);
  return std::string(result.isReached ? "yes " : "no ") + std::to_string(result.status) + " " +
         result.message;
}

TEST(modMailServerPing, WorksOnARealNetwork) {
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

TEST(modMailServerPing, TimesOutWhenTheMachineDoesNotAnswer) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  EXPECT_EQ(InOwnNetwork({.answersEchoes = false}, [] { return RealPing("127.0.0.1"); }),
            "no 11010 Reqested Timed Out");
}

}  // namespace
}  // namespace fieldpost::test
