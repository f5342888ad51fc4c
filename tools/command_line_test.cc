#include "tools/command_line.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

struct Outcome {
  ParsedCommandLine parsed;
  std::string out;
  std::string err;
};

Outcome Parse(const std::vector<std::string>& args) {
  std::ostringstream out;
  std::ostringstream err;
  ParsedCommandLine parsed = ParseCommandLine(args, out, err);
  return {std::move(parsed), out.str(), err.str()};
}

TEST(CommandLineTest, WrongUsageExitsWithTwo) {
  const std::vector<std::vector<std::string>> rows = {
      {},
      {"frobnicate", "a.rsp"},
      {"info", "a.rsp", "b.rsp"},
      {"dump", "a.rsp", "--pretty"},
      {"eval", "a.rsp", "--form", "PEUTZ"},
      {"eval", "a.rsp", "--interference", "pot,"},
      {"plot", "a.rsp", "-o", "etc.svg", "--band", "22"},
      {"synth", "--pulses", "9", "--speakers", "1", "-o", "s.rsp"},
      {"synth", "--pulses", "10", "--speakers", "11", "-o", "s.rsp"},
      {"eval", "a.rsp", "b.rsp", "--json"},
      {"eval", "a.rsp", "--no-header"},
      {"map", "a.rsp", "--param", "C81", "-o", "m.svg"},
      {"map", "a.rsp", "--param", "STI"},
      {"synth", "--grid", "0,3", "-o", "seats"},
      {"synth", "--grid", "3,4", "--speakers", "2", "-o", "seats"},
      {"synth", "--pulses", "100", "--speakers", "2", "--area", "1,1,2,2", "-o", "s.rsp"},
  };
  for (const auto& args : rows) {
    const Outcome outcome = Parse(args);
    const std::string line = ::testing::PrintToString(args);
    EXPECT_EQ(outcome.parsed.exitStatus, kExitUsage) << line;
    EXPECT_FALSE(outcome.parsed.command.has_value()) << line;
    // One line, named like every error line of the tool.
    EXPECT_TRUE(outcome.err.starts_with("zyra-rsp: ")) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_EQ(Parse({"frobnicate", "a.rsp"}).err,
            "zyra-rsp: unknown command 'frobnicate'; the commands are info, dump, eval, convert, "
            "demo, plot, synth, map\n");
  EXPECT_EQ(Parse({"info"}).err, "zyra-rsp: info: FILE is required (see zyra-rsp info --help)\n");
  EXPECT_EQ(Parse({"--version"}).parsed.exitStatus, kExitSuccess);
  EXPECT_EQ(Parse({"--version"}).out, AppVersionString() + "\n");
}

template <class Options>
Options Parsed(const std::vector<std::string>& args) {
  const Outcome outcome = Parse(args);
  EXPECT_EQ(outcome.parsed.exitStatus, kExitSuccess) << outcome.err;
  if (!outcome.parsed.command) return {};
  EXPECT_TRUE(std::holds_alternative<Options>(*outcome.parsed.command));
  return std::get<Options>(*outcome.parsed.command);
}

// Fit limits must lie 0 >= T1 > T2; a picture's extension must name its format; a wrong one
// is a usage error naming what was given.
TEST(CommandLineTest, FitLimitsAndPictureFormats) {
  for (const char* limits : {"-35,-5", "-5,-5", "1,-35", "-5", "a,-35", "-5,nan", "-5,-35x"}) {
    const Outcome outcome = Parse({"eval", "a.rsp", std::string("--fit-limits=") + limits});
    EXPECT_EQ(outcome.parsed.exitStatus, kExitUsage) << limits;
    EXPECT_NE(outcome.err.find("--fit-limits"), std::string::npos) << outcome.err;
  }
  const auto eval =
      Parsed<EvalOptions>({"eval", "a.rsp", "--fit-limits", "0,-20.5", "--no-masking"});
  EXPECT_EQ(std::tuple(eval.dFitUpper, eval.dFitLower, eval.bMasking),
            std::tuple(0.0, -20.5, false));
  EXPECT_TRUE(Parsed<EvalOptions>({"eval", "a.rsp"}).bMasking);
  const Outcome gif = Parse({"plot", "a.rsp", "-o", "etc.gif"});
  EXPECT_EQ(gif.parsed.exitStatus, kExitUsage);
  EXPECT_NE(gif.err.find("'.gif'"), std::string::npos) << gif.err;
  EXPECT_EQ(Parse({"plot", "a.rsp", "-o", "dir.svg/etc"}).parsed.exitStatus, kExitUsage);
  const auto octaves = Parsed<PlotOptions>({"plot", "a.rsp", "--decay", "-o", "d.PDF"});
  EXPECT_TRUE(octaves.bDecay && !octaves.bOneBand);
  const auto band =
      Parsed<PlotOptions>({"plot", "a.rsp", "--decay", "--band", "11", "-o", "d.png"});
  EXPECT_TRUE(band.bDecay && band.bOneBand && band.iBand == 11);
}

}  // namespace
}  // namespace zyra::tool
