#include "zyra/response/system_response.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"
#include "zyra/format/rsp_block_header.h"

namespace zyra {
namespace {

using testing::ErrorNumberOf;
using testing::StreamHex;

// Loudspeakers: 1 saved; 2 inactive; 3 a valid coherence loudspeaker; 4 a coherence
// loudspeaker whose group is invalid (saved); 5 a bundle member (saved unless bundles are
// dropped). Pulses: Origin, ROrder, inactive, coherence; ID = row number.
CSystemResponse MakeResponse() {
  const struct {
    bool bActive, bCoherence, bInvalid, bMember;
  } lsps[] = {{true, false, false, false},
              {false, false, false, false},
              {true, true, false, false},
              {true, true, true, false},
              {true, false, false, true}};
  const struct {
    int32_t lOrigin, lOrder;
    bool bInactive, bCoherence;
  } pulses[] = {
      {1, 0, false, false},  // saved 1, Origin 1
      {3, 1, false, true},   // a coherence pulse: not saved
      {1, 2, true, false},   // an inactive reflection: not saved
      {2, 0, true, false},   // an inactive direct sound: saved 2, Origin 0, -200 dB
      {4, 1, false, false},  // saved 3, Origin 2
      {0, 0, false, false},  // saved 4, Origin 0
      {4, 0, false, false},  // saved 5, Origin 2
      {5, 0, false, false},  // saved 6, Origin 3
  };
  CSystemResponse rsp;
  rsp.LspInfos()->SetCount(5);
  for (int32_t i = 1; i <= 5; ++i) {
    const auto& l = lsps[i - 1];
    const auto info = rsp.LspInfo(i);
    info->SetLabel("L" + std::to_string(i));
    info->SetIsActive(l.bActive);
    info->SetIsCoherence(l.bCoherence);
    info->SetIsCoherenceInvalid(l.bInvalid);
    info->SetIsMember(l.bMember);
    info->SetPulsNr(99);
  }
  for (const auto& p : pulses) {
    auto puls = std::make_shared<CPulsClass>();
    if (rsp.Pulses()->Count() == 0) {  // flag bits without a property (0x88) and a Reserved text
      std::vector<uint8_t> bytes(150, 0);
      bytes[94] = 0x88;
      bytes[146] = 'A';
      ByteStream stream;
      stream.LoadFromBytes(std::move(bytes));
      puls->ReadFromByteStream(stream, 1);
    }
    puls->SetOrigin(p.lOrigin);
    puls->SetROrder(p.lOrder);
    puls->SetID(rsp.Pulses()->Count() + 1);
    puls->SetIsInactive(p.bInactive);
    puls->SetIsCoherence(p.bCoherence);
    for (int32_t b = 0; b <= 21; ++b) puls->SetSPL(b, static_cast<int16_t>(5000 + b));
    rsp.Pulses()->AddPuls(puls);
  }
  return rsp;
}

TEST(SystemResponseTest, PulsBlockDropsSkippedPulsesAndRenumbersOrigins) {
  const CSystemResponse rsp = MakeResponse();
  ByteStream stream;
  stream.WriteInt32(-1);  // the block starts where the stream stands
  int32_t lHeader = 0;
  rsp.SavePulsBlockToByteStream(stream, true, lHeader);
  EXPECT_EQ(lHeader, 20);
  ASSERT_EQ(stream.GetLength(), 4 + 20 + 6 * 150);
  EXPECT_EQ(stream.GetPosition(), stream.GetLength());
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
  std::string silent = "e0 b1";
  for (int32_t b = 1; b <= 21; ++b) silent += " e0 b1";
  EXPECT_EQ(StreamHex(stream, 24 + 150 + 2, 24 + 150 + 46), silent);
  EXPECT_EQ(StreamHex(stream, 24 + 2, 24 + 4), "88 13");  // 5000 of an active one
  // The buffer itself is not changed.
  EXPECT_EQ(rsp.Puls(4)->SPL(0), 5000);
  EXPECT_EQ(rsp.Puls(5)->Origin(), 4);
  // Origin 0 saves as 0; anything outside 0..Count of the loudspeakers is error 9 to both
  // writers.
  for (const int32_t lOrigin : {6, -1}) {
    CSystemResponse bad = MakeResponse();
    bad.Puls(7)->SetOrigin(lOrigin);  // a direct sound, looked at by both writers
    ByteStream out;
    EXPECT_EQ(ErrorNumberOf([&] { bad.SavePulsBlockToByteStream(out, true, lHeader); }),
              kErrSubscript);
    EXPECT_EQ(ErrorNumberOf([&] { bad.SaveLspInfoBlockToByteStream(out, false); }), kErrSubscript);
  }
}

TEST(SystemResponseTest, SavedBlocksAgreeOnWhichLoudspeakerEachPulseCameFrom) {
  for (const bool bDontSaveBundles : {false, true}) {
    const CSystemResponse rsp = MakeResponse();
    ByteStream stream;
    rsp.SaveLspInfoBlockToByteStream(stream, bDontSaveBundles);
    EXPECT_EQ(StreamHex(stream, 0, 20), bDontSaveBundles
                                            ? "4c 53 50 4b 0e 00 01 00 0e 00 00 00 02 00 00 00 "
                                              "70 01 00 00"
                                            : "4c 53 50 4b 0e 00 01 00 0e 00 00 00 03 00 00 00 "
                                              "28 02 00 00");
    int32_t lHeader = 0;
    rsp.SavePulsBlockToByteStream(stream, true, lHeader);

    stream.SetPosition(0);
    CSystemResponse back;
    std::string sMessage = "old";
    ASSERT_EQ(back.ReadLspInfoBlockFromByteStream(stream, sMessage), 0);
    EXPECT_EQ(sMessage, "");
    std::string labels;
    for (int32_t i = 1; i <= back.LspInfos()->Count(); ++i)
      labels += back.LspInfo(i)->Label() + ":" + std::to_string(back.LspInfo(i)->PulsNr()) + " ";
    EXPECT_EQ(labels, bDontSaveBundles ? "L1:1 L4:5 " : "L1:1 L4:5 L5:6 ");
    if (bDontSaveBundles) continue;
    ASSERT_EQ(back.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false, false, false), 0);
    ASSERT_EQ(back.Pulses()->Count(), 6);
    for (int32_t i = 1; i <= back.Pulses()->Count(); ++i) {
      const auto puls = back.Puls(i);
      const int32_t lOrigin = rsp.Puls(puls->ID())->Origin();
      if (puls->Origin() == 0) {
        // No loudspeaker, or one that is not saved (the inactive one).
        EXPECT_TRUE(lOrigin == 0 || !rsp.LspInfo(lOrigin)->IsActive()) << i;
        continue;
      }
      EXPECT_EQ(back.LspInfo(puls->Origin())->Label(), rsp.LspInfo(lOrigin)->Label()) << i;
      EXPECT_TRUE(!puls->IsDirectSound() || back.LspInfo(puls->Origin())->PulsNr() == i) << i;
    }
  }
  // Only a valid coherence loudspeaker: no block at all, not an empty one.
  CSystemResponse coherent;
  coherent.LspInfos()->SetCount(1);
  coherent.LspInfo(1)->SetIsActive(true);
  coherent.LspInfo(1)->SetIsCoherence(true);
  ByteStream stream;
  coherent.SaveLspInfoBlockToByteStream(stream, false);
  EXPECT_EQ(stream.GetLength(), 0);
}

// A block header followed by hex bytes.
ByteStream Block(const char* sID, int16_t iVersion, int32_t nInfo, int32_t lInfo,
                 const std::string& hex) {
  CRspBlockHeaderClass header;
  header.SetIDfx(sID);
  header.SetlHdr(14);
  header.SetVrsn(iVersion);
  header.Setflags(14);
  header.SetnInfo(nInfo);
  header.SetlInfo(lInfo);
  ByteStream stream;
  header.SaveToByteStream(stream);
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
  records[3].SetIsBundle(true);  // a bundle reflection without pseudo pulse
  records[3].SetROrder(1);
  records[4].SetIsBundle(true);
  records[4].SetROrder(2);
  records[4].SetID_Pseudo(9);
  const struct {
    bool bInactive, bPseudos, bBundles;
    std::vector<int32_t> ids;
  } cases[] = {
      {false, false, false, {1, 2, 3, 4, 5}},
      {true, false, false, {1, 3, 4, 5}},
      {false, true, false, {1, 2, 4, 5}},
      {false, false, true, {1, 2, 3}},
      {true, true, true, {1}},
  };
  for (const auto& c : cases) {
    ByteStream stream = Block("PULS", 1, 5, 150, PulsRecords(1, records));
    CSystemResponse rsp;
    std::string sMessage = "old";
    // 1 even when the bundle reflection itself is filtered out.
    EXPECT_EQ(rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, c.bInactive, c.bPseudos,
                                              c.bBundles),
              1);
    EXPECT_EQ(sMessage, "");
    EXPECT_EQ(stream.GetPosition(), stream.GetLength());
    std::vector<int32_t> ids;
    for (int32_t i = 1; i <= rsp.Pulses()->Count(); ++i) ids.push_back(rsp.Puls(i)->ID());
    EXPECT_EQ(ids, c.ids) << c.bInactive << c.bPseudos << c.bBundles;
  }
  records[3].SetID_Pseudo(1);  // now the pseudo pulse is there
  ByteStream stream = Block("PULS", 1, 5, 150, PulsRecords(1, records));
  CSystemResponse rsp;
  std::string sMessage;
  EXPECT_EQ(rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false, false, false), 0);
}

