#include "tools/seat_grid.h"

#include <cmath>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

TEST(SeatGridTest, SeatsSpreadOverTheAreaRowAfterRow) {
  std::string problem;
  const auto seats = SeatGrid(DemoHall(), 3, 12, {10.0, 3.0, 30.0, 14.0}, problem);
  ASSERT_TRUE(seats) << problem;
  ASSERT_EQ(seats->size(), 36u);
  const Seat& last = seats->back();
  EXPECT_EQ(last.site, (std::array<double, 3>{30.0, 14.0, kEarHeight}));
  EXPECT_EQ(last.sLabel, "Seat R3 S12");
  EXPECT_EQ(last.sFileName, "seat-r3-s12.rsp");
  EXPECT_EQ((*seats)[13].sFileName, "seat-r2-s02.rsp");
  EXPECT_DOUBLE_EQ((*seats)[13].site[0], 20.0);
  EXPECT_DOUBLE_EQ((*seats)[13].site[1], 4.0);
  // One row or one seat stands in the middle.
  EXPECT_EQ(SeatGrid(DemoHall(), 1, 1, {10.0, 3.0, 30.0, 14.0}, problem)->front().site[0], 20.0);
  for (const std::array<double, 4> outside :
       {std::array<double, 4>{0.2, 3, 30, 14}, {10, 3, 39.8, 14}, {10, -1, 30, 14}}) {
    EXPECT_FALSE(SeatGrid(DemoHall(), 2, 2, outside, problem));
    EXPECT_NE(problem.find("inside the 40 x 25 m hall"), std::string::npos) << problem;
  }
}

// Each seat hears its own response: the direct sounds arrive after the distance from each
// loudspeaker at 343 m/s, every reflection later, and the pulses number what was asked.
TEST(SeatGridTest, ResponsesFollowFromTheSeatsPositions) {
  for (const std::array<double, 3> site :
       {std::array<double, 3>{12.0, 5.0, 1.2}, {30.0, 20.0, 1.2}}) {
    HallModel hall = DemoHall();
    hall.receiver = site;
    CProbeRspClass file;
    BuildHallResponse(file, hall, "Seat", 1002);
    const CPulsBufferClass& pulses = *file.Rsp()->Pulses();
    ASSERT_EQ(pulses.Count(), 1002);
    EXPECT_EQ(file.ProbeInfo()->PrSite(2), static_cast<float>(site[1]));
    for (int32_t i = 1; i <= pulses.Count(); ++i) {
      const CPulsClass& puls = pulses.PulsRecord(i);
      const CLspInfoClass& lsp = *file.Rsp()->LspInfo(puls.Origin());
      const double distance =
          std::hypot(lsp.Site(1) - site[0], lsp.Site(2) - site[1], lsp.Site(3) - site[2]);
      const double direct = distance / 343.0 * 1000.0;
      if (puls.ROrder() == 0) {
        EXPECT_NEAR(puls.Travel(), direct, 1e-3 * direct) << i;
      } else {
        EXPECT_GT(puls.Travel(), direct) << i;
      }
    }
  }
  CProbeRspClass file;
  EXPECT_THROW(BuildHallResponse(file, DemoHall(), "Seat", HallLoudspeakerCount() - 1),
               RuntimeError);
}

}  // namespace
}  // namespace zyra::tool
