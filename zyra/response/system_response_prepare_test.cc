#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <string>

#include "tests/test_support.h"
#include "zyra/response/system_response.h"

namespace zyra {

// Reaches the private preparation steps.
class SystemResponseTestAccess {
 public:
  static void RemoveUnused(CSystemResponse& r) {
    int32_t n = 0;
    r.RemoveUnusedLspInfos(n);
  }
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

// ---- Literal versions of the steps: the nested scans as the steps are defined ----

void LiteralRemoveUnused(CSystemResponse& r) {
  const int32_t nLsp = r.LspInfos()->Count();
  std::vector<int16_t> marks(static_cast<size_t>(nLsp) + 1, 0);
  for (int32_t p = 1; p <= r.Pulses()->Count(); ++p) {
    const int32_t o = r.Puls(p)->Origin();
    if (o < 0 || o > nLsp) throw RuntimeError(kErrSubscript);
    if (o != 0) marks[static_cast<size_t>(o)] = -1;
  }
  for (int32_t k = nLsp; k >= 1; --k) {
    if (marks[static_cast<size_t>(k)] != 0) continue;
    for (int32_t p = 1; p <= r.Pulses()->Count(); ++p) {
      if (r.Puls(p)->Origin() > k) r.Puls(p)->SetOrigin(r.Puls(p)->Origin() - 1);
    }
    const int32_t n = r.LspInfos()->Count();
    for (int32_t j = k; j < n; ++j) r.SetLspInfo(j, r.LspInfo(j + 1)->CopyDeep());
    r.LspInfos()->SetCountPreserve(n - 1);
  }
}

void LiteralCorrectBadBundles(CSystemResponse& r) {
  const int32_t n = r.LspInfos()->Count();
  int32_t base = -n;
  for (int32_t i = 1; i <= n; ++i) base = std::min(base, r.LspInfo(i)->CoherenceGroup());
  std::vector<int32_t> head(static_cast<size_t>(n) + 1, 0);
  int32_t g = 0, h = 0, current = 0;
  for (int32_t i = 1; i <= n; ++i) {
    auto lsp = r.LspInfo(i);
    const int32_t pn = lsp->PulsNr();
    auto direct = Required(r.Puls(pn));
    if (lsp->IsCoherenceInvalid() || !(direct->IsPseudo() || direct->IsBundle())) continue;
    if (lsp->CoherenceGroup() != 0) {
      if (direct->IsPseudo()) {
        head[i] = i;
      } else {
        for (int32_t j = 1; j < i; ++j) {
          if (r.LspInfo(j)->CoherenceGroup() == lsp->CoherenceGroup() &&
              r.Puls(r.LspInfo(j)->PulsNr())->IsPseudo()) {
            head[i] = j;
            break;
          }
        }
      }
    } else if (direct->IsPseudo()) {
      ++g;
      lsp->SetCoherenceGroup(base - g);
      lsp->SetIsPseudo(true);
      lsp->SetIsMember(false);
      current = i;
      r.SetPulsFlags_Pseudo(pn);
      ++h;
      direct->SetID(h);
      direct->SetID_Pseudo(h);
    } else {
      lsp->SetIsPseudo(false);
      lsp->SetIsMember(true);
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
  for (int32_t i = 1; i <= n; ++i) {
    auto lsp = r.LspInfo(i);
    if (lsp->IsCoherenceInvalid()) {
      lsp->SetIsCoherenceInvalid(false);
      lsp->SetCoherenceGroup(0);
      lsp->SetIsMember(false);
      lsp->SetIsCoherence(false);
      auto direct = Required(r.Puls(lsp->PulsNr()));
      direct->SetIsMember(false);
      direct->SetIsCoherence(false);
      if (!lsp->IsPseudo()) continue;
      const int32_t id = direct->ID();
      if (id == 0) {
        msg = "No Coherence Group Information Available";
        continue;
      }
      lsp->SetCoherenceGroup(-++g);
      for (int32_t j = 1; j <= n; ++j) {
        auto pj = Required(r.Puls(r.LspInfo(j)->PulsNr()));
        if (!pj->IsBundle() || pj->ID_Pseudo() != id) continue;
        pj->SetIsMember(true);
        pj->SetIsCoherence(false);
        r.LspInfo(j)->SetIsCoherenceInvalid(false);
        r.LspInfo(j)->SetIsCoherence(false);
        r.LspInfo(j)->SetIsMember(true);
        r.LspInfo(j)->SetCoherenceGroup(-g);
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
    pseudo->SetIsInactive(false);
    pseudo->SetIsBundle(false);
    pseudo->SetIsLspOff(false);
    pseudo->SetIsMember(false);
    pseudo->SetIsPseudo(true);
    pseudo->SetIsCoherence(false);
    std::vector<int32_t> members;
    for (int32_t j = 1; j <= n; ++j) {
      auto lj = r.LspInfo(j);
      if (lj->CoherenceGroup() != r.LspInfo(i)->CoherenceGroup() || !lj->IsMember() ||
          lj->IsPseudo())
        continue;
      auto pj = Required(r.Puls(lj->PulsNr()));
      if (pj->IsInactive()) continue;
      members.push_back(lj->PulsNr());
      pj->SetIsMember(true);
    }
    if (!members.empty()) {
      Access::Levels(r, pn, members);
    } else {
      for (int32_t b = 1; b <= 21; ++b) {
        pseudo->SetSPL(b, -20000);
        pseudo->SetPhase(b, 0);
      }
    }
  }
  const int32_t nPuls = r.Pulses()->Count();
  for (int32_t x = 1; x <= nPuls; ++x) {
    auto px = r.Puls(x);
    if (!px->IsPseudo() || px->ROrder() < 1 || px->ID() == 0) continue;
    bool owner = true;
    for (int32_t y = x + 1; y <= nPuls; ++y) {
      owner = owner &&
              !(r.Puls(y)->IsPseudo() && r.Puls(y)->ROrder() >= 1 && r.Puls(y)->ID() == px->ID());
    }
    if (!owner) continue;
    std::vector<int32_t> members;
    for (int32_t p = 1; p <= nPuls; ++p) {
      auto q = r.Puls(p);
      if (q->ROrder() >= 1 && !q->IsPseudo() && !q->IsCoherence() && !q->IsInactive() &&
          q->ID_Pseudo() == px->ID()) {
        q->SetIsMember(true);
        members.push_back(p);
      }
    }
    if (!members.empty()) Access::Levels(r, x, members);
  }
}

// Insertion sort by arrival, then the loudspeakers relinked.
void LiteralTrainSort(CSystemResponse& r) {
  for (int32_t i = 2; i <= r.Pulses()->Count(); ++i) {
    for (int32_t j = i - 1; j >= 1 && r.GetPulsArrival(j) > r.GetPulsArrival(j + 1); --j) {
      r.Pulses()->Swap(j, j + 1);
    }
  }
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
  const auto pick = [&](int32_t n) {
    return static_cast<int32_t>(rng() % static_cast<uint64_t>(n));
  };
  const auto chance = [&](int32_t percent) { return pick(100) < percent; };
  CSystemResponse r;
  const int32_t nLsp = pick(8);
  const int32_t nPuls = pick(18);
  r.LspInfos()->SetCount(nLsp);
  r.Pulses()->SetCount(nPuls, nullptr);
  for (int32_t i = 1; i <= nLsp; ++i) {
    CLspInfoClass& lsp = *r.LspInfo(i);
    lsp.SetLabel("L" + std::to_string(i));
    lsp.SetIsActive(chance(80));
    lsp.SetIsPseudo(chance(30));
    lsp.SetIsMember(chance(35));
    lsp.SetIsCoherence(chance(15));
    lsp.SetIsCoherenceInvalid(chance(35));
    lsp.SetCoherenceGroup(chance(50) ? 0 : pick(5) - 2);
    lsp.SetPulsNr(chance(70) ? i : pick(nPuls + 1));
    lsp.SetDelay(0.5f * static_cast<float>(pick(4)));
    for (int32_t b = 1; b <= 21; ++b) lsp.SetPhase(b, static_cast<int16_t>(pick(62833) - 31416));
  }
  for (int32_t p = 1; p <= nPuls; ++p) {
    CPulsClass& puls = *r.Puls(p);
    puls.SetOrigin(chance(10) || nLsp == 0 ? 0 : 1 + pick(nLsp));
    puls.SetROrder(chance(35) ? 0 : 1 + pick(2));
    puls.SetIsInactive(chance(15));
    puls.SetIsPseudo(chance(30));
    puls.SetIsBundle(chance(35));
    puls.SetIsMember(chance(25));
    puls.SetIsCoherence(chance(15));
    puls.SetIsLspOff(chance(15));
    puls.SetID(pick(4));
    puls.SetID_Pseudo(pick(4));
    puls.SetTravel(0.5f * static_cast<float>(pick(12)));
    puls.SetHorAngle(static_cast<int16_t>(pick(360) - 180));
    puls.SetVerAngle(static_cast<int16_t>(pick(180) - 90));
    puls.CalculateRayFromAngles();
    for (int32_t b = 0; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(pick(9000) - 500));
      puls.SetPhase(b, static_cast<int16_t>(pick(62833) - 31416));
    }
  }
  return r;
}

// Every saved byte of every record, in buffer order, and which records are still the objects
// they were before (a deep copy is a new object; `before` keeps the old ones alive so that no
// new one can take an old one's address).
std::string Snapshot(const CSystemResponse& r,
                     const std::vector<std::shared_ptr<CLspInfoClass>>& before) {
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

std::vector<std::shared_ptr<CLspInfoClass>> LspObjects(const CSystemResponse& r) {
  std::vector<std::shared_ptr<CLspInfoClass>> objects;
  for (int32_t i = 0; i <= r.LspInfos()->Count(); ++i) objects.push_back(r.LspInfo(i));
  return objects;
}

// Runs both versions on the same random responses; both fail with the same error or both
// leave the same state.
void CompareOnRandomResponses(const Step& fast, const Step& literal, int32_t nCases = 3000) {
  int32_t nCompared = 0;
  for (int32_t c = 0; c < nCases; ++c) {
    CSystemResponse a = RandomResponse(static_cast<uint64_t>(c));
    CSystemResponse b = RandomResponse(static_cast<uint64_t>(c));
    const auto beforeA = LspObjects(a);
    const auto beforeB = LspObjects(b);
    int32_t errA = 0, errB = 0;
    try {
      fast(a);
    } catch (const RuntimeError& e) {
      errA = e.Number();
    }
    try {
      literal(b);
    } catch (const RuntimeError& e) {
      errB = e.Number();
    }
    ASSERT_EQ(errA, errB) << "case " << c;
    if (errA != 0) continue;
    ++nCompared;
    const std::string sA = Snapshot(a, beforeA);
    const std::string sB = Snapshot(b, beforeB);
    if (sA != sB) {
      size_t k = 0;
      while (k < sA.size() && sA[k] == sB[k]) ++k;
      FAIL() << "case " << c << " differs at " << k << ": " << sA.substr(k > 60 ? k - 60 : 0, 160)
             << "\n vs " << sB.substr(k > 60 ? k - 60 : 0, 160);
    }
  }
  EXPECT_GT(nCompared, nCases / 2);
}

TEST(SystemResponsePrepare, FastStepsMatchTheLiteralScans) {
  CompareOnRandomResponses(Access::RemoveUnused, LiteralRemoveUnused);
  CompareOnRandomResponses(Access::CorrectBadBundles, LiteralCorrectBadBundles);
  CompareOnRandomResponses(
      [](CSystemResponse& r) {
        std::string s;
        Access::Rebuild(r, s);
        r.LspInfo(0)->SetLabel(s);  // the message takes part in the comparison
      },
      [](CSystemResponse& r) {
        std::string s;
        LiteralRebuild(r, s);
        r.LspInfo(0)->SetLabel(s);
      });
  CompareOnRandomResponses([](CSystemResponse& r) { r.ComputePseudoPulses(nullptr); },
                           LiteralComputePseudoPulses);
  CompareOnRandomResponses([](CSystemResponse& r) { r.TrainSortPulses(true, nullptr); },
                           LiteralTrainSort);
}

TEST(SystemResponsePrepare, WholePreparationMatchesTheLiteralSteps) {
  for (const bool bCorrect : {false, true}) {
    CompareOnRandomResponses(
        [bCorrect](CSystemResponse& r) {
          std::string s;
          EXPECT_EQ(r.InitResponseDataAfterRead(false, bCorrect, s, nullptr), 0);
          r.LspInfo(0)->SetLabel(s);
        },
        [bCorrect](CSystemResponse& r) {
          std::string s;
          LiteralInit(r, bCorrect, s);
          r.LspInfo(0)->SetLabel(s);
        });
  }
}

// ---- Hand-made responses ----

void ExpectError(int32_t number, const std::function<void()>& call) {
  try {
    call();
    ADD_FAILURE() << "no error " << number;
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Number(), number);
  }
}

// Loudspeakers 1..n (labelled L1..), all active, and pulses given as {Origin, ROrder, Travel}.
struct P {
  int32_t lOrigin, lOrder;
  float fTravel;
};
CSystemResponse Make(int32_t nLsp, const std::vector<P>& pulses) {
  CSystemResponse r;
  r.LspInfos()->SetCount(nLsp);
  for (int32_t i = 1; i <= nLsp; ++i) {
    r.LspInfo(i)->SetLabel("L" + std::to_string(i));
    r.LspInfo(i)->SetIsActive(true);
  }
  r.Pulses()->SetCount(static_cast<int32_t>(pulses.size()), nullptr);
  for (int32_t p = 1; p <= r.Pulses()->Count(); ++p) {
    r.Puls(p)->SetOrigin(pulses[static_cast<size_t>(p - 1)].lOrigin);
    r.Puls(p)->SetROrder(pulses[static_cast<size_t>(p - 1)].lOrder);
    r.Puls(p)->SetTravel(pulses[static_cast<size_t>(p - 1)].fTravel);
  }
  return r;
}

TEST(SystemResponsePrepare, UnusedLoudspeakersGoAndOriginsFollow) {
  CSystemResponse r = Make(5, {{1, 0, 1}, {3, 0, 2}, {5, 1, 3}, {0, 0, 4}, {3, 2, 5}});
  Access::RemoveUnused(r);
  ASSERT_EQ(r.LspInfos()->Count(), 3);
  EXPECT_EQ(r.LspInfo(2)->Label(), "L3");
  EXPECT_EQ(r.LspInfo(3)->Label(), "L5");
  const int32_t laOrigin[] = {1, 2, 3, 0, 2};
  for (int32_t p = 1; p <= 5; ++p) EXPECT_EQ(r.Puls(p)->Origin(), laOrigin[p - 1]) << p;

  CSystemResponse empty = Make(3, {});
  std::string s;
  EXPECT_EQ(empty.InitResponseDataAfterRead(false, true, s, nullptr), 0);
  EXPECT_EQ(empty.LspInfos()->Count(), 0);
  EXPECT_EQ(empty.GetResponseTime(), 0.0);
  // An Origin naming no record fails the preparation.
  CSystemResponse bad = Make(1, {{2, 0, 1}});
  ExpectError(kErrSubscript, [&] { bad.InitResponseDataAfterRead(false, false, s, nullptr); });
}

TEST(SystemResponsePrepare, LinksTheLaterDirectSoundAndKeepsItThroughTheSort) {
  // Two direct sounds of L1: pulse 3 wins, and after the sort it sits at index 1.
  CSystemResponse r = Make(2, {{1, 0, 5}, {2, 0, 4}, {1, 0, 1}, {1, 1, 4}, {2, 1, 4}});
  Access::Link(r);
  EXPECT_EQ(r.LspInfo(1)->PulsNr(), 3);
  ASSERT_TRUE(r.TrainSortPulses(true, nullptr));
  // Stable: the three pulses at 4 ms keep their order (L2 direct, L1 reflection, L2 reflection).
  const int32_t laOrigin[] = {1, 2, 1, 2, 1};
  const int32_t laOrder[] = {0, 0, 1, 1, 0};
  for (int32_t p = 1; p <= 5; ++p) {
    EXPECT_EQ(r.Puls(p)->Origin(), laOrigin[p - 1]) << p;
    EXPECT_EQ(r.Puls(p)->ROrder(), laOrder[p - 1]) << p;
  }
  EXPECT_EQ(r.LspInfo(1)->PulsNr(), 5);  // the last direct sound in the new order
  EXPECT_EQ(r.LspInfo(2)->PulsNr(), 2);

  // Cancelled: nothing moves and the preparation reports -1, yet finishes its steps.
  CSystemResponse c = Make(1, {{1, 0, 3}, {1, 1, 1}});
  c.LspInfo(1)->SetIsActive(false);
  testing::RecordingBusy busy(1);
  std::string s;
  EXPECT_EQ(c.InitResponseDataAfterRead(true, false, s, &busy), -1);
  EXPECT_EQ(c.Puls(1)->Travel(), 3.0f);
  EXPECT_TRUE(c.Puls(2)->IsLspOff());
  EXPECT_EQ(busy.calls.back().caption, "Sort Pulses");
}

TEST(SystemResponsePrepare, RebuildsAGroupFromTheBundlesOfItsPseudoIdentifier) {
  // L1 pseudo with an invalid group (its pulse has ID 7); L2 and L4 bundles of 7, L3 of 8;
  // L5 pseudo without an identifier.
  CSystemResponse r = Make(5, {{1, 0, 1}, {2, 0, 1}, {3, 0, 1}, {4, 0, 1}, {5, 0, 1}});
  Access::Link(r);
  for (const int32_t i : {1, 5}) {
    r.LspInfo(i)->SetIsPseudo(true);
    r.LspInfo(i)->SetIsCoherenceInvalid(true);
  }
  r.Puls(1)->SetID(7);
  const int32_t laPseudoID[] = {0, 7, 8, 7, 0};
  for (int32_t p = 2; p <= 4; ++p) {
    r.Puls(p)->SetIsBundle(true);
    r.Puls(p)->SetID_Pseudo(laPseudoID[p - 1]);
  }
  std::string s;
  Access::Rebuild(r, s);
  EXPECT_EQ(s, "No Coherence Group Information Available");
  const int32_t laGroup[] = {-1, -1, 0, -1, 0};
  for (int32_t i = 1; i <= 5; ++i) {
    EXPECT_EQ(r.LspInfo(i)->CoherenceGroup(), laGroup[i - 1]) << i;
    EXPECT_EQ(r.LspInfo(i)->IsMember(), laGroup[i - 1] != 0 && i != 1) << i;
    EXPECT_EQ(r.Puls(i)->IsMember(), laGroup[i - 1] != 0 && i != 1) << i;
  }
}

TEST(SystemResponsePrepare, CorrectsBadBundlesByListOrder) {
  // L1 a bundle before any pseudo; L2 pseudo, L3 a bundle: a new group below -(3) and below
  // the lowest group present (-5, on L4). Reflections: one of L2 (goes), one of L3 (to L2).
  CSystemResponse r = Make(4, {{1, 0, 1}, {2, 0, 1}, {3, 0, 1}, {4, 0, 1}, {2, 1, 2}, {3, 1, 3}});
  r.Puls(1)->SetIsBundle(true);
  r.Puls(2)->SetIsPseudo(true);
  r.Puls(3)->SetIsBundle(true);
  r.LspInfo(4)->SetCoherenceGroup(-5);
  Access::CopyPseudoFlags(r);
  Access::Link(r);
  r.LspInfo(1)->SetPulsNr(1);
  Access::CorrectBadBundles(r);
  EXPECT_EQ(r.LspInfo(1)->CoherenceGroup(), 0);
  EXPECT_EQ(r.Puls(1)->ID_Pseudo(), 0);
  EXPECT_EQ(r.LspInfo(2)->CoherenceGroup(), -6);
  EXPECT_EQ(r.LspInfo(3)->CoherenceGroup(), -6);
  EXPECT_EQ(r.Puls(2)->ID(), 1);
  EXPECT_EQ(r.Puls(3)->ID_Pseudo(), 1);
  ASSERT_EQ(r.Pulses()->Count(), 5);
  EXPECT_EQ(r.Puls(5)->Origin(), 2);  // L3's reflection now belongs to the pseudo loudspeaker
  EXPECT_FALSE(r.Puls(5)->IsBundle());
}

TEST(SystemResponsePrepare, PseudoPulsesSumTheirMembers) {
  // L1 pseudo of group -1 with member L2; L3 pseudo of group -2 without members. A pseudo
  // reflection (ID 4) with one member, and one (ID 9) without.
  CSystemResponse r = Make(3, {{1, 0, 1}, {2, 0, 1}, {3, 0, 1}, {2, 1, 5}, {1, 1, 6}, {1, 1, 7}});
  Access::Link(r);
  r.LspInfo(1)->SetIsPseudo(true);
  r.LspInfo(1)->SetCoherenceGroup(-1);
  r.LspInfo(2)->SetIsMember(true);
  r.LspInfo(2)->SetCoherenceGroup(-1);
  r.LspInfo(3)->SetIsPseudo(true);
  r.LspInfo(3)->SetCoherenceGroup(-2);
  for (const int32_t p : {2, 4}) {
    for (int32_t b = 0; b <= 21; ++b) {
      r.Puls(p)->SetSPL(b, 6000);
      r.Puls(p)->SetPhase(b, 1234);
    }
  }
  r.Puls(4)->SetID_Pseudo(4);
  r.Puls(5)->SetIsPseudo(true);
  r.Puls(5)->SetID(4);
  r.Puls(6)->SetIsPseudo(true);
  r.Puls(6)->SetID(9);
  r.Puls(6)->SetSPL(5, 4321);
  r.ComputePseudoPulses(nullptr);
  for (int32_t b = 1; b <= 21; ++b) {
    // One member: its own level and phase.
    EXPECT_EQ(r.Puls(1)->SPL(b), 6000) << b;
    EXPECT_EQ(r.Puls(1)->Phase(b), 1234) << b;
    EXPECT_EQ(r.Puls(5)->SPL(b), 6000) << b;
    EXPECT_EQ(r.Puls(3)->SPL(b), -20000) << b;
    EXPECT_EQ(r.Puls(3)->Phase(b), 0) << b;
  }
  EXPECT_EQ(r.Puls(1)->SPL(0), 0);  // band 0 is not summed
  EXPECT_TRUE(r.Puls(2)->IsMember());
  EXPECT_TRUE(r.Puls(4)->IsMember());
  EXPECT_EQ(r.Puls(6)->SPL(5), 4321);
}

TEST(SystemResponsePrepare, SpeakerPhasesAreAddedOnceAndNotIntoBandZero) {
  CSystemResponse r = Make(1, {{1, 0, 1}, {0, 1, 2}});
  for (int32_t b = 0; b <= 21; ++b) r.Puls(1)->SetPhase(b, 50);
  for (int32_t b = 1; b <= 21; ++b)
    r.LspInfo(1)->SetPhase(b, static_cast<int16_t>(b == 21 ? 31416 : 100));
  std::string s;
  testing::RecordingBusy busy;
  for (int32_t k = 0; k < 2; ++k) r.InitResponseDataAfterRead(true, false, s, &busy);
  EXPECT_EQ(r.Puls(1)->Phase(0), 50);
  EXPECT_EQ(r.Puls(1)->Phase(1), 150);
  EXPECT_EQ(r.Puls(1)->Phase(21), 31466 - 62832);  // wrapped into -pi..pi
  EXPECT_EQ(r.Puls(2)->Phase(1), 0);               // no loudspeaker, no phase
  EXPECT_EQ(busy.calls.front().caption, "Add Phase Info");
  EXPECT_EQ(busy.calls.front().fraction, 0.5);
}

TEST(SystemResponsePrepare, LoudspeakerSwitchingIsIdempotentAndReversible) {
  CSystemResponse r = Make(1, {{1, 0, 1}, {1, 1, 2}, {1, 1, 3}});
  r.Puls(3)->SetIsInactive(true);  // off for its own reason
  r.LspInfo(1)->SetIsActive(false);
  r.SetActiveLspPulses();
  r.SetActiveLspPulses();
  const bool baOff[] = {true, true, false};
  for (int32_t p = 1; p <= 3; ++p) {
    EXPECT_TRUE(r.Puls(p)->IsInactive()) << p;
    EXPECT_EQ(r.Puls(p)->IsLspOff(), baOff[p - 1]) << p;
  }
  r.LspInfo(1)->SetIsActive(true);
  r.SetActiveLspPulses();
  for (int32_t p = 1; p <= 3; ++p) {
    EXPECT_EQ(r.Puls(p)->IsInactive(), p == 3) << p;
    EXPECT_FALSE(r.Puls(p)->IsLspOff()) << p;
  }
}

TEST(SystemResponsePrepare, NormalisationMakesTheRolesExclusive) {
  // Pulse flags in: pseudo, bundle, member, coherence; out: the same four and the identifiers.
  struct Row {
    bool in[4];
    bool out[4];
    int32_t lID, lIDPseudo;
  };
  const Row rows[] = {
      {{true, true, true, true}, {true, false, false, false}, 5, 6},
      {{false, true, false, true}, {false, false, false, true}, 0, 6},
      {{false, false, true, false}, {false, true, true, false}, 5, 6},
      {{false, false, false, false}, {false, false, false, false}, 5, 0},
  };
  for (const Row& row : rows) {
    CSystemResponse r = Make(0, {{0, 1, 1}});
    CPulsClass& p = *r.Puls(1);
    p.SetIsPseudo(row.in[0]);
    p.SetIsBundle(row.in[1]);
    p.SetIsMember(row.in[2]);
    p.SetIsCoherence(row.in[3]);
    p.SetID(5);
    p.SetID_Pseudo(6);
    Access::Normalize(r);
    const bool out[] = {p.IsPseudo(), p.IsBundle(), p.IsMember(), p.IsCoherence()};
    for (size_t k = 0; k < 4; ++k) EXPECT_EQ(out[k], row.out[k]) << &row - rows << "/" << k;
    EXPECT_EQ(p.ID(), row.lID);
    EXPECT_EQ(p.ID_Pseudo(), row.lIDPseudo);
  }
  // Loudspeakers: pseudo+member -> pseudo only; member without group -> invalid; no role ->
  // group cleared.
  CSystemResponse r = Make(3, {});
  r.LspInfo(1)->SetIsPseudo(true);
  r.LspInfo(1)->SetIsMember(true);
  r.LspInfo(1)->SetCoherenceGroup(-1);
  r.LspInfo(2)->SetIsMember(true);
  r.LspInfo(3)->SetCoherenceGroup(4);
  Access::Normalize(r);
  EXPECT_TRUE(r.LspInfo(1)->IsPseudo());
  EXPECT_FALSE(r.LspInfo(1)->IsMember());
  EXPECT_FALSE(r.LspInfo(1)->IsCoherenceInvalid());
  EXPECT_TRUE(r.LspInfo(2)->IsMember());
  EXPECT_TRUE(r.LspInfo(2)->IsCoherenceInvalid());
  EXPECT_EQ(r.LspInfo(3)->CoherenceGroup(), 0);
}

TEST(SystemResponsePrepare, ArrivalsAndImpactAngles) {
  CSystemResponse r = Make(2, {{1, 0, 2.5f}, {2, 0, 1}, {0, 1, 4}});
  r.LspInfo(1)->SetDelay(1.25f);
  r.LspInfo(2)->SetIsActive(false);
  r.LspInfo(0)->SetDelay(0.5f);  // Origin 0 takes the template's delay
  Access::Link(r);
  EXPECT_EQ(r.GetPulsArrival(1), 3.75);
  EXPECT_EQ(r.GetPulsArrival(2), 16000.0);
  EXPECT_EQ(r.GetPulsArrival(3), 4.5);
  EXPECT_EQ(r.GetPulsArrival(0), 0.0);
  EXPECT_EQ(r.GetLspArrival(1), 3.75);
  EXPECT_EQ(r.GetLspArrival(2), 16000.0);
  ExpectError(kErrObjectNotSet, [&] { r.GetPulsArrival(4); });
  ExpectError(kErrObjectNotSet, [&] { r.GetLspArrival(3); });

  // Angles {hor, ver} of a pulse, then as seen looking along H = V = 0 and along H = 90 deg.
  const int16_t rows[][4] = {
      {0, 0, -90, 0}, {90, 0, 0, 0}, {30, 45, -60, 45}, {-120, -10, 150, -10}};
  for (const auto& row : rows) {
    CSystemResponse a = Make(0, {{0, 1, 0}});
    a.Puls(1)->SetHorAngle(row[0]);
    a.Puls(1)->SetVerAngle(row[1]);
    a.Puls(1)->CalculateRayFromAngles();
    a.CalcImpactAngles(0.0, 0.0);
    EXPECT_EQ(a.Puls(1)->HorAngle(), row[0]);
    EXPECT_EQ(a.Puls(1)->VerAngle(), row[1]);
    a.CalcImpactAngles(std::numbers::pi / 2, 0.0);
    EXPECT_EQ(a.Puls(1)->HorAngle(), row[2]) << row[0];
    EXPECT_EQ(a.Puls(1)->VerAngle(), row[3]) << row[0];
  }
}

}  // namespace
}  // namespace zyra
