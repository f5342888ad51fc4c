#include "zyra/response/puls_buffer.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/test_support.h"

namespace zyra {
namespace {

void ExpectRaises(int32_t number, const std::function<void()>& call) {
  try {
    call();
    ADD_FAILURE() << "no error " << number;
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Number(), number);
  }
}

std::shared_ptr<CPulsClass> PulsWithID(int32_t lID) {
  auto puls = std::make_shared<CPulsClass>();
  puls->SetID(lID);
  return puls;
}

std::vector<int32_t> IDs(const CPulsBufferClass& buffer) {
  std::vector<int32_t> ids;
  for (int32_t i = 1; i <= buffer.Count(); ++i) ids.push_back(buffer.Puls(i)->ID());
  return ids;
}

TEST(PulsBufferTest, AddAndDeleteKeepTheNumberingDenseBehindTheTemplatePulse) {
  CPulsBufferClass buffer;
  EXPECT_NE(buffer.Puls(0), nullptr);
  EXPECT_EQ(buffer.Puls(1), nullptr);
  EXPECT_EQ(buffer.Puls(-1), nullptr);
  EXPECT_EQ(buffer.AddPuls(PulsWithID(10)), 1);
  EXPECT_EQ(buffer.DeletePuls(1), 0);
  for (int32_t id : {10, 20, 30, 40}) buffer.AddPuls(PulsWithID(id));
  EXPECT_EQ(buffer.DeletePuls(0), -1);
  EXPECT_EQ(buffer.DeletePuls(5), -1);
  EXPECT_EQ(buffer.DeletePuls(2), 3);
  EXPECT_EQ(buffer.DeletePuls(3), 2);
  EXPECT_EQ(IDs(buffer), (std::vector<int32_t>{10, 30}));
  buffer.Swap(1, 2);
  EXPECT_EQ(IDs(buffer), (std::vector<int32_t>{30, 10}));
  const std::pair<int32_t, std::function<void()>> bad[] = {
      {kErrSubscript, [&] { buffer.SetPuls(3, PulsWithID(1)); }},
      {kErrSubscript, [&] { buffer.SetPuls(-1, PulsWithID(1)); }},
      {kErrInvalidCall, [&] { buffer.SetCount(-1, nullptr); }},
      {kErrInvalidCall, [&] { buffer.SetCountPreserve(-1); }},
  };
  for (const auto& [number, call] : bad) ExpectRaises(number, call);
  EXPECT_EQ(buffer.Count(), 2);
}

TEST(PulsBufferTest, SetCountReleasesLargeBuffersSlotBySlotWithProgress) {
  struct Case {
    int32_t nBefore;
    size_t nReports;
  };
  // Up to 10000 pulses only the closing report; above, one per slot 0..Count as well.
  const Case cases[] = {{0, 1}, {10000, 1}, {10001, 10003}};
  for (const Case& c : cases) {
    CPulsBufferClass buffer;
    buffer.SetCount(c.nBefore, nullptr);
    buffer.SetDataOrigin(PB_EOrigin_ZYRAFile);
    buffer.SetSpeakerPhaseWasAdded(true);
    buffer.SetMaxSPL(3, 100);
    testing::RecordingBusy busy;
    buffer.SetCount(3, &busy);
    ASSERT_EQ(busy.calls.size(), c.nReports) << c.nBefore;
    for (const auto& call : busy.calls) {
      EXPECT_EQ(call.caption, "Releasing Memory");
      EXPECT_FALSE(call.report);
    }
    if (c.nReports > 1) {
      EXPECT_EQ(busy.calls[0].fraction, 0.0);
      EXPECT_EQ(busy.calls[1].fraction, 1.0 / c.nBefore);
      EXPECT_EQ(busy.calls[c.nReports - 2].fraction, 1.0);
    }
    EXPECT_EQ(busy.calls.back().fraction, 1.0);
    EXPECT_EQ(buffer.Count(), 3);
    EXPECT_NE(buffer.Puls(0), nullptr);
    EXPECT_NE(buffer.Puls(3), nullptr);
    EXPECT_EQ(buffer.DataOrigin(), PB_EOrigin_MPCFile31);
    EXPECT_FALSE(buffer.SpeakerPhaseWasAdded());
    EXPECT_EQ(buffer.MaxSPL(3), 0);
  }
}

TEST(PulsBufferTest, SetCountPreserveKeepsReferencesAndFillsEmptySlots) {
  CPulsBufferClass buffer;
  const auto kept = PulsWithID(5);
  buffer.AddPuls(kept);
  buffer.AddPuls(PulsWithID(6));
  buffer.SetPuls(2, nullptr);
  buffer.SetPuls(0, nullptr);
  buffer.SetMaxOrder(9);
  buffer.SetCountPreserve(3);
  EXPECT_EQ(buffer.Puls(1), kept);
  EXPECT_NE(buffer.Puls(0), nullptr);
  EXPECT_NE(buffer.Puls(2), nullptr);
  EXPECT_EQ(buffer.Puls(2)->ID(), 0);
  EXPECT_NE(buffer.Puls(3), nullptr);
  EXPECT_EQ(buffer.MaxOrder(), 9);
}

TEST(PulsBufferTest, StatisticsCoverEveryPulse) {
  CPulsBufferClass buffer;
  struct Row {
    int32_t lID, lPseudo, lOrder;
    int16_t iLevel;
  };
  // An inactive pulse counts too; ID_Pseudo 0 takes part in the range.
  const Row rows[] = {{7, 3, 2, -500}, {-4, 0, 5, 4000}, {12, 9, 1, 3000}};
  for (const Row& row : rows) {
    auto puls = PulsWithID(row.lID);
    puls->SetID_Pseudo(row.lPseudo);
    puls->SetROrder(row.lOrder);
    puls->SetSPL(0, row.iLevel);
    puls->SetSPL(21, static_cast<int16_t>(-row.iLevel));
    puls->SetIsInactive(row.lID == 12);
    buffer.AddPuls(puls);
  }
  buffer.UpdateMaxOrderAndID();
  buffer.UpdateMaxSPL();
  EXPECT_EQ(buffer.MaxOrder(), 5);
  EXPECT_EQ(buffer.MinID(), -4);
  EXPECT_EQ(buffer.MaxID(), 12);
  EXPECT_EQ(buffer.MinPseudoID(), 0);
  EXPECT_EQ(buffer.MaxPseudoID(), 9);
  EXPECT_EQ(buffer.MaxSPL(0), 4000);
  EXPECT_EQ(buffer.MaxSPL(21), 500);
  EXPECT_EQ(buffer.MaxSPL(11), 0);  // no level at all: never below 0
}

TEST(PulsBufferTest, LineArrayReflexionsNeedAnActiveBundleReflectionWithPseudo) {
  struct Case {
    bool bBundle;
    int32_t lOrder, lPseudo;
    bool bInactive, expected;
  };
  const Case cases[] = {{true, 1, 4, false, true},  {false, 1, 4, false, false},
                        {true, 0, 4, false, false}, {true, 1, 0, false, false},
                        {true, 1, 4, true, false},  {true, 3, -1, false, true}};
  for (const Case& c : cases) {
    CPulsBufferClass buffer;
    buffer.AddPuls(PulsWithID(1));
    auto puls = PulsWithID(2);
    puls->SetIsBundle(c.bBundle);
    puls->SetROrder(c.lOrder);
    puls->SetID_Pseudo(c.lPseudo);
    puls->SetIsInactive(c.bInactive);
    buffer.AddPuls(puls);
    EXPECT_EQ(buffer.GetHasLineArrayReflexions(), c.expected)
        << c.bBundle << c.lOrder << c.lPseudo << c.bInactive;
  }
}

TEST(PulsBufferTest, PrintsEachPulseUnderItsNumber) {
  CPulsBufferClass buffer;
  buffer.SetCount(2, nullptr);
  buffer.Puls(2)->SetOrigin(3);
  EXPECT_TRUE(buffer.GetHasPulsesWithOrigin0());  // the first still has origin 0
  buffer.Puls(1)->SetOrigin(3);
  EXPECT_FALSE(buffer.GetHasPulsesWithOrigin0());
  StringLogger logger;
  buffer.PrintToLogger(logger);
  const auto& lines = logger.Lines();
  ASSERT_EQ(lines.size(), 1u + 2 * (2 + 62));
  EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 4),
            (std::vector<std::string>{"", "", "Puls(1):", "Farbe 0"}));
  EXPECT_EQ(lines[66], "Puls(2):");
}

}  // namespace
}  // namespace zyra
