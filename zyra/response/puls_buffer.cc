#include "zyra/response/puls_buffer.h"

#include <limits>
#include <vector>

#include "zyra/support/print_fields.h"

namespace zyra {

namespace {

constexpr char kReleaseCaption[] = "Releasing Memory";

}  // namespace

void CPulsBufferClass::SetPuls(int32_t iPuls, std::shared_ptr<CPulsClass> cPuls) {
  slots_.Set(iPuls, std::move(cPuls));
}

int32_t CPulsBufferClass::AddPuls(std::shared_ptr<CPulsClass> cPuls) {
  const int32_t iNew = Count() + 1;
  SetCountPreserve(iNew);
  slots_.Set(iNew, std::move(cPuls));
  return iNew;
}

int32_t CPulsBufferClass::DeletePuls(int32_t iPuls) {
  const int32_t nCount = Count();
  if (iPuls < 1 || iPuls > nCount) return -1;
  std::vector<int32_t> laFrom;
  laFrom.reserve(static_cast<size_t>(nCount) - 1);
  for (int32_t j = 1; j <= nCount; ++j) {
    if (j != iPuls) laFrom.push_back(j);
  }
  slots_.Rearrange(std::move(laFrom));
  return Count();
}

void CPulsBufferClass::SetCount(int32_t nPls, BusyIndicator* cBusy) {
  if (nPls < 0) RaiseError(kErrInvalidCall);
  const int32_t nUpper = Count();
  if (nUpper > kSlowReleaseCount) {
    // Releasing a large buffer takes long enough to be seen: do it in steps that can report.
    for (int32_t i = 0; i <= nUpper; ++i) {
      slots_.Release(i);
      if (cBusy != nullptr) {
        cBusy->ShowProgress(kReleaseCaption, static_cast<double>(i) / nUpper, kBusyInterval);
      }
    }
  }
  if (cBusy != nullptr) cBusy->ShowProgress(kReleaseCaption, 1.0, kBusyInterval);
  slots_.Refill(nPls);
  maxSPL_ = BandArray<int16_t>();
  maxOrder_ = 0;
  speakerPhaseWasAdded_ = false;
  dataOrigin_ = PB_EOrigin_MPCFile31;
  minID_ = 0;
  maxID_ = 0;
  minPseudoID_ = 0;
  maxPseudoID_ = 0;
}

void CPulsBufferClass::UpdateMaxOrderAndID() {
  maxOrder_ = 0;
  minID_ = std::numeric_limits<int32_t>::max();
  minPseudoID_ = std::numeric_limits<int32_t>::max();
  maxID_ = std::numeric_limits<int32_t>::min();
  maxPseudoID_ = std::numeric_limits<int32_t>::min();
  for (int32_t i = 1; i <= Count(); ++i) {
    const CPulsClass& puls = slots_.At(i);
    if (puls.ROrder() > maxOrder_) maxOrder_ = puls.ROrder();
    if (puls.ID() < minID_) minID_ = puls.ID();
    if (puls.ID() > maxID_) maxID_ = puls.ID();
    if (puls.ID_Pseudo() < minPseudoID_) minPseudoID_ = puls.ID_Pseudo();
    if (puls.ID_Pseudo() > maxPseudoID_) maxPseudoID_ = puls.ID_Pseudo();
  }
  if (minPseudoID_ > maxPseudoID_) {
    minPseudoID_ = 0;
    maxPseudoID_ = 0;
  }
  if (minID_ > maxID_) {
    minID_ = 0;
    maxID_ = 0;
  }
}

void CPulsBufferClass::UpdateMaxSPL() {
  maxSPL_ = BandArray<int16_t>();
  auto& maxima = maxSPL_.Values();
  for (int32_t i = 1; i <= Count(); ++i) {
    const CPulsClass& puls = slots_.At(i);
    for (int32_t iBand = 0; iBand <= 21; ++iBand) {
      const int16_t iLevel = puls.SPL(iBand);
      if (iLevel > maxima[static_cast<size_t>(iBand)]) maxima[static_cast<size_t>(iBand)] = iLevel;
    }
  }
}

bool CPulsBufferClass::GetHasLineArrayReflexions() const {
  for (int32_t i = 1; i <= Count(); ++i) {
    const CPulsClass& puls = slots_.At(i);
    if (puls.IsBundle() && puls.ROrder() >= 1 && puls.ID_Pseudo() != 0 && !puls.IsInactive()) {
      return true;
    }
  }
  return false;
}

bool CPulsBufferClass::GetHasPulsesWithOrigin0() const {
  for (int32_t i = 1; i <= Count(); ++i) {
    if (slots_.At(i).Origin() == 0) return true;
  }
  return false;
}

void CPulsBufferClass::PrintToLogger(Logger& cLogger) const {
  cLogger.PrintLine("");
  for (int32_t i = 1; i <= Count(); ++i) {
    cLogger.PrintLine("");
    cLogger.PrintLine("Puls(" + std::to_string(i) + "):");
    slots_.At(i).PrintToLogger(cLogger);
  }
}

}  // namespace zyra
