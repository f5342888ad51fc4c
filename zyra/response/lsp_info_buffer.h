// The loudspeakers of one system response, numbered from 1 (a pulse's Origin).
#ifndef ZYRA_RESPONSE_LSP_INFO_BUFFER_H_
#define ZYRA_RESPONSE_LSP_INFO_BUFFER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zyra/format/block_walk.h"
#include "zyra/response/lsp_info.h"
#include "zyra/support/logger.h"
#include "zyra/support/numbered_slots.h"

namespace zyra {

// Loudspeakers 1..Count; slot 0 holds a template record that answers GetLengthInFile for
// the block code and is never saved.
class CLspInfoBufferClass {
 public:
  int32_t Count() const noexcept { return slots_.Count(); }
  // The reference at iLspInfo; the empty reference outside 0..Count.
  std::shared_ptr<CLspInfoClass> LspInfo(int32_t iLspInfo) const { return slots_.Get(iLspInfo); }
  // The record at iLspInfo in place; error 91 where LspInfo would give the empty reference.
  // Valid until the buffer changes shape or LspInfo(iLspInfo) hands the record out.
  CLspInfoClass& LspInfoRecord(int32_t iLspInfo) const {
    if (!slots_.InRange(iLspInfo)) RaiseError(kErrObjectNotSet);
    return slots_.At(iLspInfo);
  }
  // The record at iLspInfo, or null where LspInfo would give the empty reference.
  CLspInfoClass* FindLspInfo(int32_t iLspInfo) const { return slots_.Find(iLspInfo); }
  // Stores a record of the buffer's own at iLspInfo, replacing the reference there; error 9
  // outside 0..Count.
  void SetLspInfoValue(int32_t iLspInfo, CLspInfoClass cLspInfo) {
    slots_.SetValue(iLspInfo, std::move(cLspInfo));
  }
  // Stores the reference (no copy); error 9 outside 0..Count.
  void SetLspInfo(int32_t iLspInfo, std::shared_ptr<CLspInfoClass> cLspInfo) {
    slots_.Set(iLspInfo, std::move(cLspInfo));
  }
  // Discards all records and makes nLspInfo fresh ones; error 5 for a negative count.
  void SetCount(int32_t nLspInfo) { slots_.Refill(nLspInfo); }
  // Resizes keeping the records; error 5 for a negative count.
  void SetCountPreserve(int32_t nLspInfo) { slots_.Resize(nLspInfo); }
  // Record j (1-based) becomes what record laFrom[j - 1] was, for j = 1..size, and Count the
  // size; each source in 1..Count at most once (error 9 otherwise). References handed out
  // follow their records.
  void Rearrange(std::vector<int32_t> laFrom) { slots_.Rearrange(std::move(laFrom)); }

  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kLspInfos)); }

  // After pulse iPuls was deleted: every PulsNr above iPuls moves down by one.
  void CorrectPulsePointers(int32_t iPuls);
  // True when some loudspeaker has phase data: a trusted IsWithPhase, or no trusted phase
  // flag and a coherence group (as version-0 records of grouped loudspeakers).
  bool GetHasPhaseData() const;
  bool GetHasPseudoLspk() const;
  void PrintToLogger(Logger& cLogger) const;

 private:
  NumberedSlots<CLspInfoClass> slots_;
};

}  // namespace zyra

#endif  // ZYRA_RESPONSE_LSP_INFO_BUFFER_H_
