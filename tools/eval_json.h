// The JSON of `zyra-rsp eval --json`: times, per-band energies, split parts, bins, Alcons over
// time and the derived parameters.
#ifndef ZYRA_TOOLS_EVAL_JSON_H_
#define ZYRA_TOOLS_EVAL_JSON_H_

#include <array>

#include "tools/json_forms.h"
#include "zyra/calc/calc_results.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/facade/response.h"

namespace zyra::tool {

// One per-band array of the results (22 slots) read through `get`.
template <class Get>
std::array<double, kBandSlots> BandArrayOf(Get&& get) {
  std::array<double, kBandSlots> values{};
  for (std::size_t i = 0; i < kBandSlots; ++i) values[i] = get(static_cast<int32_t>(i));
  return values;
}

Json TimesJson(const CCalcResults& r);
Json BandsJson(const CCalcResults& r);
Json SplitJson(const CCalcResults& r);
Json AlconsJson(const AlconsSettings& settings, const AlconsValues& values);
// The room-acoustic parameters: null wherever a value does not exist.
Json ParametersJson(const CParameterSet& parameters);
// The whole document; "parameters" only when they were computed (not with --direct-only).
Json EvalJson(const Evaluation& evaluation, const CParameterSet* parameters = nullptr);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_EVAL_JSON_H_
