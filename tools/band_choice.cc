#include "tools/band_choice.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <system_error>

#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

bool EndsWithHz(std::string_view sText) {
  return sText.size() >= 2 &&
         std::tolower(static_cast<unsigned char>(sText[sText.size() - 2])) == 'h' &&
         std::tolower(static_cast<unsigned char>(sText.back())) == 'z';
}

std::string RuleText() {
  return "name a band by its number 1 ... 21 or by its centre frequency in Hz (100, 125, 160, "
         "200, 250, 315, 400, 500, 630, 800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, "
         "6300, 8000, 10000)";
}

}  // namespace

int32_t BandFrequency(int32_t iTerz1) {
  return GetTerzFrequency(iTerz1 - 1);
}

std::string BandColumnText(int32_t iTerz1) {
  return std::to_string(BandFrequency(iTerz1)) + "Hz";
}

std::optional<int32_t> OctaveCentredOn(int32_t iTerz1) {
  if (iTerz1 < kFirstBand || iTerz1 > kLastBand || (iTerz1 + 1) % 3 != 0) return std::nullopt;
  return (iTerz1 + 1) / 3;
}

std::optional<int32_t> ParseBand(std::string_view sText, std::string& sProblem) {
  const std::string given(sText);
  std::string_view number = sText;
  bool bHz = false;
  double scale = 1.0;
  if (EndsWithHz(number)) {
    number.remove_suffix(2);
    bHz = true;
  }
  while (!number.empty() && number.back() == ' ') number.remove_suffix(1);
  if (!number.empty() && (number.back() == 'k' || number.back() == 'K')) {
    number.remove_suffix(1);
    bHz = true;
    scale = 1000.0;
  }
  while (!number.empty() && number.back() == ' ') number.remove_suffix(1);
  double value = 0.0;
  const auto parsed = std::from_chars(number.data(), number.data() + number.size(), value);
  if (number.empty() || parsed.ec != std::errc{} || parsed.ptr != number.data() + number.size() ||
      !std::isfinite(value)) {
    sProblem = "'" + given + "' is not a band: " + RuleText();
    return std::nullopt;
  }
  value *= scale;
  if (!bHz && value < kLowestBandHz) {
    const auto band = static_cast<int32_t>(value);
    if (band == value && band >= kFirstBand && band <= kLastBand) return band;
    sProblem = "no band " + given + ": " + RuleText();
    return std::nullopt;
  }
  // A frequency: exactly a nominal centre, else the nearest centres below and above.
  int32_t below = 0;
  for (int32_t band = kFirstBand; band <= kLastBand; ++band) {
    if (BandFrequency(band) == value) return band;
    if (BandFrequency(band) < value) below = band;
  }
  std::string nearest;
  if (below >= kFirstBand) nearest = std::to_string(BandFrequency(below)) + " Hz";
  if (below < kLastBand) {
    nearest += (nearest.empty() ? "" : " or ") + std::to_string(BandFrequency(below + 1)) + " Hz";
  }
  sProblem =
      "'" + given + "' is not a band's centre frequency (nearest: " + nearest + "); " + RuleText();
  return std::nullopt;
}

}  // namespace zyra::tool
