// The seven commands of zyra-rsp over the host sequence of response_session.h.
#include <filesystem>
#include <iostream>
#include <limits>
#include <sstream>

#include "tools/commands.h"
#include "tools/decay_plot.h"
#include "tools/demo_response.h"
#include "tools/dump_json.h"
#include "tools/etc_plot.h"
#include "tools/eval_json.h"
#include "tools/input_file.h"
#include "tools/picture.h"
#include "tools/plot_data.h"
#include "tools/progress_bar.h"
#include "tools/report.h"
#include "tools/response_session.h"
#include "tools/save_image.h"
#include "tools/synth_file.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

// The blocks `info` lists at most; a real file has eight or nine.
constexpr std::size_t kInfoMaxBlocks = 1000;

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

// A file that reads cleanly and prepares without error, or the exit status after the error
// line (and, for `json`, the JSON of the failure on standard output).
struct Session {
  CProbeRspClass file;
  ReadOutcome read;
  InitOutcome init;
};

int OpenAndPrepare(const std::string& sFile, Session& session, TerminalProgress& progress,
                   bool bJsonFailures) {
  InputFile input;
  std::string sProblem;
  if (!input.Open(sFile, sProblem)) {
    PrintErrorLine(sFile, sProblem);
    return kExitFailure;
  }
  progress.Begin("Reading");
  session.read = input.Read(session.file, &progress, nullptr);
  progress.Done();
  if (!IsCleanRead(session.read)) {
    if (bJsonFailures) {
      PrintJson(Json{{"read", Json{{"result", session.read.lResult},
                                   {"message", TextJson(session.read.sMessage)}}}});
    }
    PrintErrorLine(sFile, ReadProblem(session.read, session.file));
    return kExitFailure;
  }
  progress.Begin("Preparing");
  session.init = PrepareResponse(session.file, &progress);
  progress.Done();
  if (session.init.error) {
    if (bJsonFailures) PrintJson(ErrorJson(*session.init.error));
    PrintErrorLine(sFile, "preparation failed: " + ErrorText(*session.init.error));
    return kExitFailure;
  }
  if (progress.IsCancelled()) {
    PrintErrorLine(sFile, "cancelled");
    return kExitInterrupted;
  }
  return kExitSuccess;
}

// Evaluates; a run-time error becomes the error line (and its JSON).
std::optional<Evaluation> Evaluate(const std::string& sFile, Session& session, bool bDirectOnly,
                                   const AlconsSettings& alcons, TerminalProgress& progress,
                                   bool bJsonFailures) {
  try {
    progress.Begin("Evaluating");
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

// The room-acoustic parameters of an evaluation, and their decay curves into cDecays when not
// null; a run-time error or a cancel becomes the error line (and its JSON).
std::optional<CParameterSet> EvaluateParameters(const std::string& sFile, const Session& session,
                                                const Evaluation& evaluation,
                                                const CParameterOptions& options,
                                                TerminalProgress& progress, bool bJsonFailures,
                                                CSchroederParameters* cDecays) {
  try {
    CParameterSet parameters =
        CalculateParameters(session.file, *evaluation.results, options, &progress, cDecays);
    progress.Done();
    if (parameters.bIsCancelled) {
      PrintErrorLine(sFile, "evaluation cancelled");
      return std::nullopt;
    }
    return parameters;
  } catch (const RuntimeError& error) {
    progress.Done();
    if (bJsonFailures) PrintJson(ErrorJson(ErrorInfoOf(error)));
    PrintErrorLine(sFile, "evaluation failed: " + ErrorText(ErrorInfoOf(error)));
    return std::nullopt;
  }
}

// Draws the picture in the format of sTarget's extension and writes it whole.
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
  return progress.IsCancelled() ? kExitInterrupted : kExitFailure;
}

std::string PlotSubtitle(const CProbeRspClass& cFile, const std::string& sFile) {
  std::string label = cFile.ProbeInfo()->PrLabel();
  while (!label.empty() && (label.back() == ' ' || label.back() == '\0')) label.pop_back();
  return Latin1ToUtf8(SplitFilePath(sFile).sFile + (label.empty() ? "" : ", probe " + label));
}

}  // namespace

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
  CProbeRspClass file;
  progress.Begin("Reading");
  const ReadOutcome read = input.Read(file, &progress, nullptr);
  progress.Done();
  const bool bClean = IsCleanRead(read);
  std::optional<InitOutcome> init;
  std::optional<InfoTimes> times;
  if (bClean) {
    progress.Begin("Preparing");
    init = PrepareResponse(file, &progress);
    progress.Done();
    if (!init->error) {
      try {
        times = CalculateInfoTimes(file);
      } catch (const RuntimeError& error) {
        init->error = ErrorInfoOf(error);
      }
    }
  }
  std::cout << InfoReadSummary(file, read, init ? &*init : nullptr, times ? &*times : nullptr);
  if (!bClean) {
    PrintErrorLine(sFile, ReadProblem(read, file));
    return kExitFailure;
  }
  if (init->error) {
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
  CProbeRspClass file;
  progress.Begin("Reading");
  const ReadOutcome read = input.Read(file, &progress, options.bLog ? &logger : nullptr);
  progress.Done();
  if (options.bLog) {
    std::cerr << logger.Text();
    std::cerr.flush();
  }
  if (IsFailedRead(read)) {
    PrintJson(Json{{"read", ReadJson(read)}});
    PrintErrorLine(sFile, ReadProblem(read, file));
    return kExitFailure;
  }
  std::optional<InitOutcome> init;
  if (!options.bRaw) {
    progress.Begin("Preparing");
    init = PrepareResponse(file, &progress);
    progress.Done();
  }
  WriteDumpJson(std::cout, file, file.FileHeader(), read, init ? &*init : nullptr);
  std::cout.flush();
  if (!IsCleanRead(read)) {
    PrintErrorLine(sFile, ReadProblem(read, file));
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
  // The parameters rest on the reflections; with the direct sound alone there are none.
  std::optional<CParameterSet> parameters;
  if (!options.bDirectOnly) {
    CParameterOptions parameterOptions;
    parameterOptions.dSchroederT1 = options.dFitUpper;
    parameterOptions.dSchroederT2 = options.dFitLower;
    parameterOptions.bWithNoise = options.bNoise;
    parameterOptions.bMasking = options.bMasking;
    parameters = EvaluateParameters(options.sFile, session, *evaluation, parameterOptions, progress,
                                    true, nullptr);
    if (!parameters) return kExitFailure;
  }
  const CParameterSet* shown = parameters ? &*parameters : nullptr;
  if (options.bJson) {
    PrintJson(EvalJson(*evaluation, shown));
  } else {
    std::cout << EvalTable(*evaluation, shown);
  }
  return kExitSuccess;
}

int RunConvert(const ConvertOptions& options) {
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(options.sIn, session, progress, false)) return status;
  std::vector<uint8_t> image;
  progress.Begin("Writing");
  try {
    image = SaveImage(session.file, options.sOut, session.read);
  } catch (const RuntimeError& error) {
    progress.Done();
    PrintErrorLine(options.sIn, "cannot be saved: " + ErrorText(ErrorInfoOf(error)));
    return kExitFailure;
  }
  return WriteOutput(options.sOut, image, progress);
}

