#include "tools/etc_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "tools/plot_canvas.h"

namespace zyra::tool {
namespace {

// Two panels: the whole response above, the early part in detail below.
constexpr Box kWholeArea{82.0, 82.0, 932.0, 318.0};
constexpr Box kEarlyArea{82.0, 408.0, 932.0, 644.0};
constexpr double kEarlyEnd = 150.0;  // ms
constexpr double kRangeDb = 60.0;

// Four colours, one per meaning.
constexpr Rgb kDirectColour{0.84, 0.15, 0.16};
constexpr Rgb kReflectionColour{0.12, 0.47, 0.71};
constexpr Rgb kTailColour{0.55, 0.55, 0.55};
constexpr Rgb kMarkColour{0.25, 0.25, 0.25};

// Columns of half a point: arrivals falling into one column are drawn as its loudest, which
// is what the overlapping lines would show, and keeps huge responses to a small picture.
constexpr double kColumnWidth = 0.5;

std::string Ms(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  std::string s = text;
  if (s.ends_with(".0")) s.resize(s.size() - 2);
  return s;
}

// The time where the tail, falling, first reaches `floor` dB (linearly between its points),
// or its last time when it stays above.
double TailEnd(const std::vector<EtcPoint>& tail, double floor) {
  for (std::size_t i = 0; i < tail.size(); ++i) {
    if (tail[i].dLevel > floor) continue;
    if (i == 0) return tail[0].tMs;
    const EtcPoint& a = tail[i - 1];
    const EtcPoint& b = tail[i];
    return a.tMs + (b.tMs - a.tMs) * (a.dLevel - floor) / (a.dLevel - b.dLevel);
  }
  return tail.empty() ? 0.0 : tail.back().tMs;
}

bool Finite(const EtcPoint& p) {
  return std::isfinite(p.tMs) && std::isfinite(p.dLevel);
}

struct Levels {
  double l0, l1;
};

// The top is the loudest level rounded up to the next 10 dB, the bottom 60 dB below.
Levels ChooseLevels(const EtcPlotData& plot) {
  double levelMax = -std::numeric_limits<double>::infinity();
  for (const EtcArrival& a : plot.arrivals) {
    if (std::isfinite(a.tMs) && std::isfinite(a.dLevel)) levelMax = std::max(levelMax, a.dLevel);
  }
  for (const EtcPoint& p : plot.tail) {
    if (Finite(p)) levelMax = std::max(levelMax, p.dLevel);
  }
  const double l1 = std::isfinite(levelMax) ? (std::floor(levelMax / 10.0) + 1.0) * 10.0 : 100.0;
  return {l1 - kRangeDb, l1};
}

// A time axis over [tMin, tMax] with a small margin before, so that the direct sound stays off
// the frame, and its end on a tick.
PlotAxes TimeAxes(const Box& area, double tMin, double tMax, const Levels& levels) {
  const double margin = 0.02 * (tMax - tMin);
  const double step = NiceStep(tMax - tMin + 2.0 * margin, 10.0);
  const double t1 = std::ceil((tMax + margin) / step - 1e-9) * step;
  return PlotAxes(area, tMin - margin, t1, step, levels.l0, levels.l1, 10.0);
}

// The earliest time shown: 0 or an arrival or mark before tRef.
double EarliestTime(const EtcPlotData& plot, const Levels& levels) {
  double tMin = 0.0;
  for (const EtcArrival& a : plot.arrivals) {
    if (std::isfinite(a.tMs) && std::isfinite(a.dLevel) && a.dLevel > levels.l0) {
      tMin = std::min(tMin, a.tMs);
    }
  }
  for (const EtcMark& mark : plot.marks) {
    if (std::isfinite(mark.tMs)) tMin = std::min(tMin, mark.tMs);
  }
  return tMin;
}

// The whole response: every arrival, every mark and the tail until it leaves the level axis
// (or is 60 dB down, where its points end).
PlotAxes WholeAxes(const EtcPlotData& plot, const Levels& levels) {
  double tMax = 100.0;
  for (const EtcArrival& a : plot.arrivals) {
    if (std::isfinite(a.tMs) && std::isfinite(a.dLevel) && a.dLevel > levels.l0) {
      tMax = std::max(tMax, a.tMs);
    }
  }
  for (const EtcMark& mark : plot.marks) {
    if (std::isfinite(mark.tMs)) tMax = std::max(tMax, mark.tMs);
  }
  if (!plot.tail.empty() && std::ranges::all_of(plot.tail, Finite)) {
    tMax = std::max(tMax, TailEnd(plot.tail, levels.l0));
  }
  return TimeAxes(kWholeArea, EarliestTime(plot, levels), tMax, levels);
}

// The early part in detail: to 150 ms, or a little beyond the latest mark.
PlotAxes EarlyAxes(const EtcPlotData& plot, const Levels& levels) {
  double tMax = kEarlyEnd;
  for (const EtcMark& mark : plot.marks) {
    if (std::isfinite(mark.tMs)) tMax = std::max(tMax, 1.25 * mark.tMs);
  }
  return TimeAxes(kEarlyArea, EarliestTime(plot, levels), tMax, levels);
}

void DrawTail(const PlotCanvas& canvas, const PlotAxes& axes, const std::vector<EtcPoint>& tail) {
  if (tail.empty() || !std::ranges::all_of(tail, Finite)) return;
  cairo_t* cr = canvas.Cairo();
  const double bottom = axes.Area().y1 + 2.0;  // below the frame, hidden by the clip
  cairo_save(cr);
  cairo_move_to(cr, axes.PageX(tail.front().tMs), bottom);
  for (const EtcPoint& p : tail) {
    cairo_line_to(cr, axes.PageX(p.tMs), std::min(axes.PageY(p.dLevel), bottom));
  }
  cairo_line_to(cr, axes.PageX(tail.back().tMs), bottom);
  cairo_close_path(cr);
  cairo_set_source_rgba(cr, kTailColour.r, kTailColour.g, kTailColour.b, 0.3);
  cairo_fill(cr);
  cairo_move_to(cr, axes.PageX(tail.front().tMs), bottom);
  for (const EtcPoint& p : tail) {
    cairo_line_to(cr, axes.PageX(p.tMs), std::min(axes.PageY(p.dLevel), bottom));
  }
  cairo_set_source_rgb(cr, kTailColour.r, kTailColour.g, kTailColour.b);
  cairo_set_line_width(cr, 1.2);
  cairo_stroke(cr);
  cairo_restore(cr);
}

// The loudest level per column of the plot area; -inf for an empty column.
std::vector<double> LoudestPerColumn(const PlotAxes& axes, const EtcPlotData& plot,
                                     ArrivalKind eKind) {
  const Box& area = axes.Area();
  const auto columns = static_cast<std::size_t>((area.x1 - area.x0) / kColumnWidth) + 1;
  std::vector<double> loudest(columns, -std::numeric_limits<double>::infinity());
  for (const EtcArrival& a : plot.arrivals) {
    if (a.eKind != eKind || !std::isfinite(a.tMs) || !std::isfinite(a.dLevel) ||
        a.dLevel <= axes.Y0()) {
      continue;
    }
    const double column = std::round((axes.PageX(a.tMs) - area.x0) / kColumnWidth);
    if (column < 0.0 || column >= static_cast<double>(columns)) continue;
    double& level = loudest[static_cast<std::size_t>(column)];
    level = std::max(level, std::min(a.dLevel, axes.Y1()));
  }
  return loudest;
}

void DrawArrivals(const PlotCanvas& canvas, const PlotAxes& axes, const EtcPlotData& plot,
                  ArrivalKind eKind) {
  const bool bDirect = eKind == ArrivalKind::kDirect;
  const Rgb colour = bDirect ? kDirectColour : kReflectionColour;
  const std::vector<double> loudest = LoudestPerColumn(axes, plot, eKind);
  cairo_t* cr = canvas.Cairo();
  cairo_save(cr);
  cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
  cairo_set_line_width(cr, bDirect ? 2.2 : 1.1);
  for (std::size_t c = 0; c < loudest.size(); ++c) {
    if (!std::isfinite(loudest[c])) continue;
    const double x = axes.Area().x0 + static_cast<double>(c) * kColumnWidth;
    cairo_move_to(cr, x, axes.Area().y1);
    cairo_line_to(cr, x, axes.PageY(loudest[c]));
  }
  cairo_stroke(cr);
  if (bDirect) {
    for (std::size_t c = 0; c < loudest.size(); ++c) {
      if (!std::isfinite(loudest[c])) continue;
      const double x = axes.Area().x0 + static_cast<double>(c) * kColumnWidth;
      cairo_new_sub_path(cr);
      cairo_arc(cr, x, axes.PageY(loudest[c]), 3.5, 0.0, 2.0 * std::numbers::pi);
    }
    cairo_fill(cr);
  }
  cairo_restore(cr);
}

// A label's place: its anchor point and side.
struct LabelPlace {
  double x, y;
  Anchor eAnchor;
  Box box;
};

// Each label goes beside its line (right, else left), in the first row from the top where it
// keeps clear of the labels already placed and of the other marks' lines; where no row near
// the top has such a place, in the first row clear of the labels alone.
std::vector<LabelPlace> PlaceMarkLabels(const PlotCanvas& canvas, const Box& area,
                                        const std::vector<double>& xs,
                                        const std::vector<std::string>& labels) {
  constexpr double kRowHeight = 16.0;
  constexpr double kGap = 2.0;
  constexpr int kRowsNearTop = 4;
  const int nRows = std::max(1, static_cast<int>((area.y1 - area.y0 - 8.0) / kRowHeight));
  const TextStyle style{.dSize = 11.0};
  std::vector<LabelPlace> placed;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    const auto candidate = [&](int row, Anchor eAnchor) {
      const double y = area.y0 + 14.0 + kRowHeight * row;
      const double x = eAnchor == Anchor::kStart ? xs[i] + 4.0 : xs[i] - 4.0;
      TextStyle side = style;
      side.eAnchor = eAnchor;
      return LabelPlace{x, y, eAnchor, canvas.Measure(x, y, labels[i], side)};
    };
    const auto fits = [&](const LabelPlace& p, bool bClearOfLines) {
      if (p.box.x0 < area.x0 + kGap || p.box.x1 > area.x1 - kGap) return false;
      if (std::ranges::any_of(placed,
                              [&](const LabelPlace& q) { return p.box.Overlaps(q.box, kGap); })) {
        return false;
      }
      return !bClearOfLines || std::ranges::none_of(xs, [&](double x) {
        return x > p.box.x0 - kGap && x < p.box.x1 + kGap;
      });
    };
    std::optional<LabelPlace> chosen;
    for (const bool bClearOfLines : {true, false}) {
      for (int row = 0; row < (bClearOfLines ? kRowsNearTop : nRows) && !chosen; ++row) {
        for (const Anchor eAnchor : {Anchor::kStart, Anchor::kEnd}) {
          const LabelPlace p = candidate(row, eAnchor);
          if (fits(p, bClearOfLines)) {
            chosen = p;
            break;
          }
        }
      }
      if (chosen) break;
    }
    // More labels than rows: the last row takes the rest.
    placed.push_back(chosen.value_or(candidate(nRows - 1, Anchor::kStart)));
  }
  return placed;
}

void DrawMarks(PlotCanvas& canvas, const PlotAxes& axes, const std::vector<EtcMark>& marks) {
  std::vector<const EtcMark*> visible;
  for (const EtcMark& mark : marks) {
    if (std::isfinite(mark.tMs) && mark.tMs >= axes.X0() && mark.tMs <= axes.X1()) {
      visible.push_back(&mark);
    }
  }
  std::ranges::stable_sort(visible, {}, &EtcMark::tMs);
  const Box& area = axes.Area();
  std::vector<double> xs;
  std::vector<std::string> labels;
  for (const EtcMark* mark : visible) {
    xs.push_back(axes.PageX(mark->tMs));
    labels.push_back(mark->sLabel);
    canvas.Line(xs.back(), area.y0, xs.back(), area.y1, kMarkColour, 1.1, true);
  }
  const std::vector<LabelPlace> places = PlaceMarkLabels(canvas, area, xs, labels);
  for (std::size_t i = 0; i < places.size(); ++i) {
    canvas.Text(
        places[i].x, places[i].y, labels[i],
        {.dSize = 11.0, .colour = kMarkColour, .bBacked = true, .eAnchor = places[i].eAnchor});
  }
}

void DrawLegend(PlotCanvas& canvas, const EtcPlotData& plot) {
  const auto has = [&](ArrivalKind eKind) {
    return std::ranges::any_of(plot.arrivals,
                               [&](const EtcArrival& a) { return a.eKind == eKind; });
  };
  std::vector<LegendEntry> entries;
  if (has(ArrivalKind::kDirect)) {
    entries.push_back({"Direct sound", kDirectColour, LegendEntry::Sample::kDot});
  }
  if (has(ArrivalKind::kReflection)) {
    entries.push_back({"Reflections", kReflectionColour, LegendEntry::Sample::kLine});
  }
  if (!plot.tail.empty()) {
    entries.push_back({"Tail, energy per ms", kTailColour, LegendEntry::Sample::kArea});
  }
  canvas.Legend(kWholeArea.x1, 32.0, entries);
}

void DrawPanel(PlotCanvas& canvas, const PlotAxes& axes, const EtcPlotData& plot,
               const std::string& sCaption, const std::string& sTimeTitle, bool bMarks) {
  const Box& area = axes.Area();
  canvas.Text(area.x0, area.y0 - 7.0, sCaption,
              {.dSize = 11.5, .colour = {0.13, 0.13, 0.13}, .bBold = true});
  axes.DrawGridAndTicks(canvas, sTimeTitle, "Level [dB]");
  {
    const ClipScope clip(canvas.Cairo(), area);
    DrawTail(canvas, axes, plot.tail);
  }
  // Arrivals fall into the columns of the area by construction; the dots of direct sounds near
  // the top may stand over the frame.
  DrawArrivals(canvas, axes, plot, ArrivalKind::kReflection);
  DrawArrivals(canvas, axes, plot, ArrivalKind::kDirect);
  if (plot.arrivals.empty() && plot.tail.empty()) {
    canvas.Text((area.x0 + area.x1) / 2.0, (area.y0 + area.y1) / 2.0, "no arrivals in this band",
                {.dSize = 14.0, .colour = {0.5, 0.5, 0.5}, .eAnchor = Anchor::kMiddle});
  }
  if (bMarks) DrawMarks(canvas, axes, plot.marks);
  axes.DrawFrame(canvas);
}

}  // namespace

