// Replays files through the fuzz entry under any compiler: the seed corpus and every input
// that ever made the reader crash or hang. Arguments: files or folders (all files in them).
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/rsp_read_entry.h"

namespace {

std::vector<uint8_t> LoadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path argument(argv[i]);
    if (std::filesystem::is_directory(argument)) {
      for (const auto& entry : std::filesystem::directory_iterator(argument)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
    } else {
      files.push_back(argument);
    }
  }
  std::sort(files.begin(), files.end());
  if (files.empty()) {
    std::cerr << "rsp_read_replay: no input files\n";
    return 1;
  }
  for (const auto& path : files) {
    std::cout << path.filename().string() << '\n' << std::flush;  // names the culprit
    const std::vector<uint8_t> bytes = LoadBytes(path);
    zyra::fuzz::ReadPrepareSave(bytes);
  }
  std::cout << files.size() << " inputs replayed\n";
  return 0;
}
