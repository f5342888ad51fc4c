#include "tools/eval_json.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

// The "parameters" object has exactly the documented keys and shapes; what does not exist is
// null, what exists is the value itself.
TEST(ParametersJsonTest, KeysShapesAndNulls) {
  CParameterSet p;
  p.dSchroederT1 = -10.0;
  p.bMasking = false;
  p.T30[11] = 2.05;
  p.oC80[3] = -0.5;
  p.mtf[6][13] = 0.25;
  p.EDT_single = 1.9;
  p.STI = 0.52;
  p.STI_rating = "F";
  const Json json = ParametersJson(p);
  EXPECT_EQ(Keys(json),
            (std::vector<std::string>{"SchroederT1", "SchroederT2", "noise", "masking", "third",
                                      "octave", "mtf", "mtf_statistic", "single", "STI",
                                      "STI_statistic", "STIPA", "STI_rating", "Alcons_STI"}));
  EXPECT_EQ(Keys(json["third"]),
            (std::vector<std::string>{"EDT", "T20", "T30", "SchrRTime", "SchrEtot", "SchrETail",
                                      "Curvature", "Ts", "G", "JLF", "JLFC"}));
  EXPECT_EQ(Keys(json["octave"]),
            (std::vector<std::string>{"EDT", "T20", "T30", "SchrRTime", "Curvature", "C50", "C80",
                                      "D50", "Ts", "G", "JLF", "JLFC", "MTI", "MTI_statistic"}));
  EXPECT_EQ(Keys(json["single"]), (std::vector<std::string>{"EDT", "T20", "T30", "C50", "C80",
                                                            "D50", "Ts", "G", "JLF", "JLFC"}));
  for (const auto& item : json["third"].items()) {
    EXPECT_EQ(item.value().size(), 22u) << item.key();
    EXPECT_TRUE(item.value()[0].is_null()) << item.key();
  }
  for (const auto& item : json["octave"].items()) EXPECT_EQ(item.value().size(), 7u) << item.key();
  for (const char* table : {"mtf", "mtf_statistic"}) {
    ASSERT_EQ(json[table].size(), 7u);
    for (const Json& row : json[table]) EXPECT_EQ(row.size(), 14u);
  }
  EXPECT_EQ(json["SchroederT1"], -10.0);
  EXPECT_EQ(json["masking"], false);
  EXPECT_EQ(json["third"]["T30"][11], 2.05);
  EXPECT_TRUE(json["third"]["T30"][10].is_null());
  EXPECT_EQ(json["octave"]["C80"][3], -0.5);
  EXPECT_EQ(json["mtf"][6][13], 0.25);
  EXPECT_TRUE(json["mtf"][6][12].is_null());
  EXPECT_EQ(json["single"]["EDT"], 1.9);
  EXPECT_TRUE(json["single"]["T30"].is_null());
  EXPECT_EQ(json["STI_rating"], "F");
  EXPECT_TRUE(json["STIPA"].is_null());
  EXPECT_TRUE(ParametersJson(CParameterSet{})["STI_rating"].is_null());
}

}  // namespace
}  // namespace zyra::tool
