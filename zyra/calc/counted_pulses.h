// The pulses that an energy-time evaluation counts, gathered once from a response: the one
// selection that both the energy sums of Calculate and the band responses of the parameters
// read, so that the two always agree.
#ifndef ZYRA_CALC_COUNTED_PULSES_H_
#define ZYRA_CALC_COUNTED_PULSES_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zyra/info/etc_info.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra {

// Contiguous arrays in pulse order, one element per counted pulse: a pulse counts when it is a
// direct sound, when reflections are evaluated, or when the response holds its tail as pulses.
struct CCountedPulses {
  // What to gather besides arrivals, levels and kinds.
  struct Options {
    bool bIsWithReflections = true;
    bool bWithAngles = false;       // HorAngle and VerAngle
    bool bWithPulsNumbers = false;  // the pulse numbers, for progress reports
  };

  std::vector<double> daArrival;  // ms, GetPulsArrival (on the axis of tRef, not relative to it)
  std::vector<uint8_t> baIsDirectSound;  // 1 for a direct sound
  // Levels in 0.01 dB, band-major: band iTerz1's row starts at (iTerz1 - 1) * Count(). A pulse
  // that is not active in the calculation holds 0 in every band.
  std::vector<int16_t> iaLevel;
  std::vector<int16_t> iaHorAngle;  // degrees, only with bWithAngles
  std::vector<int16_t> iaVerAngle;  // degrees, only with bWithAngles
  std::vector<int32_t> laPulsNr;    // 1..Count of the buffer, only with bWithPulsNumbers

  size_t Count() const noexcept { return daArrival.size(); }
  const int16_t* BandLevels(int32_t iTerz1) const {
    return iaLevel.data() + static_cast<size_t>(iTerz1 - 1) * Count();
  }

  // Gathers the counted pulses of cRspFile (error 91 for an empty pulse slot).
  static CCountedPulses Gather(const CProbeRspClass& cRspFile, const Options& options);
};

// A pulse's energy by level, element L for level L (0.01 dB) 0..32767: exactly what
// GetEnergyForCalc gives for that level, computed once, so that loops over pulses need no
// power. Read it through CountedEnergy, which handles levels <= 0.
const std::vector<double>& EnergyByLevel();

// The energy of a pulse with level iLevel (0.01 dB), as GetEnergyForCalc gives it; 0 for
// iLevel <= 0.
inline double CountedEnergy(const std::vector<double>& energyByLevel, int16_t iLevel) {
  return iLevel > 0 ? energyByLevel[static_cast<size_t>(iLevel)] : 0.0;
}

// The statistical tail energy E_H that the evaluation adds in band iTerz1 (HallEnergy of the
// tail block's room data): 0 when the response holds its tail as pulses or the room data give
// no positive energy.
double CountedHallEnergy(const CETCInfoClass& etc, int32_t iTerz1);

}  // namespace zyra

#endif  // ZYRA_CALC_COUNTED_PULSES_H_
