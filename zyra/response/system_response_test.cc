// The "PULS" and "LSPK" blocks of a system response: what is saved, renumbered and dropped, and
// how the readers filter, judge record lengths and refuse hostile counts.
#include "zyra/response/system_response.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"
#include "zyra/format/block_writing.h"

namespace zyra {
namespace {

using testing::ErrorNumberOf;
using testing::StreamHex;

// Loudspeakers: 1 saved; 2 inactive; 3 a valid coherence loudspeaker; 4 a coherence
// loudspeaker whose group is invalid (saved); 5 a bundle member (saved unless bundles are
// dropped). A pulse's ID is its row number.
CSystemResponse MakeResponse() {
  // Loudspeakers: active, coherence, invalid, member. Pulses: Origin, ROrder, inactive, coherence.
  const bool lsps[][4] = {{1, 0, 0, 0}, {0, 0, 0, 0}, {1, 1, 0, 0}, {1, 1, 1, 0}, {1, 0, 0, 1}};
  const int32_t pulses[][4] = {
      {1, 0, 0, 0},  // saved 1, Origin 1
      {3, 1, 0, 1},  // a coherence pulse: not saved
      {1, 2, 1, 0},  // an inactive reflection: not saved
      {2, 0, 1, 0},  // an inactive direct sound: saved 2, Origin 0, -200 dB
      {4, 1, 0, 0},  // saved 3, Origin 2
      {0, 0, 0, 0},  // saved 4, Origin 0
      {4, 0, 0, 0},  // saved 5, Origin 2
      {5, 0, 0, 0},  // saved 6, Origin 3
  };
  CSystemResponse rsp;
  rsp.LspInfos()->SetCount(5);
  for (int32_t i = 1; i <= 5; ++i) {
    const auto info = rsp.LspInfo(i);
    const bool* l = lsps[i - 1];
    info->SetLabel("L" + std::to_string(i));
    info->SetIsActive(l[0]);
    info->SetIsCoherence(l[1]);
    info->SetIsCoherenceInvalid(l[2]);
    info->SetIsMember(l[3]);
    info->SetPulsNr(99);
  }
  for (const auto& p : pulses) {
    auto puls = std::make_shared<CPulsClass>();
    if (rsp.Pulses()->Count() == 0) {  // flag bits without a property (0x88) and a Reserved text
      ByteStream stream = testing::StreamOf(
          testing::Patched(testing::Patched(testing::HexRun("00", 150), 94, "88"), 146, "41"));
      puls->ReadFromByteStream(stream, 1);
    }
    puls->SetOrigin(p[0]);
    puls->SetROrder(p[1]);
    puls->SetID(rsp.Pulses()->Count() + 1);
    puls->SetIsInactive(p[2] != 0);
    puls->SetIsCoherence(p[3] != 0);
    for (int32_t b = 0; b <= 21; ++b) puls->SetSPL(b, static_cast<int16_t>(5000 + b));
    rsp.Pulses()->AddPuls(puls);
  }
  return rsp;
}

TEST(SystemResponseTest, SavedBlocksDropSkippedRecordsAndRenumberOrigins) {
  const CSystemResponse rsp = MakeResponse();
  ByteStream stream;
  stream.WriteInt32(-1);  // the block starts where the stream stands
  int32_t lHeader = 0;
  rsp.SavePulsBlockToByteStream(stream, true, lHeader);
  EXPECT_EQ(lHeader, 20);
  ASSERT_EQ(stream.GetLength(), 4 + 20 + 6 * 150);
  EXPECT_EQ(StreamHex(stream, 4, 24),
            "50 55 4c 53 0e 00 01 00 03 00 00 00 06 00 00 00 96 00 00 00");
  // Per saved record: Origin, ID and flags (0x88 and the Reserved text left behind by the copy).
  const std::string records[] = {
      "01 00|01 00 00 00 00 00 00 00", "00 00|04 00 00 00 01 00 00 00",
      "02 00|05 00 00 00 00 00 00 00", "00 00|06 00 00 00 00 00 00 00",
      "02 00|07 00 00 00 00 00 00 00", "03 00|08 00 00 00 00 00 00 00",
  };
  for (int32_t k = 0; k < 6; ++k) {
    const int32_t lAt = 24 + 150 * k;
    EXPECT_EQ(StreamHex(stream, lAt, lAt + 2) + "|" + StreamHex(stream, lAt + 90, lAt + 98),
              records[k]);
    EXPECT_EQ(StreamHex(stream, lAt + 146, lAt + 150), "00 00 00 00") << k;
  }
  // The inactive direct sound keeps its place without energy in every band 0..21.
  EXPECT_EQ(StreamHex(stream, 24 + 150 + 2, 24 + 150 + 46),
            StreamHex(testing::StreamOf(testing::HexRun("e0b1", 22))));
  EXPECT_EQ(StreamHex(stream, 24 + 2, 24 + 4), "88 13");  // 5000 of an active one

  // The loudspeakers whose direct sounds the saved "PULS" block holds at 1, 5 and 6.
  for (const bool bDontSaveBundles : {false, true}) {
    ByteStream lsp;
    rsp.SaveLspInfoBlockToByteStream(lsp, bDontSaveBundles);
    EXPECT_EQ(StreamHex(lsp, 0, 20), bDontSaveBundles
                                         ? "4c 53 50 4b 0e 00 01 00 0e 00 00 00 02 00 00 00 "
                                           "70 01 00 00"
                                         : "4c 53 50 4b 0e 00 01 00 0e 00 00 00 03 00 00 00 "
                                           "28 02 00 00");
    lsp.SetPosition(0);
    CSystemResponse back;
    std::string sMessage = "old";
    ASSERT_EQ(back.ReadLspInfoBlockFromByteStream(lsp, sMessage), 0);
    std::string labels;
    for (int32_t i = 1; i <= back.LspInfos()->Count(); ++i)
      labels += back.LspInfo(i)->Label() + ":" + std::to_string(back.LspInfo(i)->PulsNr()) + " ";
    EXPECT_EQ(labels, bDontSaveBundles ? "L1:1 L4:5 " : "L1:1 L4:5 L5:6 ");
  }
  // Only a valid coherence loudspeaker: no block at all, not an empty one.
  CSystemResponse coherent;
  coherent.LspInfos()->SetCount(1);
  coherent.LspInfo(1)->SetIsActive(true);
  coherent.LspInfo(1)->SetIsCoherence(true);
  ByteStream none;
  EXPECT_FALSE(coherent.SaveLspInfoBlockToByteStream(none, false));
  EXPECT_EQ(none.GetLength(), 0);
  // Origin 0 saves as 0; anything outside 0..Count of the loudspeakers is error 9 to both.
  for (const int32_t lOrigin : {6, -1}) {
    CSystemResponse bad = MakeResponse();
    bad.Puls(7)->SetOrigin(lOrigin);  // a direct sound, looked at by both writers
    ByteStream out;
    EXPECT_EQ(ErrorNumberOf([&] { bad.SavePulsBlockToByteStream(out, true, lHeader); }),
              kErrSubscript);
    EXPECT_EQ(ErrorNumberOf([&] { bad.SaveLspInfoBlockToByteStream(out, false); }), kErrSubscript);
  }
}

// A block header followed by hex bytes.
ByteStream Block(const char* sID, int16_t iVersion, int32_t nInfo, int32_t lInfo,
                 const std::string& hex) {
  ByteStream stream;
  MakeBlockHeader(sID, 14, iVersion, 14, nInfo, lInfo).SaveToByteStream(stream);
  return testing::StreamOf(StreamHex(stream) + " " + hex);
}

// Saved records as hex, each cut to the record length of iVersion.
std::string PulsRecords(int16_t iVersion, const std::vector<CPulsClass>& records) {
  std::string hex;
  for (const CPulsClass& puls : records) {
    ByteStream stream;
    puls.SaveToByteStream(stream);
    hex += StreamHex(stream, 0, iVersion == 0 ? 78 : 150) + " ";
  }
  return hex;
}

TEST(SystemResponseTest, PulsReaderFiltersAndReportsBundlesWithoutPseudoPulse) {
  std::vector<CPulsClass> records(5);
  for (int32_t i = 0; i < 5; ++i) records[i].SetID(i + 1);
  records[1].SetIsInactive(true);
  records[2].SetIsPseudo(true);
  records[3].SetIsBundle(true);
  records[3].SetROrder(1);
  records[4].SetIsBundle(true);
  records[4].SetROrder(2);
  records[4].SetID_Pseudo(9);
  const struct {
    int32_t lIDPseudo;  // of the bundle reflection: 1 names a pseudo pulse there
    bool bInactive, bPseudos, bBundles;
    std::vector<int32_t> ids;
  } cases[] = {
      {0, false, false, false, {1, 2, 3, 4, 5}}, {0, true, false, false, {1, 3, 4, 5}},
      {0, false, true, false, {1, 2, 4, 5}},     {0, false, false, true, {1, 2, 3}},
      {1, false, false, false, {1, 2, 3, 4, 5}},
  };
  for (const auto& c : cases) {
    records[3].SetID_Pseudo(c.lIDPseudo);
    ByteStream stream = Block("PULS", 1, 5, 150, PulsRecords(1, records));
    CSystemResponse rsp;
    std::string sMessage = "old";
    // 1 for a bundle reflection without pseudo pulse, even when it is filtered out.
    EXPECT_EQ(rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, c.bInactive, c.bPseudos,
                                              c.bBundles),
              c.lIDPseudo == 0 ? 1 : 0);
    EXPECT_EQ(sMessage, "");
    EXPECT_EQ(stream.GetPosition(), stream.GetLength());
    std::vector<int32_t> ids;
    for (int32_t i = 1; i <= rsp.Pulses()->Count(); ++i) ids.push_back(rsp.Puls(i)->ID());
    EXPECT_EQ(ids, c.ids) << c.bInactive << c.bPseudos << c.bBundles;
  }
}

std::string SavedLspHex(const std::string& sLabel) {
  CLspInfoClass info;
  info.SetLabel(sLabel);
  ByteStream stream;
  info.SaveToByteStream(stream);
  return StreamHex(stream);
}

TEST(SystemResponseTest, ReadersJudgeRecordLengthsAndCountsBeforeAllocating) {
  std::vector<CPulsClass> pulses(2);
  pulses[1].SetID(77);
  const std::string v0Lsp = testing::HexRun("20", 154);
  const std::string badFixed = testing::Patched(SavedLspHex("B"), 4, "af");
  const struct {
    const char* sID;
    int16_t iVersion;
    int32_t nInfo, lInfo;
    std::string body;
    int32_t result;  // or a run-time error number when above 0
    std::string message;
    int32_t nCount;  // records afterwards, 4 before
  } cases[] = {
      // Two pulse records in the stream: a claim of more fails as a short stream does.
      {"PULS", 0, 2, 78, PulsRecords(0, pulses), 0, "", 2},
      {"PULS", 0, 2, 150, PulsRecords(0, pulses), -1, "Bad Puls Length", 4},
      {"PULS", 1, 2, 150, PulsRecords(1, pulses), 0, "", 2},
      {"PULS", 2, 2, -1, PulsRecords(1, pulses), -1, "Bad Puls Length", 4},
      {"PULS", 1, 3, 150, PulsRecords(1, pulses), kErrPastEnd, "", 4},
      {"PULS", 1, 0x7fffffff, 150, PulsRecords(1, pulses), kErrPastEnd, "", 4},
      {"PULS", 1, -1, 150, PulsRecords(1, pulses), kErrInvalidCall, "", 4},
      {"LSPK", 0, 1, 154, v0Lsp, 0, "", 1},
      {"LSPK", 0, 1, 150, v0Lsp, -1, "Bad LspInfo30 Length", 4},
      {"LSPK", 1, 2, 0, SavedLspHex("A") + " " + SavedLspHex("B"), 0, "", 2},
      // the records read before the bad one stay
      {"LSPK", 1, 2, 0, SavedLspHex("A") + " " + badFixed, -1, "Bad LspInfo Length", 2},
      {"LSPK", 1, 0x7fffffff, 0, SavedLspHex("A"), kErrPastEnd, "", 4},
      {"LSPK", 1, 2, 0, SavedLspHex(""), kErrPastEnd, "", 4},  // 1 shortest record there
      {"LSPK", 1, -1, 0, "", kErrInvalidCall, "", 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << c.sID << " " << c.iVersion << " " << c.nInfo << " " << c.lInfo);
    CSystemResponse rsp;
    rsp.Pulses()->SetCount(4, nullptr);
    rsp.LspInfos()->SetCount(4);
    ByteStream stream = Block(c.sID, c.iVersion, c.nInfo, c.lInfo, c.body);
    const bool bPuls = std::string(c.sID) == "PULS";
    std::string sMessage = "old";
    int32_t result = 99;
    EXPECT_EQ(ErrorNumberOf([&] {
                result = bPuls ? rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false,
                                                                 false, false)
                               : rsp.ReadLspInfoBlockFromByteStream(stream, sMessage);
              }),
              c.result > 0 ? c.result : 0);
    if (c.result <= 0) {
      EXPECT_EQ(result, c.result);
      EXPECT_EQ(sMessage, c.message);
    }
    EXPECT_EQ(bPuls ? rsp.Pulses()->Count() : rsp.LspInfos()->Count(), c.nCount);
    if (c.nCount == 2 && bPuls) {
      EXPECT_EQ(rsp.Puls(2)->ID(), c.iVersion == 0 ? 0 : 77);  // version 0 has no ID
    } else if (c.nCount == 2) {
      EXPECT_EQ(rsp.LspInfo(1)->Label(), "A");
    }
  }
}

}  // namespace
}  // namespace zyra
