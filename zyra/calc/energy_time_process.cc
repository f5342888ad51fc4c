#include "zyra/calc/energy_time_process.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "zyra/support/conversions.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"
#include "zyra/support/text_form.h"

namespace zyra {

namespace {

constexpr int32_t kBandCount1 = 21;  // third-octave bands 1..21
constexpr float kSplitMin = 7.0F;
constexpr float kSplitMax = 50.0F;
constexpr int32_t kAlconsTerz[] = {8, 11, 14};

// A pulse's energy by level, for every level a pulse can hold: exactly what GetEnergyForCalc
// gives for that level, fetched from it once, so that the per-pulse loop needs no power.
const std::vector<double>& EnergyByLevel() {
  static const std::vector<double> kTable = [] {
    std::vector<double> table(static_cast<size_t>(std::numeric_limits<int16_t>::max()) + 1, 0.0);
    CPulsClass probe;
    for (size_t level = 1; level < table.size(); ++level) {
      probe.SetSPL(1, static_cast<int16_t>(level));
      table[level] = probe.GetEnergyForCalc(1, false);
    }
    return table;
  }();
  return kTable;
}

// The band loop reports progress (and may be cancelled) once per this many pulses, and looks
// up the energies of this many pulses at a time.
constexpr int32_t kReportStep = 1 << 16;
constexpr size_t kEnergyPiece = 4096;

// The outcome of the evaluation: its result and whether no direct sound was found.
struct Evaluation {
  int32_t lResult = 0;
  bool bIsNoDirectSound = true;
};

Evaluation Evaluate(CProbeRspClass& cRspFile, std::shared_ptr<CCalcResults>& cCalcOutput,
                    bool bIsWithReflections, bool bIsShowBusy, BusyIndicator* cBusy) {
  constexpr bool bIsInterferenceOn = false;
  const CETCInfoClass& etc = *cRspFile.ETC();
  const CSystemResponse& rsp = *cRspFile.Rsp();
  Evaluation outcome;
  const bool bIsWithTail = etc.IsWithTail_b();

  cCalcOutput = std::make_shared<CCalcResults>();
  CCalcResults& r = *cCalcOutput;
  r.SettSplit(etc.tSplit());
  r.SettDiff(etc.tDiff());

  double tFirst = 0.0, tLast = 0.0, tOff = 0.0, tRef = 0.0, tGap = 0.0;
  rsp.CalculateTimes(bIsInterferenceOn, tFirst, tLast, tOff, tRef, tGap);
  r.SettFirst(tFirst);
  r.SettLast(tLast);
  r.SettOff(tOff);
  r.SettRef(tRef);
  r.SettGap(tGap);

  std::array<double, 22> daEDirect{};
  std::array<double, 22> daPressureMax{};
  double tMean = 0.0;
  if (rsp.CalculateDirectSound(r.tRef(), etc.tDiff(), r.tFirst(), bIsInterferenceOn, daEDirect,
                               daPressureMax, daEDirect[0], tMean)) {
    outcome.bIsNoDirectSound = false;
  }
  r.SettMean(tMean);
  for (int32_t iTerz1 = 1; iTerz1 <= kBandCount1; ++iTerz1) {
    r.SetEDirect(iTerz1, daEDirect[static_cast<size_t>(iTerz1)]);
    r.SetSPLMax(iTerz1, daPressureMax[static_cast<size_t>(iTerz1)]);
  }
  r.SetEDirect(0, daEDirect[0]);
  r.SettHall(HallStartTime(r.tOff(), r.tMean(), r.tRef(), etc.Volume()));

  // The pulses that take part, in pulse order, each with its arrival and kind: the same in
  // every band. Their levels band by band (0 for a pulse that does not count in the
  // calculation), each band a contiguous row of stride n, so that each band pass reads one row.
  // With progress, every pulse is reported, counted or not: laCountedIndex[c] is the pulse
  // number of counted pulse c.
  const CPulsBufferClass& buffer = *rsp.Pulses();
  const int32_t n = buffer.Count();
  const auto stride = static_cast<size_t>(n);
  std::vector<double> daArrival;
  std::vector<uint8_t> isDirect;
  std::vector<int32_t> laCountedIndex;
  std::vector<int16_t> levels(stride * kBandCount1);
  daArrival.reserve(stride);
  isDirect.reserve(stride);
  laCountedIndex.reserve(stride);
  for (int32_t i = 1; i <= n; ++i) {
    const CPulsClass& cPuls = buffer.PulsRecord(i);
    if (!(cPuls.IsDirectSound() || bIsWithTail || bIsWithReflections)) continue;
    const size_t c = daArrival.size();
    daArrival.push_back(rsp.GetPulsArrival(i));
    isDirect.push_back(cPuls.IsDirectSound() ? 1 : 0);
    laCountedIndex.push_back(i);
    if (!cPuls.IsActiveForCalc(bIsInterferenceOn)) continue;
    const std::array<int16_t, 22>& spl = cPuls.SPLs();
    for (size_t b = 1; b <= static_cast<size_t>(kBandCount1); ++b) {
      levels[(b - 1) * stride + c] = spl[b];
    }
  }
  const size_t nCounted = daArrival.size();
  const bool bReport = bIsShowBusy && cBusy != nullptr;

  const std::vector<double>& energyByLevel = EnergyByLevel();
  const std::string sWarning = "Abort Will Discard Response Data!";
  // Energies are looked up a piece at a time into a small buffer that stays in the cache.
  std::vector<double> daEnergy(std::min<size_t>(nCounted, kEnergyPiece));
  for (int32_t iTerz1 = 1; iTerz1 <= kBandCount1; ++iTerz1) {
    if (!bIsWithTail) {
      const double dEHall =
          HallEnergy(etc.Absorp(iTerz1), etc.Power(iTerz1), etc.RTime(iTerz1), etc.Volume());
      if (dEHall > 0.0) r.AddHallEnergy(iTerz1, dEHall, etc.RTime(iTerz1), bIsWithReflections);
    }
    const int16_t* bandLevels = levels.data() + static_cast<size_t>(iTerz1 - 1) * stride;
    // The pulses c0..c1-1 in one go per piece: the sums stay in registers.
    const auto addPulses = [&](size_t c0, size_t c1) {
      for (size_t start = c0; start < c1; start += kEnergyPiece) {
        const size_t count = std::min(kEnergyPiece, c1 - start);
        for (size_t k = 0; k < count; ++k) {
          const int16_t level = bandLevels[start + k];
          daEnergy[k] = level > 0 ? energyByLevel[static_cast<size_t>(level)] : 0.0;
        }
        r.AddPulsEnergies(iTerz1, std::span(daArrival).subspan(start, count),
                          std::span(daEnergy).first(count),
                          std::span(isDirect).subspan(start, count));
      }
    };
    if (!bReport) {
      addPulses(0, nCounted);
      continue;
    }
    // Progress once per step of pulses, counted or not, and a chance to cancel there.
    const std::string sCaption = "Band" + ToStrText(GetTerzFrequency(iTerz1 - 1)) + " Hz";
    size_t c = 0;
    for (int32_t i = 1; i <= n; i += kReportStep) {
      const double dFraction = (static_cast<double>(iTerz1 - 1) * n + (i - 1)) / (21.0 * n);
      if (!cBusy->ReportProgress(sCaption, dFraction, sWarning, kBusyInterval)) {
        outcome.lResult = -1;
        return outcome;
      }
      const size_t cStart = c;
      while (c < nCounted && laCountedIndex[c] < i + kReportStep) ++c;
      addPulses(cStart, c);
    }
  }
  return outcome;
}

}  // namespace

int32_t CEnergyTimeProcessClass::Calculate(CProbeRspClass& cRspFile,
                                           std::shared_ptr<CCalcResults>& cCalcOutput,
                                           bool bIsWithReflections, bool bIsShowBusy,
                                           BusyIndicator* cBusy) const {
  if (cCalcOutput) cCalcOutput->SetIsNoDirectSound(true);
  if (cRspFile.Rsp()->Pulses()->Count() == 0) return 0;

  // The split time is kept within 7..50 ms in the tail info block itself.
  CETCInfoClass& etc = *cRspFile.ETC();
  if (etc.tSplit() < kSplitMin) etc.SettSplit(kSplitMin);
  if (etc.tSplit() > kSplitMax) etc.SettSplit(kSplitMax);

  const Evaluation outcome =
      Evaluate(cRspFile, cCalcOutput, bIsWithReflections, bIsShowBusy, cBusy);
  if (bIsShowBusy && cBusy != nullptr) cBusy->ShowProgress("", 1.0, kBusyInterval);
  cCalcOutput->SetIsNoDirectSound(outcome.bIsNoDirectSound);
  return outcome.lResult;
}

namespace {

// What CalculateAlconsOfT passes on besides the two energies.
struct AlconsInputs {
  int32_t iTerz1;
  double dNoise;
  double dRT;
};

AlconsInputs GetAlconsInputs(const CETCInfoClass& etc, int32_t iAlconsBand0, bool bWithNoise) {
  AlconsInputs in{0, 0.0, 0.0};
  if (iAlconsBand0 >= 0 && iAlconsBand0 <= 2) in.iTerz1 = kAlconsTerz[iAlconsBand0];
  if (bWithNoise) in.dNoise = std::pow(10.0, 0.1 * etc.Noise(in.iTerz1));
  if (etc.RTType() != 0) in.dRT = etc.RTime(in.iTerz1);
  return in;
}

// Alcons from the energies up to bin k; dInterference is the coherent sum of the pulses up to
// the same limit when the interference evaluation is chosen.
double AlconsAtBin(const CCalcResults& cCalc, const AlconsInputs& in, int32_t iAlconsBand0,
                   SL_EAlconsForm eAlconsForm, int32_t k, bool bInterference, float fInterference) {
  const double dUseful = bInterference
                             ? static_cast<double>(fInterference) + cCalc.ExxHallSum(k, in.iTerz1)
                             : cCalc.ExxSum(k, iAlconsBand0);
  // The harmful part always comes from the energetic bins.
  const double dHarmful = cCalc.Etotal(in.iTerz1) - cCalc.ExxSum(k, iAlconsBand0);
  return Alcons(static_cast<float>(dUseful), static_cast<float>(dHarmful),
                static_cast<float>(in.dNoise), static_cast<float>(in.dRT), eAlconsForm);
}

}  // namespace

double CEnergyTimeProcessClass::CalculateAlconsOfT(CProbeRspClass& cRspFile, CCalcResults& cCalc,
                                                   int32_t iAlconsBand0, SL_EAlconsForm eAlconsForm,
                                                   double t, bool bWithNoise,
                                                   int32_t lInterfFlags) const {
  const AlconsInputs in = GetAlconsInputs(*cRspFile.ETC(), iAlconsBand0, bWithNoise);
  const auto k = RoundToInt<int32_t>(t);
  const bool bInterference = lInterfFlags != 0;
  float fInterference = 0.0F;
  if (bInterference) {
    fInterference = cRspFile.Rsp()->CalcInterferenceEnergy(
        in.iTerz1, static_cast<double>(cRspFile.ProbeInfo()->PrBandWidth()),
        IsFlagSet(lInterfFlags, kInterfPotential), IsFlagSet(lInterfFlags, kInterfKinetic), true,
        cCalc.tRef(), t);
  }
  return AlconsAtBin(cCalc, in, iAlconsBand0, eAlconsForm, k, bInterference, fInterference);
}

void CEnergyTimeProcessClass::CalculateAlconsCurve(
    CProbeRspClass& cRspFile, CCalcResults& cCalc, int32_t iAlconsBand0, SL_EAlconsForm eAlconsForm,
    bool bWithNoise, int32_t lInterfFlags,
    std::array<double, CCalcResults::kTimeBinCount>& daAlcons) const {
  const AlconsInputs in = GetAlconsInputs(*cRspFile.ETC(), iAlconsBand0, bWithNoise);
  const bool bInterference = lInterfFlags != 0;
  std::array<float, CSystemResponse::kCurveLimitCount> faInterference{};
  if (bInterference) {
    faInterference = cRspFile.Rsp()->CalcInterferenceEnergyCurve(
        in.iTerz1, static_cast<double>(cRspFile.ProbeInfo()->PrBandWidth()),
        IsFlagSet(lInterfFlags, kInterfPotential), IsFlagSet(lInterfFlags, kInterfKinetic), true,
        cCalc.tRef());
  }
  static_assert(CSystemResponse::kCurveLimitCount == CCalcResults::kTimeBinCount);
  for (int32_t k = 0; k < CCalcResults::kTimeBinCount; ++k) {
    daAlcons[static_cast<size_t>(k)] =
        AlconsAtBin(cCalc, in, iAlconsBand0, eAlconsForm, k, bInterference,
                    faInterference[static_cast<size_t>(k)]);
  }
}

}  // namespace zyra
