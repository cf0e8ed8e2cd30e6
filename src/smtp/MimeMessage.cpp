#include "smtp/MimeMessage.h"

#include <fmt/format.h>
#include <xxhash.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "common/Text.h"
#include "common/Utf8.h"
#include "smtp/Base64.h"
#include "smtp/MailText.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

std::string_view TypeOf(std::string_view fileName) {
  if (EndsWithNoCase(fileName, ".xml")) return "application/xml";
  if (EndsWithNoCase(fileName, ".zip")) return "application/zip";
  return "application/octet-stream";
}

/// "=_" occurs in neither base64 nor quoted-printable; only a body that is not encoded can contain it.
std::string BoundaryFor(const Mail& mail) {
  for (XXH64_hash_t seed = 0;; ++seed) {
    const XXH128_hash_t hash = XXH3_128bits_withSeed(mail.messageId.data(), mail.messageId.size(), seed);
    std::string boundary = fmt::format("=_{:016x}{:016x}", hash.high64, hash.low64);
    if (mail.body.find(boundary) == std::string::npos) return boundary;
  }
}

/// Returns the header fields that do not depend on the content.
std::string CommonHeaders(const Mail& mail) {
  std::string text =
      fmt::format("Date: {}\r\nMessage-ID: {}\r\nFrom: {}\r\nReply-To: {}\r\nTo: {}\r\n", MailDate(mail.date),
                  mail.messageId, mail.sender, mail.sender, mail.recipient);
  const std::string organization = HeaderField("Organization", mail.organization);
  if (organization != HeaderField("Organization", "")) text += organization;
  text += HeaderField("Subject", mail.subject);
  return text += "MIME-Version: 1.0\r\n";
}

/// Returns the header fields of the body's encoding, an empty line and the encoded body.
std::string TextPart(std::string_view body) {
  const std::string text = WithCrLf(WellFormedUtf8(body));
  const bool sevenBit = IsSevenBit(text);
  return fmt::format("Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: {}\r\n\r\n{}",
                     sevenBit ? "7bit" : "quoted-printable", sevenBit ? text : QuotedPrintable(text));
}

/// The parameter `name` of the content type is for mail programs that cannot read a name in the form of
/// RFC 2231. A second `filename` parameter would serve them too, but strict programs reject it.
std::string AttachmentHeaders(const fs::path& path) {
  const std::string name = TravelName(path);
  return fmt::format(
      "Content-Type: {};\r\n name={}\r\nContent-Transfer-Encoding: base64\r\n"
      "Content-Disposition: attachment{}\r\n\r\n",
      TypeOf(name), QuotedName(name), NameParameter("filename", name));
}

}  // namespace

/// A part of the message: text, or when `file` is set, that file in base64.
struct MimeMessage::Part {
  std::string text;
  fs::path file;
  FileStamp stamp;
  std::unique_ptr<FileReader>
      reader;  // open since the message was made; beyond MaxOpenFiles: when it is read
};

/// Reads a file as base64 lines.
class MimeMessage::AttachmentStream {
 public:
  AttachmentStream(const FileSystem& files, Part& part)
      : files_(files),
        part_(part),
        reader_(part.reader ? std::move(part.reader) : files.OpenForReading(part.file)),
        input_(InputSize) {}

  /// Returns the number of characters written into `buffer`; 0 at the end of the file.
  std::size_t Read(std::span<char> buffer) {
    if (!carry_.empty()) return TakeCarry(buffer);
    if (begin_ == end_ && !Fill()) return 0;
    const std::size_t lines = buffer.size() / Base64LineSize;
    if (lines == 0) {
      carryLine_.resize(Base64LineSize);
      carryLine_.resize(EncodeBase64Lines(Take(1), carryLine_.data()));
      carry_ = carryLine_;
      return TakeCarry(buffer);
    }
    return EncodeBase64Lines(Take(lines), buffer.data());
  }

 private:
  static constexpr std::size_t InputSize = 4096 * Base64BytesPerLine;

