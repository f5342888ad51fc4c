// A response file by its path: the folder and name the reader takes, and the file opened once,
// with a plain statement of what keeps it from being read.
#ifndef ZYRA_FACADE_FILE_ACCESS_H_
#define ZYRA_FACADE_FILE_ACCESS_H_

#include <cstdint>
#include <fstream>
#include <string>

namespace zyra {

// A file name as the reader takes it: sPath is the folder part with its trailing "/" (empty
// for a bare name), sFile the rest, so that sPath + sFile is the name given.
struct SplitPath {
  std::string sPath;
  std::string sFile;
};
SplitPath SplitFilePath(const std::string& sFilePath);

// An input file, opened once for everything a host does with it: the checks of the file
// itself, a walk over its headers and the read.
class InputFile {
 public:
  // Opens the file for reading. False, with the problem in sProblem, when it is missing, not a
  // regular file, empty or cannot be opened: files the reader would take silently as an empty
  // response.
  bool Open(const std::string& sFilePath, std::string& sProblem);

  const std::string& FilePath() const noexcept { return filePath_; }
  int64_t Size() const noexcept { return size_; }
  // The open file; its position is anywhere.
  std::istream& Stream() noexcept { return stream_; }

 private:
  std::string filePath_;
  std::ifstream stream_;
  int64_t size_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_FACADE_FILE_ACCESS_H_
