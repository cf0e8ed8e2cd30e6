#include "smtp/SmtpConnection.h"

#include "support/ScriptedServer.h"
#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

class SmtpConnectionTest : public SmtpMailTest {};

TEST_F(SmtpConnectionTest, TakesNoReplyBeforeTheEndOfTheDataForAnAcceptance) {
  const struct {
    const char* name;
    const char* reply;
    const char* said;
  } rows[] = {
      {"a refusal", "354 go on\r\n554 no room\r\n", "554 no room"},
      {"an acceptance", "354 go on\r\n250 taken\r\n", "the server sent an unexpected reply: \"250 taken\""},
      {"half a line", "354 go on\r\n250 ta", "the connection to 127.0.0.1 was lost"},
      {"half a reply", "354 go on\r\n250-taken\r\n", "the connection to 127.0.0.1 was lost"},
  };
  for (const auto& row : rows) {
    const ScriptedServer scripted(
        {"220 ready\r\n", "250 hello\r\n", "250 sender\r\n", "250 recipient\r\n", row.reply});
    server.port = scripted.Port();
    EXPECT_FALSE(Send()) << row.name;
    EXPECT_THAT(status, HasSubstr(row.said)) << row.name;
  }
}

TEST_F(SmtpConnectionTest, FailsWhenTheServerRepliesAmongTheData) {
  const SmtpServer sink({"--mode", "answer-in-data"});
  AttachBytes(20'000'000);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, testing::AnyOf(HasSubstr("552 5.3.4 that is too much"), HasSubstr("was lost")));
}

class SmtpConnectionSlowReplyTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpConnectionSlowReplyTest, LimitsTheTimeOfTheWholeReply) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.3"});
  limits.timeoutsPerReply = 2;
  limits.finalReply = seconds(2);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 28 the server's reply was not complete after 2 seconds"));
  EXPECT_LT(duration, seconds(4));
}

INSTANTIATE_TEST_SUITE_P(SmtpConnection, SmtpConnectionSlowReplyTest,
                         testing::Values("drip-lines-greeting", "drip-lines-hello", "drip-lines",
                                         "drip-lines-at-end"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

TEST_F(SmtpConnectionTest, ProcessesEventsWhileItAwaitsTheFinalReply) {
  const SmtpServer sink({"--mode", "late-at-end", "--delay", "0.8"});
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_GE(display.turns, 12U);
}

class SmtpConnectionCancelTest : public SmtpMailTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmtpConnectionCancelTest, ClosesTheConnectionWhenEventsAreProcessedNext) {
  const SmtpServer sink({"--mode", GetParam(), "--delay", "0.05"});
  AttachBytes(20'000'000);
  server.tryCount = 3;
  server.timeoutSeconds = 30;
  display.onTurn = [this] { display.cancelled = display.turns >= 10; };
  EXPECT_FALSE(Send(sink));
  EXPECT_TRUE(cancelled);
  EXPECT_THAT(status, testing::EndsWith("\r\nError: 42 cancelled by the user"));
  EXPECT_EQ(display.turns, 10U);
  EXPECT_EQ(sink.Count("-- connected"), 1U) << "it is not tried again";
  EXPECT_EQ(sink.Count("bytes of data"), 0U);
  EXPECT_TRUE(sink.Mails().empty());
  EXPECT_LT(duration, seconds(2));
}

INSTANTIATE_TEST_SUITE_P(SmtpConnection, SmtpConnectionCancelTest,
                         testing::Values("silent", "stall-at-hello", "slow-hello", "stall-in-data", "slow"),
                         [](const auto& given) { return Replaced(given.param, "-", "_"); });

/// Has the display report that the user has cancelled, as soon as the server has all of the data.
void CancelAfterTheData(EventDisplay& display, const SmtpServer& sink) {
  display.onTurn = [&] { display.cancelled = sink.Count("bytes of data") > 0; };
}

TEST_F(SmtpConnectionTest, AwaitsTheReplyWhenCancelledAfterTheEndOfTheData) {
  const SmtpServer sink({"--mode", "late-at-end", "--delay", "0.5"});
  CancelAfterTheData(display, sink);
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_TRUE(display.cancelled);
  EXPECT_FALSE(cancelled);
  EXPECT_EQ(sink.Mails().size(), 1U);
}

TEST_F(SmtpConnectionTest, AwaitsTheReplyForOneTimeoutWhenCancelledAfterTheEndOfTheData) {
  const SmtpServer sink({"--mode", "stall-at-end"});
  limits.finalReply = seconds(60);
  CancelAfterTheData(display, sink);
  EXPECT_FALSE(Send(sink));
  EXPECT_FALSE(cancelled) << "the server may have accepted it";
  EXPECT_THAT(status, HasSubstr("no reply from the server for 1 second; the mail may have been delivered"));
  EXPECT_LT(duration, seconds(3));
}

TEST_F(SmtpConnectionTest, DoesNotAwaitTheReplyToQuitWhenCancelled) {
  const SmtpServer sink({"--mode", "stall-at-quit"});
  limits.quitReply = seconds(60);
  display.onTurn = [&] { display.cancelled = sink.Count("C: QUIT") > 0; };
  EXPECT_TRUE(Send(sink)) << status;
  EXPECT_FALSE(cancelled);
  EXPECT_LT(duration, seconds(2));
}

}  // namespace
}  // namespace fieldpost::test
