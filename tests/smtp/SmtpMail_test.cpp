#include "support/SmtpMailTest.h"

#include <fstream>
#include <ostream>

#include "support/ClosedPort.h"

namespace fieldpost::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

TEST_F(SmtpMailTest, MailArrivesAsItWasWritten) {
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

TEST_F(SmtpMailTest, DotsAtALineStartSurviveWhereverABufferEnds) {
  const SmtpServer sink;
  for (int line = 0; line < 200'000; ++line)
    mail.body += "\r\n" + std::string(static_cast<std::size_t>(line % 4), '.');
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Mails().front(), testing::EndsWith(mail.body + "\r\n"));
}

TEST_F(SmtpMailTest, WithoutAHostNameAGreetingIsSentAllTheSame) {
  const SmtpServer sink;
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Transcript(), testing::ContainsRegex("C: EHLO [^ \n]+\n"));
}

TEST_F(SmtpMailTest, AServerThatKnowsHeloOnlyGetsItsMail) {
  const SmtpServer sink({"--mode", "hello-refused"});
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_THAT(sink.Transcript(), HasSubstr("C: MAIL FROM:<site@partner.example>\n"));
}

TEST_F(SmtpMailTest, TwoMailsGoOneAfterTheOther) {
  const SmtpServer sink({"--fail-mail", "2"});
  EXPECT_TRUE(Send(sink));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("451 4.3.0 not now"));
  EXPECT_THAT(status, Not(HasSubstr("may have been delivered")));
  EXPECT_TRUE(Send(sink));
  EXPECT_EQ(sink.Mails().size(), 2U);
}

struct Misbehaviour {
  const char* mode;
  const char* text;         ///< in the status
  std::size_t connections;  ///< with three tries
  bool maybeDelivered = false;
};

void PrintTo(const Misbehaviour& given, std::ostream* out) {
  *out << given.mode;
}

class SmtpFailureTest : public SmtpMailTest, public testing::WithParamInterface<Misbehaviour> {};

TEST_P(SmtpFailureTest, FailsWithItsReason) {
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
    Modes, SmtpFailureTest,
    testing::Values(
        Misbehaviour{"refuse-421", "421 too busy", 3}, Misbehaviour{"refuse-554", "554 no service", 3},
        Misbehaviour{"error-zero", "554 Error:0 of us", 3},
        Misbehaviour{"silent", "Error: 28 no answer from the server for 1 second", 3},
        Misbehaviour{"stall-at-hello", "no answer from the server for 1 second", 3},
        Misbehaviour{"garbage-greeting", "no answer of a mail server: hello there", 3},
        Misbehaviour{"endless-hello", "the server's answer has no end", 3},
        Misbehaviour{"close-at-once", "Error: 56 the connection to 127.0.0.1 broke off", 3},
        Misbehaviour{"tls-closed", "Error: 35 no encryption came about with 127.0.0.1 (", 3},
        Misbehaviour{"tls-garbage", "Error: 35 no encryption came about with 127.0.0.1 (", 3},
        Misbehaviour{"tls-injected", "the server went on unencrypted after it had agreed to encryption", 3},
        Misbehaviour{"refuse-sender", "Error: 55 550 5.7.1 not you", 1},
        Misbehaviour{"refuse-recipient", "550 5.1.1 nobody of that name", 1},
        Misbehaviour{"garbage-answer", "no answer of a mail server: certainly, sir", 1},
        Misbehaviour{"endless-line", "has no end", 1}, Misbehaviour{"endless-reply", "has no end", 1},
        Misbehaviour{"stall-in-data", "no answer from the server for 1 second", 1},
        Misbehaviour{"hang-up-in-data", "broke off", 1},
        Misbehaviour{"refuse-data", "554 we do not \\x07want\\x1B[2J this", 1},
        Misbehaviour{"stall-at-end", "no answer from the server for 1 second; the mail may", 1, true},
        Misbehaviour{"hang-up-at-end", "broke off; the mail may", 1, true}),
    [](const auto& given) { return Replaced(given.param.mode, "-", "_"); });

class SmtpDraggingTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpDraggingTest, AnAnswerIsAwaitedAsAWhole) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.3"});
  limits.wholeReply = 2;
  limits.finalAnswer = seconds(2);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 28 the server's answer was not whole after 2 seconds"));
  EXPECT_LT(duration, seconds(4));
}

INSTANTIATE_TEST_SUITE_P(Modes, SmtpDraggingTest,
                         testing::Values("drip-lines-greeting", "drip-lines-hello", "drip-lines",
                                         "drip-lines-at-end"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

TEST_F(SmtpMailTest, AnAnswerInTheMiddleOfTheDataIsAFailure) {
  const SmtpServer sink({"--mode", "answer-in-data"});
  AttachBytes(20'000'000);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, testing::AnyOf(HasSubstr("552 5.3.4 that is too much"), HasSubstr("broke off")));
}

class SmtpSuccessTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpSuccessTest, AcceptedIsSentWhateverComesThen) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.7"});
  AttachBytes(500'000);
  limits.finalAnswer = seconds(10);
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Mails().size(), 1U);
  EXPECT_LT(display.longestGap, milliseconds(500));
}

