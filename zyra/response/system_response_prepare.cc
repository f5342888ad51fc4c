// CSystemResponse: bringing pulses and loudspeakers into a consistent state after reading, the
// sorts, and the arrival times the sorts use.
//
// Several steps are defined as scans of all loudspeakers (or pulses) per record or per group.
// Each is computed here in one or two passes with index tables and maps keyed by group or
// identifier; where a step changes state that a later iteration reads, the pass keeps track of
// when each value was written so that the result is the same as that of the scans, in every
// corner (last one wins, first head found, a record pulled into a group before it is reached).
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <span>
#include <unordered_map>
#include <utility>

#include "zyra/response/system_response.h"
#include "zyra/support/calculation.h"
#include "zyra/support/conversions.h"
#include "zyra/support/errors.h"
#include "zyra/support/levels.h"
#include "zyra/support/stable_order.h"

namespace zyra {

namespace {

constexpr char kNoGroupInformation[] = "No Coherence Group Information Available";
constexpr char kPhaseCaption[] = "Add Phase Info";
constexpr char kCoherenceCaption[] = "Compute Coherence Info";
constexpr char kSortCaption[] = "Sort Pulses";
constexpr char kSortAbortWarning[] = "Abort Will Discard Response Data!";
// The level of a pseudo direct sound whose group has no active member: no energy.
constexpr int16_t kSilentLevel = -20000;
// Walks over the pulses report their progress (and the sort asks for cancellation) once per
// this many pulses.
constexpr int32_t kReportStep = 1 << 16;
constexpr double kDegreesPerRadian = 57.29577951308238;

size_t Slot(int32_t i) {
  return static_cast<size_t>(i);
}

}  // namespace

// ---- Helpers ----

double CSystemResponse::GetPulsArrival(int32_t iPuls) const {
  if (iPuls <= 0) return 0.0;
  return PulsArrival(Pulses()->PulsRecord(iPuls));
}

double CSystemResponse::GetLspArrival(int32_t iLsp) const {
  const CLspInfoClass& lsp = LspInfos()->LspInfoRecord(iLsp);
  if (iLsp > 0 && !lsp.IsActive()) return kNeverArrives;
  return static_cast<double>(Pulses()->PulsRecord(lsp.PulsNr()).Travel()) +
         static_cast<double>(lsp.Delay());
}

// ---- The four pulse roles ----

void CSystemResponse::SetPulsFlags_Coherence(int32_t p) {
  SetCoherenceRole(Pulses()->PulsRecord(p));
}

void CSystemResponse::SetPulsFlags_Pseudo(int32_t p) {
  SetPseudoRole(Pulses()->PulsRecord(p));
}

void CSystemResponse::SetPulsFlags_Normal(int32_t p) {
  SetNormalRole(Pulses()->PulsRecord(p));
}

void CSystemResponse::SetPulsFlags_Member(int32_t p) {
  SetMemberRole(Pulses()->PulsRecord(p));
}

void CSystemResponse::SetCoherenceRole(CPulsClass& puls) {
  puls.SetIsPseudo(false);
  puls.SetIsBundle(false);
  puls.SetIsMember(false);
  puls.SetIsCoherence(true);
  puls.SetID(0);
}

void CSystemResponse::SetPseudoRole(CPulsClass& puls) {
  puls.SetIsPseudo(true);
  puls.SetIsBundle(false);
  puls.SetIsMember(false);
  puls.SetIsCoherence(false);
}

void CSystemResponse::SetNormalRole(CPulsClass& puls) {
  puls.SetIsPseudo(false);
  puls.SetIsBundle(false);
  puls.SetIsMember(false);
  puls.SetIsCoherence(false);
  puls.SetID_Pseudo(0);
}

void CSystemResponse::SetMemberRole(CPulsClass& puls) {
  puls.SetIsBundle(true);
  puls.SetIsMember(true);
  puls.SetIsCoherence(false);
  puls.SetIsPseudo(false);
}

// ---- InitResponseDataAfterRead ----

struct CSystemResponse::ReadSurvey {
  // Pulses with IsPseudo, ROrder >= 1 and ID != 0, and those with ROrder >= 1 and
  // ID_Pseudo != 0, in pulse order: the owners and members of pseudo reflections are among
  // them and the direct sounds the steps in between change.
  std::vector<int32_t> laPseudoReflections;
  std::vector<int32_t> laGroupedReflections;
  // The arrivals for the sort, when the survey takes them (no keys otherwise).
  ArrivalKeys arrivals;
};

int32_t CSystemResponse::InitResponseDataAfterRead(bool bIgnoreCoherence, bool bCorrectBadBundles,
                                                   std::string& sErrorMessage,
                                                   BusyIndicator* cBusy) {
  // The steps in their order, but with the walks over a million pulses shared among them: one
  // walk removes the unused loudspeakers, copies the pseudo flags, links the direct sounds,
  // takes the ID ranges, notes the pulses the pseudo reflections concern and takes the
  // arrivals for the sort; one, after the sort, adds the speaker phases, switches pulses off
  // and makes their roles exclusive. Each gives what the steps one after the other give: the
  // steps between the survey and the sort change the Origin and ROrder of loudspeakers' direct
  // sounds only (or, correcting bad bundles, of reflections too: then the sort takes the
  // arrivals itself), and the phases take part in neither the sort nor the loudspeaker steps,
  // so adding them last adds the same values.
  ReadSurvey survey = SurveyAfterRead(!bCorrectBadBundles, !bCorrectBadBundles);
  if (bCorrectBadBundles) {
    CorrectBadBundles();
    Pulses()->UpdateMaxOrderAndID();
  }
  if (!bIgnoreCoherence) {
    RebuildCoherenceGroups(sErrorMessage);
    ComputePseudoPulses(cBusy, bCorrectBadBundles ? nullptr : &survey);
  }
  ArrivalKeys* arrivals = nullptr;
  if (survey.arrivals.keys != nullptr) {
    RetakeDirectSoundArrivals(survey.arrivals);
    arrivals = &survey.arrivals;
  }
  // A failed sort leaves the pulses usable: the remaining steps run all the same.
  const bool bSorted = SortPulsesByArrival(cBusy, arrivals);
  NormalizeLspFlags();
  SwitchAndNormalizePulses(!Pulses()->SpeakerPhaseWasAdded(), cBusy);
  return bSorted ? 0 : -1;
}

CSystemResponse::ReadSurvey CSystemResponse::SurveyAfterRead(bool bWithIDRanges,
                                                             bool bWithArrivals) {
  CPulsBufferClass& pulses = *Pulses();
  CLspInfoBufferClass& infos = *LspInfos();
  const int32_t nLsp = infos.Count();
  const int32_t nPuls = pulses.Count();
  ReadSurvey survey;
  if (bWithArrivals) survey.arrivals.keys = std::make_unique_for_overwrite<uint64_t[]>(Slot(nPuls));
  std::vector<uint8_t> used(Slot(nLsp) + 1, 0);
  std::vector<int32_t> laLastDirect(Slot(nLsp) + 1, 0);
  int32_t lMaxOrder = 0;
  int32_t lMinID = std::numeric_limits<int32_t>::max();
  int32_t lMaxID = std::numeric_limits<int32_t>::min();
  int32_t lMinPseudo = std::numeric_limits<int32_t>::max();
  int32_t lMaxPseudo = std::numeric_limits<int32_t>::min();
  for (int32_t p = 1; p <= nPuls; ++p) {
    const CPulsClass& puls = pulses.PulsRecord(p);
    const int32_t lOrigin = puls.Origin();
    const int32_t lOrder = puls.ROrder();
    if (lOrigin != 0) {
      if (lOrigin < 0 || lOrigin > nLsp) RaiseError(kErrSubscript);
      used[Slot(lOrigin)] = 1;
      if (lOrder == 0) laLastDirect[Slot(lOrigin)] = p;
    }
    // Taken before the loudspeakers are renumbered, from the same records.
    if (bWithArrivals) TakeArrival(survey.arrivals, p, puls);
    lMaxOrder = std::max(lMaxOrder, lOrder);
    lMinID = std::min(lMinID, puls.ID());
    lMaxID = std::max(lMaxID, puls.ID());
    lMinPseudo = std::min(lMinPseudo, puls.ID_Pseudo());
    lMaxPseudo = std::max(lMaxPseudo, puls.ID_Pseudo());
    if (lOrder >= 1) {
      if (puls.IsPseudo() && puls.ID() != 0) survey.laPseudoReflections.push_back(p);
      if (puls.ID_Pseudo() != 0) survey.laGroupedReflections.push_back(p);
    }
  }
  const std::vector<int32_t> laNewNumber = RemoveLspInfosNotUsed(used);
  // Pseudo flags and links of the last direct sound of each loudspeaker.
  for (int32_t i = 1; i <= nLsp; ++i) {
    const int32_t p = laLastDirect[Slot(i)];
    if (p == 0) continue;
    CLspInfoClass& lsp = infos.LspInfoRecord(laNewNumber[Slot(i)]);
    lsp.SetIsPseudo(pulses.PulsRecord(p).IsPseudo());
    lsp.SetPulsNr(p);
  }
  if (bWithIDRanges) {
    // As UpdateMaxOrderAndID: ranges that found nothing become 0.
    pulses.SetMaxOrder(lMaxOrder);
    const bool bIDs = lMinID <= lMaxID;
    pulses.SetMinID(bIDs ? lMinID : 0);
    pulses.SetMaxID(bIDs ? lMaxID : 0);
    const bool bPseudoIDs = lMinPseudo <= lMaxPseudo;
    pulses.SetMinPseudoID(bPseudoIDs ? lMinPseudo : 0);
    pulses.SetMaxPseudoID(bPseudoIDs ? lMaxPseudo : 0);
  }
  return survey;
}

void CSystemResponse::RemoveUnusedLspInfos(int32_t& nRemoved) {
  const CPulsBufferClass& pulses = *Pulses();
  const int32_t nLsp = LspInfos()->Count();
  std::vector<uint8_t> used(Slot(nLsp) + 1, 0);
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    const int32_t lOrigin = pulses.PulsRecord(p).Origin();
    if (lOrigin == 0) continue;
    if (lOrigin < 0 || lOrigin > nLsp) RaiseError(kErrSubscript);
    used[Slot(lOrigin)] = 1;
  }
  const std::vector<int32_t> laNewNumber = RemoveLspInfosNotUsed(used);
  nRemoved = nLsp - LspInfos()->Count();
}

