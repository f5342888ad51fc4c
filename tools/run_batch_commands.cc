// The commands over many receivers: `eval` with rows, `map`, `synth --grid`, and the demo's
// seating area.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <limits>
#include <span>
#include <sstream>

#include "tools/band_choice.h"
#include "tools/batch_commands.h"
#include "tools/commands.h"
#include "tools/demo_response.h"
#include "tools/ordered_batch.h"
#include "tools/progress_bar.h"
#include "tools/receiver_evaluation.h"
#include "tools/row_writer.h"
#include "tools/save_image.h"
#include "tools/seat_grid.h"
#include "tools/seat_map.h"
#include "zyra/facade/response.h"

namespace zyra::tool {
namespace {

int32_t JobsOf(int32_t nJobs) {
  return nJobs > 0 ? nJobs : DefaultJobCount();
}

// The progress bar over the files of a batch, kept off the rows and the error lines: its line is
// cleared before a row goes to the same terminal and before a failed file's line.
class BatchProgress {
 public:
  explicit BatchProgress(std::optional<int64_t> total)
      : total_(total), bRowsOnTerminal_(isatty(STDOUT_FILENO) == 1) {}

  void BeforeRow(const ReceiverRow& row) {
    if (bRowsOnTerminal_ || row.eStatus != RowStatus::kOk) bar_.Done();
  }
  void AfterRow() {
    ++done_;
    // A list on standard input has no known length: the bar then counts.
    const double fraction = total_ && *total_ > 0
                                ? static_cast<double>(done_) / static_cast<double>(*total_)
                                : std::numeric_limits<double>::quiet_NaN();
    const std::string caption =
        "Files " + std::to_string(done_) + (total_ ? " of " + std::to_string(*total_) : "");
    bar_.ShowProgress(caption, fraction, kBusyInterval);
  }
  void Done() { bar_.Done(); }
  bool IsCancelled() const { return bar_.IsCancelled(); }
  int64_t Count() const { return done_; }

