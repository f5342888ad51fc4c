// What the plots show of a prepared and evaluated response: the reflectogram of one band and
// the decay curves.
#ifndef ZYRA_TOOLS_PLOT_DATA_H_
#define ZYRA_TOOLS_PLOT_DATA_H_

#include <string>

#include "tools/decay_plot.h"
#include "tools/etc_plot.h"
#include "zyra/facade/response.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// Every pulse that counts in the evaluation (interference off) at its arrival relative to tRef
// with its level in band iBand (direct sounds and reflections apart), the statistical tail as
// 1 ms steps from its start, the 1 ms bins where the band is an Alcons band, and the marks.
EtcPlotData BuildEtcPlotData(const CProbeRspClass& cFile, const Evaluation& evaluation,
                             int32_t iBand, const std::string& sSubtitle);

// The decay curves and T30 fits of every octave (iBand 0) or of third-octave band iBand
// (1 ... 21) alone, as CalculateFit left them in cDecays.
DecayPlotData BuildDecayPlotData(const CSchroederParameters& cDecays, int32_t iBand,
                                 const std::string& sSubtitle);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_PLOT_DATA_H_
