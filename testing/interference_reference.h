// The interference energy summed literally, pair by pair with two sines per pair: the
// straightforward O(n^2) evaluation against which the production path and its curve are
// checked (tests) and timed (benchmarks).
#ifndef ZYRA_TESTING_INTERFERENCE_REFERENCE_H_
#define ZYRA_TESTING_INTERFERENCE_REFERENCE_H_

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
  std::vector<double> p(n + 1), t(n + 1);
  for (int32_t i = 1; i <= n; ++i) {
    p[i] = rsp.Puls(i)->GetPressureForCalc(iTerz1, true);
    t[i] = rsp.GetPulsArrival(i);
  }
  const auto in = [&](int32_t i) { return t[i] - tRef <= tLimit; };
  const double w1 = 6.28318530717958 * std::pow(2.0, ((iTerz1 - 11) - 0.5 * dBandwidth) / 3.0);
  const double w2 = 6.28318530717958 * std::pow(2.0, ((iTerz1 - 11) + 0.5 * dBandwidth) / 3.0);
  const double f = bIsPot != bIsKin ? 1.0 : 2.0;
  double s = 0.0, cross = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    if (!in(i)) continue;
    s += p[i] * p[i] * f * 0.5;
    for (int32_t j = i + 1; j <= n; ++j) {
      if (!in(j)) continue;
      double w = f * p[i] * p[j];
      if (bIsKin) {
        double dot = 0.0;
        for (int32_t c = 1; c <= 3; ++c) dot += rsp.Puls(i)->RayX(c) * rsp.Puls(j)->RayX(c);
        w *= dot;
      }
      const double dt = t[i] - t[j];
      const double dPhi = bIncludePhaseLocal ? rsp.Puls(i)->Phase(iTerz1) * 0.0001 -
                                                   rsp.Puls(j)->Phase(iTerz1) * 0.0001
                                             : 0.0;
      const double a1 = -w1 * dt + dPhi, a2 = -w2 * dt + dPhi;
      cross += a1 == a2 ? w * std::cos(a1) : w * (std::sin(a2) - std::sin(a1)) / (a2 - a1);
    }
  }
  return s + cross;
}

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_INTERFERENCE_REFERENCE_H_
