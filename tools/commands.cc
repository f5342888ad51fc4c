#include "tools/commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <random>

#include "zyra/facade/file_access.h"
#include "zyra/version.h"

namespace zyra::tool {
namespace {

// A write of this many bytes at most between two questions whether to stop.
constexpr std::size_t kWritePiece = std::size_t{1} << 20;

std::string SystemError(const std::string& what, int error) {
  return what + ": " + std::strerror(error);
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

// False with errno set when a write fails, or with errno 0 when `proceed` stopped it.
bool WriteAll(int fd, std::span<const uint8_t> bytes, const std::function<bool(double)>& proceed) {
  const auto total = static_cast<double>(bytes.size());
  while (!bytes.empty()) {
    if (proceed && !proceed(1.0 - static_cast<double>(bytes.size()) / total)) {
      errno = 0;
      return false;
    }
    const ssize_t written = write(fd, bytes.data(), std::min(bytes.size(), kWritePiece));
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
  return std::string("zyra-rsp ") + ZYRA_VERSION_STRING;
}

bool WriteFileAtomically(const std::string& sTarget, const TemporaryWriter& write,
                         std::string& sErrorMessage, const std::function<bool(double)>& proceed) {
  std::string sTemporary;
  const int fd = CreateTemporaryBeside(sTarget, sTemporary);
  if (fd < 0) {
    sErrorMessage = SystemError("cannot create a temporary file beside it", errno);
    return false;
  }
  // The temporary is gone again whatever failed, so the message names only the target.
  const auto fail = [&](const std::string& what, int error, bool open) {
    if (open) close(fd);
    unlink(sTemporary.c_str());
    sErrorMessage = error == 0 ? "interrupted, nothing written"
                               : SystemError(what + ", nothing written", error);
    return false;
  };
  // A file being replaced keeps its permissions; a new one has those of the umask.
  struct stat existing {};
  if (stat(sTarget.c_str(), &existing) == 0 && fchmod(fd, existing.st_mode & 07777) != 0) {
    return fail("cannot set the permissions of the temporary file", errno, true);
  }
  if (!write(fd, sTemporary, sErrorMessage)) {
    const int error = errno;
    close(fd);
    unlink(sTemporary.c_str());
    // The writer may have said what failed; otherwise errno does (0: it was stopped).
    if (sErrorMessage.empty()) {
      sErrorMessage = error == 0
                          ? "interrupted, nothing written"
                          : SystemError("cannot write the temporary file, nothing written", error);
    }
    return false;
  }
  // On disk before the rename, so that a crash leaves the old file or the whole new one.
  if (fsync(fd) != 0) return fail("cannot flush the temporary file", errno, true);
  if (close(fd) != 0) return fail("cannot close the temporary file", errno, false);
  if (proceed && !proceed(1.0)) return fail("", 0, false);
  if (std::rename(sTemporary.c_str(), sTarget.c_str()) != 0) {
    return fail("cannot rename the temporary file over it", errno, false);
  }
  return true;
}

bool WriteFileAtomically(const std::string& sTarget, std::span<const uint8_t> bytes,
                         std::string& sErrorMessage, const std::function<bool(double)>& proceed) {
  return WriteFileAtomically(
      sTarget,
      [&](int fd, const std::string&, std::string&) { return WriteAll(fd, bytes, proceed); },
      sErrorMessage, proceed);
}

void IgnoreFileSizeSignal() {
  std::signal(SIGXFSZ, SIG_IGN);
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
