// Two linear axes over a plot area: mapping values to the page, the grid, ticks and titles.
#ifndef ZYRA_TOOLS_PLOT_AXES_H_
#define ZYRA_TOOLS_PLOT_AXES_H_

#include <string>
#include <vector>

#include "tools/plot_canvas.h"

namespace zyra::tool {

// A tick step of 1, 2 or 5 times a power of ten giving about `count` intervals over `span`
// (span > 0).
double NiceStep(double span, double count);

// A value as a tick label: at most two decimals, no trailing zeros, no "-0".
std::string TickText(double value);

class PlotAxes {
 public:
  // The area on the page and the ranges shown across (x0 ... x1) and upwards (y0 ... y1);
  // both ranges must have a positive span.
  PlotAxes(Box area, double x0, double x1, double xStep, double y0, double y1, double yStep);

  const Box& Area() const { return area_; }
  double X0() const { return x0_; }
  double X1() const { return x1_; }
  double Y0() const { return y0_; }
  double Y1() const { return y1_; }

  // Page coordinates of a value.
  double PageX(double x) const;
  double PageY(double y) const;

  // Grid lines, ticks on the multiples of the steps with their labels, and the two titles.
  void DrawGridAndTicks(PlotCanvas& canvas, const std::string& sXTitle,
                        const std::string& sYTitle) const;
  // The frame round the area, drawn last over the data.
  void DrawFrame(const PlotCanvas& canvas) const;

 private:
  Box area_;
  double x0_, x1_, xStep_, y0_, y1_, yStep_;
};

// What a drawing placed, for checks: the ranges of its axes and every text.
struct PlotLayout {
  double x0 = 0.0, x1 = 0.0, y0 = 0.0, y1 = 0.0;
  std::vector<TextBox> texts;
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_PLOT_AXES_H_
