// A response file by its path: the folder and name the reader takes, and the whole file read
// once, with a plain statement of what keeps it from being read.
#ifndef ZYRA_FACADE_FILE_ACCESS_H_
#define ZYRA_FACADE_FILE_ACCESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zyra {

// A file name as the reader takes it: sPath is the folder part with its trailing "/" (empty
// for a bare name), sFile the rest, so that sPath + sFile is the name given.
struct SplitPath {
  std::string sPath;
  std::string sFile;
};
SplitPath SplitFilePath(const std::string& sFilePath);

// The problem with an input file that the reader would take silently as an empty response: it
// is missing, not a regular file, unreadable or empty. No value when the file can be read.
std::optional<std::string> InputFileProblem(const std::string& sFilePath);

// The whole file, or no value and the problem in sProblem.
std::optional<std::vector<uint8_t>> ReadFileBytes(const std::string& sFilePath,
                                                  std::string& sProblem);

}  // namespace zyra

#endif  // ZYRA_FACADE_FILE_ACCESS_H_
