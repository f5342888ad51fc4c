// The zyra-rsp program as users and scripts run it: exit codes, the one error line, the JSON
// on standard output, files written whole or not at all, reproducible synthesis.
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "testing/response_builder.h"
#include "testing/temp_folder.h"
#include "testing/test_support.h"
#include "zyra/rsp/probe_rsp.h"

#ifdef ZYRA_RSP_EXE

namespace zyra {
namespace {

namespace fs = std::filesystem;
using testing::ReadWholeFile;
using testing::WriteWholeFile;
using Json = nlohmann::ordered_json;

struct RunResult {
  int exit = -1;
  std::string out;
  std::string err;
};

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

class ZyraRspTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_ = std::make_unique<testing::TempFolder>();
    folder_ = temp_->Path();
    // One demo hall for the tests that need a real response file, and files that are none.
    ASSERT_EQ(Run({"demo", "--out", folder_}).exit, 0);
    fs::create_directories(Bad() / "a-folder.rsp");
    WriteWholeFile(Bad() / "empty.rsp", "");
    WriteWholeFile(Bad() / "text.rsp", "This is a text file, not a response file at all.\n");
    const std::string demo = ReadWholeFile(Demo());
    WriteWholeFile(Bad() / "truncated.rsp", demo.substr(0, demo.size() / 2));
    CProbeRspClass empty;  // a model without pulses, its label Latin-1 as files hold texts
    empty.ProbeInfo()->SetPrLabel("Sitz \xE9");
    empty.ProbeInfo()->SetPrSite(1, 2.5F);
    testing::WriteImage(empty, Bad() / "empty-model.rsp");
  }
  static void TearDownTestSuite() { temp_.reset(); }

  // Runs the tool with its output captured (standard error is no terminal); `prefix` goes
  // in front of the command in the shell, `input` is its standard input.
  static RunResult Run(const std::vector<std::string>& args, const std::string& prefix = "",
                       const std::string& input = "/dev/null") {
    std::string command = Quoted(ZYRA_RSP_EXE);
    for (const std::string& arg : args) command += " " + Quoted(arg);
    return RunShell(prefix + " " + command, input);
  }
  static RunResult RunShell(std::string command, const std::string& input = "/dev/null") {
    const fs::path out = folder_ / "stdout.txt";
    const fs::path err = folder_ / "stderr.txt";
    command += " >" + Quoted(out) + " 2>" + Quoted(err) + " <" + Quoted(input);
    const int status = std::system(("/bin/bash -c " + Quoted(command)).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(out), ReadWholeFile(err)};
  }
  static std::string Demo() { return folder_ / "demo-hall.rsp"; }
  static fs::path Bad() { return folder_ / "bad"; }
  // The demo's seating area: every seat's file in row order.
  static std::vector<std::string> Seats() {
    std::vector<std::string> seats;
    for (const auto& entry : fs::directory_iterator(folder_ / "demo-seats")) {
      seats.push_back(entry.path());
    }
    std::sort(seats.begin(), seats.end());
    return seats;
  }
  // A file holding the names, one per line, for `eval -`.
  static std::string NameList(const std::vector<std::string>& names) {
    const fs::path list = folder_ / "names.txt";
    std::string text;
    for (const std::string& name : names) text += name + "\n";
    WriteWholeFile(list, text);
    return list;
  }
  static std::vector<Json> JsonLines(const std::string& text) {
    std::vector<Json> rows;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) rows.push_back(Json::parse(line));
    return rows;
  }
  static std::unique_ptr<testing::TempFolder> temp_;
  static fs::path folder_;
};

std::unique_ptr<testing::TempFolder> ZyraRspTest::temp_;
fs::path ZyraRspTest::folder_;

// The 1-based address of the first pulse record, which the file header holds at byte 26.
uint32_t FirstPulsAddress(const std::string& bytes) {
  return static_cast<uint8_t>(bytes[26]) | static_cast<uint8_t>(bytes[27]) << 8 |
         static_cast<uint8_t>(bytes[28]) << 16;
}

