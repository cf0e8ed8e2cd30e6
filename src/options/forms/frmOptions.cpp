#include "options/forms/frmOptions.h"

#include <fmt/format.h>

#include <QShortcut>
#include <algorithm>
#include <functional>

#include "common/Limits.h"
#include "common/MailServer.h"
#include "common/Text.h"
#include "common/forms/WidgetText.h"
#include "environment/SettingValues.h"
#include "options/forms/WidgetFileChoice.h"
#include "options/forms/WidgetNumberValidator.h"
#include "ui_frmOptions.h"

namespace fieldpost {
namespace {

/// Disables the dialog and shows the busy pointer for its lifetime.
class BusyDialog {
 public:
  BusyDialog(QWidget& dialog, UserPrompt& prompt)
      : dialog_(dialog), prompt_(prompt), focus_(dialog.focusWidget()) {
    dialog_.setEnabled(false);
    prompt_.SetBusyPointer(true);
  }
  BusyDialog(const BusyDialog&) = delete;
  BusyDialog& operator=(const BusyDialog&) = delete;
  ~BusyDialog() {
    prompt_.SetBusyPointer(false);
    dialog_.setEnabled(true);
    if (focus_ != nullptr) focus_->setFocus();
  }

 private:
  QWidget& dialog_;
  UserPrompt& prompt_;
  QWidget* focus_;
};

/// Removes line breaks, which come in by pasting and which no setting can hold.
std::string OneLine(QString text) {
  return FromQt(text.remove(u'\r').remove(u'\n').remove(QChar::Null));
}

/// Returns the text of a box; of one that was not edited, the loaded setting, byte for byte.
std::string TextOf(const QLineEdit& box, const std::string& loaded) {
  return box.text() == ToQt(loaded) ? loaded : OneLine(box.text());
}

/// Makes Enter in a box with text act on the box; with an empty box, Enter is the dialog's.
void ConnectEnter(QLineEdit& box, QWidget& receiver, const std::function<void()>& act) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto* const enter = new QShortcut(key, &box, nullptr, nullptr, Qt::WidgetShortcut);
    enter->setEnabled(false);
    QObject::connect(&box, &QLineEdit::textChanged, enter,
                     [enter](const QString& text) { enter->setEnabled(!text.isEmpty()); });
    QObject::connect(enter, &QShortcut::activated, &receiver, act);
  }
}

}  // namespace

frmOptions::frmOptions(const OptionsContext& context, QWidget* parent)
    : QDialog(parent), context_(context), ui_(std::make_unique<Ui::frmOptions>()) {
  ui_->setupUi(this);
  SetUpBoxes();
  ConnectFolders();
  ConnectMail();
  ConnectButtons();
  resize(FirstSize());
  context_.memory.RestoreGeometry(*this);
  Load();
}

frmOptions::~frmOptions() = default;

/// Large enough for a path of usual length and five more rows of Latest folders, in any font.
QSize frmOptions::FirstSize() const {
  const QFontMetrics font = fontMetrics();
  return {90 * font.averageCharWidth(), minimumSizeHint().height() + 5 * font.lineSpacing()};
}

