// The interference energy summed literally, pair by pair with two sines per pair: the
// straightforward O(n^2) evaluation against which the production path and its curve are
// checked (tests) and timed (benchmarks).
#ifndef ZYRA_TESTS_INTERFERENCE_REFERENCE_H_
#define ZYRA_TESTS_INTERFERENCE_REFERENCE_H_

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "zyra/response/system_response.h"

namespace zyra::testing {

inline double ReferenceInterferenceEnergy(const CSystemResponse& rsp, int32_t iTerz1,
                                          double dBandwidth, bool bIsPot, bool bIsKin,
                                          bool bIncludePhaseLocal, double tRef,
                                          double tLimit = std::numeric_limits<double>::infinity()) {
  const int32_t n = rsp.Pulses()->Count();
  std::vector<double> p(static_cast<size_t>(n) + 1), t(p.size()), phi(p.size());
  for (int32_t i = 1; i <= n; ++i) {
    p[i] = rsp.Puls(i)->GetPressureForCalc(iTerz1, true);
    t[i] = rsp.GetPulsArrival(i);
    phi[i] = rsp.Puls(i)->Phase(iTerz1) * 0.0001;
  }
  double s = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    if (t[i] - tRef <= tLimit) s += p[i] * p[i];
  }
  if (bIsPot != bIsKin) s *= 0.5;
  const double w1 = 6.28318530717958 * std::pow(2.0, ((iTerz1 - 11) - 0.5 * dBandwidth) / 3.0);
  const double w2 = 6.28318530717958 * std::pow(2.0, ((iTerz1 - 11) + 0.5 * dBandwidth) / 3.0);
  const double f = bIsPot != bIsKin ? 1.0 : 2.0;
  double cross = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    if (!(t[i] - tRef <= tLimit)) continue;
    for (int32_t j = i + 1; j <= n; ++j) {
      if (!(t[j] - tRef <= tLimit)) continue;
      double w = f * p[i] * p[j];
      if (bIsKin) {
        double dot = 0.0;
        for (int32_t c = 1; c <= 3; ++c) dot += rsp.Puls(i)->RayX(c) * rsp.Puls(j)->RayX(c);
        w *= dot;
      }
      double a1 = -w1 * (t[i] - t[j]);
      double a2 = -w2 * (t[i] - t[j]);
      if (bIncludePhaseLocal) {
        a1 += phi[i] - phi[j];
        a2 += phi[i] - phi[j];
      }
      cross += a1 == a2 ? w * std::cos(a1) : w * (std::sin(a2) - std::sin(a1)) / (a2 - a1);
    }
  }
  return s + cross;
}

}  // namespace zyra::testing

#endif  // ZYRA_TESTS_INTERFERENCE_REFERENCE_H_
