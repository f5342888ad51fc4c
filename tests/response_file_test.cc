// Whole response files: block order and counts, the reader's failure modes, hostile files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "tests/test_support.h"
#include "zyra/rsp/host_sequence.h"
#include "zyra/rsp/probe_rsp.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZYRA_TEST_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZYRA_TEST_UNDER_ASAN 1
#endif
#endif
#if !defined(ZYRA_TEST_UNDER_ASAN)
#include <malloc.h>
#endif

namespace zyra {
namespace {

namespace fs = std::filesystem;
using testing::Hex;

// A folder of its own for each test, removed afterwards.
class TempFolder {
 public:
  TempFolder() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = fs::temp_directory_path() /
            ("zyra-file-" + std::to_string(::getpid()) + "-" + info->name());
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  // The folder with its trailing separator, as ReadRSPFile wants sPath.
  std::string Path() const { return path_.string() + "/"; }
  void Write(const std::string& sName, const std::vector<uint8_t>& bytes) const {
    std::ofstream file(path_ / sName, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  std::vector<uint8_t> Read(const std::string& sName) const {
    std::ifstream file(path_ / sName, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

 private:
  fs::path path_;
};

struct ReadOutcome {
  int32_t result;
  std::string message;
};

ReadOutcome ReadFile(CProbeRspClass& rsp, const std::string& sPath, const std::string& sFile,
                     bool bIsDefaultLocalRT = false) {
  int32_t nRays = -7;
  float fCutOff = -7;
  std::string message = "stale";
  const int32_t result = rsp.ReadRSPFile(sPath, sFile, bIsDefaultLocalRT, "zyra test", nRays,
                                         fCutOff, message, nullptr);
  return {result, message};
}

std::vector<uint8_t> Image(CProbeRspClass& rsp, const std::string& sPrefix = "") {
  ByteStream stream;
  rsp.SaveToByteStream(stream, sPrefix);
  return stream.GetBytes();
}

std::vector<uint8_t> Concat(std::initializer_list<std::vector<uint8_t>> parts) {
  std::vector<uint8_t> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Two loudspeakers, each with a direct sound and a reflection; every info block filled.
void FillResponse(CProbeRspClass& rsp) {
  rsp.InfoText()->SetSourceText("Hall, row 12\nseat 4");
  rsp.ProbeInfo()->SetIsLocalRTInfo_b(true);
  rsp.ProbeInfo()->SetPrRTType(3);
  CSystemResponse& sys = *rsp.Rsp();
  sys.LspInfos()->SetCount(2);
  sys.Pulses()->SetCount(4, nullptr);
  for (int32_t i = 1; i <= 2; ++i) {
    CLspInfoClass& lsp = *sys.LspInfo(i);
    lsp.SetLabel("Lsp" + std::to_string(i));
    lsp.SetCharLabel(std::string(1, static_cast<char>('A' + i)));
    lsp.SetIsActive(true);
    lsp.SetDelay(1.5F * static_cast<float>(i));
    lsp.SetSite(1, 2.0F * static_cast<float>(i));
    for (int32_t iBand = 0; iBand <= 21; ++iBand) lsp.SetSPL1m(iBand, 9000);
  }
  for (int32_t i = 1; i <= 4; ++i) {
    CPulsClass& puls = *sys.Puls(i);
    puls.SetOrigin((i + 1) / 2);
    puls.SetROrder(i % 2 == 1 ? 0 : 2);
    puls.SetID(i);
    puls.SetTravel(10.0F * static_cast<float>(i));
    for (int32_t iBand = 0; iBand <= 21; ++iBand) {
      puls.SetSPL(iBand, static_cast<int16_t>(8000 - 100 * i));
      puls.SetPhase(iBand, static_cast<int16_t>(100 * iBand));
    }
  }
  rsp.ObstInfo()->SetCount(2);
  rsp.ObstInfo()->ObstInfo(1)->SetLabel("Pillar");
  rsp.ObstInfo()->ObstInfo(2)->SetItem(7);
  rsp.ETC()->SetRTType(2);
  rsp.Pred()->SetRaysPerLspk(5000);
  rsp.Pred()->SetLength1(800.0F);
  for (int32_t iBand = 0; iBand <= 21; ++iBand) {
    rsp.LocalRTInfo()->SetLocalRTime(iBand, 0.05F * static_cast<float>(iBand));
  }
}

struct BlockWalk {
  int16_t nHdr;
  int32_t addr;
  std::vector<std::string> ids;
  std::vector<int32_t> flags;
  int32_t pulsHeaderAt = -1;
};

// The block identifiers of an image, found by stepping with each header's length.
BlockWalk WalkBlocks(const std::vector<uint8_t>& bytes) {
  ByteStream stream;
  stream.LoadFromBytes(bytes);
  BlockWalk walk;
  stream.SetPosition(6);
  walk.nHdr = stream.ReadInt16();
  stream.SetPosition(26);
  walk.addr = stream.ReadInt32();
  int32_t position = 30;
  while (position < stream.GetLength()) {
    stream.SetPosition(position);
    CRspBlockHeaderClass header;
    header.ReadFromByteStream(stream);
    if (header.IDfx() == "PULS") walk.pulsHeaderAt = position;
    walk.ids.push_back(header.IDfx());
    walk.flags.push_back(header.flags());
    position += 20 + header.GetBlockLength();
  }
  return walk;
}

TEST(ResponseFileTest, SaveWritesTheBlocksInOrderAndCountsOnlyThoseWritten) {
  const std::vector<std::string> all = {"TEXT", "PROB", "LSPK", "OBST",
                                        "TAIL", "PRED", "SLRT", "PULS"};
  struct Case {
    const char* name;
    std::function<void(CProbeRspClass&)> change;
    std::vector<std::string> ids;
  };
  const std::vector<Case> cases = {
      {"every block", [](CProbeRspClass&) {}, all},
      {"no rays: no prediction",
       [](CProbeRspClass& r) { r.Pred()->SetRaysPerLspk(0); },
       {"TEXT", "PROB", "LSPK", "OBST", "TAIL", "SLRT", "PULS"}},
      {"NaN length: no prediction",
       [](CProbeRspClass& r) { r.Pred()->SetLength1(std::nanf("")); },
       {"TEXT", "PROB", "LSPK", "OBST", "TAIL", "SLRT", "PULS"}},
      {"no local reverberation",
       [](CProbeRspClass& r) { r.ProbeInfo()->SetIsLocalRTInfo_b(false); },
       {"TEXT", "PROB", "LSPK", "OBST", "TAIL", "PRED", "PULS"}},
      {"no active loudspeaker: no LSPK",
       [](CProbeRspClass& r) {
         r.Rsp()->LspInfo(1)->SetIsActive(false);
         r.Rsp()->LspInfo(2)->SetIsActive(false);
       },
       {"TEXT", "PROB", "OBST", "TAIL", "PRED", "SLRT", "PULS"}},
  };
  for (const Case& c : cases) {
    CProbeRspClass rsp;
    FillResponse(rsp);
    c.change(rsp);
    const std::vector<uint8_t> bytes = Image(rsp);
    // Magic, kind, version 1, no flags, nRcd = 4 - 1, lRcd 150.
    EXPECT_EQ(testing::ToHex(std::span(bytes).subspan(0, 6)), "5a 59 52 41 03 00") << c.name;
    EXPECT_EQ(testing::ToHex(std::span(bytes).subspan(8, 18)),
              "14 00 52 46 01 00 00 00 00 00 03 00 00 00 96 00 00 00")
        << c.name;
    const BlockWalk walk = WalkBlocks(bytes);
    EXPECT_EQ(walk.ids, c.ids) << c.name;
    EXPECT_EQ(walk.nHdr, static_cast<int16_t>(1 + c.ids.size())) << c.name;
    EXPECT_EQ(walk.addr, walk.pulsHeaderAt + 20 + 1) << c.name;
    for (size_t i = 0; i < walk.flags.size(); ++i) {
      EXPECT_EQ(walk.flags[i] & kBlockFlagLast, i + 1 == walk.flags.size() ? 1 : 0)
          << c.name << " " << walk.ids[i];
    }
  }
}

TEST(ResponseFileTest, ReadPreparedAndSavedAgainGivesTheSameBytesTheSecondTime) {
  TempFolder folder;
  CProbeRspClass source;
  FillResponse(source);
  const std::string kText = source.InfoText()->SourceText();
  folder.Write("0.rsp", Image(source, "prefix\n"));
  const auto cycle = [&](const std::string& sIn, const std::string& sOut) {
    CProbeRspClass rsp;
    const ReadOutcome outcome = ReadFile(rsp, folder.Path(), sIn);
    EXPECT_EQ(outcome.result, 0) << sIn;
    EXPECT_EQ(outcome.message, "") << sIn;
    EXPECT_EQ(rsp.InfoText()->SourceText(),
              "zyra test Response File: \n" + folder.Path() + sIn + "\n\nprefix\n" + kText);
    std::string message;
    EXPECT_EQ(PrepareResponseAfterRead(rsp, false, true, message, nullptr), 0) << message;
    EXPECT_EQ(rsp.Rsp()->Pulses()->Count(), 4);
    EXPECT_EQ(rsp.ObstInfo()->ObstInfo(1)->Label(), "Pillar" + std::string(250, ' '));
    // The banner and prefix of this cycle come off, so the text does not grow with each one.
    rsp.InfoText()->SetSourceText(kText);
    folder.Write(sOut, Image(rsp, "prefix\n"));
  };
  cycle("0.rsp", "1.rsp");
  cycle("1.rsp", "2.rsp");
  const std::vector<uint8_t> once = folder.Read("1.rsp");
  // The file header and the eight blocks.
  EXPECT_EQ(WalkBlocks(once).nHdr, 9);
  EXPECT_EQ(WalkBlocks(once).ids.size(), 8U);
  EXPECT_EQ(testing::ToHex(once), testing::ToHex(folder.Read("2.rsp")));
}

// The first 18 bytes of a file header.
const std::vector<uint8_t> kCutFileHeader = Hex("5a595241 0300 0200 1400 5246 0100 00000000");
std::vector<uint8_t> FileHeader(const std::string& sMagic, const std::string& sKind,
                                const std::string& sVersion) {
  return Hex(sMagic + "0200 1400" + sKind + sVersion + "00000000 ffffffff 96000000 00000000");
}
std::vector<uint8_t> GoodHeader() {
  return FileHeader("5a5952410300", "5246", "0100");
}
// "TEXT" version 1, counted records: one of 5 bytes, "hello".
std::vector<uint8_t> TextHello() {
  return Hex("54455854 0e00 0100 02000000 01000000 05000000 68656c6c6f");
}
// "OBST" version 0 with one record: Item 3, a 16-character label.
std::vector<uint8_t> OneObstacle() {
  return Concat(
      {Hex("4f425354 0e00 0000 02000000 01000000 12000000 0300"), std::vector<uint8_t>(16, 'o')});
}
std::vector<uint8_t> ProbeBlock() {
  ByteStream stream;
  CProbeInfoClass().SaveToByteStream(stream);
  return stream.GetBytes();
}

// A file whose loudspeaker belongs to a group while its pulse names no pseudo pulse.
std::vector<uint8_t> OldGroupedFile(const std::string& sText) {
  CProbeRspClass rsp;
  rsp.InfoText()->SetSourceText(sText);
  CSystemResponse& sys = *rsp.Rsp();
  sys.LspInfos()->SetCount(1);
  sys.LspInfo(1)->SetIsActive(true);
  sys.LspInfo(1)->SetIsMember(true);
  sys.Pulses()->SetCount(1, nullptr);
  sys.Puls(1)->SetOrigin(1);
  return Image(rsp);
}

const std::string kVexaText = "Vexa Calculation\r\nLength [ms]: 800";
const std::string kWarning =
    "Warning: This response file was created with an earlier version of ZYRA. \r\n\r\n"
    "The response file does not contain all of the coherence information needed by this "
    "version of ZYRA, \r\nespecially for complex loudspeaker arrangements like line arrays. "
    "Therefore it is strongly recommended\r\nthe calculation be repeated with the newest "
    "version of ZYRA instead of evaluating this file.";

TEST(ResponseFileTest, ReadResultsAndMessagesForEachKindOfFile) {
  const std::string kPastEnd =
      std::string("Error in ReadRSPFile: Input past end of file") + '\0' + "case.rsp";
  struct Case {
    const char* name;
    std::optional<std::vector<uint8_t>> bytes;  // none: no file at all
    int32_t result;
    std::string message;
    std::function<void(const CProbeRspClass&)> check;
  };
  const auto obstacles = [](int32_t n) {
    return [n](const CProbeRspClass& r) { EXPECT_EQ(r.ObstInfo()->Count(), n); };
  };
  const auto none = [](const CProbeRspClass&) {};
  std::vector<uint8_t> vexaV2 = OldGroupedFile(kVexaText);
  vexaV2[12] = 2;
  const std::vector<Case> cases = {
      {"missing file", std::nullopt, 0, "", obstacles(0)},
      {"empty file", std::vector<uint8_t>{}, 0, "", obstacles(0)},
      {"magic ending 3 1", FileHeader("5a5952410301", "5246", "0100"), -1, "No ZYRA Response File",
       none},
      {"kind other than RF", FileHeader("5a5952410300", "5346", "0100"), -1, "No Response File",
       none},
      {"version 3", FileHeader("5a5952410300", "5246", "0300"), -1, "Unknown Version", none},
      {"version -1", FileHeader("5a5952410300", "5246", "ffff"), -1, "Unknown Version", none},
      {"file header cut short", std::vector<uint8_t>(kCutFileHeader), -1, kPastEnd, none},
      {"block header cut short", Concat({GoodHeader(), Hex("54455854 0e00 0100 0200")}), -1,
       kPastEnd, none},
      {"header with nInfo -5 ends the read quietly",
       Concat({GoodHeader(), Hex("50524f42 0e00 0100 00000000 fbffffff 04000000"), OneObstacle()}),
       0, "", obstacles(0)},
      {"unknown block is skipped",
       Concat({GoodHeader(), Hex("41424344 0e00 0100 04000000 00000000 03000000 010203"),
               OneObstacle()}),
       0, "", obstacles(1)},
      {"no PULS block: read to the end", Concat({GoodHeader(), TextHello(), OneObstacle()}), 0, "",
       [](const CProbeRspClass& r) {
         EXPECT_EQ(r.ObstInfo()->Count(), 1);
         EXPECT_EQ(r.InfoText()->SourceText(),
                   "zyra test Response File: \n" + std::string("DIR") + "case.rsp\n\nhello");
         EXPECT_EQ(r.Rsp()->Pulses()->DataOrigin(), PB_EOrigin_ZYRAFile);
       }},
      {"failing block reader ends the read, its message kept",
       Concat({GoodHeader(), Hex("54455854 0e00 0200 02000000 01000000 00000000"), OneObstacle()}),
       0, "Unknown Text Block!",
       [](const CProbeRspClass& r) {
         EXPECT_EQ(r.ObstInfo()->Count(), 0);
         EXPECT_NE(r.Rsp()->Pulses()->DataOrigin(), PB_EOrigin_ZYRAFile);  // steps skipped
       }},
      {"old text block 3 bytes short: read as stored, the step keeps its length",
       Concat({GoodHeader(), Hex("54455854 0e00 0000 04000000 00000000 05000000 6162636465666768"),
               ProbeBlock(), OneObstacle()}),
       0, "",
       [](const CProbeRspClass& r) {
         EXPECT_TRUE(r.InfoText()->SourceText().ends_with("\n\nabcde"));
         EXPECT_EQ(r.ObstInfo()->Count(), 0);  // the walk lost its step in the text
       }},
      {"old grouped file of a Vexa calculation warns", OldGroupedFile(kVexaText), 1, kWarning,
       [](const CProbeRspClass& r) {
         EXPECT_TRUE(r.ProbeInfo()->IsVexaResponse_b());
         EXPECT_TRUE(r.ProbeInfo()->IsVexaSpecified_b());
       }},
      {"same file not from Vexa", OldGroupedFile("Vexa Calculation\nLength [ms]: 800"), 0, "",
       [](const CProbeRspClass& r) { EXPECT_FALSE(r.ProbeInfo()->IsVexaResponse_b()); }},
      {"same file of version 2", vexaV2, 0, "", none},
  };
  TempFolder folder;
  for (const Case& c : cases) {
    fs::remove(folder.Path() + "case.rsp");
    if (c.bytes) folder.Write("case.rsp", *c.bytes);
    CProbeRspClass rsp;
    rsp.ObstInfo()->SetCount(4);  // every read starts from an empty model
    const ReadOutcome outcome = ReadFile(rsp, folder.Path(), "case.rsp");
    EXPECT_EQ(outcome.result, c.result) << c.name;
    std::string message = outcome.message;
    EXPECT_EQ(message, c.message) << c.name;
    if (c.name == std::string("no PULS block: read to the end")) {
      // The banner names the folder; compare it apart from the temporary path.
      rsp.InfoText()->SetSourceText(
          std::string(rsp.InfoText()->SourceText()).replace(26, folder.Path().size(), "DIR"));
    }
    c.check(rsp);
  }
}

TEST(ResponseFileTest, OldTextRepairFindsTheNextBlockBehindTheStoredLength) {
  // Text "abcdefgh" stored with lInfo 5; "PROB" follows 3 bytes behind the computed end.
  const std::vector<uint8_t> bytes =
      Concat({GoodHeader(), Hex("54455854 0e00 0000 04000000 00000000 05000000 6162636465666768"),
              ProbeBlock()});
  ByteStream stream;
  stream.LoadFromBytes(bytes);
  stream.SetPosition(30);
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(stream);
  EXPECT_TRUE(CProbeRspClass::RepairOldTextBlockHeader(stream, 30, header));
  EXPECT_EQ(header.lInfo(), 8);

  // No known block within lInfo bytes behind the text: the header stays.
  const std::vector<uint8_t> alone =
      Concat({GoodHeader(), Hex("54455854 0e00 0000 04000000 00000000 05000000 6162636465666768"),
              std::vector<uint8_t>(40, 'x')});
  stream.LoadFromBytes(alone);
  stream.SetPosition(30);
  header.ReadFromByteStream(stream);
  EXPECT_FALSE(CProbeRspClass::RepairOldTextBlockHeader(stream, 30, header));
  EXPECT_EQ(header.lInfo(), 5);
}

TEST(ResponseFileTest, LocalReverberationBecomesTheProbesWhenAskedFor) {
  CProbeRspClass source;
  FillResponse(source);
  TempFolder folder;
  folder.Write("a.rsp", Image(source));
  for (const bool bDefault : {false, true}) {
    CProbeRspClass rsp;
    ASSERT_EQ(ReadFile(rsp, folder.Path(), "a.rsp", bDefault).result, 0);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTType(), bDefault ? 19 : 3);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTime(21), bDefault ? 0.05F * 21 : 0.0F);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTime(0), 0.0F);  // band 0 is not copied
  }
}

TEST(ResponseFileTest, SaveRSPFileWritesThePrefixAndOverwritesWithoutTruncating) {
  EXPECT_EQ(CProbeRspClass::SavePrefixText("App 1.0", "2024-05-06 07:08:09", "x.rsp", "/d/"),
            "App 1.0 on 2024-05-06 07:08:09\nWriting Response File\nFile: x.rsp\nFolder: /d/\n\n"
            "================================\n");
  EXPECT_EQ(CProbeRspClass::SavePrefixText("A", "T", "x.rsp", "$(Home)/"),
            "A on T\nWriting Response File\nFile: x.rsp\n\n================================\n");

  TempFolder folder;
  folder.Write("x.rsp", std::vector<uint8_t>(100000, 0xee));
  CProbeRspClass rsp;
  FillResponse(rsp);
  rsp.ETC()->SetIsPredicted_b(true);
  rsp.ProbeInfo()->SetPrRTime(4, 1.25F);
  ASSERT_EQ(rsp.SaveRSPFile(folder.Path(), "x.rsp", "App", 2.5F, 77, 640.0F), -1);
  EXPECT_EQ(rsp.ProbeInfo()->PrPulses(), 4);
  EXPECT_EQ(rsp.ProbeInfo()->PrLspInfos(), 2);
  EXPECT_EQ(rsp.ProbeInfo()->PrObstInfos(), 2);
  const std::vector<uint8_t> bytes = folder.Read("x.rsp");
  ASSERT_EQ(bytes.size(), 100000U);
  EXPECT_EQ(bytes.back(), 0xee);

  CProbeRspClass back;
  int32_t nRays = 0;
  float fCutOff = 0;
  std::string message;
  ASSERT_EQ(back.ReadRSPFile(folder.Path(), "x.rsp", false, "v", nRays, fCutOff, message, nullptr),
            0);
  EXPECT_EQ(nRays, 77);
  EXPECT_EQ(fCutOff, 640.0F);
  EXPECT_EQ(back.Pred()->DelayTime(), 2.5F);
  EXPECT_EQ(back.Pred()->RT60(4), 1.25F);
  EXPECT_EQ(back.Pred()->RTType(), 3);
  const std::string& text = back.InfoText()->SourceText();
  EXPECT_NE(text.find("\nApp on "), std::string::npos);
  EXPECT_NE(text.find("\nFolder: " + folder.Path() + "\n\n" + std::string(32, '=') +
                      "\nHall, row 12\nseat 4"),
            std::string::npos);
}

TEST(ResponseFileTest, SaveRSPFileReportsAnUnwritableFileAndAnswersFalse) {
  std::vector<std::pair<std::string, std::string>> shown;
  const ErrorDisplay previous = SetErrorDisplay(
      [&](const std::string& title, const std::string& text) { shown.emplace_back(title, text); });
  CProbeRspClass rsp;
  EXPECT_EQ(rsp.SaveRSPFile("/nonexistent-folder-zyra/", "x.rsp", "App", 0, 0, 0), 0);
  SetErrorDisplay(previous);
  ASSERT_EQ(shown.size(), 1U);
  EXPECT_EQ(shown[0].first, "ERROR in CProbeRspClass.SaveRSPFile");
  EXPECT_EQ(shown[0].second, "Code75: Path/File access error");
}

// ---- Hostile files ----

TEST(ResponseFileTest, HostileFilesFailAtOnce) {
  const std::string kRead = "Error in ReadRSPFile: ";
  struct Case {
    const char* file;
    std::string description;
  };
  const Case cases[] = {
      {"huge-npuls.rsp", "Input past end of file"},
      {"huge-nlsp.rsp", "Input past end of file"},
      {"huge-nobst-v0.rsp", "Input past end of file"},
      {"huge-nobst-unknown-version.rsp", "Input past end of file"},
      {"huge-text-length.rsp", "Input past end of file"},
      // Blocks that read on into the blocks behind them: each would read most of the file.
      {"overlapping-text-blocks.rsp", "Input past end of file"},
      {"overlapping-puls-blocks.rsp", "Input past end of file"},
  };
  for (const Case& c : cases) {
    CProbeRspClass rsp;
    const auto start = std::chrono::steady_clock::now();
    const ReadOutcome outcome = ReadFile(rsp, std::string(ZYRA_TEST_DATA_DIR) + "/", c.file);
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(outcome.result, -1) << c.file;
    EXPECT_EQ(outcome.message, kRead + c.description + '\0' + c.file) << c.file;
    EXPECT_LT(spent, std::chrono::seconds(2)) << c.file;
  }
}

#if !defined(ZYRA_TEST_UNDER_ASAN)
// Bytes the reader keeps after reading an image, as the allocator counts them.
size_t HeldAfterReading(const std::vector<uint8_t>& bytes) {
  auto rsp = std::make_unique<CProbeRspClass>();
  rsp->Rsp()->Pulses();  // the objects that exist before any file
  rsp->ObstInfo();
  const size_t before = mallinfo2().uordblks;
  int32_t nRays = 0;
  float fCutOff = 0;
  std::string message;
  EXPECT_GE(rsp->ReadRSPBytes(bytes, "", "m.rsp", false, "", nRays, fCutOff, message, nullptr), 0)
      << message;
  const size_t after = mallinfo2().uordblks;
  return after > before ? after - before : 0;
}

TEST(ResponseFileTest, ReadingHoldsASmallMultipleOfTheFileForEveryRecordKind) {
  // Blocks of 2000 records of the shortest kinds there are, each the body of a file.
  const int32_t n = 2000;
  const auto file = [&](const std::string& sHeader, size_t lRecord) {
    return Concat({GoodHeader(), Hex(sHeader), std::vector<uint8_t>(n * lRecord, 0)});
  };
  struct Case {
    const char* name;
    std::vector<uint8_t> bytes;
  };
  const Case cases[] = {
      {"obstacles, version 0 (18 bytes)",
       file("4f425354 0e00 0000 02000000 d0070000 12000000", 18)},
      {"obstacles, unknown version", file("4f425354 0e00 0900 02000000 d0070000 12000000", 18)},
      {"pulses, version 0 (78 bytes)", file("50554c53 0e00 0000 02000000 d0070000 4e000000", 78)},
      {"loudspeakers, version 0 (154 bytes)",
       file("4c53504b 0e00 0000 02000000 d0070000 9a000000", 154)},
  };
  for (const Case& c : cases) {
    const double ratio =
        static_cast<double>(HeldAfterReading(c.bytes)) / static_cast<double>(c.bytes.size());
    EXPECT_LT(ratio, 8.0) << c.name;
    EXPECT_GT(ratio, 0.5) << c.name;  // the count held what was read
  }
}
#endif

}  // namespace
}  // namespace zyra
