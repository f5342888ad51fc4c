#include "zyra/response/lsp_info_buffer.h"

namespace zyra {

void CLspInfoBufferClass::CorrectPulsePointers(int32_t iPuls) {
  for (int32_t i = 1; i <= Count(); ++i) {
    CLspInfoClass& info = slots_.At(i);
    if (info.PulsNr() > iPuls) info.SetPulsNr(info.PulsNr() - 1);
  }
}

bool CLspInfoBufferClass::GetHasPhaseData() const {
  for (int32_t i = 1; i <= Count(); ++i) {
    const CLspInfoClass& info = slots_.At(i);
    if (info.IsPhaseFlgValid() ? info.IsWithPhase() : info.CoherenceGroup() != 0) return true;
  }
  return false;
}

bool CLspInfoBufferClass::GetHasPseudoLspk() const {
  for (int32_t i = 1; i <= Count(); ++i) {
    if (slots_.At(i).IsPseudo()) return true;
  }
  return false;
}

void CLspInfoBufferClass::PrintToLogger(Logger& cLogger) const {
  cLogger.PrintLine("");
  for (int32_t i = 1; i <= Count(); ++i) {
    cLogger.PrintLine("");
    cLogger.PrintLine("LspInfo(" + std::to_string(i) + "):");
    slots_.At(i).PrintToLogger(cLogger);
  }
}

}  // namespace zyra
