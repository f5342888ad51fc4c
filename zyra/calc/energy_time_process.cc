#include "zyra/calc/energy_time_process.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "zyra/calc/counted_pulses.h"
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
// Without progress, the energies of this many pulses are looked up at a time.
constexpr size_t kEnergyPiece = 4096;

// The outcome of the evaluation: its result and whether no direct sound was found.
struct Evaluation {
  int32_t lResult = 0;
  bool bIsNoDirectSound = true;
};

Evaluation Evaluate(CProbeRspClass& cRspFile, std::shared_ptr<CCalcResults>& cCalcOutput,
                    bool bIsWithReflections, bool bIsShowBusy, BusyIndicator* cBusy,
                    const CCountedPulses& counted) {
  constexpr bool bIsInterferenceOn = false;
  const CETCInfoClass& etc = *cRspFile.ETC();
  const CSystemResponse& rsp = *cRspFile.Rsp();
  Evaluation outcome;

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

  // The pulses that take part, in pulse order, each with its arrival: the same in every band,
  // and their levels band by band, so that each band pass reads one contiguous row. With
  // progress, every pulse is reported, counted or not: laPulsNr[c] is the pulse number of the
  // counted pulse c.
  const bool bReport = bIsShowBusy && cBusy != nullptr;
  const size_t nCounted = counted.Count();
  const int32_t n = rsp.Pulses()->Count();

  const std::vector<double>& energyByLevel = EnergyByLevel();
  std::array<double, kEnergyPiece> daEnergy{};
  const std::string sWarning = "Abort Will Discard Response Data!";
  for (int32_t iTerz1 = 1; iTerz1 <= kBandCount1; ++iTerz1) {
    const double dEHall = CountedHallEnergy(etc, iTerz1);
    if (dEHall > 0.0) r.AddHallEnergy(iTerz1, dEHall, etc.RTime(iTerz1), bIsWithReflections);
    const int16_t* bandLevels = counted.BandLevels(iTerz1);
    const auto AddPuls = [&](size_t c) {
      r.AddPulsEnergy(iTerz1, counted.daArrival[c], CountedEnergy(energyByLevel, bandLevels[c]),
                      counted.baIsDirectSound[c] != 0);
    };
    if (!bReport) {
      // Without progress the band's pulses go in pieces whose sums stay in registers.
      for (size_t start = 0; start < nCounted; start += kEnergyPiece) {
        const size_t count = std::min(kEnergyPiece, nCounted - start);
        for (size_t k = 0; k < count; ++k) {
          daEnergy[k] = CountedEnergy(energyByLevel, bandLevels[start + k]);
        }
        r.AddPulsEnergies(iTerz1, std::span(counted.daArrival).subspan(start, count),
                          std::span(daEnergy).first(count),
                          std::span(counted.baIsDirectSound).subspan(start, count));
      }
      continue;
    }
    const std::string sCaption = "Band" + ToStrText(GetTerzFrequency(iTerz1 - 1)) + " Hz";
    size_t c = 0;
    for (int32_t i = 1; i <= n; ++i) {
      const double dFraction = (static_cast<double>(iTerz1 - 1) * n + (i - 1)) / (21.0 * n);
      if (!cBusy->ReportProgress(sCaption, dFraction, sWarning, kBusyInterval)) {
        outcome.lResult = -1;
        return outcome;
      }
      if (c < nCounted && counted.laPulsNr[c] == i) AddPuls(c++);
    }
  }
  return outcome;
}

}  // namespace

int32_t CEnergyTimeProcessClass::Calculate(CProbeRspClass& cRspFile,
                                           std::shared_ptr<CCalcResults>& cCalcOutput,
                                           bool bIsWithReflections, bool bIsShowBusy,
                                           BusyIndicator* cBusy) const {
  CCountedPulses::Options gather;
  gather.bIsWithReflections = bIsWithReflections;
  gather.bWithPulsNumbers = bIsShowBusy && cBusy != nullptr;
  const CCountedPulses counted = cRspFile.Rsp()->Pulses()->Count() == 0
                                     ? CCountedPulses()
                                     : CCountedPulses::Gather(cRspFile, gather);
  return Calculate(cRspFile, cCalcOutput, bIsWithReflections, bIsShowBusy, cBusy, counted);
}

int32_t CEnergyTimeProcessClass::Calculate(CProbeRspClass& cRspFile,
                                           std::shared_ptr<CCalcResults>& cCalcOutput,
                                           bool bIsWithReflections, bool bIsShowBusy,
                                           BusyIndicator* cBusy,
                                           const CCountedPulses& counted) const {
  if (cCalcOutput) cCalcOutput->SetIsNoDirectSound(true);
  if (cRspFile.Rsp()->Pulses()->Count() == 0) return 0;
  if (bIsShowBusy && cBusy != nullptr && counted.laPulsNr.size() != counted.Count()) {
    RaiseError(kErrInvalidCall);
  }

  // The split time is kept within 7..50 ms in the tail info block itself.
  CETCInfoClass& etc = *cRspFile.ETC();
  if (etc.tSplit() < kSplitMin) etc.SettSplit(kSplitMin);
  if (etc.tSplit() > kSplitMax) etc.SettSplit(kSplitMax);

  const Evaluation outcome =
      Evaluate(cRspFile, cCalcOutput, bIsWithReflections, bIsShowBusy, cBusy, counted);
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

CModulationTransfer CEnergyTimeProcessClass::CalculateStatisticMTF(
    const CProbeRspClass& cRspFile) const {
  const CETCInfoClass& etc = *cRspFile.ETC();
  CModulationTransfer mtf{};
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    double dSum = 0.0;
    int32_t nPositive = 0;
    for (int32_t b = 3 * k - 2; b <= 3 * k; ++b) {
      const double dRT = etc.RTime(b);
      if (dRT > 0.0) {
        dSum += dRT;
        ++nPositive;
      }
    }
    const double dRT = nPositive > 0 ? dSum / nPositive : 0.0;
    for (int32_t iF = 0; iF < kModulationCount; ++iF) {
      mtf[static_cast<size_t>(k - 1)][static_cast<size_t>(iF)] =
          StatisticModulation(dRT, ModulationFrequency(iF));
    }
  }
  return mtf;
}

}  // namespace zyra
