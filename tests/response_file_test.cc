// Whole response files: block order and counts, the reader's failure modes, hostile files.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "testing/block_check.h"
#include "testing/temp_folder.h"
#include "testing/test_support.h"
#include "zyra/format/block_walk.h"
#include "zyra/rsp/host_sequence.h"
#include "zyra/rsp/probe_rsp.h"

#if !defined(ZYRA_UNDER_ASAN)
#include <malloc.h>
#endif

namespace zyra {
namespace {

namespace fs = std::filesystem;
using testing::Hex;
using testing::TempFolder;

struct ReadOutcome {
  int32_t result = 0;
  std::string message = "stale";
  int32_t nRays = -7;
  float fCutOff = -7;
};
ReadOutcome ReadFile(CProbeRspClass& rsp, const std::string& sPath, const std::string& sFile,
                     bool bIsDefaultLocalRT = false) {
  ReadOutcome o;
  o.result = rsp.ReadRSPFile(sPath, sFile, bIsDefaultLocalRT, "zyra test", o.nRays, o.fCutOff,
                             o.message, nullptr);
  return o;
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
  for (int32_t i = 1; i <= 4; ++i) {
    CPulsClass& puls = *sys.Puls(i);
    puls.SetOrigin((i + 1) / 2);
    puls.SetROrder(i % 2 == 1 ? 0 : 2);
    puls.SetID(i);
    puls.SetTravel(10.0F * static_cast<float>(i));
    for (int32_t b = 0; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(8000 - 100 * i));
      puls.SetPhase(b, static_cast<int16_t>(100 * b));
      rsp.LocalRTInfo()->SetLocalRTime(b, 0.05F * static_cast<float>(b));
    }
  }
  for (int32_t i = 1; i <= 2; ++i) {
    sys.LspInfo(i)->SetLabel("Lsp" + std::to_string(i));
    sys.LspInfo(i)->SetIsActive(true);
    for (int32_t b = 0; b <= 21; ++b) sys.LspInfo(i)->SetSPL1m(b, 9000);
  }
  rsp.ObstInfo()->SetCount(2);
  rsp.ObstInfo()->ObstInfo(1)->SetLabel("Pillar");
  rsp.ObstInfo()->ObstInfo(2)->SetItem(7);
  rsp.ETC()->SetRTType(2);
  rsp.Pred()->SetRaysPerLspk(5000);
  rsp.Pred()->SetLength1(800.0F);
}

// The blocks of an image as the reader's walk finds them: "TEXT PROB ..." in file order, each
// identifier followed by "!" when flagged as the last block; where "PULS" starts.
std::string WalkBlocks(const std::vector<uint8_t>& bytes, int32_t* pulsAt = nullptr) {
  BlockWalk walk(bytes);
  std::string ids;
  while (walk.Next()) {
    const WalkedBlock& block = walk.Block();
    if (block.eKind == BlockKind::kPulses && pulsAt != nullptr) *pulsAt = block.lOffset;
    ids += (ids.empty() ? "" : " ") + block.header.IDfx() +
           (IsFlagSet(block.header.flags(), kBlockFlagLast) ? "!" : "");
  }
  return ids;
}

TEST(ResponseFileTest, SaveWritesTheBlocksInOrderAndCountsOnlyThoseWritten) {
  for (const bool bAll : {true, false}) {
    CProbeRspClass rsp;
    FillResponse(rsp);
    if (!bAll) {  // NaN length, no local reverberation, no active loudspeaker: no PRED, SLRT, LSPK
      rsp.Pred()->SetLength1(std::nanf(""));
      rsp.ProbeInfo()->SetIsLocalRTInfo_b(false);
      for (const int32_t i : {1, 2}) rsp.Rsp()->LspInfo(i)->SetIsActive(false);
    }
    const std::vector<uint8_t> bytes = Image(rsp);
    int32_t pulsAt = -1;
    EXPECT_EQ(WalkBlocks(bytes, &pulsAt),
              bAll ? "TEXT PROB LSPK OBST TAIL PRED SLRT PULS!" : "TEXT PROB OBST TAIL PULS!");
    // Magic, nHdr (the header and the blocks), 20, kind, version 1, no flags, nRcd = 4 - 1,
    // lRcd 150, addr: the 1-based position of the first pulse record.
    ByteStream tail;
    tail.WriteInt32(pulsAt + 20 + 1);
    EXPECT_EQ(testing::ToHex(std::span(bytes).first(30)),
              std::string("5a 59 52 41 03 00 ") + (bAll ? "09" : "06") +
                  " 00 14 00 52 46 01 00 00 00 00 00 03 00 00 00 96 00 00 00 " +
                  testing::StreamHex(tail));
  }
}

TEST(ResponseFileTest, ReadPreparedAndSavedAgainGivesTheSameBytesTheSecondTime) {
  const TempFolder folder;
  CProbeRspClass source;
  FillResponse(source);
  const std::string kText = source.InfoText()->SourceText();
  testing::WriteWholeFile(folder / "0.rsp", Image(source, "prefix\n"));
  for (const std::string sIn : {"0.rsp", "1.rsp"}) {
    CProbeRspClass rsp;
    const ReadOutcome outcome = ReadFile(rsp, folder.Slashed(), sIn);
    EXPECT_EQ(outcome.result, 0) << sIn;
    EXPECT_EQ(outcome.message, "") << sIn;
    EXPECT_EQ(rsp.InfoText()->SourceText(),
              "zyra test Response File: \n" + folder.Slashed() + sIn + "\n\nprefix\n" + kText);
    std::string message;
    EXPECT_EQ(PrepareResponseAfterRead(rsp, false, true, message, nullptr), 0) << message;
    EXPECT_EQ(rsp.Rsp()->Pulses()->Count(), 4);
    EXPECT_EQ(rsp.ObstInfo()->ObstInfo(1)->Label(), "Pillar" + std::string(250, ' '));
    // The banner and prefix of this cycle come off, so the text does not grow with each one.
    rsp.InfoText()->SetSourceText(kText);
    testing::WriteWholeFile(folder / (sIn == "0.rsp" ? "1.rsp" : "2.rsp"), Image(rsp, "prefix\n"));
  }
  EXPECT_EQ(testing::ReadWholeFile(folder / "1.rsp"), testing::ReadWholeFile(folder / "2.rsp"));
  // Asked for, the local reverberation becomes the probe's (bands 1 ... 21).
  for (const bool bDefault : {false, true}) {
    CProbeRspClass rsp;
    ASSERT_EQ(ReadFile(rsp, folder.Slashed(), "1.rsp", bDefault).result, 0);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTType(), bDefault ? 19 : 3);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTime(21), bDefault ? 0.05F * 21 : 0.0F);
    EXPECT_EQ(rsp.ProbeInfo()->PrRTime(0), 0.0F);
  }
}