TEST_F(ZyraRspTest, UnusableInputsGiveOneLineNamingTheFileAndExitOne) {
  const fs::path dir = Bad();
  const struct {
    const char* file;
    const char* says;
  } rows[] = {
      {"missing.rsp", "No such file"},
      {"a-folder.rsp", "is a directory"},
      {"empty.rsp", "is empty"},
      {"text.rsp", "No ZYRA Response File"},
      {"truncated.rsp", "Input past end of file"},
  };
  for (const auto& row : rows) {
    const std::string file = dir / row.file;
    for (const char* command : {"info", "convert", "plot"}) {
      std::vector<std::string> args{command, file};
      if (std::string(command) == "convert") args.push_back(dir / "out.rsp");
      if (std::string(command) == "plot") args.insert(args.end(), {"-o", dir / "out.svg"});
      const RunResult result = Run(args);
      SCOPED_TRACE(std::string(command) + " " + row.file + ": " + result.err);
      EXPECT_EQ(result.exit, 1);
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
      EXPECT_EQ(result.err.rfind("zyra-rsp: " + file + ": ", 0), 0u);
      EXPECT_NE(result.err.find(row.says), std::string::npos);
    }
    EXPECT_FALSE(fs::exists(dir / "out.rsp"));
    EXPECT_FALSE(fs::exists(dir / "out.svg"));
  }
  // dump and eval also answer a failed read in JSON.
  EXPECT_EQ(Json::parse(Run({"dump", dir / "text.rsp"}).out).dump(),
            R"({"read":{"result":-1,"message":"No ZYRA Response File","nRaysPerLspk":0,)"
            R"("fCutOffTime":0.0}})");
  EXPECT_EQ(Json::parse(Run({"eval", dir / "text.rsp", "--json"}).out).dump(),
            R"({"read":{"result":-1,"message":"No ZYRA Response File"}})");
}

TEST_F(ZyraRspTest, ErrorLinesSayWhereTheReadStopped) {
  const std::string demo = ReadWholeFile(Demo());
  // The "PULS" block header stands in front of the first record.
  const uint32_t addr = FirstPulsAddress(demo);
  const std::string puls = std::to_string(addr - 1 - 20);
  std::string badLength = demo;
  badLength[addr - 1 - 4] = 0x7f;  // lInfo 127 instead of 150
  const std::string pastEnd =
      "not a usable response file: Error in ReadRSPFile: Input past end of file bad.rsp (block ";
  const struct {
    std::string bytes;
    std::string says;
  } rows[] = {
      {badLength, "reading stopped early: Bad Puls Length (block \"PULS\" at byte " + puls + ")"},
      {demo.substr(0, addr + 1000), pastEnd + "\"PULS\" at byte " + puls + ")"},
      {demo.substr(0, 40), pastEnd + "header cut short at byte 30)"},
  };
  const fs::path file = folder_ / "bad.rsp";
  for (const auto& row : rows) {
    WriteWholeFile(file, row.bytes);
    const RunResult result = Run({"eval", file});
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.err, "zyra-rsp: " + file.string() + ": " + row.says + "\n");
  }
}

TEST_F(ZyraRspTest, AFileOfFourGibibytesIsJudgedFromItsHeaderInLittleMemory) {
  // The demo's header and blocks, then a hole up to 4 GiB (sparse: no disk is used).
  const fs::path file = folder_ / "huge.rsp";
  WriteWholeFile(file, ReadWholeFile(Demo()));
  fs::resize_file(file, std::uintmax_t{4} << 30);
  for (const char* command : {"info", "dump", "eval"}) {
    // 256 MiB of address space: enough for the tool, far too little for the file.
#ifdef ZYRA_UNDER_ASAN
    const RunResult result = Run({command, file});
#else
    const RunResult result = Run({command, file}, "ulimit -v 262144;");
#endif
    SCOPED_TRACE(std::string(command) + ": " + result.err);
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
    EXPECT_EQ(result.err.rfind("zyra-rsp: " + file.string() + ": not a usable response file: ", 0),
              0u);
    EXPECT_NE(result.err.find(std::string(command) == "info" ? "larger than 2147483647 bytes"
                                                             : "Error in ReadRSPFile: Overflow"),
              std::string::npos);
  }
  EXPECT_NE(Run({"info", file}).out.find("Header: ZYRA, kind RF"), std::string::npos);
  fs::remove(file);
}

TEST_F(ZyraRspTest, DumpAnswersInJsonAndEvalInATable) {
  const RunResult raw = Run({"dump", Demo(), "--raw", "--log"});
  ASSERT_EQ(raw.exit, 0) << raw.err;
  EXPECT_TRUE(Json::parse(raw.out)["init"].is_null());
  EXPECT_NE(raw.err.find("BHd.IDfx PULS"), std::string::npos);  // the read log
  EXPECT_EQ(Json::parse(Run({"dump", Demo()}).out)["init"].dump(), R"({"result":0,"message":""})");

  const RunResult table = Run({"eval", Demo()});
  ASSERT_EQ(table.exit, 0) << table.err;
  EXPECT_EQ(table.err, "");  // no progress bar in a pipe
  EXPECT_NE(table.out.find("   1000 "), std::string::npos);
}

