#include "zyra/support/band_power_mean.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "zyra/support/errors.h"

namespace zyra {

namespace {

// A Gauss-Legendre rule of m nodes on -1..1: the m / 2 positive nodes and their weights (the
// negative nodes mirror them).
struct LegendreRule {
  int32_t m = 0;
  std::vector<double> x;
  std::vector<double> w;
};

LegendreRule MakeLegendreRule(int32_t m) {
  LegendreRule rule;
  rule.m = m;
  for (int32_t i = 1; i <= m / 2; ++i) {
    // Newton's method from the usual first guess converges to the i-th largest root.
    double x = std::cos(std::numbers::pi * (i - 0.25) / (m + 0.5));
    double derivative = 1.0;
    for (int iteration = 0; iteration < 100; ++iteration) {
      double p0 = 1.0;
      double p1 = x;
      for (int32_t k = 2; k <= m; ++k) {
        const double p2 = ((2.0 * k - 1.0) * x * p1 - (k - 1.0) * p0) / k;
        p0 = p1;
        p1 = p2;
      }
      derivative = m * (x * p1 - p0) / (x * x - 1.0);
      const double step = p1 / derivative;
      x -= step;
      if (std::fabs(step) < 1e-17) break;
    }
    rule.x.push_back(x);
    rule.w.push_back(2.0 / ((1.0 - x * x) * derivative * derivative));
  }
  return rule;
}

// The rules in use, with the largest kappa = (half the panel width) * (delay span) each one
// integrates e^{j kappa x} over -1..1 exactly to double precision (the error of m nodes falls
// off steeply once kappa passes about 0.6 m to 1.3 m; these limits keep a margin below that).
struct RuleChoice {
  int32_t m;
  double kappaLimit;
};
constexpr std::array<RuleChoice, 4> kRules{{{8, 1.0}, {16, 6.0}, {24, 12.0}, {32, 20.0}}};
// Beyond the largest single rule, the band is cut into panels of the last rule.
constexpr RuleChoice kPanelRule = kRules.back();
// Every so many panels the running rotation is taken afresh, so that its rounding stays small.
constexpr int32_t kReanchorPanels = 8;

const LegendreRule& Rule(int32_t m) {
  static const std::array<LegendreRule, kRules.size()> rules = [] {
    std::array<LegendreRule, kRules.size()> made;
    for (size_t i = 0; i < kRules.size(); ++i) made[i] = MakeLegendreRule(kRules[i].m);
    return made;
  }();
  for (const LegendreRule& rule : rules) {
    if (rule.m == m) return rule;
  }
  RaiseError(kErrInvalidCall);
}

struct Layout {
  int32_t m;
  int32_t panels;
};

Layout LayoutFor(double dOmega1, double dOmega2, double dSpan) {
  const double kappa = 0.5 * std::fabs(dOmega2 - dOmega1) * std::fabs(dSpan);
  for (const RuleChoice& choice : kRules) {
    if (kappa <= choice.kappaLimit) return {choice.m, 1};
  }
  const double panels = std::ceil(kappa / kPanelRule.kappaLimit);
  // A span no rule can follow (not a number, or beyond any response) is refused.
  if (!(panels < 1e7)) RaiseError(kErrOverflow);
  return {kPanelRule.m, static_cast<int32_t>(panels)};
}

}  // namespace

int64_t BandPowerMean::NodeCount(double dOmega1, double dOmega2, double dSpan) {
  const Layout layout = LayoutFor(dOmega1, dOmega2, dSpan);
  return int64_t{layout.m} * layout.panels;
}

bool BandPowerMean::IsCheaperThanPairs(int64_t n, double dOmega1, double dOmega2, double dSpan,
                                       int32_t nChannels, double dPairCost) {
  const double kappa = 0.5 * std::fabs(dOmega2 - dOmega1) * std::fabs(dSpan);
  if (!(kappa < 1e7 * kPanelRule.kappaLimit)) return false;
  const Layout layout = LayoutFor(dOmega1, dOmega2, dSpan);
  // Per arrival: the sines and cosines of the half-rule offsets, the rotation and the
  // re-anchorings, and one update per node and channel.
  const int32_t nSinCos = layout.m / 2 + 2 + layout.panels / kReanchorPanels;
  const double perArrival = kSinCosCost * nSinCos +
                            static_cast<double>(layout.m) * layout.panels * std::max(nChannels, 1);
  const auto count = static_cast<double>(n);
  return count * perArrival < 0.5 * count * (count - 1.0) * dPairCost * std::max(nChannels, 1);
}

BandPowerMean::BandPowerMean(double dOmega1, double dOmega2, double dTau1, double dTau2,
                             int32_t nChannels) {
  if (nChannels < 1) RaiseError(kErrInvalidCall);
  const double lo = std::min(dOmega1, dOmega2);
  const double hi = std::max(dOmega1, dOmega2);
  const Layout layout = LayoutFor(lo, hi, dTau2 - dTau1);
  nodesPerPanel_ = layout.m;
  panels_ = layout.panels;
  channels_ = nChannels;
  // Delays are taken from the middle of their span, so that the phases stay small.
  tauMid_ = 0.5 * dTau1 + 0.5 * dTau2;
  panelWidth_ = (hi - lo) / panels_;
  omegaFirst_ = lo + 0.5 * panelWidth_;
  const LegendreRule& rule = Rule(nodesPerPanel_);
  for (size_t k = 0; k < rule.x.size(); ++k) {
    offsets_.push_back(0.5 * panelWidth_ * rule.x[k]);
    // Each panel's rule sums to 2; the panels together to 1, the mean over the band.
    weights_.push_back(rule.w[k] / (2.0 * panels_));
  }
  const auto nodes = static_cast<size_t>(nodesPerPanel_) * static_cast<size_t>(panels_);
  re_.assign(nodes * static_cast<size_t>(channels_), 0.0);
  im_.assign(nodes * static_cast<size_t>(channels_), 0.0);
  localRe_.resize(offsets_.size());
  localIm_.resize(offsets_.size());
}

void BandPowerMean::Add(double dP, double dPhi, double dTau, std::span<const double> daGain) {
  if (!daGain.empty() && daGain.size() != static_cast<size_t>(channels_)) {
    RaiseError(kErrInvalidCall);
  }
  const double t = dTau - tauMid_;
  const size_t half = offsets_.size();
  // e^{-j offset t} for the positive offsets; the negative ones are their conjugates.
  for (size_t k = 0; k < half; ++k) {
    localRe_[k] = std::cos(offsets_[k] * t);
    localIm_[k] = -std::sin(offsets_[k] * t);
  }
  const double rotRe = std::cos(panelWidth_ * t);
  const double rotIm = -std::sin(panelWidth_ * t);
  const auto m = static_cast<size_t>(nodesPerPanel_);
  const size_t nodes = m * static_cast<size_t>(panels_);
  double cRe = 0.0;
  double cIm = 0.0;
  for (int32_t s = 0; s < panels_; ++s) {
    // The arrival at the panel's centre: p e^{j (phi - w_s t)}.
    if (s % kReanchorPanels == 0) {
      const double angle = dPhi - (omegaFirst_ + s * panelWidth_) * t;
      cRe = dP * std::cos(angle);
      cIm = dP * std::sin(angle);
    } else {
      const double re = cRe * rotRe - cIm * rotIm;
      cIm = cRe * rotIm + cIm * rotRe;
      cRe = re;
    }
    for (int32_t c = 0; c < channels_; ++c) {
      const double g = daGain.empty() ? 1.0 : daGain[static_cast<size_t>(c)];
      const double gRe = g * cRe;
      const double gIm = g * cIm;
      double* re = re_.data() + static_cast<size_t>(c) * nodes + static_cast<size_t>(s) * m;
      double* im = im_.data() + static_cast<size_t>(c) * nodes + static_cast<size_t>(s) * m;
      for (size_t k = 0; k < half; ++k) {
        const double a = gRe * localRe_[k];
        const double b = gIm * localIm_[k];
        const double d = gRe * localIm_[k];
        const double e = gIm * localRe_[k];
        re[k] += a - b;  // the node at +offset: C L
        im[k] += d + e;
        re[half + k] += a + b;  // the node at -offset: C conj(L)
        im[half + k] += e - d;
      }
    }
  }
}

double BandPowerMean::Mean(int32_t iChannel) const {
  if (iChannel < 0 || iChannel >= channels_) RaiseError(kErrSubscript);
  const auto m = static_cast<size_t>(nodesPerPanel_);
  const size_t half = m / 2;
  const size_t nodes = m * static_cast<size_t>(panels_);
  const double* re = re_.data() + static_cast<size_t>(iChannel) * nodes;
  const double* im = im_.data() + static_cast<size_t>(iChannel) * nodes;
  double mean = 0.0;
  for (size_t node = 0; node < nodes; ++node) {
    mean += weights_[node % m % half] * (re[node] * re[node] + im[node] * im[node]);
  }
  return mean;
}

}  // namespace zyra
