#include "zyra/response/system_response.h"

#include "zyra/format/block_writing.h"

#include "zyra/format/rsp_block_header.h"
#include "zyra/support/calculation.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace zyra {

namespace {

// Header values both block writers use.
constexpr int16_t kBlockHeaderLength = 14;
constexpr int16_t kBlockVersion = 1;
constexpr int32_t kPulsBlockFlags = kBlockFlagCounted;
constexpr int32_t kLspInfoBlockFlags = 14;
// The level of an inactive direct sound in the saved block: it keeps its place, no energy.
constexpr int16_t kSilentLevel = -20000;

}  // namespace

// ---- The two buffers ----

void CSystemResponse::MakeBuffers() const {
  if (!pulses_) pulses_ = std::make_shared<CPulsBufferClass>();
  if (!lspInfos_) lspInfos_ = std::make_shared<CLspInfoBufferClass>();
}

void CSystemResponse::SetPuls(int32_t iPuls, std::shared_ptr<CPulsClass> cPuls) {
  Pulses()->SetPuls(iPuls, std::move(cPuls));
}

void CSystemResponse::SetLspInfo(int32_t iLspInfo, std::shared_ptr<CLspInfoClass> cLspInfo) {
  LspInfos()->SetLspInfo(iLspInfo, std::move(cLspInfo));
}

// ---- Save numbering ----

std::vector<int32_t> CSystemResponse::BuildSavedLspNumbers() const {
  const CLspInfoBufferClass& infos = *LspInfos();
  std::vector<int32_t> laNumbers(static_cast<size_t>(infos.Count()) + 1, 0);
  int32_t lNext = 0;
  for (int32_t i = 1; i <= infos.Count(); ++i) {
    const CLspInfoClass& info = infos.LspInfoRecord(i);
    if (info.IsActive() && !info.IsValidCoherence()) laNumbers[static_cast<size_t>(i)] = ++lNext;
  }
  return laNumbers;
}

int32_t CSystemResponse::SavedLspNumber(const std::vector<int32_t>& laNumbers, int32_t lOrigin) {
  if (lOrigin < 0 || static_cast<size_t>(lOrigin) >= laNumbers.size()) RaiseError(kErrSubscript);
  return laNumbers[static_cast<size_t>(lOrigin)];
}

bool CSystemResponse::IsSavedPuls(const CPulsClass& cPuls) noexcept {
  if (cPuls.IsCoherence()) return false;
  return !(cPuls.IsInactive() && cPuls.ROrder() != 0);
}

// ---- The "PULS" block ----

int32_t CSystemResponse::ReadPulsBlockFromByteStream(ByteStream& cByteStream,
                                                     std::string& sErrorMessage,
                                                     BusyIndicator* cBusy, bool bIgnoreInactive,
                                                     bool bIgnorePseudos, bool bIgnoreBundles,
                                                     Logger* cReadLogger) {
  CPulsBufferClass& buffer = *Pulses();
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  const int32_t iVersion = header.Vrsn();
  const int32_t lRecord = buffer.PulsRecord(0).GetLengthInFile(iVersion);
  // An unknown version has no record length, whatever the header claims.
  if (lRecord < 0 || header.lInfo() != lRecord) {
    sErrorMessage = "Bad Puls Length";
    return -1;
  }
  const int32_t nInfo = header.nInfo();
  // A count the stream cannot hold fails as the read of its first missing record would,
  // before anything is allocated for it.
  if (nInfo > cByteStream.Remaining() / lRecord) RaiseError(kErrPastEnd);
  // SetCount(nInfo) as the pulses arrive: the buffer is emptied (with the same reports and
  // statistics) and each pulse made where it is read, so that a million fresh pulses are not
  // made first only to be overwritten.
  if (nInfo < 0) RaiseError(kErrInvalidCall);
  buffer.SetCount(0, cBusy);
  buffer.ReserveCount(nInfo);

  int32_t lResult = 0;
  int32_t nKept = 0;
  for (int32_t i = 1; i <= nInfo; ++i) {
    // Each record is read into the next free slot; a dropped record leaves the slot to the
    // next one (reading clears the record first).
    CPulsClass& puls =
        nKept < buffer.Count() ? buffer.PulsRecord(nKept + 1) : buffer.AppendNewPuls();
    puls.ReadFromByteStream(cByteStream, iVersion);
    // Bundle reflections without their pseudo pulse: the caller must build it, also when
    // the reflection itself is filtered out here.
    if (puls.IsBundle() && puls.ID_Pseudo() == 0 && puls.ROrder() >= 1) lResult = 1;
    const bool bDrop = (puls.IsInactive() && bIgnoreInactive) ||
                       (puls.IsPseudo() && bIgnorePseudos) || (puls.IsBundle() && bIgnoreBundles);
    if (!bDrop) ++nKept;
  }
  if (nKept < nInfo) buffer.SetCountPreserve(nKept);
  if (cReadLogger != nullptr) buffer.PrintToLogger(*cReadLogger);
  sErrorMessage.clear();
  return lResult;
}

