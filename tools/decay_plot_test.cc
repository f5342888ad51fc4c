#include "tools/decay_plot.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

// A diffuse decay of reverberation time dRT s from 0 dB at t0 ms, sampled every 10 ms until
// 40 dB down, and its exact T30 fit.
DecaySeries StraightDecay(const std::string& sLabel, double dRT, double t0) {
  DecaySeries series;
  series.sLabel = sLabel;
  for (double t = t0; t <= t0 + 1000.0 * dRT * 40.0 / 60.0; t += 10.0) {
    series.curve.daTime.push_back(t);
    series.curve.daLevel.push_back(-60.0 * (t - t0) / (1000.0 * dRT));
  }
  series.curve.daLevel.push_back(-std::numeric_limits<double>::infinity());
  series.curve.daTime.push_back(series.curve.daTime.back() + 10.0);
  series.fit.dUpper = -5.0;
  series.fit.dLower = -35.0;
  series.fit.dSlope = -60.0 / dRT;
  series.fit.dIntercept = 60.0 * t0 / (1000.0 * dRT);
  series.fit.dTimeUpper = t0 + 1000.0 * dRT * 5.0 / 60.0;
  series.fit.dTimeLower = t0 + 1000.0 * dRT * 35.0 / 60.0;
  return series;
}

// Seven octaves and one band without a fit: the time axis reaches the longest fit's 60 dB,
// every series' T30 is in the legend, and no text runs over another or off the page.
TEST(DecayPlotTest, LegendAxesAndClearTexts) {
  DecayPlotData plot;
  plot.sTitle = "Schroeder decay, octaves";
  plot.sSubtitle = "demo-hall.rsp, probe Seat R12 S14";
  for (int k = 0; k < 6; ++k) {
    plot.series.push_back(StraightDecay(std::to_string(125 << k) + " Hz", 2.4 - 0.2 * k, 5.0 * k));
  }
  DecaySeries staircase = StraightDecay("8 kHz", 0.5, 0.0);
  staircase.fit = CDecayFit{};  // a decay that ends before its lower limit: no fit
  plot.series.push_back(staircase);
  PlotLayout layout;
  RenderPicture(PictureFormat::kPng, kDecayPictureSize,
                [&](cairo_t* cr) { layout = DrawDecay(cr, plot); });
  EXPECT_GE(layout.x1, 2.4);  // s: the 125 Hz fit line reaches -60 dB at 2.4 s
  EXPECT_LE(layout.x1, 2.6);
  EXPECT_LE(layout.y0, -60.0);
  EXPECT_GE(layout.y1, 0.0);
  const auto count = [&](const std::string& text) {
    return std::ranges::count(layout.texts, text, &TextBox::sText);
  };
  EXPECT_EQ(count("T30 2.40 s"), 1);
  EXPECT_EQ(count("T30 -"), 1);
  EXPECT_EQ(count("fit range -5 ... -35 dB"), 1);
  for (std::size_t i = 0; i < layout.texts.size(); ++i) {
    const Box& a = layout.texts[i].box;
    EXPECT_TRUE(a.x0 >= 0 && a.y0 >= 0 && a.x1 <= kDecayPictureSize.dWidth &&
                a.y1 <= kDecayPictureSize.dHeight)
        << layout.texts[i].sText;
    for (std::size_t j = i + 1; j < layout.texts.size(); ++j) {
      EXPECT_FALSE(a.Overlaps(layout.texts[j].box))
          << layout.texts[i].sText << " | " << layout.texts[j].sText;
    }
  }
  DecayPlotData empty;
  empty.series.push_back({"1000 Hz", {}, {}});
  RenderPicture(PictureFormat::kSvg, kDecayPictureSize,
                [&](cairo_t* cr) { layout = DrawDecay(cr, empty); });
  EXPECT_EQ(count("no decay in this band"), 1);
}

}  // namespace
}  // namespace zyra::tool