void frmOptions::SetUpBoxes() {
  settingBoxes_ = {{{ui_->txtOutputFolder, &MailSettings::ArchiveFolder},
                    {ui_->txtProcessFolder, &MailSettings::ProcessFolder},
                    {ui_->txtSMTPserver, &MailSettings::SMTPServer},
                    {ui_->txtSenderAddres, &MailSettings::SenderAddress},
                    {ui_->txtMailUserName, &MailSettings::MailUserName},
                    {ui_->txtMailPassword, &MailSettings::MailPassword},
                    {ui_->txtMailHostName, &MailSettings::MailHostName},
                    {ui_->txtTlsCaFile, &MailSettings::TlsCaFile},
                    {ui_->txtSMTPport, &MailSettings::SMTPPort},
                    {ui_->txtTryCont, &MailSettings::TryCount},
                    {ui_->txtTimeout, &MailSettings::Timeout},
                    {ui_->txtPartnerID, &MailSettings::PartnerID},
                    {ui_->txtOrganization, &MailSettings::Organization}}};
  settingChecks_ = {{{ui_->chkUseZip, &MailSettings::UseZip},
                     {ui_->chkFault, &MailSettings::SendFault},
                     {ui_->chkPPC, &MailSettings::SendPPC},
                     {ui_->ChkMailSetup, &MailSettings::UseDefaultMailSetup}}};
  const MailServer byDefault;
  numberBoxes_ = {{{ui_->txtSMTPport, byDefault.port, MaxSmtpPort, {}},
                   {ui_->txtTryCont, byDefault.tryCount, MaxTryCount, {}},
                   {ui_->txtTimeout, byDefault.timeoutSeconds, MaxTimeoutSeconds, {}}}};
  for (const NumberBox& number : numberBoxes_) {
    number.box->setValidator(new WidgetNumberValidator(1, number.highest, number.box));
  }
}

void frmOptions::ConnectFolders() {
  connect(ui_->cmdArchiveFolder, &QPushButton::clicked, this,
          [this] { ChooseFolderFor(*ui_->txtOutputFolder, FolderButton::cmdArchiveFolder); });
  connect(ui_->cmdProcessPath, &QPushButton::clicked, this,
          [this] { ChooseFolderFor(*ui_->txtProcessFolder, FolderButton::cmdProcessPath); });
  connect(ui_->cmdBrowserAdd, &QPushButton::clicked, this, &frmOptions::ChooseLatestFolder);
  connect(ui_->cmdAddPath, &QPushButton::clicked, this, &frmOptions::AddTypedFolder);
  ConnectEnter(*ui_->txtInputFolder, *this, [this] { AddTypedFolder(); });
  connect(ui_->cmdDeletePath, &QPushButton::clicked, ui_->LVPath, &WidgetFolderList::DeleteSelected);
  auto* const deleteKey =
      new QShortcut(QKeySequence::Delete, ui_->LVPath, nullptr, nullptr, Qt::WidgetShortcut);
  connect(deleteKey, &QShortcut::activated, ui_->LVPath, &WidgetFolderList::DeleteSelected);
  connect(ui_->LVPath, &QTreeWidget::itemSelectionChanged, this, &frmOptions::EnableDelete);
  for (QPushButton* map : {ui_->cmdLMapNetDriver, ui_->cmdAMapNetDriver, ui_->cmdPMapNetDriver}) {
    connect(map, &QPushButton::clicked, this, [this] { ShowDriveProblem(context_.drives.Connect()); });
  }
  for (QPushButton* disconnect : {ui_->cmdADisconnect, ui_->cmdPDisconnect}) {
    connect(disconnect, &QPushButton::clicked, this,
            [this] { ShowDriveProblem(context_.drives.Disconnect()); });
  }
}

void frmOptions::ConnectMail() {
  connect(ui_->ChkMailSetup, &QCheckBox::toggled, this, &frmOptions::UseDefaultNumbers);
  connect(ui_->txtMailPassword, &QLineEdit::textChanged, this, &frmOptions::KeepPasswordMasked);
  connect(ui_->txtPartnerID, &QLineEdit::textChanged, this, &frmOptions::KeepPartnerIDClean);
  connect(ui_->cmdTlsCaFile, &QPushButton::clicked, this, &frmOptions::ChooseCertificates);
  connect(ui_->cmdPing, &QPushButton::clicked, this, &frmOptions::TestServer);
}

void frmOptions::ConnectButtons() {
  connect(ui_->cmdOK, &QPushButton::clicked, this, &frmOptions::Save);
  connect(ui_->cmdClose, &QPushButton::clicked, this, &frmOptions::reject);
}

void frmOptions::ShowPage(OptionsPage page) {
  const bool wasVisible = isVisible();
  if (!wasVisible) Load();
  ui_->SSTab1->setCurrentIndex(static_cast<int>(page));
  const std::array<QWidget*, 5> first{ui_->LVPath, ui_->chkFault, ui_->ChkMailSetup, ui_->txtSMTPserver,
                                      ui_->txtPartnerID};
  first.at(static_cast<std::size_t>(page))->setFocus();
  if (wasVisible) {
    raise();
    activateWindow();
  } else {
    exec();
  }
}

