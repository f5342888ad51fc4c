#include "zyra/response/puls_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <random>

#include "testing/test_support.h"

namespace zyra {
namespace {

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

// Deleting and swapping are compared with the buffer's rearrangement by the preparation tests.
TEST(PulsBufferTest, IndicesOutsideAreRefusedAndGrowingFillsEmptySlots) {
  CPulsBufferClass buffer;
  for (int32_t id : {10, 20}) buffer.AddPuls(PulsWithID(id));
  EXPECT_EQ(buffer.DeletePuls(0), -1);
  EXPECT_EQ(buffer.DeletePuls(3), -1);
  EXPECT_EQ(testing::ErrorNumberOf([&] { buffer.SetPuls(3, PulsWithID(1)); }), kErrSubscript);
  EXPECT_EQ(testing::ErrorNumberOf([&] { buffer.SetCount(-1, nullptr); }), kErrInvalidCall);
  // Growing keeps the records held and fills empty slots, the template's too.
  const auto kept = buffer.Puls(1);
  buffer.SetPuls(2, nullptr);
  buffer.SetPuls(0, nullptr);
  buffer.SetMaxOrder(9);
  buffer.SetCountPreserve(3);
  EXPECT_EQ(buffer.Puls(1), kept);
  for (const int32_t i : {0, 2, 3}) EXPECT_NE(buffer.Puls(i), nullptr) << i;
  EXPECT_EQ(buffer.MaxOrder(), 9);
}

TEST(PulsBufferTest, SetCountResetsTheBufferAndReportsReleasingLargeOnes) {
  // Up to 10000 pulses only the closing report; above, one per slot 0..Count as well.
  for (const auto& [nBefore, nReports] : {std::pair{10000, 1u}, {10001, 10003u}}) {
    CPulsBufferClass buffer;
    buffer.SetCount(nBefore, nullptr);
    buffer.SetDataOrigin(PB_EOrigin_ZYRAFile);
    buffer.SetSpeakerPhaseWasAdded(true);
    buffer.SetMaxSPL(3, 100);
    testing::RecordingBusy busy;
    buffer.SetCount(3, &busy);
    ASSERT_EQ(busy.calls.size(), nReports) << nBefore;
    EXPECT_EQ(busy.calls.back().fraction, 1.0);  // the closing report
    EXPECT_EQ(buffer.Count(), 3);
    EXPECT_NE(buffer.Puls(3), nullptr);
    EXPECT_EQ(buffer.DataOrigin(), PB_EOrigin_MPCFile31);
    EXPECT_FALSE(buffer.SpeakerPhaseWasAdded());
    EXPECT_EQ(buffer.MaxSPL(3), 0);
  }
}

TEST(PulsBufferTest, ReferencesHandedOutFollowTheirPulsesThroughARearrangement) {
  CPulsBufferClass buffer;
  buffer.SetCount(5, nullptr);
  for (int32_t i = 1; i <= 5; ++i) buffer.PulsRecord(i).SetID(10 * i);
  const auto taken = buffer.Puls(2);  // a record of the buffer's own, handed out
  const auto given = PulsWithID(30);  // the caller's object, stored as it is
  buffer.SetPuls(3, given);
  const auto dropped = buffer.Puls(4);
  // Errors move nothing: a source outside 1..Count, a source named twice.
  for (const std::vector<int32_t>& bad : {std::vector<int32_t>{1, 6}, {0}, {2, 2}}) {
    EXPECT_EQ(testing::ErrorNumberOf([&] { buffer.Rearrange(bad); }), kErrSubscript);
  }
  EXPECT_EQ(IDs(buffer), (std::vector<int32_t>{10, 20, 30, 40, 50}));

  buffer.Rearrange(std::vector<int32_t>{5, 3, 1, 2});
  EXPECT_EQ(IDs(buffer), (std::vector<int32_t>{50, 30, 10, 20}));
  EXPECT_EQ(buffer.Puls(4), taken);
  EXPECT_EQ(buffer.Puls(2), given);
  EXPECT_EQ(dropped->ID(), 40);  // still valid, no longer the buffer's
  taken->SetID(21);
  given->SetID(31);
  buffer.PulsRecord(1).SetID(51);
  EXPECT_EQ(IDs(buffer), (std::vector<int32_t>{51, 31, 10, 21}));

  // A large shuffle keeping three quarters, every fifth pulse in place, first with nothing
  // handed out, then with every seventh pulse handed out before.
  constexpr int32_t n = 20000;
  std::vector<int32_t> order(n);
  std::iota(order.begin(), order.end(), 1);
  std::vector<int32_t> moving;
  std::copy_if(order.begin(), order.end(), std::back_inserter(moving),
               [](int32_t i) { return i % 5 != 0; });
  std::shuffle(moving.begin(), moving.end(), std::mt19937(4));
  for (size_t k = 0, m = 0; k < order.size(); ++k) {
    if (order[k] % 5 != 0) order[k] = moving[m++];
  }
  order.resize(3 * n / 4);
  for (const bool bHandOut : {false, true}) {
    buffer.SetCount(n, nullptr);
    std::vector<std::shared_ptr<CPulsClass>> handed;
    for (int32_t i = 1; i <= n; ++i) {
      buffer.PulsRecord(i).SetID(i);
      if (bHandOut && i % 7 == 0) handed.push_back(buffer.Puls(i));
    }
    buffer.Rearrange(order);
    EXPECT_EQ(IDs(buffer), order);
    for (int32_t j = 1; bHandOut && j <= buffer.Count(); ++j) {
      if (order[static_cast<size_t>(j - 1)] % 7 == 0) {
        EXPECT_EQ(buffer.Puls(j),
                  handed[static_cast<size_t>(order[static_cast<size_t>(j - 1)] / 7 - 1)]);
      }
    }
  }
}

TEST(PulsBufferTest, LineArrayReflexionsNeedAnActiveBundleReflectionWithPseudo) {
  const struct {
    bool bBundle;
    int32_t lOrder, lPseudo;
    bool bInactive, expected;
  } cases[] = {{true, 1, 4, false, true},  {false, 1, 4, false, false}, {true, 0, 4, false, false},
               {true, 1, 0, false, false}, {true, 1, 4, true, false},   {true, 3, -1, false, true}};
  for (const auto& c : cases) {
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

}  // namespace
}  // namespace zyra
