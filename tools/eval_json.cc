#include "tools/eval_json.h"

#include <cmath>

namespace zyra::tool {
namespace {

template <class Get>
Json BandJson(Get&& get) {
  const auto values = BandArrayOf(get);
  return DoublesJson(values);
}

// A parameter value; null where it does not exist.
Json ValueJson(double value) {
  return std::isfinite(value) ? DoubleJson(value) : Json(nullptr);
}

template <std::size_t N>
Json ValuesJson(const std::array<double, N>& values) {
  Json array = Json::array();
  for (const double value : values) array.push_back(ValueJson(value));
  return array;
}

Json ModulationJson(const CModulationTransfer& mtf) {
  Json table = Json::array();
  for (const CModulationDepths& octave : mtf) table.push_back(ValuesJson(octave));
  return table;
}

}  // namespace

Json TimesJson(const CCalcResults& r) {
  return Json{{"tRef", DoubleJson(r.tRef())},   {"tFirst", DoubleJson(r.tFirst())},
              {"tLast", DoubleJson(r.tLast())}, {"tOff", DoubleJson(r.tOff())},
              {"tGap", DoubleJson(r.tGap())},   {"tMean", DoubleJson(r.tMean())},
              {"tHall", DoubleJson(r.tHall())}, {"tSplit", DoubleJson(r.tSplit())},
              {"tDiff", DoubleJson(r.tDiff())}};
}

Json BandsJson(const CCalcResults& r) {
  return Json{{"E7", BandJson([&](int32_t i) { return r.E7(i); })},
              {"E50", BandJson([&](int32_t i) { return r.E50(i); })},
              {"E80", BandJson([&](int32_t i) { return r.E80(i); })},
              {"ESplit", BandJson([&](int32_t i) { return r.ESplit(i); })},
              {"Etotal", BandJson([&](int32_t i) { return r.Etotal(i); })},
              {"EDirect", BandJson([&](int32_t i) { return r.EDirect(i); })},
              {"ETail", BandJson([&](int32_t i) { return r.ETail(i); })},
              {"SPLMax", BandJson([&](int32_t i) { return r.SPLMax(i); })}};
}

Json SplitJson(const CCalcResults& r) {
  constexpr int32_t kParts = CCalcResults::kSplitPartCount;
  constexpr int32_t kBands = CCalcResults::kBandCount;
  return Json{
      {"EDir", DoubleTable(kParts, kBands, [&](int32_t p, int32_t b) { return r.EDir(p, b); })},
      {"ERef", DoubleTable(kParts, kBands, [&](int32_t p, int32_t b) { return r.ERef(p, b); })},
      {"ERev", DoubleTable(kParts, kBands, [&](int32_t p, int32_t b) { return r.ERev(p, b); })}};
}

Json AlconsJson(const AlconsSettings& settings, const AlconsValues& values) {
  return Json{{"form", settings.bSti ? "sti" : "peutz"},
              {"noise", settings.bNoise},
              {"interference", settings.lInterfFlags},
              {"values", DoubleTable(3, kAlconsTimes, [&](int32_t a, int32_t t) {
                 return values[static_cast<std::size_t>(a)][static_cast<std::size_t>(t)];
               })}};
}

Json ParametersJson(const CParameterSet& p) {
  return Json{{"SchroederT1", DoubleJson(p.dSchroederT1)},
              {"SchroederT2", DoubleJson(p.dSchroederT2)},
              {"noise", p.bWithNoise},
              {"masking", p.bMasking},
              {"third", Json{{"EDT", ValuesJson(p.EDT)},
                             {"T20", ValuesJson(p.T20)},
                             {"T30", ValuesJson(p.T30)},
                             {"SchrRTime", ValuesJson(p.SchrRTime)},
                             {"SchrEtot", ValuesJson(p.SchrEtot)},
                             {"SchrETail", ValuesJson(p.SchrETail)},
                             {"Curvature", ValuesJson(p.Curvature)},
                             {"Ts", ValuesJson(p.Ts)},
                             {"G", ValuesJson(p.G)},
                             {"JLF", ValuesJson(p.JLF)},
                             {"JLFC", ValuesJson(p.JLFC)}}},
              {"octave", Json{{"EDT", ValuesJson(p.oEDT)},
                              {"T20", ValuesJson(p.oT20)},
                              {"T30", ValuesJson(p.oT30)},
                              {"SchrRTime", ValuesJson(p.oSchrRTime)},
                              {"Curvature", ValuesJson(p.oCurvature)},
                              {"C50", ValuesJson(p.oC50)},
                              {"C80", ValuesJson(p.oC80)},
                              {"D50", ValuesJson(p.oD50)},
                              {"Ts", ValuesJson(p.oTs)},
                              {"G", ValuesJson(p.oG)},
                              {"JLF", ValuesJson(p.oJLF)},
                              {"JLFC", ValuesJson(p.oJLFC)},
                              {"MTI", ValuesJson(p.oMTI)},
                              {"MTI_statistic", ValuesJson(p.oMTI_statistic)}}},
              {"mtf", ModulationJson(p.mtf)},
              {"mtf_statistic", ModulationJson(p.mtf_statistic)},
              {"single", Json{{"EDT", ValueJson(p.EDT_single)},
                              {"T20", ValueJson(p.T20_single)},
                              {"T30", ValueJson(p.T30_single)},
                              {"C50", ValueJson(p.C50_single)},
                              {"C80", ValueJson(p.C80_single)},
                              {"D50", ValueJson(p.D50_single)},
                              {"Ts", ValueJson(p.Ts_single)},
                              {"G", ValueJson(p.G_single)},
                              {"JLF", ValueJson(p.JLF_single)},
                              {"JLFC", ValueJson(p.JLFC_single)}}},
              {"STI", ValueJson(p.STI)},
              {"STI_statistic", ValueJson(p.STI_statistic)},
              {"STIPA", ValueJson(p.STIPA)},
              {"STI_rating", p.STI_rating.empty() ? Json(nullptr) : Json(p.STI_rating)},
              {"Alcons_STI", ValueJson(p.Alcons_STI)}};
}

Json EvalJson(const Evaluation& evaluation, const CParameterSet* parameters) {
  const CCalcResults& r = *evaluation.results;
  constexpr int32_t kBins = CCalcResults::kTimeBinCount;
  constexpr int32_t kAlconsBands = CCalcResults::kAlconsBandCount;
  const auto e50 = BandArrayOf([&](int32_t i) { return r.E50(i); });
  const auto e80 = BandArrayOf([&](int32_t i) { return r.E80(i); });
  const auto total = BandArrayOf([&](int32_t i) { return r.Etotal(i); });
  Json document{
      {"calculate",
       Json{{"result", evaluation.lCalcResult}, {"IsNoDirectSound", r.IsNoDirectSound()}}},
      {"times", TimesJson(r)},
      {"bands", BandsJson(r)},
      {"split", SplitJson(r)},
      {"Exx", DoubleTable(kBins, kAlconsBands, [&](int32_t k, int32_t a) { return r.Exx(k, a); })},
      {"ExxSum",
       DoubleTable(kBins, kAlconsBands, [&](int32_t k, int32_t a) { return r.ExxSum(k, a); })},
      {"ExxHallSum", DoubleTable(kBins, CCalcResults::kBandCount,
                                 [&](int32_t k, int32_t b) { return r.ExxHallSum(k, b); })},
      {"alcons", AlconsJson(evaluation.alcons, evaluation.alconsValues)},
      {"derived", DerivedJson(e50, e80, total)}};
  if (parameters != nullptr) document["parameters"] = ParametersJson(*parameters);
  return document;
}

}  // namespace zyra::tool
