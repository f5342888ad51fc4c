#include "zyra/calc/room_parameters.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zyra/calc/energy_time_process.h"
#include "zyra/calc/energy_time_response.h"
#include "zyra/support/errors.h"

namespace zyra {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLateralStart = 5.0;     // ms
constexpr double kEarlyEnd = 80.0;        // ms
constexpr double kStrengthOffset = 31.0;  // dB: G relative to the power level
// Octave indices 0..6 of the single numbers: 500 Hz and 1 kHz; 125 Hz ... 1 kHz for J_LF.
constexpr size_t k500 = 2;
constexpr size_t k1000 = 3;

// The 14 modulation frequencies, then the one of the reduced set that is not among them.
constexpr size_t kFrequencyCount = kModulationCount + 1;
std::array<double, kFrequencyCount> ModulationFrequencies() {
  std::array<double, kFrequencyCount> daHz{};
  for (int32_t iF = 0; iF < kModulationCount; ++iF) {
    daHz[static_cast<size_t>(iF)] = ModulationFrequency(iF);
  }
  daHz[kModulationCount] = 6.25;
  return daHz;
}

double Ratio(double dNumerator, double dDenominator) {
  return dDenominator > 0.0 ? dNumerator / dDenominator : kNaN;
}

double LevelRatio(double dNumerator, double dDenominator) {
  return dNumerator > 0.0 && dDenominator > 0.0 ? 10.0 * std::log10(dNumerator / dDenominator)
                                                : kNaN;
}

double Mean(const COctaveValues& values, size_t first, size_t last) {
  double sum = 0.0;
  for (size_t k = first; k <= last; ++k) sum += values[k];
  return sum / static_cast<double>(last - first + 1);
}

// The energy sums of a band or an octave that the centre time and the lateral fractions need.
struct EnergySums {
  bool bOnAxis = true;
  double dTotal = 0.0;
  double dTime = 0.0;      // sum of E t, tail included
  double dEarly = 0.0;     // before 80 ms
  double dLateral2 = 0.0;  // 5 .. 80 ms, weighted by u_y^2 (the tail by 1/3)
  double dLateral1 = 0.0;  // 5 .. 80 ms, weighted by |u_y| (the tail by 1/2)

  void Add(const CBandSums& band, const CBandTail& tail) {
    if (band.dETimeless > 0.0 || !std::isfinite(tail.dEnergy)) bOnAxis = false;
    dTotal += band.dEnergy;
    dTime += band.dEnergyTime;
    dEarly += band.dEBefore80 + tail.EnergyBetween(tail.tStart, kEarlyEnd);
    dLateral2 += band.dELateral2;
    dLateral1 += band.dELateral1;
    if (!tail.Exists()) return;
    const double dLateralTail = tail.EnergyBetween(kLateralStart, kEarlyEnd);
    dTotal += tail.dEnergy;
    dTime += tail.dEnergy * (tail.tStart + 1.0 / tail.dK);
    dLateral2 += dLateralTail / 3.0;
    dLateral1 += dLateralTail / 2.0;
  }
  double Ts() const { return bOnAxis ? Ratio(dTime, dTotal) : kNaN; }
  double JLF() const { return bOnAxis ? Ratio(dLateral2, dEarly) : kNaN; }
  double JLFC() const { return bOnAxis ? Ratio(dLateral1, dEarly) : kNaN; }
};

void CheckLimits(const CParameterOptions& options) {
  if (!(options.dSchroederT1 > options.dSchroederT2) || !(options.dSchroederT1 <= 0.0)) {
    RaiseError(kErrInvalidCall);
  }
}

// The decay values of every band and octave that the fits reached.
void TakeDecays(const CSchroederParameters& decays, CParameterSet& set) {
  for (int32_t b = 1; b < CCalcResults::kBandCount; ++b) {
    const auto i = static_cast<size_t>(b);
    set.EDT[i] = decays.EDT(b);
    set.T20[i] = decays.T20(b);
    set.T30[i] = decays.T30(b);
    set.SchrRTime[i] = decays.SchrRTime(b);
    set.SchrEtot[i] = decays.SchrEtot(b);
    set.SchrETail[i] = decays.SchrETail(b);
    set.Curvature[i] = decays.Curvature(b);
  }
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    const auto i = static_cast<size_t>(k - 1);
    set.oEDT[i] = decays.OctaveEDT(k);
    set.oT20[i] = decays.OctaveT20(k);
    set.oT30[i] = decays.OctaveT30(k);
    set.oSchrRTime[i] = decays.OctaveSchrRTime(k);
    set.oCurvature[i] = decays.OctaveCurvature(k);
  }
}

