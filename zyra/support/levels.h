// The levels module: the coherent sum of a group of pulses (the members of a pseudo pulse), band
// by band. The set of pulses lives in an object that its caller owns for one sum, so responses
// can be prepared on several threads at once.
#ifndef ZYRA_SUPPORT_LEVELS_H_
#define ZYRA_SUPPORT_LEVELS_H_

#include <array>
#include <cstdint>
#include <vector>

namespace zyra {

// What LVLS_PulsSum computes, chosen by its iMode argument. Every mode answers the same phase.
inline constexpr int32_t kLevelsModeEnergetic = 0;    // sum of the energies, phases ignored
inline constexpr int32_t kLevelsModeCentre = 1;       // coherent sum at the band centre frequency
inline constexpr int32_t kLevelsModeBandAverage = 9;  // coherent energy averaged over the band

class LevelsModule {
 public:
  static constexpr int32_t kBandCount = 22;
  // What dLevel answers for a sum without energy.
  static constexpr double kNoLevel = -200.0;

  // Clears the set.
  void LVLS_InitPulses();

  // Adds one pulse: its number, its 22 levels (hundredths of a dB, 0 or below for no energy)
  // and 22 phases (units of 0.0001 rad) for bands 0..21, its arrival in ms and its ray
  // direction. The values are copied; a null array is error 91.
  void LVLS_DefinePuls(int32_t lPuls, const int16_t* iaSPL, const int16_t* iaPhase, double dArrival,
                       const std::array<double, 3>& cRay);

  // Sums the set in band iBand (0..21, else error 9) by mode iMode (kLevelsMode..., any other
  // mode is error 5); the two middle arguments are reserved. dLevel receives the level in dB
  // (kNoLevel when there is no energy), dPhase the phase in rad of the sum of the pressure
  // phasors at the band centre frequency. Returns 0.
  //
  // With p_i the pressure amplitude, phi_i the phase and tau_i the arrival relative to the
  // earliest one of the set, the coherent energy of the band-average mode is
  //   sum p_i^2 + 2 sum_{i<k} p_i p_k c_ik,
  // c_ik the mean of cos(phi_i - phi_k - w (tau_i - tau_k)) over w in the third-octave band.
  // A coherent energy more than 100 dB below the energetic sum is the residue of phases that
  // are stored to 0.0001 rad (pi itself is not representable) and counts as full cancellation.
  int32_t LVLS_PulsSum(int32_t iBand, int32_t, int32_t, int32_t iMode, double& dLevel,
                       double& dPhase) const;

  // Frees the set.
  void LVLS_Release();

  int32_t Count() const noexcept { return static_cast<int32_t>(pulses_.size()); }

 private:
  struct Pulse {
    int32_t lPuls;
    std::array<int16_t, kBandCount> spl;
    std::array<int16_t, kBandCount> phase;
    double arrival;
    std::array<double, 3> ray;
  };
  std::vector<Pulse> pulses_;
};

// Band iBand's angular centre frequency in rad/ms: band 11 is 1 kHz, one third-octave per band.
double BandCentreOmega(int32_t iBand);

// The values a pseudo pulse stores for one band's sum: hundredths of a dB and units of
// 0.0001 rad, each rounded ties to even and clipped to the Integer range.
struct PseudoPulsBandValues {
  int16_t iSPL;
  int16_t iPhase;
};
PseudoPulsBandValues StoredPulsSum(double dLevel, double dPhase);

}  // namespace zyra

#endif  // ZYRA_SUPPORT_LEVELS_H_
