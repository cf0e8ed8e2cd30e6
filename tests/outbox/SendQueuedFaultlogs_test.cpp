// An unattended send: which documents it collects, and what it does when any one system call fails.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <iostream>
#include <map>
#include <optional>

#include "common/Limits.h"
#include "outbox/DocumentMode.h"
#include "support/EachFailingCall.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using test::SendSite;
using test::Sent;
using test::Waiting;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;

TEST(SendQueuedFaultlogs, CollectsDocumentsThatContainNotSent) {
  struct Row {
    const char* name;
    std::string content;
    bool waits;
  };
  for (const Row& row : {
           Row{"waiting", std::string(Waiting), true},
           Row{"sent", std::string(Sent), false},
           Row{"in other case", "<a Mode='nOT sENT'/>", true},
           Row{"deep in the text", "<a>" + std::string(200000, 'x') + "Not Sent</a>", true},
           Row{"across two pieces that are read", "<a>" + std::string(4096 - 6, 'x') + "Not Sent</a>", true},
           Row{"not XML at all", "not sent", true},
           Row{"sent, with an entry that says otherwise", "<a Mode='Sent'><b>Not Sent</b></a>", false},
           Row{"empty", "", false},
           Row{"nothing said", "<a/>", false},
       }) {
    SendSite site;
    site.Document("a.xml", row.content);
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs()) << row.name;
    EXPECT_EQ(site.transport.mails.size(), row.waits ? 1U : 0U) << row.name;
  }
}

TEST(SendQueuedFaultlogs, ReportsADocumentThatIsTooLargeAndSendsTheOthers) {
  SendSite site;
  const fs::path huge = site.Document("a.xml");
  const fs::path other = site.Document("b.xml");
  fs::resize_file(huge, MaxDocumentBytes + 1);
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.transport.mails[0].attachments, ElementsAre(other));
  EXPECT_THAT(site.Log(),
              Contains(HasSubstr("cannot read " + huge.string() + ": larger than 67108864 bytes")));

  fs::resize_file(huge, MaxDocumentBytes);
  static_cast<void>(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 2U);
  EXPECT_THAT(site.transport.mails[1].attachments, ElementsAre(huge));
}

TEST(SendQueuedFaultlogs, LogsThatAnUnmarkableDocumentIsMailedAgain) {
  SendSite site;
  const fs::path broken = site.Document("a.xml", "<a Mode='Not Sent'>");
  for (const std::size_t mails : {1U, 2U}) {
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    EXPECT_EQ(site.transport.mails.size(), mails);
    EXPECT_EQ(test::ReadFile(broken), "<a Mode='Not Sent'>");
    EXPECT_THAT(site.Log(),
                Contains(HasSubstr("cannot mark as sent " + broken.string() +
                                   ": not well-formed; move it away, or every send mails it again"))
                    .Times(mails));
  }
}

TEST(SendQueuedFaultlogs, TakesEachDocumentOnceInOrderOfNames) {
  SendSite site;
  const fs::path b = site.Document("b.xml");
  const fs::path a = site.Document("A.XML");
  const fs::path elsewhere = site.folder.Write("elsewhere.xml", Waiting);
  site.program.lists.PendingFiles = {{b, {}}, {elsewhere, {}}, {site.folder.Path() / "gone.xml", {}}};
  site.program.settings.NumAttachments = "9";
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.transport.mails[0].attachments, ElementsAre(a, b, elsewhere));
  EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
}

/// A file system on which one file is unreadable.
class OneUnreadable final : public test::DyingFileSystem {
 public:
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const fs::path& path) const override {
    if (path.filename() == "b.xml") throw FileError("cannot read", path, "Input/output error");
    return DyingFileSystem::OpenForReading(path);
  }
};

TEST(SendQueuedFaultlogs, UnreadableDocumentDoesNotBlockTheOthers) {
  SendSite site;
  const fs::path a = site.Document("a.xml");
  const fs::path b = site.Document("b.xml");
  OneUnreadable files;
  test::OutboxParts program({files, site.clock, site.keys, site.transport, site.prompt, site.display},
                            site.home);
  program.settings = site.program.settings;
  EXPECT_FALSE(program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.transport.mails[0].attachments, ElementsAre(a));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:cannot read " + Utf8FromPath(b) + ": Input/output error",
                                      "[Mail]:Mail Sent"));
}

TEST(SendQueuedFaultlogs, SucceedsWhenNothingWaits) {
  SendSite site;
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(site.transport.mails, IsEmpty());
  EXPECT_THAT(site.Log(), IsEmpty());
}

/// A file system that counts how often each file is opened for reading.
class CountingFileSystem final : public test::DyingFileSystem {
 public:
  mutable std::map<fs::path, int> opened;

  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const fs::path& path) const override {
    ++opened[path];
    return DyingFileSystem::OpenForReading(path);
  }
};

TEST(SendQueuedFaultlogs, OpensAPendingDocumentOnlyWhenItsHashIsNotKnown) {
  SendSite site;
  const fs::path known = site.Document("a.xml");
  const fs::path unknown = site.Document("b.xml");
  CountingFileSystem files;
  test::OutboxParts program({files, site.clock, site.keys, site.transport, site.prompt, site.display},
                            site.home);
  program.settings = site.program.settings;
  program.lists.PendingFiles = {{known, HashContent(Waiting)}, {unknown, std::nullopt}};
  EXPECT_TRUE(program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(files.opened, (std::map<fs::path, int>{{unknown, 1}}))
      << "the transport of this test reads no attachment";
  EXPECT_EQ(test::ReadFile(known), Sent);
  EXPECT_EQ(test::ReadFile(unknown), Sent);
}

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
