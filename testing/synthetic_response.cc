#include "testing/synthetic_response.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "zyra/support/errors.h"

namespace zyra::testing {

namespace {

constexpr int32_t kMembersPerGroup = 8;
constexpr int32_t kPseudoReflectionsPerGroup = 20;

// The engine's output is fixed by the standard; the mappings below are our own, so the same
// seed gives the same response with every standard library.
class Dice {
 public:
  explicit Dice(uint64_t nSeed) : engine_(nSeed) {}
  double Unit() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }  // [0, 1)
  int32_t Below(int32_t n) { return static_cast<int32_t>(Unit() * n); }       // 0..n-1
  int32_t Between(int32_t lo, int32_t hi) { return lo + Below(hi - lo + 1); }

 private:
  std::mt19937_64 engine_;
};

void FillPuls(CPulsClass& puls, Dice& dice, int32_t lOrigin, int32_t lOrder, int32_t lID) {
  puls.SetOrigin(lOrigin);
  puls.SetROrder(lOrder);
  puls.SetTravel(
      static_cast<float>(lOrder == 0 ? 5.0 + 40.0 * dice.Unit() : 10.0 + 490.0 * dice.Unit()));
  puls.SetHorAngle(static_cast<int16_t>(dice.Between(-180, 179)));
  puls.SetVerAngle(static_cast<int16_t>(dice.Between(-90, 90)));
  puls.CalculateRayFromAngles();
  const int32_t lBase = lOrder == 0 ? 8000 : 7000 - 400 * lOrder;
  for (int32_t b = 0; b <= 21; ++b) {
    puls.SetSPL(b, static_cast<int16_t>(lBase + dice.Between(-600, 600)));
    puls.SetPhase(b, static_cast<int16_t>(dice.Between(-31415, 31415)));
  }
  puls.SetMultiple(1);
  puls.SetID(lID);
}

}  // namespace