 private:
  TerminalProgress bar_;
  std::optional<int64_t> total_;
  bool bRowsOnTerminal_;
  int64_t done_ = 0;
};

// The line on standard error for a row that did not succeed.
void ReportRow(const ReceiverRow& row) {
  if (row.eStatus == RowStatus::kOk) return;
  PrintErrorLine(row.sFile, (row.eStatus == RowStatus::kWarning ? "warning: " : "") + row.sMessage);
}

// Ends a batch: the cancel or the count of failed files on standard error; the exit status.
int BatchStatus(const BatchProgress& progress, int64_t nFailed, const std::string& sWhat) {
  if (progress.IsCancelled()) {
    std::cerr << "zyra-rsp: cancelled after " << progress.Count() << " files\n";
    return kExitInterrupted;
  }
  if (progress.Count() == 0) {
    std::cerr << "zyra-rsp: no files to " << sWhat << "\n";
    return kExitFailure;
  }
  if (nFailed > 0) {
    std::cerr << "zyra-rsp: " << nFailed << " of " << progress.Count() << " files failed\n";
    return kExitFailure;
  }
  return kExitSuccess;
}

// The loudspeakers of a response in plan view: the members of a coherent group stand at their
// group's pseudo loudspeaker and are left out.
std::vector<SeatMapSpeaker> SpeakersOf(const std::string& sFile) {
  std::vector<SeatMapSpeaker> speakers;
  try {
    const Response response = Response::Open(sFile);
    const LoudspeakerColumns lsp = response.Loudspeakers();
    for (std::size_t i = 0; i < lsp.daSite.size(); ++i) {
      if (!lsp.baIsActive[i] || (lsp.laCoherenceGroup[i] != 0 && !lsp.baIsPseudo[i])) continue;
      const std::string& label = lsp.saCharLabel[i].empty() ? lsp.saLabel[i] : lsp.saCharLabel[i];
      speakers.push_back({lsp.daSite[i][0], lsp.daSite[i][1], label});
    }
  } catch (const RuntimeError&) {
    // The map shows the receivers all the same.
  }
  return speakers;
}

// The map's title and the colour bar's.
void SetTitles(SeatMapData& data, const MapColumn& column, const RowColumn& row,
               std::optional<int32_t> iBand) {
  if (column.sParameter.empty()) {
    data.sTitle = data.sValueTitle = column.sColumn;
    return;
  }
  data.sValueTitle = column.sParameter + (row.sUnit.empty() ? "" : " [" + row.sUnit + "]");
  if (!iBand) {
    data.sTitle = column.sParameter +
                  (column.sSingleOf.empty() ? "" : ", single number (" + column.sSingleOf + ")");
    return;
  }
  data.sTitle = column.sParameter +
                (column.eBands == RowBands::kOctave ? ", octave band " : ", third-octave band ") +
                std::to_string(BandFrequency(*iBand)) + " Hz";
}

// One map from the points, written to sOut.
bool WriteSeatMap(const std::string& sOut, SeatMapData data) {
  const PictureSize size = SeatMapSize(data);
  int32_t nUnlabelled = 0;
  const bool bWritten = WritePicture(
      sOut, size, [&](cairo_t* cr) { nUnlabelled = DrawSeatMap(cr, data, size).nUnlabelled; });
  if (bWritten && nUnlabelled > 0) {
    PrintErrorLine(sOut, "note: " + std::to_string(nUnlabelled) +
                             " receivers stand too close for their values to be written; the "
                             "rows of `eval` have every value");
  }
  return bWritten;
}

}  // namespace

EvaluateOptions EvaluateOptionsOf(const EvalOptions& options) {
  EvaluateOptions evaluate;
  evaluate.bWithReflections = !options.bDirectOnly;
  evaluate.bInterferencePotential = (options.lInterfFlags & kInterferencePot) != 0;
  evaluate.bInterferenceKinetic = (options.lInterfFlags & kInterferenceKin) != 0;
  evaluate.bWithNoise = options.bNoise;
  evaluate.eAlconsForm =
      options.eForm == AlconsFormOption::kSti ? SL_EAlcons_STI : SL_EAlcons_Peutz;
  evaluate.dSchroederT1 = options.dFitUpper;
  evaluate.dSchroederT2 = options.dFitLower;
  evaluate.bMasking = options.bMasking;
  return evaluate;
}

int RunEvalRows(const EvalRowsOptions& options) {
  const RowSchema schema(options.eBands);
  const EvaluateOptions evaluate = EvaluateOptionsOf(options.eval);
  FileList names(options.saFiles, std::cin);
  RowWriter writer(std::cout, schema, options.eFormat, options.bHeader);
  BatchProgress progress(names.Count());
  int64_t nFailed = 0;
  RunOrderedBatch(
      names, JobsOf(options.nJobs),
      {[&](const std::string& sFile) { return EvaluateReceiverRow(sFile, schema, evaluate); },
       [&](const ReceiverRow& row) {
         progress.BeforeRow(row);
         writer.Write(row);
         ReportRow(row);
         if (row.eStatus != RowStatus::kOk) ++nFailed;
         progress.AfterRow();
       },
       [&] { return progress.IsCancelled(); }});
  progress.Done();
  writer.End();
  return BatchStatus(progress, nFailed, "evaluate");
}

int RunMap(const MapOptions& options) {
  std::string sProblem;
  const auto mapColumn = MapColumnOf(options.sParam, options.iBand, sProblem);
  if (!mapColumn) {
    std::cerr << "zyra-rsp: " << sProblem << '\n';
    return kExitUsage;
  }
  const RowSchema schema(mapColumn->eBands);
  const RowColumn& column = *schema.Find(mapColumn->sColumn);
  const auto iValue = static_cast<std::size_t>(column.iValue);
  EvaluateOptions evaluate;
  FileList names(options.saFiles, std::cin);
  BatchProgress progress(names.Count());
  SeatMapData data;
  data.iDecimals = column.iDecimals;
  std::optional<std::string> sFirstGood;
  int64_t nLeftOut = 0;
  RunOrderedBatch(
      names, JobsOf(options.nJobs),
      {[&](const std::string& sFile) { return EvaluateReceiverRow(sFile, schema, evaluate); },
       [&](ReceiverRow row) {
         const bool bOk = row.eStatus == RowStatus::kOk;
         const bool bPlaced = bOk && std::isfinite(row.values[0]) && std::isfinite(row.values[1]);
         if (bPlaced && std::isfinite(row.values[iValue])) {
           data.points.push_back({row.values[0], row.values[1], row.values[iValue]});
           if (!sFirstGood) sFirstGood = row.sFile;
         } else {
           ++nLeftOut;
           if (bOk) row.sMessage = bPlaced ? "has no value of " + column.sName : "has no position";
           progress.Done();
           PrintErrorLine(row.sFile, "left out of the map: " + row.sMessage);
         }
         progress.AfterRow();
       },
       [&] { return progress.IsCancelled(); }});
  progress.Done();
  if (progress.IsCancelled()) return BatchStatus(progress, nLeftOut, "map");
  if (data.points.empty()) {
    PrintErrorLine(options.sOut, "not written: no receiver has a value of " + column.sName);
    return kExitFailure;
  }
  SetTitles(data, *mapColumn, column, options.iBand);
  data.sSubtitle = std::to_string(data.points.size()) + " receivers" +
                   (nLeftOut > 0 ? ", " + std::to_string(nLeftOut) + " files left out" : "");
  data.speakers = SpeakersOf(*sFirstGood);
  if (!WriteSeatMap(options.sOut, std::move(data))) return kExitFailure;
  return nLeftOut > 0 ? kExitFailure : kExitSuccess;
}

int RunSeatGrid(const SeatGridOptions& options) {
  TerminalProgress progress;
  return WriteSeatGrid(options, progress) ? kExitSuccess : FailureStatus(progress);
}

std::optional<std::vector<std::string>> WriteSeatGrid(const SeatGridOptions& options,
                                                      TerminalProgress& progress) {
  std::string sProblem;
  const HallModel hall = DemoHall();
  const auto seats = SeatGrid(hall, options.nRows, options.nSeats,
                              options.area.value_or(kDefaultSeatingArea), sProblem);
  if (!seats) {
    PrintErrorLine(options.sOutDir, sProblem);
    return std::nullopt;
  }
  std::error_code error;
  std::filesystem::create_directories(options.sOutDir, error);
  if (error) {
    PrintErrorLine(options.sOutDir, "cannot create the folder: " + error.message());
    return std::nullopt;
  }
  const int32_t nPulses = options.nPulses > 0 ? options.nPulses : HallDefaultPulses();
  std::vector<std::string> files;
  for (const Seat& seat : *seats) {
    const std::string sFile = (std::filesystem::path(options.sOutDir) / seat.sFileName).string();
    const double fraction = static_cast<double>(files.size()) / static_cast<double>(seats->size());
    if (!progress.ReportProgress("Seats", fraction, "", kBusyInterval)) {
      progress.Done();
      std::cerr << "zyra-rsp: cancelled after " << files.size() << " seats\n";
      return std::nullopt;
    }
    try {
      HallModel at = hall;
      at.receiver = seat.site;
      CProbeRspClass file;
      BuildHallResponse(file, at, seat.sLabel, nPulses);
      std::string sMessage;
      if (!WriteFileAtomically(sFile, ReproducibleImage(file), sMessage)) {
        progress.Done();
        PrintErrorLine(sFile, sMessage);
        return std::nullopt;
      }
    } catch (const RuntimeError& e) {
      progress.Done();
      PrintErrorLine(sFile, "cannot be synthesised: error " + std::to_string(e.Number()) + ": " +
                                e.Description());
      return std::nullopt;
    }
    files.push_back(sFile);
  }
  progress.Done();
  return files;
}

int DemoSeatingArea(const std::string& sDir) {
  SeatGridOptions grid;
  grid.nRows = kDemoRows;
  grid.nSeats = kDemoSeats;
  grid.sOutDir = sDir + "demo-seats";
  TerminalProgress progress;
  const auto files = WriteSeatGrid(grid, progress);
  if (!files) return FailureStatus(progress);

  // Every seat evaluated on every core, the rows kept: a few dozen.
  const RowSchema schema(RowBands::kNone);
  FileList names(*files, std::cin);
  std::vector<ReceiverRow> rows;
  RunOrderedBatch(names, DefaultJobCount(),
                  {[&](const std::string& sFile) { return EvaluateReceiverRow(sFile, schema, {}); },
                   [&](ReceiverRow row) { rows.push_back(std::move(row)); }, nullptr});
  std::ostringstream csv;
  RowWriter writer(csv, schema, RowFormat::kCsv);
  for (const ReceiverRow& row : rows) {
    writer.Write(row);
    ReportRow(row);
    if (row.eStatus != RowStatus::kOk) return kExitFailure;
  }
  writer.End();
  const std::string sRows = sDir + "demo-seats.csv";
  const std::string text = csv.str();
  std::string sMessage;
  if (!WriteFileAtomically(
          sRows, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), sMessage)) {
    PrintErrorLine(sRows, sMessage);
    return kExitFailure;
  }

