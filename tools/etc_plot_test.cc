#include "tools/etc_plot.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "testing/response_builder.h"
#include "tools/demo_response.h"
#include "tools/plot_data.h"
#include "zyra/facade/response.h"

namespace zyra::tool {
namespace {

// Crowded marks (a split at 48 ms runs into the 50 ms label) and a two-second tail: every text
// keeps clear of every other and stays on the page, the time axis names tRef, and the tail is
// followed until it leaves the level axis, in each format (which opens as itself).
TEST(EtcPlotTest, LabelsKeepClearAndTheTailRunsToTheAxisBottom) {
  EtcPlotData plot;
  plot.sBandLabel = "1000 Hz";
  plot.sSubtitle = "Probe <A&B> \"stalls\"";
  plot.tRef = 70.67;
  plot.arrivals = {{0.0, 72.0, ArrivalKind::kDirect},
                   {2.5, 66.0, ArrivalKind::kDirect},
                   {12.0, 63.0, ArrivalKind::kReflection},
                   {35.0, 10.0, ArrivalKind::kReflection}};  // below the level axis
  const double kRt = 2.0;
  for (int n = 0; n <= 10; ++n)
    plot.tail.push_back({135.0 + 200.0 * n * kRt / 2.0, 58.0 - 6.0 * n});
  plot.marks = StandardEtcMarks(48.0);
  const std::pair<PictureFormat, std::string> kOpenings[] = {
      {PictureFormat::kSvg, "<?xml"},
      {PictureFormat::kPng, "\x89PNG\r\n\x1a\n"},
      {PictureFormat::kPdf, "%PDF-1."}};
  for (const auto& [eFormat, opening] : kOpenings) {
    PlotLayout layout;
    const auto bytes =
        RenderPicture(eFormat, kEtcPictureSize, [&](cairo_t* cr) { layout = DrawEtc(cr, plot); });
    EXPECT_TRUE(std::string(bytes.begin(), bytes.end()).starts_with(opening));
    EXPECT_EQ(layout.y1, 80.0);  // the loudest level rounded up, 60 dB shown
    EXPECT_EQ(layout.y0, 20.0);
    // 58 dB at 135 ms falling 6 dB per 200 ms reaches 20 dB at 1401.7 ms.
    EXPECT_GE(layout.x1, 1401.6);
    EXPECT_LE(layout.x1, 1600.0);
    const auto& texts = layout.texts;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const Box& a = texts[i].box;
      EXPECT_TRUE(a.x0 >= 0 && a.y0 >= 0 && a.x1 <= kEtcPictureSize.dWidth &&
                  a.y1 <= kEtcPictureSize.dHeight)
          << texts[i].sText;
      for (std::size_t j = i + 1; j < texts.size(); ++j) {
        EXPECT_FALSE(a.Overlaps(texts[j].box)) << texts[i].sText << " | " << texts[j].sText;
      }
    }
    for (const char* label : {"tRef", "7 ms", "tSplit 48 ms", "50 ms", "80 ms",
                              "Time after tRef [ms]   (tRef = 70.7 ms after emission)"}) {
      EXPECT_EQ(std::ranges::count(texts, std::string(label), &TextBox::sText), 1) << label;
    }
  }
  EtcPlotData empty;
  empty.marks = StandardEtcMarks(std::nullopt);
  PlotLayout layout;
  RenderPicture(PictureFormat::kSvg, kEtcPictureSize,
                [&](cairo_t* cr) { layout = DrawEtc(cr, empty); });
  EXPECT_EQ(
      std::ranges::count(layout.texts, std::string("no arrivals in this band"), &TextBox::sText),
      2);
}

// The demo hall: the tail of a band starts at tHall (later than tDiff there) and ends 60 dB
// down one reverberation time later.
TEST(PlotCommandTest, DemoTailAndPictures) {
  const testing::TempFolder dir;
  CProbeRspClass demo;
  BuildDemoHall(demo);
  Response response = Response::Open(testing::WriteImage(demo, dir / "demo-hall.rsp"));
  const CProbeRspClass& file = response.Model();
  const Evaluation evaluation = response.Evaluate();
  for (const int32_t band : {3, 11, 21}) {
    const EtcPlotData plot = BuildEtcPlotData(file, evaluation, band, "");
    ASSERT_FALSE(plot.tail.empty()) << band;
    const double rt = file.ETC()->RTime(band);
    EXPECT_DOUBLE_EQ(plot.tail.front().tMs,
                     std::max(evaluation.results->tHall(), evaluation.results->tDiff()));
    EXPECT_NEAR(plot.tail.back().tMs - plot.tail.front().tMs, 1000.0 * rt, 1e-9) << band;
    EXPECT_NEAR(plot.tail.front().dLevel - plot.tail.back().dLevel, 60.0, 1e-6) << band;
    EXPECT_EQ(std::ranges::count(plot.arrivals, ArrivalKind::kDirect, &EtcArrival::eKind), 4);
  }
}

}  // namespace
}  // namespace zyra::tool
