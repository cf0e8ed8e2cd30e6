#include "ppc/PpcEntryScanner.h"

#include <fmt/format.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/NamespaceScopes.h"
#include "xml/Utf8Source.h"
#include "xml/XmlDocument.h"
#include "xml/XmlError.h"
#include "xml/XmlGuard.h"

namespace fieldpost {
namespace {

constexpr std::string_view EntryName = "PPCentry";
constexpr std::string_view ArchiveDateName = "ArchiveDate";
constexpr int MaxNames = 20'000;
constexpr std::size_t MaxNamespaces = 200;
constexpr std::size_t MaxTagBytes = 256 * 1024;

std::vector<NamespaceScopes::Declaration> Declared(int count, const xmlChar** pairs) {
  std::vector<NamespaceScopes::Declaration> result;
  for (int i = 0; i < count; ++i) {
    result.push_back(
        {.prefix = std::string(FromXml(pairs[2 * i])), .uri = std::string(FromXml(pairs[2 * i + 1]))});
  }
  return result;
}

/// A text in memory, read like a file.
class TextReader final : public FileReader {
 public:
  explicit TextReader(std::string text) : text_(std::move(text)) {}

  std::size_t Read(std::span<char> buffer) override {
    const std::size_t count = std::min(buffer.size(), text_.size() - at_);
    std::memcpy(buffer.data(), text_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  std::string text_;
  std::size_t at_ = 0;
};

/// One pass over a text. The parser only checks it and says where elements begin and end; what is handed over
/// is cut from the text itself. The parser's calls only take notes: nothing may be thrown through it.
class Scan {
 public:
  Scan(PpcEntrySink& sink, StatusDisplay& display) : sink_(sink), display_(display) {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = &Scan::OnStart;
    handler.endElementNs = &Scan::OnEnd;
    handler.getEntity = &Scan::OnEntity;
    handler.attributeDecl = &Scan::OnAttributeDeclaration;
    handler.serror = &Scan::OnError;
    parser_.reset(xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr));
    if (!parser_) throw std::bad_alloc();
    xmlCtxtUseOptions(parser_.get(),
                      XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_IGNORE_ENC | XML_PARSE_BIG_LINES);
    // The text comes as UTF-8, whatever its first bytes look like.
    parser_->charset = XML_CHAR_ENCODING_UTF8;
  }

  /// False when the text uses what can only be resolved with the whole document in hand.
  bool Run(Utf8Source& source) {
    for (;;) {
      const std::string_view piece = source.Next();
      window_.append(piece);
      xmlParseChunk(parser_.get(), piece.data(), static_cast<int>(piece.size()), piece.empty() ? 1 : 0);
      if (needsDocument_) return false;
      RefuseExcess();
      ThrowFault();
      HandOver();
      display_.ProcessEvents();
      ThrowIfCancelled(display_);
      if (piece.empty()) break;
    }
    if (parser_->wellFormed != 1 || parser_->nsWellFormed != 1) throw XmlError("not well-formed");
    return true;
  }

 private:
  enum class Kind { EntryStart, EntryEnd, DateStart, DateEnd };
  struct Mark {
    Kind kind;
    std::uint64_t at;       // where it is in the text
    std::string inherited;  // of the start of an element
  };
  /// An element that is being cut out.
  struct Cut {
    bool open = false;
    std::uint64_t from = 0;  // what comes before this was taken already
  };

  static void OnStart(void* self, const xmlChar* name, const xmlChar* prefix, const xmlChar*, int nsCount,
                      const xmlChar** namespaces, int attributes, int, const xmlChar**) {
    static_cast<Scan*>(self)->CheckAttributes(static_cast<std::size_t>(attributes));
    static_cast<Scan*>(self)->Start(FromXml(name), prefix == nullptr, nsCount, namespaces);
  }

  static void OnEnd(void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
    static_cast<Scan*>(self)->End();
  }

  /// The five entities that every document has never come here; while the document type is read, the parser
  /// only asks whether it knows an entity that is being declared.
  static xmlEntity* OnEntity(void* self, const xmlChar*) {
    auto* const scan = static_cast<Scan*>(self);
    const xmlParserInputState state = scan->parser_->instate;
    const bool declaring =
        state == XML_PARSER_DTD || state == XML_PARSER_ENTITY_DECL || state == XML_PARSER_ENTITY_VALUE;
    if (!declaring) scan->NeedDocument();
    return nullptr;
  }

  static void OnAttributeDeclaration(void* self, const xmlChar*, const xmlChar*, int, int,
                                     const xmlChar* value, xmlEnumeration* choices) {
    xmlFreeEnumeration(choices);
    if (value != nullptr) static_cast<Scan*>(self)->NeedDocument();
  }

  static void OnError(void* self, xmlError* error) {
    // Later complaints are mostly consequences of the first.
    auto* const scan = static_cast<Scan*>(self);
    if (error->level == XML_ERR_FATAL) xmlStopParser(scan->parser_.get());
    if (!scan->fault_.empty() || error->level < XML_ERR_ERROR || error->message == nullptr) return;
    // The library has but one message for a document that goes on too long and for one that is cut off.
    const bool cutOff = error->code == XML_ERR_DOCUMENT_END && scan->depth_ > 0;
    scan->fault_ =
        fmt::format("line {}: {}", error->line,
                    cutOff ? "the document ends too early" : EscapeControls(Trimmed(error->message)));
  }

  void NeedDocument() {
    needsDocument_ = true;
    xmlStopParser(parser_.get());
  }

  void CheckAttributes(std::size_t count) {
    if (count <= XmlDocument::MaxAttributes || !fault_.empty()) return;
    fault_ = fmt::format("more than {} attributes in one tag", XmlDocument::MaxAttributes);
    xmlStopParser(parser_.get());
  }

  void Start(std::string_view name, bool plain, int nsCount, const xmlChar** namespaces) {
    if (++depth_ > XmlDocument::MaxDepth) {
      if (fault_.empty()) fault_ = fmt::format("nested deeper than {} levels", XmlDocument::MaxDepth);
      xmlStopParser(parser_.get());
      return;
    }
    if (plain && entryDepth_ == 0 && name == EntryName) {
      entryDepth_ = depth_;
      NoteStart(Kind::EntryStart, nsCount, namespaces);
    } else if (plain && !dateSeen_ && name == ArchiveDateName) {
      dateSeen_ = true;
      dateDepth_ = depth_;
      NoteStart(Kind::DateStart, nsCount, namespaces);
    }
    if (nsCount > 0) scopes_.Enter(depth_, Declared(nsCount, namespaces));
    if (scopes_.Count() > MaxNamespaces && fault_.empty()) {
      fault_ = fmt::format("more than {} name spaces at a time", MaxNamespaces);
      xmlStopParser(parser_.get());
    }
  }

  void End() {
    if (depth_ == entryDepth_) {
      marks_.push_back({.kind = Kind::EntryEnd, .at = Position(), .inherited = {}});
      entryDepth_ = 0;
    } else if (depth_ == dateDepth_) {
      marks_.push_back({.kind = Kind::DateEnd, .at = Position(), .inherited = {}});
      dateDepth_ = 0;
    }
    if (scopes_.Count() > 0) scopes_.Leave(depth_);
    --depth_;
  }

  /// The parser calls before it has read the tag's end; the tag's "<" is the last one, as no value may hold
  /// one.
  void NoteStart(Kind kind, int nsCount, const xmlChar** namespaces) {
    const auto inWindow = static_cast<std::size_t>(Position() - windowAt_);
    const std::size_t begin = window_.rfind('<', inWindow);
    if (inWindow > window_.size() || begin == std::string::npos) {
      fault_ = "the place of an element is not known";
      xmlStopParser(parser_.get());
      return;
    }
    marks_.push_back({.kind = kind,
                      .at = windowAt_ + begin,
                      .inherited = scopes_.Count() == 0
                                       ? std::string()
                                       : scopes_.InheritedBy(Declared(nsCount, namespaces))});
  }

  [[nodiscard]] std::uint64_t Position() const {
    return static_cast<std::uint64_t>(xmlByteConsumed(parser_.get()));
  }

  /// The parser takes a time that grows with the square of what is bounded here.
  void RefuseExcess() {
    if (!fault_.empty()) return;
    if (xmlDictSize(parser_->dict) > MaxNames) fault_ = fmt::format("more than {} different names", MaxNames);
    const auto pending = std::string_view(window_).substr(
        static_cast<std::size_t>(std::min<std::uint64_t>(Position() - windowAt_, window_.size())));
    if (pending.size() < 2 || pending[0] != '<' || pending[1] == '!') return;
    const std::size_t attributes = CountAttributes(pending.substr(0, MaxTagBytes));
    CheckAttributes(attributes - std::min(attributes, MaxNamespaces));
    if (pending.size() > MaxTagBytes && fault_.empty()) {
      fault_ = fmt::format("a tag of more than {} bytes", MaxTagBytes);
    }
  }

  void ThrowFault() const {
    if (!fault_.empty()) throw XmlError(fault_);
  }

  [[nodiscard]] std::string_view Text(std::uint64_t from, std::uint64_t to) const {
    if (from < windowAt_ || to < from || to > windowAt_ + window_.size()) {
      throw XmlError("the place of an element is not known");
    }
    return std::string_view(window_).substr(static_cast<std::size_t>(from - windowAt_),
                                            static_cast<std::size_t>(to - from));
  }

  void TakeEntry(std::uint64_t to) {
    sink_.AddText(Text(entry_.from, to));
    entry_.from = to;
  }

  void TakeDate(std::uint64_t to) {
    date_.append(Text(dateCut_.from, to));
    dateCut_.from = to;
    if (date_.size() > MaxArchiveDateBytes) {
      throw XmlError(fmt::format("ArchiveDate is longer than {} bytes", MaxArchiveDateBytes));
    }
  }

  void HandOver() {
    for (const Mark& mark : marks_) Handle(mark);
    marks_.clear();
    // A tag that the parser has not seen whole yet lies behind its place.
    const std::uint64_t to = std::min<std::uint64_t>(Position(), windowAt_ + window_.size());
    if (entry_.open) TakeEntry(to);
    if (dateCut_.open) TakeDate(to);
    window_.erase(0, static_cast<std::size_t>(to - windowAt_));
    windowAt_ = to;
  }

  void Handle(const Mark& mark) {
    switch (mark.kind) {
      case Kind::EntryStart:
        entry_ = {.open = true, .from = mark.at};
        sink_.BeginEntry();
        if (mark.inherited.empty()) break;
        TakeEntry(mark.at + 1 + EntryName.size());
        sink_.AddText(mark.inherited);
        break;
      case Kind::EntryEnd:
        TakeEntry(mark.at);
        entry_.open = false;
        sink_.EndEntry();
        break;
      case Kind::DateStart:
        dateCut_ = {.open = true, .from = mark.at};
        TakeDate(mark.at + 1 + ArchiveDateName.size());
        date_ += mark.inherited;
        break;
      case Kind::DateEnd:
        TakeDate(mark.at);
        dateCut_.open = false;
        sink_.FoundArchiveDate(date_);
        break;
    }
  }

  PpcEntrySink& sink_;
  StatusDisplay& display_;
  XmlParser parser_;
  std::string window_;          // the text from `windowAt_` on
  std::uint64_t windowAt_ = 0;  // bytes of text before the window
  int depth_ = 0;
  int entryDepth_ = 0;  // of the entry that the parser is in; 0 outside
  int dateDepth_ = 0;
  bool dateSeen_ = false;
  bool needsDocument_ = false;
  std::string fault_;
  NamespaceScopes scopes_;
  std::vector<Mark> marks_;
  Cut entry_;
  Cut dateCut_;
  std::string date_;
};

/// Keeps what a scan hands over until it is known that it counts.
class HeldBack final : public PpcEntrySink {
 public:
  void BeginEntry() override { steps_.push_back({.kind = Kind::Begin, .text = {}}); }
  void AddText(std::string_view utf8) override {
    steps_.push_back({.kind = Kind::Text, .text = std::string(utf8)});
  }
  void EndEntry() override { steps_.push_back({.kind = Kind::End, .text = {}}); }
  void FoundArchiveDate(std::string_view xml) override {
    steps_.push_back({.kind = Kind::Date, .text = std::string(xml)});
  }

