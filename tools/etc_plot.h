// The energy-time curve (reflectogram) of one band, drawn through Cairo.
#ifndef ZYRA_TOOLS_ETC_PLOT_H_
#define ZYRA_TOOLS_ETC_PLOT_H_

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <cairo.h>

#include "tools/picture.h"
#include "tools/plot_axes.h"

namespace zyra::tool {

enum class ArrivalKind { kDirect, kReflection };

// One arrival: its time in ms relative to tRef and its level in dB.
struct EtcArrival {
  double tMs = 0.0;
  double dLevel = 0.0;
  ArrivalKind eKind = ArrivalKind::kReflection;
};

// A point of a curve: time in ms relative to tRef, level in dB.
struct EtcPoint {
  double tMs = 0.0;
  double dLevel = 0.0;
};

// A dashed vertical line across the plot, labelled near its top.
struct EtcMark {
  double tMs = 0.0;
  std::string sLabel;
};

struct EtcPlotData {
  std::string sBandLabel;  // "1000 Hz"; texts here are UTF-8
  std::string sSubtitle;   // a second title line (file, probe); empty for none
  double tRef = std::numeric_limits<double>::quiet_NaN();  // ms; NaN: not shown
  std::vector<EtcArrival> arrivals;
  // The statistical tail as the level of its energy per 1 ms, from its start until it is
  // 60 dB down, in time order; empty for none.
  std::vector<EtcPoint> tail;
  std::vector<EtcMark> marks;
};

// The marks every reflectogram shows: tRef (0 ms, the direct sound), 7, 50 and 80 ms, and the
// split time when there is one.
std::vector<EtcMark> StandardEtcMarks(std::optional<double> tSplit);

inline constexpr PictureSize kEtcPictureSize{960.0, 700.0};

// The picture on a page of kEtcPictureSize: title and legend above, then two panels, the whole
// response and its early part in detail with the marks, their labels kept clear of each other.
// Time relative to tRef across (ms), level up (dB, 60 dB below the loudest level rounded up to
// 10 dB), one line per arrival coloured by its kind, the tail as an area until it leaves the
// level axis. Answers the texts it placed and the axes of the whole response.
PlotLayout DrawEtc(cairo_t* cr, const EtcPlotData& plot);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_ETC_PLOT_H_
