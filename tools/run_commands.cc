// The seven commands of zyra-rsp over the facade (zyra/facade/response.h): each opens, evaluates
// and presents; what a failure says comes from the facade's ResponseError.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>
#include <sstream>

#include "tools/batch_commands.h"
#include "tools/commands.h"
#include "tools/decay_plot.h"
#include "tools/demo_response.h"
#include "tools/dump_json.h"
#include "tools/etc_plot.h"
#include "tools/eval_json.h"
#include "tools/picture.h"
#include "tools/plot_data.h"
#include "tools/progress_bar.h"
#include "tools/report.h"
#include "tools/save_image.h"
#include "tools/synth_file.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/facade/file_access.h"
#include "zyra/facade/text_forms.h"
#include "zyra/format/block_walk.h"
#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

// The blocks `info` lists at most; a real file has eight or nine.
constexpr std::size_t kInfoMaxBlocks = 1000;

std::string ErrorText(const ErrorInfo& error) {
  return "error " + std::to_string(error.lNumber) + ": " + error.sDescription;
}

// The one line for a read that was not clean, with the place where the reader stopped.
std::string ReadProblem(const ReadOutcome& read, const CProbeRspClass& cFile) {
  std::string line =
      read.lResult == -1 ? "not a usable response file: " : "reading stopped early: ";
  line += MessageLine(read.sMessage);
  if (const auto& place = cFile.ReadStopPlace()) line += " (" + FilePlaceText(*place) + ")";
  return line;
}

void PrintJson(const Json& document) {
  std::cout << JsonText(document);
  std::cout.flush();
}

// The tool reads with its own application text and shows progress on the terminal.
OpenOptions ToolOpenOptions(TerminalProgress& progress) {
  OpenOptions options;
  options.sAppVrsnString = AppVersionString();
  options.cBusy = &progress;
  return options;
}

// The error line of a failure and, for `json`, its JSON on standard output: the read outcome
// for a read that was not clean, the run-time error (or the problem) for a later step.
void ReportFailure(const ResponseError& error, TerminalProgress& progress, bool bJsonFailures) {
  progress.Done();
  if (bJsonFailures && error.Fault() != ResponseFault::kFileAccess) {
    if (const auto& read = error.Read()) {
      PrintJson(
          Json{{"read", Json{{"result", read->lResult}, {"message", TextJson(read->sMessage)}}}});
    } else {
      PrintJson(ErrorJson(ErrorInfo{error.Number(), error.Description()}));
    }
  }
  PrintErrorLine(error.FilePath(), error.Message());
}

// A file that reads cleanly and prepares without error, or no value after the error line.
std::optional<Response> OpenResponse(const std::string& sFile, TerminalProgress& progress,
                                     bool bJsonFailures) {
  try {
    progress.Begin("Reading");
    Response response = Response::Open(sFile, ToolOpenOptions(progress));
    progress.Done();
    if (progress.IsCancelled()) {
      PrintErrorLine(sFile, "cancelled");
      return std::nullopt;
    }
    return response;
  } catch (const ResponseError& error) {
    ReportFailure(error, progress, bJsonFailures);
    return std::nullopt;
  }
}

// Evaluates; a failure becomes the error line (and its JSON).
std::optional<Evaluation> EvaluateResponse(Response& response, EvaluateOptions options,
                                           TerminalProgress& progress, bool bJsonFailures) {
  // The evaluation reports once per pulse and band when asked to; where no bar is drawn (a
  // pipe, a script) it is not asked and runs its faster path, and a Ctrl-C there is taken
  // when the step ends.
  options.cBusy = progress.IsShown() ? &progress : nullptr;
  try {
    progress.Begin("Evaluating");
    Evaluation evaluation = response.Evaluate(options);
    progress.Done();
    if (progress.IsCancelled()) {
      PrintErrorLine(response.FilePath(), "cancelled");
      return std::nullopt;
    }
    return evaluation;
  } catch (const ResponseError& error) {
    ReportFailure(error, progress, bJsonFailures);
    return std::nullopt;
  }
}