std::vector<int32_t> CSystemResponse::RemoveLspInfosNotUsed(const std::vector<uint8_t>& used) {
  const CPulsBufferClass& pulses = *Pulses();
  CLspInfoBufferClass& infos = *LspInfos();
  const int32_t nLsp = infos.Count();
  // Old number -> new number: each kept record moves down by the number removed below it.
  std::vector<int32_t> laNewNumber(Slot(nLsp) + 1, 0);
  int32_t nKept = 0;
  for (int32_t i = 1; i <= nLsp; ++i) {
    if (used[Slot(i)] == 0) continue;
    laNewNumber[Slot(i)] = ++nKept;
    // A record that moves is stored as a deep copy, as moving it one place at a time would.
    if (nKept != i) infos.SetLspInfoValue(nKept, infos.LspInfoRecord(i).CopyThroughProperties());
  }
  if (nKept == nLsp) return laNewNumber;
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.Origin() != 0) puls.SetOrigin(laNewNumber[Slot(puls.Origin())]);
  }
  infos.SetCountPreserve(nKept);
  return laNewNumber;
}

void CSystemResponse::CopyPseudoFlagsToLspInfos() {
  const CPulsBufferClass& pulses = *Pulses();
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    const CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.ROrder() != 0) continue;
    if (CLspInfoClass* lsp = OriginLsp(puls.Origin())) lsp->SetIsPseudo(puls.IsPseudo());
  }
}

