#include "tools/seat_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <unordered_map>

#include "zyra/support/errors.h"

namespace zyra::tool {
namespace {

// The page around the plan: title above, tick labels left and below, the colour bar right.
constexpr double kLeft = 80.0;
constexpr double kRight = 170.0;
constexpr double kTop = 84.0;
constexpr double kBottom = 62.0;
constexpr double kMinAreaWidth = 560.0;
constexpr double kMinAreaHeight = 400.0;
constexpr double kMaxAreaWidth = 2400.0;
constexpr double kMaxAreaHeight = 1800.0;
constexpr double kMarginMetres = 1.5;  // free plan around the receivers and loudspeakers
constexpr double kMinSpanMetres = 5.0;

constexpr double kDotRadius = 4.5;
constexpr double kValueSize = 9.0;
constexpr double kLabelGap = 2.0;
constexpr double kBarWidth = 16.0;
constexpr double kMaxBarHeight = 360.0;

constexpr Rgb kTextColour{0.13, 0.13, 0.13};
constexpr Rgb kSubtleColour{0.4, 0.4, 0.4};
constexpr Rgb kSpeakerColour{0.55, 0.55, 0.55};
constexpr Rgb kDotEdgeColour{0.2, 0.2, 0.2};

struct Extent {
  double x0 = 0.0, x1 = 0.0, y0 = 0.0, y1 = 0.0;
  double SpanX() const { return x1 - x0; }
  double SpanY() const { return y1 - y0; }
};

Extent PlanExtent(const SeatMapData& map) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  Extent e{inf, -inf, inf, -inf};
  const auto take = [&e](double x, double y) {
    e.x0 = std::min(e.x0, x);
    e.x1 = std::max(e.x1, x);
    e.y0 = std::min(e.y0, y);
    e.y1 = std::max(e.y1, y);
  };
  for (const SeatMapPoint& p : map.points) take(p.x, p.y);
  for (const SeatMapSpeaker& s : map.speakers) take(s.x, s.y);
  const auto widen = [](double& lo, double& hi) {
    const double grow = std::max(kMarginMetres, (kMinSpanMetres - (hi - lo)) / 2.0);
    lo -= grow;
    hi += grow;
  };
  widen(e.x0, e.x1);
  widen(e.y0, e.y1);
  return e;
}

std::string ValueText(double value, int32_t iDecimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", static_cast<int>(iDecimals), value);
  std::string s = text;
  if (s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos) s.erase(0, 1);
  return s;
}

// The distance from a receiver to its nearest neighbour, the median over the receivers (0 for
// a single one). Many receivers are sampled evenly, which keeps the page's choice quick.
double TypicalSpacing(const std::vector<SeatMapPoint>& points) {
  constexpr std::size_t kSample = 1500;
  const std::size_t n = points.size();
  if (n < 2) return 0.0;
  const std::size_t step = std::max<std::size_t>(1, n / kSample);
  std::vector<double> nearest;
  for (std::size_t i = 0; i < n; i += step) {
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t j = 0; j < n; ++j) {
      const double d = std::hypot(points[i].x - points[j].x, points[i].y - points[j].y);
      if (j != i && d > 0.0) best = std::min(best, d);
    }
    if (std::isfinite(best)) nearest.push_back(best);
  }
  if (nearest.empty()) return 0.0;
  std::nth_element(nearest.begin(),
                   nearest.begin() + static_cast<std::ptrdiff_t>(nearest.size() / 2),
                   nearest.end());
  return nearest[nearest.size() / 2];
}

// Boxes already on the page, found by the cells of a coarse grid they cover, so that placing
// thousands of labels stays quick.
class BoxIndex {
 public:
  void Add(const Box& box) {
    const auto id = static_cast<int32_t>(boxes_.size());
    boxes_.push_back(box);
    ForCells(box, [&](int64_t key) { cells_[key].push_back(id); });
  }
  bool Overlaps(const Box& box, double gap, int32_t except = -1) const {
    bool found = false;
    ForCells(box, [&](int64_t key) {
      const auto cell = cells_.find(key);
      if (found || cell == cells_.end()) return;
      for (const int32_t id : cell->second) {
        if (id != except && boxes_[static_cast<std::size_t>(id)].Overlaps(box, gap)) {
          found = true;
          return;
        }
      }
    });
    return found;
  }

 private:
  static constexpr double kCell = 48.0;
  template <class Visit>
  static void ForCells(const Box& box, Visit&& visit) {
    const auto cell = [](double v) { return static_cast<int64_t>(std::floor(v / kCell)); };
    for (int64_t i = cell(box.x0 - 2.0); i <= cell(box.x1 + 2.0); ++i) {
      for (int64_t j = cell(box.y0 - 2.0); j <= cell(box.y1 + 2.0); ++j) visit(i * 1000003 + j);
    }
  }
  std::vector<Box> boxes_;
  std::unordered_map<int64_t, std::vector<int32_t>> cells_;
};

