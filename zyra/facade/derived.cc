#include "zyra/facade/derived.h"

#include <cmath>

namespace zyra {

std::optional<double> Clarity(double dEarly, double dTotal) {
  const double late = dTotal - dEarly;
  if (late == 0.0) return std::nullopt;
  const double ratio = dEarly / late;
  if (!(ratio > 0.0)) return std::nullopt;
  return 10.0 * std::log10(ratio);
}

std::optional<double> Definition(double dE50, double dTotal) {
  if (dTotal == 0.0) return std::nullopt;
  return dE50 / dTotal;
}

std::optional<double> TotalLevel(double dTotal) {
  if (!(dTotal > 0.0)) return std::nullopt;
  return 10.0 * std::log10(dTotal);
}

}  // namespace zyra
