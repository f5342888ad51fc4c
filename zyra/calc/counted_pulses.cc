#include "zyra/calc/counted_pulses.h"

#include <limits>

#include "zyra/support/calculation.h"

namespace zyra {

namespace {
constexpr int32_t kBandCount1 = 21;  // third-octave bands 1..21
constexpr bool kIsInterferenceOn = false;
}  // namespace

const std::vector<double>& EnergyByLevel() {
  static const std::vector<double> kTable = [] {
    std::vector<double> table(static_cast<size_t>(std::numeric_limits<int16_t>::max()) + 1, 0.0);
    CPulsClass probe;
    for (size_t level = 1; level < table.size(); ++level) {
      probe.SetSPL(1, static_cast<int16_t>(level));
      table[level] = probe.GetEnergyForCalc(1, kIsInterferenceOn);
    }
    return table;
  }();
  return kTable;
}

CCountedPulses CCountedPulses::Gather(const CProbeRspClass& cRspFile, const Options& options) {
  const CSystemResponse& rsp = *cRspFile.Rsp();
  const bool bCountAll = cRspFile.ETC()->IsWithTail_b() || options.bIsWithReflections;
  const CPulsBufferClass& buffer = *rsp.Pulses();
  const int32_t n = buffer.Count();

  CCountedPulses counted;
  const auto reserve = static_cast<size_t>(n);
  counted.daArrival.reserve(reserve);
  counted.baIsDirectSound.reserve(reserve);
  if (options.bWithAngles) {
    counted.iaHorAngle.reserve(reserve);
    counted.iaVerAngle.reserve(reserve);
  }
  if (options.bWithPulsNumbers) counted.laPulsNr.reserve(reserve);
  // The records in a first pass, so that the levels can be laid out band by band once the
  // count is known.
  std::vector<const CPulsClass*> records;
  records.reserve(reserve);
  for (int32_t i = 1; i <= n; ++i) {
    const CPulsClass& cPuls = buffer.PulsRecord(i);
    if (!(cPuls.IsDirectSound() || bCountAll)) continue;
    counted.daArrival.push_back(rsp.GetPulsArrival(i));
    counted.baIsDirectSound.push_back(cPuls.IsDirectSound() ? 1 : 0);
    if (options.bWithAngles) {
      counted.iaHorAngle.push_back(cPuls.HorAngle());
      counted.iaVerAngle.push_back(cPuls.VerAngle());
    }
    if (options.bWithPulsNumbers) counted.laPulsNr.push_back(i);
    records.push_back(&cPuls);
  }
  const size_t nCounted = records.size();
  counted.iaLevel.assign(nCounted * kBandCount1, 0);
  for (size_t c = 0; c < nCounted; ++c) {
    const CPulsClass& cPuls = *records[c];
    if (!cPuls.IsActiveForCalc(kIsInterferenceOn)) continue;
    for (int32_t b = 1; b <= kBandCount1; ++b) {
      counted.iaLevel[static_cast<size_t>(b - 1) * nCounted + c] = cPuls.SPL(b);
    }
  }
  return counted;
}

double CountedHallEnergy(const CETCInfoClass& etc, int32_t iTerz1) {
  if (etc.IsWithTail_b()) return 0.0;
  const double dEHall =
      HallEnergy(etc.Absorp(iTerz1), etc.Power(iTerz1), etc.RTime(iTerz1), etc.Volume());
  return dEHall > 0.0 ? dEHall : 0.0;
}

}  // namespace zyra