// The times of the direct sounds and the tail info's split and diffuse times, without an
// evaluation.
InfoTimes CalculateInfoTimes(const CProbeRspClass& cFile) {
  const double kNone = std::numeric_limits<double>::quiet_NaN();
  InfoTimes times{kNone, kNone, kNone, kNone, cFile.ETC()->tSplit(), cFile.ETC()->tDiff()};
  double tOff = kNone;
  cFile.Rsp()->CalculateTimes(false, times.tFirst, times.tLast, tOff, times.tRef, times.tGap);
  return times;
}

// Writes a response file through a temporary, with the bar showing the share written; Ctrl-C
// stops the write and leaves the old file.
int WriteOutput(const std::string& sOut, std::span<const uint8_t> image,
                TerminalProgress& progress) {
  const std::string sCaption = SplitFilePath(sOut).sFile;
  std::string sMessage;
  const bool bWritten = WriteFileAtomically(sOut, image, sMessage, [&](double dFraction) {
    return progress.ReportProgress(sCaption, dFraction, "", kBusyInterval);
  });
  progress.Done();
  if (bWritten) return kExitSuccess;
  PrintErrorLine(sOut, sMessage);
  return FailureStatus(progress);
}

std::string PlotSubtitle(const CProbeRspClass& cFile, const std::string& sFile) {
  const std::string label = ProbeSummaryOf(cFile).sLabel;
  return Latin1ToUtf8(SplitFilePath(sFile).sFile) + (label.empty() ? "" : ", probe " + label);
}

}  // namespace

int FailureStatus(const TerminalProgress& progress) {
  return progress.IsCancelled() ? kExitInterrupted : kExitFailure;
}

bool WritePicture(const std::string& sTarget, PictureSize size, const DrawPicture& draw) {
  const auto format = PictureFormatOf(sTarget);
  if (!format) {
    PrintErrorLine(sTarget, "not a picture format: '" + ExtensionOf(sTarget) + "'");
    return false;
  }
  std::vector<uint8_t> bytes;
  try {
    bytes = RenderPicture(*format, size, draw);
  } catch (const RuntimeError& error) {
    PrintErrorLine(sTarget, ErrorText(ErrorInfoOf(error)));
    return false;
  }
  std::string sMessage;
  if (WriteFileAtomically(sTarget, bytes, sMessage)) return true;
  PrintErrorLine(sTarget, sMessage);
  return false;
}

int RunInfo(const InfoOptions& options) {
  const std::string& sFile = options.sFile;
  InputFile input;
  std::string sProblem;
  if (!input.Open(sFile, sProblem)) {
    PrintErrorLine(sFile, sProblem);
    return kExitFailure;
  }
  // The headers alone first, by seeks: a file the reader would refuse is judged without
  // loading it.
  BlockWalk walk(input.Stream(), input.Size());
  const BlockWalk::Listing listing = walk.ListBlocks(kInfoMaxBlocks);
  std::cout << InfoFileSummary(sFile, walk, listing);
  std::cout.flush();
  if (walk.Verdict() != FileVerdict::kResponseFile) {
    PrintErrorLine(sFile, "not a usable response file: " + FileVerdictText(walk.Verdict()));
    return kExitFailure;
  }
  TerminalProgress progress;
  OpenOptions open = ToolOpenOptions(progress);
  open.bKeepDamaged = true;
  std::optional<Response> response;
  try {
    progress.Begin("Reading");
    response = Response::Open(input, open);
  } catch (const ResponseError& error) {
    ReportFailure(error, progress, false);
    return FailureStatus(progress);
  }
  progress.Done();
  const CProbeRspClass& file = response->Model();
  const bool bClean = IsCleanRead(response->Read());
  std::optional<InitOutcome> init;
  std::optional<InfoTimes> times;
  if (bClean) {
    init = response->Init();
    if (init && !init->error) {
      try {
        times = CalculateInfoTimes(file);
      } catch (const RuntimeError& error) {
        init->error = ErrorInfoOf(error);
      }
    }
  }
  std::cout << InfoReadSummary(file, response->Read(), init ? &*init : nullptr,
                               times ? &*times : nullptr);
  if (!bClean) {
    PrintErrorLine(sFile, ReadProblem(response->Read(), file));
    return kExitFailure;
  }
  if (init && init->error) {
    PrintErrorLine(sFile, ErrorText(*init->error));
    return kExitFailure;
  }
  if (progress.IsCancelled()) {
    PrintErrorLine(sFile, "cancelled");
    return kExitInterrupted;
  }
  return kExitSuccess;
}

