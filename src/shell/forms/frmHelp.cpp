#include "shell/forms/frmHelp.h"

#include <fmt/format.h>

#include <QFile>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QRegularExpression>
#include <QShortcut>

#include "common/forms/WidgetText.h"
#include "shell/ProvideHelpFile.h"
#include "ui_frmHelp.h"

namespace fieldpost {
namespace {

constexpr int UrlRole = Qt::UserRole;

QUrl HomePage() {
  return QUrl(QStringLiteral("qthelp://fieldpost.help/doc/index.html"));
}

/// Returns the help book that is built into the program; empty when it cannot be read.
std::string BuiltInBook() {
  QFile book(QStringLiteral(":/FPhelp.hlp"));
  if (!book.open(QIODevice::ReadOnly)) return {};
  return book.readAll().toStdString();
}

/// Returns the words of the typed text in quotes, because punctuation is syntax to the search engine.
QString WordsOf(const QString& typed) {
  static const QRegularExpression sign(QStringLiteral("[^\\w]+"),
                                       QRegularExpression::UseUnicodePropertiesOption);
  QStringList words;
  for (const QString& word : typed.split(sign, Qt::SkipEmptyParts)) words += u'"' + word + u'"';
  return words.join(u' ');
}

}  // namespace

frmHelp::frmHelp(FileSystem& files, const std::filesystem::path& ownFolder, UserPrompt& prompt,
                 WidgetMemory& memory, QWidget* parent)
    : QWidget(parent, Qt::Window),
      files_(files),
      ownFolder_(ownFolder),
      prompt_(prompt),
      memory_(memory),
      ui_(std::make_unique<Ui::frmHelp>()) {
  ui_->setupUi(this);
  const int letter = fontMetrics().averageCharWidth();
  resize(150 * letter, 100 * letter);
  ui_->splitter->setSizes({50 * letter, 100 * letter});
  memory_.RestoreGeometry(*this);
  ConnectButtons();
}

frmHelp::~frmHelp() {
  ui_->txtPage->SetEngine(nullptr);
}

bool frmHelp::OpenBook() {
  const std::string problem = RegisterBook();
  if (!problem.empty()) {
    prompt_.ShowMessage(fmt::format("The help cannot be opened: {}", problem), MessageIcon::Exclamation, "");
    return false;
  }
  ConnectEngine();
  ui_->txtPage->setSource(HomePage());
  return true;
}

/// Returns one line that says what failed; empty on success.
std::string frmHelp::RegisterBook() {
  const std::string problem = ProvideHelpFile(files_, ownFolder_, BuiltInBook());
  if (!problem.empty()) return problem;
  if (!scratch_.isValid()) return FromQt(scratch_.errorString());
  engine_ = std::make_unique<QHelpEngine>(scratch_.filePath(QStringLiteral("help.qhc")));
  engine_->setReadOnly(false);
  if (engine_->setupData() && engine_->registerDocumentation(PathToQt(HelpFile(ownFolder_)))) return {};
  return FromQt(engine_->error());
}

void frmHelp::ConnectEngine() {
  AddEnginesWidgets();
  ui_->txtPage->SetEngine(engine_.get());
  QHelpSearchEngine* const search = engine_->searchEngine();
  connect(search, &QHelpSearchEngine::searchingFinished, this, &frmHelp::ShowFound);
  // A text that is typed before the index is complete is searched for as soon as it is.
  connect(search, &QHelpSearchEngine::indexingFinished, this, [this] {
    isIndexed_ = true;
    Search();
  });
  engine_->setupData();
}

void frmHelp::AddEnginesWidgets() {
  QHelpContentWidget* const contents = engine_->contentWidget();
  contents->setObjectName(QStringLiteral("trvContents"));
  contents->setAccessibleName(tr("Contents"));
  ui_->layoutContents->addWidget(contents);
  connect(contents, &QHelpContentWidget::linkActivated, ui_->txtPage,
          [this](const QUrl& link) { ui_->txtPage->setSource(link); });
  connect(contents, &QHelpContentWidget::clicked, contents, &QHelpContentWidget::activated);
  connect(engine_->contentModel(), &QHelpContentModel::contentsCreated, contents,
          [contents] { contents->expandToDepth(0); });
  QHelpIndexWidget* const index = engine_->indexWidget();
  index->setObjectName(QStringLiteral("lstIndex"));
  index->setAccessibleName(tr("Keywords"));
  ui_->layoutIndex->addWidget(index);
  connect(ui_->txtIndex, &QLineEdit::textEdited, index,
          [index](const QString& text) { index->filterIndices(text); });
  connect(ui_->txtIndex, &QLineEdit::returnPressed, this, &frmHelp::ShowKeyword);
  connect(index, &QHelpIndexWidget::activated, this, &frmHelp::ShowKeyword);
  connect(index, &QHelpIndexWidget::clicked, this, &frmHelp::ShowKeyword);
}

void frmHelp::ShowKeyword() {
  const QString keyword = engine_->indexWidget()->currentIndex().data().toString();
  const QList<QHelpLink> links = engine_->documentsForKeyword(keyword);
  if (!links.isEmpty()) ui_->txtPage->setSource(links.first().url);
}

void frmHelp::ConnectButtons() {
  WidgetHelpPage& page = *ui_->txtPage;
  ui_->cmdBack->setEnabled(false);
  ui_->cmdForward->setEnabled(false);
  connect(&page, &QTextBrowser::backwardAvailable, ui_->cmdBack, &QWidget::setEnabled);
  connect(&page, &QTextBrowser::forwardAvailable, ui_->cmdForward, &QWidget::setEnabled);
  connect(ui_->cmdBack, &QPushButton::clicked, &page, &QTextBrowser::backward);
  connect(ui_->cmdForward, &QPushButton::clicked, &page, &QTextBrowser::forward);
  connect(ui_->cmdHome, &QPushButton::clicked, this, [this] { ui_->txtPage->setSource(HomePage()); });
  connect(ui_->cmdSearch, &QPushButton::clicked, this, &frmHelp::Search);
  connect(ui_->txtSearch, &QLineEdit::returnPressed, this, &frmHelp::Search);
  const auto showResult = [this](const QListWidgetItem* item) {
    ui_->txtPage->setSource(item->data(UrlRole).toUrl());
  };
  connect(ui_->lstFound, &QListWidget::itemActivated, this, showResult);
  connect(ui_->lstFound, &QListWidget::itemClicked, this, showResult);
  const auto shortcut = [this](const QList<QKeySequence>& keys, auto action) {
    for (const QKeySequence& key : keys) {
      connect(new QShortcut(key, this), &QShortcut::activated, this, action);
    }
  };
  shortcut({Qt::ALT | Qt::Key_Left}, [this] { ui_->txtPage->backward(); });
  shortcut({Qt::ALT | Qt::Key_Right}, [this] { ui_->txtPage->forward(); });
  shortcut({Qt::ALT | Qt::Key_Home}, [this] { ui_->txtPage->setSource(HomePage()); });
  shortcut({Qt::CTRL | Qt::Key_Plus, Qt::CTRL | Qt::Key_Equal}, [this] { ui_->txtPage->Zoom(1); });
  shortcut({Qt::CTRL | Qt::Key_Minus}, [this] { ui_->txtPage->Zoom(-1); });
  shortcut({Qt::CTRL | Qt::Key_0}, [this] { ui_->txtPage->ZoomToNormal(); });
  shortcut({Qt::CTRL | Qt::Key_F}, [this] { ShowSearchPage(); });
  shortcut({Qt::Key_Escape}, [this] { close(); });
}

void frmHelp::ShowSearchPage() {
  ui_->tabHelp->setCurrentWidget(ui_->tabSearch);
  ui_->txtSearch->setFocus(Qt::ShortcutFocusReason);
  ui_->txtSearch->selectAll();
}

void frmHelp::Search() {
  const QString words = WordsOf(ui_->txtSearch->text());
  ui_->lstFound->clear();
  ui_->lblFound->clear();
  if (!words.isEmpty() && isIndexed_) engine_->searchEngine()->search(words);
}

void frmHelp::ShowFound() {
  ui_->lstFound->clear();
  const int count = engine_->searchEngine()->searchResultCount();
  for (const QHelpSearchResult& result : engine_->searchEngine()->searchResults(0, count)) {
    auto* const item = new QListWidgetItem(result.title(), ui_->lstFound);
    item->setData(UrlRole, result.url());
  }
  ui_->lblFound->setText(count == 0 ? tr("Nothing found") : tr("Pages found: %1").arg(count));
}

void frmHelp::closeEvent(QCloseEvent* event) {
  memory_.SaveGeometry(*this);
  QWidget::closeEvent(event);
}

}  // namespace fieldpost
