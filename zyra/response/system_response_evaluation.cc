// The time and energy queries of the system response: arrival times and the reference
// loudspeaker, the direct sound per band, and the coherent (interference) energy of the pulses.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "zyra/response/system_response.h"
#include "zyra/support/band_power_mean.h"
#include "zyra/support/calculation.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"

namespace zyra {

namespace {

// What the precedence rule and the time walks need of one loudspeaker, fetched once.
struct LspTiming {
  double dArrival = 0.0;        // GetLspArrival
  double dDirectArrival = 0.0;  // GetPulsArrival of its direct pulse
  double dLevel11 = 0.0;        // the direct pulse's level in the reference band
  bool bDirectActive = false;   // the direct pulse counts in this calculation
  bool bAnyLevel = false;       // the direct pulse has a positive level in some band 1..21
};

// Whether the earlier of loudspeakers a and b keeps the precedence over the later one, and so
// which of the two wins. With equal arrivals a counts as the later. Beyond 50 ms the earlier
// one wins whenever it sounds at all; within 50 ms it wins unless the later one is louder in
// the reference band by more than the precedence allowance.
size_t PrecedenceWinner(const std::vector<LspTiming>& timings, size_t a, size_t b) {
  const bool bAIsEarlier = timings[a].dArrival < timings[b].dArrival;
  const size_t e = bAIsEarlier ? a : b;
  const size_t l = bAIsEarlier ? b : a;
  const double dt = timings[l].dDirectArrival - timings[e].dDirectArrival;
  if (dt > 50.0) return timings[e].bAnyLevel ? e : l;
  const double g = PrecedenceAllowance(dt);
  return timings[e].dLevel11 + g >= timings[l].dLevel11 ? e : l;
}

// The loudspeakers (0-based) in ascending order of arrival, equal arrivals in number order.
// This is the order an insertion sort gives that moves each new entry forward while it
// arrives strictly earlier than its predecessor: an entry with no arrival (NaN) compares
// false both ways, never moves and stops every later entry, so the runs between such entries
// are sorted on their own.
std::vector<size_t> SortByArrival(const std::vector<LspTiming>& timings) {
  std::vector<size_t> order(timings.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  const auto byArrival = [&timings](size_t x, size_t y) {
    return timings[x].dArrival < timings[y].dArrival;
  };
  size_t runStart = 0;
  for (size_t k = 0; k <= order.size(); ++k) {
    if (k < order.size() && !std::isnan(timings[k].dArrival)) continue;
    std::stable_sort(order.begin() + static_cast<std::ptrdiff_t>(runStart),
                     order.begin() + static_cast<std::ptrdiff_t>(k), byArrival);
    runStart = k + 1;
  }
  return order;
}

// 2 pi as the interference band limits have always used it, truncated.
constexpr double kTwoPiBand = 6.28318530717958;
// Below this half width h of a pair's phase sweep, sin(h)/h is taken from its series; the
// first term left out (h^6/5040) is below a double's resolution there.
constexpr double kSincSeriesLimit = 1e-2;

// The pulses of an interference sum with everything that does not depend on the pair
// precomputed, as parallel arrays (one entry per pulse with pressure). With tau the arrival
// relative to tRef, wc the band's mean angular frequency and beta half its width, a pair's
// phase sweep over the band has its centre x_i - x_j (x = phi - wc tau) and its half width
// h = beta (tau_i - tau_j); its band average of cos is cos(x_i - x_j) sin(h) / h, and both
// factors follow from the per-pulse sines and cosines of x and of beta tau by the angle-
// difference identities, so the pair loop needs no transcendental call.
struct InterferencePulses {
  std::vector<double> daTau, daP, daCosX, daSinX, daCosB, daSinB, daRay1, daRay2, daRay3;

  void Add(double dTau, double dP, double dX, double dBetaTau, const CPulsClass& cPuls) {
    daTau.push_back(dTau);
    daP.push_back(dP);
    daCosX.push_back(std::cos(dX));
    daSinX.push_back(std::sin(dX));
    daCosB.push_back(std::cos(dBetaTau));
    daSinB.push_back(std::sin(dBetaTau));
    daRay1.push_back(cPuls.RayX(1));
    daRay2.push_back(cPuls.RayX(2));
    daRay3.push_back(cPuls.RayX(3));
  }
  size_t Size() const noexcept { return daTau.size(); }
};

// One pulse as read for an interference sum.
struct InterferenceRead {
  const CPulsClass* cPuls;
  double dP;
  double dTau;  // arrival - tRef
  double dPhi;
};

// The band of an interference sum: its limits (rad/ms) and derived centre and half width.
struct InterferenceBand {
  double dOmega1, dOmega2;
  double Centre() const noexcept { return 0.5 * dOmega1 + 0.5 * dOmega2; }
  double HalfWidth() const noexcept { return 0.5 * (dOmega2 - dOmega1); }
};

InterferenceBand MakeInterferenceBand(int32_t iTerz1, double dBandwidth) {
  const double centre = static_cast<double>(iTerz1 - 11);
  return {kTwoPiBand * std::pow(2.0, (centre - 0.5 * dBandwidth) / 3.0),
          kTwoPiBand * std::pow(2.0, (centre + 0.5 * dBandwidth) / 3.0)};
}

// Sum over i < j of p_i cos(x_i - x_j) sin(h_ij)/h_ij, with kinetic summation also times the
// dot product of the rays; the caller multiplies by p_j and the pair factor.
template <bool kKinetic>
double PairSum(const InterferencePulses& in, size_t j, double dBeta) {
  const double* tau = in.daTau.data();
  const double* p = in.daP.data();
  const double* cx = in.daCosX.data();
  const double* sx = in.daSinX.data();
  const double* cb = in.daCosB.data();
  const double* sb = in.daSinB.data();
  const double tauJ = tau[j], cxJ = cx[j], sxJ = sx[j], cbJ = cb[j], sbJ = sb[j];
  const double r1J = in.daRay1[j], r2J = in.daRay2[j], r3J = in.daRay3[j];
  double sum = 0.0;
  for (size_t i = 0; i < j; ++i) {
    const double cosMid = cx[i] * cxJ + sx[i] * sxJ;
    const double h = dBeta * (tau[i] - tauJ);
    const double h2 = h * h;
    const double series = 1.0 - h2 / 6.0 * (1.0 - h2 / 20.0);
    const double sinH = sb[i] * cbJ - cb[i] * sbJ;
    const double sinc = std::fabs(h) < kSincSeriesLimit ? series : sinH / h;
    double w = p[i];
    if constexpr (kKinetic) {
      w *= in.daRay1[i] * r1J + in.daRay2[i] * r2J + in.daRay3[i] * r3J;
    }
    sum += w * cosMid * sinc;
  }
  return sum;
}

double PairSum(const InterferencePulses& in, size_t j, double dBeta, bool bIsKin) {
  return bIsKin ? PairSum<true>(in, j, dBeta) : PairSum<false>(in, j, dBeta);
}

// The energy as a Single; one that a Single cannot hold (or none at all) is error 6.
float EnergyAsSingle(double dEnergy) {
  if (!(std::fabs(dEnergy) <= static_cast<double>(FLT_MAX))) RaiseError(kErrOverflow);
  return static_cast<float>(dEnergy);
}

}  // namespace

int32_t CSystemResponse::CalculateTimes(bool bIsInterferenceOn, double& tFirst, double& tLast,
                                        double& tOff, double& tRef, double& tGap) const {
  const CLspInfoBufferClass& infos = *LspInfos();
  if (Pulses()->Count() == 0 || infos.Count() == 0) return 0;

  const auto n = static_cast<size_t>(infos.Count());
  std::vector<LspTiming> timings(n);
  size_t nActive = 0;
  for (size_t i = 0; i < n; ++i) {
    const auto iLsp = static_cast<int32_t>(i + 1);
    const CLspInfoClass& cLsp = infos.LspInfoRecord(iLsp);
    if (cLsp.IsActive()) ++nActive;
    LspTiming& timing = timings[i];
    timing.dArrival = GetLspArrival(iLsp);
    const CPulsClass& cDirect = Pulses()->PulsRecord(cLsp.PulsNr());
    timing.dDirectArrival = GetPulsArrival(cLsp.PulsNr());
    timing.dLevel11 = cDirect.GetSPLForCalc(kReferenceBand, bIsInterferenceOn);
    timing.bDirectActive = cDirect.IsActiveForCalc(bIsInterferenceOn);
    for (int32_t iBand = 1; iBand <= 21 && !timing.bAnyLevel; ++iBand) {
      timing.bAnyLevel = cDirect.GetSPLForCalc(iBand, bIsInterferenceOn) > 0.0;
    }
  }
  const std::vector<size_t> order = SortByArrival(timings);
  const auto at = [&](size_t k) -> const LspTiming& { return timings[order[k]]; };

  // The first and the last active loudspeaker whose direct sound counts; without one, the
  // last loudspeaker walked.
  for (size_t k = 0; k < nActive; ++k) {
    tFirst = at(k).dArrival;
    if (at(k).bDirectActive) break;
  }
  for (size_t k = nActive; k-- > 0;) {
    tLast = at(k).dArrival;
    if (at(k).bDirectActive) break;
  }

  // The reference: the latest counted loudspeaker that no earlier one keeps the precedence
  // over (the first counted one, or the first of all, when none takes it from there).
  size_t kRef = 0;
  while (kRef < nActive && !at(kRef).bDirectActive) ++kRef;
  if (kRef == nActive) kRef = 0;
  for (size_t k = kRef + 1; k < nActive; ++k) {
    if (!at(k).bDirectActive) continue;
    bool bEarlierKeeps = false;
    for (size_t m = 0; m < k && !bEarlierKeeps; ++m) {
      bEarlierKeeps = PrecedenceWinner(timings, order[k], order[m]) == order[m];
    }
    if (!bEarlierKeeps) kRef = k;
  }

  tRef = at(kRef).dArrival;
  tOff = tLast;
  tFirst -= tRef;
  tLast -= tRef;
  tOff -= tRef;

  // The gap between the first two counted direct sounds, walking all sorted loudspeakers.
  tGap = 0.0;
  bool bFirstSeen = false;
  double tFirstCounted = 0.0;
  for (size_t k = 0; k < n; ++k) {
    if (!at(k).bDirectActive) continue;
    if (bFirstSeen) {
      tGap = at(k).dArrival - tFirstCounted;
      break;
    }
    bFirstSeen = true;
    tFirstCounted = at(k).dArrival;
  }
  return 0;
}

bool CSystemResponse::CalculateDirectSound(double tRef, double tDiff, double tFirst,
                                           bool bIsInterferenceOn,
                                           std::array<double, 22>& daEDirect,
                                           std::array<double, 22>& daPressureMax, double& dEDirect0,
                                           double& tMean) const {
  // Each loudspeaker's direct pulse and its arrival, once; only those before tDiff count.
  struct Direct {
    const CPulsClass* cPuls;
    double dArrival;
  };
  const CLspInfoBufferClass& infos = *LspInfos();
  std::vector<Direct> directs;
  directs.reserve(static_cast<size_t>(infos.Count()));
  for (int32_t j = 1; j <= infos.Count(); ++j) {
    const int32_t iPuls = infos.LspInfoRecord(j).PulsNr();
    const CPulsClass* cPuls = &Pulses()->PulsRecord(iPuls);
    const double dArrival = GetPulsArrival(iPuls);
    if (dArrival - tRef < tDiff) directs.push_back({cPuls, dArrival});
  }

  bool bResult = false;
  double sumT = 0.0;
  for (size_t b = 1; b <= 21; ++b) {
    const auto iBand = static_cast<int32_t>(b);
    // Written through the references as they go: dEDirect0 may be daEDirect[0].
    daEDirect[b] = 0.0;
    daPressureMax[b] = 0.0;
    for (const Direct& direct : directs) {
      const double x = direct.cPuls->GetPressureForCalc(iBand, bIsInterferenceOn);
      if (daPressureMax[b] < x) daPressureMax[b] = x;
      daEDirect[b] += x * x;
      if (iBand == kReferenceBand) sumT += direct.dArrival * x * x;
    }
    dEDirect0 += daEDirect[b];
    if (daPressureMax[b] > 1.0) bResult = true;
  }
  const double eReference = daEDirect[kReferenceBand];
  tMean = eReference > 0.0 ? sumT / eReference - tRef : tFirst;
  return bResult;
}

namespace {

// Reads every pulse of the buffer for an interference sum in band iTerz1 (pressure with
// interference on, arrival relative to tRef, phase in radians), in pulse order, so that a
// pulse naming a missing loudspeaker fails whether it counts or not.
std::vector<InterferenceRead> ReadInterferencePulses(const CSystemResponse& rsp, int32_t iTerz1,
                                                     double tRef) {
  const CPulsBufferClass& buffer = *rsp.Pulses();
  std::vector<InterferenceRead> reads;
  reads.reserve(static_cast<size_t>(buffer.Count()));
  for (int32_t i = 1; i <= buffer.Count(); ++i) {
    const CPulsClass* cPuls = &buffer.PulsRecord(i);
    const double dP = cPuls->GetPressureForCalc(iTerz1, true);
    const double dTau = rsp.GetPulsArrival(i) - tRef;
    const double dPhi = cPuls->Phase(iTerz1) * 0.0001;
    reads.push_back({cPuls, dP, dTau, dPhi});
  }
  return reads;
}

// The factors of the two parts: the pulses' own energies are halved and the pair terms
// weighted 1.0 when exactly one of potential and kinetic summation is chosen; otherwise the
// own energies count whole and the pairs twice.
double OwnFactor(bool bIsPot, bool bIsKin) {
  return bIsPot != bIsKin ? 0.5 : 1.0;
}
double PairFactor(bool bIsPot, bool bIsKin) {
  return bIsPot != bIsKin ? 1.0 : 2.0;
}

double OwnEnergy(const std::vector<const InterferenceRead*>& counted) {
  double own = 0.0;
  for (const InterferenceRead* r : counted) own += r->dP * r->dP;
  return own;
}

// The pair sum sum_{i<k} p_i p_k (with kKinetic times the dot product of their rays) times the
// band average of cos(x_i - x_k) over the pulses counted[0 .. ends[j] - 1], for every j (for
// all pulses when ends is empty). Pair by pair when that is cheaper, else from the band mean
// of the power of the pulses' sum: |S|^2 averaged over the band is sum p_i^2 + 2 pairs, and
// with the rays, the three sums weighted by the rays' coordinates give sum p_i^2 |r_i|^2 +
// 2 pairs.
template <bool kKinetic>
std::vector<double> InterferencePairs(const std::vector<const InterferenceRead*>& counted,
                                      const InterferenceBand& band, bool bIncludePhaseLocal,
                                      std::vector<size_t> ends) {
  if (ends.empty()) ends.push_back(counted.size());
  std::vector<double> daPairs;
  daPairs.reserve(ends.size());
  const int32_t nChannels = kKinetic ? 3 : 1;
  double tauLo = 0.0;
  double tauHi = 0.0;
  for (size_t i = 0; i < counted.size(); ++i) {
    tauLo = i == 0 ? counted[i]->dTau : std::min(tauLo, counted[i]->dTau);
    tauHi = i == 0 ? counted[i]->dTau : std::max(tauHi, counted[i]->dTau);
  }
  const auto n = static_cast<int64_t>(counted.size());
  if (BandPowerMean::IsCheaperThanPairs(n, band.dOmega1, band.dOmega2, tauHi - tauLo, nChannels,
                                        BandPowerMean::kPlainPairCost)) {
    BandPowerMean sum(band.dOmega1, band.dOmega2, tauLo, tauHi, nChannels);
    double weighted = 0.0;  // sum p_i^2 |r_i|^2, or sum p_i^2
    size_t next = 0;
    for (const size_t end : ends) {
      for (; next < end; ++next) {
        const InterferenceRead& r = *counted[next];
        const double phi = bIncludePhaseLocal ? r.dPhi : 0.0;
        if constexpr (kKinetic) {
          const std::array<double, 3> ray{r.cPuls->RayX(1), r.cPuls->RayX(2), r.cPuls->RayX(3)};
          sum.Add(r.dP, phi, r.dTau, ray);
          weighted += r.dP * r.dP * (ray[0] * ray[0] + ray[1] * ray[1] + ray[2] * ray[2]);
        } else {
          sum.Add(r.dP, phi, r.dTau);
          weighted += r.dP * r.dP;
        }
      }
      double mean = 0.0;
      for (int32_t c = 0; c < nChannels; ++c) mean += sum.Mean(c);
      daPairs.push_back(0.5 * (mean - weighted));
    }
    return daPairs;
  }
  const double wc = band.Centre();
  const double beta = band.HalfWidth();
  InterferencePulses pulses;
  for (const InterferenceRead* r : counted) {
    const double x = (bIncludePhaseLocal ? r->dPhi : 0.0) - wc * r->dTau;
    pulses.Add(r->dTau, r->dP, x, beta * r->dTau, *r->cPuls);
  }
  double pairs = 0.0;
  size_t next = 0;
  for (const size_t end : ends) {
    for (; next < end; ++next) {
      if (next > 0) pairs += pulses.daP[next] * PairSum(pulses, next, beta, kKinetic);
    }
    daPairs.push_back(pairs);
  }
  return daPairs;
}

}  // namespace

float CSystemResponse::CalcInterferenceEnergy(int32_t iTerz1, double dBandwidth, bool bIsPot,
                                              bool bIsKin, bool bIncludePhaseLocal, double tRef,
                                              double tLimit) const {
  try {
    const std::vector<InterferenceRead> reads = ReadInterferencePulses(*this, iTerz1, tRef);
    const InterferenceBand band = MakeInterferenceBand(iTerz1, dBandwidth);
    std::vector<const InterferenceRead*> counted;
    for (const InterferenceRead& r : reads) {
      if (r.dTau <= tLimit && r.dP != 0.0) counted.push_back(&r);
    }
    const double own = OwnEnergy(counted);
    const double pairs =
        bIsKin ? InterferencePairs<true>(counted, band, bIncludePhaseLocal, {}).front()
               : InterferencePairs<false>(counted, band, bIncludePhaseLocal, {}).front();
    return EnergyAsSingle(OwnFactor(bIsPot, bIsKin) * own + PairFactor(bIsPot, bIsKin) * pairs);
  } catch (const RuntimeError& error) {
    ReportProcedureError("CalcInterferenceEnergy", error);
    return 0.0F;
  }
}

std::array<float, CSystemResponse::kCurveLimitCount> CSystemResponse::CalcInterferenceEnergyCurve(
    int32_t iTerz1, double dBandwidth, bool bIsPot, bool bIsKin, bool bIncludePhaseLocal,
    double tRef) const {
  std::array<float, kCurveLimitCount> faEnergy{};
  try {
    const std::vector<InterferenceRead> reads = ReadInterferencePulses(*this, iTerz1, tRef);
    const InterferenceBand band = MakeInterferenceBand(iTerz1, dBandwidth);

    // The first limit k that takes each pulse in (tau <= k), and the pulses ordered by it, so
    // that a pair belongs to the limit of its later member and every limit after it.
    const auto FirstLimit = [](double dTau) -> int32_t {
      if (dTau <= 0.0) return 0;
      if (dTau <= kCurveLimitCount - 1) return static_cast<int32_t>(std::ceil(dTau));
      return -1;  // beyond the last limit, or no arrival at all
    };
    std::array<std::vector<size_t>, kCurveLimitCount> byLimit;
    for (size_t i = 0; i < reads.size(); ++i) {
      const int32_t k = FirstLimit(reads[i].dTau);
      if (k >= 0 && reads[i].dP != 0.0) byLimit[static_cast<size_t>(k)].push_back(i);
    }
    // The pulses in the order of their first limit; ends[k] counts those up to limit k.
    std::vector<const InterferenceRead*> counted;
    std::vector<size_t> ends;
    for (const std::vector<size_t>& group : byLimit) {
      for (const size_t i : group) counted.push_back(&reads[i]);
      ends.push_back(counted.size());
    }
    const std::vector<double> daPairs =
        bIsKin ? InterferencePairs<true>(counted, band, bIncludePhaseLocal, ends)
               : InterferencePairs<false>(counted, band, bIncludePhaseLocal, ends);
    double own = 0.0;
    size_t next = 0;
    std::array<float, kCurveLimitCount> faResult{};
    for (size_t k = 0; k < faResult.size(); ++k) {
      for (; next < ends[k]; ++next) own += counted[next]->dP * counted[next]->dP;
      faResult[k] =
          EnergyAsSingle(OwnFactor(bIsPot, bIsKin) * own + PairFactor(bIsPot, bIsKin) * daPairs[k]);
    }
    faEnergy = faResult;
  } catch (const RuntimeError& error) {
    ReportProcedureError("CalcInterferenceEnergyCurve", error);
  }
  return faEnergy;
}

}  // namespace zyra
