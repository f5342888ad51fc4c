#include "tools/command_line.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>
#include <sstream>
#include <tuple>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/picture.h"
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
};

struct Subcommands {
  CLI::App* info;
  CLI::App* dump;
  CLI::App* eval;
  CLI::App* convert;
  CLI::App* demo;
  CLI::App* plot;
  CLI::App* synth;
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

  sub.eval = app.add_subcommand("eval", "evaluate the prepared response: per-band results");
  sub.eval->add_option("FILE", s.eval.sFile, "response file")->required();
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
      ->check(CLI::Range(1, 21))
      ->capture_default_str();
  sub.plot->add_flag("--decay", s.plot.bDecay, "the Schroeder decay curves with their T30 fits");

  sub.synth = app.add_subcommand("synth", "a reproducible synthetic response of a given size");
  sub.synth->add_option("--pulses", s.synth.nPulses, "number of pulses, 10 ... 10,000,000")
      ->required()
      ->check(CLI::Range(kMinPulses, kMaxPulses));
  sub.synth->add_option("--speakers", s.synth.nSpeakers, "number of loudspeakers, 1 ... 32767")
      ->required()
      ->check(CLI::Range(1, kMaxSpeakers));
  // The check keeps "-1" from wrapping round to the largest seed.
  sub.synth->add_option("--seed", s.synth.lSeed, "seed of the random numbers")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  sub.synth->add_option("-o,--output", s.synth.sOut, "response file to write")->required();
  return sub;
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
    return s.eval;
  }
  if (sub.convert->parsed()) return s.convert;
  if (sub.demo->parsed()) return s.demo;
  if (sub.plot->parsed()) {
    s.plot.bOneBand = sub.plot->get_option("--band")->count() > 0;
    return s.plot;
  }
  if (s.synth.nSpeakers > s.synth.nPulses) {
    // Every loudspeaker has its direct sound among the pulses.
    throw CLI::ValidationError("--speakers", "must not exceed --pulses");
  }
  return s.synth;
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
    const int status = app.exit(error, out, err);
    return {std::nullopt, status == 0 ? kExitSuccess : kExitUsage};
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
  };
  return std::visit(Runner{}, command);
}

int ToolMain(int argc, const char* const argv[]) {
  const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
  const ParsedCommandLine parsed = ParseCommandLine(args, std::cout, std::cerr);
  if (!parsed.command) return parsed.exitStatus;
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
