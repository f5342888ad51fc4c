#include "tools/receiver_columns.h"

#include <limits>

#include "tools/band_choice.h"
#include "tools/json_forms.h"

namespace zyra::tool {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Octaves = CParameterSet::Octaves;
using Bands = CParameterSet::Bands;
using OctaveOfResults = double (*)(const CCalcResults&, int32_t iOctave);
using ThirdOfResults = double (*)(const CCalcResults&, int32_t iTerz1);

double OrNaN(std::optional<double> value) {
  return value.value_or(kNaN);
}

double OctaveLevel(const CCalcResults& r, int32_t iOctave) {
  double total = 0.0;
  for (int32_t b = 3 * iOctave - 2; b <= 3 * iOctave; ++b) total += r.Etotal(b);
  return OrNaN(TotalLevel(total));
}

// One parameter: its name and unit, and where its single number, octave and third-octave values
// come from (null where it has none).
struct Parameter {
  const char* sName;
  const char* sUnit;
  int32_t iDecimals;
  double CParameterSet::*single;
  Octaves CParameterSet::*octave;
  Bands CParameterSet::*third;
  OctaveOfResults octaveOfResults;
  ThirdOfResults thirdOfResults;
};

// The single numbers in this order, then the rating, then the bands parameter by parameter.
const std::vector<Parameter>& Parameters() {
  using P = CParameterSet;
  static const std::vector<Parameter> table = {
      {"EDT", "s", 2, &P::EDT_single, &P::oEDT, &P::EDT, nullptr, nullptr},
      {"T20", "s", 2, &P::T20_single, &P::oT20, &P::T20, nullptr, nullptr},
      {"T30", "s", 2, &P::T30_single, &P::oT30, &P::T30, nullptr, nullptr},
      {"SchrRTime", "s", 2, nullptr, &P::oSchrRTime, &P::SchrRTime, nullptr, nullptr},
      {"Curvature", "%", 1, nullptr, &P::oCurvature, &P::Curvature, nullptr, nullptr},
      {"C50", "dB", 1, &P::C50_single, &P::oC50, nullptr, nullptr,
       [](const CCalcResults& r, int32_t b) { return OrNaN(Clarity(r.E50(b), r.Etotal(b))); }},
      {"C80", "dB", 1, &P::C80_single, &P::oC80, nullptr, nullptr,
       [](const CCalcResults& r, int32_t b) { return OrNaN(Clarity(r.E80(b), r.Etotal(b))); }},
      {"D50", "", 2, &P::D50_single, &P::oD50, nullptr, nullptr,
       [](const CCalcResults& r, int32_t b) { return OrNaN(Definition(r.E50(b), r.Etotal(b))); }},
      {"Ts", "ms", 1, &P::Ts_single, &P::oTs, &P::Ts, nullptr, nullptr},
      {"G", "dB", 1, &P::G_single, &P::oG, &P::G, nullptr, nullptr},
      {"JLF", "", 2, &P::JLF_single, &P::oJLF, &P::JLF, nullptr, nullptr},
      {"JLFC", "", 2, &P::JLFC_single, &P::oJLFC, &P::JLFC, nullptr, nullptr},
      {"L", "dB", 1, nullptr, nullptr, nullptr, OctaveLevel,
       [](const CCalcResults& r, int32_t b) { return OrNaN(TotalLevel(r.Etotal(b))); }},
      {"MTI", "", 2, nullptr, &P::oMTI, nullptr, nullptr, nullptr},
      {"MTI_statistic", "", 2, nullptr, &P::oMTI_statistic, nullptr, nullptr, nullptr},
      {"STI", "", 2, &P::STI, nullptr, nullptr, nullptr, nullptr},
      {"STI_statistic", "", 2, &P::STI_statistic, nullptr, nullptr, nullptr, nullptr},
      {"STIPA", "", 2, &P::STIPA, nullptr, nullptr, nullptr, nullptr},
      {"Alcons_STI", "%", 1, &P::Alcons_STI, nullptr, nullptr, nullptr, nullptr},
  };
  return table;
}

bool HasOctaves(const Parameter& p) {
  return p.octave != nullptr || p.octaveOfResults != nullptr;
}
bool HasThirds(const Parameter& p) {
  return p.third != nullptr || p.thirdOfResults != nullptr;
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
    if (p.single == nullptr) continue;
    add(SingleName(p), p.sUnit, p.iDecimals,
        [member = p.single](const RowSources& s) { return s.parameters.*member; });
  }
  text("STI_rating", ColumnKind::kRating);
  for (const Parameter& p : Parameters()) {
    if (eBands == RowBands::kOctave && HasOctaves(p)) {
      for (int32_t k = 1; k <= kOctaveCount; ++k) {
        const auto i = static_cast<std::size_t>(k - 1);
        Getter get = p.octave != nullptr ? Getter([member = p.octave, i](const RowSources& s) {
          return (s.parameters.*member)[i];
        })
                                         : Getter([of = p.octaveOfResults, k](const RowSources& s) {
                                             return of(s.results, k);
                                           });
        add(BandName(p, CentreBandOfOctave(k)), p.sUnit, p.iDecimals, std::move(get));
      }
    } else if (eBands == RowBands::kThird && HasThirds(p)) {
      for (int32_t b = kFirstBand; b <= kLastBand; ++b) {
        const auto i = static_cast<std::size_t>(b);
        Getter get = p.third != nullptr ? Getter([member = p.third, i](const RowSources& s) {
          return (s.parameters.*member)[i];
        })
                                        : Getter([of = p.thirdOfResults, b](const RowSources& s) {
                                            return of(s.results, b);
                                          });
        add(BandName(p, b), p.sUnit, p.iDecimals, std::move(get));
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
                                      const RowSources& sources) const {
  std::vector<double> values(position.begin(), position.end());
  values.reserve(static_cast<std::size_t>(ValueCount()));
  for (const Getter& get : getters_) values.push_back(get(sources));
  return values;
}

std::optional<std::string> MapColumnName(const std::string& sParam, std::optional<int32_t> iTerz1,
                                         RowBands& eBands, std::string& sProblem) {
  const Parameter* found = nullptr;
  std::string sKnown;
  for (const Parameter& p : Parameters()) {
    if (sParam == p.sName || (!iTerz1 && p.single != nullptr && sParam == SingleName(p))) {
      found = &p;
    }
    sKnown += (sKnown.empty() ? "" : ", ") + std::string(p.sName);
  }
  if (found == nullptr && !iTerz1) {
    // A full column name as the rows carry it, bands included.
    for (const RowBands bands : {RowBands::kOctave, RowBands::kThird}) {
      if (RowSchema(bands).ValueIndex(sParam)) {
        eBands = bands;
        return sParam;
      }
    }
  }
  if (found == nullptr) {
    sProblem = "no parameter '" + sParam + "'; there are " + sKnown +
               ", or a column name of the rows such as C80_1000Hz_dB";
    return std::nullopt;
  }
  const Parameter& p = *found;
  if (!iTerz1) {
    if (p.single == nullptr) {
      sProblem = std::string(p.sName) + " has no single number: choose a band with --band";
      return std::nullopt;
    }
    eBands = RowBands::kNone;
    return SingleName(p);
  }
  if (HasOctaves(p) && OctaveCentredOn(*iTerz1)) {
    eBands = RowBands::kOctave;
    return BandName(p, *iTerz1);
  }
  if (HasThirds(p)) {
    eBands = RowBands::kThird;
    return BandName(p, *iTerz1);
  }
  sProblem = std::string(p.sName) +
             (HasOctaves(p) ? " exists per octave only: choose one of 125, 250, 500, 1000, 2000, "
                              "4000, 8000 Hz"
                            : " is a single number: leave out --band");
  return std::nullopt;
}

}  // namespace zyra::tool
