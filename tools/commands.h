// The commands of zyra-rsp, their options, and the file helpers they share.
#ifndef ZYRA_TOOLS_COMMANDS_H_
#define ZYRA_TOOLS_COMMANDS_H_

#include <array>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/picture.h"
#include "tools/row_kinds.h"

namespace zyra::tool {

// Exit status of the tool.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;        // not a usable response file, or a step failed
inline constexpr int kExitUsage = 2;          // wrong command line
inline constexpr int kExitInterrupted = 130;  // Ctrl-C: 128 + SIGINT, as shells report it

class TerminalProgress;
// The exit status of a command that failed: 130 when Ctrl-C stopped it, 1 otherwise.
int FailureStatus(const TerminalProgress& progress);

// "zyra-rsp " and the version: the application text written into saved files.
std::string AppVersionString();

// The Alcons formula of `eval --form`.
enum class AlconsFormOption { kPeutz, kSti };

// Interference flags of `eval --interference`: potential and kinetic energy summation.
inline constexpr int32_t kInterferencePot = 2;
inline constexpr int32_t kInterferenceKin = 4;

struct InfoOptions {
  std::string sFile;
};

struct DumpOptions {
  std::string sFile;
  bool bRaw = false;  // no preparation after reading
  bool bLog = false;  // the read log on standard error
};

struct EvalOptions {
  std::string sFile;
  bool bDirectOnly = false;
  int32_t lInterfFlags = 0;  // 0, or kInterferencePot and/or kInterferenceKin
  bool bNoise = false;       // the tail block's noise in Alcons and in the modulation transfer
  AlconsFormOption eForm = AlconsFormOption::kPeutz;
  bool bJson = false;
  // The fit range of SchrRTime in dB, 0 >= dFitUpper > dFitLower.
  double dFitUpper = -5.0;
  double dFitLower = -35.0;
  bool bMasking = true;  // auditory masking and reception threshold in the modulation transfer
};

struct ConvertOptions {
  std::string sIn;
  std::string sOut;
};

struct DemoOptions {
  std::string sOutDir = ".";
};

// The reference band (1 kHz) unless told otherwise.
inline constexpr int32_t kDefaultPlotBand = 11;

struct PlotOptions {
  std::string sFile;
  std::string sOut;                  // .svg, .png or .pdf
  int32_t iBand = kDefaultPlotBand;  // 1 ... 21
  bool bDecay = false;               // the Schroeder decay curves instead of the reflectogram
  bool bOneBand = false;  // the decay of iBand alone rather than of every octave (--band given)
};

struct SynthOptions {
  int32_t nPulses = 0;    // 10 ... 10,000,000
  int32_t nSpeakers = 0;  // 1 ... 32767, at most nPulses
  uint64_t lSeed = 1;
  std::string sOut;
};

// `eval` over any number of files, or with --format: one row per file, in input order.
struct EvalRowsOptions {
  EvalOptions eval;                  // the evaluation's settings; its sFile is not used
  std::vector<std::string> saFiles;  // "-" stands for the names on standard input
  int32_t nJobs = 0;                 // files evaluated at once; 0: every core
  RowFormat eFormat = RowFormat::kTable;
  RowBands eBands = RowBands::kNone;
  bool bHeader = true;  // the header line of the table and CSV
};

// `map`: the receivers in plan view, coloured by one column of their rows.
struct MapOptions {
  std::vector<std::string> saFiles;  // "-" stands for the names on standard input
  std::string sParam;                // a parameter ("C80") or a column name ("C80_1000Hz_dB")
  std::optional<int32_t> iBand;      // third-octave band 1 ... 21
  std::string sOut;                  // .svg, .png or .pdf
  int32_t nJobs = 0;
};

// `synth --grid`: a seating area of the demo hall, one response file per seat.
struct SeatGridOptions {
  int32_t nRows = 0;                          // along x, away from the stage
  int32_t nSeats = 0;                         // along y, across the hall
  int32_t nPulses = 0;                        // per seat; 0: every mirror image up to order 3
  std::optional<std::array<double, 4>> area;  // x0, y0, x1, y1 in m; none: the hall's stalls
  std::string sOutDir;
};

// The commands; each returns the exit status.
int RunInfo(const InfoOptions& options);
int RunDump(const DumpOptions& options);
int RunEval(const EvalOptions& options);
int RunConvert(const ConvertOptions& options);
int RunDemo(const DemoOptions& options);
int RunPlot(const PlotOptions& options);
int RunSynth(const SynthOptions& options);
int RunEvalRows(const EvalRowsOptions& options);
int RunMap(const MapOptions& options);
int RunSeatGrid(const SeatGridOptions& options);

// Writes `bytes` to `sTarget` so that the target is either the old file or the complete new
// one, never something in between: the bytes go to a fresh temporary file beside the target,
// which is flushed to disk, closed and renamed over the target. On any failure (a full disk,
// the file-size limit) the temporary is removed, the target is left as it was, `sErrorMessage`
// says what failed and the result is false. `proceed` is told the share written before each
// piece of the write and before the rename; when it answers false (Ctrl-C) the write stops the
// same way. A new file gets the usual permissions; a replaced one keeps its own.
bool WriteFileAtomically(const std::string& sTarget, std::span<const uint8_t> bytes,
                         std::string& sErrorMessage,
                         const std::function<bool(double dFraction)>& proceed = nullptr);
// The same with the content written by `write` to the temporary file, given as an open
// descriptor and by name, so that a large file need not be held in memory first. `write`
// answers false when it could not write, having set the message or left errno to say why
// (errno 0: it was stopped); the temporary is then removed as on any other failure.
using TemporaryWriter =
    std::function<bool(int fd, const std::string& sTemporary, std::string& sErrorMessage)>;
bool WriteFileAtomically(const std::string& sTarget, const TemporaryWriter& write,
                         std::string& sErrorMessage,
                         const std::function<bool(double dFraction)>& proceed = nullptr);

// Makes a write past the file-size limit fail with an error (EFBIG) instead of ending the
// process with SIGXFSZ, so that the temporary file can be removed and the failure reported.
void IgnoreFileSizeSignal();

// Draws a picture in the format of sTarget's extension (.svg, .png, .pdf) on a page of `size`
// and writes it whole, as WriteFileAtomically does; a failure is reported by its error line.
bool WritePicture(const std::string& sTarget, PictureSize size, const DrawPicture& draw);

// One error line "zyra-rsp: FILE: message" (line breaks in the message become blanks).
void PrintErrorLine(std::ostream& err, const std::string& sFile, const std::string& sMessage);
void PrintErrorLine(const std::string& sFile, const std::string& sMessage);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_COMMANDS_H_