  const std::vector<SeatMapSpeaker> speakers = SpeakersOf(files->front());
  struct Shown {
    const char* sParam;
    std::string sFile;
    double dLow, dHigh;
  };
  std::vector<Shown> shown = {{"C80", sDir + "demo-seats-c80.svg", 0, 0},
                              {"STI", sDir + "demo-seats-sti.svg", 0, 0}};
  for (Shown& map : shown) {
    std::string sProblem;
    const MapColumn column = *MapColumnOf(map.sParam, std::nullopt, sProblem);
    const RowColumn& rowColumn = *schema.Find(column.sColumn);
    SeatMapData data;
    data.iDecimals = rowColumn.iDecimals;
    SetTitles(data, column, rowColumn, std::nullopt);
    data.sSubtitle = "Demo hall, " + std::to_string(rows.size()) + " seats";
    data.speakers = speakers;
    for (const ReceiverRow& row : rows) {
      const double value = row.values[static_cast<std::size_t>(rowColumn.iValue)];
      if (std::isfinite(value)) data.points.push_back({row.values[0], row.values[1], value});
    }
    const auto [low, high] = std::ranges::minmax(data.points, {}, &SeatMapPoint::value);
    map.dLow = low.value;
    map.dHigh = high.value;
    if (!WriteSeatMap(map.sFile, std::move(data))) return kExitFailure;
  }
  char range[160];
  std::snprintf(range, sizeof range, "  C80 from %.1f to %.1f dB, STI from %.2f to %.2f\n",
                shown[0].dLow, shown[0].dHigh, shown[1].dLow, shown[1].dHigh);
  std::cout << "\nSeating area: " << rows.size() << " seats (" << kDemoRows << " rows of "
            << kDemoSeats << ") in " << grid.sOutDir << "/\n"
            << range << "Rows:          " << sRows << "\n"
            << "Maps:          " << shown[0].sFile << ", " << shown[1].sFile << "\n";
  return kExitSuccess;
}

}  // namespace zyra::tool