TEST_F(ZyraRspTest, ConvertWritesTheWholeFileOrLeavesTheOldOne) {
  const fs::path out = folder_ / "converted.rsp";
  ASSERT_EQ(Run({"convert", Demo(), out}).exit, 0);
  EXPECT_EQ(Run({"dump", out}).exit, 0);
  // A write that fails midway (the file-size limit hit, SIGXFSZ at its default action) leaves
  // the old file and no temporary.
  WriteWholeFile(out, "old contents");
  const RunResult failed = Run({"convert", Demo(), out}, "ulimit -f 8;");
  EXPECT_EQ(failed.exit, 1);
  EXPECT_EQ(std::count(failed.err.begin(), failed.err.end(), '\n'), 1) << failed.err;
  EXPECT_EQ(failed.err.rfind("zyra-rsp: " + out.string() + ": ", 0), 0u) << failed.err;
  EXPECT_NE(failed.err.find("File too large"), std::string::npos) << failed.err;
  EXPECT_EQ(ReadWholeFile(out), "old contents");
  for (const auto& entry : fs::directory_iterator(folder_)) {
    EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos);
  }
}

TEST_F(ZyraRspTest, CtrlCStopsALongCommandWithStatus130) {
  // A seating area that takes half a minute, stopped after a second: the step stops at the
  // next seat and says so.
  const std::string synth =
      Quoted(ZYRA_RSP_EXE) + " synth --grid 40,40 --pulses 20000 -o " + Quoted(folder_ / "stopped");
  const RunResult stopped = RunShell("{ " + synth + " & p=$!; sleep 1; kill -INT $p; wait $p; }");
  EXPECT_EQ(stopped.exit, 130);
  EXPECT_NE(stopped.err.find("zyra-rsp: cancelled after "), std::string::npos) << stopped.err;
}

TEST_F(ZyraRspTest, SynthIsReproducibleFromItsSeed) {
  const auto synth = [&](const char* seed) {
    const fs::path file = folder_ / (std::string("s") + seed + ".rsp");
    EXPECT_EQ(Run({"synth", "--pulses", "10", "--speakers", "10", "--seed", seed, "-o", file}).exit,
              0);
    return ReadWholeFile(file);
  };
  const std::string a = synth("7");
  EXPECT_NE(synth("8"), a);
  EXPECT_EQ(synth("7"), a);
  const RunResult dump = Run({"dump", folder_ / "s7.rsp", "--raw"});
  ASSERT_EQ(dump.exit, 0) << dump.err;
  EXPECT_EQ(Json::parse(dump.out)["pulses"].size(), 10u);
}

// The options reach the evaluation, the parameters come with the reflections only; the decay plot
// is written in the format asked for, beside the demo's own two pictures.
TEST_F(ZyraRspTest, ParametersAndDecayPlot) {
  const Json full =
      Json::parse(Run({"eval", Demo(), "--json", "--no-masking", "--interference", "pot,kin"}).out);
  EXPECT_EQ(full["parameters"]["masking"], false);
  EXPECT_EQ(full["alcons"]["interference"], 6);
  EXPECT_FALSE(
      Json::parse(Run({"eval", Demo(), "--json", "--direct-only"}).out).contains("parameters"));
  const fs::path png = folder_ / "decay.png";
  ASSERT_EQ(Run({"plot", Demo(), "--decay", "-o", png}).exit, 0);
  EXPECT_EQ(ReadWholeFile(png).substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_TRUE(fs::exists(folder_ / "demo-hall-decay.svg"));
  EXPECT_TRUE(fs::exists(folder_ / "demo-hall-etc.svg"));
}

// Rows come in the order of the names at four jobs; a file that fails gives its row
// and its line on standard error, the others go on, and the exit status is 1. A row carries the
// values of the single-file JSON.
TEST_F(ZyraRspTest, RowsKeepInputOrderAndFailuresGiveTheirRows) {
  const fs::path dir = Bad();
  const std::vector<std::string> seats = Seats();
  const struct {
    std::string file;
    const char* status;
    const char* says;
  } expected[] = {
      {seats[0], "ok", ""},
      {seats[1], "ok", ""},
      {dir / "text.rsp", "error", "No ZYRA Response File"},
      {seats[2], "ok", ""},
      {dir / "empty-model.rsp", "warning", "holds no pulses"},
      {dir / "missing.rsp", "error", "No such file"},
      {dir / "truncated.rsp", "error", "Input past end of file"},
      {seats[3], "ok", ""},
      {seats[79], "ok", ""},
  };
  std::vector<std::string> names;
  for (const auto& row : expected) names.push_back(row.file);
  const std::string list = NameList(names);
  const RunResult result = Run({"eval", "-", "--format", "jsonl", "-j", "4"}, "", list);
  EXPECT_EQ(result.exit, 1);
  const std::vector<Json> rows = JsonLines(result.out);
  ASSERT_EQ(rows.size(), std::size(expected));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i]["file"], expected[i].file);
    EXPECT_EQ(rows[i]["status"], expected[i].status) << expected[i].file;
    const std::string message = rows[i]["message"].is_null() ? "" : rows[i]["message"];
    EXPECT_NE(message.find(expected[i].says), std::string::npos) << message;
    if (std::string(expected[i].status) != "ok") {
      EXPECT_NE(result.err.find("zyra-rsp: " + expected[i].file + ": "), std::string::npos);
    }
  }
  const Json single = Json::parse(Run({"eval", seats[79], "--json"}).out)["parameters"];
  EXPECT_EQ((Json{rows[8]["C80_dB"], rows[8]["STI"], rows[8]["Alcons_STI_pct"]}),
            (Json{single["single"]["C80"], single["STI"], single["Alcons_STI"]}));
  EXPECT_EQ(rows[4]["label"], "Sitz \xC3\xA9");
  EXPECT_EQ(rows[4]["x_m"], 2.5);
  EXPECT_TRUE(rows[4]["C80_dB"].is_null());
  EXPECT_NE(result.err.find("4 of 9 files failed"), std::string::npos) << result.err;
}