void CSystemResponse::LinkLspInfosToDirectPulses() {
  const CPulsBufferClass& pulses = *Pulses();
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    const CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.ROrder() != 0) continue;
    if (CLspInfoClass* lsp = OriginLsp(puls.Origin())) lsp->SetPulsNr(p);
  }
}

void CSystemResponse::CorrectBadBundles() {
  CPulsBufferClass& pulses = *Pulses();
  const CLspInfoBufferClass& infos = *LspInfos();
  const int32_t nLsp = infos.Count();

  // New groups lie below every group present and below -(count), so they coincide neither
  // with a group from the file nor with one that RebuildCoherenceGroups numbers later.
  int32_t lBase = -nLsp;
  for (int32_t i = 1; i <= nLsp; ++i)
    lBase = std::min(lBase, infos.LspInfoRecord(i).CoherenceGroup());

  // No step below changes whether a pulse is pseudo, nor a group read from the file (new
  // groups never equal one), so the first record of each known group whose direct sound is
  // pseudo can be found before the loop.
  std::unordered_map<int32_t, int32_t> firstPseudoOfGroup;
  for (int32_t j = 1; j <= nLsp; ++j) {
    const CLspInfoClass& lsp = infos.LspInfoRecord(j);
    const CPulsClass* cDirect = pulses.FindPuls(lsp.PulsNr());
    if (lsp.CoherenceGroup() != 0 && cDirect != nullptr && cDirect->IsPseudo())
      firstPseudoOfGroup.emplace(lsp.CoherenceGroup(), j);
  }

  std::vector<int32_t> laHead(Slot(nLsp) + 1, 0);
  int32_t g = 0;
  int32_t h = 0;
  int32_t iCurrentHead = 0;
  for (int32_t i = 1; i <= nLsp; ++i) {
    CLspInfoClass& lsp = infos.LspInfoRecord(i);
    const int32_t pn = lsp.PulsNr();
    CPulsClass& direct = pulses.PulsRecord(pn);
    const bool bPseudo = direct.IsPseudo();
    if (lsp.IsCoherenceInvalid() || !(bPseudo || direct.IsBundle())) continue;
    if (lsp.CoherenceGroup() != 0) {
      if (bPseudo) {
        laHead[Slot(i)] = i;
      } else {
        const auto found = firstPseudoOfGroup.find(lsp.CoherenceGroup());
        if (found != firstPseudoOfGroup.end() && found->second < i) laHead[Slot(i)] = found->second;
      }
    } else if (bPseudo) {
      ++g;
      lsp.SetCoherenceGroup(lBase - g);
      lsp.SetIsPseudo(true);
      lsp.SetIsMember(false);
      iCurrentHead = i;
      SetPulsFlags_Pseudo(pn);
      ++h;
      direct.SetID(h);
      direct.SetID_Pseudo(h);
    } else {
      // A member before any pseudo record belongs to no group.
      lsp.SetIsPseudo(false);
      lsp.SetIsMember(true);
      lsp.SetCoherenceGroup(g > 0 ? lBase - g : 0);
      laHead[Slot(i)] = iCurrentHead;
      SetPulsFlags_Member(pn);
      direct.SetID_Pseudo(iCurrentHead != 0 ? h : 0);
    }
  }

  LinkLspInfosToDirectPulses();

  // The reflections: those of a pseudo loudspeaker go (its members' reflections stand for it),
  // those of members move to their group's head. Going down from the last pulse, each pulse is
  // judged at its own index, so one pass decides them all; the survivors then close up and the
  // loudspeakers' PulsNr drop by the number of pulses removed below them.
  const int32_t nPuls = pulses.Count();
  std::vector<uint8_t> removed(Slot(nPuls) + 1, 0);
  int32_t nRemoved = 0;
  for (int32_t p = nPuls; p >= 1; --p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.ROrder() < 1) continue;
    const int32_t lOrigin = puls.Origin();
    const CLspInfoClass* lsp = OriginLsp(lOrigin);
    if (lsp == nullptr) continue;
    if (lsp->IsPseudo()) {
      removed[Slot(p)] = 1;
      ++nRemoved;
    } else if (puls.IsBundle() || lsp->IsMember()) {
      SetPulsFlags_Normal(p);
      puls.SetOrigin(laHead[Slot(lOrigin)]);
    }
  }
  if (nRemoved == 0) return;
  std::vector<int32_t> laRemovedBelow(Slot(nPuls) + 2, 0);  // removed pulses with index < q
  std::vector<int32_t> laKept;
  laKept.reserve(Slot(nPuls - nRemoved));
  for (int32_t p = 1; p <= nPuls; ++p) {
    laRemovedBelow[Slot(p) + 1] = laRemovedBelow[Slot(p)] + removed[Slot(p)];
    if (removed[Slot(p)] == 0) laKept.push_back(p);
  }
  pulses.Rearrange(std::move(laKept));
  for (int32_t i = 1; i <= nLsp; ++i) {
    CLspInfoClass& lsp = infos.LspInfoRecord(i);
    const int32_t q = lsp.PulsNr();
    if (q > 0) lsp.SetPulsNr(q - laRemovedBelow[Slot(std::min(q, nPuls + 1))]);
  }
}

