#include "tools/response_session.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "tools/commands.h"
#include "zyra/calc/energy_time_process.h"
#include "zyra/rsp/host_sequence.h"

namespace zyra::tool {

ErrorInfo ErrorInfoOf(const RuntimeError& error) {
  return {error.Number(), error.Description()};
}

bool IsCleanRead(const ReadOutcome& read) {
  if (read.lResult == 0) return read.sMessage.empty();
  return read.lResult == 1 && read.sMessage.rfind(kCoherenceWarningStart, 0) == 0;
}

std::optional<std::string> InputFileProblem(const std::string& sFilePath) {
  struct stat status {};
  if (stat(sFilePath.c_str(), &status) != 0) return std::string(std::strerror(errno));
  if (S_ISDIR(status.st_mode)) return std::string("is a directory, not a response file");
  if (!S_ISREG(status.st_mode)) return std::string("is not a regular file");
  if (status.st_size == 0) return std::string("is empty, not a response file");
  std::ifstream probe(sFilePath, std::ios::binary);
  if (!probe) return std::string("cannot be opened for reading");
  return std::nullopt;
}

std::optional<std::vector<uint8_t>> ReadFileBytes(const std::string& sFilePath,
                                                  std::string& sProblem) {
  if (auto problem = InputFileProblem(sFilePath)) {
    sProblem = *problem;
    return std::nullopt;
  }
  std::ifstream in(sFilePath, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  if (in.bad()) {
    sProblem = "cannot be read";
    return std::nullopt;
  }
  return bytes;
}

ReadOutcome ReadResponseFile(CProbeRspClass& cFile, const std::string& sFilePath,
                             BusyIndicator* cBusy, Logger* cReadLogger) {
  const SplitPath split = SplitFilePath(sFilePath);
  ReadOutcome read;
  read.lResult =
      cFile.ReadRSPFile(split.sPath, split.sFile, false, AppVersionString(), read.nRaysPerLspk,
                        read.fCutOffTime, read.sMessage, cBusy, false, cReadLogger);
  return read;
}

InitOutcome PrepareResponse(CProbeRspClass& cFile, BusyIndicator* cBusy) {
  InitOutcome init;
  try {
    init.lResult = PrepareResponseAfterRead(cFile, false, true, init.sMessage, cBusy);
  } catch (const RuntimeError& error) {
    init.error = ErrorInfoOf(error);
  }
  return init;
}

Evaluation EvaluateResponse(CProbeRspClass& cFile, bool bDirectOnly, const AlconsSettings& alcons,
                            BusyIndicator* cBusy) {
  Evaluation evaluation;
  evaluation.bWithReflections = !bDirectOnly;
  evaluation.alcons = alcons;
  evaluation.results = std::make_shared<CCalcResults>();
  const CEnergyTimeProcessClass process;
  evaluation.lCalcResult =
      process.Calculate(cFile, evaluation.results, !bDirectOnly, cBusy != nullptr, cBusy);
  const SL_EAlconsForm eForm = alcons.bSti ? SL_EAlcons_STI : SL_EAlcons_Peutz;
  for (int32_t a = 0; a < CCalcResults::kAlconsBandCount; ++a) {
    std::array<double, CCalcResults::kTimeBinCount> curve{};
    process.CalculateAlconsCurve(cFile, *evaluation.results, a, eForm, alcons.bNoise,
                                 alcons.lInterfFlags, curve);
    evaluation.alconsValues[static_cast<std::size_t>(a)] = curve;
  }
  return evaluation;
}

}  // namespace zyra::tool