// Beyond one process: GNU parallel splits the names into two shards, each a zyra-rsp of its own,
// and the rows joined in order under the one header are exactly those of one run.
TEST_F(ZyraRspTest, GnuParallelShardsGiveTheRowsOfOneRun) {
  if (std::system("command -v parallel >/dev/null 2>&1") != 0) {
    GTEST_SKIP() << "GNU parallel is not installed (scripts/install-deps.sh installs it)";
  }
  std::vector<std::string> seats = Seats();
  seats.resize(20);
  const std::string list = NameList(seats);
  const RunResult one = Run({"eval", "-", "--format", "csv"}, "", list);
  ASSERT_EQ(one.exit, 0) << one.err;
  EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), 21);
  const RunResult shards =
      RunShell("parallel --will-cite --pipe -N 10 --keep-order -j 2 " + Quoted(ZYRA_RSP_EXE) +
                   " eval - --format csv --no-header -j 1",
               list);
  ASSERT_EQ(shards.exit, 0) << shards.err;
  EXPECT_EQ(one.out.substr(0, one.out.find('\n') + 1) + shards.out, one.out);
}

// The map leaves out what fails, says so, and is written all the same.
TEST_F(ZyraRspTest, MapLeavesFailuresOutWithANote) {
  std::vector<std::string> files = Seats();
  files.resize(12);
  files.insert(files.begin() + 5, folder_ / "not-there.rsp");
  const fs::path png = folder_ / "c80.png";
  std::vector<std::string> args{"map", "--param", "C80", "--band", "1000", "-o", png};
  args.insert(args.end(), files.begin(), files.end());
  const RunResult result = Run(args);
  EXPECT_EQ(result.exit, 1);
  EXPECT_NE(result.err.find("not-there.rsp: left out of the map: No such file"), std::string::npos)
      << result.err;
  EXPECT_EQ(ReadWholeFile(png).substr(0, 8), "\x89PNG\r\n\x1a\n");
  const RunResult none = Run({"map", folder_ / "not-there.rsp", "--param", "STI", "-o", png});
  EXPECT_EQ(none.exit, 1);
  EXPECT_NE(none.err.find("not written"), std::string::npos) << none.err;
  EXPECT_TRUE(fs::exists(folder_ / "demo-seats-c80.svg"));
  EXPECT_TRUE(fs::exists(folder_ / "demo-seats-sti.svg"));
}

// Under `script` standard error is a terminal: one file shows each step as it runs (a file
// this small finishes within one interval), a batch counts files; the rows stay clean of it.
TEST_F(ZyraRspTest, ProgressBarOnATerminalOnly) {
  const std::string log = folder_ / "typescript";
  const fs::path out = folder_ / "rows.csv";
  const std::vector<std::string> seats = Seats();
  const std::string exe = Quoted(ZYRA_RSP_EXE);
  const std::string command = exe + " eval " + Quoted(Demo()) + " >/dev/null && " + exe + " eval " +
                              Quoted(seats[0]) + " " + Quoted(seats[1]) + " --format csv >" +
                              Quoted(out);
  const int status = std::system(
      ("script -qec " + Quoted(command) + " " + Quoted(log) + " >/dev/null 2>&1").c_str());
  ASSERT_EQ(WEXITSTATUS(status), 0);
  const std::string screen = ReadWholeFile(log);
  for (const char* shown : {"\rReading ...", "\rEvaluating ...", "Files 1 of 2 ["}) {
    EXPECT_NE(screen.find(shown), std::string::npos) << screen;
  }
  const std::string rows = ReadWholeFile(out);
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 3);
  EXPECT_EQ(rows.find('\r'), std::string::npos);
}

}  // namespace
}  // namespace zyra

#endif  // ZYRA_RSP_EXE
