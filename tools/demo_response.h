// Synthetic hall responses built from a room model: a shoebox hall with loudspeakers, mirror
// images up to a few orders, and the info blocks a room acoustician expects (probe, tail with
// volume, reverberation times, absorption and power, prediction, obstacles, text).
#ifndef ZYRA_TOOLS_DEMO_RESPONSE_H_
#define ZYRA_TOOLS_DEMO_RESPONSE_H_

#include <array>
#include <string>

#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// The demo hall: a 40 x 25 x 15 m shoebox (15,000 m³), about 2 s of reverberation.
struct HallModel {
  static constexpr int32_t kBands = 22;  // slots 0 ... 21, 1 ... 21 being the bands
  double dLength = 40.0;
  double dWidth = 25.0;
  double dHeight = 15.0;
  std::array<double, 3> receiver{26.0, 9.0, 1.2};
  std::array<double, kBands> absorption{};  // mean absorption coefficient per band
  std::array<double, kBands> airDbPerM{};   // air attenuation per band, dB/m
  std::array<double, kBands> noiseDb{};     // background noise per band, dB
  double Volume() const { return dLength * dWidth * dHeight; }
  double Surface() const { return 2.0 * (dLength * dWidth + dLength * dHeight + dWidth * dHeight); }
  // Sabine with the air's absorption, s.
  double ReverberationTime(int32_t iBand) const;
};

HallModel DemoHall();

// The info blocks of a synthetic response of `hall`: probe (label sLabel), tail, prediction,
// local reverberation, two obstacles and the info text. dPowerLevel is the total sound power
// level at 1 kHz; the other bands follow the loudspeakers' spectrum.
void FillHallInfoBlocks(CProbeRspClass& cFile, const HallModel& hall, const std::string& sLabel,
                        double dPowerLevel);

// The demo response: two main loudspeakers, a three-box coherent centre array with its pseudo
// loudspeaker, a delayed fill loudspeaker; direct sounds and mirror-image reflections up to
// order 3, levels from 1 m level, distance, absorption per reflection and air; the info blocks.
// The pulses are as a file would hold them: pseudo levels are summed by the preparation.
void BuildDemoHall(CProbeRspClass& cFile);

// The response of the demo's loudspeakers in `hall` at hall.receiver, the probe labelled sLabel:
// each loudspeaker's mirror images by rising order until the pulses number nPulses. Direct
// sound and reflections follow from the positions: travel times from the distances, levels
// from the distance law, the walls' absorption, the air and the boxes' directivity. Error 5
// for fewer pulses than loudspeakers.
void BuildHallResponse(CProbeRspClass& cFile, const HallModel& hall, const std::string& sLabel,
                       int32_t nPulses);

// The demo's loudspeakers, the least number of pulses of BuildHallResponse (direct sounds only).
int32_t HallLoudspeakerCount();
// The demo's pulses: every image up to order 3 of every loudspeaker.
int32_t HallDefaultPulses();

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_DEMO_RESPONSE_H_
