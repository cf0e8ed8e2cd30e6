// A send when any one system call fails.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <iostream>
#include <map>

#include "support/EachFailingCall.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using test::Sent;
using test::Waiting;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::string_view OneAMail = "0";
constexpr std::string_view AllInOneMail = "9";

/// Three documents wait.
struct WaitingSite : test::ReadyOutboxSite {
  explicit WaitingSite(std::string_view attachments, std::string_view useZip = "False") {
    program.settings.NumAttachments = attachments;
    program.settings.UseZip = useZip;
    for (int i = 1; i <= 3; ++i) {
      documents.push_back(
          folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.20040315140{}.xml", i), Waiting));
    }
  }

  bool Send() { return program.sendLoop.FinishInterruptedSend() && program.sendLoop.SendQueuedFaultlogs(); }

  bool SendAnew() {
    test::OutboxParts next({files, clock, keys, transport, prompt, display}, home);
    next.settings = program.settings;
    return next.sendLoop.FinishInterruptedSend() && next.sendLoop.SendQueuedFaultlogs();
  }

  /// How often each document was mailed.
  [[nodiscard]] std::map<fs::path, int> Mailed() const {
    std::map<fs::path, int> count;
    for (const Mail& mail : transport.mails) {
      for (const fs::path& document : mail.attachments) ++count[document];
    }
    return count;
  }

  std::vector<fs::path> documents;
};

/// Sends with one failing call, then once without. Returns how often the call failed.
int SendTwice(WaitingSite& site, std::string_view call, int n) {
  int failures = 0;
  bool sent = false;
  {
    const FailingCall failing(call, EIO, n);
    sent = site.Send();
    failures = failing.Failures();
  }
  const std::string when = fmt::format("{} number {} failed", call, n);
  if (!sent) {
    EXPECT_THAT(site.Log(), Contains(StartsWith("[Error]:"))) << when;
  }
  EXPECT_TRUE(site.SendAnew()) << when;
  for (const fs::path& document : site.documents)
    EXPECT_EQ(test::ReadFile(document), Sent) << when << document;
  for (const std::string& name : test::Names(site.Tree("Process"))) {
    EXPECT_TRUE(name.ends_with(".xml") || name.ends_with(".zip")) << when << ' ' << name;
  }
  return failures;
}

TEST(SendQueuedFaultlogs, MailsASingleMailOnceWhicheverCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    WaitingSite site(AllInOneMail);
    const int failures = SendTwice(site, call, n);
    EXPECT_THAT(site.Mailed(), AllOf(SizeIs(3), Each(Pair(testing::_, 1)))) << call << n;
    return failures;
  });
  EXPECT_GT(swept, 40U);
  std::cout << swept << " failing calls swept\n";
}

TEST(SendQueuedFaultlogs, MailsEachDocumentAtLeastOnceWhicheverCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    WaitingSite site(OneAMail);
    const int failures = SendTwice(site, call, n);
    EXPECT_THAT(site.Mailed(), SizeIs(3)) << call << n;
    return failures;
  });
  EXPECT_GT(swept, 40U);
  std::cout << swept << " failing calls swept\n";
}

TEST(SendQueuedFaultlogs, MarksPackedDocumentsWhicheverCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    WaitingSite site(OneAMail, "True");
    return SendTwice(site, call, n);
  });
  EXPECT_GT(swept, 40U);
  std::cout << swept << " failing calls swept\n";
}

}  // namespace
}  // namespace fieldpost
