#include "tools/receiver_columns.h"

#include <algorithm>
#include <limits>

#include "tools/band_choice.h"

namespace zyra::tool {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// ISO 3382-1's single numbers: means over these octaves.
constexpr const char* kMidOctaves = "mean of the 500 Hz and 1 kHz octaves";
constexpr const char* kLowOctaves = "mean of the 125 Hz to 1 kHz octaves";

// One parameter: its name and unit, whether it has a single number, and the names of its octave
// and third-octave columns in the evaluation (null where it has none).
struct Parameter {
  const char* sName;
  const char* sUnit;
  int32_t iDecimals;  // in the table for people
  bool bSingle;
  const char* sOctave;
  const char* sThird;
  // What the single number stands for; null for a value that is single by nature (STI).
  const char* sSingleOf = kMidOctaves;
};

// The single numbers in this order, then the rating, then the bands parameter by parameter.
const std::vector<Parameter>& Parameters() {
  static const std::vector<Parameter> table = {
      {"EDT", "s", 2, true, "EDT", "EDT"},
      {"T20", "s", 2, true, "T20", "T20"},
      {"T30", "s", 2, true, "T30", "T30"},
      {"SchrRTime", "s", 2, false, "SchrRTime", "SchrRTime"},
      {"Curvature", "%", 1, false, "Curvature", "Curvature"},
      {"C50", "dB", 1, true, "C50", "C50"},
      {"C80", "dB", 1, true, "C80", "C80"},
      {"D50", "", 2, true, "D50", "D50"},
      {"Ts", "ms", 1, true, "Ts", "Ts"},
      {"G", "dB", 1, true, "G", "G"},
      {"JLF", "", 2, true, "JLF", "JLF", kLowOctaves},
      {"JLFC", "", 2, true, "JLFC", "JLFC", kLowOctaves},
      {"level_total", "dB", 1, false, nullptr, "level_total"},
      {"MTI", "", 2, false, "MTI", nullptr},
      {"MTI_statistic", "", 2, false, "MTI_statistic", nullptr},
      {"STI", "", 2, true, nullptr, nullptr, nullptr},
      {"STI_statistic", "", 2, true, nullptr, nullptr, nullptr},
      {"STIPA", "", 2, true, nullptr, nullptr, nullptr},
      {"Alcons_STI", "%", 1, true, nullptr, nullptr, nullptr},
  };
  return table;
}

bool HasOctaves(const Parameter& p) {
  return p.sOctave != nullptr;
}
bool HasThirds(const Parameter& p) {
  return p.sThird != nullptr;
}

// The unit as a name ends: "_dB", "_pct", nothing for a ratio.
std::string UnitSuffix(const std::string& sUnit) {
  if (sUnit.empty()) return "";
  return "_" + (sUnit == "%" ? std::string("pct") : sUnit);
}

std::string SingleName(const Parameter& p) {
  return p.sName + UnitSuffix(p.sUnit);
}
std::string BandName(const Parameter& p, int32_t iTerz1) {
  return std::string(p.sName) + "_" + BandColumnText(iTerz1) + UnitSuffix(p.sUnit);
}

}  // namespace

