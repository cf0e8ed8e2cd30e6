// The least that filing a folder of faultlogger files could cost: the same system calls and libraries in a
// bare loop, without a check, a log or a flush.
//
//   plain_loop SOURCE TARGET         each file: read, parse, write beside the target, rename, remove the
//   source plain_loop SOURCE TARGET PORT    the same; then all contents deflated, in base64, to a mail server

#include <arpa/inet.h>
#include <fcntl.h>
#include <libxml/parser.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

void Require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

std::string Read(const fs::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  Require(file >= 0, "cannot open " + path.string());
  struct stat state {};
  Require(fstat(file, &state) == 0, "cannot stat");
  std::string bytes(static_cast<std::size_t>(state.st_size), '\0');
  Require(read(file, bytes.data(), bytes.size()) == state.st_size, "cannot read " + path.string());
  close(file);
  return bytes;
}

void Write(const fs::path& path, std::string_view bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  Require(file >= 0, "cannot create " + path.string());
  Require(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "cannot write");
  close(file);
}

void Parse(const std::string& bytes) {
  xmlDoc* document = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT);
  Require(document != nullptr, "does not parse");
  xmlFreeDoc(document);
}

class Deflater {
 public:
  Deflater() { Require(deflateInit(&stream_, 6) == Z_OK, "deflateInit"); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater() { deflateEnd(&stream_); }

  void Add(std::string_view bytes, int flush = Z_NO_FLUSH) {
    stream_.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
    std::array<char, 65536> buffer{};
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(buffer.data());
      stream_.avail_out = buffer.size();
      deflate(&stream_, flush);
      result_.append(buffer.data(), buffer.size() - stream_.avail_out);
    } while (stream_.avail_out == 0);
  }

  const std::string& Finish() {
    Add({}, Z_FINISH);
    return result_;
  }

 private:
  z_stream stream_{};
  std::string result_;
};

std::string Base64Lines(std::string_view bytes) {
  static constexpr std::string_view Letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve(bytes.size() * 14 / 10 + 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    if (at != 0 && at / 3 % 19 == 0) text += "\r\n";
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8U | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (unsigned shift = 18; shift <= 18; shift -= 6) text += Letters[group >> shift & 63U];
  }
  const std::size_t padding = (3 - bytes.size() % 3) % 3;
  for (std::size_t i = 0; i < padding; ++i) text[text.size() - 1 - i] = '=';
  return text;
}

void SendAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    Require(sent > 0, "cannot send");
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void AwaitAnswer(int connection) {
  std::array<char, 512> buffer{};
  Require(recv(connection, buffer.data(), buffer.size(), 0) > 0, "no answer");
}

void Mail(std::uint16_t port, const std::string& bytes) {
  const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Require(connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "connect");
  AwaitAnswer(connection);
  for (const std::string_view line :
       {"HELO plain\r\n", "MAIL FROM:<a@b.example>\r\n", "RCPT TO:<c@d.example>\r\n", "DATA\r\n"}) {
    SendAll(connection, line);
    AwaitAnswer(connection);
  }
  SendAll(connection, "Subject: plain\r\nContent-Transfer-Encoding: base64\r\n\r\n");
  SendAll(connection, Base64Lines(bytes));
  SendAll(connection, "\r\n.\r\n");
  AwaitAnswer(connection);
  SendAll(connection, "QUIT\r\n");
  close(connection);
}

void Run(const fs::path& source, const fs::path& target, std::optional<std::uint16_t> port) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(source)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::optional<Deflater> deflater;
  if (port) deflater.emplace();
  for (const fs::path& file : files) {
    const std::string bytes = Read(file);
    Parse(bytes);
    const fs::path place = target / file.filename();
    fs::path temporary = place;
    temporary += ".tmp";
    Write(temporary, bytes);
    fs::rename(temporary, place);
    fs::remove(file);
    if (deflater) deflater->Add(bytes);
  }
  if (port) Mail(*port, deflater->Finish());
}

}  // namespace

int main(int count, char** arguments) {
  try {
    const std::vector<std::string> given(arguments + 1, arguments + count);
    std::optional<std::uint16_t> port;
    if (given.size() > 2) port = static_cast<std::uint16_t>(std::stoi(given[2]));
    Run(given.at(0), given.at(1), port);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "plain_loop: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
