// The service suite's PPC database library, "ppcdb.dll".
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

// The suite's routine has the standard calling convention of 32-bit Windows; elsewhere there is but one.
#ifdef _WIN32
#define FIELDPOST_STDCALL __stdcall
#else
#define FIELDPOST_STDCALL
#endif

namespace fieldpost {

/// Where the library is looked for. On Windows "ppcdb.dll"; elsewhere the variable FIELDPOST_PPC_LIBRARY, or
/// "libppcdb.so" where the system looks for libraries.
std::filesystem::path PpcLibraryFile();

/// Loads the library when it is first needed, and keeps it.
class PpcLibrary {
 public:
  enum class State {
    Ready,     ///< PPCDBArchive may be called
    Missing,   ///< there is no such library on this system
    Unusable,  ///< there should be one, but it cannot be used: see Problem()
  };

  /// A file without a folder is looked for by the system, and may be missing; one with a folder was asked for
  /// and must be there. Loads nothing yet.
  explicit PpcLibrary(std::filesystem::path file = PpcLibraryFile());

  /// Loads the library unless it is loaded already.
  [[nodiscard]] State Load();

  /// Why the library is unusable, in one line.
  [[nodiscard]] const std::string& Problem() const { return problem_; }

  /// Has the library export the files of a search pattern to `output`. Both texts are handed over in the
  /// system's narrow encoding; what the two numbers mean is the library's business. Only of a library that is
  /// Ready.
  void PPCDBArchive(const std::filesystem::path& output, const std::string& pattern, std::int16_t& first,
                    std::int16_t& second) const;

 private:
  using Routine = int(FIELDPOST_STDCALL*)(const char*, const char*, std::int16_t*, std::int16_t*);
  struct Unload {
    void operator()(void* library) const;
  };

  std::filesystem::path file_;
  std::unique_ptr<void, Unload> library_;
  Routine routine_ = nullptr;
  std::string problem_;
};

}  // namespace fieldpost
