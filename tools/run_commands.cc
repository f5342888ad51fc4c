// The seven commands of zyra-rsp over the host sequence of response_session.h.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "tools/commands.h"
#include "tools/demo_response.h"
#include "tools/dump_json.h"
#include "tools/etc_plot.h"
#include "tools/eval_json.h"
#include "tools/file_walk.h"
#include "tools/plot_data.h"
#include "tools/progress_bar.h"
#include "tools/report.h"
#include "tools/response_session.h"
#include "tools/save_image.h"
#include "tools/synth_file.h"
#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

// A library message on one line: control characters (the reader's NUL before the file name
// among them) become blanks, Latin-1 becomes UTF-8, surrounding blanks go.
std::string MessageLine(const std::string& sMessage) {
  std::string line;
  for (const char c : sMessage) {
    const bool control = static_cast<unsigned char>(c) < 0x20;
    if (control && (line.empty() || line.back() == ' ')) continue;
    line += control ? ' ' : c;
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return Latin1ToUtf8(line);
}

std::string ErrorText(const ErrorInfo& error) {
  return "error " + std::to_string(error.lNumber) + ": " + error.sDescription;
}

// The one line for a read that was not clean.
std::string ReadProblem(const ReadOutcome& read) {
  if (read.lResult == -1) return "not a usable response file: " + MessageLine(read.sMessage);
  return "reading stopped early: " + MessageLine(read.sMessage);
}

void PrintJson(const Json& document) {
  std::cout << JsonText(document);
  std::cout.flush();
}

// A file that reads cleanly and prepares without error, or the exit status after the error
// line (and, for `json`, the JSON of the failure on standard output).
struct Session {
  CProbeRspClass file;
  ReadOutcome read;
  InitOutcome init;
};

int OpenAndPrepare(const std::string& sFile, Session& session, TerminalProgress& progress,
                   bool bJsonFailures) {
  if (auto problem = InputFileProblem(sFile)) {
    PrintErrorLine(sFile, *problem);
    return kExitFailure;
  }
  session.read = ReadResponseFile(session.file, sFile, &progress, nullptr);
  progress.Done();
  if (!IsCleanRead(session.read)) {
    if (bJsonFailures) {
      PrintJson(Json{{"read", Json{{"result", session.read.lResult},
                                   {"message", TextJson(session.read.sMessage)}}}});
    }
    PrintErrorLine(sFile, ReadProblem(session.read));
    return kExitFailure;
  }
  session.init = PrepareResponse(session.file, &progress);
  progress.Done();
  if (session.init.error) {
    if (bJsonFailures) PrintJson(ErrorJson(*session.init.error));
    PrintErrorLine(sFile, "preparation failed: " + ErrorText(*session.init.error));
    return kExitFailure;
  }
  if (progress.IsCancelled()) {
    PrintErrorLine(sFile, "cancelled");
    return kExitFailure;
  }
  return kExitSuccess;
}

// Evaluates; a run-time error becomes the error line (and its JSON).
std::optional<Evaluation> Evaluate(const std::string& sFile, Session& session, bool bDirectOnly,
                                   const AlconsSettings& alcons, TerminalProgress& progress,
                                   bool bJsonFailures) {
  try {
    Evaluation evaluation = EvaluateResponse(session.file, bDirectOnly, alcons, &progress);
    progress.Done();
    if (evaluation.lCalcResult != 0) {
      PrintErrorLine(sFile, "evaluation cancelled");
      return std::nullopt;
    }
    return evaluation;
  } catch (const RuntimeError& error) {
    progress.Done();
    if (bJsonFailures) PrintJson(ErrorJson(ErrorInfoOf(error)));
    PrintErrorLine(sFile, "evaluation failed: " + ErrorText(ErrorInfoOf(error)));
    return std::nullopt;
  }
}

bool WriteText(const std::string& sTarget, const std::string& sText) {
  std::string sMessage;
  const auto* data = reinterpret_cast<const uint8_t*>(sText.data());
  if (WriteFileAtomically(sTarget, std::span<const uint8_t>(data, sText.size()), sMessage)) {
    return true;
  }
  PrintErrorLine(sTarget, sMessage);
  return false;
}

std::string PlotSubtitle(const CProbeRspClass& cFile, const std::string& sFile) {
  std::string label = cFile.ProbeInfo()->PrLabel();
  while (!label.empty() && (label.back() == ' ' || label.back() == '\0')) label.pop_back();
  return Latin1ToUtf8(SplitFilePath(sFile).sFile + (label.empty() ? "" : ", probe " + label));
}

}  // namespace

