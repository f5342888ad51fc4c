#include "tools/dump_json.h"

#include <cmath>
#include <sstream>

#include <gtest/gtest.h>

#include "tools/demo_response.h"
#include "tools/eval_json.h"

namespace zyra::tool {
namespace {

using Keylist = std::vector<std::string>;

Keylist Keys(const Json& object) {
  Keylist keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

TEST(DumpJsonTest, SectionsCarryExactlyTheDocumentedKeys) {
  CProbeRspClass file;
  BuildDemoHall(file);
  const InitOutcome init{0, "", std::nullopt};
  const Json dump = DumpJson(file, CFileHeaderClass{}, ReadOutcome{}, &init);
  const struct {
    Json section;
    Keylist keys;
  } rows[] = {
      {dump,
       {"read", "init", "file_header", "info_text", "probe_info", "etc", "pred", "local_rt",
        "obstacles", "loudspeakers", "pulses", "pulse_buffer"}},
      {dump["file_header"],
       {"ZYRA", "nHdr", "lHdr", "IDfx", "Vrsn", "Flgs", "nRcd", "lRcd", "addr"}},
      {dump["loudspeakers"][0],
       {"Label", "CharLabel", "CoherenceGroup", "Site", "HorAngle", "VerAngle", "RotAngle", "Flags",
        "SPL1m", "Dirty", "PhaseFlags", "Phase", "Delay", "PulsNr"}},
      {dump["pulses"][0],
       {"Origin", "SPL", "Travel", "HorAngle", "VerAngle", "ROrder", "Multiple", "Linie", "Farbe",
        "RayX", "ID", "Flags", "Phase", "ID_Pseudo"}},
  };
  for (const auto& row : rows) EXPECT_EQ(Keys(row.section), row.keys);
  const std::pair<const char*, size_t> sizes[] = {
      {"read", 4}, {"init", 2}, {"pulse_buffer", 8}, {"probe_info", 48}, {"etc", 29}, {"pred", 21}};
  for (const auto& [key, size] : sizes) EXPECT_EQ(dump[key].size(), size) << key;
  EXPECT_EQ(Keys(dump["obstacles"][0]), (Keylist{"Item", "Label"}));
  // Band arrays from index 0; the loudspeakers' Phase holds bands 1 ... 21.
  EXPECT_EQ(dump["pulses"][0]["SPL"].size(), 22u);
  EXPECT_EQ(dump["loudspeakers"][0]["Phase"].size(), 21u);
  // Latin-1 texts arrive as UTF-8.
  EXPECT_EQ(dump["probe_info"]["PrRoom"],
            "Konzertsaal, Gro\xC3\x9F"
            "er Saal");
}

TEST(DumpJsonTest, StreamedTextEqualsTheWholeDocument) {
  CProbeRspClass file;
  BuildDemoHall(file);
  // A pulse with every awkward number form, written by the pulse writer as the document has it.
  CPulsClass& odd = file.Rsp()->Pulses()->AppendNewPuls();
  odd.SetTravel(0.1f);
  odd.SetLinie(0, 0, 1e-45f);
  odd.SetLinie(1, 0, 3.4028235e38f);
  odd.SetLinie(0, 1, 123456.79f);
  odd.SetLinie(1, 1, std::nanf(""));
  odd.SetRayX(1, INFINITY);
  odd.SetRayX(2, -INFINITY);
  odd.SetRayX(3, -0.0f);
  odd.SetID(INT32_MIN);
  odd.SetID_Pseudo(INT32_MAX);
  odd.SetSPL(3, INT16_MIN);
  odd.SetPhase(21, INT16_MAX);
  odd.SetIsPseudo(true);
  odd.SetIsBundle(true);
  const ReadOutcome read{1, "Warning: \xE9", 20000, 1500.5f};
  const InitOutcome init{0, "", ErrorInfo{9, "Subscript out of range"}};
  std::ostringstream streamed;
  WriteDumpJson(streamed, file, CFileHeaderClass{}, read, &init);
  EXPECT_EQ(streamed.str(), JsonText(DumpJson(file, CFileHeaderClass{}, read, &init)));
  const Json parsed = Json::parse(streamed.str());
  EXPECT_EQ(parsed["init"].dump(),
            R"({"error":{"number":9,"description":"Subscript out of range"}})");
  EXPECT_EQ(parsed["read"]["message"], "Warning: \xC3\xA9");
  // Linie in its file order (0,0) (1,0) (0,1) (1,1); the number forms are the Single's own.
  const Json& pulse = parsed["pulses"].back();
  EXPECT_EQ(pulse["Linie"].dump(), R"([1e-45,3.4028235e+38,123456.79,"NaN"])");
  EXPECT_EQ(pulse["Flags"], kPulsFlagPseudo | kPulsFlagBundle);
}

TEST(EvalJsonTest, LayoutAndDerivedValues) {
  auto results = std::make_shared<CCalcResults>();
  CCalcResults& r = *results;
  r.SettSplit(30.0);
  r.SettDiff(80.0);
  r.AddPulsEnergy(11, 0.0, 3.0, true);
  r.AddPulsEnergy(11, 60.0, 1.0, false);
  AlconsValues alcons{};
  alcons[1][50] = 2.5;
  const Evaluation evaluation(results, true, {true, true, 6}, alcons);
  const Json json = EvalJson(evaluation);
  EXPECT_EQ(Keys(json), (Keylist{"calculate", "times", "bands", "split", "Exx", "ExxSum",
                                 "ExxHallSum", "alcons", "derived"}));
  EXPECT_EQ(Keys(json["times"]), (Keylist{"tRef", "tFirst", "tLast", "tOff", "tGap", "tMean",
                                          "tHall", "tSplit", "tDiff"}));
  EXPECT_EQ(Keys(json["bands"]),
            (Keylist{"E7", "E50", "E80", "ESplit", "Etotal", "EDirect", "ETail", "SPLMax"}));
  EXPECT_EQ(json["alcons"].dump().substr(0, 48),
            R"({"form":"sti","noise":true,"interference":6,"val)");
  EXPECT_EQ(json["alcons"]["values"][1][50], 2.5);
  EXPECT_EQ(json["split"]["ERef"][2][11], 1.0);  // 60 ms: from tSplit to before tDiff
  EXPECT_EQ(json["split"]["ERef"][3][11], 0.0);
  EXPECT_EQ(json["ExxHallSum"][50].size(), 22u);
  // The derived table has every band slot; band 11: E50 = 3 of 4.
  for (const auto& item : json["derived"].items()) EXPECT_EQ(item.value().size(), 22u);
  EXPECT_EQ(json["derived"]["D50"][11], 0.75);
}

}  // namespace
}  // namespace zyra::tool