INSTANTIATE_TEST_SUITE_P(Modes, SmtpSuccessTest,
                         testing::Values("cut-after-accept", "stall-at-quit", "late-at-end", "slow",
                                         "slow-hello"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

TEST_F(SmtpMailTest, WhileTheLastAnswerIsAwaitedEventsRun) {
  const SmtpServer sink({"--mode", "late-at-end", "--delay", "0.8"});
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_GE(display.turns, 12U);
}

TEST_F(SmtpMailTest, AServerThatIsNotThereIsNamed) {
  const ClosedPort port;
  server.port = port.Number();
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("Error: 7 127.0.0.1, port " + std::to_string(server.port) + " refused the"));
}

TEST_F(SmtpMailTest, ANameThatDoesNotExistIsNamed) {
  // No part of a name has more than 63 characters, so that no name server need be asked.
  server.server = std::string(64, 'x') + ".example";
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("Error: 6 could not find the server xxx"));
}

TEST_F(SmtpMailTest, AnAttachmentThatIsMissingSendsNothing) {
  const SmtpServer sink;
  mail.attachments = {folder.Path() / "missing.xml"};
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("missing.xml"));
  EXPECT_EQ(sink.Count("-- connected"), 0U);
}

TEST_F(SmtpMailTest, AnAttachmentThatGrowsWhileItIsSentEndsTheMailBeforeItsEnd) {
  const SmtpServer sink({"--mode", "slow", "--delay", "0.01"});
  AttachBytes(8'000'000);
  display.onTurn = [this] {
    if (display.turns == 8) std::ofstream(mail.attachments.front(), std::ios::app) << "more";
  };
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("it changed while it was read"));
  EXPECT_TRUE(sink.Mails().empty());
  EXPECT_EQ(sink.Count("bytes of data"), 0U);
}

TEST_F(SmtpMailTest, AnAttachmentThatCannotBeReadEndsTheMail) {
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

TEST_P(SmtpCheckTest, SendsNothing) {
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
                   "the sender's address holds a character that does not belong there: a@b\\x0D\\x0A"},
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
                   "no name of a mail server"},
        BadSetting{"AtInServer", [](MailServer& s, Mail&) { s.server = "u:p@127.0.0.1"; },
                   "no name of a mail server"},
        BadSetting{"PortZero", [](MailServer& s, Mail&) { s.port = 0; }, "this is no port: 0"},
        BadSetting{"BrokenMessageId", [](MailServer&, Mail& m) { m.messageId = "<a@b>\r\nBcc: c@d"; },
                   "message id"}),
    [](const auto& given) { return given.param.name; });

class SmtpStopTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpStopTest, DropsTheConnectionAtTheNextTurn) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.05"});
  AttachBytes(20'000'000);
  server.tryCount = 3;
  server.timeoutSeconds = 30;
  display.onTurn = [this] { display.stop = display.turns >= 10; };
  EXPECT_FALSE(Send(sink));
  EXPECT_TRUE(stopped);
  EXPECT_THAT(status, testing::EndsWith("\r\nError: 42 cancelled by the user"));
  EXPECT_EQ(display.turns, 10U);
  EXPECT_EQ(sink.Count("-- connected"), 1U) << "it is not tried again";
  EXPECT_EQ(sink.Count("bytes of data"), 0U);
  EXPECT_TRUE(sink.Mails().empty());
  EXPECT_LT(duration, seconds(2));
}

INSTANTIATE_TEST_SUITE_P(Modes, SmtpStopTest,
                         testing::Values("silent", "stall-at-hello", "slow-hello", "stall-in-data", "slow"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

/// Wants the end once the server has all of the data.
void StopAfterTheData(TurningDisplay& display, const SmtpServer& sink) {
  display.onTurn = [&] { display.stop = sink.Count("bytes of data") > 0; };
}

TEST_F(SmtpMailTest, AStopAfterTheEndOfTheDataWaitsForTheAnswer) {
  const SmtpServer sink({"--mode", "late-at-end", "--delay", "0.5"});
  StopAfterTheData(display, sink);
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_TRUE(display.stop);
  EXPECT_FALSE(stopped);
  EXPECT_EQ(sink.Mails().size(), 1U);
}

TEST_F(SmtpMailTest, AStopAfterTheEndOfTheDataWaitsNoLongerThanTheTimeOut) {
  const SmtpServer sink({"--mode", "stall-at-end"});
  limits.finalAnswer = seconds(60);
  StopAfterTheData(display, sink);
  EXPECT_FALSE(Send(sink));
  EXPECT_FALSE(stopped) << "the server may have taken it";
  EXPECT_THAT(status, HasSubstr("no answer from the server for 1 second; the mail may have been delivered"));
  EXPECT_LT(duration, seconds(3));
}

TEST_F(SmtpMailTest, AStopDoesNotWaitForTheFarewell) {
  const SmtpServer sink({"--mode", "stall-at-quit"});
  limits.farewell = seconds(60);
  display.onTurn = [&] { display.stop = sink.Count("C: QUIT") > 0; };
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_FALSE(stopped);
  EXPECT_LT(duration, seconds(2));
}

TEST_F(SmtpMailTest, TellsOfTheAcceptanceBeforeItTakesLeave) {
  const SmtpServer sink({"--mode", "stall-at-quit"});
  limits.farewell = seconds(1);
  EXPECT_TRUE(Send(sink)) << status;
  ASSERT_TRUE(acceptedAfter);
  EXPECT_GE(duration - *acceptedAfter, seconds(1)) << "the server does not answer QUIT";
}

}  // namespace
}  // namespace fieldpost::test
