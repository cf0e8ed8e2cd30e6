#include "ppc/PpcEntryScanner.h"

#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "common/Limits.h"
#include "xml/NamespaceScopes.h"
#include "xml/Utf8Source.h"
#include "xml/XmlDocument.h"
#include "xml/XmlError.h"
#include "xml/XmlStreamReader.h"
#include "xml/XmlTextWindow.h"

namespace fieldpost {
namespace {

constexpr std::string_view EntryName = "PPCentry";
constexpr std::string_view ArchiveDateName = "ArchiveDate";

constexpr XmlReadOptions Options = {.limits = {.tagBytes = MaxPpcTagBytes},
                                    .encoding = XmlReadOptions::Encoding::Utf8,
                                    .texts = false,
                                    .attributes = false};

/// Thrown when the document type changes the document: then elements cannot be cut out as they stand.
struct NeedsExpansion {};

/// One pass over a text. The reader checks it and says where elements begin and end; what is handed over is
/// cut from the text itself.
class Scan final : public XmlHandler {
 public:
  Scan(PpcEntrySink& sink, StatusDisplay& display) : sink_(sink), display_(display) {}

  /// Reads the next piece of the text, of whole characters.
  void Feed(std::string_view piece) {
    window_.Append(piece);
    reader_.Feed(piece);
    HandOver();
    display_.ProcessEvents();
    ThrowIfCancelled(display_);
  }

  void Finish() {
    reader_.Finish();
    HandOver();
  }

 private:
  /// An element that is being cut out.
  struct Cut {
    std::size_t depth = 0;   // 0: none
    std::uint64_t from = 0;  // what comes before this was taken already
  };

  void DocumentTypeUse() override { throw NeedsExpansion(); }

  void StartElement(const XmlStartTag& tag) override {
    ++depth_;
    if (tag.prefix.empty() && entry_.depth == 0 && tag.name == EntryName) {
      entry_ = CutFromStartTag();
      sink_.BeginEntry();
      if (const std::string inherited = scopes_.InheritedBy(tag.namespaces); !inherited.empty()) {
        TakeEntry(entry_.from + 1 + EntryName.size());
        sink_.AddText(inherited);
      }
    } else if (tag.prefix.empty() && !dateSeen_ && tag.name == ArchiveDateName) {
      dateSeen_ = true;
      dateCut_ = CutFromStartTag();
      TakeDate(dateCut_.from + 1 + ArchiveDateName.size());
      date_ += scopes_.InheritedBy(tag.namespaces);
    }
    scopes_.Enter(tag.namespaces);
  }

  void EndElement() override {
    if (depth_ == entry_.depth) {
      TakeEntry(reader_.Position());
      entry_.depth = 0;
      sink_.EndEntry();
    } else if (depth_ == dateCut_.depth) {
      TakeDate(reader_.Position());
      dateCut_.depth = 0;
      sink_.FoundArchiveDate(date_);
    }
    scopes_.Leave();
    --depth_;
  }

  [[nodiscard]] Cut CutFromStartTag() const {
    return {.depth = depth_, .from = window_.TagBefore(reader_.Position())};
  }

  void TakeEntry(std::uint64_t to) {
    sink_.AddText(window_.Between(entry_.from, to));
    entry_.from = to;
  }

  void TakeDate(std::uint64_t to) {
    date_ += window_.Between(dateCut_.from, to);
    dateCut_.from = to;
    if (date_.size() > MaxArchiveDateBytes) {
      throw XmlError(fmt::format("ArchiveDate is longer than {} bytes", MaxArchiveDateBytes));
    }
  }

  /// Takes what is parsed of the open elements. A start tag that is not complete yet is not parsed.
  void HandOver() {
    const std::uint64_t to = reader_.Position();
    if (entry_.depth > 0) TakeEntry(to);
    if (dateCut_.depth > 0) TakeDate(to);
    window_.DropBefore(to);
  }

  PpcEntrySink& sink_;
  StatusDisplay& display_;
  XmlStreamReader reader_{*this, Options};
  XmlTextWindow window_;
  NamespaceScopes scopes_;
  std::size_t depth_ = 0;
  bool dateSeen_ = false;
  Cut entry_;
  Cut dateCut_;
  std::string date_;
};

/// Keeps what a scan hands over until it is known that it counts.
class HeldBack final : public PpcEntrySink {
 public:
  void BeginEntry() override { Keep(std::mem_fn(&PpcEntrySink::BeginEntry)); }
  void AddText(std::string_view utf8) override {
    Keep([text = std::string(utf8)](PpcEntrySink& sink) { sink.AddText(text); });
  }
  void EndEntry() override { Keep(std::mem_fn(&PpcEntrySink::EndEntry)); }
  void FoundArchiveDate(std::string_view xml) override {
    Keep([text = std::string(xml)](PpcEntrySink& sink) { sink.FoundArchiveDate(text); });
  }

  void HandOver(PpcEntrySink& sink) const {
    for (const Call& call : calls_) call(sink);
  }

 private:
  using Call = std::function<void(PpcEntrySink&)>;

  void Keep(Call call) { calls_.push_back(std::move(call)); }

  std::vector<Call> calls_;
};

void ScanAsItStands(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                    StatusDisplay& display) {
  Utf8Source source(files.OpenForReading(path));
  Scan scan(sink, display);
  for (std::string_view piece = source.Next(); !piece.empty(); piece = source.Next()) scan.Feed(piece);
  scan.Finish();
}

/// For a file whose entities have to be replaced first.
void ScanExpanded(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                  StatusDisplay& display) {
  XmlDocument document;
  if (!document.Load(files.ReadWhole(path, MaxExpandedPpcBytes))) throw XmlError(document.Reason());
  Scan scan(sink, display);
  scan.Feed(document.Root().Xml());
  scan.Finish();
}

void ScanLarge(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
               StatusDisplay& display) {
  try {
    ScanAsItStands(files, path, sink, display);
  } catch (const NeedsExpansion&) {
    throw XmlError(
        fmt::format("only a file of at most {} bytes may use entities of its own", MaxExpandedPpcBytes));
  }
}

void ScanSmall(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
               StatusDisplay& display) {
  HeldBack held;
  try {
    ScanAsItStands(files, path, held, display);
  } catch (const NeedsExpansion&) {
    return ScanExpanded(files, path, sink, display);
  }
  held.HandOver(sink);
}

}  // namespace

void ScanPpcFile(const FileSystem& files, const std::filesystem::path& path, PpcEntrySink& sink,
                 StatusDisplay& display) {
  const bool isLarge = files.Stamp(path).size > MaxExpandedPpcBytes;
  (isLarge ? ScanLarge : ScanSmall)(files, path, sink, display);
}

}  // namespace fieldpost