TEST(SystemResponseTest, PulsRecordLengthAndCountMustFit) {
  struct Case {
    int16_t iVersion;
    int32_t lInfo, nInfo, result;  // result above 0: the run-time error raised
  };
  // Two records in the stream: a claim of more fails as a short stream does, before allocating.
  const Case cases[] = {{0, 78, 2, 0},
                        {0, 150, 2, -1},
                        {1, 78, 2, -1},
                        {1, 150, 2, 0},
                        {2, -1, 2, -1},
                        {2, 150, 2, -1},
                        {1, 150, 3, kErrPastEnd},
                        {1, 150, 0x7fffffff, kErrPastEnd},
                        {1, 150, -1, kErrInvalidCall}};
  std::vector<CPulsClass> records(2);
  records[1].SetID(77);
  for (const Case& c : cases) {
    CSystemResponse rsp;
    rsp.Pulses()->SetCount(4, nullptr);
    ByteStream stream =
        Block("PULS", c.iVersion, c.nInfo, c.lInfo, PulsRecords(c.iVersion == 0 ? 0 : 1, records));
    std::string sMessage = "old";
    StringLogger logger;
    int32_t result = 99;
    EXPECT_EQ(ErrorNumberOf([&] {
                result = rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false, false,
                                                         false, &logger);
              }),
              c.result > 0 ? c.result : 0);
    SCOPED_TRACE(::testing::Message() << c.iVersion << " " << c.lInfo << " " << c.nInfo);
    if (c.result == 0) {
      EXPECT_EQ(sMessage, "");
      ASSERT_EQ(rsp.Pulses()->Count(), 2);
      EXPECT_EQ(rsp.Puls(2)->ID(), c.iVersion == 0 ? 0 : 77);  // version 0 has no ID
      EXPECT_EQ(logger.Lines()[0], "BHd.IDfx PULS");
      EXPECT_EQ(logger.Lines()[8], "Puls(1):");
    } else {
      EXPECT_EQ(sMessage, c.result < 0 ? "Bad Puls Length" : "old");
      EXPECT_EQ(rsp.Pulses()->Count(), 4);
    }
  }
}

