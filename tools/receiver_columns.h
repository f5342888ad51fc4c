// The columns of the receiver rows of `eval` and `map`: the file, its status, the probe's label
// and position, the single numbers with the STI rating, per-band values on request, and the
// message. Names carry band and unit (C80_1000Hz_dB). One table of parameters names the values
// the facade's evaluation holds, so the header, the values and the map's choices cannot drift
// apart.
#ifndef ZYRA_TOOLS_RECEIVER_COLUMNS_H_
#define ZYRA_TOOLS_RECEIVER_COLUMNS_H_

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/row_kinds.h"
#include "zyra/facade/evaluation.h"

namespace zyra::tool {

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

  // Every value of a row in column order: the position, then the evaluation's values (NaN where
  // a value does not exist).
  std::vector<double> Values(const std::array<double, 3>& position,
                             const Evaluation& evaluation) const;
  // The position and NaN for every other value: a row that has nothing to evaluate.
  std::vector<double> PositionOnly(const std::array<double, 3>& position) const;

 private:
  using Getter = std::function<double(const Evaluation&)>;
  RowBands eBands_;
  std::vector<RowColumn> columns_;
  std::vector<Getter> getters_;  // one per numeric column after the position
};

// The numeric column a map shows.
struct MapColumn {
  std::string sColumn;                // as the rows name it: "C80_dB", "C80_1000Hz_dB"
  std::string sParameter;             // "C80"; empty when a column name was asked for
  RowBands eBands = RowBands::kNone;  // the rows that carry the column
  std::string sSingleOf;              // a single number: the octaves it is the mean of; else empty
};

// Parameter `sParam` as a single number (no band), or at band iTerz1 (1 ... 21): the octave
// value where the band is an octave's centre and the parameter has octave values, else the
// third-octave value. Without a band, a column name of the rows ("C80_1000Hz_dB") is taken as it
// is. A name or band without a column gives no value and a problem that says what there is.
std::optional<MapColumn> MapColumnOf(const std::string& sParam, std::optional<int32_t> iTerz1,
                                     std::string& sProblem);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_RECEIVER_COLUMNS_H_
