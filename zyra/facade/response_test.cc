// The facade end to end: files written by the library, opened by path, evaluated into values
// checked against closed forms; every way opening or evaluating fails.
#include "zyra/facade/response.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/response_builder.h"
#include "testing/test_support.h"

namespace zyra {
namespace {

class FacadeTest : public ::testing::Test {
 protected:
  // A file whose loudspeaker's direct sound arrives at 10 ms with 20 dB (energy 100) in every
  // band, and, unless tReflection < 0, one reflection of the same energy tReflection ms later.
  std::string Write(const std::string& sName, double tReflection) {
    testing::ResponseBuilder f(2000);
    if (tReflection >= 0.0) f.Add(1, static_cast<float>(tReflection), 2000);
    return testing::WriteImage(f.file, folder_ / sName);
  }
  const testing::TempFolder folder_;
};

TEST_F(FacadeTest, EvaluatesToClosedFormsLookedUpByFrequency) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double tReflection;  // ms after the direct sound; < 0: none
    double c50, c80, d50;
  } rows[] = {
      {100.0, 0.0, 0.0, 0.5},   // equal energy early and late
      {60.0, 0.0, kNaN, 0.5},   // nothing after 80 ms: C80 does not exist
      {-1.0, kNaN, kNaN, 1.0},  // the direct sound alone
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.tReflection);
    Response response = Response::Open(Write("closed.rsp", row.tReflection));
    const Evaluation result = response.Evaluate();
    for (const double hz : {100.0, 1000.0, 1012.0, 10000.0}) {
      EXPECT_EQ(std::isnan(result.C80_dB(hz)), std::isnan(row.c80));
      if (!std::isnan(row.c80)) {
        EXPECT_NEAR(result.C80_dB(hz), row.c80, 1e-12);
      }
      if (!std::isnan(row.c50)) {
        EXPECT_NEAR(result.C50_dB(hz), row.c50, 1e-12);
      }
      EXPECT_NEAR(result.D50(hz), row.d50, 1e-12);
    }
    const double eTotal = row.tReflection >= 0.0 ? 200.0 : 100.0;
    EXPECT_NEAR(result.Level_dB(1000), 10.0 * std::log10(eTotal), 1e-12);
  }
  // The nearest band within a sixth of an octave; nothing else.
  const Evaluation result = Response::Open(Write("lookup.rsp", 100.0)).Evaluate();
  EXPECT_EQ(result.third.BandAt(7000.0), 18);  // 6300 Hz
  for (const double hz : {0.0, -1000.0, 80.0, 12000.0}) {
    EXPECT_EQ(testing::ErrorNumberOf([&] { result.third.BandAt(hz); }), kErrSubscript) << hz;
  }
  EXPECT_EQ(testing::ErrorNumberOf([&] { result.Alcons_pct(1000, 51); }), kErrSubscript);
}

TEST_F(FacadeTest, ParametersOfAPureTailAndItsDecayCurve) {
  // 1 kHz holds the statistical tail alone: its decay is one exponential of the band's RT.
  testing::ResponseBuilder f(2000);
  f.file.Rsp()->Puls(1)->SetSPL(11, 0);
  f.Room(400.0F, 1.5F);
  Response response = Response::Open(testing::WriteImage(f.file, folder_ / "tail.rsp"));
  const Evaluation result = response.Evaluate();
  EXPECT_NEAR(result.T30_s(1000), 1.5, 1e-3);
  EXPECT_EQ(result.third.At("SchrRTime", 1000), result.parameters->SchrRTime[11]);
  EXPECT_EQ(result.Single("C80"), result.parameters->C80_single);
  const CDecayCurve curve = result.DecayCurve(1000);
  ASSERT_FALSE(curve.daLevel.empty());
  EXPECT_LE(curve.daLevel.back(), -35.0);
  // The direct sound alone has no decay: every parameter is NaN, no curve.
  const Evaluation direct = response.Evaluate({.bWithReflections = false});
  EXPECT_TRUE(std::isnan(direct.T30_s(1000)));
  EXPECT_TRUE(std::isnan(direct.Single("STI")));
  EXPECT_TRUE(direct.OctaveDecayCurve(1000).daTime.empty());
  EXPECT_EQ(testing::ErrorNumberOf([&] { result.Single("T31"); }), kErrInvalidCall);
}

TEST_F(FacadeTest, EveryFailureNamesTheFileAndTheStep) {
  const std::string good = Write("good.rsp", 100.0);
  const std::string bytes = testing::ReadWholeFile(good);
  const std::string truncated = folder_ / "truncated.rsp", text = folder_ / "text.rsp";
  testing::WriteWholeFile(truncated, bytes.substr(0, bytes.size() - 20));
  testing::WriteWholeFile(text, "This is a text file, not a response file at all.\n");
  CProbeRspClass model;
  const std::string empty = testing::WriteImage(model, folder_ / "empty-model.rsp");
  testing::RecordingBusy cancel(1);
  const struct {
    std::string path;
    ResponseFault fault;
    int32_t number;
    const char* says;
    bool evaluate;
    BusyIndicator* busy;
  } rows[] = {
      {text, ResponseFault::kNotAResponse, 0, "not a usable response file: No ZYRA", false,
       nullptr},
      {truncated, ResponseFault::kNotAResponse, kErrPastEnd, "Input past end of file", false,
       nullptr},
      {empty, ResponseFault::kEmpty, 0, "holds no pulses", true, nullptr},
      {good, ResponseFault::kCancelled, 0, "evaluation cancelled", true, &cancel},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    try {
      Response response = Response::Open(row.path);
      ASSERT_TRUE(row.evaluate);
      response.Evaluate({.cBusy = row.busy});
      ADD_FAILURE() << "no error";
    } catch (const ResponseError& error) {
      EXPECT_EQ(error.Fault(), row.fault);
      EXPECT_EQ(error.Number(), row.number);
      EXPECT_EQ(error.FilePath(), row.path);
      EXPECT_EQ(std::string(error.what()).rfind(row.path + ": ", 0), 0u) << error.what();
      EXPECT_NE(error.Problem().find(row.says), std::string::npos) << error.Problem();
      // Where the reader stopped: at the text file's header, inside the truncated pulses.
      EXPECT_EQ(error.Location().has_value(), row.path == text || row.path == truncated);
      if (row.path == truncated) {
        EXPECT_EQ(error.Location()->sIDfx, "PULS");
      }
      EXPECT_EQ(error.Read().has_value(), row.fault == ResponseFault::kNotAResponse);
    }
  }
  // Without preparation there is no preparation outcome, and nothing to evaluate.
  Response raw = Response::Open(good, {.bPrepare = false});
  EXPECT_FALSE(raw.Init().has_value());
  try {
    raw.Evaluate();
    ADD_FAILURE() << "evaluated without preparation";
  } catch (const ResponseError& error) {
    EXPECT_EQ(error.Fault(), ResponseFault::kPreparation);
  }
}

}  // namespace
}  // namespace zyra
