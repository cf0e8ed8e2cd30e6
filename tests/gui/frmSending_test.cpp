#include "outbox/forms/frmSending.h"

#include <gmock/gmock.h>

#include <QPushButton>
#include <array>
#include <memory>

#include "support/ChildProcess.h"
#include "support/MailSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::DialogWatch;
using test::MailSite;
using test::MessageBoxes;
using test::SeenBox;
using test::SmtpServer;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const SeenBox MailSent{"Mail(s) has been Sent!", QMessageBox::Information, "Fieldpost"};
constexpr const char* Document = "FLog.4711.200403151401.xml";
constexpr const char* Ended = "[Error]:Ended by the user; what was not sent is left for the next send";

std::size_t CountOf(std::string_view what, std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

constexpr std::array WaysToClose{
    +[](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); },
    +[](QDialog& dialog) { QTest::mouseClick(dialog.findChild<QPushButton*>("cmdCancel"), Qt::LeftButton); },
    +[](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_C, Qt::AltModifier); },
    +[](QDialog& dialog) { dialog.close(); },
};

TEST(frmSending, MailsFilesAndShowsTheResult) {
  const SmtpServer server({"--mode", "late-at-end", "--delay", "0.15"});
  MailSite site(server);
  site.Latest("a.xml", test::FaultlogXml("AB12", "F", "20040101", std::string(1'400'000, 'x')));
  site.Latest("b.xml", test::FaultlogXml("CD34"));
  site.Latest("broken.xml", "<FLFILE>");
  DialogWatch watch("frmSending");
  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
  ASSERT_EQ(server.Mails().size(), 2U);
  EXPECT_THAT(server.Mails()[0], AllOf(HasSubstr("Subject: 1/2   Partner ID:4711"), HasSubstr(Document)));
  for (const std::string& name : test::Names(site.Tree("Process"))) {
    EXPECT_THAT(site.Process(name).substr(0, 200), HasSubstr("Mode=\"Sent\"")) << name;
  }
  EXPECT_THAT(watch.texts["lblSending"], Contains("Sending mail 1/2..."));
  EXPECT_THAT(watch.texts["lblPerC"], Contains(HasSubstr("%")));
  EXPECT_THAT(watch.lines, HasSubstr("Process latest files...\n"));
  EXPECT_THAT(watch.lines, HasSubstr("[..\\Error\\broken.xml]"));
  EXPECT_THAT(watch.lines, HasSubstr("Found 2 OK files"));
  EXPECT_EQ(site.display.Shown().label, nullptr) << "the display is given back";
}

TEST(frmSending, ShowsStepLabelAndProgress) {
  const SmtpServer server;
  MailSite site(server);
  for (int i = 0; i < 1000; ++i) site.Latest(fmt::format("{:04}.xml", i), test::FaultlogXml("AB12"));
  DialogWatch watch("frmSending");
  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
  EXPECT_THAT(watch.texts["lblSending"], Contains("Process faultlogger data..."));
  EXPECT_THAT(watch.ranges, Contains(1000));
  EXPECT_THAT(watch.values, SizeIs(testing::Gt(1U)));
  for (const std::string& text : watch.texts["lblPerC"]) {
    EXPECT_THAT(text, testing::MatchesRegex("|[0-9]+%|.+\\.xml [0-9]+%"));
  }
  watch.ExpectAnswers("1000 files");
}

TEST(frmSending, EveryWayOfClosingCancelsTheJob) {
  for (const auto close : WaysToClose) {
    test::WindowSite site;
    DialogWatch watch("frmSending");
    watch.onLook = [&](QDialog& dialog) { close(dialog); };
    bool upWhileItRan = false;
    std::unique_ptr<frmSending> dialog;
    dialog = std::make_unique<frmSending>(
        [&] {
          while (!site.display.IsCancelled()) site.display.ProcessEvents();
          upWhileItRan = dialog->isVisible();
        },
        site.display, site.memory);
    dialog->exec();
    EXPECT_TRUE(upWhileItRan) << "it goes when the job ended, not before";
    EXPECT_FALSE(dialog->isVisible());
  }
}

