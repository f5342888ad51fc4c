#include "tools/command_line.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>
#include <sstream>
#include <tuple>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/band_choice.h"
#include "tools/file_list.h"
#include "tools/picture.h"
#include "tools/receiver_columns.h"
#include "tools/seat_grid.h"
#include "zyra/support/errors.h"

namespace zyra::tool {
namespace {

constexpr int32_t kMinPulses = 10;
constexpr int32_t kMaxPulses = 10'000'000;
constexpr int32_t kMaxSpeakers = 32767;  // a pulse names its loudspeaker in 16 bits

// `--interference pot,kin`: a comma-separated list of energy kinds.
std::optional<int32_t> InterferenceFlags(const std::string& sList) {
  int32_t flags = 0;
  std::stringstream items(sList);
  std::string item;
  while (std::getline(items, item, ',')) {
    if (item == "pot") {
      flags |= kInterferencePot;
    } else if (item == "kin") {
      flags |= kInterferenceKin;
    } else {
      return std::nullopt;
    }
  }
  if (flags == 0 || sList.back() == ',') return std::nullopt;
  return flags;
}

const CLI::Validator kInterferenceList(
    [](const std::string& value) -> std::string {
      return InterferenceFlags(value) ? "" : "expected pot, kin or pot,kin, not '" + value + "'";
    },
    "pot,kin", "InterferenceList");

// `--fit-limits T1,T2`: two finite levels in dB with 0 >= T1 > T2.
std::optional<std::pair<double, double>> FitLimits(const std::string& sList) {
  const std::size_t comma = sList.find(',');
  if (comma == std::string::npos) return std::nullopt;
  const auto number = [](const std::string& sText) -> std::optional<double> {
    std::size_t used = 0;
    double value = 0.0;
    try {
      value = std::stod(sText, &used);
    } catch (const std::exception&) {
      return std::nullopt;
    }
    if (used != sText.size() || !std::isfinite(value)) return std::nullopt;
    return value;
  };
  const auto upper = number(sList.substr(0, comma));
  const auto lower = number(sList.substr(comma + 1));
  if (!upper || !lower || !(*upper <= 0.0 && *upper > *lower)) return std::nullopt;
  return std::pair{*upper, *lower};
}

const CLI::Validator kFitLimits(
    [](const std::string& value) -> std::string {
      return FitLimits(value) ? ""
                              : "expected two levels in dB with 0 >= T1 > T2, such as -5,-35, "
                                "not '" +
                                    value + "'";
    },
    "T1,T2", "FitLimits");

// A band by number or centre frequency (`--band 11`, `--band 1000`), handed on as its number.
const CLI::Validator kBandChoice(
    [](std::string& value) -> std::string {
      std::string problem;
      const auto band = ParseBand(value, problem);
      if (!band) return problem;
      value = std::to_string(*band);
      return "";
    },
    "1...21|HZ", "BandChoice");

// `N,M,...`: exactly `count` finite numbers separated by commas.
std::optional<std::vector<double>> NumberList(const std::string& sList, std::size_t count) {
  std::vector<double> numbers;
  std::stringstream items(sList);
  std::string item;
  while (std::getline(items, item, ',')) {
    std::size_t used = 0;
    try {
      numbers.push_back(std::stod(item, &used));
    } catch (const std::exception&) {
      return std::nullopt;
    }
    if (used != item.size() || !std::isfinite(numbers.back())) return std::nullopt;
  }
  if (numbers.size() != count || sList.back() == ',') return std::nullopt;
  return numbers;
}

// A seating area's grid of rows and seats per row; a million receivers at most.
constexpr int32_t kMaxGridSide = 1000;
constexpr int64_t kMaxGridSeats = 1'000'000;
std::optional<std::pair<int32_t, int32_t>> GridOf(const std::string& sList) {
  const auto n = NumberList(sList, 2);
  if (!n) return std::nullopt;
  const double rows = (*n)[0];
  const double seats = (*n)[1];
  const auto whole = [](double v) { return v == std::floor(v) && v >= 1 && v <= kMaxGridSide; };
  if (!whole(rows) || !whole(seats) || rows * seats > kMaxGridSeats) return std::nullopt;
  return std::pair{static_cast<int32_t>(rows), static_cast<int32_t>(seats)};
}

const CLI::Validator kGrid(
    [](const std::string& value) -> std::string {
      return GridOf(value) ? ""
                           : "expected rows,seats as two whole numbers 1 ... 1000, such as 12,20, "
                             "not '" +
                                 value + "'";
    },
    "NX,NY", "Grid");

const CLI::Validator kArea(
    [](const std::string& value) -> std::string {
      const auto n = NumberList(value, 4);
      if (!n) return "expected x0,y0,x1,y1 in m, not '" + value + "'";
      std::string problem;
      if (!SeatGrid(DemoHall(), 1, 1, {(*n)[0], (*n)[1], (*n)[2], (*n)[3]}, problem)) {
        return problem;
      }
      return "";
    },
    "X0,Y0,X1,Y1", "Area");

// `plot -o`: the extension chooses the picture format.
const CLI::Validator kPictureFile(
    [](const std::string& value) -> std::string {
      if (PictureFormatOf(value)) return "";
      const std::string extension = ExtensionOf(value);
      return (extension.empty() ? "'" + value + "' has no extension"
                                : "unknown picture format '" + extension + "'") +
             ": use .svg, .png or .pdf";
    },
    "FILE.svg|.png|.pdf", "PictureFile");

// Every option of every command, filled by the parser; only the chosen command's part is used.
struct Settings {
  InfoOptions info;
  DumpOptions dump;
  EvalOptions eval;
  std::string sInterference;
  std::string sForm = "peutz";
  std::string sFitLimits;
  bool bNoMasking = false;
  ConvertOptions convert;
  DemoOptions demo;
  PlotOptions plot;
  SynthOptions synth;
  // eval over many files
  std::vector<std::string> saEvalFiles;
  int32_t nJobs = 0;
  std::string sFormat;
  std::string sBands;
  bool bNoHeader = false;
  MapOptions map;
  int32_t iMapBand = kDefaultPlotBand;
  std::string sGrid;
  std::string sArea;
};

struct Subcommands {
  CLI::App* info;
  CLI::App* dump;
  CLI::App* eval;
  CLI::App* convert;
  CLI::App* demo;
  CLI::App* plot;
  CLI::App* synth;
  CLI::App* map;
};

Subcommands Describe(CLI::App& app, Settings& s) {
  app.set_version_flag("--version", AppVersionString());
  app.require_subcommand(1);
  Subcommands sub{};

  sub.info = app.add_subcommand("info", "a short summary: header, blocks, counts, probe, times");
  sub.info->add_option("FILE", s.info.sFile, "response file")->required();

  sub.dump = app.add_subcommand("dump", "the whole model as JSON on standard output");
  sub.dump->add_option("FILE", s.dump.sFile, "response file")->required();
  sub.dump->add_flag("--raw", s.dump.bRaw, "skip the preparation after reading");
  sub.dump->add_flag("--log", s.dump.bLog, "print the read log to standard error");

  sub.eval = app.add_subcommand(
      "eval",
      "evaluate prepared responses: one file's per-band results, or one row per file for many");
  sub.eval
      ->add_option("FILE", s.saEvalFiles,
                   "response files; - reads their names from standard input, one per line")
      ->required();
  sub.eval->add_flag("--direct-only", s.eval.bDirectOnly, "evaluate the direct sound only");
  sub.eval
      ->add_option("--interference", s.sInterference, "coherent early energy: pot, kin or pot,kin")
      ->check(kInterferenceList);
  sub.eval->add_flag("--noise", s.eval.bNoise,
                     "include the background noise in Alcons and in the modulation transfer");
  sub.eval->add_option("--form", s.sForm, "Alcons formula: peutz (default) or sti")
      ->check(CLI::IsMember({"peutz", "sti"}));
  sub.eval->add_flag("--json", s.eval.bJson, "write JSON instead of the table");
  sub.eval
      ->add_option("--fit-limits", s.sFitLimits,
                   "fit range of SchrRTime in dB, upper,lower (default -5,-35)")
      ->check(kFitLimits);
  sub.eval->add_flag("--no-masking", s.bNoMasking,
                     "no auditory masking or reception threshold in the modulation transfer");
  sub.eval
      ->add_option("--format", s.sFormat,
                   "one row per file as table, json, jsonl or csv (several files: table)")
      ->check(CLI::IsMember({"table", "json", "jsonl", "csv"}));
  sub.eval->add_option("--bands", s.sBands, "per-band columns in the rows: octave or third")
      ->check(CLI::IsMember({"octave", "third"}));
  sub.eval->add_option("-j,--jobs", s.nJobs, "files evaluated at once (default: every core)")
      ->check(CLI::Range(1, 1024));
  sub.eval->add_flag("--no-header", s.bNoHeader,
                     "rows without the header line of table and CSV (shards joined later)");

  sub.convert = app.add_subcommand("convert", "read, prepare and save a response file");
  sub.convert->add_option("IN", s.convert.sIn, "response file to read")->required();
  sub.convert->add_option("OUT", s.convert.sOut, "response file to write")->required();

  sub.demo = app.add_subcommand("demo", "synthesise, save, evaluate and report a hall response");
  sub.demo->add_option("--out", s.demo.sOutDir, "folder for the demo's files")
      ->capture_default_str();

  sub.plot = app.add_subcommand(
      "plot", "the energy-time curve of one band, or the decay curves, as a picture");
  sub.plot->add_option("FILE", s.plot.sFile, "response file")->required();
  sub.plot->add_option("-o,--output", s.plot.sOut, "picture to write: .svg, .png or .pdf")
      ->required()
      ->check(kPictureFile);
  sub.plot
      ->add_option("--band", s.plot.iBand,
                   "third-octave band 1 ... 21 (11 = 1 kHz); with --decay, that band alone "
                   "instead of every octave")
      ->transform(kBandChoice)
      ->capture_default_str();
  sub.plot->add_flag("--decay", s.plot.bDecay, "the Schroeder decay curves with their T30 fits");

  sub.synth = app.add_subcommand(
      "synth", "a reproducible synthetic response of a given size, or a seating area (--grid)");
  sub.synth
      ->add_option("--pulses", s.synth.nPulses,
                   "number of pulses, 10 ... 10,000,000; with --grid per seat, at least 7 "
                   "(default: every mirror image up to order 3)")
      ->check(CLI::Range(1, kMaxPulses));
  sub.synth->add_option("--speakers", s.synth.nSpeakers, "number of loudspeakers, 1 ... 32767")
      ->check(CLI::Range(1, kMaxSpeakers));
  sub.synth
      ->add_option("--grid", s.sGrid,
                   "a seating area of the demo hall: rows,seats responses into the folder -o")
      ->check(kGrid);
  sub.synth
      ->add_option("--area", s.sArea,
                   "with --grid: the seats' extent x0,y0,x1,y1 in m (default 10,3,36,22)")
      ->check(kArea);
  // The check keeps "-1" from wrapping round to the largest seed.
  sub.synth->add_option("--seed", s.synth.lSeed, "seed of the random numbers")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  sub.synth->add_option("-o,--output", s.synth.sOut, "response file to write (with --grid: folder)")
      ->required();

  sub.map =
      app.add_subcommand("map", "receivers in plan view coloured by one parameter, as a picture");
  sub.map
      ->add_option("FILE", s.map.saFiles,
                   "response files; - reads their names from standard input, one per line")
      ->required();
  sub.map
      ->add_option("--param", s.map.sParam,
                   "a parameter (C80, STI, T30, G, ...) or a column name of eval's rows")
      ->required();
  sub.map
      ->add_option("--band", s.iMapBand,
                   "the parameter's value in this band (number 1 ... 21 or centre frequency in "
                   "Hz): octave value at an octave's centre, else third-octave")
      ->transform(kBandChoice);
  sub.map->add_option("-o,--output", s.map.sOut, "picture to write: .svg, .png or .pdf")
      ->required()
      ->check(kPictureFile);
  sub.map->add_option("-j,--jobs", s.map.nJobs, "files evaluated at once (default: every core)")
      ->check(CLI::Range(1, 1024));
  return sub;
}

// `eval` of one file keeps the single-file forms; --format, several files, a list on standard
// input or per-band columns give rows.
Command EvalCommand(Settings& s) {
  const bool bList =
      std::ranges::find(s.saEvalFiles, std::string(kNamesOnInput)) != s.saEvalFiles.end();
  const bool bRows = !s.sFormat.empty() || s.saEvalFiles.size() > 1 || bList || !s.sBands.empty();
  if (!bRows) {
    if (s.bNoHeader) {
      throw CLI::ValidationError("--no-header",
                                 "applies to the rows of --format or of several files");
    }
    s.eval.sFile = s.saEvalFiles.front();
    return s.eval;
  }
  if (s.eval.bJson) {
    throw CLI::ValidationError("--json", "is the form of one file; rows take --format json");
  }
  EvalRowsOptions rows;
  rows.eval = s.eval;
  rows.saFiles = s.saEvalFiles;
  rows.nJobs = s.nJobs;
  rows.bHeader = !s.bNoHeader;
  if (s.sFormat == "json") rows.eFormat = RowFormat::kJson;
  if (s.sFormat == "jsonl") rows.eFormat = RowFormat::kJsonLines;
  if (s.sFormat == "csv") rows.eFormat = RowFormat::kCsv;
  if (s.sBands == "octave") rows.eBands = RowBands::kOctave;
  if (s.sBands == "third") rows.eBands = RowBands::kThird;
  return rows;
}

// `synth --grid`: the seating area; the synthesiser's own choices do not apply.
Command SeatGridCommand(const Subcommands& sub, Settings& s) {
  for (const char* name : {"--speakers", "--seed"}) {
    if (sub.synth->get_option(name)->count() > 0) {
      throw CLI::ValidationError(name,
                                 "not with --grid: the seats hear the demo hall's "
                                 "loudspeakers");
    }
  }
  SeatGridOptions grid;
  std::tie(grid.nRows, grid.nSeats) = *GridOf(s.sGrid);
  if (sub.synth->get_option("--pulses")->count() > 0) {
    if (s.synth.nPulses < HallLoudspeakerCount()) {
      throw CLI::ValidationError("--pulses", "with --grid at least " +
                                                 std::to_string(HallLoudspeakerCount()) +
                                                 ", one direct sound per loudspeaker");
    }
    grid.nPulses = s.synth.nPulses;
  }
  if (!s.sArea.empty()) {
    const auto n = *NumberList(s.sArea, 4);
    grid.area = {n[0], n[1], n[2], n[3]};
  }
  grid.sOutDir = s.synth.sOut;
  return grid;
}

Command Chosen(const Subcommands& sub, Settings& s) {
  if (sub.info->parsed()) return s.info;
  if (sub.dump->parsed()) return s.dump;
  if (sub.eval->parsed()) {
    if (!s.sInterference.empty()) s.eval.lInterfFlags = *InterferenceFlags(s.sInterference);
    s.eval.eForm = s.sForm == "sti" ? AlconsFormOption::kSti : AlconsFormOption::kPeutz;
    if (!s.sFitLimits.empty()) {
      std::tie(s.eval.dFitUpper, s.eval.dFitLower) = *FitLimits(s.sFitLimits);
    }
    s.eval.bMasking = !s.bNoMasking;
    return EvalCommand(s);
  }
  if (sub.map->parsed()) {
    if (sub.map->get_option("--band")->count() > 0) s.map.iBand = s.iMapBand;
    std::string problem;
    if (!MapColumnOf(s.map.sParam, s.map.iBand, problem)) {
      throw CLI::ValidationError("--param", problem);
    }
    return s.map;
  }
  if (sub.convert->parsed()) return s.convert;
  if (sub.demo->parsed()) return s.demo;
  if (sub.plot->parsed()) {
    s.plot.bOneBand = sub.plot->get_option("--band")->count() > 0;
    return s.plot;
  }
  if (!s.sGrid.empty()) return SeatGridCommand(sub, s);
  for (const char* name : {"--pulses", "--speakers"}) {
    if (sub.synth->get_option(name)->count() == 0) throw CLI::RequiredError(name);
  }
  if (!s.sArea.empty()) throw CLI::ValidationError("--area", "applies to --grid only");
  if (s.synth.nPulses < kMinPulses) {
    throw CLI::ValidationError("--pulses", "must be 10 ... 10,000,000");
  }
  if (s.synth.nSpeakers > s.synth.nPulses) {
    // Every loudspeaker has its direct sound among the pulses.
    throw CLI::ValidationError("--speakers", "must not exceed --pulses");
  }
  return s.synth;
}

// The one line of a wrong command line: what is wrong, prefixed with the program's name as its
// other error lines are, and where to look for help.
std::string UsageLine(const CLI::App& app, const std::vector<std::string>& args,
                      const CLI::ParseError& error) {
  std::string sCommands;
  bool bKnown = false;
  const auto command = std::find_if(args.begin(), args.end(),
                                    [](const std::string& a) { return !a.starts_with("-"); });
  for (const CLI::App* sub : app.get_subcommands({})) {
    sCommands += (sCommands.empty() ? "" : ", ") + sub->get_name();
    bKnown |= command != args.end() && sub->get_name() == *command;
  }
  std::string line;
  if (command == args.end()) {
    line = "no command given; the commands are " + sCommands;
  } else if (!bKnown) {
    line = "unknown command '" + *command + "'; the commands are " + sCommands;
  } else {
    line = *command + ": " + error.what() + " (see zyra-rsp " + *command + " --help)";
  }
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return "zyra-rsp: " + line;
}

}  // namespace

ParsedCommandLine ParseCommandLine(const std::vector<std::string>& args, std::ostream& out,
                                   std::ostream& err) {
  CLI::App app{"zyra-rsp: inspect, convert and evaluate room-acoustic response files", "zyra-rsp"};
  Settings settings;
  const Subcommands sub = Describe(app, settings);
  std::vector<const char*> argv{"zyra-rsp"};
  for (const std::string& arg : args) argv.push_back(arg.c_str());
  try {
    app.parse(static_cast<int>(argv.size()), argv.data());
    return {Chosen(sub, settings), kExitSuccess};
  } catch (const CLI::ParseError& error) {
    // --help and --version end the parse with status 0 and print their text.
    if (error.get_exit_code() == 0) {
      app.exit(error, out, err);
      return {std::nullopt, kExitSuccess};
    }
    err << UsageLine(app, args, error) << '\n';
    return {std::nullopt, kExitUsage};
  }
}

int RunCommand(const Command& command) {
  struct Runner {
    int operator()(const InfoOptions& o) const { return RunInfo(o); }
    int operator()(const DumpOptions& o) const { return RunDump(o); }
    int operator()(const EvalOptions& o) const { return RunEval(o); }
    int operator()(const ConvertOptions& o) const { return RunConvert(o); }
    int operator()(const DemoOptions& o) const { return RunDemo(o); }
    int operator()(const PlotOptions& o) const { return RunPlot(o); }
    int operator()(const SynthOptions& o) const { return RunSynth(o); }
    int operator()(const EvalRowsOptions& o) const { return RunEvalRows(o); }
    int operator()(const MapOptions& o) const { return RunMap(o); }
    int operator()(const SeatGridOptions& o) const { return RunSeatGrid(o); }
  };
  return std::visit(Runner{}, command);
}

int ToolMain(int argc, const char* const argv[]) {
  const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
  const ParsedCommandLine parsed = ParseCommandLine(args, std::cout, std::cerr);
  if (!parsed.command) return parsed.exitStatus;
  IgnoreFileSizeSignal();
  // The commands report their own failures with the file's name; what escapes them is a fault
  // of the tool itself, still reported on one line.
  try {
    return RunCommand(*parsed.command);
  } catch (const RuntimeError& error) {
    std::cerr << "zyra-rsp: error " << error.Number() << ": " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "zyra-rsp: " << error.what() << '\n';
  }
  return kExitFailure;
}

}  // namespace zyra::tool
