// The JSON forms of the tool's output: numbers that read back exactly, Latin-1 texts as UTF-8,
// arrays and tables, and the derived room-acoustic parameters of an evaluation.
#ifndef ZYRA_TOOLS_JSON_FORMS_H_
#define ZYRA_TOOLS_JSON_FORMS_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "zyra/facade/derived.h"
#include "zyra/facade/text_forms.h"

namespace zyra::tool {

// Objects keep their keys in the order written, so the output follows the documented layouts.
using Json = nlohmann::ordered_json;

// A Single in the shortest text that reads back to the same float (0.1f is 0.1, not
// 0.100000001490116); NaN and the infinities as the strings "NaN", "Infinity", "-Infinity".
Json SingleJson(float value);
// A Double in the shortest text that reads back to the same double; non-finite as above.
Json DoubleJson(double value);
// An optional Double: null when absent.
Json DoubleJson(std::optional<double> value);

// A text of one byte per character (Latin-1, 0 ... 255) as a UTF-8 string.
Json TextJson(std::string_view sLatin1);

Json SinglesJson(std::span<const float> values);
Json IntegersJson(std::span<const int16_t> values);
Json LongsJson(std::span<const int32_t> values);
Json DoublesJson(std::span<const double> values);

// A table of nRows arrays of nCols Doubles, element [i][j] = at(i, j), both from 0; serves
// the [4][22] split arrays, the [51][3] bins and the [3][51] Alcons values alike.
template <class At>
Json DoubleTable(int32_t nRows, int32_t nCols, At&& at) {
  Json table = Json::array();
  for (int32_t i = 0; i < nRows; ++i) {
    Json row = Json::array();
    for (int32_t j = 0; j < nCols; ++j) row.push_back(DoubleJson(static_cast<double>(at(i, j))));
    table.push_back(std::move(row));
  }
  return table;
}
// The same from values stored row after row (values.size() must be nRows * nCols).
Json DoubleTable(std::span<const double> values, int32_t nRows, int32_t nCols);

// The derived parameters of an evaluation, per band (22 slots, slot 0 included). Each returns
// no value where the parameter does not exist: a ratio whose denominator is zero, or a
// logarithm of a value <= 0.
inline constexpr std::size_t kBandSlots = 22;
using BandEnergies = std::span<const double, kBandSlots>;
using BandValues = std::array<std::optional<double>, kBandSlots>;

// Clarity, Definition and TotalLevel (zyra/facade/derived.h) over the 22 slots.
BandValues ClarityBands(BandEnergies daEarly, BandEnergies daTotal);
BandValues DefinitionBands(BandEnergies daE50, BandEnergies daTotal);
BandValues TotalLevelBands(BandEnergies daTotal);

// {"C50": [22], "C80": [22], "D50": [22], "level_total_dB": [22]}, null where no value.
Json DerivedJson(BandEnergies daE50, BandEnergies daE80, BandEnergies daTotal);
Json BandValuesJson(const BandValues& values);

// The document as the tool prints it: indented by two, UTF-8, ending with a newline.
std::string JsonText(const Json& document);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_JSON_FORMS_H_
