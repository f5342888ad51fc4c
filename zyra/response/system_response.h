// The system response at one receiver: its pulses and the loudspeakers that produced them.
#ifndef ZYRA_RESPONSE_SYSTEM_RESPONSE_H_
#define ZYRA_RESPONSE_SYSTEM_RESPONSE_H_

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "zyra/response/lsp_info.h"
#include "zyra/response/lsp_info_buffer.h"
#include "zyra/response/puls.h"
#include "zyra/response/puls_buffer.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/errors.h"
#include "zyra/support/logger.h"

namespace zyra {

// Owns one pulse buffer and one loudspeaker buffer, each made on first use, so that it never
// hands out an empty reference. A pulse's Origin is the number of its loudspeaker (0: none).
class CSystemResponse {
 public:
  // ---- The two buffers and their records (shared, not copied) ----
  std::shared_ptr<CPulsClass> Puls(int32_t iPuls) const { return Pulses()->Puls(iPuls); }
  void SetPuls(int32_t iPuls, std::shared_ptr<CPulsClass> cPuls);
  std::shared_ptr<CLspInfoClass> LspInfo(int32_t iLspInfo) const {
    return LspInfos()->LspInfo(iLspInfo);
  }
  void SetLspInfo(int32_t iLspInfo, std::shared_ptr<CLspInfoClass> cLspInfo);
  const std::shared_ptr<CPulsBufferClass>& Pulses() const {
    if (!pulses_) MakeBuffers();
    return pulses_;
  }
  const std::shared_ptr<CLspInfoBufferClass>& LspInfos() const {
    if (!lspInfos_) MakeBuffers();
    return lspInfos_;
  }

  // ---- The "PULS" block ----
  // Reads the block at the stream's position: 0, or 1 when some bundle reflection has no
  // pseudo pulse yet (whether kept or filtered out); -1 with "Bad Puls Length" when the
  // header's record length does not fit its version (the buffer then keeps its pulses).
  // A count that the rest of the stream cannot hold is error 62, a negative one error 5.
  int32_t ReadPulsBlockFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                      BusyIndicator* cBusy, bool bIgnoreInactive,
                                      bool bIgnorePseudos, bool bIgnoreBundles,
                                      Logger* cReadLogger = nullptr);
  // Writes the block without coherence pulses and inactive reflections; inactive direct
  // sounds keep their place at -200 dB. Origins are renumbered as the "LSPK" block numbers
  // the loudspeakers (error 9 for an Origin outside 0..Count of the loudspeakers). The
  // buffer is not changed.
  void SavePulsBlockToByteStream(ByteStream& cByteStream, bool bFlagAsLast,
                                 int32_t& lLengthOfBlockHeader) const;

