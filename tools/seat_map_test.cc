#include "tools/seat_map.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "zyra/support/errors.h"

namespace zyra::tool {
namespace {

SeatMapData Grid(int32_t nRows, int32_t nSeats, double dPitch) {
  SeatMapData map;
  map.sTitle = "C80, octave band 1000 Hz";
  map.sValueTitle = "C80 [dB]";
  for (int32_t r = 0; r < nRows; ++r) {
    for (int32_t s = 0; s < nSeats; ++s) {
      map.points.push_back({10.0 + r * dPitch, 3.0 + s * dPitch, -3.0 + 0.37 * (r * nSeats + s)});
    }
  }
  map.speakers = {{3.0, 4.0, "L"}, {3.0, 21.0, "R"}};
  return map;
}

SeatMapLayout Draw(const SeatMapData& map, PictureSize size) {
  cairo_surface_t* surface = cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, nullptr);
  cairo_t* cr = cairo_create(surface);
  const SeatMapLayout layout = DrawSeatMap(cr, map, size);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return layout;
}

// One metre is as long across as upwards; every value is written beside its receiver and no
// two texts overlap, for a sparse seating area and for a dense one on its larger page.
TEST(SeatMapTest, EqualScalesAndEveryValueReadable) {
  const SeatMapData sparse = Grid(6, 5, 4.0);
  const SeatMapData dense = Grid(30, 24, 0.8);
  const PictureSize sparseSize = SeatMapSize(sparse);
  const PictureSize denseSize = SeatMapSize(dense);
  EXPECT_GT(denseSize.dWidth, 2.0 * sparseSize.dWidth);
  for (const auto& [map, size] : {std::pair{sparse, sparseSize}, std::pair{dense, denseSize}}) {
    const SeatMapLayout layout = Draw(map, size);
    const Box& area = layout.area;
    EXPECT_NEAR((layout.plot.x1 - layout.plot.x0) * layout.dPointsPerMetre, area.x1 - area.x0,
                1e-9);
    EXPECT_NEAR((layout.plot.y1 - layout.plot.y0) * layout.dPointsPerMetre, area.y1 - area.y0,
                1e-9);
    EXPECT_LE(layout.plot.x0, 3.0);  // the loudspeakers are on the plan too
    EXPECT_EQ(layout.nUnlabelled, 0);
    EXPECT_DOUBLE_EQ(layout.dLow, map.points.front().value);
    EXPECT_DOUBLE_EQ(layout.dHigh, map.points.back().value);
    const auto& texts = layout.plot.texts;
    EXPECT_EQ(std::ranges::count(texts, std::string("-3.0"), &TextBox::sText), 1);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      for (std::size_t j = i + 1; j < texts.size(); ++j) {
        EXPECT_FALSE(texts[i].box.Overlaps(texts[j].box))
            << texts[i].sText << " / " << texts[j].sText;
      }
    }
  }
  EXPECT_THROW(Draw(SeatMapData{}, sparseSize), RuntimeError);
}

}  // namespace
}  // namespace zyra::tool
