#include "outbox/ZipArchive.h"

#include <fmt/format.h>
#include <zip.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <set>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "smtp/MailText.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

constexpr zip_uint32_t CompressionLevel = 6;

/// The packing failed.
class ZipFault : public std::runtime_error {
 public:
  ZipFault(int code, const std::string& description) : std::runtime_error(description), code_(code) {}
  [[nodiscard]] int Code() const { return code_; }

 private:
  int code_;
};

std::string Describe(zip_error_t& error) {
  return ::zip_error_strerror(&error);
}

/// What the sources of one zip share.
struct Packing {
  FileSystem& files;
  StatusDisplay& display;
  const std::function<void(int)>& progress;
  std::string fault;  ///< why a source could not be read
};

/// Serves one file to libzip, which reads it while it closes the archive, and deletes this object at the end.
class FileSource {
 public:
  FileSource(Packing& packing, fs::path path) : packing_(packing), path_(std::move(path)) {
    ::zip_error_init(&error_);
  }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() { ::zip_error_fini(&error_); }

  static zip_int64_t Serve(void* self, void* data, zip_uint64_t size, zip_source_cmd_t command) {
    auto* const source = static_cast<FileSource*>(self);
    if (command == ZIP_SOURCE_FREE) {
      const std::unique_ptr<FileSource> end(source);
      return 0;
    }
    if (command == ZIP_SOURCE_ERROR) return ::zip_error_to_data(&source->error_, data, size);
    try {
      return source->Do(command, data, size);
    } catch (const std::exception& fault) {
      source->packing_.fault = fault.what();
      ::zip_error_set(&source->error_, command == ZIP_SOURCE_READ ? ZIP_ER_READ : ZIP_ER_OPEN, 0);
      return -1;
    }
  }

 private:
  zip_int64_t Do(zip_source_cmd_t command, void* data, zip_uint64_t size) {
    switch (command) {
      case ZIP_SOURCE_OPEN:
        reader_ = packing_.files.OpenForReading(path_);
        return 0;
      case ZIP_SOURCE_READ:
        return Read({static_cast<char*>(data), static_cast<std::size_t>(size)});
      case ZIP_SOURCE_CLOSE:
        reader_.reset();
        return 0;
      case ZIP_SOURCE_STAT:
        return Stat(static_cast<zip_stat_t*>(data));
      default:  // libzip treats a source that does not answer ZIP_SOURCE_SUPPORTS as readable
        ::zip_error_set(&error_, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
  }

  zip_int64_t Read(std::span<char> buffer) {
    packing_.display.ProcessEvents();
    if (!packing_.display.IsCancelled()) return static_cast<zip_int64_t>(reader_->Read(buffer));
    ::zip_error_set(&error_, ZIP_ER_CANCELLED, 0);
    return -1;
  }

  zip_int64_t Stat(zip_stat_t* stat) {
    const FileStamp stamp = packing_.files.Stamp(path_);
    ::zip_stat_init(stat);
    stat->size = stamp.size;
    stat->mtime = static_cast<std::time_t>(stamp.modifiedNanoseconds / 1'000'000'000);
    stat->valid = ZIP_STAT_SIZE | ZIP_STAT_MTIME;
    return sizeof(zip_stat_t);
  }

  Packing& packing_;
  fs::path path_;
  std::unique_ptr<FileReader> reader_;
  zip_error_t error_{};
};

struct Discard {
  void operator()(zip_t* archive) const { ::zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, Discard>;

[[noreturn]] void Fail(zip_error_t& error, const std::string& detail = {}) {
  const std::string text = Describe(error);
  throw ZipFault(::zip_error_code_zip(&error), detail.empty() ? text : text + ": " + detail);
}

Archive OpenNew(const fs::path& path) {
  int code = 0;
  Archive archive(::zip_open(Utf8FromPath(path).c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
  if (archive) return archive;
  zip_error_t error{};
  ::zip_error_init_with_code(&error, code);
  const std::string text = Describe(error);
  ::zip_error_fini(&error);
  throw ZipFault(code, text);
}

/// Returns `name`, or the first of "name (2).xml", "name (3).xml" ... that is not taken.
std::string UniqueName(const std::string& name, std::set<std::string>& taken) {
  const std::size_t dot = name.rfind('.');
  const std::size_t stem = dot == std::string::npos || dot == 0 ? name.size() : dot;
  std::string candidate = name;
  for (std::size_t number = 2; !taken.insert(ToLowerAscii(candidate)).second; ++number) {
    candidate = fmt::format("{} ({}){}", name.substr(0, stem), number, name.substr(stem));
  }
  return candidate;
}

void AddFile(zip_t* archive, Packing& packing, const fs::path& path, const std::string& name) {
  auto source = std::make_unique<FileSource>(packing, path);
  zip_source_t* const reading = ::zip_source_function(archive, &FileSource::Serve, source.get());
  if (reading == nullptr) Fail(*::zip_get_error(archive));
  static_cast<void>(source.release());
  const zip_int64_t index = ::zip_file_add(archive, name.c_str(), reading, ZIP_FL_ENC_UTF_8);
  if (index < 0) {
    ::zip_source_free(reading);
    Fail(*::zip_get_error(archive), packing.fault);
  }
  if (::zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE,
                                 CompressionLevel) != 0) {
    Fail(*::zip_get_error(archive));
  }
}

void ShowProgress(zip_t*, double part, void* packing) {
  static_cast<Packing*>(packing)->progress(static_cast<int>(part * 100));
}

void Write(Packing& packing, std::span<const fs::path> paths, const fs::path& target) {
  Archive archive = OpenNew(target);
  std::set<std::string> taken;
  for (const fs::path& path : paths)
    AddFile(archive.get(), packing, path, UniqueName(TravelName(path), taken));
  constexpr double everyPercent = 0.01;
  if (packing.progress && ::zip_register_progress_callback_with_state(archive.get(), everyPercent,
                                                                      ShowProgress, nullptr, &packing) != 0) {
    Fail(*::zip_get_error(archive.get()));
  }
  if (::zip_close(archive.get()) != 0) Fail(*::zip_get_error(archive.get()), packing.fault);
  static_cast<void>(archive.release());
}

void RemoveLeftOver(FileSystem& files, const fs::path& path) {
  try {
    files.Remove(path);
  } catch (const FileError&) {
  }
}

}  // namespace

ZipResult WriteZip(FileSystem& files, std::span<const fs::path> paths, const fs::path& zipFile,
                   StatusDisplay& display, const std::function<void(int)>& progress) {
  if (paths.empty()) return {.code = ZIP_ER_INVAL, .description = "there is nothing to pack"};
  const fs::path temporary = TemporaryNameFor(zipFile);
  Packing packing{.files = files, .display = display, .progress = progress, .fault = {}};
  ZipResult result;
  try {
    files.Remove(temporary);
    Write(packing, paths, temporary);
    files.Rename(temporary, zipFile);
    return result;
  } catch (const ZipFault& fault) {
    result = {.code = fault.Code(),
              .description = FileError("cannot pack", zipFile, fault.what()).what(),
              .cancelled = fault.Code() == ZIP_ER_CANCELLED};
  } catch (const std::exception& error) {
    result = {.code = ZIP_ER_WRITE, .description = error.what()};
  }
  RemoveLeftOver(files, temporary);
  return result;
}

}  // namespace fieldpost