  // ---- The "LSPK" block ----
  // 0; -1 with "Bad LspInfo30 Length" (version-0 block of a wrong record length) or "Bad
  // LspInfo Length" (a record of a wrong fixed length; the records before it stay). A count
  // that the rest of the stream cannot hold is error 62, a negative one error 5.
  int32_t ReadLspInfoBlockFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                         Logger* cReadLogger = nullptr);
  // Writes the active loudspeakers that are not valid coherence loudspeakers (and, with
  // bDontSaveBundles, not bundle members), each pointing at its direct sound in the saved
  // "PULS" block. Writes nothing at all when no loudspeaker qualifies; the result tells
  // whether a block was written, so that the file header counts only blocks in the file.
  bool SaveLspInfoBlockToByteStream(ByteStream& cByteStream, bool bDontSaveBundles) const;

  // ---- Arrival times (ms): the loudspeaker's Delay plus the pulse's Travel ----
  // Never-arrives time of anything whose loudspeaker is switched off; later than any real
  // arrival, so inactive loudspeakers sort behind the active ones.
  static constexpr double kNeverArrives = 16000.0;
  // 0 for iPuls <= 0; kNeverArrives when the pulse names an inactive loudspeaker. Origin 0
  // reads the slot-0 record, whose Delay is 0. Error 91 when the pulse or its loudspeaker
  // record does not exist.
  double GetPulsArrival(int32_t iPuls) const;
  // The arrival of loudspeaker iLsp's direct sound (Puls(PulsNr)); kNeverArrives when the
  // loudspeaker is inactive. Error 91 when the record or its direct pulse does not exist.
  double GetLspArrival(int32_t iLsp) const;

  // ---- Preparation after reading ----
  // Brings pulses and loudspeakers into a consistent state, in this order: unused loudspeakers
  // removed, pseudo flags copied to the loudspeakers, loudspeakers linked to their direct
  // sounds, bad bundles corrected (bCorrectBadBundles), ID ranges updated, coherence groups and
  // pseudo pulses rebuilt (unless bIgnoreCoherence), loudspeaker phases added (once), pulses
  // sorted, pulses of inactive loudspeakers switched off, roles made exclusive. 0, or -1 when
  // the sort failed or was cancelled (the later steps run all the same). sErrorMessage holds
  // what the rebuild of the coherence groups reports. An Origin outside 0..Count of the
  // loudspeakers is error 9; a loudspeaker's PulsNr naming no pulse, where it is used, error 91.
  int32_t InitResponseDataAfterRead(bool bIgnoreCoherence, bool bCorrectBadBundles,
                                    std::string& sErrorMessage, BusyIndicator* cBusy);
  // Every pulse's HorAngle and VerAngle as seen by a receiver looking along the two angles.
  void CalcImpactAngles(double dHorAngleRad, double dVerAngleRad);
  // Rebuilds the pseudo pulse of every coherence group (the direct sound of each pseudo
  // loudspeaker) and of every pseudo reflection from the coherent sum of its members.
  void ComputePseudoPulses(BusyIndicator* cBusy);
  // The span between the first and the last arrival of the pulses that count with
  // interference; 0 without such pulses.
  double GetResponseTime() const;
  // Switches the pulses of inactive loudspeakers off (IsLspOff, IsInactive) and back on when
  // their loudspeaker is active again; pulses inactive for another reason stay off.
  void SetActiveLspPulses();
  // Put pulse p into one of the four exclusive roles (error 91 when it does not exist).
  void SetPulsFlags_Coherence(int32_t p);
  void SetPulsFlags_Pseudo(int32_t p);
  void SetPulsFlags_Normal(int32_t p);
  void SetPulsFlags_Member(int32_t p);
  // Stable ascending sort by Travel alone (the loudspeaker delays are left out on purpose).
  void SortPulsesSimple();
  // Stable ascending sort by arrival (GetPulsArrival; an arrival that is not a number sorts
  // last), then every loudspeaker is linked to its direct sound anew. Progress goes to cBusy;
  // a cancel leaves the order unchanged and gives false. bCalculateBroadbandEnergy has no
  // effect.
  bool TrainSortPulses(bool bCalculateBroadbandEnergy, BusyIndicator* cBusy);

  // ---- Times, direct sound and interference ----
  // Number of 1 ms limits 0..50 of an interference-energy curve.
  static constexpr int32_t kCurveLimitCount = 51;

  // The characteristic times from the loudspeakers' direct sounds, sorted by arrival: tFirst
  // and tLast of the first and last counted direct sound, tRef of the loudspeaker that keeps
  // the precedence (absolute), tOff = tLast, and tGap between the first two counted direct
  // sounds. tFirst, tLast and tOff come back relative to tRef. Always 0; without pulses or
  // without loudspeakers the outputs stay as passed.
  int32_t CalculateTimes(bool bIsInterferenceOn, double& tFirst, double& tLast, double& tOff,
                         double& tRef, double& tGap) const;
  // Direct energy and the largest direct pressure per band 1..21 of the direct sounds that
  // arrive before tDiff (relative to tRef). dEDirect0 accumulates the broadband sum onto what
  // it holds (callers pass daEDirect[0]; the aliasing is safe). tMean is the energy-weighted
  // mean arrival of band 11 relative to tRef, or tFirst when band 11 has no direct energy.
  // True when some band's largest pressure exceeds 1.0.
  bool CalculateDirectSound(double tRef, double tDiff, double tFirst, bool bIsInterferenceOn,
                            std::array<double, 22>& daEDirect,
                            std::array<double, 22>& daPressureMax, double& dEDirect0,
                            double& tMean) const;
  // The coherent energy of the pulses arriving no later than tLimit after tRef, averaged over
  // a band of dBandwidth third-octaves around band iTerz1: the pulses' energies (halved when
  // exactly one of bIsPot and bIsKin is set) plus the cross terms of every pair, weighted by
  // 1.0 when exactly one of bIsPot and bIsKin is set and by 2.0 otherwise, and with bIsKin by
  // the dot product of the two rays. Pulses without pressure in the band add nothing. A
  // run-time error (a pulse naming a missing loudspeaker, a band outside 0..21, an energy that
  // does not fit a Single) is reported as "CalcInterferenceEnergy" and gives 0.
  float CalcInterferenceEnergy(int32_t iTerz1, double dBandwidth, bool bIsPot, bool bIsKin,
                               bool bIncludePhaseLocal, double tRef,
                               double tLimit = std::numeric_limits<double>::infinity()) const;
  // CalcInterferenceEnergy for the limits tLimit = 0, 1, ..., 50 ms at once: element k equals
  // the call with tLimit = k up to rounding. Each pair of pulses is visited once. A run-time
  // error is reported as "CalcInterferenceEnergyCurve" and gives zeros.
  std::array<float, kCurveLimitCount> CalcInterferenceEnergyCurve(int32_t iTerz1, double dBandwidth,
                                                                  bool bIsPot, bool bIsKin,
                                                                  bool bIncludePhaseLocal,
                                                                  double tRef) const;

 private:
  friend class SystemResponseTestAccess;

  // ---- Preparation steps (InitResponseDataAfterRead) ----
  // Removes every loudspeaker that no pulse names and lowers the Origins above it; the
  // records that move down are stored as deep copies. nRemoved: how many were removed.
  void RemoveUnusedLspInfos(int32_t& nRemoved);
  void CopyPseudoFlagsToLspInfos();
  // PulsNr of every loudspeaker := its direct sound (the last one when there are several).
  void LinkLspInfosToDirectPulses();
  // Regroups loudspeakers whose direct sound is pseudo or bundle but who have no group, and
  // hands the reflections of a group's members to its pseudo loudspeaker.
  void CorrectBadBundles();
  void RebuildCoherenceGroups(std::string& sErrorMessage);
  // Sums the member pulses coherently into pulse iTarget, bands 1..21.
  void ComputePseudoPulseLevels(int32_t iTarget, const std::vector<int32_t>& laMembers);
  void AddSpeakerPhases(BusyIndicator* cBusy);
  void NormalizeLspFlags();
  void NormalizePulsFlags();
  // Removes the loudspeakers not marked used (as RemoveUnusedLspInfos) and renumbers the
  // Origins; the old number -> the new one (0 for a removed record).
  std::vector<int32_t> RemoveLspInfosNotUsed(const std::vector<uint8_t>& used);

  // ---- The preparation in few walks over the pulses ----
  struct ReadSurvey;
  // RemoveUnusedLspInfos, CopyPseudoFlagsToLspInfos, LinkLspInfosToDirectPulses and, with
  // bWithIDRanges, UpdateMaxOrderAndID in one walk; notes the pulses ComputePseudoPulses
  // must look at for pseudo reflections and, with bWithArrivals, takes the arrivals for the
  // sort.
  ReadSurvey SurveyAfterRead(bool bWithIDRanges, bool bWithArrivals);
  // ComputePseudoPulses looking only where the survey says (every pulse without one).
  void ComputePseudoPulses(BusyIndicator* cBusy, const ReadSurvey* survey);
  // The arrivals as the sort takes them: each pulse's sort pattern (element p - 1 for pulse p,
  // OrderedBits of GetPulsArrival) and, in pulse order, the direct sounds (ROrder 0 with a
  // loudspeaker), which are linked to their loudspeakers after the sort.
  struct ArrivalKeys {
    std::unique_ptr<uint64_t[]> keys;
    std::vector<int32_t> laDirect;
  };
  // Pulse p's pattern, and p appended to the direct sounds when it is one.
  void TakeArrival(ArrivalKeys& arrivals, int32_t p, const CPulsClass& puls) const;
  // The pulses the loudspeakers name as their direct sounds (PulsNr within 1..Count),
  // ascending, each once.
  std::vector<int32_t> DirectSoundsOfLoudspeakers() const;
  // The arrivals of the loudspeakers' direct sounds taken anew.
  void RetakeDirectSoundArrivals(ArrivalKeys& arrivals) const;
  // TrainSortPulses from the arrivals given, or, without, taken in a walk that reads the
  // pulses only; the patterns are sorted in place.
  bool SortPulsesByArrival(BusyIndicator* cBusy, ArrivalKeys* arrivals);
  // AddSpeakerPhases (with bAddPhases), SetActiveLspPulses and NormalizePulsFlags in one walk.
  void SwitchAndNormalizePulses(bool bAddPhases, BusyIndicator* cBusy);
  // What those steps do to one pulse; lsp is the pulse's loudspeaker (OriginLsp).
  static void SwitchByLoudspeaker(CPulsClass& puls, const CLspInfoClass* lsp);
  static void NormalizePulsRole(CPulsClass& puls);
  static void SetCoherenceRole(CPulsClass& puls);
  static void SetPseudoRole(CPulsClass& puls);
  static void SetNormalRole(CPulsClass& puls);
  static void SetMemberRole(CPulsClass& puls);

  // Makes whichever of the two buffers is missing.
  void MakeBuffers() const;
  // The loudspeaker record a pulse's Origin names, null for Origin 0; error 9 outside
  // 0..Count, error 91 for an empty slot. Inline: every walk over the pulses asks it.
  CLspInfoClass* OriginLsp(int32_t lOrigin) const {
    if (lOrigin == 0) return nullptr;
    const CLspInfoBufferClass& infos = *LspInfos();
    if (lOrigin < 0 || lOrigin > infos.Count()) RaiseError(kErrSubscript);
    return &infos.LspInfoRecord(lOrigin);
  }
  // GetPulsArrival of a pulse in hand.
  double PulsArrival(const CPulsClass& cPuls) const {
    const int32_t lOrigin = cPuls.Origin();
    const CLspInfoClass& lsp = LspInfos()->LspInfoRecord(lOrigin);
    if (lOrigin > 0 && !lsp.IsActive()) return kNeverArrives;
    return static_cast<double>(lsp.Delay()) + static_cast<double>(cPuls.Travel());
  }

  // ---- Save numbering, shared by both block writers so that their numbers agree ----
  // Element i (0..Count of the loudspeakers) is the number loudspeaker i gets in the saved
  // "LSPK" block: 1, 2, ... for the active ones that are not valid coherence loudspeakers,
  // 0 for the others (element 0, "no loudspeaker", stays 0).
  std::vector<int32_t> BuildSavedLspNumbers() const;
  // The saved number of the loudspeaker `lOrigin`; error 9 outside 0..Count.
  static int32_t SavedLspNumber(const std::vector<int32_t>& laNumbers, int32_t lOrigin);
  // Whether the "PULS" writer writes the pulse: not a coherence pulse, not an inactive
  // reflection.
  static bool IsSavedPuls(const CPulsClass& cPuls) noexcept;

  mutable std::shared_ptr<CPulsBufferClass> pulses_;
  mutable std::shared_ptr<CLspInfoBufferClass> lspInfos_;
};

}  // namespace zyra

#endif  // ZYRA_RESPONSE_SYSTEM_RESPONSE_H_
