#include "tools/etc_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

namespace zyra::tool {
namespace {

// The page and the plot area inside it, in pixels.
constexpr double kWidth = 960.0;
constexpr double kHeight = 540.0;
constexpr double kLeft = 76.0;
constexpr double kRight = kWidth - 28.0;
constexpr double kTop = 84.0;
constexpr double kBottom = kHeight - 64.0;
constexpr double kRangeDb = 60.0;
// A rough width of one character of the 12 px sans-serif labels, to keep labels apart.
constexpr double kCharWidth = 6.6;

constexpr const char* kDirectColour = "#d62728";
constexpr const char* kReflectionColour = "#1f77b4";
constexpr const char* kTailColour = "#9a9a9a";
constexpr const char* kBinColour = "#ff7f0e";

// Coordinates with two decimals, without trailing zeros: compact and locale-independent.
std::string Num(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string s = text;
  if (s.find('.') != std::string::npos) {
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  return s == "-0" ? "0" : s;
}

// A tick step of 1, 2 or 5 times a power of ten giving about `count` intervals over `span`.
double NiceStep(double span, double count) {
  const double raw = span / count;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= raw) return factor * power;
  }
  return 10.0 * power;
}

struct Axes {
  double t0, t1, tStep;  // time axis, ms
  double l0, l1;         // level axis, dB
  double X(double t) const { return kLeft + (t - t0) / (t1 - t0) * (kRight - kLeft); }
  double Y(double level) const { return kBottom - (level - l0) / (l1 - l0) * (kBottom - kTop); }
};

Axes ChooseAxes(const EtcPlotData& plot) {
  double tMin = 0.0;
  double tMax = 100.0;  // room for the 80 ms mark
  double levelMax = -std::numeric_limits<double>::infinity();
  for (const EtcArrival& arrival : plot.arrivals) {
    if (!std::isfinite(arrival.tMs) || !std::isfinite(arrival.dLevel)) continue;
    tMin = std::min(tMin, arrival.tMs);
    tMax = std::max(tMax, arrival.tMs);
    levelMax = std::max(levelMax, arrival.dLevel);
  }
  for (const EtcMark& mark : plot.marks) {
    if (!std::isfinite(mark.tMs)) continue;
    tMin = std::min(tMin, mark.tMs);
    tMax = std::max(tMax, mark.tMs);
  }
  for (std::size_t k = 0; k < plot.binLevels.size(); ++k) {
    if (!std::isfinite(plot.binLevels[k])) continue;
    tMax = std::max(tMax, static_cast<double>(k));
    levelMax = std::max(levelMax, plot.binLevels[k]);
  }
  Axes axes{};
  // A small margin before the earliest time keeps the direct sound off the frame.
  const double margin = 0.03 * (tMax - tMin);
  axes.tStep = NiceStep(tMax - tMin + 2 * margin, 10.0);
  axes.t0 = tMin - margin;
  axes.t1 = std::ceil((tMax + margin) / axes.tStep) * axes.tStep;
  // The top is the loudest level rounded up to the next 10 dB, leaving room for mark labels.
  axes.l1 = std::isfinite(levelMax) ? (std::floor(levelMax / 10.0) + 1.0) * 10.0 : 100.0;
  axes.l0 = axes.l1 - kRangeDb;
  return axes;
}

void Text(std::ostringstream& svg, double x, double y, const std::string& sText,
          const std::string& attributes) {
  svg << "<text x=\"" << Num(x) << "\" y=\"" << Num(y) << "\" " << attributes << ">"
      << XmlEscape(sText) << "</text>\n";
}

void DrawFrameAndAxes(std::ostringstream& svg, const Axes& axes) {
  svg << "<g stroke=\"#e6e6e6\" stroke-width=\"1\">\n";
  for (double level = axes.l0; level <= axes.l1 + 1e-9; level += 10.0) {
    svg << "<line x1=\"" << Num(kLeft) << "\" y1=\"" << Num(axes.Y(level)) << "\" x2=\""
        << Num(kRight) << "\" y2=\"" << Num(axes.Y(level)) << "\"/>\n";
  }
  // Time ticks on the multiples of the step; the axis itself starts a little before the
  // earliest time.
  const double firstTick = std::ceil(axes.t0 / axes.tStep) * axes.tStep;
  const int nTicks = static_cast<int>(std::floor((axes.t1 - firstTick) / axes.tStep + 1e-9));
  for (int i = 0; i <= nTicks; ++i) {
    const double x = axes.X(firstTick + i * axes.tStep);
    svg << "<line x1=\"" << Num(x) << "\" y1=\"" << Num(kTop) << "\" x2=\"" << Num(x) << "\" y2=\""
        << Num(kBottom) << "\"/>\n";
  }
  svg << "</g>\n";

  svg << "<g font-size=\"12\" fill=\"#333\">\n";
  for (int i = 0; i <= nTicks; ++i) {
    const double t = firstTick + i * axes.tStep;
    const double x = axes.X(t);
    svg << "<line x1=\"" << Num(x) << "\" y1=\"" << Num(kBottom) << "\" x2=\"" << Num(x)
        << "\" y2=\"" << Num(kBottom + 5) << "\" stroke=\"#333\"/>\n";
    Text(svg, x, kBottom + 19, Num(std::abs(t) < 1e-9 ? 0.0 : t), "text-anchor=\"middle\"");
  }
  for (double level = axes.l0; level <= axes.l1 + 1e-9; level += 10.0) {
    const double y = axes.Y(level);
    svg << "<line x1=\"" << Num(kLeft - 5) << "\" y1=\"" << Num(y) << "\" x2=\"" << Num(kLeft)
        << "\" y2=\"" << Num(y) << "\" stroke=\"#333\"/>\n";
    Text(svg, kLeft - 8, y + 4, Num(level), "text-anchor=\"end\"");
  }
  svg << "</g>\n";
  Text(svg, (kLeft + kRight) / 2, kHeight - 22, "Time [ms]",
       "text-anchor=\"middle\" font-size=\"13\" fill=\"#222\"");
  svg << "<text transform=\"translate(" << Num(24) << " " << Num((kTop + kBottom) / 2)
      << ") rotate(-90)\" text-anchor=\"middle\" font-size=\"13\" fill=\"#222\">Level "
         "[dB]</text>\n";
}

void DrawBins(std::ostringstream& svg, const Axes& axes, const std::vector<double>& binLevels) {
  if (binLevels.empty()) return;
  std::string path;
  bool open = false;
  for (std::size_t k = 0; k < binLevels.size(); ++k) {
    const double level = binLevels[k];
    const double xa = axes.X(static_cast<double>(k) - 1.0);
    const double xb = axes.X(static_cast<double>(k));
    if (!std::isfinite(level) || level <= axes.l0) {
      if (open) path += "L" + Num(xa) + " " + Num(kBottom) + "Z";
      open = false;
      continue;
    }
    const double y = axes.Y(std::min(level, axes.l1));
    if (!open) path += "M" + Num(xa) + " " + Num(kBottom);
    path += "L" + Num(xa) + " " + Num(y) + "L" + Num(xb) + " " + Num(y);
    open = true;
  }
  if (open) {
    path +=
        "L" + Num(axes.X(static_cast<double>(binLevels.size()) - 1.0)) + " " + Num(kBottom) + "Z";
  }
  if (path.empty()) return;
  svg << "<path d=\"" << path << "\" fill=\"" << kBinColour << "\" fill-opacity=\"0.16\" stroke=\""
      << kBinColour << "\" stroke-width=\"1\" stroke-linejoin=\"round\"/>\n";
}

void DrawArrivals(std::ostringstream& svg, const Axes& axes, const EtcPlotData& plot,
                  ArrivalKind eKind, const char* colour, double width) {
  bool any = false;
  for (const EtcArrival& arrival : plot.arrivals) {
    if (arrival.eKind != eKind || !std::isfinite(arrival.tMs) || !std::isfinite(arrival.dLevel) ||
        arrival.dLevel <= axes.l0) {
      continue;
    }
    if (!any) {
      svg << "<g stroke=\"" << colour << "\" stroke-width=\"" << Num(width) << "\" fill=\""
          << colour << "\">\n";
      any = true;
    }
    const double x = axes.X(arrival.tMs);
    const double y = axes.Y(arrival.dLevel);
    svg << "<line x1=\"" << Num(x) << "\" y1=\"" << Num(kBottom) << "\" x2=\"" << Num(x)
        << "\" y2=\"" << Num(y) << "\"/>\n";
    if (eKind == ArrivalKind::kDirect) {
      svg << "<circle cx=\"" << Num(x) << "\" cy=\"" << Num(y) << "\" r=\"3.5\"/>\n";
    }
  }
  if (any) svg << "</g>\n";
}

void DrawMarks(std::ostringstream& svg, const Axes& axes, const std::vector<EtcMark>& marks) {
  std::vector<const EtcMark*> visible;
  for (const EtcMark& mark : marks) {
    if (std::isfinite(mark.tMs) && mark.tMs >= axes.t0 && mark.tMs <= axes.t1) {
      visible.push_back(&mark);
    }
  }
  std::stable_sort(visible.begin(), visible.end(),
                   [](const EtcMark* a, const EtcMark* b) { return a->tMs < b->tMs; });
  // Labels sit just right of their line, in the first row where they do not run into the
  // label before them.
  std::vector<double> rowEnds;
  for (const EtcMark* mark : visible) {
    const double x = axes.X(mark->tMs);
    const double width = kCharWidth * static_cast<double>(mark->sLabel.size()) + 8.0;
    std::size_t row = 0;
    while (row < rowEnds.size() && rowEnds[row] > x) ++row;
    if (row == rowEnds.size()) rowEnds.push_back(0.0);
    rowEnds[row] = x + width;
    const std::string colour = mark->sColour.empty() ? "#444" : mark->sColour;
    svg << "<line x1=\"" << Num(x) << "\" y1=\"" << Num(kTop) << "\" x2=\"" << Num(x) << "\" y2=\""
        << Num(kBottom) << "\" stroke=\"" << XmlEscape(colour)
        << "\" stroke-width=\"1.2\" stroke-dasharray=\"6 4\"/>\n";
    Text(svg, x + 4, kTop + 14 + 15 * static_cast<double>(row), mark->sLabel,
         "font-size=\"12\" fill=\"" + XmlEscape(colour) +
             "\" stroke=\"#fff\" stroke-width=\"3\" paint-order=\"stroke\"");
  }
}

void DrawLegend(std::ostringstream& svg, const EtcPlotData& plot) {
  struct Entry {
    const char* label;
    const char* colour;
    bool bin;
  };
  std::vector<Entry> entries;
  const auto has = [&](ArrivalKind eKind) {
    return std::any_of(plot.arrivals.begin(), plot.arrivals.end(),
                       [&](const EtcArrival& a) { return a.eKind == eKind; });
  };
  if (has(ArrivalKind::kDirect)) entries.push_back({"Direct sound", kDirectColour, false});
  if (has(ArrivalKind::kReflection)) entries.push_back({"Reflections", kReflectionColour, false});
  if (has(ArrivalKind::kTail)) entries.push_back({"Tail", kTailColour, false});
  if (!plot.binLevels.empty()) entries.push_back({"1 ms bins", kBinColour, true});
  // Right-aligned on the title's line, from the last entry backwards.
  double x = kRight;
  const double y = 32.0;
  svg << "<g font-size=\"12\" fill=\"#333\">\n";
  for (std::size_t i = entries.size(); i-- > 0;) {
    const Entry& entry = entries[i];
    const double textWidth = kCharWidth * static_cast<double>(std::string(entry.label).size());
    const double start = x - textWidth - 24.0;
    if (entry.bin) {
      svg << "<rect x=\"" << Num(start) << "\" y=\"" << Num(y - 9) << "\" width=\"16\" "
          << "height=\"10\" fill=\"" << entry.colour << "\" fill-opacity=\"0.16\" stroke=\""
          << entry.colour << "\"/>\n";
    } else {
      svg << "<line x1=\"" << Num(start + 8) << "\" y1=\"" << Num(y - 11) << "\" x2=\""
          << Num(start + 8) << "\" y2=\"" << Num(y + 2) << "\" stroke=\"" << entry.colour
          << "\" stroke-width=\"2.5\"/>\n";
    }
    Text(svg, start + 22, y, entry.label, "");
    x = start - 18.0;
  }
  svg << "</g>\n";
}

}  // namespace