void DrawColourBar(PlotCanvas& canvas, const Box& area, const SeatMapData& map, double low,
                   double high) {
  const Box bar{area.x1 + 30.0, area.y0, area.x1 + 30.0 + kBarWidth,
                area.y0 + std::min(kMaxBarHeight, area.y1 - area.y0)};
  constexpr int kSlices = 128;
  const double sliceHeight = (bar.y1 - bar.y0) / kSlices;
  for (int i = 0; i < kSlices; ++i) {
    // Slice 0 at the bottom: high values on top, as the plan's y axis runs.
    const double top = bar.y1 - (i + 1) * sliceHeight;
    canvas.FillRect({bar.x0, top - 0.3, bar.x1, top + sliceHeight + 0.3},
                    ScaleColour((i + 0.5) / kSlices));
  }
  canvas.StrokeRect(bar, kDotEdgeColour, 0.8);
  const double step = NiceStep(high - low, 5.0);
  const TextStyle tickStyle{.dSize = 11.0, .colour = kTextColour};
  double widest = 0.0;
  for (double v = std::ceil(low / step - 1e-9) * step; v <= high + step * 1e-9; v += step) {
    const double y = bar.y1 - (v - low) / (high - low) * (bar.y1 - bar.y0);
    canvas.Line(bar.x1, y, bar.x1 + 5.0, y, kDotEdgeColour, 1.0);
    const TextBox text = canvas.Text(bar.x1 + 8.0, y + 4.0, TickText(v), tickStyle);
    widest = std::max(widest, text.box.x1 - text.box.x0);
  }
  canvas.UpwardText(bar.x1 + 8.0 + widest + 16.0, (bar.y0 + bar.y1) / 2.0, map.sValueTitle,
                    {.dSize = 12.5, .colour = kTextColour});
}

void DrawSpeaker(PlotCanvas& canvas, double x, double y, const std::string& sLabel,
                 BoxIndex& taken) {
  cairo_t* cr = canvas.Cairo();
  constexpr double size = 6.0;
  cairo_move_to(cr, x, y - size);
  cairo_line_to(cr, x + size, y + size * 0.8);
  cairo_line_to(cr, x - size, y + size * 0.8);
  cairo_close_path(cr);
  cairo_set_source_rgb(cr, kSpeakerColour.r, kSpeakerColour.g, kSpeakerColour.b);
  cairo_fill(cr);
  taken.Add({x - size, y - size, x + size, y + size});
  const TextStyle style{.dSize = 9.0, .colour = kSpeakerColour};
  const Box box = canvas.Measure(x + size + 2.0, y + 3.0, sLabel, style);
  if (!taken.Overlaps(box, 1.0)) {
    canvas.Text(x + size + 2.0, y + 3.0, sLabel, style);
    taken.Add(box);
  }
}

}  // namespace