int RunInfo(const InfoOptions& options) {
  const std::string& sFile = options.sFile;
  std::string sProblem;
  const auto bytes = ReadFileBytes(sFile, sProblem);
  if (!bytes) {
    PrintErrorLine(sFile, sProblem);
    return kExitFailure;
  }
  const FileWalk walk = WalkResponseBytes(*bytes);
  TerminalProgress progress;
  CProbeRspClass file;
  const ReadOutcome read = ReadResponseFile(file, sFile, &progress, nullptr);
  progress.Done();
  if (read.lResult == -1) {
    PrintErrorLine(sFile, ReadProblem(read));
    return kExitFailure;
  }
  const bool bClean = IsCleanRead(read);
  InitOutcome init;
  std::optional<Evaluation> evaluation;
  if (bClean) {
    init = PrepareResponse(file, &progress);
    progress.Done();
    if (!init.error) {
      try {
        evaluation = EvaluateResponse(file, false, {}, &progress);
      } catch (const RuntimeError& error) {
        init.error = ErrorInfoOf(error);
      }
      progress.Done();
    }
  }
  std::cout << InfoSummary(sFile, walk, file, read, init, evaluation ? &*evaluation : nullptr);
  if (!bClean) {
    PrintErrorLine(sFile, ReadProblem(read));
    return kExitFailure;
  }
  if (init.error) {
    PrintErrorLine(sFile, ErrorText(*init.error));
    return kExitFailure;
  }
  return kExitSuccess;
}

int RunDump(const DumpOptions& options) {
  const std::string& sFile = options.sFile;
  if (auto problem = InputFileProblem(sFile)) {
    PrintErrorLine(sFile, *problem);
    return kExitFailure;
  }
  TerminalProgress progress;
  StringLogger logger;
  CProbeRspClass file;
  const ReadOutcome read =
      ReadResponseFile(file, sFile, &progress, options.bLog ? &logger : nullptr);
  progress.Done();
  if (options.bLog) {
    std::cerr << logger.Text();
    std::cerr.flush();
  }
  if (IsFailedRead(read)) {
    PrintJson(Json{{"read", ReadJson(read)}});
    PrintErrorLine(sFile, ReadProblem(read));
    return kExitFailure;
  }
  std::optional<InitOutcome> init;
  if (!options.bRaw) {
    init = PrepareResponse(file, &progress);
    progress.Done();
  }
  const CFileHeaderClass header = ReadFileHeaderOf(sFile).value_or(CFileHeaderClass{});
  WriteDumpJson(std::cout, file, header, read, init ? &*init : nullptr);
  std::cout.flush();
  if (!IsCleanRead(read)) {
    PrintErrorLine(sFile, ReadProblem(read));
    return kExitFailure;
  }
  if (init && init->error) {
    PrintErrorLine(sFile, "preparation failed: " + ErrorText(*init->error));
    return kExitFailure;
  }
  if (init && init->lResult != 0) {
    PrintErrorLine(sFile, "preparation failed: the pulses could not be sorted");
    return kExitFailure;
  }
  return kExitSuccess;
}

int RunEval(const EvalOptions& options) {
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(options.sFile, session, progress, true)) return status;
  const AlconsSettings alcons{options.eForm == AlconsFormOption::kSti, options.bNoise,
                              options.lInterfFlags};
  const auto evaluation =
      Evaluate(options.sFile, session, options.bDirectOnly, alcons, progress, true);
  if (!evaluation) return kExitFailure;
  if (options.bJson) {
    PrintJson(EvalJson(*evaluation));
  } else {
    std::cout << EvalTable(*evaluation);
  }
  return kExitSuccess;
}

