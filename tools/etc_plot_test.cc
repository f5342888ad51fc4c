#include "tools/etc_plot.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "tools/commands.h"

namespace zyra::tool {
namespace {

// A small XML reader, enough to judge the picture: it checks that every tag is closed in order,
// every attribute is quoted and every '&' starts one of the five entities, and it collects the
// elements with their attributes and (unescaped) text. It throws on anything malformed.
struct Element {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::string text;
};

class XmlReader {
 public:
  explicit XmlReader(const std::string& xml) : xml_(xml) {}

  std::vector<Element> Read() {
    if (xml_.compare(0, 5, "<?xml") == 0) pos_ = Find("?>") + 2;
    std::vector<std::size_t> open;  // indices of the elements not yet closed
    while (pos_ < xml_.size()) {
      if (xml_[pos_] != '<') {
        const std::size_t end = xml_.find('<', pos_);
        const std::string text = Unescape(xml_.substr(pos_, end - pos_));
        if (!open.empty())
          elements_[open.back()].text += text;
        else if (text.find_first_not_of(" \n") != std::string::npos)
          Fail("text outside");
        pos_ = end == std::string::npos ? xml_.size() : end;
        continue;
      }
      if (xml_[pos_ + 1] == '/') {
        const std::size_t end = Find(">");
        const std::string name = xml_.substr(pos_ + 2, end - pos_ - 2);
        if (open.empty() || elements_[open.back()].name != name) Fail("unbalanced </" + name);
        open.pop_back();
        pos_ = end + 1;
        continue;
      }
      ++pos_;
      Element element;
      element.name = Name();
      while (true) {
        while (xml_.at(pos_) == ' ' || xml_.at(pos_) == '\n') ++pos_;
        if (xml_.compare(pos_, 2, "/>") == 0 || xml_.at(pos_) == '>') break;
        const std::string key = Name();
        if (xml_.at(pos_) != '=' || xml_.at(pos_ + 1) != '"') Fail("unquoted " + key);
        const std::size_t end = xml_.find('"', pos_ + 2);
        const std::string value = xml_.substr(pos_ + 2, end - pos_ - 2);
        if (value.find('<') != std::string::npos) Fail("< in attribute");
        if (!element.attributes.emplace(key, Unescape(value)).second) Fail("twice: " + key);
        pos_ = end + 1;
      }
      const bool selfClosing = xml_[pos_] == '/';
      pos_ += selfClosing ? 2 : 1;
      elements_.push_back(element);
      if (!selfClosing) open.push_back(elements_.size() - 1);
    }
    if (!open.empty()) Fail("unclosed " + elements_[open.back()].name);
    return elements_;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error(what + " at " + std::to_string(pos_));
  }
  std::size_t Find(const char* text) const {
    const std::size_t at = xml_.find(text, pos_);
    if (at == std::string::npos) Fail(std::string("no ") + text);
    return at;
  }
  std::string Name() {
    const std::size_t start = pos_;
    while (pos_ < xml_.size() && (std::isalnum(static_cast<unsigned char>(xml_[pos_])) ||
                                  xml_[pos_] == '-' || xml_[pos_] == ':')) {
      ++pos_;
    }
    if (pos_ == start) Fail("no name");
    return xml_.substr(start, pos_ - start);
  }
  std::string Unescape(const std::string& text) const {
    static const std::map<std::string, char> kEntities{
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '>') Fail("raw >");
      if (text[i] != '&') {
        plain += text[i];
        continue;
      }
      const std::size_t semicolon = text.find(';', i);
      const auto entity = kEntities.find(text.substr(i + 1, semicolon - i - 1));
      if (semicolon == std::string::npos || entity == kEntities.end()) Fail("bad &");
      plain += entity->second;
      i = semicolon;
    }
    return plain;
  }

