// Lists one product code as the archive window does, without the window.
//
//   list_archive ARCHIVE CODE              prints the processor milliseconds of the first listing and the
//                                          smallest of ten refreshes, each with the number of rows
//   list_archive --stat ARCHIVE CODE       the same for a bare stat of each file; the names are at hand

#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "archive/ArchiveList.h"
#include "common/PathText.h"

namespace {

constexpr int Repetitions = 10;

double ProcessorMilliseconds() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double Cost(const std::function<void()>& work) {
  const double before = ProcessorMilliseconds();
  work();
  return ProcessorMilliseconds() - before;
}

double SmallestCost(const std::function<void()>& work) {
  double smallest = Cost(work);
  for (int i = 1; i < Repetitions; ++i) smallest = std::min(smallest, Cost(work));
  return smallest;
}

void List(const std::filesystem::path& archive, const std::string& code) {
  const fieldpost::DiskFileSystem files;
  fieldpost::StatusDisplay display;
  fieldpost::ArchiveList list(files);
  const auto fill = [&] { list.Fill(archive, code, display); };
  const double first = Cost(fill);
  const double refresh = SmallestCost(fill);
  std::cout << first << ' ' << refresh << ' ' << list.Rows().size() << '\n';
}

void Stat(const std::filesystem::path& folder) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    paths.push_back(entry.path().string());
  std::size_t found = 0;
  const auto statEach = [&] {
    found = 0;
    for (const std::string& path : paths) {
      struct stat state {};
      if (::stat(path.c_str(), &state) == 0) ++found;
    }
  };
  const double first = Cost(statEach);
  const double again = SmallestCost(statEach);
  std::cout << first << ' ' << again << ' ' << found << '\n';
}

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> given(arguments + 1, arguments + count);
  if (given.size() == 3 && given[0] == "--stat") {
    Stat(fieldpost::PathFromUtf8(given[1]) / fieldpost::PathFromUtf8(given[2]));
  } else if (given.size() == 2) {
    List(fieldpost::PathFromUtf8(given[0]), given[1]);
  } else {
    return 2;
  }
  return 0;
}
