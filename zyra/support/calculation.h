// The calculation object of the support library: the acoustic formulas that the preparation and
// the evaluation of a response share. Free functions without state, safe on any thread.
//
// Units: times in milliseconds, reverberation times in seconds, levels in dB, energies on the
// scale of a pulse's energy 10^(SPL/10); phases in units of 0.0001 rad where they are Integers.
#ifndef ZYRA_SUPPORT_CALCULATION_H_
#define ZYRA_SUPPORT_CALCULATION_H_

#include <cmath>
#include <cstdint>

namespace zyra {

// An end time at or beyond this counts as the end of the tail (infinitely late).
inline constexpr double kTailEndTime = 100000.0;

// The Alcons formula selector; any other value counts as SL_EAlcons_Peutz.
enum SL_EAlconsForm : int32_t { SL_EAlcons_Peutz = 0, SL_EAlcons_STI = 1 };

// Nominal centre frequency in Hz of third-octave band i: 100 Hz for i = 0 up to 10 kHz for i = 20;
// outside that table 1000 * 10^((i - 10) / 10) rounded to a Long (error 6 when it does not fit).
int32_t GetTerzFrequency(int32_t i);

// The share of an exponential decay that starts at tStart with reverberation time dRT (s) and
// falls between t1 and t2 (ms, on the axis of tStart); t2 >= kTailEndTime is the end of the tail.
// 0 when t2 <= t1 or t2 <= tStart; with dRT <= 0 all energy sits at tStart.
double DecayFraction(double t1, double t2, double tStart, double dRT);

// Statistical reverberant energy of one band (Sabine): mean absorption coefficient dAbsorp,
// sound power level dPower (dB), reverberation time dRT (s), room volume dVolume (m^3).
// 0 when the room data cannot describe a diffuse field (dRT <= 0, dVolume <= 0, dAbsorp outside
// 0 <= a < 1; a NaN in any of these three counts the same).
double HallEnergy(double dAbsorp, double dPower, double dRT, double dVolume);

// Start of the statistical tail relative to tRef: the later of tOff, tMean and 0, plus the mixing
// time sqrt(V) ms (V <= 0 counts as 0). tRef is accepted for the caller's convenience: tOff and
// tMean already arrive relative to it.
double HallStartTime(double tOff, double tMean, double tRef, double dVolume);

// The level allowance in dB that a loudspeaker arriving dt ms after another must exceed to take
// the precedence (Haas curve): 0 up to 1 ms, rising to 10 dB at 5 ms, 10 dB up to 30 ms, falling
// to 0 at 50 ms, 0 beyond.
double PrecedenceAllowance(double dt);

// Articulation loss of consonants in percent, 0..100. The four energies and times are taken as
// Singles (as stored) and the formula runs in Double.
double Alcons(float fUseful, float fHarmful, float fNoise, float fRT, SL_EAlconsForm eAlconsForm);

// The sum of two phases (units of 0.0001 rad) wrapped into -pi..pi: a result in -31416..31416.
// Within +-31415 the sum is below pi and stays. Beyond it (up to 6.5536 rad) the remainder by
// 2 pi takes off one 2 pi, 62831.853 units, and rounds to the nearest unit: that is the sum
// -+ 62832 for every sum, since a fraction of .853 lies far from a tie. In integers, so that a
// loop over the bands of a million pulses needs neither a remainder nor a branch.
constexpr int16_t AddPhases(int16_t iPhase1, int16_t iPhase2) noexcept {
  const int32_t lSum = int32_t{iPhase1} + int32_t{iPhase2};
  constexpr int32_t kTwoPi = 62832;
  const int32_t lTurns = int32_t{lSum > 31415} - int32_t{lSum < -31415};
  return static_cast<int16_t>(lSum - lTurns * kTwoPi);
}

// The mean of cos(a) over a linear sweep of a from a1 to a2, (sin a2 - sin a1) / (a2 - a1), and
// cos a1 when a1 == a2. Computed as cos(mid) * sin(h) / h with h the half width, which is the same
// quantity without the cancellation of the difference of two sines when a1 and a2 lie close.
// This is the band average of the cross term of two arrivals over a frequency band.
inline double BandAverageCos(double a1, double a2) {
  const double h = 0.5 * (a2 - a1);
  const double mid = 0.5 * a1 + 0.5 * a2;
  if (h == 0.0) return std::cos(a1);
  return std::cos(mid) * (std::sin(h) / h);
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_CALCULATION_H_
