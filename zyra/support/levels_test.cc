// The coherent sum of a group: closed cases and a cross-check against a numerical band average.
#include "zyra/support/levels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "zyra/support/calculation.h"

namespace zyra {
namespace {

struct TestPuls {
  std::array<int16_t, 22> spl{};
  std::array<int16_t, 22> phase{};
  double arrival = 0.0;
};

TestPuls Uniform(int16_t spl, int16_t phase, double arrival) {
  TestPuls p;
  p.spl.fill(spl);
  p.phase.fill(phase);
  p.arrival = arrival;
  return p;
}

LevelsModule Define(const std::vector<TestPuls>& pulses) {
  LevelsModule module;
  module.LVLS_InitPulses();
  int32_t n = 0;
  for (const TestPuls& p : pulses) {
    module.LVLS_DefinePuls(++n, p.spl.data(), p.phase.data(), p.arrival, {0.0, 1.0, 0.0});
  }
  return module;
}

// n pulses with random levels iMin..iMax and phases in every band, arriving at tMin..tMax ms.
std::vector<TestPuls> RandomPulses(std::mt19937& random, size_t n, int iMin, int iMax, double tMin,
                                   double tMax) {
  std::uniform_int_distribution<int> spl(iMin, iMax), phase(-31416, 31416);
  std::uniform_real_distribution<double> arrival(tMin, tMax);
  std::vector<TestPuls> pulses(n);
  for (TestPuls& p : pulses) {
    for (size_t b = 0; b < 22; ++b) {
      p.spl[b] = static_cast<int16_t>(spl(random));
      p.phase[b] = static_cast<int16_t>(phase(random));
    }
    p.arrival = arrival(random);
  }
  return pulses;
}

std::pair<double, double> Sum(const LevelsModule& module, int32_t band, int32_t mode = 9) {
  double level = 0.0;
  double phase = 0.0;
  EXPECT_EQ(module.LVLS_PulsSum(band, 0, 0, mode, level, phase), 0);
  return {level, phase};
}

TEST(LevelsTest, ClosedCases) {
  const double sixDb = 20.0 * std::log10(2.0);
  struct Row {
    const char* name;
    std::vector<TestPuls> pulses;
    double level;
    double phase;
    double delay = 0.0;  // ms between the first arrival and the pulse that sets the phase
  };
  const Row rows[] = {
      {"two in phase add 6 dB",
       {Uniform(6000, 1000, 3.0), Uniform(6000, 1000, 3.0)},
       60.0 + sixDb,
       0.1},
      {"no level is no pressure", {Uniform(6000, -500, 1.0), Uniform(0, 0, 0.5)}, 60.0, -0.05, 0.5},
      {"empty set", {}, -200.0, 0.0},
  };
  for (const Row& r : rows) {
    const LevelsModule module = Define(r.pulses);
    for (int32_t band = 0; band <= 21; ++band) {
      const auto [level, phase] = Sum(module, band);
      EXPECT_NEAR(level, r.level, 1e-4) << r.name << " band " << band;
      const double expectedPhase = r.phase - BandCentreOmega(band) * r.delay;
      EXPECT_NEAR(std::remainder(phase - expectedPhase, 2 * std::numbers::pi), 0.0, 1e-4)
          << r.name << " band " << band;
    }
  }
}

TEST(LevelsTest, BandAverageMatchesNumericalAverageOverTheBand) {
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> count(2, 6), band(1, 21);
  for (int trial = 0; trial < 40; ++trial) {
    const std::vector<TestPuls> pulses =
        RandomPulses(random, static_cast<size_t>(count(random)), 2000, 8000, 10.0, 20.0);
    const int32_t b = band(random);
    const auto [level, dPhase] = Sum(Define(pulses), b);

    // The energy of the pressure sum, averaged over 2000 frequencies across the band (midpoint
    // rule; its error stays below 1e-4 of the energetic sum for delays up to 10 ms), and the
    // phase of the sum at the band centre.
    double earliest = pulses[0].arrival;
    for (const TestPuls& p : pulses) earliest = std::min(earliest, p.arrival);
    const double omegaB = 2.0 * std::numbers::pi * std::exp2((b - 11.0) / 3.0);
    const double omega1 = omegaB * std::exp2(-1.0 / 6.0);
    const double omega2 = omegaB * std::exp2(1.0 / 6.0);
    const auto pressureSum = [&](double omega) {
      std::complex<double> sum;
      for (const TestPuls& p : pulses) {
        const size_t s = static_cast<size_t>(b);
        sum += std::pow(10.0, p.spl[s] / 2000.0) *
               std::polar(1.0, p.phase[s] * 0.0001 - omega * (p.arrival - earliest));
      }
      return sum;
    };
    const int n = 2000;
    double mean = 0.0;
    double energetic = 0.0;
    for (const TestPuls& p : pulses)
      energetic += std::pow(10.0, p.spl[static_cast<size_t>(b)] / 1000.0);
    for (int i = 0; i < n; ++i)
      mean += std::norm(pressureSum(omega1 + (omega2 - omega1) * (i + 0.5) / n)) / n;

    EXPECT_NEAR(std::pow(10.0, level / 10.0), mean, 1e-4 * energetic) << "trial " << trial;
    EXPECT_NEAR(std::remainder(dPhase - std::arg(pressureSum(omegaB)), 2 * std::numbers::pi), 0.0,
                1e-9)
        << "trial " << trial;
  }
}

TEST(LevelsTest, LargeGroupsEqualTheirPairByPairSum) {
  // Enough members over 40 ms that the band mean of the sum's power is taken instead of the
  // pairs; the pairs, summed here literally, are the reference.
  std::mt19937 random(5);
  const std::vector<TestPuls> pulses = RandomPulses(random, 600, -100, 9000, 5.0, 45.0);
  const LevelsModule module = Define(pulses);
  double earliest = pulses[0].arrival;
  for (const TestPuls& p : pulses) earliest = std::min(earliest, p.arrival);
  for (const int32_t b : {1, 11, 21}) {
    const auto s = static_cast<size_t>(b);
    const double omegaB = BandCentreOmega(b);
    const double omega1 = omegaB * std::exp2(-1.0 / 6.0);
    const double omega2 = omegaB * std::exp2(1.0 / 6.0);
    const auto pressure = [&](const TestPuls& p) {
      return p.spl[s] > 0 ? std::pow(10.0, p.spl[s] / 2000.0) : 0.0;
    };
    double energy = 0.0;
    for (size_t i = 0; i < pulses.size(); ++i) {
      energy += pressure(pulses[i]) * pressure(pulses[i]);
      for (size_t k = i + 1; k < pulses.size(); ++k) {
        const double dPhi = (pulses[i].phase[s] - pulses[k].phase[s]) * 0.0001;
        const double dTau = (pulses[i].arrival - earliest) - (pulses[k].arrival - earliest);
        energy += 2.0 * pressure(pulses[i]) * pressure(pulses[k]) *
                  BandAverageCos(dPhi - omega1 * dTau, dPhi - omega2 * dTau);
      }
    }
    const double level = Sum(module, b).first;
    EXPECT_NEAR(std::pow(10.0, level / 10.0), energy, 1e-12 * energy) << "band " << b;
  }
}

TEST(LevelsTest, StoredValuesRoundTiesToEvenAndClip) {
  struct Row {
    double level, phase;
    int16_t spl, storedPhase;
  };
  const Row rows[] = {
      {60.0, 0.1234, 6000, 1234}, {0.125, 3.14159, 12, 31416}, {0.375, -3.14159, 38, -31416},
      {-200.0, 0.0, -20000, 0},   {400.0, 4.0, 32767, 32767},  {-400.0, -4.0, -32768, -32768},
  };
  for (const Row& r : rows) {
    const PseudoPulsBandValues stored = StoredPulsSum(r.level, r.phase);
    EXPECT_EQ(stored.iSPL, r.spl) << r.level;
    EXPECT_EQ(stored.iPhase, r.storedPhase) << r.phase;
  }
}

}  // namespace
}  // namespace zyra
