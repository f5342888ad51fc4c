// A folder of its own under the system's temporary folder, for tests and benchmarks that write
// files, and whole-file reads and writes to go with it.
#ifndef ZYRA_TESTING_TEMP_FOLDER_H_
#define ZYRA_TESTING_TEMP_FOLDER_H_

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace zyra::testing {

// Made fresh (mkdtemp) when constructed, removed with everything in it when destroyed.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::string& sName) const { return path_ / sName; }
  // The folder with its trailing separator, as the readers and writers take their sPath.
  std::string Slashed() const { return path_.string() + "/"; }

 private:
  std::filesystem::path path_;
};

// The bytes of a file; empty when it cannot be read.
std::string ReadWholeFile(const std::filesystem::path& file);
void WriteWholeFile(const std::filesystem::path& file, std::string_view bytes);
void WriteWholeFile(const std::filesystem::path& file, std::span<const uint8_t> bytes);

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_TEMP_FOLDER_H_
