#include "tools/etc_plot.h"

#include <algorithm>
#include <cmath>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "testing/response_builder.h"
#include "tools/demo_response.h"
#include "tools/plot_data.h"
#include "zyra/facade/response.h"

namespace zyra::tool {
namespace {

// Tags nest and close, and every '&' starts an entity: enough to know a browser will take it.
bool WellFormedXml(const std::string& xml) {
  static const std::regex kEntity(R"(&(amp|lt|gt|quot|apos|#[0-9]+|#x[0-9a-fA-F]+);)");
  static const std::regex kTag(
      R"(<(/?)([A-Za-z][\w:.-]*)(?:\s[^<>]*?)?(/?)>|<\?[^<>]*\?>|<!--[^]*?-->)");
  std::vector<std::string> open;
  std::size_t end = 0;
  for (std::sregex_iterator m(xml.begin(), xml.end(), kTag), none; m != none; ++m) {
    const std::string between = xml.substr(end, static_cast<std::size_t>(m->position()) - end);
    if (between.find_first_of("<>") != std::string::npos) return false;
    end = static_cast<std::size_t>(m->position() + m->length());
    if ((*m)[2].length() == 0) continue;  // declaration or comment
    if ((*m)[1].length() > 0) {
      if (open.empty() || open.back() != (*m)[2]) return false;
      open.pop_back();
    } else if ((*m)[3].length() == 0) {
      open.push_back((*m)[2]);
    }
  }
  const std::string text = std::regex_replace(xml, kEntity, "");
  return open.empty() && end > 0 && xml.find_first_of("<>", end) == std::string::npos &&
         text.find('&') == std::string::npos;
}

std::string Text(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

// Each format parses as itself: the PNG decodes to the page times its scale, the PDF has its
// header and end, the SVG is well-formed XML whose root is an svg element.
void ExpectPictureParses(PictureFormat eFormat, const std::vector<uint8_t>& bytes) {
  switch (eFormat) {
    case PictureFormat::kPng: {
      std::size_t pos = 0;
      const auto read = [](void* closure, unsigned char* data, unsigned int length) {
        auto* state = static_cast<std::pair<const std::vector<uint8_t>*, std::size_t*>*>(closure);
        if (*state->second + length > state->first->size()) return CAIRO_STATUS_READ_ERROR;
        std::copy_n(state->first->data() + *state->second, length, data);
        *state->second += length;
        return CAIRO_STATUS_SUCCESS;
      };
      std::pair<const std::vector<uint8_t>*, std::size_t*> state{&bytes, &pos};
      cairo_surface_t* png = cairo_image_surface_create_from_png_stream(read, &state);
      EXPECT_EQ(cairo_surface_status(png), CAIRO_STATUS_SUCCESS);
      EXPECT_EQ(cairo_image_surface_get_width(png), kEtcPictureSize.dWidth * kPngScale);
      EXPECT_EQ(cairo_image_surface_get_height(png), kEtcPictureSize.dHeight * kPngScale);
      cairo_surface_destroy(png);
      break;
    }
    case PictureFormat::kPdf:
      EXPECT_TRUE(Text(bytes).starts_with("%PDF-1."));
      EXPECT_NE(Text(bytes).rfind("%%EOF"), std::string::npos);
      break;
    case PictureFormat::kSvg:
      EXPECT_TRUE(WellFormedXml(Text(bytes)));
      EXPECT_NE(Text(bytes).find("<svg "), std::string::npos);
      break;
  }
}

TEST(PictureTest, ExtensionChoosesTheFormat) {
  EXPECT_FALSE(WellFormedXml("<svg><g></svg></g>"));  // the checker itself
  EXPECT_FALSE(WellFormedXml("<svg>&nbsp;</svg>"));
  EXPECT_TRUE(WellFormedXml("<?xml version=\"1.0\"?>\n<svg a=\"1\"><g/>&amp;</svg>\n"));
  const struct {
    const char* path;
    std::optional<PictureFormat> format;
  } rows[] = {
      {"etc.svg", PictureFormat::kSvg},
      {"out/E.PNG", PictureFormat::kPng},
      {"a.b.pdf", PictureFormat::kPdf},
      {"etc.gif", std::nullopt},
      {".svg", std::nullopt},
      {"dir.svg/etc", std::nullopt},
      {"etc", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(PictureFormatOf(row.path), row.format) << row.path;
  EXPECT_EQ(ExtensionOf("dir.v2/etc.Gif"), ".Gif");
}

// Crowded marks (a split at 48 ms runs into the 50 ms label) and a two-second tail: every text
// keeps clear of every other and stays on the page, the time axis names tRef, and the tail is
// followed until it leaves the level axis.
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
  for (const PictureFormat eFormat :
       {PictureFormat::kSvg, PictureFormat::kPng, PictureFormat::kPdf}) {
    PlotLayout layout;
    const auto bytes =
        RenderPicture(eFormat, kEtcPictureSize, [&](cairo_t* cr) { layout = DrawEtc(cr, plot); });
    ExpectPictureParses(eFormat, bytes);
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