void SynthesizeSystemResponse(CSystemResponse& cResponse, const SynthOptions& options) {
  if (options.nPulses < 0 || options.nSpeakers < 0 || options.nGroups < 0 ||
      !(options.dUnusedFraction >= 0.0 && options.dUnusedFraction <= 1.0)) {
    RaiseError(kErrInvalidCall);
  }
  Dice dice(options.nSeed);
  const int32_t nSpeakers = options.nSpeakers;
  const auto nUnused = static_cast<int32_t>(options.dUnusedFraction * nSpeakers);
  const int32_t nUsed = std::min(nSpeakers - nUnused, options.nPulses);
  // Each group takes a pseudo loudspeaker and its members, plus its pseudo and bundle
  // reflections; at least one ordinary loudspeaker stays for the other reflections.
  const int32_t nGroupPulses = (1 + kMembersPerGroup) * (1 + kPseudoReflectionsPerGroup);
  int32_t nGroups = options.nGroups;
  while (nGroups > 0 && (nGroups * (1 + kMembersPerGroup) >= nUsed ||
                         nGroups * nGroupPulses + nUsed > options.nPulses)) {
    --nGroups;
  }

  // Which records are used: a shuffle of the record numbers, the first nUsed of them in
  // ascending order.
  std::vector<int32_t> laRecords(static_cast<size_t>(nSpeakers));
  for (int32_t i = 0; i < nSpeakers; ++i) laRecords[static_cast<size_t>(i)] = i + 1;
  for (int32_t i = nSpeakers - 1; i > 0; --i) {
    std::swap(laRecords[static_cast<size_t>(i)], laRecords[static_cast<size_t>(dice.Below(i + 1))]);
  }
  std::vector<int32_t> laUsed(laRecords.begin(), laRecords.begin() + nUsed);
  std::sort(laUsed.begin(), laUsed.end());

  CLspInfoBufferClass& infos = *cResponse.LspInfos();
  infos.SetCount(nSpeakers);
  for (int32_t i = 1; i <= nSpeakers; ++i) {
    CLspInfoClass& lsp = infos.LspInfoRecord(i);
    lsp.SetLabel("Speaker " + std::to_string(i));
    lsp.SetCharLabel("S" + std::to_string(i));
    lsp.SetIsActive(dice.Unit() >= 0.02);
    lsp.SetDelay(static_cast<float>(dice.Below(20)) * 0.5f);
    for (int32_t k = 1; k <= 3; ++k) lsp.SetSite(k, static_cast<float>(dice.Unit() * 30.0));
    for (int32_t b = 0; b <= 21; ++b)
      lsp.SetSPL1m(b, static_cast<int16_t>(9000 + dice.Below(1000)));
    lsp.SetIsPhaseFlgValid(true);
    lsp.SetIsWithPhase(true);
    for (int32_t b = 1; b <= 21; ++b)
      lsp.SetPhase(b, static_cast<int16_t>(dice.Between(-3000, 3000)));
  }

  CPulsBufferClass& pulses = *cResponse.Pulses();
  pulses.SetCount(options.nPulses, nullptr);
  pulses.SetDataOrigin(PB_EOrigin_RandomPulses);
  int32_t p = 0;
  int32_t lNextID = 1;
  // Direct sounds of every used loudspeaker; the groups take the first used ones.
  for (const int32_t i : laUsed) {
    FillPuls(pulses.PulsRecord(++p), dice, i, 0, lNextID++);
    infos.LspInfoRecord(i).SetPulsNr(p);
  }
  for (int32_t g = 0; g < nGroups; ++g) {
    const size_t first = static_cast<size_t>(g) * (1 + kMembersPerGroup);
    const int32_t iPseudo = laUsed[first];
    CLspInfoClass& head = infos.LspInfoRecord(iPseudo);
    CPulsClass& headPuls = pulses.PulsRecord(head.PulsNr());
    head.SetIsPseudo(true);
    head.SetCoherenceGroup(-(g + 1));
    headPuls.SetIsPseudo(true);
    headPuls.SetID_Pseudo(headPuls.ID());
    for (int32_t m = 1; m <= kMembersPerGroup; ++m) {
      CLspInfoClass& member = infos.LspInfoRecord(laUsed[first + static_cast<size_t>(m)]);
      member.SetIsMember(true);
      member.SetCoherenceGroup(-(g + 1));
      CPulsClass& memberPuls = pulses.PulsRecord(member.PulsNr());
      memberPuls.SetIsBundle(true);
      memberPuls.SetID_Pseudo(headPuls.ID());
    }
    // Pseudo reflections and the bundle reflection of every member that they stand for.
    for (int32_t r = 0; r < kPseudoReflectionsPerGroup; ++r) {
      const int32_t lOrder = dice.Between(1, 3);
      CPulsClass& pseudo = pulses.PulsRecord(++p);
      FillPuls(pseudo, dice, iPseudo, lOrder, lNextID++);
      pseudo.SetIsPseudo(true);
      for (int32_t m = 1; m <= kMembersPerGroup; ++m) {
        CPulsClass& bundle = pulses.PulsRecord(++p);
        FillPuls(bundle, dice, laUsed[first + static_cast<size_t>(m)], lOrder, lNextID++);
        bundle.SetTravel(pseudo.Travel() + static_cast<float>(dice.Unit()));
        bundle.SetIsBundle(true);
        bundle.SetID_Pseudo(pseudo.ID());
      }
    }
  }
  // The other reflections, of the ordinary used loudspeakers.
  const size_t nGrouped = static_cast<size_t>(nGroups) * (1 + kMembersPerGroup);
  const auto nOrdinary = static_cast<int32_t>(laUsed.size() - nGrouped);
  while (p < options.nPulses && nOrdinary > 0) {
    const int32_t i = laUsed[nGrouped + static_cast<size_t>(dice.Below(nOrdinary))];
    FillPuls(pulses.PulsRecord(++p), dice, i, dice.Between(1, 6), lNextID++);
  }
  pulses.SetCountPreserve(p);
}

}  // namespace zyra::testing