int RunDump(const DumpOptions& options) {
  const std::string& sFile = options.sFile;
  InputFile input;
  std::string sProblem;
  if (!input.Open(sFile, sProblem)) {
    PrintErrorLine(sFile, sProblem);
    return kExitFailure;
  }
  TerminalProgress progress;
  StringLogger logger;
  OpenOptions open = ToolOpenOptions(progress);
  open.bPrepare = !options.bRaw;
  open.bKeepDamaged = true;
  open.cReadLogger = options.bLog ? &logger : nullptr;
  const auto printLog = [&] {
    if (!options.bLog) return;
    std::cerr << logger.Text();
    std::cerr.flush();
  };
  std::optional<Response> response;
  try {
    progress.Begin("Reading");
    response = Response::Open(input, open);
  } catch (const ResponseError& error) {
    progress.Done();
    printLog();
    if (const auto& read = error.Read()) PrintJson(Json{{"read", ReadJson(*read)}});
    PrintErrorLine(sFile, error.Message());
    return FailureStatus(progress);
  }
  progress.Done();
  printLog();
  const CProbeRspClass& file = response->Model();
  const std::optional<InitOutcome>& init = response->Init();
  WriteDumpJson(std::cout, file, file.FileHeader(), response->Read(), init ? &*init : nullptr);
  std::cout.flush();
  if (!IsCleanRead(response->Read())) {
    PrintErrorLine(sFile, ReadProblem(response->Read(), file));
    return kExitFailure;
  }
  if (init && init->error) {
    PrintErrorLine(sFile, "preparation failed: " + ErrorText(*init->error));
    return kExitFailure;
  }
  if (init && init->lResult != 0) {
    PrintErrorLine(sFile, "preparation failed: the pulses could not be sorted");
    return FailureStatus(progress);
  }
  return kExitSuccess;
}

int RunEval(const EvalOptions& options) {
  TerminalProgress progress;
  auto response = OpenResponse(options.sFile, progress, true);
  if (!response) return FailureStatus(progress);
  const auto evaluation = EvaluateResponse(*response, EvaluateOptionsOf(options), progress, true);
  if (!evaluation) return FailureStatus(progress);
  // The parameters rest on the reflections; with the direct sound alone there are none.
  const CParameterSet* shown = evaluation->parameters ? &*evaluation->parameters : nullptr;
  if (options.bJson) {
    PrintJson(EvalJson(*evaluation, shown));
  } else {
    std::cout << EvalTable(*evaluation, shown);
  }
  return kExitSuccess;
}

