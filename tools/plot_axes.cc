#include "tools/plot_axes.h"

#include <cmath>
#include <cstdio>

namespace zyra::tool {
namespace {

constexpr Rgb kGridColour{0.9, 0.9, 0.9};
constexpr Rgb kAxisColour{0.2, 0.2, 0.2};

// The multiples of `step` within [from, to], as a count and the first.
struct Ticks {
  double first;
  int count;
};
Ticks TicksOver(double from, double to, double step) {
  const double first = std::ceil(from / step - 1e-9) * step;
  return {first, static_cast<int>(std::floor((to - first) / step + 1e-9)) + 1};
}

}  // namespace

double NiceStep(double span, double count) {
  const double raw = span / count;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= raw * (1.0 - 1e-9)) return factor * power;
  }
  return 10.0 * power;
}

std::string TickText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string s = text;
  while (s.back() == '0') s.pop_back();
  if (s.back() == '.') s.pop_back();
  return s == "-0" ? "0" : s;
}

PlotAxes::PlotAxes(Box area, double x0, double x1, double xStep, double y0, double y1, double yStep)
    : area_(area), x0_(x0), x1_(x1), xStep_(xStep), y0_(y0), y1_(y1), yStep_(yStep) {}

double PlotAxes::PageX(double x) const {
  return area_.x0 + (x - x0_) / (x1_ - x0_) * (area_.x1 - area_.x0);
}

double PlotAxes::PageY(double y) const {
  return area_.y1 - (y - y0_) / (y1_ - y0_) * (area_.y1 - area_.y0);
}

void PlotAxes::DrawGridAndTicks(PlotCanvas& canvas, const std::string& sXTitle,
                                const std::string& sYTitle) const {
  const TextStyle tickStyle{.dSize = 11.0};
  const Ticks xTicks = TicksOver(x0_, x1_, xStep_);
  for (int i = 0; i < xTicks.count; ++i) {
    const double value = xTicks.first + i * xStep_;
    const double x = PageX(value);
    canvas.Line(x, area_.y0, x, area_.y1, kGridColour, 1.0);
    canvas.Line(x, area_.y1, x, area_.y1 + 5.0, kAxisColour, 1.0);
    TextStyle style = tickStyle;
    style.eAnchor = Anchor::kMiddle;
    canvas.Text(x, area_.y1 + 18.0, TickText(value), style);
  }
  const Ticks yTicks = TicksOver(y0_, y1_, yStep_);
  for (int i = 0; i < yTicks.count; ++i) {
    const double value = yTicks.first + i * yStep_;
    const double y = PageY(value);
    canvas.Line(area_.x0, y, area_.x1, y, kGridColour, 1.0);
    canvas.Line(area_.x0 - 5.0, y, area_.x0, y, kAxisColour, 1.0);
    TextStyle style = tickStyle;
    style.eAnchor = Anchor::kEnd;
    canvas.Text(area_.x0 - 8.0, y + 4.0, TickText(value), style);
  }
  const TextStyle titleStyle{.dSize = 12.5, .colour = {0.13, 0.13, 0.13}};
  TextStyle xTitle = titleStyle;
  xTitle.eAnchor = Anchor::kMiddle;
  canvas.Text((area_.x0 + area_.x1) / 2.0, area_.y1 + 40.0, sXTitle, xTitle);
  canvas.UpwardText(area_.x0 - 52.0, (area_.y0 + area_.y1) / 2.0, sYTitle, titleStyle);
}

void PlotAxes::DrawFrame(const PlotCanvas& canvas) const {
  canvas.StrokeRect(area_, kAxisColour, 1.0);
}

}  // namespace zyra::tool