std::vector<EtcMark> StandardEtcMarks(std::optional<double> tSplit) {
  std::vector<EtcMark> marks{{0.0, "tRef", "#222222"},
                             {7.0, "7 ms", "#2ca02c"},
                             {50.0, "50 ms", "#9467bd"},
                             {80.0, "80 ms", "#8c564b"}};
  if (tSplit) marks.push_back({*tSplit, "tSplit = " + Num(*tSplit) + " ms", "#e377c2"});
  return marks;
}

std::string XmlEscape(const std::string& sText) {
  std::string escaped;
  escaped.reserve(sText.size());
  for (const char c : sText) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        // Control characters other than tab and line ends are not allowed in XML at all.
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') {
          escaped += ' ';
        } else {
          escaped += c;
        }
    }
  }
  return escaped;
}

std::string EtcSvg(const EtcPlotData& plot) {
  const Axes axes = ChooseAxes(plot);
  std::ostringstream svg;
  svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << Num(kWidth) << "\" height=\""
      << Num(kHeight) << "\" viewBox=\"0 0 " << Num(kWidth) << " " << Num(kHeight)
      << "\" font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\">\n";
  svg << "<title>" << XmlEscape("Energy-time curve, " + plot.sBandLabel) << "</title>\n";
  svg << "<defs><clipPath id=\"plot-area\"><rect x=\"" << Num(kLeft) << "\" y=\"" << Num(kTop)
      << "\" width=\"" << Num(kRight - kLeft) << "\" height=\"" << Num(kBottom - kTop)
      << "\"/></clipPath></defs>\n";
  svg << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
  Text(svg, kLeft, 32, "Energy-time curve, " + plot.sBandLabel,
       "font-size=\"18\" font-weight=\"bold\" fill=\"#222\"");
  if (!plot.sSubtitle.empty())
    Text(svg, kLeft, 54, plot.sSubtitle, "font-size=\"12\" fill=\"#666\"");
  DrawLegend(svg, plot);
  DrawFrameAndAxes(svg, axes);

  svg << "<g clip-path=\"url(#plot-area)\">\n";
  DrawBins(svg, axes, plot.binLevels);
  DrawArrivals(svg, axes, plot, ArrivalKind::kTail, kTailColour, 1.0);
  DrawArrivals(svg, axes, plot, ArrivalKind::kReflection, kReflectionColour, 1.4);
  DrawArrivals(svg, axes, plot, ArrivalKind::kDirect, kDirectColour, 2.2);
  svg << "</g>\n";
  if (plot.arrivals.empty() && plot.binLevels.empty()) {
    Text(svg, (kLeft + kRight) / 2, (kTop + kBottom) / 2, "no arrivals in this band",
         "text-anchor=\"middle\" font-size=\"14\" fill=\"#888\" stroke=\"#fff\" stroke-width=\"4\" "
         "paint-order=\"stroke\"");
  }
  DrawMarks(svg, axes, plot.marks);
  svg << "<rect x=\"" << Num(kLeft) << "\" y=\"" << Num(kTop) << "\" width=\""
      << Num(kRight - kLeft) << "\" height=\"" << Num(kBottom - kTop)
      << "\" fill=\"none\" stroke=\"#333\" stroke-width=\"1\"/>\n";
  svg << "</svg>\n";
  return svg.str();
}

}  // namespace zyra::tool
