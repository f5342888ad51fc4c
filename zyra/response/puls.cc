#include "zyra/response/puls.h"

#include <algorithm>
#include <cmath>

#include "zyra/support/calculation.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"
#include "zyra/support/span_fields.h"

namespace zyra {

namespace {

// Degrees to radians as the ray direction has always been computed (bit pattern
// 0x3F91DF46A2529D34, one unit in the last place away from pi/180).
constexpr double kDegToRad = 0.017453292519943278;

}  // namespace

void CPulsClass::ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion) {
  const int32_t lLength = GetLengthInFile(iVersion);
  if (lLength < 0) {
    *this = CPulsClass();
    return;
  }
  // Runs for every pulse of a file: one length check, then plain copies.
  ReadRecordBytes(cByteStream, lLength, [this, iVersion](SpanFieldReader& reader) {
    // Version 1 fills every field; version 0 leaves the later ones cleared.
    if (iVersion != 1) *this = CPulsClass();
    Layout(*this, reader, iVersion == 1);
  });
}

void CPulsClass::SaveToByteStream(ByteStream& cByteStream) const {
  WriteRecordBytes<kLengthVersion1>(cByteStream, kLengthVersion1, [this](SpanFieldWriter& writer) {
    Layout(*this, writer, true);
  });
}

int32_t CPulsClass::GetLengthInFile(int32_t iVersion) noexcept {
  return LengthOfVersion(iVersion, kLengthVersion0, kLengthVersion1);
}

void CPulsClass::AddToPhases(const std::array<int16_t, 21>& iaPhase) {
  // Bands 1..21 as two overlapping runs of 16 (bands 1..16 and 6..21), both computed from
  // copies of the old values: loops of a fixed length over arrays that alias nothing, which
  // the compiler turns into a few vector instructions. Over ten million pulses, the scalar
  // loop took a third of the walk that adds the phases.
  constexpr size_t kBands = 21;
  constexpr size_t kRun = 16;
  std::array<int16_t, 22>& phases = phase_.Values();
  std::array<int16_t, kBands> old{};
  std::copy(phases.begin() + 1, phases.end(), old.begin());
  const std::array<int16_t, kBands> add = iaPhase;
  std::array<int16_t, kBands> sum{};
  for (size_t b = 0; b < kRun; ++b) sum[b] = AddPhases(old[b], add[b]);
  for (size_t b = kBands - kRun; b < kBands; ++b) sum[b] = AddPhases(old[b], add[b]);
  std::copy(sum.begin(), sum.end(), phases.begin() + 1);
}

bool CPulsClass::IsActiveForCalc(bool bIsInterferenceOn) const noexcept {
  if (IsInactive()) return false;
  if (bIsInterferenceOn) {
    // Group members count one by one with their phases; the pseudo pulse that sums them not.
    return !IsPseudo() && !IsCoherence();
  }
  // The pseudo pulse stands for its group; the members are skipped.
  return !IsCoherence() && !IsMember();
}

int16_t CPulsClass::LevelForCalc(int32_t iTerz1, bool bIsInterferenceOn) const {
  const int16_t iLevel = spl_.Get(iTerz1);
  return iLevel > 0 && IsActiveForCalc(bIsInterferenceOn) ? iLevel : int16_t{0};
}

double CPulsClass::GetSPLForCalc(int32_t iTerz1, bool bIsInterferenceOn) const {
  const int16_t iLevel = LevelForCalc(iTerz1, bIsInterferenceOn);
  return iLevel > 0 ? iLevel * 0.01 : 0.0;
}

double CPulsClass::GetPressureForCalc(int32_t iTerz1, bool bIsInterferenceOn) const {
  const int16_t iLevel = LevelForCalc(iTerz1, bIsInterferenceOn);
  return iLevel > 0 ? std::pow(10.0, (iLevel * 0.01) / 20.0) : 0.0;
}

