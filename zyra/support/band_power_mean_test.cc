#include "zyra/support/band_power_mean.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "zyra/support/calculation.h"

namespace zyra {
namespace {

struct Arrival {
  double p, phi, tau, gain;
};

// The coherent energy of the band summed literally, pair by pair: the reference.
double PairByPair(const std::vector<Arrival>& a, size_t n, double w1, double w2) {
  double sum = 0.0;
  for (size_t i = 0; i < n; ++i) {
    const double pi = a[i].gain * a[i].p;
    sum += pi * pi;
    for (size_t k = i + 1; k < n; ++k) {
      const double dPhi = a[i].phi - a[k].phi;
      const double dTau = a[i].tau - a[k].tau;
      sum += 2.0 * pi * a[k].gain * a[k].p * BandAverageCos(dPhi - w1 * dTau, dPhi - w2 * dTau);
    }
  }
  return sum;
}

TEST(BandPowerMeanTest, RunningMeansEqualThePairSumsForEveryBandAndSpan) {
  struct Case {
    const char* name;
    double w1, w2, tauLo, tauHi;
    bool bGains;
  };
  // From one node-poor rule to many panels; a band of no width; a band given upside down;
  // per-arrival factors (as the rays' coordinates of a kinetic sum).
  const Case cases[] = {
      {"third-octave, 1 kHz", 5.6, 7.05, -3.0, 3.0, false},
      {"many panels, 10 kHz", 55.0, 69.6, -10.0, 60.0, false},
      {"no width", 6.28, 6.28, 0.0, 40.0, false},
      {"upside down", 14.9, 12.0, -2.0, 6.0, false},
      {"with factors", 12.0, 14.9, 0.0, 30.0, true},
  };
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (const Case& c : cases) {
    constexpr size_t n = 300;
    std::vector<Arrival> arrivals;
    for (size_t i = 0; i < n; ++i) {
      arrivals.push_back({std::pow(10.0, 3.0 * unit(rng)), 6.3 * unit(rng) - 3.15,
                          c.tauLo + (c.tauHi - c.tauLo) * unit(rng),
                          c.bGains ? 2.0 * unit(rng) - 1.0 : 1.0});
    }
    BandPowerMean sum(c.w1, c.w2, c.tauLo, c.tauHi, 1);
    size_t added = 0;
    for (const size_t prefix : {size_t{1}, n / 3, n}) {
      for (; added < prefix; ++added) {
        const Arrival& a = arrivals[added];
        const double gain[] = {a.gain};
        sum.Add(a.p, a.phi, a.tau, gain);
      }
      const double reference = PairByPair(arrivals, prefix, c.w1, c.w2);
      EXPECT_NEAR(sum.Mean(0), reference, 1e-12 * reference) << c.name << ", " << prefix;
    }
  }
}

// How many nodes the rule takes is a tuning matter: the running means above hold for every band
// and span. What matters is which way is chosen, and never the rule for a span that is no number.
TEST(BandPowerMeanTest, TheRulePaysOffForManyArrivalsOnly) {
  const double pair = BandPowerMean::kPlainPairCost;
  EXPECT_FALSE(BandPowerMean::IsCheaperThanPairs(10, 55.0, 69.6, 50.0, 1, pair));
  EXPECT_TRUE(BandPowerMean::IsCheaperThanPairs(100000, 55.0, 69.6, 50.0, 1, pair));
  EXPECT_FALSE(BandPowerMean::IsCheaperThanPairs(100000, 55.0, 69.6, NAN, 1, pair));
}

}  // namespace
}  // namespace zyra
