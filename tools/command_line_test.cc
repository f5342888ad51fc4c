#include "tools/command_line.h"

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
      {"frobnicate"},
      {"info"},
      {"info", "a.rsp", "b.rsp"},
      {"dump", "a.rsp", "--pretty"},
      {"eval", "--json"},
      {"eval", "a.rsp", "--form", "sabine"},
      {"eval", "a.rsp", "--form", "PEUTZ"},
      {"eval", "a.rsp", "--interference", "pot,foo"},
      {"eval", "a.rsp", "--interference", "pot,"},
      {"eval", "a.rsp", "--interference", ""},
      {"convert", "in.rsp"},
      {"plot", "a.rsp"},
      {"plot", "a.rsp", "-o", "etc.svg", "--band", "0"},
      {"plot", "a.rsp", "-o", "etc.svg", "--band", "22"},
      {"plot", "a.rsp", "-o", "etc.svg", "--band", "one"},
      {"synth", "--pulses", "9", "--speakers", "1", "-o", "s.rsp"},
      {"synth", "--pulses", "10000001", "--speakers", "1", "-o", "s.rsp"},
      {"synth", "--pulses", "100", "--speakers", "0", "-o", "s.rsp"},
      {"synth", "--pulses", "10", "--speakers", "11", "-o", "s.rsp"},
      {"synth", "--pulses", "100", "--speakers", "2"},
      {"synth", "--pulses", "100", "--speakers", "2", "--seed", "-1", "-o", "s.rsp"},
      {"demo", "--out"},
  };
  for (const auto& args : rows) {
    const Outcome outcome = Parse(args);
    std::string line;
    for (const std::string& arg : args) line += arg + " ";
    EXPECT_EQ(outcome.parsed.exitStatus, kExitUsage) << line;
    EXPECT_FALSE(outcome.parsed.command.has_value()) << line;
    EXPECT_FALSE(outcome.err.empty()) << line;
  }
}

TEST(CommandLineTest, HelpAndVersionExitWithZero) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"--help"}, {"eval", "--help"}, {"--version"}}) {
    const Outcome outcome = Parse(args);
    EXPECT_EQ(outcome.parsed.exitStatus, kExitSuccess) << args[0];
    EXPECT_FALSE(outcome.parsed.command.has_value());
    EXPECT_FALSE(outcome.out.empty());
  }
  EXPECT_EQ(Parse({"--version"}).out, AppVersionString() + "\n");
  EXPECT_EQ(AppVersionString().substr(0, 9), "zyra-rsp ");
}

template <class Options>
Options Parsed(const std::vector<std::string>& args) {
  const Outcome outcome = Parse(args);
  EXPECT_EQ(outcome.parsed.exitStatus, kExitSuccess) << outcome.err;
  if (!outcome.parsed.command) return {};
  EXPECT_TRUE(std::holds_alternative<Options>(*outcome.parsed.command));
  return std::get<Options>(*outcome.parsed.command);
}

TEST(CommandLineTest, EvalOptionsAreTranslated) {
  const auto plain = Parsed<EvalOptions>({"eval", "a.rsp"});
  EXPECT_EQ(plain.sFile, "a.rsp");
  EXPECT_EQ(plain.lInterfFlags, 0);
  EXPECT_EQ(plain.eForm, AlconsFormOption::kPeutz);
  EXPECT_FALSE(plain.bJson || plain.bNoise || plain.bDirectOnly);

  const struct {
    const char* list;
    int32_t flags;
  } rows[] = {{"pot", 2}, {"kin", 4}, {"pot,kin", 6}, {"kin,pot", 6}, {"pot,pot", 2}};
  for (const auto& row : rows) {
    EXPECT_EQ(Parsed<EvalOptions>({"eval", "a.rsp", "--interference", row.list}).lInterfFlags,
              row.flags)
        << row.list;
  }
  const auto all =
      Parsed<EvalOptions>({"eval", "--json", "--noise", "--direct-only", "--form", "sti", "a.rsp"});
  EXPECT_EQ(all.eForm, AlconsFormOption::kSti);
  EXPECT_TRUE(all.bJson && all.bNoise && all.bDirectOnly);
  EXPECT_EQ(all.sFile, "a.rsp");
}

TEST(CommandLineTest, BoundaryValuesAndDefaultsAreAccepted) {
  EXPECT_EQ(Parsed<PlotOptions>({"plot", "a.rsp", "-o", "etc.svg"}).iBand, kDefaultPlotBand);
  EXPECT_EQ(Parsed<PlotOptions>({"plot", "a.rsp", "-o", "etc.svg", "--band", "1"}).iBand, 1);
  EXPECT_EQ(Parsed<PlotOptions>({"plot", "a.rsp", "--output", "e.svg", "--band", "21"}).iBand, 21);
  const auto smallest =
      Parsed<SynthOptions>({"synth", "--pulses", "10", "--speakers", "10", "-o", "s.rsp"});
  EXPECT_EQ(smallest.nPulses, 10);
  EXPECT_EQ(smallest.lSeed, 1u);
  const auto largest = Parsed<SynthOptions>({"synth", "--pulses", "10000000", "--speakers", "32767",
                                             "--seed", "18446744073709551615", "-o", "s.rsp"});
  EXPECT_EQ(largest.nPulses, 10'000'000);
  EXPECT_EQ(largest.nSpeakers, 32767);
  EXPECT_EQ(largest.lSeed, 18446744073709551615u);
  EXPECT_EQ(Parsed<DemoOptions>({"demo"}).sOutDir, ".");
  const auto convert = Parsed<ConvertOptions>({"convert", "in.rsp", "out/new.rsp"});
  EXPECT_EQ(convert.sIn, "in.rsp");
  EXPECT_EQ(convert.sOut, "out/new.rsp");
  const auto dump = Parsed<DumpOptions>({"dump", "--raw", "x.rsp", "--log"});
  EXPECT_TRUE(dump.bRaw && dump.bLog);
}

}  // namespace
}  // namespace zyra::tool
