#include "ppc/forms/frmProcessPPC.h"

#include <gmock/gmock.h>

#include "support/CommandOutput.h"
#include "support/MailSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::DialogWatch;
using test::MessageBoxes;
using test::SeenBox;
using test::SmtpServer;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const SeenBox MailSent{"Mail(s) has been Sent!", QMessageBox::Information, "Fieldpost"};
constexpr int Entries = 300'000;

/// A site with a PPC database of several documents, that sends PPC data alone.
struct PpcMailSite : test::MailSite {
  explicit PpcMailSite(const SmtpServer& server) : MailSite(server) {
    program.settings.SendFault = "False";
    program.settings.SendPPC = "True";
    program.settings.NumAttachments = "9";
    SetRegistry(PpcDatabaseKey, PpcFileNameValue, Utf8FromPath(folder.Path() / "db"));
    std::string text = "<R>";
    for (int i = 0; i < Entries; ++i)
      text += fmt::format("<PPCentry No=\"{}\">{}</PPCentry>\n", i, i % 10007 * 7919 % 10007);
    folder.Write("db/ppc.xml", text + "</R>");
  }
};

/// The names of the files of a mail, those within a zip in brackets.
std::string FilesOf(const test::TempFolder& folder, const std::string& mail) {
  return test::RunCommand(
             "/usr/bin/python3 -c \"import email, io, sys, zipfile\n"
             "for part in email.message_from_binary_file(open(sys.argv[1], 'rb')).walk():\n"
             "    name = part.get_filename()\n"
             "    if name: print(name)\n"
             "    if name and name.endswith('.zip'):\n"
             "        z = zipfile.ZipFile(io.BytesIO(part.get_payload(decode=True)))\n"
             "        assert z.testzip() is None\n"
             "        print(z.namelist())\" '" +
             folder.Write("mail.eml", mail).native() + "'")
      .output;
}

TEST(frmProcessPPC, CountsTheEntriesAndTheirDocumentsAreMailed) {
  const SmtpServer server;
  PpcMailSite site(server);
  DialogWatch watch("frmProcessPPC");
  DialogWatch sending("frmSending");
  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
  ASSERT_EQ(server.Mails().size(), 1U);
  EXPECT_THAT(server.Mails()[0], HasSubstr("To: ppc@fieldpost.example"));
  EXPECT_THAT(FilesOf(site.folder, server.Mails()[0]),
              testing::MatchesRegex("PPC.4711.200403151401.xml\n(PPC.4711.20040315140[2-9].xml\n)+"));
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
  EXPECT_THAT(watch.texts["lblStatus"], Contains(testing::MatchesRegex("PPC Count: [0-9]+/300000 [0-9]+%")));
  EXPECT_THAT(watch.ranges, Contains(Entries));
  EXPECT_THAT(watch.values, SizeIs(testing::Gt(2U)));
  EXPECT_THAT(sending.texts["lblSending"], Contains("Process PPC Data..."));
  watch.ExpectAnswers("PPC entries");
}

TEST(frmProcessPPC, ShowsThePackingProgress) {
  const SmtpServer server;
  PpcMailSite site(server);
  site.program.settings.UseZip = "True";
  DialogWatch watch("frmProcessPPC");
  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
  ASSERT_EQ(server.Mails().size(), 1U);
  EXPECT_THAT(FilesOf(site.folder, server.Mails()[0]),
              testing::MatchesRegex("PPC.4711.200403151400.zip\n\\['PPC.4711.200403151401.xml'"
                                    "(, 'PPC.4711.2004031514[0-9]+.xml')+\\]\n"));
  EXPECT_THAT(watch.texts["lblStatus"], Contains("Packing PPC Data..."));
  EXPECT_THAT(watch.ranges, Contains(100));
  watch.ExpectAnswers("packing");
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
}

TEST(frmProcessPPC, ClosingCancelsTheSend) {
  for (const bool whilePacking : {false, true}) {
    const SmtpServer server;
    PpcMailSite site(server);
    site.program.settings.UseZip = "True";
    {
      DialogWatch watch("frmProcessPPC");
      watch.onLook = [&](QDialog& dialog) {
        const QString text = dialog.findChild<QLabel*>("lblStatus")->text();
        if (text.startsWith(whilePacking ? u"Packing" : u"PPC Count"))
          QTest::keyClick(&dialog, Qt::Key_Escape);
      };
      MessageBoxes boxes;
      site.Send();
      EXPECT_THAT(boxes.seen, IsEmpty());
    }
    EXPECT_THAT(server.Mails(), IsEmpty());
    EXPECT_THAT(test::Names(site.Tree("PPCTemp")),
                Each(AllOf(HasSubstr(".xml"), testing::StartsWith("PPC."))));
    EXPECT_EQ(test::Names(site.Tree("PPCTemp")).empty(), !whilePacking);
    EXPECT_THAT(site.Log(),
                ElementsAre("[Error]:Ended by the user; what was not sent is left for the next send"));

    MessageBoxes boxes;
    site.Send();
    EXPECT_THAT(boxes.seen, ElementsAre(MailSent));
    EXPECT_EQ(server.Mails().size(), 1U);
  }
}

TEST(frmProcessPPC, RestoresTheDisplay) {
  test::WindowSite site;
  QLabel label;
  site.display.ShowIn({.label = &label, .bar = nullptr, .lines = nullptr});
  {
    const frmProcessPPC dialog(site.display);
    EXPECT_EQ(FromQt(dialog.objectName()), "frmProcessPPC");
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(site.display.Shown().label, dialog.findChild<QLabel*>("lblStatus"));
    EXPECT_EQ(site.display.Shown().bar, dialog.findChild<QProgressBar*>("ProBar"));
    EXPECT_EQ(FromQt(dialog.findChild<QProgressBar*>("ProBar")->accessibleName()), "Progress");
  }
  EXPECT_EQ(site.display.Shown().label, &label);
}

TEST(frmProcessPPC, SaysThatThereIsNoData) {
  const SmtpServer server;
  PpcMailSite site(server);
  site.folder.Write("db/ppc.xml", "<R/>");
  MessageBoxes boxes;
  site.Send();
  EXPECT_THAT(boxes.seen, ElementsAre(SeenBox{"No PPC Data", QMessageBox::Information, "FP PPC"}));
  EXPECT_THAT(server.Mails(), IsEmpty());
}

}  // namespace
}  // namespace fieldpost