TEST(frmSending, ClosingCancelsTheSendAndLosesNoEntry) {
  const SmtpServer server;
  MailSite site(server);
  constexpr std::size_t count = 1000;
  for (std::size_t i = 0; i < count; ++i) site.Latest(fmt::format("{:04}.xml", i), test::FaultlogXml("AB12"));
  {
    DialogWatch watch("frmSending");
    watch.onLook = [&](QDialog& dialog) {
      if (dialog.findChild<QProgressBar*>()->value() > 10) QTest::keyClick(&dialog, Qt::Key_Escape);
    };
    MessageBoxes boxes;
    site.Send();
    EXPECT_THAT(boxes.seen, IsEmpty());
  }
  const std::size_t left = test::Names(site.Tree("Latest")).size();
  const std::size_t filed = test::Names(site.Tree("Archive") / "AB12").size();
  EXPECT_GT(left, 0U);
  EXPECT_GT(filed, 0U);
  EXPECT_EQ(left + filed, count);
  EXPECT_THAT(site.Log(), Contains(Ended).Times(1));
  EXPECT_THAT(server.Mails(), IsEmpty());

  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
  EXPECT_THAT(test::Names(site.Tree("Latest")), IsEmpty());
  EXPECT_EQ(test::Names(site.Tree("Archive") / "AB12").size(), count);
  std::size_t entries = 0;
  for (const std::string& name : test::Names(site.Tree("Process"))) {
    const std::string text = site.Process(name);
    EXPECT_THAT(text.substr(0, 200), HasSubstr("Mode=\"Sent\""));
    entries += CountOf("<FAULTLOG ", text);
  }
  EXPECT_EQ(entries, count) << "each is in a document once";
}

TEST(frmSending, StaysResponsiveWhileTheServerStalls) {
  for (const char* mode : {"silent", "stall-at-hello", "stall-in-data"}) {
    const SmtpServer server({"--mode", mode});
    MailSite site(server);
    site.program.settings.NumAttachments = "9";
    // More than the system takes on its own before the server reads it.
    for (char name = 'a'; name <= 'l'; ++name) {
      site.Latest(std::string(1, name) + ".xml",
                  test::FaultlogXml("AB12", "F", "20040101", std::string(2'000'000, 'x')));
    }
    DialogWatch watch("frmSending");
    watch.onLook = [&](QDialog& dialog) {
      const bool mailing = dialog.findChild<QLabel*>("lblSending")->text().startsWith(u"Sending mail");
      if (mailing && watch.UpMilliseconds() > 600) QTest::keyClick(&dialog, Qt::Key_Escape);
    };
    MessageBoxes boxes;
    QElapsedTimer time;
    time.start();
    site.Send();
    EXPECT_LT(time.elapsed(), 20'000) << mode << ": long before the 30 s that the server may take";
    EXPECT_THAT(boxes.seen, IsEmpty()) << mode;
    EXPECT_THAT(site.Log(), Contains(Ended).Times(1)) << mode;
    EXPECT_THAT(site.Process(Document).substr(0, 200), HasSubstr("Mode=\"Not Sent\"")) << mode;
    EXPECT_THAT(server.Mails(), IsEmpty()) << mode;
    watch.ExpectAnswers(mode);
  }
}

TEST(frmSending, BlocksOtherCommandsDuringASend) {
  const SmtpServer server({"--mode", "silent"});
  MailSite site(server);
  site.Latest("a.xml", test::FaultlogXml("AB12"));
  QPushButton command(QStringLiteral("&Send"));
  int started = 0;
  QObject::connect(&command, &QPushButton::clicked, [&] { ++started; });
  command.show();
  const auto press = [&] {
    QTest::mouseClick(command.windowHandle(), Qt::LeftButton, {}, command.rect().center());
    QTest::keyClick(command.windowHandle(), Qt::Key_Space);
  };
  press();
  ASSERT_EQ(started, 2) << "the command can be started without the dialog";
  DialogWatch watch("frmSending");
  int presses = 0;
  watch.onLook = [&](QDialog& dialog) {
    if (presses < 3) press();
    if (++presses == 10) QTest::keyClick(&dialog, Qt::Key_Escape);
  };
  site.Send(&command);
  EXPECT_GE(presses, 10);
  EXPECT_EQ(started, 2);
}

TEST(frmSending, ShowsAFailedMail) {
  const SmtpServer server({"--mode", "refuse-recipient"});
  MailSite site(server);
  site.Latest("a.xml", test::FaultlogXml("AB12"));
  MessageBoxes boxes;
  site.Send();
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_THAT(boxes.seen[0].text, HasSubstr("Error: 55 550 5.1.1 nobody of that name"));
  EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Critical);
  EXPECT_EQ(boxes.seen[0].title, "Error");
  EXPECT_THAT(site.Process(Document), HasSubstr("Mode=\"Not Sent\""));
  EXPECT_THAT(site.Log(), testing::Not(Contains(Ended)));
}