RowSchema::RowSchema(RowBands eBands) : eBands_(eBands) {
  const auto add = [this](std::string sName, std::string sUnit, int32_t iDecimals, Getter get) {
    const auto iValue = static_cast<int32_t>(getters_.size()) + kPositionValues;
    columns_.push_back(
        {std::move(sName), ColumnKind::kNumber, std::move(sUnit), iDecimals, iValue});
    getters_.push_back(std::move(get));
  };
  const auto text = [this](std::string sName, ColumnKind eKind) {
    columns_.push_back({std::move(sName), eKind, "", 0, -1});
  };
  text("file", ColumnKind::kFile);
  text("status", ColumnKind::kStatus);
  text("label", ColumnKind::kLabel);
  for (int32_t c = 0; c < kPositionValues; ++c) {
    columns_.push_back(
        {std::string(1, static_cast<char>('x' + c)) + "_m", ColumnKind::kNumber, "m", 2, c});
  }
  for (const Parameter& p : Parameters()) {
    if (!p.bSingle) continue;
    add(SingleName(p), p.sUnit, p.iDecimals,
        [name = p.sName](const Evaluation& e) { return e.Single(name); });
  }
  text("STI_rating", ColumnKind::kRating);
  for (const Parameter& p : Parameters()) {
    if (eBands == RowBands::kOctave && HasOctaves(p)) {
      for (int32_t k = 1; k <= kOctaveCount; ++k) {
        add(BandName(p, CentreBandOfOctave(k)), p.sUnit, p.iDecimals,
            [name = p.sOctave, i = static_cast<std::size_t>(k - 1)](const Evaluation& e) {
              return e.octave.Values(name)[i];
            });
      }
    } else if (eBands == RowBands::kThird && HasThirds(p)) {
      for (int32_t b = kFirstBand; b <= kLastBand; ++b) {
        add(BandName(p, b), p.sUnit, p.iDecimals,
            [name = p.sThird, i = static_cast<std::size_t>(b - kFirstBand)](const Evaluation& e) {
              return e.third.Values(name)[i];
            });
      }
    }
  }
  text("message", ColumnKind::kMessage);
}

const RowColumn* RowSchema::Find(std::string_view sName) const {
  for (const RowColumn& column : columns_) {
    if (column.sName == sName) return &column;
  }
  return nullptr;
}

std::optional<int32_t> RowSchema::ValueIndex(std::string_view sName) const {
  const RowColumn* column = Find(sName);
  if (column == nullptr || column->eKind != ColumnKind::kNumber) return std::nullopt;
  return column->iValue;
}

std::vector<double> RowSchema::Values(const std::array<double, 3>& position,
                                      const Evaluation& evaluation) const {
  std::vector<double> values(position.begin(), position.end());
  values.reserve(static_cast<std::size_t>(ValueCount()));
  for (const Getter& get : getters_) values.push_back(get(evaluation));
  return values;
}

std::vector<double> RowSchema::PositionOnly(const std::array<double, 3>& position) const {
  std::vector<double> values(static_cast<std::size_t>(ValueCount()), kNaN);
  std::copy(position.begin(), position.end(), values.begin());
  return values;
}

std::optional<MapColumn> MapColumnOf(const std::string& sParam, std::optional<int32_t> iTerz1,
                                     std::string& sProblem) {
  const Parameter* found = nullptr;
  std::string sKnown;
  for (const Parameter& p : Parameters()) {
    if (sParam == p.sName || (!iTerz1 && p.bSingle && sParam == SingleName(p))) found = &p;
    sKnown += (sKnown.empty() ? "" : ", ") + std::string(p.sName);
  }
  if (found == nullptr && !iTerz1) {
    // A column name as the rows carry it, bands included.
    for (const RowBands bands : {RowBands::kOctave, RowBands::kThird}) {
      if (RowSchema(bands).ValueIndex(sParam)) return MapColumn{sParam, "", bands, ""};
    }
  }
  if (found == nullptr) {
    sProblem = "no parameter '" + sParam + "': there are " + sKnown +
               (iTerz1 ? "" : ", and the column names of the rows such as C80_1000Hz_dB");
    return std::nullopt;
  }
  const Parameter& p = *found;
  if (!iTerz1) {
    if (p.bSingle) {
      return MapColumn{SingleName(p), p.sName, RowBands::kNone, p.sSingleOf ? p.sSingleOf : ""};
    }
    sProblem = std::string(p.sName) + " has no single number: choose a band with --band";
    return std::nullopt;
  }
  if (HasOctaves(p) && OctaveCentredOn(*iTerz1)) {
    return MapColumn{BandName(p, *iTerz1), p.sName, RowBands::kOctave, ""};
  }
  if (HasThirds(p)) return MapColumn{BandName(p, *iTerz1), p.sName, RowBands::kThird, ""};
  sProblem = std::string(p.sName) +
             (HasOctaves(p) ? " exists per octave only: choose one of 125, 250, 500, 1000, 2000, "
                              "4000, 8000 Hz"
                            : " is a single number: leave out --band");
  return std::nullopt;
}

}  // namespace zyra::tool
