#include "smtp/SmtpMail.h"

#include <fstream>
#include <ostream>
#include <stdexcept>

#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

TEST_F(SmtpMailTest, TransfersTheMessageUnchanged) {
  const SmtpServer sink;
  mail.attachments = {folder.Write("a.xml", std::string(100'000, 'a')), folder.Write("b.zip", "PK")};
  server.hostName = "pc-17.partner.example";
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(status, HasSubstr("\r\nError: 0 250 2.0.0 taken as 1"));
  EXPECT_THAT(status, HasSubstr("with 2 attachments to faultlog@maker.example"));

  MimeMessage message(files, mail);
  std::string expected(message.Size(), '\0');
  ASSERT_EQ(message.Read(expected), expected.size());
  ASSERT_EQ(sink.Mails().size(), 1U);
  EXPECT_EQ(sink.Mails().front(), expected);
  EXPECT_THAT(sink.Transcript(), HasSubstr("C: EHLO pc-17.partner.example\n"));
  EXPECT_THAT(sink.Transcript(),
              HasSubstr("C: MAIL FROM:<site@partner.example> SIZE=" + std::to_string(message.Size()) + "\n"));
  EXPECT_THAT(sink.Transcript(), HasSubstr("C: RCPT TO:<faultlog@maker.example>\n"));
  EXPECT_THAT(sink.Transcript(), HasSubstr("C: QUIT\n"));
}

TEST_F(SmtpMailTest, DoublesDotsAtTheBeginningOfLinesWhereverABufferEnds) {
  const SmtpServer sink;
  for (int line = 0; line < 200'000; ++line)
    mail.body += "\r\n" + std::string(static_cast<std::size_t>(line % 4), '.');
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Mails().front(), testing::EndsWith(mail.body + "\r\n"));
}

TEST_F(SmtpMailTest, GreetsTheServerWhenNoHostNameIsSet) {
  const SmtpServer sink;
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Transcript(), testing::ContainsRegex("C: EHLO [^ \n]+\n"));
}

TEST_F(SmtpMailTest, SendsToAServerThatOnlyAcceptsHelo) {
  const SmtpServer sink({"--mode", "hello-refused"});
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Transcript(), HasSubstr("C: MAIL FROM:<site@partner.example>\n"));
}

TEST_F(SmtpMailTest, SendsTheNextMailAfterOneFailed) {
  const SmtpServer sink({"--fail-mail", "2"});
  EXPECT_TRUE(Send(sink));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("451 4.3.0 not now"));
  EXPECT_THAT(status, Not(HasSubstr("may have been delivered")));
  EXPECT_TRUE(Send(sink));
  EXPECT_EQ(sink.Mails().size(), 2U);
}

struct Misbehaviour {
  const char* mode;         ///< of the server
  const char* text;         ///< in the status
  std::size_t connections;  ///< when three attempts are allowed
  bool maybeDelivered = false;
};

void PrintTo(const Misbehaviour& given, std::ostream* out) {
  *out << given.mode;
}

class SmtpMailFailureTest : public SmtpMailTest, public testing::WithParamInterface<Misbehaviour> {};

TEST_P(SmtpMailFailureTest, FailsWithTheReason) {
  const Misbehaviour& given = GetParam();
  const SmtpServer sink({"--mode", given.mode});
  AttachBytes(20'000'000);
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr(given.text));
  EXPECT_EQ(sink.Count("-- connected"), given.connections) << sink.Transcript();
  EXPECT_TRUE(sink.Mails().empty());
  EXPECT_EQ(status.find("may have been delivered") != std::string::npos, given.maybeDelivered) << status;
  EXPECT_LT(duration, seconds(5));
  EXPECT_LT(display.longestGap, milliseconds(500));
}

INSTANTIATE_TEST_SUITE_P(
    Modes, SmtpMailFailureTest,
    testing::Values(
        Misbehaviour{"refuse-421", "421 too busy", 3}, Misbehaviour{"refuse-554", "554 no service", 3},
        Misbehaviour{"error-zero", "554 Error:0 of us", 3},
        Misbehaviour{"silent", "Error: 28 no reply from the server for 1 second", 3},
        Misbehaviour{"stall-at-hello", "no reply from the server for 1 second", 3},
        Misbehaviour{"garbage-greeting", "the server did not reply as a mail server does: \"hello there\"",
                     3},
        Misbehaviour{"endless-hello", "the server's reply is too long", 3},
        Misbehaviour{"close-at-once", "Error: 56 the connection to 127.0.0.1 was lost", 3},
        Misbehaviour{"tls-closed", "Error: 35 could not establish an encrypted connection to 127.0.0.1 (", 3},
        Misbehaviour{"tls-garbage", "Error: 35 could not establish an encrypted connection to 127.0.0.1 (",
                     3},
        Misbehaviour{"tls-injected", "the server continued unencrypted after it had agreed to encryption", 3},
        Misbehaviour{"refuse-sender", "Error: 55 550 5.7.1 not you", 1},
        Misbehaviour{"refuse-recipient", "550 5.1.1 nobody of that name", 1},
        Misbehaviour{"garbage-answer", "did not reply as a mail server does: \"certainly, sir\"", 1},
        Misbehaviour{"endless-line", "a line of the server's reply is too long", 1},
        Misbehaviour{"endless-reply", "the server's reply is too long", 1},
        Misbehaviour{"stall-in-data", "no reply from the server for 1 second", 1},
        Misbehaviour{"hang-up-in-data", "was lost", 1},
        Misbehaviour{"refuse-data", "554 we do not \\x07want\\x1B[2J this", 1},
        Misbehaviour{"stall-at-end", "no reply from the server for 1 second; the mail may", 1, true},
        Misbehaviour{"hang-up-at-end", "was lost; the mail may", 1, true}),
    [](const auto& given) { return Replaced(given.param.mode, "-", "_"); });

class SmtpMailSuccessTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpMailSuccessTest, SucceedsOnceTheServerHasAcceptedTheMail) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.7"});
  AttachBytes(500'000);
  limits.finalReply = seconds(10);
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Mails().size(), 1U);
  EXPECT_LT(display.longestGap, milliseconds(500));
}

INSTANTIATE_TEST_SUITE_P(Modes, SmtpMailSuccessTest,
                         testing::Values("cut-after-accept", "stall-at-quit", "late-at-end", "slow",
                                         "slow-hello"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

TEST_F(SmtpMailTest, SendsNothingWhenAnAttachmentIsMissing) {
  const SmtpServer sink;
  mail.attachments = {folder.Path() / "missing.xml"};
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("missing.xml"));
  EXPECT_EQ(sink.Count("-- connected"), 0U);
}

TEST_F(SmtpMailTest, AbortsTheMailWhenAnAttachmentGrowsMeanwhile) {
  const SmtpServer sink({"--mode", "slow", "--delay", "0.01"});
  AttachBytes(8'000'000);
  display.onTurn = [this] {
    if (display.turns == 8) std::ofstream(mail.attachments.front(), std::ios::app) << "more";
  };
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("it changed while it was being read"));
  EXPECT_TRUE(sink.Mails().empty());
  EXPECT_EQ(sink.Count("bytes of data"), 0U);
}

TEST_F(SmtpMailTest, SendsNothingWhenAnAttachmentCannotBeRead) {
  const SmtpServer sink;
  mail.attachments = {folder.Folder("folder.xml")};
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("folder.xml"));
  EXPECT_TRUE(sink.Mails().empty());
}

struct BadSetting {
  const char* name;
  void (*spoil)(MailServer&, Mail&);
  const char* text;
};

void PrintTo(const BadSetting& given, std::ostream* out) {
  *out << given.name;
}

class SmtpCheckTest : public SmtpMailTest, public testing::WithParamInterface<BadSetting> {};

TEST_P(SmtpCheckTest, SendsNothingWithABadSetting) {
  const SmtpServer sink;
  server.port = sink.Port();
  GetParam().spoil(server, mail);
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr(GetParam().text));
  EXPECT_EQ(sink.Count("-- connected"), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, SmtpCheckTest,
    testing::Values(
        BadSetting{"NoServer", [](MailServer& s, Mail&) { s.server.clear(); },
                   "the mail server's name is missing"},
        BadSetting{"NoSender", [](MailServer&, Mail& m) { m.sender.clear(); },
                   "the sender's address is missing"},
        BadSetting{"NoRecipient", [](MailServer&, Mail& m) { m.recipient.clear(); },
                   "recipient's address is missing"},
        BadSetting{"LineBreakInSender", [](MailServer&, Mail& m) { m.sender = "a@b\r\nRCPT TO:<c@d>"; },
                   "the sender's address contains a character that is not allowed: a@b\\x0D\\x0A"},
        BadSetting{"BracketInRecipient", [](MailServer&, Mail& m) { m.recipient = "a@b> SIZE=<"; },
                   "recipient"},
        BadSetting{"TwoRecipients", [](MailServer&, Mail& m) { m.recipient = "a@b,c@d"; }, "recipient"},
        BadSetting{"UmlautInRecipient", [](MailServer&, Mail& m) { m.recipient = "ä@b"; }, "recipient"},
        BadSetting{"LongSender", [](MailServer&, Mail& m) { m.sender = std::string(1000, 'a'); }, "too long"},
        BadSetting{"BlankInHostName", [](MailServer& s, Mail&) { s.hostName = "pc 17"; },
                   "announced host name"},
        BadSetting{"LineBreakInHostName", [](MailServer& s, Mail&) { s.hostName = "a\nb"; },
                   "announced host name"},
        BadSetting{"SlashInServer", [](MailServer& s, Mail&) { s.server = "127.0.0.1/x"; },
                   "is not a valid mail server name"},
        BadSetting{"AtInServer", [](MailServer& s, Mail&) { s.server = "u:p@127.0.0.1"; },
                   "is not a valid mail server name"},
        BadSetting{"PortZero", [](MailServer& s, Mail&) { s.port = 0; }, "0 is not a valid port"},
        BadSetting{"BrokenMessageId", [](MailServer&, Mail& m) { m.messageId = "<a@b>\r\nBcc: c@d"; },
                   "message id"}),
    [](const auto& given) { return given.param.name; });

TEST_F(SmtpMailTest, ReportsTheAcceptanceBeforeItSendsQuit) {
  const SmtpServer sink({"--mode", "stall-at-quit"});
  limits.quitReply = seconds(1);
  EXPECT_TRUE(Send(sink)) << status;
  ASSERT_TRUE(acceptedAfter);
  EXPECT_GE(duration - *acceptedAfter, seconds(1)) << "the server does not answer QUIT";
}

TEST_F(SmtpMailTest, AMailStaysAcceptedWhenTheCallbackFails) {
  const SmtpServer accepting;
  server.port = accepting.Port();
  SmtpMail transport(files, clock, display, limits);
  const MailOutcome outcome =
      transport.Send(server, mail, [] { throw std::runtime_error("nobody could note it"); });
  EXPECT_TRUE(outcome.accepted);
  EXPECT_THAT(outcome.statusText, HasSubstr("Error: 0 "));
}

}  // namespace
}  // namespace fieldpost::test
