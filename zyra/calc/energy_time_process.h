// The energy-time evaluation of a prepared response: characteristic times, direct sound, the
// energies of the pulses and of a statistical tail, and the articulation loss over time.
#ifndef ZYRA_CALC_ENERGY_TIME_PROCESS_H_
#define ZYRA_CALC_ENERGY_TIME_PROCESS_H_

#include <array>
#include <cstdint>
#include <memory>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/counted_pulses.h"
#include "zyra/calc/speech_transmission.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/calculation.h"

namespace zyra {

// Keeps no state between calls; one object may serve any number of evaluations.
class CEnergyTimeProcessClass {
 public:
  // Interference flags of CalculateAlconsOfT (any non-zero value selects the coherent sum).
  static constexpr int32_t kInterfPotential = 2;
  static constexpr int32_t kInterfKinetic = 4;

  // Evaluates the response of cRspFile into a new CCalcResults stored in cCalcOutput: times,
  // direct sound, band by band the energies of the direct sounds (of every pulse with
  // bIsWithReflections or when the response holds its tail as pulses) and the statistical
  // tail from the tail info block. The tail info block's tSplit is first clamped to 7..50 ms
  // in place. Without pulses only cCalcOutput's IsNoDirectSound is set, and nothing else
  // happens. With bIsShowBusy every pulse of every band is reported to cBusy (null: no
  // progress); a cancel returns -1 and leaves the partial results in the new object.
  // Otherwise 0. An empty cCalcOutput is allowed: it simply receives the new object.
  int32_t Calculate(CProbeRspClass& cRspFile, std::shared_ptr<CCalcResults>& cCalcOutput,
                    bool bIsWithReflections, bool bIsShowBusy, BusyIndicator* cBusy) const;
  // The same on the pulses a caller has gathered already from cRspFile with the same
  // bIsWithReflections (and with pulse numbers when progress is reported), so that a caller
  // computing the parameters too walks the pulses once. Error 5 when progress is to be reported
  // and `counted` lacks the pulse numbers.
  int32_t Calculate(CProbeRspClass& cRspFile, std::shared_ptr<CCalcResults>& cCalcOutput,
                    bool bIsWithReflections, bool bIsShowBusy, BusyIndicator* cBusy,
                    const CCountedPulses& counted) const;

  // Alcons in Alcons band iAlconsBand0 (0, 1, 2: third-octave bands 8, 11, 14) when the energy
  // up to t ms after tRef is useful and the rest harmful, from results that Calculate filled.
  // t is the time bin after rounding ties to even. With lInterfFlags non-zero the useful
  // energy is the coherent sum of the pulses up to t (kInterfPotential / kInterfKinetic select
  // the summation) plus the tail up to the bin. A bin outside 0..50 or an Alcons band outside
  // 0..2 is error 9.
  double CalculateAlconsOfT(CProbeRspClass& cRspFile, CCalcResults& cCalc, int32_t iAlconsBand0,
                            SL_EAlconsForm eAlconsForm, double t, bool bWithNoise,
                            int32_t lInterfFlags) const;
  // CalculateAlconsOfT for t = 0, 1, ..., 50 into daAlcons, equal to those 51 calls up to
  // rounding; the coherent sums of all 51 limits come from one pass over the pulse pairs.
  void CalculateAlconsCurve(CProbeRspClass& cRspFile, CCalcResults& cCalc, int32_t iAlconsBand0,
                            SL_EAlconsForm eAlconsForm, bool bWithNoise, int32_t lInterfFlags,
                            std::array<double, CCalcResults::kTimeBinCount>& daAlcons) const;

  // The statistical modulation transfer m(F) of every octave from the room data of the tail
  // block alone: a diffuse decay with T the mean of the octave's positive third-octave
  // reverberation times (s), [1 + (2 pi F T / 13.8155)^2]^-1/2; 1 where no band's RTime is
  // positive. Before noise and masking. Element [k-1][iF] is octave k at ModulationFrequency(iF).
  CModulationTransfer CalculateStatisticMTF(const CProbeRspClass& cRspFile) const;
};

}  // namespace zyra

#endif  // ZYRA_CALC_ENERGY_TIME_PROCESS_H_