std::vector<EtcMark> StandardEtcMarks(std::optional<double> tSplit) {
  std::vector<EtcMark> marks{{0.0, "tRef"}, {7.0, "7 ms"}, {50.0, "50 ms"}, {80.0, "80 ms"}};
  if (tSplit) marks.push_back({*tSplit, "tSplit " + Ms(*tSplit) + " ms"});
  return marks;
}

PlotLayout DrawEtc(cairo_t* cr, const EtcPlotData& plot) {
  PlotCanvas canvas(cr);
  cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  cairo_paint(cr);
  canvas.Text(kWholeArea.x0, 32.0, "Energy-time curve, " + plot.sBandLabel,
              {.dSize = 18.0, .colour = {0.13, 0.13, 0.13}, .bBold = true});
  if (!plot.sSubtitle.empty()) {
    canvas.Text(kWholeArea.x0, 54.0, plot.sSubtitle, {.dSize = 11.5, .colour = {0.4, 0.4, 0.4}});
  }
  DrawLegend(canvas, plot);
  const Levels levels = ChooseLevels(plot);
  const PlotAxes whole = WholeAxes(plot, levels);
  const PlotAxes early = EarlyAxes(plot, levels);
  const std::string sTimeTitle =
      std::isfinite(plot.tRef)
          ? "Time after tRef [ms]   (tRef = " + Ms(plot.tRef) + " ms after emission)"
          : "Time after tRef [ms]";
  DrawPanel(canvas, whole, plot, "Whole response", "Time after tRef [ms]", false);
  DrawPanel(canvas, early, plot, "Early part", sTimeTitle, true);
  return {whole.X0(), whole.X1(), whole.Y0(), whole.Y1(), canvas.Texts()};
}

}  // namespace zyra::tool