int RunPlot(const PlotOptions& options) {
  TerminalProgress progress;
  Session session;
  if (const int status = OpenAndPrepare(options.sFile, session, progress, false)) return status;
  const auto evaluation = Evaluate(options.sFile, session, false, {}, progress, false);
  if (!evaluation) return kExitFailure;
  const std::string sSubtitle = PlotSubtitle(session.file, options.sFile);
  if (!options.bDecay) {
    const EtcPlotData plot = BuildEtcPlotData(session.file, *evaluation, options.iBand, sSubtitle);
    const bool bWritten =
        WritePicture(options.sOut, kEtcPictureSize, [&](cairo_t* cr) { DrawEtc(cr, plot); });
    return bWritten ? kExitSuccess : kExitFailure;
  }
  CSchroederParameters decays;
  try {
    const int32_t lResult =
        decays.CalculateFit(session.file, *evaluation->results, true, &progress);
    progress.Done();
    if (lResult != 0) {
      PrintErrorLine(options.sFile, "evaluation cancelled");
      return kExitFailure;
    }
  } catch (const RuntimeError& error) {
    progress.Done();
    PrintErrorLine(options.sFile, "evaluation failed: " + ErrorText(ErrorInfoOf(error)));
    return kExitFailure;
  }
  const DecayPlotData plot =
      BuildDecayPlotData(decays, options.bOneBand ? options.iBand : 0, sSubtitle);
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
  Session session;
  if (const int status = OpenAndPrepare(sResponse, session, progress, false)) return status;
  const auto evaluation = Evaluate(sResponse, session, false, {}, progress, false);
  if (!evaluation) return kExitFailure;
  CSchroederParameters decays;
  const auto parameters =
      EvaluateParameters(sResponse, session, *evaluation, {}, progress, false, &decays);
  if (!parameters) return kExitFailure;
  const std::string sSubtitle = PlotSubtitle(session.file, sResponse);
  const EtcPlotData etc = BuildEtcPlotData(session.file, *evaluation, kDefaultPlotBand, sSubtitle);
  const DecayPlotData decay = BuildDecayPlotData(decays, 0, sSubtitle);
  if (!WritePicture(files.sReflectogram, kEtcPictureSize, [&](cairo_t* cr) { DrawEtc(cr, etc); }) ||
      !WritePicture(files.sDecay, kDecayPictureSize, [&](cairo_t* cr) { DrawDecay(cr, decay); })) {
    return kExitFailure;
  }
  std::cout << DemoReport(session.file, *evaluation, *parameters, files);
  return kExitSuccess;
}

}  // namespace zyra::tool
