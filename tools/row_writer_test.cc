#include "tools/row_writer.h"

#include <cmath>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zyra::tool {
namespace {

TEST(RowWriterTest, CsvFieldsAreQuotedOnlyWhereNeeded) {
  const struct {
    const char* text;
    const char* field;
  } rows[] = {
      {"plain", "plain"},
      {"", ""},
      {"a,b", "\"a,b\""},
      {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""},
      {" padded", "\" padded\""},
      {"Gro\xC3\x9F", "Gro\xC3\x9F"},
  };
  for (const auto& row : rows) EXPECT_EQ(RowWriter::CsvField(row.text), row.field) << row.text;
  EXPECT_EQ(RowWriter::NumberText(0.1), "0.1");
  EXPECT_EQ(RowWriter::NumberText(-2.5e-7), "-2.5e-07");
  EXPECT_EQ(RowWriter::NumberText(NAN), "");
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
  EXPECT_EQ(header.substr(0, 30), "file,status,label,x_m,y_m,z_m,");
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

  std::istringstream table(written(RowFormat::kTable));
  std::vector<std::string> text;
  while (std::getline(table, line)) text.push_back(line);
  ASSERT_EQ(text.size(), 4u);
  // The columns line up whatever the label's bytes: the file starts at one column everywhere.
  const auto fileColumn = [](const std::string& s, const std::string& file) {
    std::size_t chars = 0;
    for (std::size_t i = 0; i < s.find(file); ++i) chars += (s[i] & 0xC0) != 0x80 ? 1 : 0;
    return chars;
  };
  EXPECT_EQ(fileColumn(text[1], "a.rsp"), fileColumn(text[0], "file"));
  EXPECT_EQ(fileColumn(text[2], "b.rsp"), fileColumn(text[0], "file"));
  EXPECT_EQ(fileColumn(text[3], "c \"d\".rsp"), fileColumn(text[0], "file"));
  EXPECT_NE(text[1].find("  0.25  "), std::string::npos);
  EXPECT_NE(text[2].find("warning: holds no pulses"), std::string::npos);
  EXPECT_NE(text[3].find("error: not a response"), std::string::npos);

  std::ostringstream none;
  RowWriter(none, schema, RowFormat::kJson).End();
  EXPECT_EQ(none.str(), "[]\n");
}

}  // namespace
}  // namespace zyra::tool