int RunConvert(const ConvertOptions& options) {
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(options.sIn, session, progress, false)) return status;
  // The image goes to the temporary file as it is made, so that the response and its whole
  // image are never in memory together.
  std::optional<ErrorInfo> saveError;
  const auto write = [&](int, const std::string& sTemporary, std::string& sMessage) {
    errno = 0;
    try {
      WriteSaveImageToFile(session.file, options.sOut, session.read, sTemporary);
      return true;
    } catch (const RuntimeError& error) {
      if (error.Number() != kErrPathFileAccess) {
        saveError = ErrorInfoOf(error);
      } else {
        sMessage = "cannot write " + sTemporary +
                   (errno != 0 ? ": " + std::string(std::strerror(errno)) : "");
      }
      return false;
    }
  };
  std::string sMessage;
  if (WriteFileAtomically(options.sOut, write, sMessage)) return kExitSuccess;
  if (saveError) {
    PrintErrorLine(options.sIn, "cannot be saved: " + ErrorText(*saveError));
  } else {
    PrintErrorLine(options.sOut, sMessage);
  }
  return kExitFailure;
}

int RunPlot(const PlotOptions& options) {
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(options.sFile, session, progress, false)) return status;
  const auto evaluation = Evaluate(options.sFile, session, false, {}, progress, false);
  if (!evaluation) return kExitFailure;
  const EtcPlotData plot = BuildEtcPlotData(session.file, *evaluation, options.iBand,
                                            PlotSubtitle(session.file, options.sFile));
  return WriteText(options.sOut, EtcSvg(plot)) ? kExitSuccess : kExitFailure;
}

int RunSynth(const SynthOptions& options) {
  CProbeRspClass file;
  TerminalProgress progress;
  try {
    SynthesizeResponseFile(file, options, &progress);
    progress.Done();
    const std::vector<uint8_t> image = ReproducibleImage(file);
    std::string sMessage;
    if (!WriteFileAtomically(options.sOut, image, sMessage)) {
      PrintErrorLine(options.sOut, sMessage);
      return kExitFailure;
    }
  } catch (const RuntimeError& error) {
    progress.Done();
    PrintErrorLine(options.sOut, "cannot be synthesised: " + ErrorText(ErrorInfoOf(error)));
    return kExitFailure;
  }
  return kExitSuccess;
}

int RunDemo(const DemoOptions& options) {
  std::error_code error;
  std::filesystem::create_directories(options.sOutDir, error);
  if (error) {
    PrintErrorLine(options.sOutDir, "cannot create the folder: " + error.message());
    return kExitFailure;
  }
  std::string sDir = options.sOutDir;
  if (!sDir.empty() && sDir.back() != '/') sDir += '/';
  const std::string sResponse = sDir + "demo-hall.rsp";
  const std::string sPlot = sDir + "demo-hall-etc.svg";
  {
    CProbeRspClass built;
    try {
      BuildDemoHall(built);
      const ReadOutcome asBuilt{0, "", built.Pred()->RaysPerLspk(), built.Pred()->Length1()};
      std::string sMessage;
      if (!WriteFileAtomically(sResponse, SaveImage(built, sResponse, asBuilt), sMessage)) {
        PrintErrorLine(sResponse, sMessage);
        return kExitFailure;
      }
    } catch (const RuntimeError& e) {
      PrintErrorLine(sResponse, "cannot be built: " + ErrorText(ErrorInfoOf(e)));
      return kExitFailure;
    }
  }
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(sResponse, session, progress, false)) return status;
  const auto evaluation = Evaluate(sResponse, session, false, {}, progress, false);
  if (!evaluation) return kExitFailure;
  const EtcPlotData plot = BuildEtcPlotData(session.file, *evaluation, kDefaultPlotBand,
                                            PlotSubtitle(session.file, sResponse));
  if (!WriteText(sPlot, EtcSvg(plot))) return kExitFailure;
  std::cout << DemoReport(session.file, *evaluation, sResponse, sPlot);
  return kExitSuccess;
}

}  // namespace zyra::tool
