#include "zyra/facade/file_access.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
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

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A response file never exceeds what a byte stream holds.
constexpr auto kLargestFile = static_cast<off_t>(std::numeric_limits<int32_t>::max());

}  // namespace

std::optional<std::string> InputFileProblem(const std::string& sFilePath) {
  struct stat status {};
  if (stat(sFilePath.c_str(), &status) != 0) return SystemText(errno);
  if (S_ISDIR(status.st_mode)) return std::string("is a directory, not a response file");
  if (!S_ISREG(status.st_mode)) return std::string("is not a regular file");
  if (status.st_size == 0) return std::string("is empty, not a response file");
  if (status.st_size > kLargestFile) {
    return std::string("is larger than 2 GiB, more than a response file can hold");
  }
  const std::unique_ptr<std::FILE, FileCloser> probe(std::fopen(sFilePath.c_str(), "rb"));
  if (!probe) return "cannot be opened for reading: " + SystemText(errno);
  return std::nullopt;
}

std::optional<std::vector<uint8_t>> ReadFileBytes(const std::string& sFilePath,
                                                  std::string& sProblem) {
  if (auto problem = InputFileProblem(sFilePath)) {
    sProblem = *problem;
    return std::nullopt;
  }
  const std::unique_ptr<std::FILE, FileCloser> in(std::fopen(sFilePath.c_str(), "rb"));
  struct stat status {};
  if (!in || fstat(fileno(in.get()), &status) != 0 || status.st_size > kLargestFile) {
    sProblem = "cannot be read";
    return std::nullopt;
  }
  // Sized from the open file; a file that grows meanwhile is read up to that size, one that
  // shrinks gives what is there.
  std::vector<uint8_t> bytes(static_cast<std::size_t>(status.st_size));
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), in.get()));
  if (std::ferror(in.get()) != 0) {
    sProblem = "cannot be read";
    return std::nullopt;
  }
  return bytes;
}

}  // namespace zyra