void frmOptions::reject() {
  if (isEnabled()) QDialog::reject();
}

void frmOptions::done(int result) {
  context_.memory.SaveGeometry(*this);
  QDialog::done(result);
}

void frmOptions::Load() {
  loaded_ = context_.store.LoadOptions(context_.paths.GetInstallPath());
  ShowValues();
  ui_->LVPath->Show(loaded_.latestFolders);
  ui_->txtInputFolder->clear();
  EnableDelete();
}

void frmOptions::ShowValues() {
  const MailSettings& settings = loaded_.settings;
  ui_->ChkMailSetup->setChecked(false);
  for (const auto& [box, setting] : settingBoxes_) box->setText(ToQt(settings.*setting));
  for (const auto& [box, setting] : settingChecks_) {
    box->setChecked(IsChecked(settings.*setting));
  }
  ui_->CmbNumAttachments->setCurrentIndex(AttachmentsChoice(settings));
  ui_->CmbTlsMode->setCurrentIndex(static_cast<int>(TlsModeFrom(settings.TlsMode)));
  ui_->txtFaultMailAddress->setText(ToQt(loaded_.faultlogRecipient));
  ui_->txtPPCMailAddress->setText(ToQt(loaded_.ppcRecipient));
}

OptionsValues frmOptions::ShownValues() const {
  OptionsValues shown = loaded_;
  MailSettings& settings = shown.settings;
  for (const auto& [box, setting] : settingBoxes_) settings.*setting = TextOf(*box, settings.*setting);
  for (const auto& [box, setting] : settingChecks_) {
    settings.*setting = box->isChecked() ? CheckedText : UncheckedText;
  }
  settings.NumAttachments = std::to_string(ui_->CmbNumAttachments->currentIndex());
  settings.TlsMode = TlsModeNames.at(static_cast<std::size_t>(ui_->CmbTlsMode->currentIndex()));
  shown.faultlogRecipient = TextOf(*ui_->txtFaultMailAddress, shown.faultlogRecipient);
  shown.ppcRecipient = TextOf(*ui_->txtPPCMailAddress, shown.ppcRecipient);
  for (std::string* pasted : {&settings.SMTPServer, &settings.SenderAddress, &settings.MailHostName,
                              &shown.faultlogRecipient, &shown.ppcRecipient}) {
    *pasted = std::string(Trimmed(*pasted));
  }
  shown.latestFolders = ui_->LVPath->Folders();
  return shown;
}

bool frmOptions::ValidateOptions(const OptionsValues& shown) {
  const std::optional<OptionsRefusal> refusal = FindOptionsRefusal(shown, context_.files);
  if (refusal) ShowRefusal(*refusal);
  return !refusal;
}

void frmOptions::Save() {
  const OptionsValues shown = ShownValues();
  if (!ValidateOptions(shown)) return;
  const std::vector<std::string> unsaved = context_.store.SaveOptions(shown, context_.paths.GetInstallPath());
  if (!unsaved.empty()) return ShowUnsaved(unsaved);
  accept();
}

void frmOptions::ShowUnsaved(const std::vector<std::string>& places) {
  context_.prompt.ShowMessage(fmt::format("Not everything was saved. This could not be written:\n{}\n"
                                          "Check the disk and your permissions there, then press OK again.",
                                          fmt::join(places, "\n")),
                              MessageIcon::Critical, "");
}

void frmOptions::ChooseFolderFor(QLineEdit& box, FolderButton button) {
  const std::string folder = WithSeparator(FromQt(ChooseFolder(*this, box.text())));
  if (folder.empty()) return;
  if (const std::optional<OptionsRefusal> refusal = FindFolderConflict(button, folder, ShownValues())) {
    ShowRefusal(*refusal);
  } else {
    box.setText(ToQt(folder));
  }
}