void CSystemResponse::SavePulsBlockToByteStream(ByteStream& cByteStream, bool bFlagAsLast,
                                                int32_t& lLengthOfBlockHeader) const {
  const std::vector<int32_t> laNumbers = BuildSavedLspNumbers();
  const CPulsBufferClass& buffer = *Pulses();

  CRspBlockHeaderClass header =
      MakeBlockHeader(buffer.GetBlockID(), kBlockHeaderLength, kBlockVersion, kPulsBlockFlags,
                      buffer.Count(), buffer.PulsRecord(0).GetLengthInFile(kBlockVersion));
  const int32_t lBlockStart = cByteStream.GetPosition();
  header.SaveToByteStream(cByteStream);
  lLengthOfBlockHeader = cByteStream.GetPosition() - lBlockStart;

  int32_t nWritten = 0;
  for (int32_t i = 1; i <= buffer.Count(); ++i) {
    const CPulsClass& puls = buffer.PulsRecord(i);
    if (!IsSavedPuls(puls)) continue;
    // The copy leaves Reserved and the flag bits without a property behind.
    CPulsClass copy = puls.CopyThroughProperties();
    copy.SetOrigin(SavedLspNumber(laNumbers, copy.Origin()));
    if (copy.IsInactive()) {
      for (int32_t iBand = 0; iBand <= 21; ++iBand) copy.SetSPL(iBand, kSilentLevel);
    }
    copy.SaveToByteStream(cByteStream);
    ++nWritten;
  }

  header.SetnInfo(nWritten);
  if (bFlagAsLast) {
    int32_t flags = header.flags();
    SetFlag(flags, kBlockFlagLast, true);
    header.Setflags(flags);
  }
  RewriteBlockHeader(cByteStream, lBlockStart, header);
}

// ---- The "LSPK" block ----

int32_t CSystemResponse::ReadLspInfoBlockFromByteStream(ByteStream& cByteStream,
                                                        std::string& sErrorMessage,
                                                        Logger* cReadLogger) {
  CLspInfoBufferClass& buffer = *LspInfos();
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  const int32_t iVersion = header.Vrsn();
  if (iVersion == 0 && header.lInfo() != buffer.LspInfoRecord(0).GetLengthInFile(0)) {
    sErrorMessage = "Bad LspInfo30 Length";
    return -1;
  }
  // Version-1 records vary in length: the count is judged by the shortest record there can
  // be. A record of a later version is taken to be at least as long.
  const int32_t lShortest =
      iVersion == 0 ? CLspInfoClass::kLengthVersion0 : CLspInfoClass::kMinLengthVersion1;
  const int32_t nInfo = header.nInfo();
  if (nInfo > cByteStream.Remaining() / lShortest) RaiseError(kErrPastEnd);
  buffer.SetCount(nInfo);
  for (int32_t i = 1; i <= nInfo; ++i) {
    if (buffer.LspInfoRecord(i).ReadFromByteStream(cByteStream, iVersion) != 0) {
      sErrorMessage = "Bad LspInfo Length";
      return -1;
    }
  }
  if (cReadLogger != nullptr) buffer.PrintToLogger(*cReadLogger);
  sErrorMessage.clear();
  return 0;
}

bool CSystemResponse::SaveLspInfoBlockToByteStream(ByteStream& cByteStream,
                                                   bool bDontSaveBundles) const {
  const std::vector<int32_t> laNumbers = BuildSavedLspNumbers();
  const CPulsBufferClass& pulses = *Pulses();
  const CLspInfoBufferClass& infos = *LspInfos();

  // Where each loudspeaker's direct sound lands in the saved "PULS" block (the last one
  // wins); 0 when it has none there.
  std::vector<int32_t> laDirectPuls(laNumbers.size(), 0);
  int32_t lSavedIndex = 0;
  for (int32_t i = 1; i <= pulses.Count(); ++i) {
    const CPulsClass& puls = pulses.PulsRecord(i);
    if (!IsSavedPuls(puls)) continue;
    ++lSavedIndex;
    if (puls.ROrder() != 0) continue;
    const int32_t lOrigin = puls.Origin();
    SavedLspNumber(laNumbers, lOrigin);  // the "PULS" writer would fail on it too
    laDirectPuls[static_cast<size_t>(lOrigin)] = lSavedIndex;
  }

  CRspBlockHeaderClass header = MakeBlockHeader(infos.GetBlockID(), kBlockHeaderLength,
                                                kBlockVersion, kLspInfoBlockFlags, 0, 0);
  int32_t lBlockStart = -1;  // the header is written just before the first record
  int32_t lBodyStart = 0;
  int32_t nWritten = 0;
  for (int32_t i = 1; i <= infos.Count(); ++i) {
    // Not saved: inactive and valid coherence loudspeakers (no number), and bundle members
    // when their pseudo loudspeaker is to stand for them.
    if (laNumbers[static_cast<size_t>(i)] == 0) continue;
    const CLspInfoClass& info = infos.LspInfoRecord(i);
    if (bDontSaveBundles && info.IsMember() && !info.IsPseudo()) continue;
    CLspInfoClass copy = info.CopyThroughProperties();
    copy.SetIsActive(true);
    copy.SetPulsNr(laDirectPuls[static_cast<size_t>(i)]);
    if (lBlockStart < 0) {
      lBlockStart = cByteStream.GetPosition();
      header.SaveToByteStream(cByteStream);
      lBodyStart = cByteStream.GetPosition();
    }
    copy.SaveToByteStream(cByteStream);
    ++nWritten;
  }
  if (nWritten == 0) return false;  // deliberately no empty block

  header.SetnInfo(nWritten);
  header.SetlInfo(cByteStream.GetPosition() - lBodyStart);
  RewriteBlockHeader(cByteStream, lBlockStart, header);
  return true;
}

}  // namespace zyra
