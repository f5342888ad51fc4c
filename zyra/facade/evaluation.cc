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

// The third-octave bands 1 ... 21 of an array indexed iTerz1.
std::vector<double> Bands(const CParameterSet::Bands& values) {
  return {values.begin() + 1, values.end()};
}
std::vector<double> Octaves(const CParameterSet::Octaves& values) {
  return {values.begin(), values.end()};
}

void AddParameterColumns(BandTable& third, BandTable& octave, const CParameterSet& p) {
  third.Add("EDT", "s", Bands(p.EDT));
  third.Add("T20", "s", Bands(p.T20));
  third.Add("T30", "s", Bands(p.T30));
  third.Add("SchrRTime", "s", Bands(p.SchrRTime));
  third.Add("SchrEtot", "", Bands(p.SchrEtot));
  third.Add("SchrETail", "", Bands(p.SchrETail));
  third.Add("Curvature", "%", Bands(p.Curvature));
  third.Add("Ts", "ms", Bands(p.Ts));
  third.Add("G", "dB", Bands(p.G));
  third.Add("JLF", "", Bands(p.JLF));
  third.Add("JLFC", "", Bands(p.JLFC));
  octave.Add("EDT", "s", Octaves(p.oEDT));
  octave.Add("T20", "s", Octaves(p.oT20));
  octave.Add("T30", "s", Octaves(p.oT30));
  octave.Add("SchrRTime", "s", Octaves(p.oSchrRTime));
  octave.Add("Curvature", "%", Octaves(p.oCurvature));
  octave.Add("C50", "dB", Octaves(p.oC50));
  octave.Add("C80", "dB", Octaves(p.oC80));
  octave.Add("D50", "", Octaves(p.oD50));
  octave.Add("Ts", "ms", Octaves(p.oTs));
  octave.Add("G", "dB", Octaves(p.oG));
  octave.Add("JLF", "", Octaves(p.oJLF));
  octave.Add("JLFC", "", Octaves(p.oJLFC));
  octave.Add("MTI", "", Octaves(p.oMTI));
  octave.Add("MTI_statistic", "", Octaves(p.oMTI_statistic));
}

}  // namespace

std::vector<double> ThirdOctaveFrequencies() {
  return PerBand([](int32_t b) { return static_cast<double>(GetTerzFrequency(b - 1)); });
}

std::vector<double> OctaveFrequencies() {
  std::vector<double> frequencies(kOctaveCount);
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    frequencies[static_cast<std::size_t>(k - 1)] = OctaveFrequency(k);
  }
  return frequencies;
}

Evaluation::Evaluation(std::shared_ptr<CCalcResults> cResults, bool bReflections,
                       const AlconsSettings& settings, const AlconsValues& values,
                       std::optional<CParameterSet> cParameters,
                       std::shared_ptr<const CSchroederParameters> cDecays)
    : bWithReflections(bReflections),
      results(std::move(cResults)),
      alcons(settings),
      alconsValues(values),
      third(ThirdOctaveFrequencies()),
      octave(OctaveFrequencies()),
      parameters(std::move(cParameters)),
      decays(std::move(cDecays)) {
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
  // Without parameters every parameter column exists and holds NaN: a direct-sound evaluation
  // has no decay to fit.
  AddParameterColumns(third, octave, parameters ? *parameters : CParameterSet{});
}

std::vector<NamedValue> Evaluation::SingleNumbers() const {
  const CParameterSet& p = parameters ? *parameters : CParameterSet{};
  return {{"EDT", "s", p.EDT_single},  {"T20", "s", p.T20_single},
          {"T30", "s", p.T30_single},  {"C50", "dB", p.C50_single},
          {"C80", "dB", p.C80_single}, {"D50", "", p.D50_single},
          {"Ts", "ms", p.Ts_single},   {"G", "dB", p.G_single},
          {"JLF", "", p.JLF_single},   {"JLFC", "", p.JLFC_single},
          {"STI", "", p.STI},          {"STI_statistic", "", p.STI_statistic},
          {"STIPA", "", p.STIPA},      {"Alcons_STI", "%", p.Alcons_STI}};
}

double Evaluation::Single(std::string_view sName) const {
  for (const NamedValue& value : SingleNumbers()) {
    if (value.sName == sName) return value.dValue;
  }
  RaiseError(kErrInvalidCall);
}

CDecayCurve Evaluation::DecayCurve(double dHz) const {
  const int32_t iBand = third.BandAt(dHz);
  return decays ? decays->DecayCurve(iBand + 1) : CDecayCurve{};
}

CDecayCurve Evaluation::OctaveDecayCurve(double dHz) const {
  const int32_t iOctave = octave.BandAt(dHz);
  return decays ? decays->OctaveDecayCurve(iOctave + 1) : CDecayCurve{};
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
