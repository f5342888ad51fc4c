// Speech transmission from modulation transfer: the octaves and modulation frequencies of the
// index, the transmission index of one modulation depth, MTI, STI, STIPA frequencies, the
// rating, Alcons from STI, and auditory masking with the reception threshold. Free functions
// without state, safe on any thread.
//
// A modulation depth m is a ratio 0..1; levels are in dB on the scale of a pulse's energy
// 10^(SPL/10); frequencies in Hz.
#ifndef ZYRA_CALC_SPEECH_TRANSMISSION_H_
#define ZYRA_CALC_SPEECH_TRANSMISSION_H_

#include <array>
#include <cstdint>
#include <string>

namespace zyra {

// Octaves 125 ... 8000 Hz; octave k (1..7) is the union of third-octave bands 3k-2, 3k-1, 3k.
inline constexpr int32_t kOctaveCount = 7;
// Modulation frequencies 0.63 ... 12.5 Hz in third-octave steps.
inline constexpr int32_t kModulationCount = 14;

using CModulationDepths = std::array<double, kModulationCount>;
// m(F) of every octave: element [k-1][iF] is octave k at ModulationFrequency(iF).
using CModulationTransfer = std::array<CModulationDepths, kOctaveCount>;
using COctaveValues = std::array<double, kOctaveCount>;

// Centre frequency in Hz of octave iOctave 1..7 (125 ... 8000 Hz); error 9 outside.
double OctaveFrequency(int32_t iOctave);
// Modulation frequency in Hz, iF 0..13 (0.63 ... 12.5 Hz); error 9 outside.
double ModulationFrequency(int32_t iF);
// The two modulation frequencies in Hz of the reduced set (STIPA) for octave iOctave 1..7,
// iPair 0 or 1; error 9 outside.
double STIPAFrequency(int32_t iOctave, int32_t iPair);

// Statistical modulation transfer of a diffuse decay with reverberation time dRT (s) at dF Hz:
// [1 + (2 pi F T / 13.8155)^2]^-1/2; 1 for dRT <= 0, NaN for a NaN input.
double StatisticModulation(double dRT, double dF);

// Transmission index 0..1 of one modulation depth: the effective signal-to-noise ratio
// 10 lg(m / (1 - m)) clipped to +-15 dB, mapped linearly; m is clipped to 0..1 first. NaN for
// NaN.
double TransmissionIndex(double m);
// Mean transmission index over the 14 modulation frequencies; NaN when any depth is NaN.
double ModulationTransferIndex(const CModulationDepths& daM);
// STI 0..1 from the seven octaves' MTI with the male weights and redundancy corrections; NaN
// when any MTI is NaN.
double SpeechTransmissionIndex(const COctaveValues& daMTI);
// The rating letter of an STI ("A+", "A", ... "J", "U"); empty for NaN.
std::string STIRating(double dSTI);
// Articulation loss of consonants in percent from STI, 170.5405 e^(-5.419 STI) clipped to
// 0..100; NaN for NaN.
double AlconsFromSTI(double dSTI);

// The auditory masking slope in dB at a masking octave level dLevel (dB).
double AuditoryMaskingSlope(double dLevel);
// The factor I_k / (I_k + I_am,k + I_rt,k) of every octave that masking by the next lower
// octave and the absolute reception threshold leave of its modulation, from the octaves'
// intensities I_k (speech plus noise, energy scale). NaN where an intensity is NaN or negative.
COctaveValues MaskingFactors(const COctaveValues& daIntensity);

}  // namespace zyra

#endif  // ZYRA_CALC_SPEECH_TRANSMISSION_H_
