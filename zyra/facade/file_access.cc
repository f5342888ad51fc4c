#include "zyra/facade/file_access.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace zyra {

SplitPath SplitFilePath(const std::string& sFilePath) {
  const std::size_t slash = sFilePath.rfind('/');
  if (slash == std::string::npos) return {"", sFilePath};
  return {sFilePath.substr(0, slash + 1), sFilePath.substr(slash + 1)};
}

namespace {

// The system's text for an error number; safe on any thread, unlike strerror.
std::string SystemText(int error) {
  return std::error_code(error, std::generic_category()).message();
}

}  // namespace

bool InputFile::Open(const std::string& sFilePath, std::string& sProblem) {
  filePath_ = sFilePath;
  struct stat status {};
  if (stat(sFilePath.c_str(), &status) != 0) {
    sProblem = SystemText(errno);
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    sProblem = "is a directory, not a response file";
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    sProblem = "is not a regular file";
    return false;
  }
  if (status.st_size == 0) {
    sProblem = "is empty, not a response file";
    return false;
  }
  stream_.open(sFilePath, std::ios::binary);
  if (!stream_) {
    sProblem = "cannot be opened for reading: " + SystemText(errno);
    return false;
  }
  size_ = status.st_size;
  return true;
}

}  // namespace zyra
