// Drawing on a Cairo page for the tool's plots: lines, texts whose boxes are kept so that
// labels can be placed clear of each other, and the legend.
#ifndef ZYRA_TOOLS_PLOT_CANVAS_H_
#define ZYRA_TOOLS_PLOT_CANVAS_H_

#include <string>
#include <vector>

#include <cairo.h>

namespace zyra::tool {

struct Rgb {
  double r = 0.0;
  double g = 0.0;
  double b = 0.0;
};

// A rectangle on the page (points, y downwards).
struct Box {
  double x0 = 0.0;
  double y0 = 0.0;
  double x1 = 0.0;
  double y1 = 0.0;
  // True when the two share more than a touching edge, with `gap` points kept free around.
  bool Overlaps(const Box& other, double gap = 0.0) const;
};

// A text as drawn: its box and what it says (UTF-8).
struct TextBox {
  Box box;
  std::string sText;
};

enum class Anchor { kStart, kMiddle, kEnd };

struct TextStyle {
  double dSize = 12.0;
  Rgb colour{0.2, 0.2, 0.2};
  bool bBold = false;
  bool bBacked = false;  // on a white ground that keeps it readable over lines
  Anchor eAnchor = Anchor::kStart;
};

// One legend entry: a short sample of the line or area and its label.
struct LegendEntry {
  std::string sLabel;
  Rgb colour;
  enum class Sample { kLine, kDashedLine, kArea, kDot } eSample = Sample::kLine;
};

// Drawing stays inside the box while this object lives.
class ClipScope {
 public:
  ClipScope(cairo_t* cr, const Box& box);
  ~ClipScope();
  ClipScope(const ClipScope&) = delete;
  ClipScope& operator=(const ClipScope&) = delete;

 private:
  cairo_t* cr_;
};

class PlotCanvas {
 public:
  explicit PlotCanvas(cairo_t* cr);

  cairo_t* Cairo() const { return cr_; }

  // The box the text would take with its anchor at x and its baseline at y.
  Box Measure(double x, double y, const std::string& sText, const TextStyle& style) const;
  // Draws the text and keeps its box.
  TextBox Text(double x, double y, const std::string& sText, const TextStyle& style);
  // A text turned a quarter to the left (reading upwards), centred on (x, y).
  TextBox UpwardText(double x, double y, const std::string& sText, const TextStyle& style);

  void Line(double x0, double y0, double x1, double y1, Rgb colour, double width,
            bool bDashed = false) const;
  void FillRect(const Box& box, Rgb colour, double dAlpha = 1.0) const;
  void StrokeRect(const Box& box, Rgb colour, double width) const;

  // A row of entries ending at `right`, on the baseline y.
  void Legend(double right, double y, const std::vector<LegendEntry>& entries);

  // Every text drawn so far, in order.
  const std::vector<TextBox>& Texts() const { return texts_; }

 private:
  void SelectFont(const TextStyle& style) const;

  cairo_t* cr_;
  std::vector<TextBox> texts_;
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_PLOT_CANVAS_H_