void CSystemResponse::RebuildCoherenceGroups(std::string& sErrorMessage) {
  const CPulsBufferClass& pulses = *Pulses();
  const CLspInfoBufferClass& infos = *LspInfos();
  const int32_t nLsp = infos.Count();
  sErrorMessage.clear();

  // A group built for pseudo identifier X takes every record whose direct sound is a bundle
  // with ID_Pseudo X. Neither IsBundle nor ID_Pseudo nor ID changes here, so each record's key
  // is known up front. A build is applied to a record when the loop reaches it and, for the
  // builds after that, at the end; the one written last wins.
  struct Build {
    int32_t lGroup;
    int32_t iTime;  // the record whose loop step built it
  };
  std::unordered_map<int32_t, Build> builds;
  std::vector<uint8_t> hasKey(Slot(nLsp) + 1, 0);
  std::vector<int32_t> laKey(Slot(nLsp) + 1, 0);
  bool bAnyDirectMissing = false;
  for (int32_t j = 1; j <= nLsp; ++j) {
    const CPulsClass* cDirect = pulses.FindPuls(infos.LspInfoRecord(j).PulsNr());
    if (cDirect == nullptr) {
      bAnyDirectMissing = true;
    } else if (cDirect->IsBundle()) {
      hasKey[Slot(j)] = 1;
      laKey[Slot(j)] = cDirect->ID_Pseudo();
    }
  }
  const auto latestBuild = [&](int32_t j) -> const Build* {
    if (hasKey[Slot(j)] == 0) return nullptr;
    const auto found = builds.find(laKey[Slot(j)]);
    return found == builds.end() ? nullptr : &found->second;
  };
  const auto applyBuild = [](CLspInfoClass& lsp, int32_t lGroup) {
    lsp.SetIsCoherenceInvalid(false);
    lsp.SetIsCoherence(false);
    lsp.SetIsMember(true);
    lsp.SetCoherenceGroup(lGroup);
  };

  std::vector<int32_t> laHeadSetAt(Slot(nLsp) + 1, 0);  // when a member set the head's group
  int32_t g = 0;
  int32_t iCurrentHead = 0;
  for (int32_t i = 1; i <= nLsp; ++i) {
    CLspInfoClass& lsp = infos.LspInfoRecord(i);
    if (const Build* build = latestBuild(i)) applyBuild(lsp, build->lGroup);
    if (lsp.IsCoherenceInvalid()) {
      lsp.SetIsCoherenceInvalid(false);
      lsp.SetCoherenceGroup(0);
      lsp.SetIsMember(false);
      lsp.SetIsCoherence(false);
      CPulsClass& direct = pulses.PulsRecord(lsp.PulsNr());
      direct.SetIsMember(false);
      direct.SetIsCoherence(false);
      if (!lsp.IsPseudo()) continue;
      const int32_t lID = direct.ID();
      if (lID == 0) {
        sErrorMessage = kNoGroupInformation;
        continue;
      }
      // The build looks at every record's direct sound.
      if (bAnyDirectMissing) RaiseError(kErrObjectNotSet);
      ++g;
      lsp.SetCoherenceGroup(-g);
      builds[lID] = Build{-g, i};
    } else if (lsp.IsPseudo()) {
      iCurrentHead = i;
    } else if (lsp.IsMember() && iCurrentHead != 0) {
      infos.LspInfoRecord(iCurrentHead).SetCoherenceGroup(lsp.CoherenceGroup());
      laHeadSetAt[Slot(iCurrentHead)] = i;
      iCurrentHead = 0;
    }
  }

  // The builds made at or after a record's own step.
  for (int32_t j = 1; j <= nLsp; ++j) {
    const Build* build = latestBuild(j);
    if (build == nullptr) continue;
    CLspInfoClass& lsp = infos.LspInfoRecord(j);
    if (build->iTime >= j) {
      const int32_t lGroup =
          laHeadSetAt[Slot(j)] > build->iTime ? lsp.CoherenceGroup() : build->lGroup;
      applyBuild(lsp, lGroup);
    }
    // A direct sound is cleared only in the step of an invalid record naming it, and every
    // record naming it is a member of the same builds: once built, it is valid when reached.
    // So no clear comes after a build of its group, and the last build marks it.
    CPulsClass& direct = pulses.PulsRecord(lsp.PulsNr());
    direct.SetIsMember(true);
    direct.SetIsCoherence(false);
  }
}

