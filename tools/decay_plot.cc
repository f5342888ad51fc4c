#include "tools/decay_plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "tools/plot_canvas.h"

namespace zyra::tool {
namespace {

constexpr Box kArea{82.0, 84.0, 760.0, 530.0};
constexpr double kLegendX = 782.0;
constexpr double kDecayRangeDb = 60.0;  // the fit lines run until 60 dB down: T30's meaning

// From low to high frequencies, dark to light, so that neighbouring octaves look related.
constexpr std::array<Rgb, 7> kSeriesColours{{{0.05, 0.03, 0.53},
                                             {0.36, 0.00, 0.65},
                                             {0.61, 0.09, 0.62},
                                             {0.80, 0.28, 0.47},
                                             {0.93, 0.47, 0.33},
                                             {0.96, 0.62, 0.16},
                                             {0.80, 0.68, 0.00}}};
constexpr Rgb kRangeColour{0.45, 0.45, 0.45};
constexpr Rgb kKeyColour{0.3, 0.3, 0.3};

Rgb ColourOf(std::size_t i, std::size_t count) {
  if (count == 1) return kSeriesColours[3];
  return kSeriesColours[std::min(i, kSeriesColours.size() - 1)];
}

bool FitExists(const CDecayFit& fit) {
  return std::isfinite(fit.dSlope) && fit.dSlope < 0.0 && std::isfinite(fit.dIntercept);
}

// The time in ms where a fit line reaches `level` dB.
double FitTime(const CDecayFit& fit, double level) {
  return 1000.0 * (level - fit.dIntercept) / fit.dSlope;
}

PlotAxes ChooseAxes(const DecayPlotData& plot) {
  const double bottom = std::min(-kDecayRangeDb, plot.dFitLower - 5.0);
  double tMin = 0.0;
  double tMax = 0.0;
  for (const DecaySeries& s : plot.series) {
    for (std::size_t i = 0; i < s.curve.daTime.size(); ++i) {
      if (!std::isfinite(s.curve.daTime[i]) || !std::isfinite(s.curve.daLevel[i])) continue;
      tMin = std::min(tMin, s.curve.daTime[i]);
      tMax = std::max(tMax, s.curve.daTime[i]);
    }
    if (FitExists(s.fit)) tMax = std::max(tMax, FitTime(s.fit, -kDecayRangeDb));
  }
  if (!(tMax > tMin)) tMax = tMin + 1000.0;
  // Seconds across, a tick on the end; a small margin before the start keeps the drop after a
  // dominant direct sound off the frame.
  const double s0 = tMin / 1000.0;
  const double s1 = tMax / 1000.0;
  const double step = NiceStep(s1 - s0, 10.0);
  const double x1 = std::ceil(s1 / step - 1e-9) * step;
  return PlotAxes(kArea, s0 - 0.015 * (x1 - s0), x1, step, bottom - 5.0, 5.0, 10.0);
}

void DrawCurve(const PlotCanvas& canvas, const PlotAxes& axes, const CDecayCurve& curve,
               Rgb colour) {
  cairo_t* cr = canvas.Cairo();
  cairo_save(cr);
  bool open = false;
  for (std::size_t i = 0; i < curve.daTime.size() && i < curve.daLevel.size(); ++i) {
    const double t = curve.daTime[i];
    const double level = curve.daLevel[i];
    if (!std::isfinite(t) || !std::isfinite(level)) {
      open = false;
      continue;
    }
    const double x = axes.PageX(t / 1000.0);
    const double y = axes.PageY(level);
    if (open) {
      cairo_line_to(cr, x, y);
    } else {
      cairo_move_to(cr, x, y);
    }
    open = true;
  }
  cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
  cairo_set_line_width(cr, 1.8);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_stroke(cr);
  cairo_restore(cr);
}

// The fit line from where it crosses 0 dB (or the axis' start) until 60 dB down, and open
// circles on the first and last sample it was fitted to.
void DrawFit(const PlotCanvas& canvas, const PlotAxes& axes, const CDecayFit& fit, Rgb colour) {
  if (!FitExists(fit)) return;
  const double tStart = std::max(FitTime(fit, 0.0), 1000.0 * axes.X0());
  const double tEnd = FitTime(fit, -kDecayRangeDb);
  const auto level = [&](double t) { return fit.dIntercept + fit.dSlope * t / 1000.0; };
  canvas.Line(axes.PageX(tStart / 1000.0), axes.PageY(level(tStart)), axes.PageX(tEnd / 1000.0),
              axes.PageY(level(tEnd)), colour, 1.2, true);
  cairo_t* cr = canvas.Cairo();
  cairo_save(cr);
  cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
  cairo_set_line_width(cr, 1.4);
  cairo_new_path(cr);
  for (const double t : {fit.dTimeUpper, fit.dTimeLower}) {
    if (!std::isfinite(t)) continue;
    cairo_new_sub_path(cr);
    cairo_arc(cr, axes.PageX(t / 1000.0), axes.PageY(level(t)), 3.5, 0.0, 2.0 * std::numbers::pi);
  }
  cairo_stroke(cr);
  cairo_restore(cr);
}

std::string DecayTimeText(const CDecayFit& fit) {
  const double t30 = fit.DecayTime();
  if (!std::isfinite(t30)) return "T30 -";
  char text[32];
  std::snprintf(text, sizeof text, "T30 %.2f s", t30);
  return text;
}

// Beside the plot: one row per series with its T30, then what the line kinds mean.
void DrawLegend(PlotCanvas& canvas, const DecayPlotData& plot) {
  constexpr double kRow = 18.0;
  constexpr double kSample = 20.0;
  double y = kArea.y0 + 12.0;
  const TextStyle style{.dSize = 11.0};
  for (std::size_t i = 0; i < plot.series.size(); ++i) {
    const Rgb colour = ColourOf(i, plot.series.size());
    canvas.Line(kLegendX, y - 4.0, kLegendX + kSample, y - 4.0, colour, 2.2);
    canvas.Text(kLegendX + kSample + 6.0, y, plot.series[i].sLabel, style);
    TextStyle right = style;
    right.eAnchor = Anchor::kEnd;
    canvas.Text(kDecayPictureSize.dWidth - 12.0, y, DecayTimeText(plot.series[i].fit), right);
    y += kRow;
  }
  y += kRow / 2.0;
  canvas.Line(kLegendX, y - 4.0, kLegendX + kSample, y - 4.0, kKeyColour, 1.8);
  canvas.Text(kLegendX + kSample + 6.0, y, "Schroeder curve", style);
  y += kRow;
  canvas.Line(kLegendX, y - 4.0, kLegendX + kSample, y - 4.0, kKeyColour, 1.2, true);
  canvas.Text(kLegendX + kSample + 6.0, y, "T30 fit to -60 dB", style);
  y += kRow;
  cairo_t* cr = canvas.Cairo();
  cairo_save(cr);
  cairo_set_source_rgb(cr, kKeyColour.r, kKeyColour.g, kKeyColour.b);
  cairo_set_line_width(cr, 1.4);
  cairo_arc(cr, kLegendX + kSample / 2.0, y - 4.0, 3.5, 0.0, 2.0 * std::numbers::pi);
  cairo_stroke(cr);
  cairo_restore(cr);
  canvas.Text(kLegendX + kSample + 6.0, y, "ends of the fitted part", style);
  y += kRow;
  canvas.FillRect({kLegendX, y - 10.0, kLegendX + kSample, y + 2.0}, kRangeColour, 0.15);
  char range[64];
  std::snprintf(range, sizeof range, "fit range %g ... %g dB", plot.dFitUpper, plot.dFitLower);
  canvas.Text(kLegendX + kSample + 6.0, y, range, style);
}

}  // namespace

PlotLayout DrawDecay(cairo_t* cr, const DecayPlotData& plot) {
  PlotCanvas canvas(cr);
  cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  cairo_paint(cr);
  canvas.Text(kArea.x0, 32.0, plot.sTitle,
              {.dSize = 18.0, .colour = {0.13, 0.13, 0.13}, .bBold = true});
  if (!plot.sSubtitle.empty()) {
    canvas.Text(kArea.x0, 54.0, plot.sSubtitle, {.dSize = 11.5, .colour = {0.4, 0.4, 0.4}});
  }
  const PlotAxes axes = ChooseAxes(plot);
  axes.DrawGridAndTicks(canvas, "Time after tRef [s]", "Level of the remaining energy [dB]");
  {
    const ClipScope clip(cr, axes.Area());
    canvas.FillRect({kArea.x0, axes.PageY(plot.dFitUpper), kArea.x1, axes.PageY(plot.dFitLower)},
                    kRangeColour, 0.15);
    for (std::size_t i = 0; i < plot.series.size(); ++i) {
      DrawCurve(canvas, axes, plot.series[i].curve, ColourOf(i, plot.series.size()));
    }
    for (std::size_t i = 0; i < plot.series.size(); ++i) {
      DrawFit(canvas, axes, plot.series[i].fit, ColourOf(i, plot.series.size()));
    }
  }
  if (std::ranges::all_of(plot.series,
                          [](const DecaySeries& s) { return s.curve.daTime.empty(); })) {
    canvas.Text((kArea.x0 + kArea.x1) / 2.0, (kArea.y0 + kArea.y1) / 2.0, "no decay in this band",
                {.dSize = 14.0, .colour = {0.5, 0.5, 0.5}, .eAnchor = Anchor::kMiddle});
  }
  DrawLegend(canvas, plot);
  axes.DrawFrame(canvas);
  return {axes.X0(), axes.X1(), axes.Y0(), axes.Y1(), canvas.Texts()};
}

}  // namespace zyra::tool
