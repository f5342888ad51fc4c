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

// A text from the file as UTF-8 with its control characters (NUL padding among them) as dots.
std::string Shown(std::string sText) {
  for (char& c : sText) {
    if (static_cast<unsigned char>(c) < 0x20) c = '.';
  }
  return Latin1ToUtf8(sText);
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

// A parameter value, or "-" where it does not exist.
std::string Value(double value, const char* format) {
  return std::isfinite(value) ? Format(format, value) : "-";
}

void OctaveTable(std::ostringstream& out, const CParameterSet& p) {
  // With the default fit range SchrRT is T30; it gets a column only when it differs.
  const CParameterOptions defaults;
  const bool bOwnRange =
      p.dSchroederT1 != defaults.dSchroederT1 || p.dSchroederT2 != defaults.dSchroederT2;
  out << "Per octave: EDT, T20, T30 in s, Curv = 100 (T30/T20 - 1) in % (large: no straight "
         "decay);\n";
  if (bOwnRange) {
    out << "  SchrRT in s, fitted over " << Format("%g", p.dSchroederT1) << " ... "
        << Format("%g", p.dSchroederT2) << " dB;\n";
  }
  out << "  C50, C80, G in dB; Ts in ms after tRef; D50, J_LF, speech MTI as fractions\n"
      << " octave Hz   EDT   T20   T30 Curv" << (bOwnRange ? " SchrRT" : "")
      << "   C50   C80  D50    Ts     G J_LF  MTI\n";
  for (std::size_t k = 0; k < kOctaveCount; ++k) {
    out << Cell(OctaveFrequency(static_cast<int32_t>(k) + 1), "%.0f", 10)
        << Cell(p.oEDT[k], "%.2f", 6) << Cell(p.oT20[k], "%.2f", 6) << Cell(p.oT30[k], "%.2f", 6)
        << Cell(p.oCurvature[k], "%.0f", 5);
    if (bOwnRange) out << Cell(p.oSchrRTime[k], "%.2f", 7);
    out << Cell(p.oC50[k], "%.1f", 6) << Cell(p.oC80[k], "%.1f", 6) << Cell(p.oD50[k], "%.2f", 5)
        << Cell(p.oTs[k], "%.0f", 6) << Cell(p.oG[k], "%.1f", 6) << Cell(p.oJLF[k], "%.2f", 5)
        << Cell(p.oMTI[k], "%.2f", 5) << "\n";
  }
  out << "Single numbers (mean of the 500 Hz and 1 kHz octaves; J_LF, J_LFC of 125 Hz ... 1 kHz):\n"
      << "  EDT " << Value(p.EDT_single, "%.2f s") << "   T20 " << Value(p.T20_single, "%.2f s")
      << "   T30 " << Value(p.T30_single, "%.2f s") << "   C50 " << Value(p.C50_single, "%.1f dB")
      << "   C80 " << Value(p.C80_single, "%.1f dB") << "   D50 " << Value(p.D50_single, "%.2f")
      << "\n  Ts " << Value(p.Ts_single, "%.0f ms") << "   G " << Value(p.G_single, "%.1f dB")
      << "   J_LF " << Value(p.JLF_single, "%.2f") << "   J_LFC " << Value(p.JLFC_single, "%.2f")
      << "\n";
  out << "Speech transmission (" << (p.bMasking ? "with" : "without") << " masking, "
      << (p.bWithNoise ? "with" : "without") << " noise): STI " << Value(p.STI, "%.2f")
      << ", rating " << (p.STI_rating.empty() ? "-" : p.STI_rating) << "; STIPA "
      << Value(p.STIPA, "%.2f") << ";\n  STI from the reverberation times alone "
      << Value(p.STI_statistic, "%.2f") << "; Alcons from STI " << Value(p.Alcons_STI, "%.1f %%")
      << "\n";
}

}  // namespace