TEST(frmSending, OpensTheOptionsForAMissingSetting) {
  const SmtpServer server;
  MailSite neither(server);
  neither.program.settings.SendFault = "False";
  MailSite nowhere(server);
  EXPECT_EQ(nowhere.program.latestStore.SaveLatestFolders({}), "");
  MessageBoxes boxes;
  neither.Send();
  EXPECT_THAT(neither.pages, ElementsAre(OptionsPage::Sending));
  nowhere.Send();
  EXPECT_THAT(nowhere.pages, ElementsAre(OptionsPage::Folders));
  EXPECT_THAT(boxes.seen,
              ElementsAre(SeenBox{"Select the data to be send", QMessageBox::Information, "Fieldpost"},
                          SeenBox{"Add latest path             ", QMessageBox::Information, "Fieldpost"}));
  EXPECT_THAT(server.Mails(), IsEmpty());
}

/// Another process that has a folder, from construction to destruction.
class FolderHolder {
 public:
  FolderHolder(const fs::path& folder, const fs::path& sign)
      : input_(::popen(("/usr/bin/python3 -c \"import fcntl, os, sys\n"
                        "fcntl.flock(os.open(sys.argv[1], os.O_RDONLY), fcntl.LOCK_EX)\n"
                        "open(sys.argv[2], 'w').close()\n"
                        "sys.stdin.read()\" " +
                        test::Quoted(folder.native()) + " " + test::Quoted(sign.native()))
                           .c_str(),
                       "w")) {
    EXPECT_TRUE(QTest::qWaitFor([&] { return fs::exists(sign); }));
  }
  FolderHolder(const FolderHolder&) = delete;
  FolderHolder& operator=(const FolderHolder&) = delete;
  ~FolderHolder() { ::pclose(input_); }

 private:
  std::FILE* input_;
};

TEST(frmSending, RefusesFoldersLockedByAnotherProcess) {
  const SmtpServer server;
  MailSite site(server);
  site.Latest("a.xml", test::FaultlogXml("AB12"));
  const FolderHolder other(site.Tree("Archive"), site.folder.Path() / "held");
  MessageBoxes boxes;
  site.Send();
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_THAT(boxes.seen[0].text, HasSubstr("Another run of Fieldpost is working in"));
  EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
  EXPECT_TRUE(fs::exists(site.Tree("Latest") / "a.xml"));
}

TEST(frmSending, WorksByKeyboardAndScreenReader) {
  test::WindowSite site;
  frmSending dialog([] {}, site.display, site.memory);
  EXPECT_EQ(FromQt(dialog.objectName()), "frmSending");
  EXPECT_TRUE(dialog.isModal());
  EXPECT_EQ(FromQt(dialog.findChild<QProgressBar*>("ProBar")->accessibleName()), "Progress");
  EXPECT_EQ(FromQt(dialog.findChild<QPlainTextEdit*>("txtStatus")->accessibleName()), "Status");
  for (const char* name : {"lblSending", "lblPerC"}) {
    EXPECT_EQ(dialog.findChild<QLabel*>(QLatin1String(name))->textFormat(), Qt::PlainText) << name;
  }
  EXPECT_TRUE(dialog.findChild<QPlainTextEdit*>("txtStatus")->isReadOnly());
}

TEST(frmSending, CancellingAffectsOneSendOnly) {
  test::WindowSite site;
  site.display.RequestStop(true);
  bool stopAtBegin = true;
  frmSending dialog([&] { stopAtBegin = site.display.IsCancelled(); }, site.display, site.memory);
  dialog.exec();
  EXPECT_FALSE(stopAtBegin);
  EXPECT_FALSE(site.display.IsCancelled());
}

}  // namespace
}  // namespace fieldpost
