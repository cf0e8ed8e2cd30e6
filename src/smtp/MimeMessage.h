// A mail as the bytes of an Internet message.
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

/// A message as RFC 5322 and RFC 2045 to 2049 define it, read once from front to back. Attachments are
/// encoded while they are read, so the memory used does not depend on their size. Equal mails result in equal
/// bytes. All bytes are ASCII, and every line, including the last, ends in CR LF. Dots are not doubled.
class MimeMessage {
 public:
  /// `mail` has passed CheckMail. `files` must outlive the message. Throws FileError when an attachment
  /// cannot be opened.
  MimeMessage(const FileSystem& files, const Mail& mail);
  MimeMessage(const MimeMessage&) = delete;
  MimeMessage& operator=(const MimeMessage&) = delete;
  ~MimeMessage();

  /// The size of the whole message in bytes, known before the first byte is read.
  [[nodiscard]] std::uint64_t Size() const { return size_; }

  /// Writes the next bytes into `buffer` and returns their number, which is 0 only at the end. Throws
  /// FileError when an attachment cannot be read or has changed since the message was constructed; the bytes
  /// read before are then not a complete message and must not be sent as one.
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
