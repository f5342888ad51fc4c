// The texts for people: the `info` summary, the `eval` table and the demo's report.
#ifndef ZYRA_TOOLS_REPORT_H_
#define ZYRA_TOOLS_REPORT_H_

#include <string>

#include "tools/file_walk.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/facade/response.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// Header, blocks with offsets and lengths, counts, probe label and, when evaluated, the times.
std::string InfoSummary(const std::string& sFile, const FileWalk& walk, const CProbeRspClass& cFile,
                        const ReadOutcome& read, const InitOutcome& init,
                        const Evaluation* evaluation);

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
