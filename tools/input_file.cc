#include "tools/input_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "tools/commands.h"

namespace zyra::tool {

bool InputFile::Open(const std::string& sFilePath, std::string& sProblem) {
  filePath_ = sFilePath;
  struct stat status {};
  if (stat(sFilePath.c_str(), &status) != 0) {
    sProblem = std::strerror(errno);
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
    sProblem = std::string("cannot be opened for reading: ") + std::strerror(errno);
    return false;
  }
  size_ = status.st_size;
  return true;
}

ReadOutcome InputFile::Read(CProbeRspClass& cFile, BusyIndicator* cBusy, Logger* cReadLogger) {
  const SplitPath split = SplitFilePath(filePath_);
  ReadOutcome read;
  read.lResult = cFile.ReadRSPStream(stream_, split.sPath, split.sFile, false, AppVersionString(),
                                     read.nRaysPerLspk, read.fCutOffTime, read.sMessage, cBusy,
                                     false, cReadLogger);
  return read;
}

}  // namespace zyra::tool
