#include "tools/row_writer.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zyra::tool {
namespace {

TEST(RowWriterTest, CsvFieldsAreQuotedOnlyWhereNeededAndNumbersReadBack) {
  const struct {
    const char* text;
    const char* field;
  } rows[] = {
      {"plain", "plain"},
      {"say \"hi\", a", "\"say \"\"hi\"\", a\""},
      {"two\nlines", "\"two\nlines\""},
      {" padded", "\" padded\""},
  };
  for (const auto& row : rows) EXPECT_EQ(RowWriter::CsvField(row.text), row.field) << row.text;
  EXPECT_EQ(RowWriter::NumberText(-2.5e-7), "-2.5e-07");
  EXPECT_EQ(RowWriter::NumberText(NAN), "");
  for (const double value : {0.1, 1.0 / 3.0, 1e300, -5e-324}) {
    EXPECT_EQ(std::strtod(RowWriter::NumberText(value).c_str(), nullptr), value);
  }
}

// Three rows as every format writes them: an evaluated one, one without pulses (values
// missing) and a failed one (nothing but its message).
TEST(RowWriterTest, MissingValuesAreEmptyCellsNullsOrDashes) {
  const RowSchema schema(RowBands::kNone);
  const auto count = static_cast<std::size_t>(schema.ValueCount());
  ReceiverRow ok{
      "a.rsp", RowStatus::kOk, "", "Sitz \xC3\xA9, 1", "F", std::vector<double>(count, 0.25)};
  ok.values[count - 1] = NAN;
  ReceiverRow empty{
      "b.rsp", RowStatus::kWarning, "holds no pulses", "B", "", std::vector<double>(count, NAN)};
  empty.values[0] = 3.0;
  const ReceiverRow failed = ErrorRow("c \"d\".rsp", "not a response");
  const auto written = [&](RowFormat eFormat) {
    std::ostringstream out;
    RowWriter writer(out, schema, eFormat);
    for (const ReceiverRow& row : {ok, empty, failed}) writer.Write(row);
    writer.End();
    return out.str();
  };

  std::istringstream csv(written(RowFormat::kCsv));
  std::string header, line;
  std::getline(csv, header);
  EXPECT_EQ(header,
            "file,status,label,x_m,y_m,z_m,EDT_s,T20_s,T30_s,C50_dB,C80_dB,D50,Ts_ms,G_dB,JLF,"
            "JLFC,STI,STI_statistic,STIPA,Alcons_STI_pct,STI_rating,message");
  std::getline(csv, line);
  EXPECT_EQ(line.rfind("a.rsp,ok,\"Sitz \xC3\xA9, 1\",0.25,0.25,0.25,0.25,", 0), 0u) << line;
  // Alcons_STI, the last number, is missing; the rating follows; no message.
  EXPECT_EQ(line.substr(line.size() - 9), ",0.25,,F,") << line;
  std::getline(csv, line);
  EXPECT_EQ(line, "b.rsp,warning,B,3" + std::string(count - 1, ',') + ",,holds no pulses");
  std::getline(csv, line);
  EXPECT_EQ(line, "\"c \"\"d\"\".rsp\",error," + std::string(count + 1, ',') + ",not a response");

  const auto json = nlohmann::json::parse(written(RowFormat::kJson));
  ASSERT_EQ(json.size(), 3u);
  EXPECT_EQ(json[0]["label"], "Sitz \xC3\xA9, 1");
  EXPECT_TRUE(json[0]["message"].is_null());
  EXPECT_TRUE(json[0]["Alcons_STI_pct"].is_null());
  EXPECT_EQ(json[1]["x_m"], 3.0);
  EXPECT_TRUE(json[1]["STI"].is_null() && json[1]["STI_rating"].is_null());
  EXPECT_TRUE(json[2]["label"].is_null() && json[2]["x_m"].is_null());
  EXPECT_EQ(json[2]["status"], "error");
  std::istringstream lines(written(RowFormat::kJsonLines));
  for (int i = 0; i < 3; ++i) {
    std::getline(lines, line);
    EXPECT_EQ(nlohmann::json::parse(line), json[static_cast<std::size_t>(i)]);
  }

  // The table shows a missing value as "-" and the status with the message.
  const std::string table = written(RowFormat::kTable);
  EXPECT_NE(table.find("warning: holds no pulses"), std::string::npos) << table;
  EXPECT_NE(table.find("error: not a response"), std::string::npos) << table;
  EXPECT_NE(table.find(" - "), std::string::npos) << table;

  std::ostringstream none;
  RowWriter(none, schema, RowFormat::kJson).End();
  EXPECT_EQ(none.str(), "[]\n");
}

}  // namespace
}  // namespace zyra::tool
