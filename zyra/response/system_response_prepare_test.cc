#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <string>

#include "testing/test_support.h"
#include "zyra/response/system_response.h"

namespace zyra {

// Reaches the private preparation steps.
class SystemResponseTestAccess {
 public:
  static void Link(CSystemResponse& r) { r.LinkLspInfosToDirectPulses(); }
  static void CopyPseudoFlags(CSystemResponse& r) { r.CopyPseudoFlagsToLspInfos(); }
  static void CorrectBadBundles(CSystemResponse& r) { r.CorrectBadBundles(); }
  static void Rebuild(CSystemResponse& r, std::string& s) { r.RebuildCoherenceGroups(s); }
  static void Levels(CSystemResponse& r, int32_t t, const std::vector<int32_t>& m) {
    r.ComputePseudoPulseLevels(t, m);
  }
  static void AddPhases(CSystemResponse& r) { r.AddSpeakerPhases(nullptr); }
  static void Normalize(CSystemResponse& r) {
    r.NormalizeLspFlags();
    r.NormalizePulsFlags();
  }
};

namespace {

using Access = SystemResponseTestAccess;
using Step = std::function<void(CSystemResponse&)>;

// The six flags of a pulse from kPulsFlag bits.
void SetFlags(CPulsClass& p, int32_t f) {
  p.SetIsInactive(f & kPulsFlagInactive);
  p.SetIsPseudo(f & kPulsFlagPseudo);
  p.SetIsBundle(f & kPulsFlagBundle);
  p.SetIsMember(f & kPulsFlagMember);
  p.SetIsCoherence(f & kPulsFlagCoherence);
  p.SetIsLspOff(f & kPulsFlagLspOff);
}

// ---- Literal versions of the steps: the nested scans as the steps are defined ----

void LiteralRemoveUnused(CSystemResponse& r) {
  const int32_t nLsp = r.LspInfos()->Count();
  std::vector<bool> used(nLsp + 1);
  for (int32_t p = 1; p <= r.Pulses()->Count(); ++p) {
    const int32_t o = r.Puls(p)->Origin();
    if (o < 0 || o > nLsp) throw RuntimeError(kErrSubscript);
    used[o] = true;
  }
  for (int32_t k = nLsp; k >= 1; --k) {
    if (used[k]) continue;
    for (int32_t p = 1; p <= r.Pulses()->Count(); ++p)
      if (r.Puls(p)->Origin() > k) r.Puls(p)->SetOrigin(r.Puls(p)->Origin() - 1);
    const int32_t n = r.LspInfos()->Count();
    for (int32_t j = k; j < n; ++j) r.SetLspInfo(j, r.LspInfo(j + 1)->CopyDeep());
    r.LspInfos()->SetCountPreserve(n - 1);
  }
}

void LiteralCorrectBadBundles(CSystemResponse& r) {
  const int32_t n = r.LspInfos()->Count();
  int32_t base = -n;
  for (int32_t i = 1; i <= n; ++i) base = std::min(base, r.LspInfo(i)->CoherenceGroup());
  std::vector<int32_t> head(n + 1, 0);
  int32_t g = 0, h = 0, current = 0;
  for (int32_t i = 1; i <= n; ++i) {
    auto lsp = r.LspInfo(i);
    const int32_t pn = lsp->PulsNr();
    auto direct = Required(r.Puls(pn));
    if (lsp->IsCoherenceInvalid() || !(direct->IsPseudo() || direct->IsBundle())) continue;
    if (lsp->CoherenceGroup() != 0) {
      // Already grouped: the head is the loudspeaker itself or the first pseudo one before.
      head[i] = direct->IsPseudo() ? i : 0;
      for (int32_t j = 1; j < i && head[i] == 0; ++j) {
        const auto lj = r.LspInfo(j);
        if (lj->CoherenceGroup() == lsp->CoherenceGroup() && r.Puls(lj->PulsNr())->IsPseudo())
          head[i] = j;
      }
      continue;
    }
    lsp->SetIsPseudo(direct->IsPseudo());
    lsp->SetIsMember(!direct->IsPseudo());
    if (direct->IsPseudo()) {
      lsp->SetCoherenceGroup(base - ++g);
      current = i;
      r.SetPulsFlags_Pseudo(pn);
      direct->SetID(++h);
      direct->SetID_Pseudo(h);
    } else {
      lsp->SetCoherenceGroup(g > 0 ? base - g : 0);
      head[i] = current;
      r.SetPulsFlags_Member(pn);
      direct->SetID_Pseudo(current != 0 ? r.Puls(r.LspInfo(current)->PulsNr())->ID_Pseudo() : 0);
    }
  }
  Access::Link(r);
  for (int32_t p = r.Pulses()->Count(); p >= 1; --p) {
    auto puls = r.Puls(p);
    const int32_t o = puls->Origin();
    if (puls->ROrder() < 1 || o == 0) continue;
    if (r.LspInfo(o)->IsPseudo()) {
      r.Pulses()->DeletePuls(p);
      r.LspInfos()->CorrectPulsePointers(p);
    } else if (puls->IsBundle() || r.LspInfo(o)->IsMember()) {
      r.SetPulsFlags_Normal(p);
      puls->SetOrigin(head[o]);
    }
  }
}

void LiteralRebuild(CSystemResponse& r, std::string& msg) {
  msg.clear();
  const int32_t n = r.LspInfos()->Count();
  int32_t g = 0, current = 0;
  // A loudspeaker and its direct sound put into a group (or out of every group).
  const auto regroup = [&](int32_t i, int32_t group) {
    auto lsp = r.LspInfo(i);
    lsp->SetIsCoherenceInvalid(false);
    lsp->SetIsCoherence(false);
    lsp->SetIsMember(group != 0);
    lsp->SetCoherenceGroup(group);
    auto direct = Required(r.Puls(lsp->PulsNr()));
    direct->SetIsMember(group != 0);
    direct->SetIsCoherence(false);
    return direct;
  };
  for (int32_t i = 1; i <= n; ++i) {
    auto lsp = r.LspInfo(i);
    if (lsp->IsCoherenceInvalid()) {
      const int32_t id = regroup(i, 0)->ID();
      if (!lsp->IsPseudo()) continue;
      if (id == 0) {
        msg = "No Coherence Group Information Available";
        continue;
      }
      lsp->SetCoherenceGroup(-++g);
      for (int32_t j = 1; j <= n; ++j) {
        auto pj = Required(r.Puls(r.LspInfo(j)->PulsNr()));
        if (pj->IsBundle() && pj->ID_Pseudo() == id) regroup(j, -g);
      }
    } else if (lsp->IsPseudo()) {
      current = i;
    } else if (lsp->IsMember() && current != 0) {
      r.LspInfo(current)->SetCoherenceGroup(lsp->CoherenceGroup());
      current = 0;
    }
  }
}

void LiteralComputePseudoPulses(CSystemResponse& r) {
  const int32_t n = r.LspInfos()->Count();
  for (int32_t i = 1; i <= n; ++i) {
    if (!r.LspInfo(i)->IsPseudo()) continue;
    const int32_t pn = r.LspInfo(i)->PulsNr();
    auto pseudo = Required(r.Puls(pn));
    pseudo->SetOrigin(i);
    pseudo->SetROrder(0);
    pseudo->SetHorAngle(0);
    pseudo->SetVerAngle(0);
    SetFlags(*pseudo, kPulsFlagPseudo);
    std::vector<int32_t> members;
    for (int32_t j = 1; j <= n; ++j) {
      auto lj = r.LspInfo(j);
      if (lj->CoherenceGroup() != r.LspInfo(i)->CoherenceGroup() || !lj->IsMember() ||
          lj->IsPseudo() || Required(r.Puls(lj->PulsNr()))->IsInactive())
        continue;
      members.push_back(lj->PulsNr());
      r.Puls(lj->PulsNr())->SetIsMember(true);
    }
    for (int32_t b = 1; b <= 21 && members.empty(); ++b) {
      pseudo->SetSPL(b, -20000);
      pseudo->SetPhase(b, 0);
    }
    if (!members.empty()) Access::Levels(r, pn, members);
  }
  const int32_t nPuls = r.Pulses()->Count();
  const auto isPseudoReflection = [&](int32_t p) {
    return r.Puls(p)->IsPseudo() && r.Puls(p)->ROrder() >= 1;
  };
  for (int32_t x = 1; x <= nPuls; ++x) {
    const int32_t id = r.Puls(x)->ID();
    bool owner = isPseudoReflection(x) && id != 0;  // the last pseudo reflection of its ID
    for (int32_t y = x + 1; y <= nPuls && owner; ++y)
      owner = !(isPseudoReflection(y) && r.Puls(y)->ID() == id);
    if (!owner) continue;
    std::vector<int32_t> members;
    for (int32_t p = 1; p <= nPuls; ++p) {
      auto q = r.Puls(p);
      if (q->ROrder() >= 1 && !q->IsPseudo() && !q->IsCoherence() && !q->IsInactive() &&
          q->ID_Pseudo() == id) {
        q->SetIsMember(true);
        members.push_back(p);
      }
    }
    if (!members.empty()) Access::Levels(r, x, members);
  }
}

// Insertion sort by arrival, then the loudspeakers relinked.
void LiteralTrainSort(CSystemResponse& r) {
  for (int32_t i = 2; i <= r.Pulses()->Count(); ++i)
    for (int32_t j = i - 1; j >= 1 && r.GetPulsArrival(j) > r.GetPulsArrival(j + 1); --j)
      r.Pulses()->Swap(j, j + 1);
  Access::Link(r);
}

void LiteralInit(CSystemResponse& r, bool bCorrect, std::string& msg) {
  LiteralRemoveUnused(r);
  Access::CopyPseudoFlags(r);
  Access::Link(r);
  if (bCorrect) LiteralCorrectBadBundles(r);
  r.Pulses()->UpdateMaxOrderAndID();
  LiteralRebuild(r, msg);
  LiteralComputePseudoPulses(r);
  Access::AddPhases(r);
  LiteralTrainSort(r);
  r.SetActiveLspPulses();
  Access::Normalize(r);
}

// ---- Random small responses ----

// Many records share groups, identifiers, travel times and flags, so that the corners meet.
CSystemResponse RandomResponse(uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto pick = [&](uint64_t n) { return static_cast<int32_t>(rng() % n); };
  const auto chance = [&](int32_t percent) { return pick(100) < percent; };
  CSystemResponse r;
  const int32_t nLsp = pick(8), nPuls = pick(18);
  r.LspInfos()->SetCount(nLsp);
  r.Pulses()->SetCount(nPuls, nullptr);
  for (int32_t i = 1; i <= nLsp; ++i) {
    CLspInfoClass& lsp = *r.LspInfo(i);
    lsp.SetIsActive(chance(80));
    lsp.SetIsPseudo(chance(30));
    lsp.SetIsMember(chance(35));
    lsp.SetIsCoherence(chance(15));
    lsp.SetIsCoherenceInvalid(chance(35));
    lsp.SetCoherenceGroup(chance(50) ? 0 : pick(5) - 2);
    lsp.SetPulsNr(chance(70) ? i : pick(static_cast<uint64_t>(nPuls) + 1));
    lsp.SetDelay(0.5f * static_cast<float>(pick(4)));
    for (int32_t b = 1; b <= 21; ++b) lsp.SetPhase(b, static_cast<int16_t>(pick(62833) - 31416));
  }
  // Flag bits with their chances in percent.
  const std::pair<int32_t, int32_t> flagChances[] = {
      {kPulsFlagInactive, 15}, {kPulsFlagPseudo, 30},    {kPulsFlagBundle, 35},
      {kPulsFlagMember, 25},   {kPulsFlagCoherence, 15}, {kPulsFlagLspOff, 15}};
  for (int32_t p = 1; p <= nPuls; ++p) {
    CPulsClass& puls = *r.Puls(p);
    puls.SetOrigin(chance(10) || nLsp == 0 ? 0 : 1 + pick(static_cast<uint64_t>(nLsp)));
    puls.SetROrder(chance(35) ? 0 : 1 + pick(2));
    int32_t flags = 0;
    for (const auto& [bit, percent] : flagChances) flags |= chance(percent) ? bit : 0;
    SetFlags(puls, flags);
    puls.SetID(pick(4));
    puls.SetID_Pseudo(pick(4));
    puls.SetTravel(0.5f * static_cast<float>(pick(12)));
    puls.SetHorAngle(static_cast<int16_t>(pick(360) - 180));
    puls.SetVerAngle(static_cast<int16_t>(pick(180) - 90));
    for (int32_t b = 0; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(pick(9000) - 500));
      puls.SetPhase(b, static_cast<int16_t>(pick(62833) - 31416));
    }
  }
  return r;
}

using Objects = std::vector<std::shared_ptr<CLspInfoClass>>;

// Every saved byte of every record, in buffer order, and which records are still the objects
// they were before (a deep copy is a new object; `before` keeps the old ones alive so that no
// new one can take an old one's address).
std::string Snapshot(const CSystemResponse& r, const Objects& before) {
  ByteStream stream;
  std::string identity;
  for (int32_t p = 1; p <= r.Pulses()->Count(); ++p) r.Puls(p)->SaveToByteStream(stream);
  for (int32_t i = 1; i <= r.LspInfos()->Count(); ++i) {
    r.LspInfo(i)->SaveToByteStream(stream);
    const auto it = std::find(before.begin(), before.end(), r.LspInfo(i));
    identity += std::to_string(it == before.end() ? -1 : it - before.begin()) + ",";
  }
  return testing::StreamHex(stream) + "|" + identity + "|" + r.LspInfo(0)->Label();
}

// Runs both versions on the same random responses; both fail with the same error or both
// leave the same state.
void CompareOnRandomResponses(const Step& fast, const Step& literal) {
  constexpr int32_t kCases = 3000;
  int32_t nCompared = 0;
  for (int32_t c = 0; c < kCases; ++c) {
    CSystemResponse a = RandomResponse(static_cast<uint64_t>(c));
    CSystemResponse b = RandomResponse(static_cast<uint64_t>(c));
    Objects beforeA, beforeB;
    for (int32_t i = 0; i <= a.LspInfos()->Count(); ++i) {
      beforeA.push_back(a.LspInfo(i));
      beforeB.push_back(b.LspInfo(i));
    }
    const int32_t errA = testing::ErrorNumberOf([&] { fast(a); });
    ASSERT_EQ(errA, testing::ErrorNumberOf([&] { literal(b); })) << "case " << c;
    if (errA != 0) continue;
    ++nCompared;
    ASSERT_EQ(Snapshot(a, beforeA), Snapshot(b, beforeB)) << "case " << c;
  }
  EXPECT_GT(nCompared, kCases / 2);
}

// A step whose message is put into the template's label, so that it takes part.
Step WithMessage(const std::function<void(CSystemResponse&, std::string&)>& step) {
  return [step](CSystemResponse& r) {
    std::string s;
    step(r, s);
    r.LspInfo(0)->SetLabel(s);
  };
}

TEST(SystemResponsePrepare, FastStepsMatchTheLiteralScans) {
  CompareOnRandomResponses(Access::CorrectBadBundles, LiteralCorrectBadBundles);
  CompareOnRandomResponses(WithMessage(Access::Rebuild), WithMessage(LiteralRebuild));
  CompareOnRandomResponses([](CSystemResponse& r) { r.ComputePseudoPulses(nullptr); },
                           LiteralComputePseudoPulses);
  CompareOnRandomResponses([](CSystemResponse& r) { r.TrainSortPulses(true, nullptr); },
                           LiteralTrainSort);
  for (const bool bCorrect : {false, true}) {
    CompareOnRandomResponses(
        WithMessage([bCorrect](CSystemResponse& r, std::string& s) {
          EXPECT_EQ(r.InitResponseDataAfterRead(false, bCorrect, s, nullptr), 0);
        }),
        WithMessage(
            [bCorrect](CSystemResponse& r, std::string& s) { LiteralInit(r, bCorrect, s); }));
  }
}

// ---- Hand-made responses: the steps both versions share ----

// Loudspeakers 1..n, all active, and one pulse per row.
struct P {
  int32_t lOrigin, lOrder;
  float fTravel;
  int32_t flags = 0;  // kPulsFlag bits
};
CSystemResponse Make(int32_t nLsp, const std::vector<P>& pulses) {
  CSystemResponse r;
  r.LspInfos()->SetCount(nLsp);
  for (int32_t i = 1; i <= nLsp; ++i) r.LspInfo(i)->SetIsActive(true);
  for (const P& row : pulses) {
    auto puls = std::make_shared<CPulsClass>();
    puls->SetOrigin(row.lOrigin);
    puls->SetROrder(row.lOrder);
    puls->SetTravel(row.fTravel);
    SetFlags(*puls, row.flags);
    r.Pulses()->AddPuls(std::move(puls));
  }
  return r;
}

// The relinking after the sort is compared with the literal sort on the random responses.
TEST(SystemResponsePrepare, LinksTheLaterDirectSoundAndRefusesBadOrigins) {
  // Two direct sounds of L1: pulse 3, the later one in the buffer, wins.
  CSystemResponse r = Make(2, {{1, 0, 5}, {2, 0, 4}, {1, 0, 1}, {1, 1, 4}, {2, 1, 4}});
  Access::Link(r);
  EXPECT_EQ(r.LspInfo(1)->PulsNr(), 3);
  EXPECT_EQ(r.LspInfo(2)->PulsNr(), 2);
  CSystemResponse bad = Make(1, {{2, 0, 1}});  // an Origin naming no record
  std::string s;
  EXPECT_EQ(
      testing::ErrorNumberOf([&] { bad.InitResponseDataAfterRead(false, false, s, nullptr); }),
      kErrSubscript);
}

TEST(SystemResponsePrepare, PseudoPulseIsTheCoherentSumOfItsMembersAndPhasesAreAddedOnce) {
  // L1 pseudo, L2 and L3 its members: equal and simultaneous, so +6.02 dB at their phase; band 0
  // is stored only and keeps the pseudo pulse's own values.
  CSystemResponse r = Make(3, {{1, 0, 1}, {2, 0, 1}, {3, 0, 1}});
  Access::Link(r);
  for (int32_t i = 1; i <= 3; ++i) {
    r.LspInfo(i)->SetCoherenceGroup(-1);
    r.LspInfo(i)->SetIsPseudo(i == 1);
    r.LspInfo(i)->SetIsMember(i != 1);
    for (int32_t b = 0; b <= 21; ++b) {
      r.Puls(i)->SetSPL(b, i == 1 ? 1234 : 6000);
      r.Puls(i)->SetPhase(b, i == 1 ? 55 : 1000);
    }
  }
  r.ComputePseudoPulses(nullptr);
  EXPECT_EQ(r.Puls(1)->SPL(0), 1234);
  EXPECT_EQ(r.Puls(1)->Phase(0), 55);
  for (int32_t b = 1; b <= 21; ++b) {
    EXPECT_EQ(r.Puls(1)->SPL(b), 6602) << b;
    EXPECT_EQ(r.Puls(1)->Phase(b), 1000) << b;
  }
  // The loudspeaker's phases go into its direct sound once, and not into band 0.
  CSystemResponse one = Make(1, {{1, 0, 1}, {0, 1, 2}});
  for (int32_t b = 0; b <= 21; ++b) one.Puls(1)->SetPhase(b, 50);
  for (int32_t b = 1; b <= 21; ++b) one.LspInfo(1)->SetPhase(b, 100);
  std::string s;
  for (int32_t k = 0; k < 2; ++k) one.InitResponseDataAfterRead(true, false, s, nullptr);
  EXPECT_EQ(one.Puls(1)->Phase(0), 50);
  EXPECT_EQ(one.Puls(1)->Phase(21), 150);
  EXPECT_EQ(one.Puls(2)->Phase(1), 0);  // no loudspeaker, no phase
}

TEST(SystemResponsePrepare, SwitchingIsReversibleAndNormalisationMakesTheRolesExclusive) {
  // Pulse 3 is off for its own reason.
  CSystemResponse r = Make(1, {{1, 0, 1}, {1, 1, 2}, {1, 1, 3, kPulsFlagInactive}});
  for (const bool bActive : {false, false, true}) {
    r.LspInfo(1)->SetIsActive(bActive);
    r.SetActiveLspPulses();
    for (int32_t p = 1; p <= 3; ++p) {
      EXPECT_EQ(r.Puls(p)->IsInactive(), !bActive || p == 3) << p;
      EXPECT_EQ(r.Puls(p)->IsLspOff(), !bActive && p != 3) << p;
    }
  }
  constexpr int32_t kPs = kPulsFlagPseudo, kBu = kPulsFlagBundle, kMe = kPulsFlagMember,
                    kCo = kPulsFlagCoherence;
  const int32_t rows[][4] = {// flags in, flags out, ID, ID_Pseudo
                             {kPs | kBu | kMe | kCo, kPs, 5, 6},
                             {kBu | kCo, kCo, 0, 6},
                             {kMe, kBu | kMe, 5, 6},
                             {0, 0, 5, 0}};
  for (const auto& row : rows) {
    CSystemResponse one = Make(0, {{0, 1, 1, row[0]}});
    CPulsClass& p = *one.Puls(1);
    p.SetID(5);
    p.SetID_Pseudo(6);
    Access::Normalize(one);
    EXPECT_EQ((std::array{p.Flags(), p.ID(), p.ID_Pseudo()}), (std::array{row[1], row[2], row[3]}))
        << row[0];
  }
  // Loudspeakers: pseudo+member -> pseudo only; member without group -> invalid; no role ->
  // group cleared.
  CSystemResponse lsps = Make(3, {});
  lsps.LspInfo(1)->SetIsPseudo(true);
  lsps.LspInfo(1)->SetIsMember(true);
  lsps.LspInfo(1)->SetCoherenceGroup(-1);
  lsps.LspInfo(2)->SetIsMember(true);
  lsps.LspInfo(3)->SetCoherenceGroup(4);
  Access::Normalize(lsps);
  EXPECT_TRUE(lsps.LspInfo(1)->IsPseudo() && !lsps.LspInfo(1)->IsMember());
  EXPECT_FALSE(lsps.LspInfo(1)->IsCoherenceInvalid());
  EXPECT_TRUE(lsps.LspInfo(2)->IsCoherenceInvalid());
  EXPECT_EQ(lsps.LspInfo(3)->CoherenceGroup(), 0);
}

}  // namespace
}  // namespace zyra
