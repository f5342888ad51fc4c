#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
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

}  // namespace
}  // namespace zyra
