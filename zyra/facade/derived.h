// The energy ratios derived from an evaluation's sums, as room acoustics defines them.
#ifndef ZYRA_FACADE_DERIVED_H_
#define ZYRA_FACADE_DERIVED_H_

#include <optional>

namespace zyra {

// Clarity in dB: C = 10·log10(Eearly / (Etotal − Eearly)); C50 with E50, C80 with E80. No value
// where the late energy is zero or the ratio is not positive.
std::optional<double> Clarity(double dEarly, double dTotal);
// Definition: D50 = E50 / Etotal (a fraction 0 ... 1, not percent). No value when Etotal is 0.
std::optional<double> Definition(double dE50, double dTotal);
// A level in dB: 10·log10(E), energies being on the scale 10^(SPL/10). No value for E <= 0.
std::optional<double> TotalLevel(double dTotal);

}  // namespace zyra

#endif  // ZYRA_FACADE_DERIVED_H_