  const std::string& xml_;
  std::size_t pos_ = 0;
  std::vector<Element> elements_;
};

std::vector<std::string> Texts(const std::vector<Element>& elements, const std::string& anchor) {
  std::vector<std::string> texts;
  for (const Element& element : elements) {
    const auto a = element.attributes.find("text-anchor");
    if (element.name == "text" &&
        (anchor.empty() || (a != element.attributes.end() && a->second == anchor))) {
      texts.push_back(element.text);
    }
  }
  return texts;
}

int Count(const std::vector<Element>& elements, const std::string& name) {
  int n = 0;
  for (const Element& element : elements) n += element.name == name ? 1 : 0;
  return n;
}

bool Contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

TEST(XmlReaderTest, RejectsMalformedPictures) {
  for (const char* bad : {"<svg><g></svg></g>", "<svg a=1/>", "<svg>&nbsp;</svg>", "<svg>",
                          "<svg a=\"1\" a=\"2\"/>", "x<svg/>"}) {
    const std::string xml = bad;
    EXPECT_THROW(XmlReader(xml).Read(), std::runtime_error) << bad;
  }
}

TEST(EtcSvgTest, WellFormedWithAxesTitleLegendAndMarks) {
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
  ASSERT_NO_THROW(elements = XmlReader(svg).Read()) << svg;

  ASSERT_FALSE(elements.empty());
  EXPECT_EQ(elements[0].name, "svg");
  const std::vector<std::string> texts = Texts(elements, "");
  for (const char* text :
       {"Time [ms]", "Level [dB]", "Energy-time curve, 1000 Hz", "Probe <A&B> \"stalls\" 'left'",
        "tRef", "7 ms", "50 ms", "80 ms", "tSplit = 62.5 ms", "Direct sound", "Reflections", "Tail",
        "1 ms bins"}) {
    EXPECT_TRUE(Contains(texts, text)) << text;
  }
  // Levels: the loudest arrival rounded up to 90 dB, 60 dB below it, a tick every 10 dB.
  EXPECT_EQ(Texts(elements, "end"),
            (std::vector<std::string>{"30", "40", "50", "60", "70", "80", "90"}));
  const std::vector<std::string> times = Texts(elements, "middle");
  EXPECT_TRUE(Contains(times, "0"));
  EXPECT_TRUE(Contains(times, "140"));
  // One dot per direct sound; the arrival below the range is not drawn.
  EXPECT_EQ(Count(elements, "circle"), 2);
  EXPECT_EQ(Count(elements, "path"), 1);
}

TEST(EtcSvgTest, EmptyBandStillDrawsAxes) {
  EtcPlotData plot;
  plot.sBandLabel = "100 Hz";
  plot.marks = StandardEtcMarks(std::nullopt);
  const std::string svg = EtcSvg(plot);
  std::vector<Element> elements;
  ASSERT_NO_THROW(elements = XmlReader(svg).Read());
  const std::vector<std::string> texts = Texts(elements, "");
  EXPECT_TRUE(Contains(texts, "Time [ms]"));
  EXPECT_TRUE(Contains(texts, "no arrivals in this band"));
  EXPECT_FALSE(Contains(texts, "tSplit"));
  EXPECT_EQ(Count(elements, "circle"), 0);
}

// The plot command on the demo hall: a picture that parses, with its axes and one dot for
// each of the four direct sounds that count (two main boxes, the fill and the array's pseudo
// sound, into which its members are summed).
TEST(PlotCommandTest, DemoReflectogramIsValidSvg) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("zyra-plot-" + std::to_string(getpid()));
  DemoOptions demo;
  demo.sOutDir = dir;
  ASSERT_EQ(RunDemo(demo), kExitSuccess);
  for (const int32_t band : {11, 8, 3}) {
    PlotOptions plot;
    plot.sFile = dir / "demo-hall.rsp";
    plot.sOut = dir / "band.svg";
    plot.iBand = band;
    ASSERT_EQ(RunPlot(plot), kExitSuccess);
    std::ifstream in(plot.sOut);
    std::stringstream svg;
    svg << in.rdbuf();
    std::vector<Element> elements;
    ASSERT_NO_THROW(elements = XmlReader(svg.str()).Read()) << band;
    const std::vector<std::string> texts = Texts(elements, "");
    EXPECT_TRUE(Contains(texts, "Time [ms]"));
    EXPECT_TRUE(Contains(texts, "Level [dB]"));
    EXPECT_TRUE(Contains(texts, "tSplit = 30 ms"));
    EXPECT_EQ(Count(elements, "circle"), 4) << band;
    // The 1 ms bins exist for the three Alcons bands only.
    EXPECT_EQ(Contains(texts, "1 ms bins"), band != 3) << band;
  }
  fs::remove_all(dir);
}

}  // namespace
}  // namespace zyra::tool
