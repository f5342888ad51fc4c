// A response built in memory for the calculation tests: one loudspeaker whose direct sound
// arrives at 10 ms (tRef) without energy unless given, pulses added by time after it, level
// and direction, and room data that give every band a tail.
#ifndef ZYRA_TESTING_RESPONSE_BUILDER_H_
#define ZYRA_TESTING_RESPONSE_BUILDER_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "testing/temp_folder.h"
#include "zyra/calc/energy_time_process.h"

namespace zyra::testing {

// The file's image (with the info text's prefix) written to `path`; the path as text.
inline std::string WriteImage(CProbeRspClass& file, const std::filesystem::path& path,
                              const std::string& sPrefix = "") {
  ByteStream stream;
  file.SaveToByteStream(stream, sPrefix);
  WriteWholeFile(path, stream.GetBytes());
  return path.string();
}

class ResponseBuilder {
 public:
  explicit ResponseBuilder(int16_t iDirectLevel = 0) {
    CSystemResponse& rsp = *file.Rsp();
    rsp.LspInfos()->SetCount(1);
    rsp.LspInfo(1)->SetIsActive(true);
    rsp.LspInfo(1)->SetPulsNr(Add(0, 0.0F, iDirectLevel));
    file.ETC()->SettSplit(20.0F);
    file.ETC()->SettDiff(30.0F);
  }
  // A pulse t ms after the direct sound with iLevel (0.01 dB) in every band, from HorAngle
  // iHor and VerAngle iVer (degrees).
  int32_t Add(int32_t lOrder, float t, int16_t iLevel, int16_t iHor = 0, int16_t iVer = 0) {
    auto puls = std::make_shared<CPulsClass>();
    puls->SetOrigin(1);
    puls->SetROrder(lOrder);
    puls->SetTravel(10.0F + t);
    puls->SetHorAngle(iHor);
    puls->SetVerAngle(iVer);
    for (int32_t b = 1; b <= 21; ++b) puls->SetSPL(b, iLevel);
    return file.Rsp()->Pulses()->AddPuls(std::move(puls));
  }
  // Room data that give every band a statistical tail of reverberation time fRT (s).
  void Room(float fVolume, float fRT, float fPower = 90.0F) {
    CETCInfoClass& etc = *file.ETC();
    etc.SetVolume(fVolume);
    for (int32_t b = 1; b <= 21; ++b) {
      etc.SetAbsorp(b, 0.25F);
      etc.SetPower(b, fPower);
      etc.SetRTime(b, fRT);
    }
  }
  // n pulses of orders 1..3 at random times tMin..tMax ms after the direct sound, from random
  // directions, with a random level iMin..iMax (0.01 dB) and phase in each band; every 17th
  // one inactive.
  void AddRandom(uint64_t nSeed, int n, float tMin, float tMax, int iMin, int iMax) {
    std::mt19937_64 rng(nSeed);
    std::uniform_real_distribution<float> t(tMin, tMax);
    std::uniform_int_distribution<int> level(iMin, iMax), angle(-180, 180), phase(-31416, 31416);
    for (int i = 0; i < n; ++i) {
      const auto iHor = static_cast<int16_t>(angle(rng)),
                 iVer = static_cast<int16_t>(angle(rng) / 2);
      CPulsClass& puls = *file.Rsp()->Puls(Add(1 + i % 3, t(rng), 0, iHor, iVer));
      for (int32_t b = 1; b <= 21; ++b) {
        puls.SetSPL(b, static_cast<int16_t>(level(rng)));
        puls.SetPhase(b, static_cast<int16_t>(phase(rng)));
      }
      puls.CalculateRayFromAngles();
      puls.SetIsInactive(i % 17 == 16);
    }
  }
  // Calculate's results.
  std::shared_ptr<CCalcResults> Evaluate(bool bIsWithReflections) {
    std::shared_ptr<CCalcResults> results;
    EXPECT_EQ(
        CEnergyTimeProcessClass().Calculate(file, results, bIsWithReflections, false, nullptr), 0);
    if (!results) results = std::make_shared<CCalcResults>();
    return results;
  }

  CProbeRspClass file;
};

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_RESPONSE_BUILDER_H_