  std::size_t TakeCarry(std::span<char> buffer) {
    const std::size_t length = std::min(buffer.size(), carry_.size());
    std::memcpy(buffer.data(), carry_.data(), length);
    carry_.remove_prefix(length);
    return length;
  }

  std::span<const char> Take(std::size_t lines) {
    const std::size_t length = std::min(lines * Base64BytesPerLine, end_ - begin_);
    const std::span<const char> bytes(input_.data() + begin_, length);
    begin_ += length;
    return bytes;
  }

  /// Reads until the input is full or the file ends, so that only the last line of the file can be short.
  /// Returns false at the end of the file.
  bool Fill() {
    begin_ = 0;
    end_ = 0;
    while (end_ < input_.size()) {
      const std::size_t got = reader_->Read(std::span(input_).subspan(end_));
      if (got == 0) break;
      end_ += got;
    }
    total_ += end_;
    const bool atEnd = end_ < input_.size();
    if (total_ > part_.stamp.size || (atEnd && !IsUnchanged())) {
      throw FileError("cannot send", part_.file, "it changed while it was being read");
    }
    return end_ > 0;
  }

  [[nodiscard]] bool IsUnchanged() const {
    return total_ == part_.stamp.size && files_.Stamp(part_.file) == part_.stamp;
  }

  const FileSystem& files_;
  const Part& part_;
  std::unique_ptr<FileReader> reader_;
  std::vector<char> input_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t total_ = 0;
  std::string carryLine_;
  std::string_view carry_;
};

MimeMessage::MimeMessage(const FileSystem& files, const Mail& mail) : files_(files) {
  std::string text = CommonHeaders(mail);
  if (mail.attachments.empty()) {
    text += TextPart(mail.body);
    if (!text.ends_with("\r\n")) text += "\r\n";
    AddText(std::move(text));
    return;
  }
  const std::string boundary = BoundaryFor(mail);
  text += fmt::format("Content-Type: multipart/mixed;\r\n boundary=\"{0}\"\r\n\r\n--{0}\r\n{1}", boundary,
                      TextPart(mail.body));
  for (const fs::path& path : mail.attachments) {
    AddText(fmt::format("{}\r\n--{}\r\n{}", text, boundary, AttachmentHeaders(path)));
    AddFile(path);
    text.clear();
  }
  AddText(fmt::format("\r\n--{}--\r\n", boundary));
}

MimeMessage::~MimeMessage() = default;

void MimeMessage::AddText(std::string text) {
  size_ += text.size();
  parts_.push_back({.text = std::move(text), .file = {}, .stamp = {}, .reader = {}});
}

void MimeMessage::AddFile(const fs::path& path) {
  const FileStamp stamp = files_.Stamp(path);
  // An unreadable file is found before anything is sent; of very many files the first ones are checked.
  std::unique_ptr<FileReader> reader;
  if (openFiles_ < MaxOpenFiles) {
    reader = files_.OpenForReading(path);
    ++openFiles_;
  }
  size_ += Base64LinesSize(stamp.size);
  parts_.push_back({.text = {}, .file = path, .stamp = stamp, .reader = std::move(reader)});
}

std::size_t MimeMessage::Read(std::span<char> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size() && part_ < parts_.size()) {
    const std::size_t got = ReadPart(buffer.subspan(filled));
    filled += got;
    if (got > 0) continue;
    ++part_;
    textRead_ = 0;
    stream_.reset();
  }
  return filled;
}

std::size_t MimeMessage::ReadPart(std::span<char> buffer) {
  Part& part = parts_[part_];
  if (part.file.empty()) {
    const std::size_t length = std::min(buffer.size(), part.text.size() - textRead_);
    std::memcpy(buffer.data(), part.text.data() + textRead_, length);
    textRead_ += length;
    return length;
  }
  if (!stream_) stream_ = std::make_unique<AttachmentStream>(files_, part);
  return stream_->Read(buffer);
}

}  // namespace fieldpost
