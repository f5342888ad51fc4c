#include "tools/plot_canvas.h"

#include <algorithm>
#include <numbers>

namespace zyra::tool {
namespace {

void SetColour(cairo_t* cr, Rgb colour, double dAlpha = 1.0) {
  cairo_set_source_rgba(cr, colour.r, colour.g, colour.b, dAlpha);
}

}  // namespace

bool Box::Overlaps(const Box& other, double gap) const {
  return x0 < other.x1 + gap && other.x0 < x1 + gap && y0 < other.y1 + gap && other.y0 < y1 + gap;
}

ClipScope::ClipScope(cairo_t* cr, const Box& box) : cr_(cr) {
  cairo_save(cr_);
  cairo_rectangle(cr_, box.x0, box.y0, box.x1 - box.x0, box.y1 - box.y0);
  cairo_clip(cr_);
}

ClipScope::~ClipScope() {
  cairo_restore(cr_);
}

PlotCanvas::PlotCanvas(cairo_t* cr) : cr_(cr) {}

void PlotCanvas::SelectFont(const TextStyle& style) const {
  cairo_select_font_face(cr_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         style.bBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr_, style.dSize);
}

Box PlotCanvas::Measure(double x, double y, const std::string& sText,
                        const TextStyle& style) const {
  SelectFont(style);
  cairo_text_extents_t text{};
  cairo_text_extents(cr_, sText.c_str(), &text);
  cairo_font_extents_t font{};
  cairo_font_extents(cr_, &font);
  double left = x;
  if (style.eAnchor == Anchor::kMiddle) left -= text.x_advance / 2.0;
  if (style.eAnchor == Anchor::kEnd) left -= text.x_advance;
  // The box of the line of type rather than of the ink, so that texts on one row align.
  return {left, y - font.ascent, left + text.x_advance, y + font.descent};
}

TextBox PlotCanvas::Text(double x, double y, const std::string& sText, const TextStyle& style) {
  const Box box = Measure(x, y, sText, style);
  if (style.bBacked) {
    FillRect({box.x0 - 1.5, box.y0, box.x1 + 1.5, box.y1}, {1.0, 1.0, 1.0}, 0.85);
  }
  cairo_save(cr_);
  cairo_move_to(cr_, box.x0, y);
  SetColour(cr_, style.colour);
  cairo_show_text(cr_, sText.c_str());
  cairo_new_path(cr_);  // no current point left behind for the next path
  cairo_restore(cr_);
  texts_.push_back({box, sText});
  return texts_.back();
}

TextBox PlotCanvas::UpwardText(double x, double y, const std::string& sText,
                               const TextStyle& style) {
  TextStyle centred = style;
  centred.eAnchor = Anchor::kMiddle;
  const Box flat = Measure(0.0, 0.0, sText, centred);
  const double height = flat.y1 - flat.y0;
  cairo_save(cr_);
  cairo_translate(cr_, x, y);
  cairo_rotate(cr_, -std::numbers::pi / 2.0);
  // The baseline lies so that the line of type is centred on x.
  cairo_move_to(cr_, flat.x0, -flat.y0 - height / 2.0);
  SetColour(cr_, style.colour);
  cairo_show_text(cr_, sText.c_str());
  cairo_new_path(cr_);
  cairo_restore(cr_);
  const double width = flat.x1 - flat.x0;
  texts_.push_back({{x - height / 2.0, y - width / 2.0, x + height / 2.0, y + width / 2.0}, sText});
  return texts_.back();
}

void PlotCanvas::Line(double x0, double y0, double x1, double y1, Rgb colour, double width,
                      bool bDashed) const {
  cairo_save(cr_);
  SetColour(cr_, colour);
  cairo_set_line_width(cr_, width);
  if (bDashed) {
    const double dashes[] = {5.0, 3.5};
    cairo_set_dash(cr_, dashes, 2, 0.0);
  }
  cairo_move_to(cr_, x0, y0);
  cairo_line_to(cr_, x1, y1);
  cairo_stroke(cr_);
  cairo_restore(cr_);
}

void PlotCanvas::FillRect(const Box& box, Rgb colour, double dAlpha) const {
  cairo_save(cr_);
  SetColour(cr_, colour, dAlpha);
  cairo_rectangle(cr_, box.x0, box.y0, box.x1 - box.x0, box.y1 - box.y0);
  cairo_fill(cr_);
  cairo_restore(cr_);
}

void PlotCanvas::StrokeRect(const Box& box, Rgb colour, double width) const {
  cairo_save(cr_);
  SetColour(cr_, colour);
  cairo_set_line_width(cr_, width);
  cairo_rectangle(cr_, box.x0, box.y0, box.x1 - box.x0, box.y1 - box.y0);
  cairo_stroke(cr_);
  cairo_restore(cr_);
}

void PlotCanvas::Legend(double right, double y, const std::vector<LegendEntry>& entries) {
  constexpr double kSampleWidth = 18.0;
  constexpr double kSampleGap = 5.0;
  constexpr double kEntryGap = 16.0;
  const TextStyle style{.dSize = 11.0};
  double x = right;
  // From the last entry leftwards, so that the row ends exactly at `right`.
  for (std::size_t i = entries.size(); i-- > 0;) {
    const LegendEntry& entry = entries[i];
    const Box label = Measure(x, y, entry.sLabel, {.dSize = 11.0, .eAnchor = Anchor::kEnd});
    const double sample = label.x0 - kSampleGap - kSampleWidth;
    const double mid = y - 4.0;
    switch (entry.eSample) {
      case LegendEntry::Sample::kLine:
        Line(sample, mid, sample + kSampleWidth, mid, entry.colour, 2.0);
        break;
      case LegendEntry::Sample::kDashedLine:
        Line(sample, mid, sample + kSampleWidth, mid, entry.colour, 1.4, true);
        break;
      case LegendEntry::Sample::kArea:
        FillRect({sample, mid - 5.0, sample + kSampleWidth, mid + 5.0}, entry.colour, 0.35);
        Line(sample, mid - 5.0, sample + kSampleWidth, mid - 5.0, entry.colour, 1.2);
        break;
      case LegendEntry::Sample::kDot:
        Line(sample + kSampleWidth / 2.0, mid + 6.0, sample + kSampleWidth / 2.0, mid - 4.0,
             entry.colour, 2.0);
        cairo_save(cr_);
        SetColour(cr_, entry.colour);
        cairo_arc(cr_, sample + kSampleWidth / 2.0, mid - 4.0, 3.0, 0.0, 2.0 * std::numbers::pi);
        cairo_fill(cr_);
        cairo_restore(cr_);
        break;
    }
    Text(label.x0, y, entry.sLabel, style);
    x = sample - kEntryGap;
  }
}

}  // namespace zyra::tool
