#include "tools/report.h"

#include <cmath>
#include <cstdio>
#include <sstream>

#include "tools/eval_json.h"
#include "tools/json_forms.h"
#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

// A value in a column of `width`, or "-" where it does not exist.
std::string Cell(std::optional<double> value, const char* format, int width) {
  std::string text = value && std::isfinite(*value) ? Format(format, *value) : "-";
  if (static_cast<int>(text.size()) < width) text.insert(0, width - text.size(), ' ');
  return text;
}

std::string Trimmed(std::string sText) {
  while (!sText.empty() && (sText.back() == ' ' || sText.back() == '\0')) sText.pop_back();
  return sText;
}

std::string Level(double dEnergy) {
  return Cell(TotalLevel(dEnergy), "%.1f", 7);
}

void Times(std::ostringstream& out, const CCalcResults& r) {
  out << "Times (ms; tRef absolute, the others relative to it):\n"
      << "  tRef " << Format("%.2f", r.tRef()) << "   tFirst " << Format("%.2f", r.tFirst())
      << "   tLast " << Format("%.2f", r.tLast()) << "   tMean " << Format("%.2f", r.tMean())
      << "\n  tHall " << Format("%.2f", r.tHall()) << "   tSplit " << Format("%.2f", r.tSplit())
      << "   tDiff " << Format("%.2f", r.tDiff()) << "   tGap " << Format("%.2f", r.tGap()) << "\n";
}

}  // namespace

std::string InfoSummary(const std::string& sFile, const FileWalk& walk, const CProbeRspClass& cFile,
                        const ReadOutcome& read, const InitOutcome& init,
                        const Evaluation* evaluation) {
  std::ostringstream out;
  out << "File: " << Latin1ToUtf8(sFile) << " (" << walk.lFileSize << " bytes)\n";
  if (walk.bHasHeader) {
    const CFileHeaderClass& h = walk.header;
    out << "Header: " << (walk.bMagicOk ? "ZYRA" : "bad magic") << ", kind "
        << Latin1ToUtf8(h.IDfx()) << ", version " << h.Vrsn() << ", " << h.nHdr()
        << " headers, pulse records " << h.nRcd() + 1 << " x " << h.lRcd() << " bytes from byte "
        << h.addr() << "\n";
  }
  out << "Blocks:\n  offset    id    version  records  record length  body length\n";
  for (const WalkedBlock& block : walk.blocks) {
    const CRspBlockHeaderClass& h = block.header;
    char line[160];
    std::snprintf(
        line, sizeof line, "  %-9d %-5s %7d %8d %14d %12s%s%s%s\n", block.lOffset,
        ("\"" + Latin1ToUtf8(h.IDfx()) + "\"").c_str(), h.Vrsn(), h.nInfo(), h.lInfo(),
        block.lLength == CRspBlockHeaderClass::kBadLength ? "-"
                                                          : std::to_string(block.lLength).c_str(),
        (h.flags() & kBlockFlagLast) != 0 ? "  last" : "",
        block.bKnown ? "" : "  (unknown, skipped)", block.bTruncated ? "  (truncated)" : "");
    out << line;
  }
  out << "  walk ended at: " << WalkEndText(walk.eEnd);
  if (walk.lTrailingBytes > 0) out << ", " << walk.lTrailingBytes << " bytes behind it";
  out << "\n";
  out << "Read: result " << read.lResult;
  if (!read.sMessage.empty()) out << ", " << Latin1ToUtf8(Trimmed(read.sMessage)).substr(0, 100);
  out << "\n";
  if (init.error) {
    out << "Preparation: error " << init.error->lNumber << ", " << init.error->sDescription << "\n";
  } else {
    out << "Preparation: result " << init.lResult;
    if (!init.sMessage.empty()) out << ", " << Latin1ToUtf8(init.sMessage);
    out << "\n";
  }
  const CSystemResponse& rsp = *cFile.Rsp();
  int32_t nDirect = 0;
  int32_t nPseudo = 0;
  for (int32_t i = 1; i <= rsp.Pulses()->Count(); ++i) {
    const CPulsClass& puls = rsp.Pulses()->PulsRecord(i);
    if (puls.IsDirectSound()) ++nDirect;
    if (puls.IsPseudo()) ++nPseudo;
  }
  out << "Counts: " << rsp.Pulses()->Count() << " pulses (" << nDirect << " direct, " << nPseudo
      << " pseudo, reflections up to order " << rsp.Pulses()->MaxOrder() << "), "
      << rsp.LspInfos()->Count() << " loudspeakers, " << cFile.ObstInfo()->Count()
      << " obstacles\n";
  const CProbeInfoClass& probe = *cFile.ProbeInfo();
  out << "Probe: \"" << Latin1ToUtf8(Trimmed(probe.PrLabel())) << "\" in \""
      << Latin1ToUtf8(Trimmed(probe.PrRoom())) << "\" at (" << probe.PrSite(1) << ", "
      << probe.PrSite(2) << ", " << probe.PrSite(3) << ")\n";
  if (evaluation != nullptr) Times(out, *evaluation->results);
  return out.str();
}