void CSystemResponse::ComputePseudoPulseLevels(int32_t iTarget,
                                               const std::vector<int32_t>& laMembers) {
  const CPulsBufferClass& pulses = *Pulses();
  LevelsModule levels;
  levels.LVLS_InitPulses();
  std::array<int16_t, LevelsModule::kBandCount> iaSPL{};
  std::array<int16_t, LevelsModule::kBandCount> iaPhase{};
  for (const int32_t lPuls : laMembers) {
    const CPulsClass& member = pulses.PulsRecord(lPuls);
    for (int32_t b = 0; b < LevelsModule::kBandCount; ++b) {
      iaSPL[Slot(b)] = member.SPL(b);
      iaPhase[Slot(b)] = member.Phase(b);
    }
    levels.LVLS_DefinePuls(lPuls, iaSPL.data(), iaPhase.data(), PulsArrival(member),
                           {member.RayX(1), member.RayX(2), member.RayX(3)});
  }
  CPulsClass& target = pulses.PulsRecord(iTarget);
  for (int32_t b = 1; b <= 21; ++b) {
    double dLevel = 0.0;
    double dPhase = 0.0;
    levels.LVLS_PulsSum(b, 0, 0, kLevelsModeBandAverage, dLevel, dPhase);
    const PseudoPulsBandValues stored = StoredPulsSum(dLevel, dPhase);
    target.SetSPL(b, stored.iSPL);
    target.SetPhase(b, stored.iPhase);
  }
  levels.LVLS_Release();
}

void CSystemResponse::ComputePseudoPulses(BusyIndicator* cBusy) {
  ComputePseudoPulses(cBusy, nullptr);
}

