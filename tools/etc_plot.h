// The energy-time curve (reflectogram) of one band as a standalone SVG picture.
#ifndef ZYRA_TOOLS_ETC_PLOT_H_
#define ZYRA_TOOLS_ETC_PLOT_H_

#include <optional>
#include <string>
#include <vector>

namespace zyra::tool {

enum class ArrivalKind { kDirect, kReflection, kTail };

// One arrival: its time in ms relative to tRef and its level in dB.
struct EtcArrival {
  double tMs = 0.0;
  double dLevel = 0.0;
  ArrivalKind eKind = ArrivalKind::kReflection;
};

// A dashed vertical line across the plot, labelled at its top.
struct EtcMark {
  double tMs = 0.0;
  std::string sLabel;
  std::string sColour;  // any SVG colour
};

struct EtcPlotData {
  std::string sBandLabel;  // "1000 Hz"; texts here are UTF-8
  std::string sSubtitle;   // a second title line (file, probe); empty for none
  std::vector<EtcArrival> arrivals;
  std::vector<EtcMark> marks;
  // Levels in dB of the 1 ms bins: bin k covers k − 1 ... k ms (bin 0 the direct sound);
  // empty for none, a non-finite level for an empty bin.
  std::vector<double> binLevels;
};

// The marks every reflectogram shows: tRef (0 ms, the direct sound), 7, 50 and 80 ms, and the
// split time when there is one.
std::vector<EtcMark> StandardEtcMarks(std::optional<double> tSplit);

// The picture: title and legend above, time across (ms), level up (dB, 60 dB below the
// loudest arrival rounded up to 10 dB), one vertical line per arrival coloured by its kind.
std::string EtcSvg(const EtcPlotData& plot);

// A text with &, <, >, " and ' escaped for XML.
std::string XmlEscape(const std::string& sText);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_ETC_PLOT_H_
