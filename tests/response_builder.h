// A response built in memory for the calculation tests: one loudspeaker whose direct sound
// arrives at 10 ms (tRef) without energy unless given, pulses added by time after it, level
// and direction, and room data that give every band a tail.
#ifndef ZYRA_TESTS_RESPONSE_BUILDER_H_
#define ZYRA_TESTS_RESPONSE_BUILDER_H_

#include <gtest/gtest.h>

#include <memory>

#include "zyra/calc/energy_time_process.h"

namespace zyra::testing {

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

#endif  // ZYRA_TESTS_RESPONSE_BUILDER_H_