int RunConvert(const ConvertOptions& options) {
  TerminalProgress progress;
  auto response = OpenResponse(options.sIn, progress, false);
  if (!response) return FailureStatus(progress);
  // The image goes to the temporary file as it is made, so that the response and its whole
  // image are never in memory together.
  progress.Begin("Writing");
  std::optional<ErrorInfo> saveError;
  const auto write = [&](int, const std::string& sTemporary, std::string& sMessage) {
    errno = 0;
    try {
      WriteSaveImageToFile(response->Model(), options.sOut, response->Read(), sTemporary);
    } catch (const RuntimeError& error) {
      if (error.Number() != kErrPathFileAccess) {
        saveError = ErrorInfoOf(error);
      } else {
        sMessage = "cannot write " + sTemporary +
                   (errno != 0 ? ": " + std::string(std::strerror(errno)) : "");
      }
      return false;
    }
    // Ctrl-C while writing: the temporary goes, the old file stays.
    errno = 0;
    return !progress.IsCancelled();
  };
  std::string sMessage;
  const bool bWritten = WriteFileAtomically(options.sOut, write, sMessage);
  progress.Done();
  if (bWritten) return kExitSuccess;
  if (saveError) {
    PrintErrorLine(options.sIn, "cannot be saved: " + ErrorText(*saveError));
  } else {
    PrintErrorLine(options.sOut, sMessage);
  }
  return FailureStatus(progress);
}

int RunPlot(const PlotOptions& options) {
  TerminalProgress progress;
  auto response = OpenResponse(options.sFile, progress, false);
  if (!response) return FailureStatus(progress);
  const auto evaluation = EvaluateResponse(*response, {}, progress, false);
  if (!evaluation) return FailureStatus(progress);
  const std::string sSubtitle = PlotSubtitle(response->Model(), options.sFile);
  if (!options.bDecay) {
    const EtcPlotData plot =
        BuildEtcPlotData(response->Model(), *evaluation, options.iBand, sSubtitle);
    const bool bWritten =
        WritePicture(options.sOut, kEtcPictureSize, [&](cairo_t* cr) { DrawEtc(cr, plot); });
    return bWritten ? kExitSuccess : kExitFailure;
  }
  // The evaluation fitted the decays along with the parameters.
  const DecayPlotData plot =
      BuildDecayPlotData(*evaluation->decays, options.bOneBand ? options.iBand : 0, sSubtitle);
  const bool bWritten =
      WritePicture(options.sOut, kDecayPictureSize, [&](cairo_t* cr) { DrawDecay(cr, plot); });
  return bWritten ? kExitSuccess : kExitFailure;
}

int RunSynth(const SynthOptions& options) {
  CProbeRspClass file;
  TerminalProgress progress;
  try {
    progress.Begin("Synthesising");
    SynthesizeResponseFile(file, options, &progress);
    progress.Begin("Writing");
    return WriteOutput(options.sOut, ReproducibleImage(file), progress);
  } catch (const RuntimeError& error) {
    progress.Done();
    PrintErrorLine(options.sOut, "cannot be synthesised: " + ErrorText(ErrorInfoOf(error)));
    return kExitFailure;
  }
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
  const DemoFiles files{sDir + "demo-hall.rsp", sDir + "demo-hall-etc.svg",
                        sDir + "demo-hall-decay.svg"};
  const std::string& sResponse = files.sResponse;
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
  auto response = OpenResponse(sResponse, progress, false);
  if (!response) return kExitFailure;
  const auto evaluation = EvaluateResponse(*response, {}, progress, false);
  if (!evaluation) return kExitFailure;
  const std::string sSubtitle = PlotSubtitle(response->Model(), sResponse);
  const EtcPlotData etc =
      BuildEtcPlotData(response->Model(), *evaluation, kDefaultPlotBand, sSubtitle);
  const DecayPlotData decay = BuildDecayPlotData(*evaluation->decays, 0, sSubtitle);
  if (!WritePicture(files.sReflectogram, kEtcPictureSize, [&](cairo_t* cr) { DrawEtc(cr, etc); }) ||
      !WritePicture(files.sDecay, kDecayPictureSize, [&](cairo_t* cr) { DrawDecay(cr, decay); })) {
    return kExitFailure;
  }
  std::cout << DemoReport(response->Model(), *evaluation, *evaluation->parameters, files);
  return DemoSeatingArea(sDir);
}

}  // namespace zyra::tool
