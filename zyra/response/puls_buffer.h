// The pulses of one system response, numbered from 1, with a few statistics over them.
#ifndef ZYRA_RESPONSE_PULS_BUFFER_H_
#define ZYRA_RESPONSE_PULS_BUFFER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zyra/format/block_walk.h"
#include "zyra/response/puls.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"
#include "zyra/support/numbered_slots.h"

namespace zyra {

// Where the pulse data came from. The numbering is sparse on purpose.
enum PB_EResponseOrigin : int32_t {
  PB_EOrigin_MPCFile31 = 0,
  PB_EOrigin_RandomPulses = 1,
  PB_EOrigin_MPCFile20 = 4,
  PB_EOrigin_MPCFile30 = 5,
  PB_EOrigin_PostFile10 = 8,
  PB_EOrigin_PostFile20 = 9,
  PB_EOrigin_PostFile21 = 10,
  PB_EOrigin_PostFile30 = 11,
  PB_EOrigin_NOVIFile = 16,
  PB_EOrigin_ZYRAFile = 20,
};

// Pulses 1..Count; slot 0 holds a template pulse that is never saved or counted and answers
// GetLengthInFile for the block code. A new buffer has Count 0 and all statistics 0.
class CPulsBufferClass {
 public:
  // Above this many slots, SetCount releases the pulses one by one with progress reports.
  static constexpr int32_t kSlowReleaseCount = 10000;

  CPulsBufferClass() { SetCount(0, nullptr); }

  int32_t Count() const noexcept { return slots_.Count(); }
  // The reference at iPuls; the empty reference outside 0..Count.
  std::shared_ptr<CPulsClass> Puls(int32_t iPuls) const { return slots_.Get(iPuls); }
  // The pulse at iPuls in place, for loops that must not hand references out; error 91 where
  // Puls would give the empty reference. Valid until the buffer changes shape or Puls(iPuls)
  // hands the pulse out.
  CPulsClass& PulsRecord(int32_t iPuls) const {
    if (!slots_.InRange(iPuls)) RaiseError(kErrObjectNotSet);
    return slots_.At(iPuls);
  }
  // The pulse at iPuls, or null where Puls would give the empty reference.
  CPulsClass* FindPuls(int32_t iPuls) const { return slots_.Find(iPuls); }
  // Stores the reference (no copy); error 9 outside 0..Count.
  void SetPuls(int32_t iPuls, std::shared_ptr<CPulsClass> cPuls);
  // Appends the reference and returns its index.
  int32_t AddPuls(std::shared_ptr<CPulsClass> cPuls);
  // Removes pulse iPuls, moving the later ones down; the new Count, or -1 outside 1..Count.
  int32_t DeletePuls(int32_t iPuls);
  void Swap(int32_t iPuls, int32_t jPuls) { slots_.Swap(iPuls, jPuls); }
  // Pulse j (1-based) becomes what pulse laFrom[j - 1] was, for j = 1..size, and Count the
  // size: a sort or a removal in one pass. Each source in 1..Count at most once (error 9
  // otherwise); references handed out follow their pulses. The statistics stay as they are.
  void Rearrange(std::vector<int32_t> laFrom) { slots_.Rearrange(std::move(laFrom)); }

  // Discards all pulses, makes nPls fresh ones and resets every statistic, DataOrigin and
  // SpeakerPhaseWasAdded included. Error 5 for a negative count.
  void SetCount(int32_t nPls, BusyIndicator* cBusy);
  // Room for nPls pulses, so that pulses appended up to there stay where they are.
  void ReserveCount(int32_t nPls) { slots_.Reserve(nPls); }
  // Appends a new pulse (AddPuls of a fresh one) and returns it in place.
  CPulsClass& AppendNewPuls() { return slots_.Append(); }
  // Resizes to nPls keeping the pulses; the statistics stay as they are.
  void SetCountPreserve(int32_t nPls) { slots_.Resize(nPls); }

  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kPulses)); }

  void UpdateMaxOrderAndID();
  void UpdateMaxSPL();
  // True when some active bundle reflection belongs to a pseudo pulse.
  bool GetHasLineArrayReflexions() const;
  bool GetHasPulsesWithOrigin0() const;
  void PrintToLogger(Logger& cLogger) const;

  int32_t MaxOrder() const noexcept { return maxOrder_; }
  void SetMaxOrder(int32_t value) noexcept { maxOrder_ = value; }
  int32_t MinID() const noexcept { return minID_; }
  void SetMinID(int32_t value) noexcept { minID_ = value; }
  int32_t MaxID() const noexcept { return maxID_; }
  void SetMaxID(int32_t value) noexcept { maxID_ = value; }
  int32_t MinPseudoID() const noexcept { return minPseudoID_; }
  void SetMinPseudoID(int32_t value) noexcept { minPseudoID_ = value; }
  int32_t MaxPseudoID() const noexcept { return maxPseudoID_; }
  void SetMaxPseudoID(int32_t value) noexcept { maxPseudoID_ = value; }
  int16_t MaxSPL(int32_t iTerz1) const { return maxSPL_.Get(iTerz1); }
  void SetMaxSPL(int32_t iTerz1, int16_t value) { maxSPL_.Set(iTerz1, value); }
  PB_EResponseOrigin DataOrigin() const noexcept { return dataOrigin_; }
  void SetDataOrigin(PB_EResponseOrigin value) noexcept { dataOrigin_ = value; }
  bool SpeakerPhaseWasAdded() const noexcept { return speakerPhaseWasAdded_; }
  void SetSpeakerPhaseWasAdded(bool value) noexcept { speakerPhaseWasAdded_ = value; }

 private:
  NumberedSlots<CPulsClass> slots_;
  int32_t maxOrder_ = 0;
  BandArray<int16_t> maxSPL_;
  bool speakerPhaseWasAdded_ = false;
  PB_EResponseOrigin dataOrigin_ = PB_EOrigin_MPCFile31;
  int32_t minID_ = 0;
  int32_t maxID_ = 0;
  int32_t minPseudoID_ = 0;
  int32_t maxPseudoID_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_RESPONSE_PULS_BUFFER_H_
