#include "tools/receiver_columns.h"

#include <cmath>

#include <gtest/gtest.h>

#include "testing/response_builder.h"
#include "tools/band_choice.h"
#include "tools/demo_response.h"
#include "zyra/facade/response.h"

namespace zyra::tool {
namespace {

// Octave values at an octave's centre, third-octave values elsewhere; single numbers without a
// band; a column name as it is.
TEST(ReceiverColumnsTest, MapColumnRules) {
  const struct {
    const char* param;
    int32_t band;        // 0: none
    const char* column;  // empty: no column
    RowBands bands;
  } rows[] = {
      {"C80", 0, "C80_dB", RowBands::kNone},
      {"C80", 11, "C80_1000Hz_dB", RowBands::kOctave},
      {"C80", 12, "C80_1250Hz_dB", RowBands::kThird},
      {"level_total", 0, "", RowBands::kNone},
      {"MTI", 13, "", RowBands::kNone},
      {"STI", 11, "", RowBands::kNone},
      {"Curvature_160Hz_pct", 0, "Curvature_160Hz_pct", RowBands::kThird},
      {"c80", 0, "", RowBands::kNone},
  };
  for (const auto& row : rows) {
    std::string problem;
    const auto band = row.band > 0 ? std::optional<int32_t>(row.band) : std::nullopt;
    const auto column = MapColumnOf(row.param, band, problem);
    SCOPED_TRACE(std::string(row.param) + " " + std::to_string(row.band));
    ASSERT_EQ(column.has_value(), *row.column != '\0') << problem;
    if (!column) {
      EXPECT_FALSE(problem.empty());
      continue;
    }
    EXPECT_EQ(column->sColumn, row.column);
    EXPECT_TRUE(column->eBands == row.bands);
    EXPECT_TRUE(RowSchema(column->eBands).ValueIndex(column->sColumn));
  }
}

// The table of columns names what the facade's evaluation holds: every column finds its value
// there (a band's in its table, a single number by its name), in the unit the facade gives it.
TEST(ReceiverColumnsTest, ColumnsAreTheFacadesValuesInItsUnits) {
  const testing::TempFolder dir;
  CProbeRspClass demo;
  BuildDemoHall(demo);
  const Evaluation evaluation =
      Response::Open(testing::WriteImage(demo, dir / "demo-hall.rsp")).Evaluate();
  const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };

  for (const RowBands bands : {RowBands::kOctave, RowBands::kThird}) {
    const RowSchema schema(bands);
    const std::vector<double> values = schema.Values({1, 2, 3}, evaluation);
    const BandTable& table = bands == RowBands::kOctave ? evaluation.octave : evaluation.third;
    int32_t nBandColumns = 0;
    int32_t nSingles = 0;
    for (const RowColumn& column : schema.Columns()) {
      if (column.eKind != ColumnKind::kNumber || column.iValue < kPositionValues) continue;
      SCOPED_TRACE(column.sName);
      const double value = values[static_cast<std::size_t>(column.iValue)];
      const std::size_t hz = column.sName.find("Hz_");
      const std::size_t hzEnd = column.sName.find("Hz");
      if (hzEnd == std::string::npos) {
        ++nSingles;
        const std::size_t cut = column.sUnit.empty() ? std::string::npos : column.sName.rfind('_');
        EXPECT_TRUE(same(value, evaluation.Single(column.sName.substr(0, cut))));
        continue;
      }
      ++nBandColumns;
      const std::size_t cut = column.sName.rfind('_', hzEnd);
      const std::string name = column.sName.substr(0, cut);
      EXPECT_EQ(table.Unit(name), column.sUnit);
      EXPECT_EQ(hz == std::string::npos, column.sUnit.empty());
      EXPECT_TRUE(same(value, table.At(name, std::stod(column.sName.substr(cut + 1)))));
    }
    EXPECT_EQ(nBandColumns, bands == RowBands::kOctave ? 14 * 7 : 13 * 21);
    EXPECT_EQ(nSingles, 14);
  }
}

}  // namespace
}  // namespace zyra::tool
