// The small helpers every record uses: errors, text forms, indexed arrays, rounding.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "testing/test_support.h"
#include "zyra/support/conversions.h"
#include "zyra/support/errors.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/text_form.h"

namespace zyra {
namespace {

TEST(ErrorsTest, EveryNumberHasItsDescriptionAndReportsNameTheProcedure) {
  EXPECT_EQ((std::vector{RuntimeError(5).Description(), RuntimeError(7).Description(),
                         RuntimeError(9).Description(), ErrorDescription(1234)}),
            (std::vector<std::string>{"Invalid procedure call or argument", "Out of memory",
                                      "Subscript out of range", ""}));
  // A number of the application's own without a text of its own.
  std::string shown;
  const ErrorDisplay previous =
      SetErrorDisplay([&](const std::string& t, const std::string& x) { shown = t + "|" + x; });
  ReportProcedureError("CProbeRspClass.SaveRSPFile", RuntimeError(1000, ""));
  SetErrorDisplay(previous);
  EXPECT_EQ(shown,
            "ERROR in CProbeRspClass.SaveRSPFile|Code1000: Application-defined or object-defined "
            "error");
}

TEST(TextFormTest, NumbersInTheirDefaultForms) {
  // Seven digits for a Single hide its binary tail (0.1).
  EXPECT_EQ((std::vector{ToText(int16_t{-7}), ToText(int32_t{2147483647}), ToText(1.5F),
                         ToText(1e20F), ToText(1.5e-5F), ToText(-0.25F), ToText(0.1F),
                         ToText(1.0 / 3.0), ToText(true), ToText(false)}),
            (std::vector<std::string>{"-7", "2147483647", "1.5", "1E+20", "1.5E-05", "-0.25", "0.1",
                                      "0.333333333333333", "True", "False"}));
  EXPECT_EQ((std::vector{ToStrText(int32_t{-1}), ToStrText(int32_t{0}), ToStrText(1000.0)}),
            (std::vector<std::string>{"-1", " 0", " 1000"}));
}

TEST(IndexedArrayTest, IndicesOutsideTheRangeRaise9) {
  IndexedArray<float, 1, 3> ray;
  EXPECT_NO_THROW(ray.Set(3, -1.0F));
  BandArray<int16_t> bands;
  EXPECT_NO_THROW(bands.Set(0, 1));
  EXPECT_NO_THROW(bands.Set(21, 1));
  const std::pair<const char*, std::function<void()>> bad[] = {
      {"Get(0)", [&] { ray.Get(0); }},         {"Get(4)", [&] { ray.Get(4); }},
      {"Set(-1)", [&] { ray.Set(-1, 1.0F); }}, {"Set(4)", [&] { ray.Set(4, 1.0F); }},
      {"band 22", [&] { bands.Set(22, 1); }},  {"band -1", [&] { bands.Get(-1); }},
  };
  for (const auto& [name, call] : bad)
    EXPECT_EQ(testing::ErrorNumberOf(call), kErrSubscript) << name;
}

TEST(ConversionsTest, RoundsTiesToEvenAndRejectsWhatDoesNotFit) {
  EXPECT_EQ(RoundToInt<int16_t>(-2.5), -2);
  EXPECT_EQ(RoundToInt<int16_t>(32767.4), 32767);
  EXPECT_THROW(RoundToInt<int16_t>(32767.5), RuntimeError);
  EXPECT_THROW(RoundToInt<int32_t>(std::nan("")), RuntimeError);
  EXPECT_EQ(RoundToIntClipped<int16_t>(std::nan("")), 0);
}

}  // namespace
}  // namespace zyra
