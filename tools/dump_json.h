// The JSON of `zyra-rsp dump`: the whole model of a response file, every property under its
// own name.
#ifndef ZYRA_TOOLS_DUMP_JSON_H_
#define ZYRA_TOOLS_DUMP_JSON_H_

#include <ostream>

#include "tools/json_forms.h"
#include "zyra/facade/response.h"
#include "zyra/format/file_header.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

Json ReadJson(const ReadOutcome& read);
// {"result", "message"}, or {"error": {"number", "description"}}.
Json InitJson(const InitOutcome& init);
Json ErrorJson(const ErrorInfo& error);

Json FileHeaderJson(const CFileHeaderClass& header);
Json ProbeInfoJson(const CProbeInfoClass& p);
Json EtcJson(const CETCInfoClass& etc);
Json PredJson(const CPredictionInfoClass& pred);
Json LocalRTJson(const CLocalRTInfoClass& localRT);
Json ObstaclesJson(const CObstInfoBufferClass& obstacles);
Json LoudspeakerJson(const CLspInfoClass& lsp);
Json PulsJson(const CPulsClass& puls);
Json PulseBufferJson(const CPulsBufferClass& buffer);

// The whole document; `init` null gives "init": null (no preparation, --raw). Without
// bWithPulses the "pulses" array is left empty.
Json DumpJson(const CProbeRspClass& cFile, const CFileHeaderClass& header, const ReadOutcome& read,
              const InitOutcome* init, bool bWithPulses = true);

// The same document written piece by piece, byte for byte the text JsonText(DumpJson(...))
// gives, without holding the pulses' JSON all at once (a response may have millions).
void WriteDumpJson(std::ostream& out, const CProbeRspClass& cFile, const CFileHeaderClass& header,
                   const ReadOutcome& read, const InitOutcome* init);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_DUMP_JSON_H_