  void HandOver(PpcEntrySink& sink) const {
    for (const Step& step : steps_) {
      if (step.kind == Kind::Begin) sink.BeginEntry();
      if (step.kind == Kind::Text) sink.AddText(step.text);
      if (step.kind == Kind::End) sink.EndEntry();
      if (step.kind == Kind::Date) sink.FoundArchiveDate(step.text);
    }
  }

 private:
  enum class Kind { Begin, Text, End, Date };
  struct Step {
    Kind kind;
    std::string text;
  };
  std::vector<Step> steps_;
};

bool ScanAsItStands(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                    StatusDisplay& display) {
  Utf8Source source(files.OpenForReading(path));
  return Scan(sink, display).Run(source);
}

/// For a file whose entities have to be replaced first.
void ScanExpanded(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                  StatusDisplay& display) {
  XmlDocument document;
  if (!document.Load(files.ReadWhole(path, MaxExpandedBytes))) throw XmlError(document.Reason());
  Utf8Source source(std::make_unique<TextReader>(document.Root().Xml()));
  if (!Scan(sink, display).Run(source)) throw XmlError("an entity cannot be replaced");
}

}  // namespace

void ScanPpcFile(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                 StatusDisplay& display) {
  if (files.Stamp(path).size > MaxExpandedBytes) {
    if (ScanAsItStands(files, path, sink, display)) return;
    throw XmlError(
        fmt::format("only a file of at most {} bytes may use entities of its own", MaxExpandedBytes));
  }
  HeldBack held;
  if (ScanAsItStands(files, path, held, display)) {
    held.HandOver(sink);
  } else {
    ScanExpanded(files, path, sink, display);
  }
}

}  // namespace fieldpost
