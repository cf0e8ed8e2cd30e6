#include "smtp/MailCheck.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace fieldpost::test {
namespace {

TEST(DecideTls, FollowsPortAndSetting) {
  struct Case {
    std::int32_t port;
    TlsMode mode;
    TlsPlan expected;
  };
  for (const Case& given :
       {Case{25, TlsMode::Auto, TlsPlan::IfOffered}, Case{587, TlsMode::Auto, TlsPlan::IfOffered},
        Case{25, TlsMode::Required, TlsPlan::Required}, Case{25, TlsMode::None, TlsPlan::Never},
        Case{465, TlsMode::Auto, TlsPlan::FromTheStart}, Case{465, TlsMode::Required, TlsPlan::FromTheStart},
        Case{465, TlsMode::None, TlsPlan::FromTheStart}}) {
    EXPECT_EQ(DecideTls(given.port, given.mode), given.expected) << given.port;
  }
}

TEST(ServerUrl, EncodesServerAndHostName) {
  struct Case {
    const char* server;
    std::int32_t port;
    const char* hostName;
    TlsPlan plan;
    const char* expected;
  };
  for (const Case& given :
       {Case{"mail.example", 25, "", TlsPlan::IfOffered, "smtp://mail.example:25/"},
        Case{"mail.example", 465, "pc-17.example", TlsPlan::FromTheStart,
             "smtps://mail.example:465/pc-17.example"},
        Case{"10.0.0.1", 25, "[10.0.0.2]", TlsPlan::Never, "smtp://10.0.0.1:25/%5B10.0.0.2%5D"},
        Case{"::1", 25, "a/../b?c#d%", TlsPlan::Never, "smtp://[::1]:25/a%2F..%2Fb%3Fc%23d%25"},
        Case{"[fe80::1%eth0]", 25, "", TlsPlan::Never, "smtp://[fe80::1%25eth0]:25/"}}) {
    MailServer server;
    server.server = given.server;
    server.port = given.port;
    server.hostName = given.hostName;
    EXPECT_EQ(ServerUrl(server, given.plan), given.expected);
  }
}

TEST(CheckMail, AcceptsUsualSettings) {
  MailServer server;
  Mail mail;
  mail.sender = "o'neil+site@partner.example";
  mail.recipient = "fault_log@[10.0.0.1]";
  mail.messageId = "<FLog.4711.1@partner.example>";
  for (const char* name : {"mail.example", "mail_1", "10.0.0.1", "::1", "[::1]", "fe80::1%eth0"}) {
    server.server = name;
    EXPECT_EQ(CheckMail(server, mail), "") << name;
  }
}

TEST(CheckMail, SaysWhatIsWrong) {
  struct Case {
    const char* server;
    std::int32_t port;
    const char* sender;
    const char* expected;
  };
  for (const Case& given :
       {Case{"mail.example", 0, "a@b.example", "0 is not a valid port; ports go from 1 to 65535"},
        Case{"mail.example", 65536, "a@b.example", "65536 is not a valid port; ports go from 1 to 65535"},
        Case{"mail.example", 65535, "a@b.example", ""},
        Case{"[::1", 25, "a@b.example", "[::1 is not a valid mail server name"},
        Case{"mail.example", 25, "a@b.example\x7F",
             "the sender's address contains a character that is not allowed: a@b.example\\x7F"},
        Case{"mail.example", 25, "a b@b.example",
             "the sender's address contains a character that is not allowed: a b@b.example"}}) {
    MailServer server;
    server.server = given.server;
    server.port = given.port;
    Mail mail;
    mail.sender = given.sender;
    mail.recipient = "a@b.example";
    mail.messageId = "<1@b.example>";
    EXPECT_EQ(CheckMail(server, mail), given.expected) << given.server;
  }
}

TEST(CheckMail, RefusesAddressesWithAnotherMeaningInAHeader) {
  MailServer server;
  server.server = "mail.example";
  for (const char* address :
       {"a(b)@x.example", "\"a\"@x.example", "a:b@x.example", "a@b@x.example", "@x.example", "a@",
        "a\\b@x.example", "a@[10.0.0.1", "a@[]", "[a]@x.example", "a@x[1]"}) {
    Mail mail;
    mail.messageId = "<1@x>";
    mail.sender = mail.recipient = "a@x";
    mail.sender = address;
    EXPECT_EQ(CheckMail(server, mail), std::string(address) + " is not a valid sender address");
    std::swap(mail.sender, mail.recipient);
    EXPECT_EQ(CheckMail(server, mail), std::string(address) + " is not a valid recipient address");
  }
}

TEST(CheckMail, AcceptsUnusualAddresses) {
  MailServer server;
  server.server = "mail.example";
  for (const char* address :
       {"root", "a@b", "a@[IPv6:::1]", "!#$%&'*+-/=?^_`{|}~@x.example", "a@x.example."}) {
    Mail mail;
    mail.messageId = "<1@x>";
    mail.sender = mail.recipient = address;
    EXPECT_EQ(CheckMail(server, mail), "");
  }
}

}  // namespace
}  // namespace fieldpost::test
