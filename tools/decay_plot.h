// The Schroeder decay curves of a response with their T30 fit lines, drawn through Cairo.
#ifndef ZYRA_TOOLS_DECAY_PLOT_H_
#define ZYRA_TOOLS_DECAY_PLOT_H_

#include <string>
#include <vector>

#include <cairo.h>

#include "tools/picture.h"
#include "tools/plot_axes.h"
#include "zyra/calc/schroeder_parameters.h"

namespace zyra::tool {

// One decay: a band's or an octave's curve and its T30 fit.
struct DecaySeries {
  std::string sLabel;  // "1000 Hz"
  CDecayCurve curve;   // ms after tRef, dB
  CDecayFit fit;       // the T30 fit; its slope NaN where it does not exist
};

struct DecayPlotData {
  std::string sTitle;     // UTF-8
  std::string sSubtitle;  // a second title line (file, probe); empty for none
  std::vector<DecaySeries> series;
  double dFitUpper = -5.0;  // dB, the range of T30, shaded
  double dFitLower = -35.0;
};

inline constexpr PictureSize kDecayPictureSize{960.0, 600.0};

// The picture on a page of kDecayPictureSize: time after tRef across (s), level up (dB, 0 at
// the start of each decay), each curve solid in its own colour with its fit line dashed until
// it is 60 dB down and the ends of the fitted part marked, the fit range shaded, and a legend
// beside the plot with each series' T30. Answers the axes and texts it placed.
PlotLayout DrawDecay(cairo_t* cr, const DecayPlotData& plot);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_DECAY_PLOT_H_
