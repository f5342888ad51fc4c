// The texts for people: the `info` summary, the `eval` table and the demo's report.
#ifndef ZYRA_TOOLS_REPORT_H_
#define ZYRA_TOOLS_REPORT_H_

#include <string>

#include "zyra/calc/room_parameters.h"
#include "zyra/facade/response.h"
#include "zyra/format/block_walk.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// The times `info` shows, in ms: those of the direct sounds (CalculateTimes; tRef absolute, the
// others relative to it) and the tail info's split and diffuse times. NaN where there are none.
struct InfoTimes {
  double tRef, tFirst, tLast, tGap, tSplit, tDiff;
};

// The first part of `info`, from the walk alone: the file, its header and how it was judged,
// the blocks with offsets and lengths, and why the walk ended.
std::string InfoFileSummary(const std::string& sFile, const BlockWalk& walk,
                            const BlockWalk::Listing& listing);

// The second part, after reading: the read and preparation outcomes (init null: not run),
// counts, probe label and, when known, the times.
std::string InfoReadSummary(const CProbeRspClass& cFile, const ReadOutcome& read,
                            const InitOutcome* init, const InfoTimes* times);

// The per-band table (levels, C50, C80, D50), the times and Alcons over a few times; with
// parameters, the octave table (decay times, clarity, definition, centre time, strength,
// lateral fraction, MTI), the single numbers and speech transmission.
std::string EvalTable(const Evaluation& evaluation, const CParameterSet* parameters = nullptr);

// The paths the demo wrote.
struct DemoFiles {
  std::string sResponse;
  std::string sReflectogram;
  std::string sDecay;
};

// The demo's report: the hall, its loudspeakers, the evaluation as EvalTable has it, and the
// hall's key figures (T30, EDT, C80, STI and its rating).
std::string DemoReport(const CProbeRspClass& cFile, const Evaluation& evaluation,
                       const CParameterSet& parameters, const DemoFiles& files);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_REPORT_H_