void CSystemResponse::ComputePseudoPulses(BusyIndicator* cBusy, const ReadSurvey* survey) {
  const CPulsBufferClass& pulses = *Pulses();
  const CLspInfoBufferClass& infos = *LspInfos();
  const int32_t nLsp = infos.Count();

  // Pseudo direct sounds. The member records of each group, in record order.
  std::unordered_map<int32_t, std::vector<int32_t>> membersOfGroup;
  for (int32_t j = 1; j <= nLsp; ++j) {
    const CLspInfoClass& lsp = infos.LspInfoRecord(j);
    if (lsp.IsMember() && !lsp.IsPseudo()) membersOfGroup[lsp.CoherenceGroup()].push_back(j);
  }
  // When no two records share a direct pulse, no pseudo pulse is another group's member, so
  // pseudo records of the same group get the same sum: it is computed once per group.
  bool bDistinctDirects = true;
  {
    std::vector<uint8_t> seen(Slot(pulses.Count()) + 1, 0);
    for (int32_t j = 1; j <= nLsp && bDistinctDirects; ++j) {
      const int32_t pn = infos.LspInfoRecord(j).PulsNr();
      if (pn < 0 || pn > pulses.Count() || seen[Slot(pn)] != 0) bDistinctDirects = false;
      if (bDistinctDirects) seen[Slot(pn)] = 1;
    }
  }
  std::unordered_map<int32_t, int32_t> firstTargetOfGroup;
  const std::vector<int32_t> noMembers;
  for (int32_t i = 1; i <= nLsp; ++i) {
    const CLspInfoClass& lsp = infos.LspInfoRecord(i);
    if (!lsp.IsPseudo()) continue;
    const int32_t pn = lsp.PulsNr();
    CPulsClass& pseudo = pulses.PulsRecord(pn);
    pseudo.SetOrigin(i);
    pseudo.SetROrder(0);
    pseudo.SetHorAngle(0);
    pseudo.SetVerAngle(0);
    pseudo.SetIsInactive(false);
    pseudo.SetIsBundle(false);
    pseudo.SetIsLspOff(false);
    pseudo.SetIsMember(false);
    pseudo.SetIsPseudo(true);
    pseudo.SetIsCoherence(false);

    const int32_t lGroup = lsp.CoherenceGroup();
    if (bDistinctDirects) {
      const auto done = firstTargetOfGroup.find(lGroup);
      if (done != firstTargetOfGroup.end()) {
        const CPulsClass& first = pulses.PulsRecord(done->second);
        for (int32_t b = 1; b <= 21; ++b) {
          pseudo.SetSPL(b, first.SPL(b));
          pseudo.SetPhase(b, first.Phase(b));
        }
        continue;
      }
      firstTargetOfGroup.emplace(lGroup, pn);
    }
    const auto found = membersOfGroup.find(lGroup);
    const std::vector<int32_t>& laRecords =
        found == membersOfGroup.end() ? noMembers : found->second;
    std::vector<int32_t> laMembers;
    for (const int32_t j : laRecords) {
      const int32_t lMember = infos.LspInfoRecord(j).PulsNr();
      CPulsClass& member = pulses.PulsRecord(lMember);
      if (member.IsInactive()) continue;
      laMembers.push_back(lMember);
      member.SetIsMember(true);
    }
    if (laMembers.empty()) {
      for (int32_t b = 1; b <= 21; ++b) {
        pseudo.SetSPL(b, kSilentLevel);
        pseudo.SetPhase(b, 0);
      }
    } else {
      ComputePseudoPulseLevels(pn, laMembers);
    }
  }

  // Pseudo reflections: the members of the one with identifier X are the active reflections
  // with ID_Pseudo X that are neither pseudo nor coherence pulses. The last pseudo reflection
  // with an identifier owns it; 0 is no identifier.
  const int32_t nPuls = pulses.Count();
  // Where to look: every pulse, or after a survey, the pulses it noted and the loudspeakers'
  // direct sounds, the only ones the steps since can have changed.
  std::vector<int32_t> laOwnerCandidates;
  std::vector<int32_t> laMemberCandidates;
  if (survey != nullptr) {
    const std::vector<int32_t> laDirects = DirectSoundsOfLoudspeakers();
    std::set_union(survey->laPseudoReflections.begin(), survey->laPseudoReflections.end(),
                   laDirects.begin(), laDirects.end(), std::back_inserter(laOwnerCandidates));
    std::set_union(survey->laGroupedReflections.begin(), survey->laGroupedReflections.end(),
                   laDirects.begin(), laDirects.end(), std::back_inserter(laMemberCandidates));
  } else {
    laOwnerCandidates.resize(Slot(nPuls));
    std::iota(laOwnerCandidates.begin(), laOwnerCandidates.end(), 1);
    laMemberCandidates = laOwnerCandidates;
  }
  std::unordered_map<int32_t, int32_t> ownerOfID;
  for (const int32_t p : laOwnerCandidates) {
    const CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.IsPseudo() && puls.ROrder() >= 1 && puls.ID() != 0) ownerOfID[puls.ID()] = p;
  }
  if (ownerOfID.empty()) {
    if (cBusy != nullptr) cBusy->ShowProgress(kCoherenceCaption, 1.0, kBusyInterval);
    return;
  }
  std::unordered_map<int32_t, std::vector<int32_t>> membersOfID;
  size_t nDone = 0;
  for (const int32_t p : laMemberCandidates) {
    CPulsClass& puls = pulses.PulsRecord(p);
    if (puls.ROrder() >= 1 && !puls.IsPseudo() && !puls.IsCoherence() && !puls.IsInactive() &&
        puls.ID_Pseudo() != 0 && ownerOfID.contains(puls.ID_Pseudo())) {
      puls.SetIsMember(true);
      membersOfID[puls.ID_Pseudo()].push_back(p);
    }
    if (cBusy != nullptr && ++nDone % kReportStep == 0) {
      cBusy->ShowProgress(
          kCoherenceCaption,
          static_cast<double>(nDone) / static_cast<double>(laMemberCandidates.size()),
          kBusyInterval);
    }
  }
  if (cBusy != nullptr) cBusy->ShowProgress(kCoherenceCaption, 1.0, kBusyInterval);
  for (const auto& [lID, laMembers] : membersOfID)
    ComputePseudoPulseLevels(ownerOfID[lID], laMembers);
}

void CSystemResponse::AddSpeakerPhases(BusyIndicator* cBusy) {
  const CPulsBufferClass& pulses = *Pulses();
  const int32_t nPuls = pulses.Count();
  for (int32_t p = 1; p <= nPuls; ++p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    if (const CLspInfoClass* lsp = OriginLsp(puls.Origin())) {
      for (int32_t b = 1; b <= 21; ++b) puls.SetPhase(b, AddPhases(puls.Phase(b), lsp->Phase(b)));
    }
    if (cBusy != nullptr) {
      cBusy->ShowProgress(kPhaseCaption, static_cast<double>(p) / nPuls, kBusyInterval);
    }
  }
  Pulses()->SetSpeakerPhaseWasAdded(true);
}

void CSystemResponse::SetActiveLspPulses() {
  const CPulsBufferClass& pulses = *Pulses();
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    SwitchByLoudspeaker(puls, OriginLsp(puls.Origin()));
  }
}

void CSystemResponse::SwitchByLoudspeaker(CPulsClass& puls, const CLspInfoClass* lsp) {
  if (lsp == nullptr) return;
  if (lsp->IsActive() && puls.IsLspOff()) {
    puls.SetIsInactive(false);
    puls.SetIsLspOff(false);
  } else if (!lsp->IsActive() && !puls.IsInactive()) {
    puls.SetIsLspOff(true);
    puls.SetIsInactive(true);
  }
}

void CSystemResponse::NormalizeLspFlags() {
  const CLspInfoBufferClass& infos = *LspInfos();
  for (int32_t i = 1; i <= infos.Count(); ++i) {
    CLspInfoClass& lsp = infos.LspInfoRecord(i);
    lsp.SetIsCoherenceInvalid(false);
    if (lsp.IsPseudo()) {
      lsp.SetIsMember(false);
      lsp.SetIsCoherence(false);
    } else if (lsp.IsCoherence()) {
      lsp.SetIsMember(false);
      lsp.SetIsPseudo(false);
    } else if (lsp.IsMember()) {
      lsp.SetIsPseudo(false);
      lsp.SetIsCoherence(false);
    } else {
      lsp.SetCoherenceGroup(0);
      continue;
    }
    // A role without a group: to be rebuilt on the next preparation.
    if (lsp.CoherenceGroup() == 0) lsp.SetIsCoherenceInvalid(true);
  }
}

