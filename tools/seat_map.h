// The map of a seating area: receivers at their positions in plan view, coloured by one value,
// with a colour bar and each receiver's value written beside it.
#ifndef ZYRA_TOOLS_SEAT_MAP_H_
#define ZYRA_TOOLS_SEAT_MAP_H_

#include <cstdint>
#include <string>
#include <vector>

#include <cairo.h>

#include "tools/picture.h"
#include "tools/plot_axes.h"

namespace zyra::tool {

struct SeatMapPoint {
  double x = 0.0;      // m
  double y = 0.0;      // m
  double value = 0.0;  // finite
};

// A loudspeaker, drawn as a grey triangle so that the stage shows.
struct SeatMapSpeaker {
  double x = 0.0;
  double y = 0.0;
  std::string sLabel;  // UTF-8, short
};

struct SeatMapData {
  std::string sTitle;       // UTF-8: what is shown ("C80, octave 1000 Hz")
  std::string sSubtitle;    // UTF-8: where from; empty for none
  std::string sValueTitle;  // the colour bar's title with the unit ("C80 [dB]")
  int32_t iDecimals = 1;    // of the values written beside the receivers
  std::vector<SeatMapPoint> points;
  std::vector<SeatMapSpeaker> speakers;
};

// The page: large enough that receivers a typical distance apart have room for their values,
// within a limit (beyond it, values that find no free place are left unwritten and counted).
PictureSize SeatMapSize(const SeatMapData& map);

struct SeatMapLayout {
  PlotLayout plot;                 // the axes' ranges (m) and every text
  Box area;                        // the plan on the page
  double dPointsPerMetre = 0.0;    // the same across and upwards
  int32_t nUnlabelled = 0;         // receivers whose value found no free place
  double dLow = 0.0, dHigh = 0.0;  // the colour bar's range
};

// Draws the map on a page of `size`: title and subtitle above, the plan with x across and y
// upwards at one scale, the receivers as dots in the colour of their value with the value
// beside (right, left, above or below, wherever it overlaps no other dot or text), the
// loudspeakers, and the colour bar with ticks on the right. No points is error 5.
SeatMapLayout DrawSeatMap(cairo_t* cr, const SeatMapData& map, PictureSize size);

// The colour of a value at `fraction` (0 ... 1, clipped) of the colour bar: a perceptually even
// scale from dark violet to yellow that reads in grey too.
Rgb ScaleColour(double fraction);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_SEAT_MAP_H_
