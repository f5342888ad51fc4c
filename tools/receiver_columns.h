// The columns of the receiver rows of `eval` and `map`: the file, its status, the probe's label
// and position, the single numbers with the STI rating, per-band values on request, and the
// message. Names carry band and unit (C80_1000Hz_dB); every value comes from one table of
// parameters, so the header, the values and the map's choices cannot drift apart.
#ifndef ZYRA_TOOLS_RECEIVER_COLUMNS_H_
#define ZYRA_TOOLS_RECEIVER_COLUMNS_H_

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/room_parameters.h"

namespace zyra::tool {

// Which per-band columns follow the single numbers.
enum class RowBands { kNone, kOctave, kThird };

// What one row's values are computed from.
struct RowSources {
  const CParameterSet& parameters;
  const CCalcResults& results;
};

enum class ColumnKind { kFile, kStatus, kLabel, kNumber, kRating, kMessage };

struct RowColumn {
  std::string sName;
  ColumnKind eKind = ColumnKind::kNumber;
  std::string sUnit;      // numbers: "m", "s", "ms", "dB", "%", empty for a ratio
  int32_t iDecimals = 2;  // numbers: digits after the point in the table for people
  int32_t iValue = -1;    // numbers: the index into a row's values
};

// The position comes first among the values: x, y, z (PrSite 1 ... 3).
inline constexpr int32_t kPositionValues = 3;

class RowSchema {
 public:
  explicit RowSchema(RowBands eBands);

  RowBands Bands() const { return eBands_; }
  const std::vector<RowColumn>& Columns() const { return columns_; }
  int32_t ValueCount() const { return static_cast<int32_t>(getters_.size()) + kPositionValues; }
  // The value index of the numeric column so named; none when there is no such column.
  std::optional<int32_t> ValueIndex(std::string_view sName) const;
  const RowColumn* Find(std::string_view sName) const;

  // Every value of a row in column order: the position, then what the sources give (NaN where a
  // value does not exist).
  std::vector<double> Values(const std::array<double, 3>& position,
                             const RowSources& sources) const;

 private:
  using Getter = std::function<double(const RowSources&)>;
  RowBands eBands_;
  std::vector<RowColumn> columns_;
  std::vector<Getter> getters_;  // one per numeric column after the position
};

// The numeric column a map shows: parameter `sParam` as a single number (no band), or at band
// iTerz1 (1 ... 21): the octave value where the band is an octave's centre and the parameter has
// octave values, else the third-octave value. A full column name ("C80_1000Hz_dB") is taken as
// it is when no band is given. The band set the column belongs to goes to `eBands`; a name or
// band without a column gives no value and a problem that lists what there is.
std::optional<std::string> MapColumnName(const std::string& sParam, std::optional<int32_t> iTerz1,
                                         RowBands& eBands, std::string& sProblem);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_RECEIVER_COLUMNS_H_