std::vector<uint8_t> FileHeader(const std::string& sMagic, const std::string& sKind,
                                const std::string& sVersion) {
  return Hex(sMagic + "0200 1400" + sKind + sVersion + "00000000 ffffffff 96000000 00000000");
}
const std::vector<uint8_t> kGoodHeader = FileHeader("5a5952410300", "5246", "0100");
// "TEXT" version 0 with lInfo 5 in front of 8 bytes "abcdefgh": the old writers' length.
const std::string kOldText = "54455854 0e00 0000 04000000 00000000 05000000 6162636465666768";
// "OBST" version 0 with one record: Item 3, a 16-character label.
const std::vector<uint8_t> kOneObstacle = Concat(
    {Hex("4f425354 0e00 0000 02000000 01000000 12000000 0300"), std::vector<uint8_t>(16, 'o')});
std::vector<uint8_t> ProbeBlock() {
  return Hex(testing::Saved(CProbeInfoClass()));
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

// A file kept under tests/data: an input that once made the reader allocate or work without
// bound.
std::vector<uint8_t> Kept(const std::string& sName) {
  const std::string text = testing::ReadWholeFile(std::string(ZYRA_TEST_DATA_DIR) + "/" + sName);
  EXPECT_FALSE(text.empty()) << sName;
  return {text.begin(), text.end()};
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
  std::vector<uint8_t> vexaV2 = OldGroupedFile(kVexaText);
  vexaV2[12] = 2;
  const std::vector<uint8_t> kTextHello =
      Concat({kGoodHeader, Hex("54455854 0e00 0100 02000000 01000000 05000000 68656c6c6f")});
  const struct {
    const char* name;
    std::optional<std::vector<uint8_t>> bytes;  // none: no file at all
    int32_t result;
    std::string message;
    int32_t nObst = -1, iFromFile = -1, iVexa = -1;  // -1: not looked at
    std::string sTextEnd = "";
  } cases[] = {
      {"missing file", std::nullopt, 0, "", 0},
      {"empty file", std::vector<uint8_t>{}, 0, "", 0},
      {"magic ending 3 1", FileHeader("5a5952410301", "5246", "0100"), -1, "No ZYRA Response File"},
      {"kind other than RF", FileHeader("5a5952410300", "5346", "0100"), -1, "No Response File"},
      {"version 3", FileHeader("5a5952410300", "5246", "0300"), -1, "Unknown Version"},
      {"file header cut short", Hex("5a595241 0300 0200 1400 5246 0100 00000000"), -1, kPastEnd},
      {"block header cut short", Concat({kGoodHeader, Hex("54455854 0e00 0100 0200")}), -1,
       kPastEnd},
      {"header with nInfo -5 ends the read quietly",
       Concat({kGoodHeader, Hex("50524f42 0e00 0100 00000000 fbffffff 04000000"), kOneObstacle}), 0,
       "", 0},
      {"unknown block is skipped",
       Concat({kGoodHeader, Hex("41424344 0e00 0100 04000000 00000000 03000000 010203"),
               kOneObstacle}),
       0, "", 1},
      {"no PULS block: read to the end", Concat({kTextHello, kOneObstacle}), 0, "", 1, 1, -1,
       "case.rsp\n\nhello"},
      {"failing block reader ends the read, its message kept, the steps skipped",
       Concat({kGoodHeader, Hex("54455854 0e00 0200 02000000 01000000 00000000"), kOneObstacle}), 0,
       "Unknown Text Block!", 0, 0},
      // The walk loses its step in the old text, so the obstacle behind it is not found.
      {"old text block 3 bytes short: read as stored, the step keeps its length",
       Concat({kGoodHeader, Hex(kOldText), ProbeBlock(), kOneObstacle}), 0, "", 0, -1, -1,
       "\n\nabcde"},
      {"old grouped file of a Vexa calculation warns", OldGroupedFile(kVexaText), 1, kWarning, -1,
       -1, 1},
      {"same file not from Vexa", OldGroupedFile("Vexa Calculation\nLength [ms]: 800"), 0, "", -1,
       -1, 0},
      {"same file of version 2", vexaV2, 0, ""},
      // Small files claiming two billion records, or blocks reading on into the blocks behind
      // them: each count is checked against the bytes left before anything is allocated.
      {"huge-npuls.rsp", Kept("huge-npuls.rsp"), -1, kPastEnd},
      {"huge-nlsp.rsp", Kept("huge-nlsp.rsp"), -1, kPastEnd},
      {"huge-nobst-v0.rsp", Kept("huge-nobst-v0.rsp"), -1, kPastEnd},
      {"huge-nobst-unknown-version.rsp", Kept("huge-nobst-unknown-version.rsp"), -1, kPastEnd},
      {"huge-text-length.rsp", Kept("huge-text-length.rsp"), -1, kPastEnd},
      {"overlapping-text-blocks.rsp", Kept("overlapping-text-blocks.rsp"), -1, kPastEnd},
      {"overlapping-puls-blocks.rsp", Kept("overlapping-puls-blocks.rsp"), -1, kPastEnd},
  };
  const TempFolder folder;
  for (const auto& c : cases) {
    fs::remove(folder / "case.rsp");
    if (c.bytes) testing::WriteWholeFile(folder / "case.rsp", *c.bytes);
    CProbeRspClass rsp;
    rsp.ObstInfo()->SetCount(4);  // every read starts from an empty model
    const ReadOutcome outcome = ReadFile(rsp, folder.Slashed(), "case.rsp");
    SCOPED_TRACE(c.name);
    EXPECT_EQ(outcome.result, c.result);
    EXPECT_EQ(outcome.message, c.message);
    // A column of -1 compares -1 with itself.
    EXPECT_EQ(c.nObst < 0 ? -1 : rsp.ObstInfo()->Count(), c.nObst);
    EXPECT_EQ(c.iFromFile < 0 ? -1 : rsp.Rsp()->Pulses()->DataOrigin() == PB_EOrigin_ZYRAFile,
              c.iFromFile);
    EXPECT_EQ(c.iVexa < 0 ? -1 : rsp.ProbeInfo()->IsVexaResponse_b(), c.iVexa);
    EXPECT_TRUE(rsp.InfoText()->SourceText().ends_with(c.sTextEnd));
  }
}

TEST(ResponseFileTest, OldTextRepairFindsTheNextBlockBehindTheStoredLength) {
  // "PROB" follows 3 bytes behind the computed end: found. Nothing known behind it: kept.
  for (const bool bProbeFollows : {true, false}) {
    ByteStream stream;
    stream.LoadFromBytes(Concat({kGoodHeader, Hex(kOldText),
                                 bProbeFollows ? ProbeBlock() : std::vector<uint8_t>(40, 'x')}));
    stream.SetPosition(30);
    CRspBlockHeaderClass header;
    header.ReadFromByteStream(stream);
    EXPECT_EQ(CProbeRspClass::RepairOldTextBlockHeader(stream, 30, header), bProbeFollows);
    EXPECT_EQ(header.lInfo(), bProbeFollows ? 8 : 5);
  }
}

TEST(ResponseFileTest, SaveRSPFileWritesThePrefixAndOverwritesWithoutTruncating) {
  const std::string kRule = "\n\n" + std::string(32, '=') + "\n";
  // The folder line is left out for the home placeholder; the read-back below shows it otherwise.
  EXPECT_EQ(CProbeRspClass::SavePrefixText("A", "T", "x.rsp", "$(Home)/"),
            "A on T\nWriting Response File\nFile: x.rsp" + kRule);

  const TempFolder folder;
  testing::WriteWholeFile(folder / "x.rsp", std::string(100000, '\xee'));
  CProbeRspClass rsp;
  FillResponse(rsp);
  rsp.ETC()->SetIsPredicted_b(true);
  rsp.ProbeInfo()->SetPrRTime(4, 1.25F);
  ASSERT_EQ(rsp.SaveRSPFile(folder.Slashed(), "x.rsp", "App", 2.5F, 77, 640.0F), -1);
  EXPECT_EQ(rsp.ProbeInfo()->PrPulses(), 4);
  const std::string bytes = testing::ReadWholeFile(folder / "x.rsp");
  ASSERT_EQ(bytes.size(), 100000U);
  EXPECT_EQ(bytes.back(), '\xee');

  CProbeRspClass back;
  const ReadOutcome read = ReadFile(back, folder.Slashed(), "x.rsp");
  ASSERT_EQ(read.result, 0) << read.message;
  EXPECT_EQ(read.nRays, 77);
  EXPECT_EQ(read.fCutOff, 640.0F);
  EXPECT_EQ(back.Pred()->DelayTime(), 2.5F);
  EXPECT_EQ(back.Pred()->RT60(4), 1.25F);
  EXPECT_NE(back.InfoText()->SourceText().find("\nFolder: " + folder.Slashed() + kRule +
                                               "Hall, row 12\nseat 4"),
            std::string::npos);
}

#if !defined(ZYRA_UNDER_ASAN)
// Bytes the allocator has handed out, from its heap and as mappings of their own.
size_t AllocatedBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Bytes the reader keeps after reading an image, as the allocator counts them.
size_t HeldAfterReading(const std::vector<uint8_t>& bytes) {
  auto rsp = std::make_unique<CProbeRspClass>();
  rsp->Rsp()->Pulses();  // the objects that exist before any file
  rsp->ObstInfo();
  const size_t before = AllocatedBytes();
  int32_t nRays = 0;
  float fCutOff = 0;
  std::string message;
  EXPECT_GE(rsp->ReadRSPBytes(bytes, "", "m.rsp", false, "", nRays, fCutOff, message, nullptr), 0)
      << message;
  const size_t after = AllocatedBytes();
  return after > before ? after - before : 0;
}

TEST(ResponseFileTest, ReadingHoldsASmallMultipleOfTheFileForEveryRecordKind) {
  // Blocks of 2000 records (d0070000) of the shortest kinds there are, each the body of a file:
  // obstacles of version 0 and of an unknown version, pulses and loudspeakers of version 0.
  const std::pair<const char*, size_t> blocks[] = {
      {"4f425354 0e00 0000 02000000 d0070000 12000000", 18},
      {"4f425354 0e00 0900 02000000 d0070000 12000000", 18},
      {"50554c53 0e00 0000 02000000 d0070000 4e000000", 78},
      {"4c53504b 0e00 0000 02000000 d0070000 9a000000", 154}};
  for (const auto& [sHeader, lRecord] : blocks) {
    const std::vector<uint8_t> bytes =
        Concat({kGoodHeader, Hex(sHeader), std::vector<uint8_t>(2000 * lRecord, 0)});
    const double ratio =
        static_cast<double>(HeldAfterReading(bytes)) / static_cast<double>(bytes.size());
    EXPECT_LT(ratio, 8.0) << sHeader;
    EXPECT_GT(ratio, 0.5) << sHeader;  // the count held what was read
  }
}
#endif

}  // namespace
}  // namespace zyra
