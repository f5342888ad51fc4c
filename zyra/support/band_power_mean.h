// The band mean of the power of a sum of arrivals, in time linear in the number of arrivals.
#ifndef ZYRA_SUPPORT_BAND_POWER_MEAN_H_
#define ZYRA_SUPPORT_BAND_POWER_MEAN_H_

#include <cstdint>
#include <span>
#include <vector>

namespace zyra {

// For arrivals i with complex amplitude a_i = p_i e^{j phi_i} and delay tau_i, the coherent
// energy of a band,
//   sum_i p_i^2 + 2 sum_{i<k} p_i p_k (mean over w1..w2 of cos(phi_i - phi_k - w (tau_i - tau_k))),
// is the mean over w1..w2 of |S(w)|^2 with S(w) = sum_i a_i e^{-j w tau_i}. Summed pair by pair
// it costs n^2 / 2 terms; here S is accumulated at the nodes of a Gauss-Legendre rule over the
// band and the mean of |S|^2 taken from them, which costs n * M. |S|^2 holds delay differences
// up to the span of the delays, so the rule is fitted to the band width times that span: M
// grows with both, and the result equals the pair sum to rounding (the rule is exact to double
// precision for every delay difference within the span). Arrivals may be added in any order
// and the mean read at any time, so running sums over arrivals sorted by time give the energy
// up to every limit in one pass.
//
// Several channels share the nodes and the delays: channel c sums g_c a_i, which gives the
// pair sums weighted by products of per-arrival factors (the rays' coordinates, say) through
// one sum per factor.
class BandPowerMean {
 public:
  // A rule for the band w1..w2 (rad/ms, in either order) and delays within tau1..tau2 (ms), for
  // nChannels >= 1 channels.
  BandPowerMean(double dOmega1, double dOmega2, double dTau1, double dTau2, int32_t nChannels);

  // Costs, in updates of one node of one channel: the sine and cosine of an angle, and a pair
  // term that takes no trigonometric call (a band average from precomputed sines and cosines).
  static constexpr double kSinCosCost = 12.0;
  static constexpr double kPlainPairCost = 2.0;

  // The nodes the rule for a band and a delay span takes: what a sum costs per arrival and
  // channel.
  static int64_t NodeCount(double dOmega1, double dOmega2, double dSpan);
  // Whether the rule costs less for n arrivals of that band and span than n (n - 1) / 2 pair
  // terms of dPairCost each (per channel). False for a span that is not a finite number.
  static bool IsCheaperThanPairs(int64_t n, double dOmega1, double dOmega2, double dSpan,
                                 int32_t nChannels, double dPairCost);

  // Adds the arrival dP e^{j dPhi} at delay dTau (inside the span given) to every channel c
  // with the factor daGain[c] (all 1 when daGain is empty).
  void Add(double dP, double dPhi, double dTau, std::span<const double> daGain = {});
  // The mean over the band of |S_c|^2 of the arrivals added so far.
  double Mean(int32_t iChannel) const;

 private:
  int32_t nodesPerPanel_;
  int32_t panels_;
  int32_t channels_;
  double tauMid_;
  double omegaFirst_;  // the centre of the first panel
  double panelWidth_;
  std::vector<double> offsets_;  // node offsets from their panel's centre, first half
  std::vector<double> weights_;  // node weights of one panel, summing to 1 / panels
  // Per channel and node: the real and imaginary parts of S.
  std::vector<double> re_;
  std::vector<double> im_;
  // Per-arrival scratch: e^{-j offset tau} for the first half of the nodes.
  std::vector<double> localRe_;
  std::vector<double> localIm_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_BAND_POWER_MEAN_H_