std::string InfoFileSummary(const std::string& sFile, const BlockWalk& walk,
                            const BlockWalk::Listing& listing) {
  std::ostringstream out;
  out << "File: " << Latin1ToUtf8(sFile) << " (" << walk.FileSize() << " bytes)\n";
  if (walk.FileSize() >= CFileHeaderClass::kLength && walk.Verdict() != FileVerdict::kUnreadable) {
    const CFileHeaderClass& h = walk.FileHeader();
    out << "Header: " << (h.ZYRA() == ResponseFileMagic() ? "ZYRA" : "bad magic") << ", kind "
        << Shown(h.IDfx()) << ", version " << h.Vrsn() << ", " << h.nHdr()
        << " headers, pulse records " << h.nRcd() + 1 << " x " << h.lRcd() << " bytes from byte "
        << h.addr() << "\n";
  }
  if (walk.Verdict() != FileVerdict::kResponseFile) {
    out << "Not a usable response file: " << FileVerdictText(walk.Verdict()) << "\n";
    return out.str();
  }
  out << "Blocks:\n  offset    id    version  records  record length  body length\n";
  for (const WalkedBlock& block : listing.blocks) {
    const CRspBlockHeaderClass& h = block.header;
    char line[160];
    std::snprintf(
        line, sizeof line, "  %-9lld %-5s %7d %8d %14d %12s%s%s%s\n",
        static_cast<long long>(block.lOffset), ("\"" + Shown(h.IDfx()) + "\"").c_str(), h.Vrsn(),
        h.nInfo(), h.lInfo(), block.HasLength() ? std::to_string(block.lLength).c_str() : "-",
        (h.flags() & kBlockFlagLast) != 0 ? "  last" : "",
        block.IsKnown() ? "" : "  (unknown, skipped)", block.bTruncated ? "  (truncated)" : "");
    out << line;
  }
  if (listing.bCut) {
    out << "  ... more blocks behind byte " << walk.Block().lOffset << ", not listed\n";
    return out.str();
  }
  out << "  walk ended at: " << WalkEndText(walk.End());
  if (walk.TrailingBytes() > 0) out << ", " << walk.TrailingBytes() << " bytes behind it";
  out << "\n";
  return out.str();
}

std::string InfoReadSummary(const CProbeRspClass& cFile, const ReadOutcome& read,
                            const InitOutcome* init, const InfoTimes* times) {
  std::ostringstream out;
  out << "Read: result " << read.lResult;
  if (!read.sMessage.empty()) out << ", " << Latin1ToUtf8(Trimmed(read.sMessage)).substr(0, 100);
  out << "\n";
  if (init == nullptr) {
    out << "Preparation: not run\n";
  } else if (init->error) {
    out << "Preparation: error " << init->error->lNumber << ", " << init->error->sDescription
        << "\n";
  } else {
    out << "Preparation: result " << init->lResult;
    if (!init->sMessage.empty()) out << ", " << Latin1ToUtf8(init->sMessage);
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
  if (times != nullptr) {
    out << "Times (ms; tRef absolute, the others relative to it):\n"
        << "  tRef " << Cell(times->tRef, "%.2f", 0) << "   tFirst "
        << Cell(times->tFirst, "%.2f", 0) << "   tLast " << Cell(times->tLast, "%.2f", 0)
        << "   tGap " << Cell(times->tGap, "%.2f", 0) << "\n  tSplit "
        << Cell(times->tSplit, "%.2f", 0) << "   tDiff " << Cell(times->tDiff, "%.2f", 0) << "\n";
  }
  return out.str();
}

std::string EvalTable(const Evaluation& evaluation, const CParameterSet* parameters) {
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
  if (parameters != nullptr) OctaveTable(out, *parameters);
  if (evaluation.lCalcResult != 0 || (parameters != nullptr && parameters->bIsCancelled)) {
    out << "The evaluation was cancelled; the values are partial.\n";
  }
  return out.str();
}

std::string DemoReport(const CProbeRspClass& cFile, const Evaluation& evaluation,
                       const CParameterSet& parameters, const DemoFiles& files) {
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
  out << EvalTable(evaluation, &parameters);
  out << "\nAlcons at 1 kHz with the energy up to 35 ms as useful: "
      << Format("%.1f", evaluation.alconsValues[1][35]) << " %\n";
  const CParameterSet& p = parameters;
  out << "The hall at this seat: T30 " << Value(p.T30_single, "%.2f s") << ", EDT "
      << Value(p.EDT_single, "%.2f s") << ", C80 " << Value(p.C80_single, "%.1f dB") << ", STI "
      << Value(p.STI, "%.2f") << " (rating " << (p.STI_rating.empty() ? "-" : p.STI_rating)
      << ")\n";
  out << "\nResponse file: " << files.sResponse << "\nReflectogram:  " << files.sReflectogram
      << "\nDecay curves:  " << files.sDecay << "\n";
  return out.str();
}

}  // namespace zyra::tool
