#include "zyra/calc/counted_pulses.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "zyra/support/calculation.h"

namespace zyra {

namespace {
constexpr int32_t kBandCount1 = 21;  // third-octave bands 1..21
constexpr bool kIsInterferenceOn = false;

// The records lie wherever they were allocated, in an order that has nothing to do with the
// order of arrival the buffer holds after sorting, so each one is a trip to memory: asking for
// the records a few pulses ahead overlaps those trips. The fields read here lie in the first
// ~110 bytes of a record.
constexpr int32_t kPrefetchAhead = 8;
void PrefetchRecord(const CPulsClass& cPuls) {
#if defined(__GNUC__) || defined(__clang__)
  const auto* bytes = reinterpret_cast<const char*>(&cPuls);
  __builtin_prefetch(bytes);
  __builtin_prefetch(bytes + 64);
  __builtin_prefetch(bytes + 112);
#else
  static_cast<void>(cPuls);
#endif
}
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
  // One pass over the records, each touched once: the levels go straight into band rows of
  // the buffer's length, which are closed up afterwards when some pulses did not count.
  const auto nRow = static_cast<size_t>(n);
  counted.iaLevel.assign(nRow * kBandCount1, 0);
  size_t c = 0;
  for (int32_t i = 1; i <= n; ++i) {
    if (i + kPrefetchAhead <= n) PrefetchRecord(buffer.PulsRecord(i + kPrefetchAhead));
    const CPulsClass& cPuls = buffer.PulsRecord(i);
    if (!(cPuls.IsDirectSound() || bCountAll)) continue;
    counted.daArrival.push_back(rsp.GetPulsArrival(i));
    counted.baIsDirectSound.push_back(cPuls.IsDirectSound() ? 1 : 0);
    if (options.bWithAngles) {
      counted.iaHorAngle.push_back(cPuls.HorAngle());
      counted.iaVerAngle.push_back(cPuls.VerAngle());
    }
    if (options.bWithPulsNumbers) counted.laPulsNr.push_back(i);
    if (cPuls.IsActiveForCalc(kIsInterferenceOn)) {
      for (int32_t b = 1; b <= kBandCount1; ++b) {
        counted.iaLevel[static_cast<size_t>(b - 1) * nRow + c] = cPuls.SPL(b);
      }
    }
    ++c;
  }
  if (c < nRow) {
    for (size_t b = 1; b < kBandCount1; ++b) {
      std::copy_n(counted.iaLevel.begin() + static_cast<std::ptrdiff_t>(b * nRow), c,
                  counted.iaLevel.begin() + static_cast<std::ptrdiff_t>(b * c));
    }
    counted.iaLevel.resize(c * kBandCount1);
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
