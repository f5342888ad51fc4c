#include "zyra/facade/evaluation.h"

#include <cmath>
#include <limits>

#include "zyra/facade/derived.h"

namespace zyra {
namespace {

constexpr int32_t kThirdOctaves = CCalcResults::kBandCount - 1;  // bands 1 ... 21
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class Get>
std::vector<double> PerBand(Get&& get) {
  std::vector<double> values(kThirdOctaves);
  for (int32_t b = 1; b <= kThirdOctaves; ++b) {
    values[static_cast<std::size_t>(b - 1)] = get(b);
  }
  return values;
}

double ValueOr(std::optional<double> value) {
  return value.value_or(kNaN);
}

}  // namespace

std::vector<double> ThirdOctaveFrequencies() {
  return PerBand([](int32_t b) { return static_cast<double>(GetTerzFrequency(b - 1)); });
}

Evaluation::Evaluation(std::shared_ptr<CCalcResults> cResults, bool bReflections,
                       const AlconsSettings& settings, const AlconsValues& values)
    : bWithReflections(bReflections),
      results(std::move(cResults)),
      alcons(settings),
      alconsValues(values),
      third(ThirdOctaveFrequencies()) {
  const CCalcResults& r = *Required(results);
  bIsNoDirectSound = r.IsNoDirectSound();
  times = {r.tRef(),  r.tFirst(), r.tLast(),  r.tOff(), r.tGap(),
           r.tMean(), r.tHall(),  r.tSplit(), r.tDiff()};
  third.Add("E7", "", PerBand([&](int32_t b) { return r.E7(b); }));
  third.Add("E50", "", PerBand([&](int32_t b) { return r.E50(b); }));
  third.Add("E80", "", PerBand([&](int32_t b) { return r.E80(b); }));
  third.Add("ESplit", "", PerBand([&](int32_t b) { return r.ESplit(b); }));
  third.Add("Etotal", "", PerBand([&](int32_t b) { return r.Etotal(b); }));
  third.Add("EDirect", "", PerBand([&](int32_t b) { return r.EDirect(b); }));
  third.Add("SPLMax", "", PerBand([&](int32_t b) { return r.SPLMax(b); }));
  third.Add("level_total", "dB",
            PerBand([&](int32_t b) { return ValueOr(TotalLevel(r.Etotal(b))); }));
  third.Add("level_direct", "dB",
            PerBand([&](int32_t b) { return ValueOr(TotalLevel(r.EDirect(b))); }));
  third.Add("C50", "dB",
            PerBand([&](int32_t b) { return ValueOr(Clarity(r.E50(b), r.Etotal(b))); }));
  third.Add("C80", "dB",
            PerBand([&](int32_t b) { return ValueOr(Clarity(r.E80(b), r.Etotal(b))); }));
  third.Add("D50", "",
            PerBand([&](int32_t b) { return ValueOr(Definition(r.E50(b), r.Etotal(b))); }));
}

double Evaluation::Alcons_pct(double dHz, int32_t tUseful) const {
  constexpr std::array<double, CCalcResults::kAlconsBandCount> kAlconsHz{500.0, 1000.0, 2000.0};
  for (std::size_t a = 0; a < kAlconsHz.size(); ++a) {
    if (std::abs(std::log2(dHz / kAlconsHz[a])) < 1.0 / 6.0) {
      if (tUseful < 0 || tUseful >= kAlconsTimes) RaiseError(kErrSubscript);
      return alconsValues[a][static_cast<std::size_t>(tUseful)];
    }
  }
  RaiseError(kErrSubscript);
}

}  // namespace zyra
