// A frequency band as people name it on the command line: the number of a third-octave band
// (1 ... 21, as the files count them) or its nominal centre frequency in Hz.
#ifndef ZYRA_TOOLS_BAND_CHOICE_H_
#define ZYRA_TOOLS_BAND_CHOICE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zyra::tool {

inline constexpr int32_t kFirstBand = 1;  // 100 Hz
inline constexpr int32_t kLastBand = 21;  // 10 kHz
// A number below this is a band number, one from it on a frequency in Hz: band numbers end at
// 21 and the lowest centre frequency is 100 Hz, so no text means both.
inline constexpr double kLowestBandHz = 100.0;

// The band that `sText` names: "11", or "1000", "1000Hz", "1kHz", "1k" (Hz in any case). A
// frequency must be a band's nominal centre; anything else gives no value and a problem that
// says the rule and, for a frequency, the nearest centres.
std::optional<int32_t> ParseBand(std::string_view sText, std::string& sProblem);

// The nominal centre frequency of band iTerz1 (1 ... 21) in Hz.
int32_t BandFrequency(int32_t iTerz1);
// "1000Hz": the band as column names carry it.
std::string BandColumnText(int32_t iTerz1);

// The octave (1 ... 7, 125 ... 8000 Hz) whose centre band is iTerz1 (bands 2, 5, ... 20); no
// value for the others.
std::optional<int32_t> OctaveCentredOn(int32_t iTerz1);
// The centre band of octave iOctave (1 ... 7).
inline constexpr int32_t CentreBandOfOctave(int32_t iOctave) {
  return 3 * iOctave - 1;
}

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_BAND_CHOICE_H_