// Clarity, definition and strength from the results' energy windows and the tail block's
// power levels.
void TakeEnergyRatios(const CCalcResults& cCalc, const CETCInfoClass& etc, CParameterSet& set) {
  for (int32_t b = 1; b < CCalcResults::kBandCount; ++b) {
    const double dPower = etc.Power(b);
    set.G[static_cast<size_t>(b)] =
        dPower > 0.0 ? LevelRatio(cCalc.Etotal(b), 1.0) - dPower + kStrengthOffset : kNaN;
  }
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    double dE50 = 0.0, dE80 = 0.0, dTotal = 0.0, dPower = 0.0;
    bool bPowered = true;
    for (int32_t b = 3 * k - 2; b <= 3 * k; ++b) {
      dE50 += cCalc.E50(b);
      dE80 += cCalc.E80(b);
      dTotal += cCalc.Etotal(b);
      bPowered = bPowered && etc.Power(b) > 0.0;
      dPower += std::pow(10.0, 0.1 * etc.Power(b));
    }
    const auto i = static_cast<size_t>(k - 1);
    set.oC50[i] = LevelRatio(dE50, dTotal - dE50);
    set.oC80[i] = LevelRatio(dE80, dTotal - dE80);
    set.oD50[i] = dE50 > 0.0 ? Ratio(dE50, dTotal) : kNaN;
    set.oG[i] = bPowered ? LevelRatio(dTotal, dPower) + kStrengthOffset : kNaN;
  }
}

// Noise and masking applied to both transfer functions, then the indices.
void TakeSpeechTransmission(
    const CCalcResults& cCalc, const CETCInfoClass& etc, const CParameterOptions& options,
    const std::array<std::array<double, kFrequencyCount>, kOctaveCount>& response,
    const CModulationTransfer& statistic, CParameterSet& set) {
  COctaveValues daSignal{}, daNoise{}, daFactor{};
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    const auto i = static_cast<size_t>(k - 1);
    for (int32_t b = 3 * k - 2; b <= 3 * k; ++b) {
      daSignal[i] += cCalc.Etotal(b);
      if (options.bWithNoise) daNoise[i] += std::pow(10.0, 0.1 * etc.Noise(b));
    }
    daFactor[i] = options.bWithNoise ? Ratio(daSignal[i], daSignal[i] + daNoise[i]) : 1.0;
  }
  if (options.bMasking) {
    COctaveValues daIntensity{};
    for (size_t i = 0; i < daIntensity.size(); ++i) daIntensity[i] = daSignal[i] + daNoise[i];
    const COctaveValues daMasking = MaskingFactors(daIntensity);
    for (size_t i = 0; i < daFactor.size(); ++i) daFactor[i] *= daMasking[i];
  }
  const auto Clip = [](double m) { return std::isnan(m) ? m : std::clamp(m, 0.0, 1.0); };
  const std::array<double, kFrequencyCount> daHz = ModulationFrequencies();
  COctaveValues daSTIPA{};
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    const auto i = static_cast<size_t>(k - 1);
    for (size_t f = 0; f < kModulationCount; ++f) {
      set.mtf[i][f] = Clip(response[i][f] * daFactor[i]);
      set.mtf_statistic[i][f] = Clip(statistic[i][f] * daFactor[i]);
    }
    set.oMTI[i] = ModulationTransferIndex(set.mtf[i]);
    set.oMTI_statistic[i] = ModulationTransferIndex(set.mtf_statistic[i]);
    double dSum = 0.0;
    for (int32_t iPair = 0; iPair < 2; ++iPair) {
      const double dHz = STIPAFrequency(k, iPair);
      const auto f = static_cast<size_t>(std::find(daHz.begin(), daHz.end(), dHz) - daHz.begin());
      dSum += TransmissionIndex(Clip(response[i][f] * daFactor[i]));
    }
    daSTIPA[i] = dSum / 2.0;
  }
  set.STI = SpeechTransmissionIndex(set.oMTI);
  set.STI_statistic = SpeechTransmissionIndex(set.oMTI_statistic);
  set.STIPA = SpeechTransmissionIndex(daSTIPA);
  set.STI_rating = STIRating(set.STI);
  set.Alcons_STI = AlconsFromSTI(set.STI);
}

