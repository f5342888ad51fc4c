#include "zyra/calc/schroeder_parameters.h"

#include <cmath>

#include "zyra/support/errors.h"

namespace zyra {

int32_t CSchroederParameters::CalculateFit(const CProbeRspClass& /*cRspFile*/,
                                           const CCalcResults& /*cCalc*/,
                                           bool /*bIsWithReflections*/, BusyIndicator* /*cBusy*/) {
  if (!(dSchroederT1_ > dSchroederT2_) || !(dSchroederT1_ <= 0.0)) RaiseError(kErrInvalidCall);
  bands_ = {};
  octaves_ = {};
  return 0;
}

const CSchroederParameters::Decay& CSchroederParameters::BandDecay(int32_t iTerz1) const {
  if (iTerz1 < 1 || iTerz1 >= CCalcResults::kBandCount) RaiseError(kErrSubscript);
  return bands_[static_cast<size_t>(iTerz1)];
}

const CSchroederParameters::Decay& CSchroederParameters::OctaveDecay(int32_t iOctave) const {
  if (iOctave < 1 || iOctave > kOctaveCount) RaiseError(kErrSubscript);
  return octaves_[static_cast<size_t>(iOctave - 1)];
}

namespace {
const CDecayFit& FitOf(const std::array<CDecayFit, kDecayRangeCount>& fits, SL_EDecayRange eRange) {
  if (eRange < 0 || eRange >= kDecayRangeCount) RaiseError(kErrSubscript);
  return fits[static_cast<size_t>(eRange)];
}
double CurvatureOf(double t20, double t30) {
  return 100.0 * (t30 / t20 - 1.0);
}
}  // namespace

double CSchroederParameters::SchrRTime(int32_t iTerz1) const {
  return Fit(iTerz1, SL_EDecay_SchrRTime).DecayTime();
}
double CSchroederParameters::SchrEtot(int32_t iTerz1) const {
  return BandDecay(iTerz1).dEtot;
}
double CSchroederParameters::SchrETail(int32_t iTerz1) const {
  return BandDecay(iTerz1).dETail;
}
double CSchroederParameters::Curvature(int32_t iTerz1) const {
  return CurvatureOf(T20(iTerz1), T30(iTerz1));
}
double CSchroederParameters::OctaveSchrRTime(int32_t iOctave) const {
  return OctaveFit(iOctave, SL_EDecay_SchrRTime).DecayTime();
}
double CSchroederParameters::OctaveSchrEtot(int32_t iOctave) const {
  return OctaveDecay(iOctave).dEtot;
}
double CSchroederParameters::OctaveSchrETail(int32_t iOctave) const {
  return OctaveDecay(iOctave).dETail;
}
double CSchroederParameters::OctaveCurvature(int32_t iOctave) const {
  return CurvatureOf(OctaveT20(iOctave), OctaveT30(iOctave));
}
const CDecayFit& CSchroederParameters::Fit(int32_t iTerz1, SL_EDecayRange eRange) const {
  return FitOf(BandDecay(iTerz1).fits, eRange);
}
const CDecayFit& CSchroederParameters::OctaveFit(int32_t iOctave, SL_EDecayRange eRange) const {
  return FitOf(OctaveDecay(iOctave).fits, eRange);
}
const CDecayCurve& CSchroederParameters::DecayCurve(int32_t iTerz1) const {
  return BandDecay(iTerz1).curve;
}
const CDecayCurve& CSchroederParameters::OctaveDecayCurve(int32_t iOctave) const {
  return OctaveDecay(iOctave).curve;
}

}  // namespace zyra