void frmOptions::ChooseLatestFolder() {
  const std::string folder = WithSeparator(FromQt(ChooseFolder(*this, ui_->txtInputFolder->text())));
  if (folder.empty()) return;
  if (const auto refusal = FindFolderConflict(FolderButton::cmdBrowserAdd, folder, ShownValues())) {
    ShowRefusal(*refusal);
  } else {
    ui_->LVPath->Add(folder);
  }
}

void frmOptions::ChooseCertificates() {
  const QString file = ChooseFile(*this, ui_->txtTlsCaFile->text());
  if (!file.isEmpty()) ui_->txtTlsCaFile->setText(file);
}

void frmOptions::AddTypedFolder() {
  const std::string typed = OneLine(ui_->txtInputFolder->text());
  if (const auto refusal = FindTypedFolderRefusal(typed, ShownValues(), context_.files)) {
    ShowRefusal(*refusal);
    return;
  }
  ui_->LVPath->Add(WithSeparator(typed));
  ui_->txtInputFolder->clear();
}

void frmOptions::EnableDelete() {
  ui_->cmdDeletePath->setEnabled(!ui_->LVPath->selectedItems().isEmpty());
}

void frmOptions::ShowDriveProblem(const std::string& problem) {
  if (!problem.empty()) context_.prompt.ShowMessage(problem, MessageIcon::Exclamation, "");
}

/// Shows the defaults, or the user's own numbers again when the defaults are no longer chosen.
void frmOptions::UseDefaultNumbers(bool byDefault) {
  for (NumberBox& number : numberBoxes_) {
    if (byDefault) number.own = number.box->text();
    number.box->setText(byDefault ? QString::number(number.byDefault) : number.own);
    number.box->setEnabled(!byDefault);
  }
}

void frmOptions::KeepPasswordMasked() {
  if (ui_->txtMailPassword->echoMode() != QLineEdit::Password) {
    ui_->txtMailPassword->setEchoMode(QLineEdit::Password);
  }
}

void frmOptions::KeepPartnerIDClean() {
  const std::string typed = FromQt(ui_->txtPartnerID->text());
  const std::string_view accepted = AcceptedPartnerID(typed);
  if (accepted.size() != typed.size()) ui_->txtPartnerID->setText(ToQt(accepted));
}

void frmOptions::TestServer() {
  const std::string server = OneLine(ui_->txtSMTPserver->text());
  const PingResult result = PingServer(server);
  if (result.isReached) return context_.prompt.ShowMessage("Connection Ok", MessageIcon::Information, "");
  context_.prompt.ShowMessage(
      fmt::format("{}: SMTP mail server not response\nError({})\n"
                  "Check the spelling of the SMTP server  and check internet connection",
                  server, result.status),
      MessageIcon::Critical, "");
}

PingResult frmOptions::PingServer(std::string_view server) {
  const BusyDialog busy(*this, context_.prompt);
  return context_.ping.PingMailServer(server);
}

void frmOptions::ShowRefusal(const OptionsRefusal& refusal) {
  context_.prompt.ShowMessage(refusal.text, refusal.icon, refusal.title);
  if (!refusal.focus) return;
  ui_->SSTab1->setCurrentIndex(static_cast<int>(refusal.page));
  if (refusal.row) ui_->LVPath->Select(static_cast<int>(*refusal.row));
  Control(*refusal.focus).setFocus();
}

QWidget& frmOptions::Control(OptionsControl control) const {
  switch (control) {
    case OptionsControl::txtProcessFolder:
      return *ui_->txtProcessFolder;
    case OptionsControl::txtOutputFolder:
      return *ui_->txtOutputFolder;
    case OptionsControl::LVPath:
      return *ui_->LVPath;
    case OptionsControl::txtInputFolder:
      return *ui_->txtInputFolder;
    case OptionsControl::txtSMTPserver:
      return *ui_->txtSMTPserver;
  }
  return *ui_->txtSMTPserver;
}

}  // namespace fieldpost