void CSystemResponse::NormalizePulsFlags() {
  const CPulsBufferClass& pulses = *Pulses();
  for (int32_t p = 1; p <= pulses.Count(); ++p) NormalizePulsRole(pulses.PulsRecord(p));
}

void CSystemResponse::NormalizePulsRole(CPulsClass& puls) {
  if (puls.IsPseudo()) {
    SetPseudoRole(puls);
  } else if (puls.IsCoherence()) {
    SetCoherenceRole(puls);
  } else if (puls.IsBundle() || puls.IsMember()) {
    SetMemberRole(puls);
  } else {
    SetNormalRole(puls);
  }
}

// ---- Sorting ----

void CSystemResponse::SortPulsesSimple() {
  CPulsBufferClass& pulses = *Pulses();
  const int32_t nPuls = pulses.Count();
  std::vector<std::pair<float, int32_t>> items;
  items.reserve(Slot(nPuls));
  bool bAnyNaN = false;
  for (int32_t p = 1; p <= nPuls; ++p) {
    const float fTravel = pulses.PulsRecord(p).Travel();
    bAnyNaN = bAnyNaN || std::isnan(fTravel);
    items.emplace_back(fTravel, p);
  }
  if (!bAnyNaN) {
    // An insertion sort that stops at the first neighbour not later is a stable sort.
    std::stable_sort(items.begin(), items.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
  } else {
    // Travel times that are not numbers compare false with everything: keep the exchanges
    // of the insertion sort itself, step by step.
    for (size_t i = 1; i < items.size(); ++i) {
      for (size_t j = i; j >= 1 && !(items[j - 1].first <= items[j].first); --j) {
        std::swap(items[j - 1], items[j]);
      }
    }
  }
  std::vector<int32_t> laOrder;
  laOrder.reserve(items.size());
  for (const auto& item : items) laOrder.push_back(item.second);
  pulses.Rearrange(std::move(laOrder));
}

bool CSystemResponse::TrainSortPulses(bool /*bCalculateBroadbandEnergy*/, BusyIndicator* cBusy) {
  return SortPulsesByArrival(cBusy, nullptr);
}

void CSystemResponse::TakeArrival(ArrivalKeys& arrivals, int32_t p, const CPulsClass& puls) const {
  arrivals.keys[Slot(p - 1)] = OrderedBits(PulsArrival(puls));
  if (puls.ROrder() == 0 && puls.Origin() != 0) arrivals.laDirect.push_back(p);
}

std::vector<int32_t> CSystemResponse::DirectSoundsOfLoudspeakers() const {
  const int32_t nPuls = Pulses()->Count();
  const CLspInfoBufferClass& infos = *LspInfos();
  std::vector<int32_t> laDirects;
  for (int32_t j = 1; j <= infos.Count(); ++j) {
    const int32_t pn = infos.LspInfoRecord(j).PulsNr();
    if (pn >= 1 && pn <= nPuls) laDirects.push_back(pn);
  }
  std::sort(laDirects.begin(), laDirects.end());
  laDirects.erase(std::unique(laDirects.begin(), laDirects.end()), laDirects.end());
  return laDirects;
}

void CSystemResponse::RetakeDirectSoundArrivals(ArrivalKeys& arrivals) const {
  const CPulsBufferClass& pulses = *Pulses();
  const std::vector<int32_t> laRetaken = DirectSoundsOfLoudspeakers();
  // The direct sounds: the others as they were, these as they are now.
  const std::vector<int32_t> laBefore = std::exchange(arrivals.laDirect, {});
  for (const int32_t p : laRetaken) TakeArrival(arrivals, p, pulses.PulsRecord(p));
  std::vector<int32_t> laOthers;
  std::set_difference(laBefore.begin(), laBefore.end(), laRetaken.begin(), laRetaken.end(),
                      std::back_inserter(laOthers));
  std::vector<int32_t> laNow;
  std::merge(laOthers.begin(), laOthers.end(), arrivals.laDirect.begin(), arrivals.laDirect.end(),
             std::back_inserter(laNow));
  arrivals.laDirect = std::move(laNow);
}

bool CSystemResponse::SortPulsesByArrival(BusyIndicator* cBusy, ArrivalKeys* arrivals) {
  CPulsBufferClass& pulses = *Pulses();
  const int32_t nPuls = pulses.Count();
  const auto goOn = [&](double dFraction) {
    return cBusy == nullptr ||
           cBusy->ReportProgress(kSortCaption, dFraction, kSortAbortWarning, kBusyInterval);
  };
  // Without arrivals taken already, a walk that reads the pulses only takes them.
  ArrivalKeys walked;
  if (arrivals == nullptr) {
    walked.keys = std::make_unique_for_overwrite<uint64_t[]>(Slot(nPuls));
    for (int32_t p = 1; p <= nPuls; ++p) {
      TakeArrival(walked, p, pulses.PulsRecord(p));
      if (p % kReportStep == 0 && !goOn(0.5 * static_cast<double>(p) / nPuls)) return false;
    }
    arrivals = &walked;
  } else if (!goOn(0.5)) {
    return false;
  }
  const std::span<uint64_t> keys(arrivals->keys.get(), Slot(nPuls));
  std::vector<int32_t>& laDirect = arrivals->laDirect;
  const bool bInOrder = std::is_sorted(keys.begin(), keys.end());
  // A stable sort: ascending, not-a-number last, ties in pulse order.
  std::vector<int32_t> laOrder = bInOrder ? std::vector<int32_t>() : StableOrderOfKeys(keys, 1);
  // The last chance to cancel: nothing has moved yet.
  if (!goOn(1.0)) return false;

  // The pulses themselves move into arrival order, so that every walk after the sort reads
  // them in sequence. Then each loudspeaker is linked to its direct sound as
  // LinkLspInfosToDirectPulses would: the last in the new order wins.
  if (!bInOrder) {
    // Where the direct sounds go, read from the order before it is used up: a bit per pulse,
    // which stays in the cache.
    std::vector<bool> isDirect(Slot(nPuls) + 1, false);
    for (const int32_t p : laDirect) isDirect[Slot(p)] = true;
    laDirect.clear();
    for (int32_t q = 1; q <= nPuls; ++q) {
      if (isDirect[Slot(laOrder[Slot(q - 1)])]) laDirect.push_back(q);
    }
    pulses.Rearrange(std::move(laOrder));
  }
  for (const int32_t p : laDirect) OriginLsp(pulses.PulsRecord(p).Origin())->SetPulsNr(p);
  return true;
}

void CSystemResponse::SwitchAndNormalizePulses(bool bAddPhases, BusyIndicator* cBusy) {
  // AddSpeakerPhases, SetActiveLspPulses and NormalizePulsFlags, pulse by pulse: each reads
  // the loudspeakers or nothing the others leave, and NormalizeLspFlags changes none of it.
  CPulsBufferClass& pulses = *Pulses();
  const int32_t nPuls = pulses.Count();
  for (int32_t p = 1; p <= nPuls; ++p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    const CLspInfoClass* lsp = OriginLsp(puls.Origin());
    if (bAddPhases && lsp != nullptr) puls.AddToPhases(lsp->Phases());
    SwitchByLoudspeaker(puls, lsp);
    NormalizePulsRole(puls);
    if (bAddPhases && cBusy != nullptr && p % kReportStep == 0) {
      cBusy->ShowProgress(kPhaseCaption, static_cast<double>(p) / nPuls, kBusyInterval);
    }
  }
  if (bAddPhases) {
    if (cBusy != nullptr) cBusy->ShowProgress(kPhaseCaption, 1.0, kBusyInterval);
    pulses.SetSpeakerPhaseWasAdded(true);
  }
}

// ---- Queries and views ----

double CSystemResponse::GetResponseTime() const {
  const CPulsBufferClass& pulses = *Pulses();
  if (pulses.Count() < 1) return 0.0;
  double tMin = 1e38;
  double tMax = -1e38;
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    const CPulsClass& puls = pulses.PulsRecord(p);
    if (!puls.IsActiveForCalc(true)) continue;
    const double t = PulsArrival(puls);
    tMin = std::min(tMin, t);
    tMax = std::max(tMax, t);
  }
  return tMin <= tMax ? tMax - tMin : 0.0;
}

