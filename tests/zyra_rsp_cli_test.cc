// The zyra-rsp program as users and scripts run it: exit codes, the one error line, the JSON
// on standard output, files written whole or not at all, reproducible synthesis.
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#ifdef ZYRA_RSP_EXE

namespace zyra {
namespace {

namespace fs = std::filesystem;
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

std::string Contents(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

class ZyraRspTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string pattern = fs::temp_directory_path() / "zyra-rsp-cli-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    // One demo hall for the tests that need a real response file.
    ASSERT_EQ(Run({"demo", "--out", folder_}).exit, 0);
  }
  static void TearDownTestSuite() { fs::remove_all(folder_); }

  // Runs the tool with its output captured (standard error is no terminal); `prefix` goes
  // in front of the command in the shell.
  static RunResult Run(const std::vector<std::string>& args, const std::string& prefix = "") {
    std::string command = prefix + " " + Quoted(ZYRA_RSP_EXE);
    for (const std::string& arg : args) command += " " + Quoted(arg);
    const fs::path out = folder_ / "stdout.txt";
    const fs::path err = folder_ / "stderr.txt";
    command += " >" + Quoted(out) + " 2>" + Quoted(err) + " </dev/null";
    const int status = std::system(("/bin/bash -c " + Quoted(command)).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Contents(out), Contents(err)};
  }
  static std::string Demo() { return folder_ / "demo-hall.rsp"; }
  static fs::path folder_;
};

fs::path ZyraRspTest::folder_;

TEST_F(ZyraRspTest, UnusableInputsGiveOneLineNamingTheFileAndExitOne) {
  const fs::path dir = folder_ / "inputs";
  fs::create_directories(dir / "a-folder.rsp");
  WriteBytes(dir / "empty.rsp", "");
  WriteBytes(dir / "text.rsp", "This is a text file, not a response file at all.\n");
  const std::string demo = Contents(Demo());
  WriteBytes(dir / "truncated.rsp", demo.substr(0, demo.size() / 2));
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

TEST_F(ZyraRspTest, DumpAndEvalAnswerInJson) {
  // A NaN travel time patched into the first pulse record (Travel sits 46 bytes in).
  std::string bytes = Contents(Demo());
  const uint32_t addr = static_cast<uint8_t>(bytes[26]) | static_cast<uint8_t>(bytes[27]) << 8 |
                        static_cast<uint8_t>(bytes[28]) << 16;
  bytes.replace(addr - 1 + 46, 4, std::string("\x00\x00\xc0\x7f", 4));
  const fs::path file = folder_ / "nan.rsp";
  WriteBytes(file, bytes);
  const RunResult raw = Run({"dump", file, "--raw", "--log"});
  ASSERT_EQ(raw.exit, 0) << raw.err;
  const Json dump = Json::parse(raw.out);
  EXPECT_TRUE(dump["init"].is_null());
  EXPECT_EQ(dump["pulses"][0]["Travel"], "NaN");
  EXPECT_EQ(dump["file_header"]["ZYRA"], std::string("ZYRA\x03\x00", 6));
  EXPECT_EQ(dump["file_header"]["nHdr"], 9);  // the header and eight blocks
  EXPECT_EQ(dump["pulses"].size(), dump["file_header"]["nRcd"].get<int>() + 1);
  EXPECT_NE(raw.err.find("BHd.IDfx PULS"), std::string::npos);  // the read log
  const Json prepared = Json::parse(Run({"dump", Demo()}).out);
  EXPECT_EQ(prepared["init"].dump(), R"({"result":0,"message":""})");
  EXPECT_TRUE(prepared["pulse_buffer"]["SpeakerPhaseWasAdded"].get<bool>());

  const RunResult json =
      Run({"eval", Demo(), "--json", "--form", "sti", "--noise", "--interference", "pot,kin"});
  ASSERT_EQ(json.exit, 0) << json.err;
  EXPECT_EQ(json.err, "");  // no progress bar in a pipe
  const Json eval = Json::parse(json.out);
  EXPECT_EQ(eval["alcons"]["interference"], 6);
  EXPECT_EQ(eval["calculate"]["result"], 0);
  const double c80 = eval["derived"]["C80"][11].get<double>();
  EXPECT_TRUE(c80 > -10.0 && c80 < 15.0) << c80;
  EXPECT_NE(Run({"eval", Demo()}).out.find("   1000 "), std::string::npos);  // the table
}

TEST_F(ZyraRspTest, ConvertWritesTheWholeFileOrLeavesTheOldOne) {
  const fs::path out = folder_ / "converted.rsp";
  ASSERT_EQ(Run({"convert", Demo(), out}).exit, 0);
  EXPECT_EQ(Run({"dump", out}).exit, 0);
  // A write that fails midway (the file-size limit hit) leaves the old file and no temporary.
  WriteBytes(out, "old contents");
  const RunResult failed = Run({"convert", Demo(), out}, "trap '' XFSZ; ulimit -f 8;");
  EXPECT_EQ(failed.exit, 1);
  EXPECT_EQ(std::count(failed.err.begin(), failed.err.end(), '\n'), 1) << failed.err;
  EXPECT_NE(failed.err.find("converted.rsp"), std::string::npos) << failed.err;
  EXPECT_EQ(Contents(out), "old contents");
  for (const auto& entry : fs::directory_iterator(folder_)) {
    EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos);
  }
}

TEST_F(ZyraRspTest, SynthIsReproducibleFromItsSeed) {
  const auto synth = [&](const char* pulses, const char* speakers, const char* seed) {
    const fs::path file = folder_ / (std::string("s") + seed + ".rsp");
    EXPECT_EQ(
        Run({"synth", "--pulses", pulses, "--speakers", speakers, "--seed", seed, "-o", file}).exit,
        0);
    return Contents(file);
  };
  for (const auto& [pulses, speakers] : {std::pair{"10", "10"}, std::pair{"200000", "64"}}) {
    SCOPED_TRACE(pulses);
    const std::string a = synth(pulses, speakers, "7");
    EXPECT_TRUE(synth(pulses, speakers, "8") != a);
    EXPECT_EQ(synth(pulses, speakers, "7"), a);
    const RunResult dump = Run({"dump", folder_ / "s7.rsp", "--raw"});
    ASSERT_EQ(dump.exit, 0) << dump.err;
    EXPECT_EQ(Json::parse(dump.out)["pulses"].size(), std::stoul(pulses));
  }
  for (const char* pulses : {"9", "10000001"}) {
    EXPECT_EQ(Run({"synth", "--pulses", pulses, "--speakers", "1", "-o", folder_ / "x.rsp"}).exit,
              2);
  }
}

// The parameters come with the reflections only; the decay plot is written in the format asked
// for, beside the demo's own two pictures.
TEST_F(ZyraRspTest, ParametersAndDecayPlot) {
  const Json full = Json::parse(Run({"eval", Demo(), "--json", "--no-masking"}).out);
  EXPECT_EQ(full["parameters"]["masking"], false);
  EXPECT_FALSE(
      Json::parse(Run({"eval", Demo(), "--json", "--direct-only"}).out).contains("parameters"));
  EXPECT_EQ(Run({"eval", Demo(), "--fit-limits", "-35,-5"}).exit, 2);
  const fs::path png = folder_ / "decay.png";
  ASSERT_EQ(Run({"plot", Demo(), "--decay", "-o", png}).exit, 0);
  EXPECT_EQ(Contents(png).substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_TRUE(fs::exists(folder_ / "demo-hall-decay.svg"));
  EXPECT_TRUE(fs::exists(folder_ / "demo-hall-etc.svg"));
}

TEST_F(ZyraRspTest, ProgressBarOnATerminalOnly) {
  // Under `script` standard error is a terminal: the bar is drawn and cleared again.
  const std::string log = folder_ / "typescript";
  const std::string command = Quoted(ZYRA_RSP_EXE) + " eval " + Quoted(Demo()) + " >/dev/null";
  const int status = std::system(
      ("script -qec " + Quoted(command) + " " + Quoted(log) + " >/dev/null 2>&1").c_str());
  ASSERT_EQ(WEXITSTATUS(status), 0);
  const std::string screen = Contents(log);
  EXPECT_NE(screen.find("Band 100 Hz ["), std::string::npos) << screen;
}

}  // namespace
}  // namespace zyra

#endif  // ZYRA_RSP_EXE
