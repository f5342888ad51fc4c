#include "tools/eval_json.h"

namespace zyra::tool {
namespace {

template <class Get>
Json BandJson(Get&& get) {
  const auto values = BandArrayOf(get);
  return DoublesJson(values);
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

Json EvalJson(const Evaluation& evaluation) {
  const CCalcResults& r = *evaluation.results;
  constexpr int32_t kBins = CCalcResults::kTimeBinCount;
  constexpr int32_t kAlconsBands = CCalcResults::kAlconsBandCount;
  const auto e50 = BandArrayOf([&](int32_t i) { return r.E50(i); });
  const auto e80 = BandArrayOf([&](int32_t i) { return r.E80(i); });
  const auto total = BandArrayOf([&](int32_t i) { return r.Etotal(i); });
  return Json{
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
}

}  // namespace zyra::tool