std::string SavedLspHex(const std::string& sLabel) {
  CLspInfoClass info;
  info.SetLabel(sLabel);
  ByteStream stream;
  info.SaveToByteStream(stream);
  return StreamHex(stream);
}

TEST(SystemResponseTest, LspInfoReaderMessagesAndHostileCounts) {
  const std::string v0Record = testing::ToHex(std::vector<uint8_t>(154, 0x20));
  std::string badFixed = SavedLspHex("B");
  badFixed.replace(badFixed.find("ae 00"), 5, "af 00");
  struct Case {
    int16_t iVersion;
    int32_t nInfo, lInfo;
    std::string body;
    int32_t result;  // or a run-time error number when above 0
    std::string message;
    int32_t nCount;  // loudspeakers afterwards
  };
  const Case cases[] = {
      {0, 1, 154, v0Record, 0, "", 1},
      {0, 1, 150, v0Record, -1, "Bad LspInfo30 Length", 3},
      {1, 2, 0, SavedLspHex("A") + " " + SavedLspHex("B"), 0, "", 2},
      {1, 2, 0, SavedLspHex("A") + " " + badFixed, -1, "Bad LspInfo Length", 2},
      {1, 0x7fffffff, 0, SavedLspHex("A"), kErrPastEnd, "", 3},
      {1, 2, 0, SavedLspHex(""), kErrPastEnd, "", 3},  // 2 claimed, 1 shortest record there
      {0, 2, 154, v0Record, kErrPastEnd, "", 3},
      {1, -1, 0, "", kErrInvalidCall, "", 3},
  };
  for (const Case& c : cases) {
    CSystemResponse rsp;
    rsp.LspInfos()->SetCount(3);
    ByteStream stream = Block("LSPK", c.iVersion, c.nInfo, c.lInfo, c.body);
    std::string sMessage = "old";
    int32_t result = 99;
    EXPECT_EQ(ErrorNumberOf([&] { result = rsp.ReadLspInfoBlockFromByteStream(stream, sMessage); }),
              c.result > 0 ? c.result : 0);
    if (c.result <= 0) {
      EXPECT_EQ(result, c.result);
      EXPECT_EQ(sMessage, c.message);
    }
    EXPECT_EQ(rsp.LspInfos()->Count(), c.nCount) << c.iVersion << " " << c.nInfo;
    // The records read before the bad one stay.
    if (c.message == "Bad LspInfo Length") {
      EXPECT_EQ(rsp.LspInfo(1)->Label(), "A");
    }
  }
}

}  // namespace
}  // namespace zyra
