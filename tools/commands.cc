#include "tools/commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <random>

namespace zyra::tool {
namespace {

std::string SystemError(const std::string& what, const std::string& sName, int error) {
  return what + " " + sName + ": " + std::strerror(error);
}

// Creates a new file beside sTarget that no other writer can be using; -1 on failure.
int CreateTemporaryBeside(const std::string& sTarget, std::string& sTemporary) {
  const SplitPath split = SplitFilePath(sTarget);
  std::random_device entropy;
  for (int attempt = 0; attempt < 16; ++attempt) {
    sTemporary = split.sPath + "." + split.sFile + ".tmp" + std::to_string(getpid()) + "-" +
                 std::to_string(entropy());
    const int fd = open(sTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  errno = EEXIST;
  return -1;
}

bool WriteAll(int fd, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::string AppVersionString() {
  return std::string("zyra-rsp ") + ZYRA_VERSION;
}

SplitPath SplitFilePath(const std::string& sFilePath) {
  const std::size_t slash = sFilePath.rfind('/');
  if (slash == std::string::npos) return {"", sFilePath};
  return {sFilePath.substr(0, slash + 1), sFilePath.substr(slash + 1)};
}

bool WriteFileAtomically(const std::string& sTarget, const TemporaryWriter& write,
                         std::string& sErrorMessage) {
  std::string sTemporary;
  const int fd = CreateTemporaryBeside(sTarget, sTemporary);
  if (fd < 0) {
    sErrorMessage = SystemError("cannot create a temporary file for", sTarget, errno);
    return false;
  }
  const auto fail = [&](const std::string& what, int error, bool open) {
    if (open) close(fd);
    unlink(sTemporary.c_str());
    sErrorMessage = SystemError(what, sTemporary, error);
    return false;
  };
  // A file being replaced keeps its permissions; a new one has those of the umask.
  struct stat existing {};
  if (stat(sTarget.c_str(), &existing) == 0 && fchmod(fd, existing.st_mode & 07777) != 0) {
    return fail("cannot set the permissions of", errno, true);
  }
  if (!write(fd, sTemporary, sErrorMessage)) {
    close(fd);
    unlink(sTemporary.c_str());
    return false;
  }
  // On disk before the rename, so that a crash leaves the old file or the whole new one.
  if (fsync(fd) != 0) return fail("cannot flush", errno, true);
  if (close(fd) != 0) return fail("cannot close", errno, false);
  if (std::rename(sTemporary.c_str(), sTarget.c_str()) != 0) {
    const int error = errno;
    unlink(sTemporary.c_str());
    sErrorMessage = SystemError("cannot rename the temporary file to", sTarget, error);
    return false;
  }
  return true;
}

bool WriteFileAtomically(const std::string& sTarget, std::span<const uint8_t> bytes,
                         std::string& sErrorMessage) {
  return WriteFileAtomically(
      sTarget,
      [bytes](int fd, const std::string& sTemporary, std::string& sMessage) {
        if (WriteAll(fd, bytes)) return true;
        sMessage = SystemError("cannot write", sTemporary, errno);
        return false;
      },
      sErrorMessage);
}

void PrintErrorLine(std::ostream& err, const std::string& sFile, const std::string& sMessage) {
  std::string line = "zyra-rsp: " + sFile + ": " + sMessage;
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  err << line << '\n';
}

void PrintErrorLine(const std::string& sFile, const std::string& sMessage) {
  PrintErrorLine(std::cerr, sFile, sMessage);
}

}  // namespace zyra::tool