void CSystemResponse::CalcImpactAngles(double dHorAngleRad, double dVerAngleRad) {
  const auto fH = static_cast<float>(dHorAngleRad);
  const auto fV = static_cast<float>(dVerAngleRad);
  const float sH = std::sin(fH);
  const float cH = std::cos(fH);
  const float sV = std::sin(fV);
  const float cV = std::cos(fV);
  // Rows: the receiver's view axes; the third completes the rotation.
  const std::array<std::array<float, 3>, 3> m = {
      {{-cH, -sH, 0.0f}, {sH * cV, -cH * cV, sV}, {-sH * sV, cH * sV, cV}}};
  const CPulsBufferClass& pulses = *Pulses();
  for (int32_t p = 1; p <= pulses.Count(); ++p) {
    CPulsClass& puls = pulses.PulsRecord(p);
    std::array<float, 3> r{};
    for (size_t i = 0; i < 3; ++i) {
      for (size_t j = 0; j < 3; ++j) r[i] -= puls.RayX(static_cast<int32_t>(j) + 1) * m[i][j];
    }
    const double dL =
        std::sqrt(static_cast<double>(r[0]) * r[0] + static_cast<double>(r[1]) * r[1] +
                  static_cast<double>(r[2]) * r[2]);
    double dVer = 0.0;
    double dHor = 0.0;
    if (dL != 0.0) {
      const double dVerRad = std::asin(std::clamp(r[2] / dL, -1.0, 1.0));
      dVer = dVerRad * kDegreesPerRadian;
      const double dLc = dL * std::cos(dVerRad);
      if (dLc != 0.0) {
        dHor = std::acos(std::clamp(-r[0] / dLc, -1.0, 1.0)) * kDegreesPerRadian;
        if (-r[1] < 0.0f) dHor = -dHor;
      }
    }
    puls.SetVerAngle(RoundToInt<int16_t>(dVer));
    puls.SetHorAngle(RoundToInt<int16_t>(dHor));
  }
}

}  // namespace zyra
