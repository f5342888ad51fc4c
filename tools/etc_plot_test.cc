#include "tools/etc_plot.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tools/commands.h"

namespace zyra::tool {
namespace {

// Just enough XML to judge a picture: every '&' starts one of the five entities, attribute
// values are quoted without '<', tags nest. Answers the elements (name, opening tag, text as
// written); throws on anything malformed.
struct Element {
  std::string name, tag, text;
};

std::vector<Element> ReadXml(const std::string& xml) {
  const auto fail = [](const std::string& what) { throw std::runtime_error(what); };
  for (std::size_t a = xml.find('&'); a != std::string::npos; a = xml.find('&', a + 1)) {
    const auto starts = [&](std::string_view e) { return xml.compare(a, e.size(), e) == 0; };
    const std::string_view entities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    if (!std::ranges::any_of(entities, starts)) fail("bad &");
  }
  // Tags are matched with their attribute values emptied, so the pattern only sees short text.
  static const std::regex kTag(R"(<(/?)([\w:-]+)(?:\s+[\w:-]+="")*\s*(/?)>)");
  std::vector<Element> elements;
  std::vector<std::size_t> open;
  std::size_t pos = xml.starts_with("<?xml") ? xml.find("?>") + 2 : 0;
  while (pos < xml.size()) {
    const std::size_t lt = std::min(xml.find('<', pos), xml.size());
    const std::string text = xml.substr(pos, lt - pos);
    if (text.find('>') != std::string::npos ||
        (open.empty() && text.find_first_not_of(" \n") != std::string::npos)) {
      fail("stray text " + text);
    }
    if (!open.empty()) elements[open.back()].text += text;
    if (lt == xml.size()) break;
    std::string tag = "<";
    std::size_t i = lt + 1;
    for (; i < xml.size() && xml[i] != '>'; ++i) {
      tag += xml[i];
      if (xml[i] != '"') continue;
      const std::size_t close = xml.find('"', i + 1);
      if (close == std::string::npos || xml.find('<', i) < close) fail("bad value");
      tag += '"';
      i = close;
    }
    std::smatch m;
    tag += '>';
    if (!std::regex_match(tag, m, kTag)) fail("bad tag " + tag);
    if (m[1].length() > 0) {
      if (open.empty() || elements[open.back()].name != m[2]) fail("unbalanced " + tag);
      open.pop_back();
    } else {
      elements.push_back({m[2], xml.substr(lt, i + 1 - lt), ""});
      if (m[3].length() == 0) open.push_back(elements.size() - 1);
    }
    pos = i + 1;
  }
  if (!open.empty()) fail("unclosed " + elements[open.back()].name);
  return elements;
}

// The texts of the <text> elements (with the given anchor, when one is given).
std::vector<std::string> Texts(const std::vector<Element>& elements, const std::string& anchor) {
  std::vector<std::string> texts;
  for (const Element& e : elements) {
    if (e.name == "text" &&
        (anchor.empty() || e.tag.find("text-anchor=\"" + anchor) != std::string::npos)) {
      texts.push_back(e.text);
    }
  }
  return texts;
}

bool Has(const std::vector<std::string>& texts, const std::string& text) {
  return std::ranges::find(texts, text) != texts.end();
}

int Count(const std::vector<Element>& elements, const std::string& name) {
  return static_cast<int>(std::ranges::count(elements, name, &Element::name));
}

TEST(EtcSvgTest, WellFormedWithAxesTitleLegendAndMarks) {
  for (const char* bad : {"<svg><g></svg></g>", "<svg a=1/>", "<svg>&nbsp;</svg>", "<svg>"}) {
    EXPECT_THROW(ReadXml(bad), std::runtime_error) << bad;  // the checker itself
  }
  EtcPlotData plot;
  plot.sBandLabel = "1000 Hz";
  plot.sSubtitle = "Probe <A&B> \"stalls\" 'left'";
  plot.arrivals = {{0.0, 84.3, ArrivalKind::kDirect},
                   {2.5, 80.0, ArrivalKind::kDirect},
                   {12.0, 70.0, ArrivalKind::kReflection},
                   {35.0, 20.0, ArrivalKind::kReflection},  // below the 60 dB range
                   {130.0, 50.0, ArrivalKind::kTail}};
  plot.marks = StandardEtcMarks(62.5);
  plot.binLevels = {80.0, 75.0, std::nan(""), 60.0};
  const std::string svg = EtcSvg(plot);
  std::vector<Element> elements;
  ASSERT_NO_THROW(elements = ReadXml(svg)) << svg;
  EXPECT_EQ(elements.at(0).name, "svg");
  const std::vector<std::string> texts = Texts(elements, "");
  for (const char* text :
       {"Time [ms]", "Level [dB]", "Energy-time curve, 1000 Hz",
        "Probe &lt;A&amp;B&gt; &quot;stalls&quot; &apos;left&apos;", "tRef", "tSplit = 62.5 ms",
        "Direct sound", "Reflections", "Tail", "1 ms bins"}) {
    EXPECT_TRUE(Has(texts, text)) << text;
  }
  // Levels: the loudest arrival rounded up to 90 dB, 60 dB below it, a tick every 10 dB.
  EXPECT_EQ(Texts(elements, "end"),
            (std::vector<std::string>{"30", "40", "50", "60", "70", "80", "90"}));
  EXPECT_TRUE(Has(Texts(elements, "middle"), "140"));
  // One dot per direct sound; the arrival below the range is not drawn.
  EXPECT_EQ(Count(elements, "circle"), 2);
  EXPECT_EQ(Count(elements, "path"), 1);

  EtcPlotData empty;
  empty.marks = StandardEtcMarks(std::nullopt);
  ASSERT_NO_THROW(elements = ReadXml(EtcSvg(empty)));
  EXPECT_TRUE(Has(Texts(elements, ""), "Time [ms]"));
  EXPECT_TRUE(Has(Texts(elements, ""), "no arrivals in this band"));
}

// The plot command on the demo hall: one dot for each of the four direct sounds that count
// (two main boxes, the fill and the array's pseudo sound, into which its members are summed).
TEST(PlotCommandTest, DemoReflectogramIsValidSvg) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("zyra-plot-" + std::to_string(getpid()));
  DemoOptions demo;
  demo.sOutDir = dir;
  ASSERT_EQ(RunDemo(demo), kExitSuccess);
  for (const int32_t band : {11, 3}) {
    PlotOptions plot;
    plot.sFile = dir / "demo-hall.rsp";
    plot.sOut = dir / "band.svg";
    plot.iBand = band;
    ASSERT_EQ(RunPlot(plot), kExitSuccess);
    std::stringstream svg;
    svg << std::ifstream(plot.sOut).rdbuf();
    std::vector<Element> elements;
    ASSERT_NO_THROW(elements = ReadXml(svg.str())) << band;
    const std::vector<std::string> texts = Texts(elements, "");
    EXPECT_TRUE(Has(texts, "Level [dB]") && Has(texts, "tSplit = 30 ms")) << band;
    EXPECT_EQ(Count(elements, "circle"), 4) << band;
    // The 1 ms bins exist for the three Alcons bands only.
    EXPECT_EQ(Has(texts, "1 ms bins"), band != 3) << band;
  }
  fs::remove_all(dir);
}

}  // namespace
}  // namespace zyra::tool
