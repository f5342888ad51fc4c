// An input file of a command, opened once for everything the command does with it: the checks
// of the file itself, the walk over its headers and the read.
#ifndef ZYRA_TOOLS_INPUT_FILE_H_
#define ZYRA_TOOLS_INPUT_FILE_H_

#include <cstdint>
#include <fstream>
#include <string>

#include "tools/response_session.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/logger.h"

namespace zyra::tool {

class InputFile {
 public:
  // Opens the file for reading. False, with the problem in sProblem, when it is missing, not a
  // regular file, empty or cannot be opened: files the reader would take silently as an empty
  // response.
  bool Open(const std::string& sFilePath, std::string& sProblem);

  const std::string& FilePath() const noexcept { return filePath_; }
  int64_t Size() const noexcept { return size_; }
  // The open file, for a walk over its headers; its position is anywhere.
  std::istream& Stream() noexcept { return stream_; }

  // ReadRSPStream with the tool's settings: folder and name split from the path, no default
  // local reverberation, inactive pulses kept, the tool's version as the application text.
  ReadOutcome Read(CProbeRspClass& cFile, BusyIndicator* cBusy, Logger* cReadLogger);

 private:
  std::string filePath_;
  std::ifstream stream_;
  int64_t size_ = 0;
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_INPUT_FILE_H_
