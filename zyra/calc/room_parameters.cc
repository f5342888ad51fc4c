#include "zyra/calc/room_parameters.h"

#include "zyra/support/errors.h"

namespace zyra {

CParameterSet CalculateParameters(const CProbeRspClass& /*cRspFile*/, const CCalcResults& /*cCalc*/,
                                  const CParameterOptions& options, BusyIndicator* /*cBusy*/,
                                  CSchroederParameters* cDecays) {
  if (!(options.dSchroederT1 > options.dSchroederT2) || !(options.dSchroederT1 <= 0.0)) {
    RaiseError(kErrInvalidCall);
  }
  CParameterSet set;
  set.dSchroederT1 = options.dSchroederT1;
  set.dSchroederT2 = options.dSchroederT2;
  set.bWithNoise = options.bWithNoise;
  set.bMasking = options.bMasking;
  if (cDecays != nullptr) *cDecays = CSchroederParameters();
  return set;
}

}  // namespace zyra
