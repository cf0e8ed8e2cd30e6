#include "options/forms/frmOptions.h"

#include <fmt/format.h>

#include <QShortcut>
#include <algorithm>
#include <functional>

#include "common/Limits.h"
#include "common/Numbers.h"
#include "common/Text.h"
#include "common/forms/WidgetFileChoice.h"
#include "common/forms/WidgetNumberValidator.h"
#include "common/forms/WidgetText.h"
#include "ui_frmOptions.h"

namespace fieldpost {
namespace {

/// What TlsMode says for each entry of its box.
constexpr std::array<std::string_view, 3> TlsModes{"auto", "required", "none"};

/// While it lives, the dialog takes no input and the pointer is the hourglass.
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

/// Line breaks come in by pasting, and no setting can hold them.
std::string OneLine(QString text) {
  return FromQt(text.remove(u'\r').remove(u'\n').remove(QChar::Null));
}

/// What a box says now. One that nobody touched gives back what it was loaded with, byte for byte.
std::string TextOf(const QLineEdit& box, const std::string& loaded) {
  return box.text() == ToQt(loaded) ? loaded : OneLine(box.text());
}

/// Enter in a box that holds something is for this box; otherwise it is for the dialog.
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

frmOptions::frmOptions(OptionsStore& store, const FileSystem& files, const InstallPaths& paths,
                       UserPrompt& prompt, modMailServerPing& ping, NetworkDrives& drives,
                       WidgetMemory& memory, QWidget* parent)
    : QDialog(parent),
      store_(store),
      files_(files),
      paths_(paths),
      prompt_(prompt),
      ping_(ping),
      drives_(drives),
      memory_(memory),
      ui_(std::make_unique<Ui::frmOptions>()) {
  ui_->setupUi(this);
  SetUpBoxes();
  ConnectFolders();
  ConnectMail();
  ConnectButtons();
  resize(FirstSize());
  memory_.RestoreGeometry(*this);
  Load();
}

frmOptions::~frmOptions() = default;

/// Room for a path of usual length and a few more Latest folders, whatever the font.
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
  numberBoxes_ = {{{ui_->txtSMTPport, DefaultSmtpPort, MaxSmtpPort, {}},
                   {ui_->txtTryCont, DefaultTryCount, MaxTryCount, {}},
                   {ui_->txtTimeout, DefaultTimeoutSeconds, MaxTimeoutSeconds, {}}}};
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
    connect(map, &QPushButton::clicked, this, &frmOptions::MapDrive);
  }
  for (QPushButton* disconnect : {ui_->cmdADisconnect, ui_->cmdPDisconnect}) {
    connect(disconnect, &QPushButton::clicked, this, &frmOptions::DisconnectDrive);
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
  memory_.SaveGeometry(*this);
  QDialog::done(result);
}

void frmOptions::Load() {
  loaded_ = store_.LoadOptions(paths_.GetInstallPath());
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
    box->setChecked(EqualNoCase(settings.*setting, CheckedText));
  }
  const int lastChoice = ui_->CmbNumAttachments->count() - 1;
  ui_->CmbNumAttachments->setCurrentIndex(NumberOr(settings.NumAttachments, 0, lastChoice, 0));
  const auto isMode = [&](std::string_view mode) { return EqualNoCase(mode, Trimmed(settings.TlsMode)); };
  const auto* const mode = std::ranges::find_if(TlsModes, isMode);
  ui_->CmbTlsMode->setCurrentIndex(mode == TlsModes.end() ? 0 : static_cast<int>(mode - TlsModes.begin()));
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
  settings.TlsMode = TlsModes.at(static_cast<std::size_t>(ui_->CmbTlsMode->currentIndex()));
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
  const std::optional<OptionsRefusal> refusal = FindOptionsRefusal(shown, files_);
  if (refusal) Tell(*refusal);
  return !refusal;
}

void frmOptions::Save() {
  const OptionsValues shown = ShownValues();
  if (!ValidateOptions(shown)) return;
  if (store_.SaveOptions(shown, paths_.GetInstallPath())) {
    accept();
  } else {
    TellUnsaved();
  }
}

void frmOptions::TellUnsaved() {
  prompt_.ShowMessage(fmt::format("Not everything was saved. This could not be written:\n{}\n"
                                  "Check the disk and your permissions there, then press OK again.",
                                  fmt::join(store_.UnsavedPlaces(), "\n")),
                      MessageIcon::Critical, "");
}

void frmOptions::ChooseFolderFor(QLineEdit& box, FolderButton button) {
  const std::string folder = WithSeparator(FromQt(ChooseFolder(*this, box.text())));
  if (folder.empty()) return;
  if (const std::optional<OptionsRefusal> refusal = FindFolderConflict(button, folder, ShownValues())) {
    Tell(*refusal);
  } else {
    box.setText(ToQt(folder));
  }
}

void frmOptions::ChooseLatestFolder() {
  const std::string folder = WithSeparator(FromQt(ChooseFolder(*this, ui_->txtInputFolder->text())));
  if (folder.empty()) return;
  if (const auto refusal = FindFolderConflict(FolderButton::cmdBrowserAdd, folder, ShownValues())) {
    Tell(*refusal);
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
  if (const auto refusal = FindTypedFolderRefusal(typed, ShownValues(), files_)) {
    Tell(*refusal);
    return;
  }
  ui_->LVPath->Add(WithSeparator(typed));
  ui_->txtInputFolder->clear();
}

void frmOptions::EnableDelete() {
  ui_->cmdDeletePath->setEnabled(!ui_->LVPath->selectedItems().isEmpty());
}

void frmOptions::MapDrive() {
  std::string problem;
  if (!drives_.Connect(problem)) prompt_.ShowMessage(problem, MessageIcon::Exclamation, "");
}

void frmOptions::DisconnectDrive() {
  std::string problem;
  if (!drives_.Disconnect(problem)) prompt_.ShowMessage(problem, MessageIcon::Exclamation, "");
}

/// The numbers that were there before come back when the defaults are no longer wanted.
void frmOptions::UseDefaultNumbers(bool byDefault) {
  for (NumberBox& number : numberBoxes_) {
    if (byDefault) number.own = number.box->text();
    number.box->setText(byDefault ? ToQt(number.byDefault) : number.own);
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
  if (ReachServer(server)) {
    prompt_.ShowMessage("Connection Ok", MessageIcon::Information, "");
    return;
  }
  prompt_.ShowMessage(fmt::format("{}: SMTP mail server not response\nError({})\n"
                                  "Check the spelling of the SMTP server  and check internet connection",
                                  server, ping_.LastStatus()),
                      MessageIcon::Critical, "");
}

bool frmOptions::ReachServer(std::string_view server) {
  const BusyDialog busy(*this, prompt_);
  std::string message;
  return ping_.PingMailServer(server, message);
}

void frmOptions::Tell(const OptionsRefusal& refusal) {
  prompt_.ShowMessage(refusal.text, refusal.icon, refusal.title);
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
