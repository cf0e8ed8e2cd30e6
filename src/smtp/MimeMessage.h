// One mail as the bytes that go over the wire.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "smtp/MailTransport.h"

namespace fieldpost {

/// A message of RFC 5322 and RFC 2045 to 2049, read from front to back. Attachments are encoded while they
/// are read, so that memory stays flat whatever they weigh. The same mail gives the same bytes. All bytes are
/// ASCII, every line ends in CR LF, the last one too; dots are not doubled here.
class MimeMessage {
 public:
  /// Addresses and message id of `mail` have passed CheckMail. Throws FileError when an attachment cannot be
  /// opened. `files` must outlive the message.
  MimeMessage(const FileSystem& files, const Mail& mail);
  MimeMessage(const MimeMessage&) = delete;
  MimeMessage& operator=(const MimeMessage&) = delete;
  ~MimeMessage();

  /// The bytes of the whole message, known before the first one is read.
  [[nodiscard]] std::uint64_t Size() const { return size_; }

  /// Writes the next bytes into `buffer`. Returns how many; 0 at the end alone. Throws FileError when an
  /// attachment cannot be read, or is not what it was when the message was made: what was read until then is
  /// no whole message and must not be sent as one.
  std::size_t Read(std::span<char> buffer);

 private:
  struct Part;
  class AttachmentStream;

  static constexpr std::size_t MaxOpenFiles = 256;  // of the 1024 that a process may usually have open

  void AddText(std::string text);
  void AddFile(const std::filesystem::path& path);
  std::size_t ReadPart(std::span<char> buffer);

  const FileSystem& files_;
  std::vector<Part> parts_;
  std::uint64_t size_ = 0;
  std::size_t openFiles_ = 0;
  std::size_t part_ = 0;
  std::size_t textRead_ = 0;
  std::unique_ptr<AttachmentStream> stream_;
};

}  // namespace fieldpost