std::string EvalTable(const Evaluation& evaluation) {
  const CCalcResults& r = *evaluation.results;
  std::ostringstream out;
  out << "Per band (levels in dB on the file's scale, C50 and C80 in dB, D50 as a fraction):\n"
      << "   band Hz   total  direct    early80    C50    C80    D50\n";
  for (int32_t b = 1; b <= 21; ++b) {
    out << Cell(GetTerzFrequency(b - 1), "%.0f", 9) << " " << Level(r.Etotal(b)) << " "
        << Level(r.EDirect(b)) << "    " << Level(r.E80(b)) << " "
        << Cell(Clarity(r.E50(b), r.Etotal(b)), "%.1f", 6) << " "
        << Cell(Clarity(r.E80(b), r.Etotal(b)), "%.1f", 6) << " "
        << Cell(Definition(r.E50(b), r.Etotal(b)), "%.2f", 6) << "\n";
  }
  Times(out, r);
  if (r.IsNoDirectSound()) out << "No direct sound above 0 dB.\n";
  out << "Alcons (%, " << (evaluation.alcons.bSti ? "STI" : "Peutz") << " form"
      << (evaluation.alcons.bNoise ? ", with noise" : "")
      << (evaluation.alcons.lInterfFlags != 0 ? ", interference" : "")
      << "), useful energy up to t:\n"
      << "   t ms     500 Hz   1000 Hz   2000 Hz\n";
  for (const int t : {10, 20, 35, 50}) {
    out << Cell(t, "%.0f", 6);
    for (std::size_t a = 0; a < 3; ++a) {
      out << "  " << Cell(evaluation.alconsValues[a][static_cast<std::size_t>(t)], "%.1f", 8);
    }
    out << "\n";
  }
  if (evaluation.lCalcResult != 0) out << "The evaluation was cancelled; the values are partial.\n";
  return out.str();
}

std::string DemoReport(const CProbeRspClass& cFile, const Evaluation& evaluation,
                       const std::string& sResponsePath, const std::string& sPlotPath) {
  std::ostringstream out;
  const CProbeInfoClass& probe = *cFile.ProbeInfo();
  const CETCInfoClass& etc = *cFile.ETC();
  out << "Demo hall: " << Latin1ToUtf8(Trimmed(probe.PrRoom()))
      << ", V = " << Format("%.0f", etc.Volume()) << " m3, S = " << Format("%.0f", etc.Surface())
      << " m2, RT(1 kHz) = " << Format("%.2f", etc.RTime(11)) << " s\n";
  out << "Receiver \"" << Latin1ToUtf8(Trimmed(probe.PrLabel())) << "\" at ("
      << Format("%.1f", probe.PrSite(1)) << ", " << Format("%.1f", probe.PrSite(2)) << ", "
      << Format("%.1f", probe.PrSite(3)) << ") m\n";
  const CSystemResponse& rsp = *cFile.Rsp();
  out << "Loudspeakers:\n";
  for (int32_t i = 1; i <= rsp.LspInfos()->Count(); ++i) {
    const CLspInfoClass& lsp = rsp.LspInfos()->LspInfoRecord(i);
    const char* role = lsp.IsPseudo() ? "  (coherent group)" : (lsp.IsMember() ? "  (member)" : "");
    out << "  " << i << "  " << Latin1ToUtf8(lsp.Label()) << role
        << (lsp.Delay() != 0.0f ? "  delay " + Format("%.1f", lsp.Delay()) + " ms" : "")
        << "  direct sound "
        << Format("%.1f", rsp.Pulses()->PulsRecord(lsp.PulsNr()).SPL(11) / 100.0)
        << " dB at 1 kHz\n";
  }
  out << "Pulses: " << rsp.Pulses()->Count() << ", reflections up to order "
      << rsp.Pulses()->MaxOrder() << "\n\n";
  out << EvalTable(evaluation);
  out << "\nAlcons at 1 kHz with the energy up to 35 ms as useful: "
      << Format("%.1f", evaluation.alconsValues[1][35]) << " %\n";
  out << "\nResponse file: " << sResponsePath << "\nReflectogram:  " << sPlotPath << "\n";
  return out.str();
}

}  // namespace zyra::tool
