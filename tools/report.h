// The texts for people: the `info` summary, the `eval` table and the demo's report.
#ifndef ZYRA_TOOLS_REPORT_H_
#define ZYRA_TOOLS_REPORT_H_

#include <string>

#include "tools/file_walk.h"
#include "zyra/facade/response.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// Header, blocks with offsets and lengths, counts, probe label and, when evaluated, the times.
std::string InfoSummary(const std::string& sFile, const FileWalk& walk, const CProbeRspClass& cFile,
                        const ReadOutcome& read, const InitOutcome& init,
                        const Evaluation* evaluation);

// The per-band table (levels, C50, C80, D50), the times and Alcons over a few times.
std::string EvalTable(const Evaluation& evaluation);

// The demo's report: the hall, its loudspeakers, then the evaluation as EvalTable has it.
std::string DemoReport(const CProbeRspClass& cFile, const Evaluation& evaluation,
                       const std::string& sResponsePath, const std::string& sPlotPath);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_REPORT_H_
