#include "testing/temp_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace zyra::testing {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zyra-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::filesystem::filesystem_error("cannot make a temporary folder", pattern,
                                            std::error_code(errno, std::generic_category()));
  }
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadWholeFile(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

void WriteWholeFile(const std::filesystem::path& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary).write(bytes.data(), std::ssize(bytes));
}

void WriteWholeFile(const std::filesystem::path& file, std::span<const uint8_t> bytes) {
  WriteWholeFile(file, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

}  // namespace zyra::testing
