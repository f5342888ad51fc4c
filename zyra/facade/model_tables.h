// The model of a response as plain tables for inspection: the probe, the loudspeakers and the
// pulses as columns, texts as UTF-8.
#ifndef ZYRA_FACADE_MODEL_TABLES_H_
#define ZYRA_FACADE_MODEL_TABLES_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "zyra/rsp/probe_rsp.h"

namespace zyra {

// The receiver and the size of the model.
struct ProbeSummary {
  std::string sLabel;              // UTF-8, padding removed
  std::string sRoom;               // UTF-8, padding removed
  std::array<double, 3> daSite{};  // PrSite x, y, z in the model's unit (m)
  int16_t iHorAngle = 0;           // degrees
  int16_t iVerAngle = 0;           // degrees
  int32_t nPulses = 0;
  int32_t nLoudspeakers = 0;
  int32_t nObstacles = 0;
};
ProbeSummary ProbeSummaryOf(const CProbeRspClass& cFile);

// One entry per loudspeaker record 1 ... Count, in that order; the system's property names.
struct LoudspeakerColumns {
  std::vector<std::string> saLabel;      // UTF-8
  std::vector<std::string> saCharLabel;  // UTF-8
  std::vector<int32_t> laCoherenceGroup;
  std::vector<std::array<double, 3>> daSite;                // x, y, z
  std::vector<int16_t> iaHorAngle, iaVerAngle, iaRotAngle;  // degrees
  std::vector<double> daDelay;                              // ms
  std::vector<int32_t> laPulsNr;
  std::vector<int32_t> laFlags;
  std::vector<bool> baIsActive, baIsPseudo;
};
LoudspeakerColumns LoudspeakerColumnsOf(const CProbeRspClass& cFile);

// One entry per pulse 1 ... Count, in the model's order (by arrival once prepared).
struct PulseColumns {
  static constexpr int32_t kBandSlots = 22;     // SPL band 0 ... 21
  std::vector<double> daArrival;                // ms on the axis of tRef (GetPulsArrival)
  std::vector<double> daTravel;                 // ms
  std::vector<int32_t> laOrigin;                // loudspeaker record, 0 for none
  std::vector<int32_t> laROrder;                // 0 direct sound, 1 ... reflection order
  std::vector<int16_t> iaHorAngle, iaVerAngle;  // degrees
  std::vector<int32_t> laID, laIDPseudo, laFlags;
  std::vector<int16_t> iaSPL;  // 0.01 dB, kBandSlots per pulse, pulse after pulse
  int32_t Count() const { return static_cast<int32_t>(daArrival.size()); }
};
PulseColumns PulseColumnsOf(const CProbeRspClass& cFile);

}  // namespace zyra

#endif  // ZYRA_FACADE_MODEL_TABLES_H_
