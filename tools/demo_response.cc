#include "tools/demo_response.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "zyra/support/calculation.h"
#include "zyra/support/conversions.h"
#include "zyra/support/errors.h"

namespace zyra::tool {
namespace {

using Vec = std::array<double, 3>;

constexpr double kSpeedOfSound = 343.0;  // m/s at 20 °C
constexpr int32_t kDemoOrder = 3;        // the demo's images: every one up to this order
constexpr double kRadToDeg = 180.0 / std::numbers::pi;

// Band k (1 ... 21) is the third octave 100 Hz ... 10 kHz; band 11 is 1 kHz.
constexpr std::array<double, HallModel::kBands> kAbsorption = {
    0.0,  0.20, 0.21, 0.22, 0.23, 0.24, 0.25, 0.26, 0.27, 0.28, 0.28,
    0.29, 0.29, 0.30, 0.30, 0.31, 0.31, 0.32, 0.32, 0.33, 0.33, 0.34};
constexpr std::array<double, HallModel::kBands> kAirDbPerM = {
    0.0,    0.0001, 0.0002, 0.0002, 0.0003, 0.0004, 0.0006, 0.0008, 0.0010, 0.0014, 0.0019,
    0.0025, 0.0032, 0.0042, 0.0056, 0.0075, 0.0102, 0.0140, 0.0200, 0.0290, 0.0430, 0.0640};
// Roughly the NR 25 curve: an quiet hall with its ventilation running.
constexpr std::array<double, HallModel::kBands> kNoiseDb = {
    0.0,  44.0, 41.0, 38.0, 36.0, 34.0, 32.0, 30.0, 29.0, 28.0, 26.0,
    25.0, 24.0, 23.0, 22.0, 21.0, 20.0, 20.0, 19.0, 18.0, 18.0, 17.0};
// A full-range box: flat from 125 Hz to 5 kHz, rolled off at both ends (dB re the 1 kHz level).
constexpr std::array<double, HallModel::kBands> kSpectrum = {
    0.0, -4.0, -1.5, 0.0, 0.0, 0.0, 0.0, 0.0,  0.0,  0.0,  0.0,
    0.0, 0.0,  0.0,  0.0, 0.0, 0.0, 0.0, -1.0, -2.5, -4.5, -7.0};
// Directivity index of the box, dB: wide at low, narrow at high frequencies.
constexpr std::array<double, HallModel::kBands> kDirectivity = {
    0.0, 2.0, 2.5, 3.0, 3.5, 4.0, 4.5,  5.0,  5.5,  6.0,  6.5,
    7.0, 7.5, 8.0, 8.5, 9.0, 9.5, 10.0, 10.0, 10.5, 11.0, 11.0};

Vec Minus(const Vec& a, const Vec& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double Norm(const Vec& a) {
  return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
}
double Dot(const Vec& a, const Vec& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

int16_t Hundredths(double dDb) {
  return RoundToIntClipped<int16_t>(dDb * 100.0);
}

struct Speaker {
  const char* label;
  const char* charLabel;
  Vec site;
  Vec aim;          // a point the box is aimed at
  double dLevel1k;  // SPL at 1 m on axis, 1 kHz, dB
  float fDelay;     // ms
  enum Role { kSingle, kPseudo, kMember } eRole;
};

// The mirror image of `source` for the reflection numbers (nx, ny, nz) in a shoebox.
Vec Image(const HallModel& hall, const Vec& source, int nx, int ny, int nz) {
  const auto axis = [](int n, double size, double s) {
    const double base = 2.0 * std::ceil(n / 2.0) * size;
    return (n % 2 == 0) ? base + s : base - s;
  };
  return {axis(nx, hall.dLength, source[0]), axis(ny, hall.dWidth, source[1]),
          axis(nz, hall.dHeight, source[2])};
}

// Off-axis loss of the box in dB for the angle between its aim and the emitted direction: a
// cardioid-like pattern that narrows as the directivity index grows.
double OffAxisDb(const Speaker& speaker, const Vec& emitted, int32_t iBand) {
  const Vec axis = Minus(speaker.aim, speaker.site);
  const double c = Dot(axis, emitted) / (Norm(axis) * Norm(emitted));
  const double q = kDirectivity[static_cast<std::size_t>(iBand)] / 4.0;
  return 10.0 * q * std::log10(std::max(0.02, (1.0 + c) / 2.0));
}

struct ImagePulse {
  Vec image;
  int32_t iOrder;
};

// The number of mirror images up to order n in a shoebox, the source itself included.
int64_t ImageCount(int64_t n) {
  return (2 * n + 1) * (2 * n * n + 2 * n + 3) / 3;
}

// The first nImages images of `source`: the direct sound first, then by order, as a tracer
// would find them. Within an order the sequence does not depend on the source, so that the
// k-th image of a coherent group's members is the same reflection path as its pseudo
// loudspeaker's k-th.
std::vector<ImagePulse> Images(const HallModel& hall, const Vec& source, int32_t nImages) {
  int maxOrder = 0;
  while (ImageCount(maxOrder) < nImages) ++maxOrder;
  std::vector<ImagePulse> images;
  for (int nx = -maxOrder; nx <= maxOrder; ++nx) {
    for (int ny = -maxOrder; ny <= maxOrder; ++ny) {
      for (int nz = -maxOrder; nz <= maxOrder; ++nz) {
        const int order = std::abs(nx) + std::abs(ny) + std::abs(nz);
        if (order <= maxOrder) images.push_back({Image(hall, source, nx, ny, nz), order});
      }
    }
  }
  std::stable_sort(images.begin(), images.end(),
                   [](const ImagePulse& a, const ImagePulse& b) { return a.iOrder < b.iOrder; });
  images.resize(static_cast<std::size_t>(nImages));
  return images;
}

// A pulse from `image` (the source mirrored iOrder times) to the receiver.
std::shared_ptr<CPulsClass> MakePuls(const HallModel& hall, const Speaker& speaker,
                                     const ImagePulse& image, int32_t lOrigin) {
  auto puls = std::make_shared<CPulsClass>();
  const Vec toSource = Minus(image.image, hall.receiver);
  const double d = std::max(Norm(toSource), 0.5);
  puls->SetOrigin(lOrigin);
  puls->SetROrder(image.iOrder);
  puls->SetMultiple(1);
  puls->SetFarbe(image.iOrder);
  puls->SetTravel(static_cast<float>(d / kSpeedOfSound * 1000.0));
  puls->SetHorAngle(RoundToIntClipped<int16_t>(std::atan2(toSource[1], toSource[0]) * kRadToDeg));
  puls->SetVerAngle(RoundToIntClipped<int16_t>(std::asin(toSource[2] / d) * kRadToDeg));
  for (int32_t c = 1; c <= 3; ++c) {
    puls->SetRayX(c, static_cast<float>(-toSource[static_cast<std::size_t>(c - 1)] / d));
  }
  // The box radiates towards the image of the receiver: the direction from the source to the
  // receiver mirrored back is, for the level, the direction from the image to the receiver.
  const Vec emitted = Minus(hall.receiver, image.image);
  double energy0 = 0.0;
  for (int32_t b = 1; b <= 21; ++b) {
    const auto k = static_cast<std::size_t>(b);
    const double level = speaker.dLevel1k + kSpectrum[k] - 20.0 * std::log10(d) +
                         image.iOrder * 10.0 * std::log10(1.0 - hall.absorption[k]) -
                         hall.airDbPerM[k] * d +
                         (image.iOrder == 0 ? OffAxisDb(speaker, emitted, b) : 0.0);
    puls->SetSPL(b, Hundredths(level));
    energy0 += std::pow(10.0, level / 10.0);
  }
  puls->SetSPL(0, Hundredths(10.0 * std::log10(energy0)));
  return puls;
}

std::vector<Speaker> DemoSpeakers() {
  const Vec audience{25.0, 12.5, 1.2};
  return {
      {"Main left", "L", {3.0, 4.0, 7.0}, audience, 97.0, 0.0f, Speaker::kSingle},
      {"Main right", "R", {3.0, 21.0, 7.0}, audience, 97.0, 0.0f, Speaker::kSingle},
      {"Centre array", "C", {3.0, 12.5, 8.5}, audience, 0.0, 0.0f, Speaker::kPseudo},
      {"Centre array top", "C1", {3.0, 12.5, 9.2}, audience, 94.0, 0.0f, Speaker::kMember},
      {"Centre array mid", "C2", {3.0, 12.5, 8.5}, audience, 94.0, 0.0f, Speaker::kMember},
      {"Centre array low", "C3", {3.0, 12.5, 7.8}, audience, 94.0, 0.0f, Speaker::kMember},
      // 15.4 m behind the array plus 10 ms, so that the array keeps the precedence.
      {"Delay fill", "F", {18.0, 12.5, 5.0}, {34.0, 12.5, 1.2}, 90.0, 55.0f, Speaker::kSingle},
  };
}

}  // namespace

double HallModel::ReverberationTime(int32_t iBand) const {
  const auto k = static_cast<std::size_t>(iBand);
  // Air: m = attenuation in Np/m of the energy, 4·m·V added to the absorption area.
  const double m = airDbPerM[k] / (10.0 * std::log10(std::numbers::e));
  const double area = Surface() * absorption[k] + 4.0 * m * Volume();
  return area > 0.0 ? 0.161 * Volume() / area : 0.0;
}

HallModel DemoHall() {
  HallModel hall;
  hall.absorption = kAbsorption;
  hall.airDbPerM = kAirDbPerM;
  hall.noiseDb = kNoiseDb;
  return hall;
}

void FillHallInfoBlocks(CProbeRspClass& cFile, const HallModel& hall, const std::string& sLabel,
                        double dPowerLevel) {
  CProbeInfoClass& probe = *cFile.ProbeInfo();
  probe.SetPrUserName("zyra-rsp");
  probe.SetPrCompany("");
  probe.SetPrBegun("2024-05-01");
  probe.SetPrProject("Demo");
  probe.SetPrRoom(
      "Konzertsaal, Gro\xDF"
      "er Saal");  // Latin-1, as the files hold texts
  probe.SetPrTown("Musterstadt");
  probe.SetPrUnit(1.0f);
  probe.SetPrLabel(sLabel);
  for (int32_t c = 1; c <= 3; ++c) {
    probe.SetPrSite(c, static_cast<float>(hall.receiver[static_cast<std::size_t>(c - 1)]));
  }
  probe.SetPrHorAngle(180);  // facing the stage
  probe.SetPrVolume(static_cast<float>(hall.Volume()));
  probe.SetPrSurface(static_cast<float>(hall.Surface()));
  probe.SetPrHumidity(50);
  probe.SetPrAirTemp(20);
  probe.SetPrRTType(1);
  probe.SetPrTerzBand(11);
  probe.SetPrFrequency(1000);
  probe.SetPrBandWidth(1);
  probe.SetPrSplit(30);
  probe.SetPrAlconsFreq(1000);
  probe.SetIsRoomClosed_b(true);
  probe.SetIsNoiseOn_b(true);
  probe.SetIsPrTailInfo_b(true);
  probe.SetIsWithPhaseData_b(true);
  probe.SetIsLocalRTInfo_b(true);
  probe.SetPrRemarks("Synthetic shoebox hall, mirror images up to order 3");

  CETCInfoClass& etc = *cFile.ETC();
  etc.SetVolume(static_cast<float>(hall.Volume()));
  etc.SetSurface(static_cast<float>(hall.Surface()));
  etc.SetDesiredRT(2.0f);
  etc.SetRTType(1);
  etc.SettSplit(30.0f);
  etc.SettDiff(80.0f);
  etc.SetTailStart(80.0f);
  etc.SetTailLength(3000.0f);
  etc.SetTailDensity(1.0f);
  etc.SetTailGain(1.0f);
  etc.SetMaxDensity(10000.0f);
  etc.SetAmplified(1.0f);
  double maxLevel = 0.0;
  for (int32_t b = 1; b <= 21; ++b) {
    const auto k = static_cast<std::size_t>(b);
    const double rt = hall.ReverberationTime(b);
    const double power = dPowerLevel + kSpectrum[k] - kDirectivity[k] + kDirectivity[11];
    const double tail = HallEnergy(hall.absorption[k], power, rt, hall.Volume());
    const double tailLevel = tail > 0.0 ? 10.0 * std::log10(tail) : 0.0;
    maxLevel = std::max(maxLevel, tailLevel);
    etc.SetRTime(b, static_cast<float>(rt));
    etc.SetAbsorp(b, static_cast<float>(hall.absorption[k]));
    etc.SetNoise(b, static_cast<float>(hall.noiseDb[k]));
    etc.SetPower(b, static_cast<float>(power));
    etc.SetTailSPL(b, Hundredths(tailLevel));
    etc.SetdEnergy(b, static_cast<float>(tail));
    probe.SetPrRTime(b, static_cast<float>(rt));
    probe.SetPrAbsorp(b, static_cast<float>(hall.absorption[k]));
    probe.SetPrNoise(b, RoundToIntClipped<int16_t>(hall.noiseDb[k]));
    cFile.LocalRTInfo()->SetLocalRTime(b, static_cast<float>(rt * 0.97));
  }
  etc.SetMaxSPL(static_cast<float>(maxLevel));

  CPredictionInfoClass& pred = *cFile.Pred();
  pred.SetRaysPerLspk(20000);
  pred.SetLength1(2000.0f);
  pred.SetPulses1(0);
  pred.SetRTType(1);
  for (int32_t b = 1; b <= 21; ++b) pred.SetRT60(b, static_cast<float>(hall.ReverberationTime(b)));

  CObstInfoBufferClass& obstacles = *cFile.ObstInfo();
  obstacles.SetCount(2);
  obstacles.ObstInfo(1)->SetItem(1);
  obstacles.ObstInfo(1)->SetLabel("Balcony front");
  obstacles.ObstInfo(2)->SetItem(2);
  obstacles.ObstInfo(2)->SetLabel("Stage shell");

  cFile.InfoText()->SetSourceText("Synthetic hall response\nModel: shoebox " +
                                  std::to_string(static_cast<int>(hall.dLength)) + " x " +
                                  std::to_string(static_cast<int>(hall.dWidth)) + " x " +
                                  std::to_string(static_cast<int>(hall.dHeight)) + " m\n");
}

int32_t HallLoudspeakerCount() {
  return static_cast<int32_t>(DemoSpeakers().size());
}

int32_t HallDefaultPulses() {
  return HallLoudspeakerCount() * static_cast<int32_t>(ImageCount(kDemoOrder));
}

void BuildDemoHall(CProbeRspClass& cFile) {
  BuildHallResponse(cFile, DemoHall(), "Seat R12 S14", HallDefaultPulses());
}

void BuildHallResponse(CProbeRspClass& cFile, const HallModel& hall, const std::string& sLabel,
                       int32_t nPulses) {
  const std::vector<Speaker> speakers = DemoSpeakers();
  const auto nSpeakers = static_cast<int32_t>(speakers.size());
  const auto nSingles =
      static_cast<int32_t>(std::ranges::count(speakers, Speaker::kSingle, &Speaker::eRole));
  if (nPulses < nSpeakers) RaiseError(kErrInvalidCall);
  // Every loudspeaker gets the same number of images, so that each member of the coherent group
  // has a bundle pulse for each of its pseudo loudspeaker's; the remainder goes to the single
  // loudspeakers.
  const int32_t nEach = nPulses / nSpeakers;
  const int32_t nRest = nPulses % nSpeakers;
  CSystemResponse& rsp = *cFile.Rsp();
  CLspInfoBufferClass& lsps = *rsp.LspInfos();
  CPulsBufferClass& pulses = *rsp.Pulses();
  lsps.SetCount(static_cast<int32_t>(speakers.size()));
  pulses.SetCount(0, nullptr);

  constexpr int32_t kGroup = 1;
  int32_t lNextID = 1;
  std::vector<int32_t> laPseudoIDs;  // the IDs of the pseudo loudspeaker's pulses, image order
  double powerEnergy = 0.0;
  for (std::size_t s = 0; s < speakers.size(); ++s) {
    const Speaker& speaker = speakers[s];
    const auto iLsp = static_cast<int32_t>(s + 1);
    CLspInfoClass& lsp = *lsps.LspInfo(iLsp);
    lsp.SetLabel(speaker.label);
    lsp.SetCharLabel(speaker.charLabel);
    for (int32_t c = 1; c <= 3; ++c) {
      lsp.SetSite(c, static_cast<float>(speaker.site[static_cast<std::size_t>(c - 1)]));
    }
    const Vec axis = Minus(speaker.aim, speaker.site);
    lsp.SetHorAngle(RoundToIntClipped<int16_t>(std::atan2(axis[1], axis[0]) * kRadToDeg));
    lsp.SetVerAngle(RoundToIntClipped<int16_t>(std::asin(axis[2] / Norm(axis)) * kRadToDeg));
    lsp.SetIsActive(true);
    lsp.SetIsWithPhase(true);
    lsp.SetIsPhaseFlgValid(true);
    lsp.SetDelay(speaker.fDelay);
    if (speaker.eRole != Speaker::kSingle) lsp.SetCoherenceGroup(kGroup);
    lsp.SetIsPseudo(speaker.eRole == Speaker::kPseudo);
    lsp.SetIsMember(speaker.eRole == Speaker::kMember);
    for (int32_t b = 0; b <= 21; ++b) {
      lsp.SetSPL1m(b, Hundredths(speaker.dLevel1k + kSpectrum[static_cast<std::size_t>(b)]));
    }
    if (speaker.eRole != Speaker::kPseudo) {
      powerEnergy += std::pow(10.0, (speaker.dLevel1k + 11.0 - kDirectivity[11]) / 10.0);
    }

    int32_t nImages = nEach;
    if (speaker.eRole == Speaker::kSingle) {
      const auto iSingle = static_cast<int32_t>(
          std::count_if(speakers.begin(), speakers.begin() + static_cast<std::ptrdiff_t>(s),
                        [](const Speaker& x) { return x.eRole == Speaker::kSingle; }));
      nImages += nRest / nSingles + (iSingle < nRest % nSingles ? 1 : 0);
    }
    const std::vector<ImagePulse> images = Images(hall, speaker.site, nImages);
    for (std::size_t k = 0; k < images.size(); ++k) {
      std::shared_ptr<CPulsClass> puls = MakePuls(hall, speaker, images[k], iLsp);
      switch (speaker.eRole) {
        case Speaker::kSingle:
          puls->SetID(lNextID++);
          break;
        case Speaker::kPseudo:
          // The group's pulses: their levels are the coherent sum the preparation forms.
          puls->SetIsPseudo(true);
          puls->SetID(lNextID++);
          if (images[k].iOrder == 0) puls->SetID_Pseudo(puls->ID());
          laPseudoIDs.push_back(puls->ID());
          break;
        case Speaker::kMember:
          puls->SetIsBundle(true);
          if (images[k].iOrder == 0) puls->SetIsMember(true);
          puls->SetID(lNextID++);
          puls->SetID_Pseudo(laPseudoIDs.at(k));
          break;
      }
      const int32_t iPuls = pulses.AddPuls(std::move(puls));
      if (images[k].iOrder == 0) lsp.SetPulsNr(iPuls);
    }
  }
  pulses.UpdateMaxOrderAndID();
  pulses.UpdateMaxSPL();
  FillHallInfoBlocks(cFile, hall, sLabel, 10.0 * std::log10(powerEnergy));
}

}  // namespace zyra::tool