double CPulsClass::GetEnergyForCalc(int32_t iTerz1, bool bIsInterferenceOn) const {
  const int16_t iLevel = LevelForCalc(iTerz1, bIsInterferenceOn);
  return iLevel > 0 ? std::pow(10.0, (iLevel * 0.01) / 10.0) : 0.0;
}

void CPulsClass::CalculateRayFromAngles() {
  // The angles are narrowed to Single before use, as they always were.
  const double h = static_cast<float>(horAngle_ * kDegToRad);
  const double v = static_cast<float>(verAngle_ * kDegToRad);
  rayX_.Set(1, static_cast<float>(-std::cos(v) * std::cos(h)));
  rayX_.Set(2, static_cast<float>(-std::cos(v) * std::sin(h)));
  rayX_.Set(3, static_cast<float>(-std::sin(v)));
}

CPulsClass CPulsClass::CopyThroughProperties() const {
  CPulsClass copy;
  copy.SetOrigin(Origin());
  for (int32_t i = 0; i <= 21; ++i) {
    copy.SetSPL(i, SPL(i));
    copy.SetPhase(i, Phase(i));
  }
  copy.SetTravel(Travel());
  copy.SetHorAngle(HorAngle());
  copy.SetVerAngle(VerAngle());
  copy.SetROrder(ROrder());
  copy.SetMultiple(Multiple());
  for (int32_t j = 0; j <= 1; ++j) {
    for (int32_t i = 0; i <= 1; ++i) copy.SetLinie(i, j, Linie(i, j));
  }
  copy.SetFarbe(Farbe());
  for (int32_t i = 1; i <= 3; ++i) copy.SetRayX(i, RayX(i));
  copy.SetID(ID());
  copy.SetIsInactive(IsInactive());
  copy.SetIsPseudo(IsPseudo());
  copy.SetIsBundle(IsBundle());
  copy.SetIsLspOff(IsLspOff());
  copy.SetIsMember(IsMember());
  copy.SetIsCoherence(IsCoherence());
  copy.SetID_Pseudo(ID_Pseudo());
  return copy;
}

std::shared_ptr<CPulsClass> CPulsClass::CopyDeep() const {
  return std::make_shared<CPulsClass>(CopyThroughProperties());
}

std::vector<int16_t> CPulsClass::GetSPLArray() const {
  const auto& values = spl_.Values();
  return std::vector<int16_t>(values.begin() + kBandFirst, values.begin() + kBandLast + 1);
}

void CPulsClass::PrintToLogger(Logger& cLogger) const {
  PrintField(cLogger, "Farbe ", Farbe());
  PrintField(cLogger, "HorAngle ", HorAngle());
  PrintField(cLogger, "ID ", ID());
  PrintField(cLogger, "ID_Pseudo ", ID_Pseudo());
  PrintField(cLogger, "IsBundle ", IsBundle());
  PrintField(cLogger, "IsCoherence ", IsCoherence());
  PrintField(cLogger, "IsDirectSound ", IsDirectSound());
  PrintField(cLogger, "IsInactive ", IsInactive());
  PrintField(cLogger, "IsLspOff ", IsLspOff());
  PrintField(cLogger, "IsMember ", IsMember());
  PrintField(cLogger, "IsPseudo ", IsPseudo());
  PrintField(cLogger, "Origin ", Origin());
  PrintIndexed(cLogger, "Phase(", phase_, ") ");
  PrintIndexed(cLogger, "RayX(", rayX_, ") ");
  PrintField(cLogger, "ROrder ", ROrder());
  PrintIndexed(cLogger, "SPL(", spl_, ") ");
  PrintField(cLogger, "Travel ", Travel());
  PrintField(cLogger, "VerAngle ", VerAngle());
}

int32_t CPulsClass::LinieSlot(int32_t i01, int32_t j01) {
  if (i01 < 0 || i01 > 1 || j01 < 0 || j01 > 1) RaiseError(kErrSubscript);
  return i01 + 2 * j01;
}

}  // namespace zyra