void TakeSingleNumbers(CParameterSet& set) {
  const auto Speech = [](const COctaveValues& values) { return Mean(values, k500, k1000); };
  set.EDT_single = Speech(set.oEDT);
  set.T20_single = Speech(set.oT20);
  set.T30_single = Speech(set.oT30);
  set.C50_single = Speech(set.oC50);
  set.C80_single = Speech(set.oC80);
  set.D50_single = Speech(set.oD50);
  set.Ts_single = Speech(set.oTs);
  set.G_single = Speech(set.oG);
  set.JLF_single = Mean(set.oJLF, 0, k1000);
  set.JLFC_single = Mean(set.oJLFC, 0, k1000);
}

// The whole set from the response's band responses.
CParameterSet ParametersOf(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                           const CParameterOptions& options, BusyIndicator* cBusy,
                           CSchroederParameters* cDecays, const CEnergyTimeResponse& response) {
  CParameterSet set;
  set.dSchroederT1 = options.dSchroederT1;
  set.dSchroederT2 = options.dSchroederT2;
  set.bWithNoise = options.bWithNoise;
  set.bMasking = options.bMasking;

  const CETCInfoClass& etc = *cRspFile.ETC();
  CSchroederParameters decays;
  decays.SetSchroederT1(options.dSchroederT1);
  decays.SetSchroederT2(options.dSchroederT2);

  const std::array<double, kFrequencyCount> daHz = ModulationFrequencies();
  std::array<std::array<double, kFrequencyCount>, kOctaveCount> daResponseMTF{};
  for (auto& octave : daResponseMTF) octave.fill(kNaN);
  COctaveSums sums;
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    if (cBusy != nullptr &&
        !cBusy->ReportProgress("Parameters", (k - 1) / static_cast<double>(kOctaveCount), "",
                               kBusyInterval)) {
      set.bIsCancelled = true;
      break;
    }
    response.SumOctave(k, sums);
    decays.FitOctave(response, sums);
    EnergySums octave;
    for (const CBandSums& band : sums.bands) {
      const CBandTail& tail = response.Tail(band.iTerz1);
      EnergySums one;
      one.Add(band, tail);
      octave.Add(band, tail);
      const auto b = static_cast<size_t>(band.iTerz1);
      set.Ts[b] = one.Ts();
      set.JLF[b] = one.JLF();
      set.JLFC[b] = one.JLFC();
    }
    const auto i = static_cast<size_t>(k - 1);
    set.oTs[i] = octave.Ts();
    set.oJLF[i] = octave.JLF();
    set.oJLFC[i] = octave.JLFC();
    response.OctaveModulation(sums, daHz, daResponseMTF[i]);
  }
  if (cBusy != nullptr) cBusy->ShowProgress("", 1.0, kBusyInterval);

  TakeDecays(decays, set);
  TakeEnergyRatios(cCalc, etc, set);
  TakeSpeechTransmission(cCalc, etc, options, daResponseMTF,
                         CEnergyTimeProcessClass().CalculateStatisticMTF(cRspFile), set);
  TakeSingleNumbers(set);
  if (cDecays != nullptr) *cDecays = std::move(decays);
  return set;
}

}  // namespace

CParameterSet CalculateParameters(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                  const CParameterOptions& options, BusyIndicator* cBusy,
                                  CSchroederParameters* cDecays) {
  CheckLimits(options);
  return ParametersOf(cRspFile, cCalc, options, cBusy, cDecays,
                      CEnergyTimeResponse(cRspFile, cCalc, options.bIsWithReflections));
}

CParameterSet CalculateParameters(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                  const CParameterOptions& options, BusyIndicator* cBusy,
                                  CSchroederParameters* cDecays, CCountedPulses counted) {
  CheckLimits(options);
  return ParametersOf(
      cRspFile, cCalc, options, cBusy, cDecays,
      CEnergyTimeResponse(cRspFile, cCalc, options.bIsWithReflections, std::move(counted)));
}

}  // namespace zyra
