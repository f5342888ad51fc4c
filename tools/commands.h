// The commands of zyra-rsp, their options, and the file helpers they share.
#ifndef ZYRA_TOOLS_COMMANDS_H_
#define ZYRA_TOOLS_COMMANDS_H_

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>

namespace zyra::tool {

// Exit status of the tool.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  // not a usable response file, or a step failed
inline constexpr int kExitUsage = 2;    // wrong command line

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
  bool bNoise = false;
  AlconsFormOption eForm = AlconsFormOption::kPeutz;
  bool bJson = false;
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
  std::string sOut;
  int32_t iBand = kDefaultPlotBand;  // 1 ... 21
};

struct SynthOptions {
  int32_t nPulses = 0;    // 10 ... 10,000,000
  int32_t nSpeakers = 0;  // 1 ... 32767, at most nPulses
  uint64_t lSeed = 1;
  std::string sOut;
};

// The commands; each returns the exit status.
int RunInfo(const InfoOptions& options);
int RunDump(const DumpOptions& options);
int RunEval(const EvalOptions& options);
int RunConvert(const ConvertOptions& options);
int RunDemo(const DemoOptions& options);
int RunPlot(const PlotOptions& options);
int RunSynth(const SynthOptions& options);

// A file name as the reader takes it: sPath is the folder part with its trailing "/" (empty
// for a bare name), sFile the rest, so that sPath + sFile is the name given.
struct SplitPath {
  std::string sPath;
  std::string sFile;
};
SplitPath SplitFilePath(const std::string& sFilePath);

// Writes `bytes` to `sTarget` so that the target is either the old file or the complete new
// one, never something in between: the bytes go to a fresh temporary file beside the target,
// which is flushed to disk, closed and renamed over the target. On any failure the temporary is
// removed, the target is left as it was, `sErrorMessage` says what failed and the result is
// false. A new file gets the usual permissions; a replaced one keeps its own.
bool WriteFileAtomically(const std::string& sTarget, std::span<const uint8_t> bytes,
                         std::string& sErrorMessage);
// The same with the content written by `write` to the temporary file, given as an open
// descriptor and by name, so that a large file need not be held in memory first. `write`
// answers false, having set the message, when it could not write; the temporary is then
// removed as on any other failure.
using TemporaryWriter =
    std::function<bool(int fd, const std::string& sTemporary, std::string& sErrorMessage)>;
bool WriteFileAtomically(const std::string& sTarget, const TemporaryWriter& write,
                         std::string& sErrorMessage);

// One error line "zyra-rsp: FILE: message" (line breaks in the message become blanks).
void PrintErrorLine(std::ostream& err, const std::string& sFile, const std::string& sMessage);
void PrintErrorLine(const std::string& sFile, const std::string& sMessage);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_COMMANDS_H_