Rgb ScaleColour(double fraction) {
  // The viridis scale at nine even steps.
  static constexpr std::array<Rgb, 9> kStops = {{{0.267, 0.005, 0.329},
                                                 {0.283, 0.157, 0.471},
                                                 {0.243, 0.286, 0.537},
                                                 {0.192, 0.408, 0.557},
                                                 {0.149, 0.510, 0.557},
                                                 {0.122, 0.620, 0.537},
                                                 {0.208, 0.718, 0.475},
                                                 {0.431, 0.808, 0.345},
                                                 {0.992, 0.906, 0.145}}};
  const double f = std::isnan(fraction) ? 0.0 : std::clamp(fraction, 0.0, 1.0);
  const double at = f * (kStops.size() - 1);
  const auto i = std::min(static_cast<std::size_t>(at), kStops.size() - 2);
  const double t = at - static_cast<double>(i);
  const Rgb& a = kStops[i];
  const Rgb& b = kStops[i + 1];
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

PictureSize SeatMapSize(const SeatMapData& map) {
  const Extent e = PlanExtent(map);
  std::size_t longest = 1;
  for (const SeatMapPoint& p : map.points) {
    longest = std::max(longest, ValueText(p.value, map.iDecimals).size());
  }
  // Room for a value beside its dot before the next receiver: about 0.6 em per character.
  const double labelRoom = 2.0 * kDotRadius + 2.0 * kLabelGap + 0.6 * kValueSize * longest + 4.0;
  const double spacing = TypicalSpacing(map.points);
  const double fitted = std::min(kMinAreaWidth / e.SpanX(), kMinAreaHeight / e.SpanY());
  const double scale = std::max(fitted, spacing > 0.0 ? labelRoom / spacing : 0.0);
  const double width = std::clamp(e.SpanX() * scale, kMinAreaWidth, kMaxAreaWidth);
  const double height = std::clamp(e.SpanY() * scale, kMinAreaHeight, kMaxAreaHeight);
  return {std::ceil(width + kLeft + kRight), std::ceil(height + kTop + kBottom)};
}

SeatMapLayout DrawSeatMap(cairo_t* cr, const SeatMapData& map, PictureSize size) {
  if (map.points.empty()) RaiseError(kErrInvalidCall);
  cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  cairo_paint(cr);
  PlotCanvas canvas(cr);

  // One scale across and upwards: the plan's extent grows along one axis to fill the area.
  const Box area{kLeft, kTop, size.dWidth - kRight, size.dHeight - kBottom};
  const Extent e = PlanExtent(map);
  const double areaWidth = area.x1 - area.x0;
  const double areaHeight = area.y1 - area.y0;
  const double scale = std::min(areaWidth / e.SpanX(), areaHeight / e.SpanY());
  const double cx = (e.x0 + e.x1) / 2.0;
  const double cy = (e.y0 + e.y1) / 2.0;
  const double halfX = areaWidth / scale / 2.0;
  const double halfY = areaHeight / scale / 2.0;
  const double tickStep = NiceStep(std::max(2.0 * halfX, 2.0 * halfY), 10.0);
  const PlotAxes axes(area, cx - halfX, cx + halfX, tickStep, cy - halfY, cy + halfY, tickStep);

  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const SeatMapPoint& p : map.points) {
    low = std::min(low, p.value);
    high = std::max(high, p.value);
  }
  if (!(high > low)) {
    const double pad = std::max(std::pow(10.0, -map.iDecimals), std::abs(low) * 1e-6);
    low -= pad;
    high += pad;
  }

  canvas.Text(kLeft, 34.0, map.sTitle, {.dSize = 18.0, .colour = kTextColour, .bBold = true});
  if (!map.sSubtitle.empty()) {
    canvas.Text(kLeft, 56.0, map.sSubtitle, {.dSize = 11.5, .colour = kSubtleColour});
  }
  axes.DrawGridAndTicks(canvas, "x [m]", "y [m]");

  BoxIndex taken;
  std::vector<std::pair<double, double>> dots;
  dots.reserve(map.points.size());
  for (const SeatMapPoint& p : map.points) {
    const double x = axes.PageX(p.x);
    const double y = axes.PageY(p.y);
    dots.emplace_back(x, y);
    taken.Add({x - kDotRadius, y - kDotRadius, x + kDotRadius, y + kDotRadius});
  }
  SeatMapLayout layout;
  {
    const ClipScope clip(cr, area);
    for (const SeatMapSpeaker& s : map.speakers) {
      DrawSpeaker(canvas, axes.PageX(s.x), axes.PageY(s.y), s.sLabel, taken);
    }
    for (std::size_t i = 0; i < map.points.size(); ++i) {
      const auto [x, y] = dots[i];
      const Rgb colour = ScaleColour((map.points[i].value - low) / (high - low));
      cairo_new_path(cr);
      cairo_arc(cr, x, y, kDotRadius, 0.0, 2.0 * std::numbers::pi);
      cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
      cairo_fill_preserve(cr);
      cairo_set_source_rgb(cr, kDotEdgeColour.r, kDotEdgeColour.g, kDotEdgeColour.b);
      cairo_set_line_width(cr, 0.6);
      cairo_stroke(cr);
    }
    // Each value beside its dot: right, left, above or below, the first place that is free.
    const TextStyle valueStyle{.dSize = kValueSize, .colour = kTextColour};
    for (std::size_t i = 0; i < map.points.size(); ++i) {
      const auto [x, y] = dots[i];
      const std::string text = ValueText(map.points[i].value, map.iDecimals);
      const double offset = kDotRadius + kLabelGap;
      const struct {
        double x, y;
        Anchor anchor;
      } places[] = {{x + offset, y + 3.2, Anchor::kStart},
                    {x - offset, y + 3.2, Anchor::kEnd},
                    {x, y - offset - 2.0, Anchor::kMiddle},
                    {x, y + offset + 8.5, Anchor::kMiddle}};
      bool placed = false;
      for (const auto& place : places) {
        TextStyle style = valueStyle;
        style.eAnchor = place.anchor;
        const Box box = canvas.Measure(place.x, place.y, text, style);
        const bool inside =
            box.x0 >= area.x0 && box.x1 <= area.x1 && box.y0 >= area.y0 && box.y1 <= area.y1;
        if (inside && !taken.Overlaps(box, 0.5)) {
          canvas.Text(place.x, place.y, text, style);
          taken.Add(box);
          placed = true;
          break;
        }
      }
      if (!placed) ++layout.nUnlabelled;
    }
  }
  axes.DrawFrame(canvas);
  DrawColourBar(canvas, area, map, low, high);

  layout.plot = {axes.X0(), axes.X1(), axes.Y0(), axes.Y1(), canvas.Texts()};
  layout.area = area;
  layout.dPointsPerMetre = scale;
  layout.dLow = low;
  layout.dHigh = high;
  return layout;
}

}  // namespace zyra::tool
