#include "tools/json_forms.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace zyra::tool {
namespace {

Json NonFiniteJson(double value) {
  if (std::isnan(value)) return "NaN";
  return value > 0 ? "Infinity" : "-Infinity";
}

}  // namespace

Json SingleJson(float value) {
  if (!std::isfinite(value)) return NonFiniteJson(value);
  // The shortest float text, read as a double: the JSON writer prints the shortest text of that
  // double, which is the float's text again (the double nearest to it reads back to the float).
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double widened = 0.0;
  std::from_chars(text, written.ptr, widened);
  return widened;
}

Json DoubleJson(double value) {
  if (!std::isfinite(value)) return NonFiniteJson(value);
  return value;
}

Json DoubleJson(std::optional<double> value) {
  return value ? DoubleJson(*value) : Json(nullptr);
}

Json TextJson(std::string_view sLatin1) {
  return Latin1ToUtf8(sLatin1);
}

Json SinglesJson(std::span<const float> values) {
  Json array = Json::array();
  for (const float value : values) array.push_back(SingleJson(value));
  return array;
}

Json IntegersJson(std::span<const int16_t> values) {
  Json array = Json::array();
  for (const int16_t value : values) array.push_back(value);
  return array;
}

Json LongsJson(std::span<const int32_t> values) {
  Json array = Json::array();
  for (const int32_t value : values) array.push_back(value);
  return array;
}

Json DoublesJson(std::span<const double> values) {
  Json array = Json::array();
  for (const double value : values) array.push_back(DoubleJson(value));
  return array;
}

Json DoubleTable(std::span<const double> values, int32_t nRows, int32_t nCols) {
  return DoubleTable(nRows, nCols, [&](int32_t i, int32_t j) {
    return values[static_cast<std::size_t>(i) * static_cast<std::size_t>(nCols) +
                  static_cast<std::size_t>(j)];
  });
}

BandValues ClarityBands(BandEnergies daEarly, BandEnergies daTotal) {
  BandValues values;
  for (std::size_t i = 0; i < kBandSlots; ++i) values[i] = Clarity(daEarly[i], daTotal[i]);
  return values;
}

BandValues DefinitionBands(BandEnergies daE50, BandEnergies daTotal) {
  BandValues values;
  for (std::size_t i = 0; i < kBandSlots; ++i) values[i] = Definition(daE50[i], daTotal[i]);
  return values;
}

BandValues TotalLevelBands(BandEnergies daTotal) {
  BandValues values;
  for (std::size_t i = 0; i < kBandSlots; ++i) values[i] = TotalLevel(daTotal[i]);
  return values;
}

Json BandValuesJson(const BandValues& values) {
  Json array = Json::array();
  for (const auto& value : values) array.push_back(DoubleJson(value));
  return array;
}

Json DerivedJson(BandEnergies daE50, BandEnergies daE80, BandEnergies daTotal) {
  return Json{{"C50", BandValuesJson(ClarityBands(daE50, daTotal))},
              {"C80", BandValuesJson(ClarityBands(daE80, daTotal))},
              {"D50", BandValuesJson(DefinitionBands(daE50, daTotal))},
              {"level_total_dB", BandValuesJson(TotalLevelBands(daTotal))}};
}

std::string JsonText(const Json& document) {
  return document.dump(2, ' ', false, Json::error_handler_t::strict) + "\n";
}

}  // namespace zyra::tool
