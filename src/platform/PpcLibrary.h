// The service suite's PPC database library, "ppcdb.dll".
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

// The suite's routine has the stdcall calling convention of 32-bit Windows; other systems have only one.
#ifdef _WIN32
#define FIELDPOST_STDCALL __stdcall
#else
#define FIELDPOST_STDCALL
#endif

namespace fieldpost {

/// Returns the file of the library: "ppcdb.dll" on Windows; elsewhere the absolute path that the variable
/// FIELDPOST_PPC_LIBRARY names, or "libppcdb.so", which the system's loader searches for.
std::filesystem::path PpcLibraryFile();

/// The library, loaded when it is first needed.
class PpcLibrary {
 public:
  enum class State {
    Ready,     ///< PPCDBArchive may be called
    Missing,   ///< the loader finds no such library
    Unusable,  ///< the library cannot be loaded or lacks the routine: see Problem()
  };

  /// A filename without a folder is searched for by the system's loader and may be Missing; a path with a
  /// folder is Unusable when the file is missing. The library is loaded by Load.
  explicit PpcLibrary(std::filesystem::path file = PpcLibraryFile());

  /// Loads the library unless it is loaded already.
  [[nodiscard]] State Load();

  /// Returns one line on why the library is Unusable; empty otherwise.
  [[nodiscard]] const std::string& Problem() const { return problem_; }

  /// Lets the library, which must be Ready, export the files of a search pattern to `output`. Both texts are
  /// passed in the system's narrow encoding. `first` and `second` are passed to the library, which alone
  /// defines their meaning.
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
