// One sound arrival at the receiver: a direct sound or one reflection of a loudspeaker.
#ifndef ZYRA_RESPONSE_PULS_H_
#define ZYRA_RESPONSE_PULS_H_

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/flags.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

// Bits of a pulse's flag word. 0x08 and the bits above 0x40 have no property: they are read
// and written unchanged but not copied by CopyDeep.
inline constexpr int32_t kPulsFlagInactive = 0x01;
inline constexpr int32_t kPulsFlagPseudo = 0x02;
inline constexpr int32_t kPulsFlagBundle = 0x04;
inline constexpr int32_t kPulsFlagMember = 0x10;
inline constexpr int32_t kPulsFlagCoherence = 0x20;
inline constexpr int32_t kPulsFlagLspOff = 0x40;

// Levels are hundredths of a dB (0 or below: no energy), phases units of 0.0001 rad, band
// slots 0..21 (1..21 are the third-octave bands). Every field is zero on creation.
class CPulsClass {
 public:
  static constexpr int32_t kLengthVersion0 = 78;
  static constexpr int32_t kLengthVersion1 = 150;

  // Clears the record and fills it from the layout of `iVersion`; another version reads
  // nothing and leaves the record cleared. Error 62 (record unchanged) when the stream ends
  // inside the record.
  void ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion);
  // Writes the version-1 layout (150 bytes).
  void SaveToByteStream(ByteStream& cByteStream) const;
  // 78 for version 0, 150 for version 1, -1 otherwise.
  static int32_t GetLengthInFile(int32_t iVersion) noexcept;

  // Whether the pulse counts in a calculation with or without interference.
  bool IsActiveForCalc(bool bIsInterferenceOn) const noexcept;
  // The band's level in dB, relative pressure and relative energy when the pulse counts and
  // the band holds energy (SPL above 0); 0 otherwise.
  double GetSPLForCalc(int32_t iTerz1, bool bIsInterferenceOn) const;
  double GetPressureForCalc(int32_t iTerz1, bool bIsInterferenceOn) const;
  double GetEnergyForCalc(int32_t iTerz1, bool bIsInterferenceOn) const;
  bool IsDirectSound() const noexcept { return rOrder_ == 0; }

  // RayX from HorAngle and VerAngle: the unit vector along the travel of the sound.
  void CalculateRayFromAngles();
  // A new pulse with every value that has a property; Reserved and the flag bits without a
  // property stay clear in the copy.
  std::shared_ptr<CPulsClass> CopyDeep() const;
  // The same copy by value, for callers that need it only for a moment (the block writer).
  CPulsClass CopyThroughProperties() const;
  // SPL of bands 1..21: element k-1 holds band k.
  std::vector<int16_t> GetSPLArray() const;
  void PrintToLogger(Logger& cLogger) const;

  int32_t Origin() const noexcept { return origin_; }
  void SetOrigin(int32_t value) noexcept { origin_ = static_cast<int16_t>(value); }
  int16_t SPL(int32_t iTerz1) const { return spl_.Get(iTerz1); }
  // SPL(0..21) at once, element b for band b.
  const std::array<int16_t, 22>& SPLs() const noexcept { return spl_.Values(); }
  void SetSPL(int32_t iTerz1, int16_t value) { spl_.Set(iTerz1, value); }
  float Travel() const noexcept { return travel_; }
  void SetTravel(float value) noexcept { travel_ = value; }
  int16_t HorAngle() const noexcept { return horAngle_; }
  void SetHorAngle(int16_t value) noexcept { horAngle_ = value; }
  int16_t VerAngle() const noexcept { return verAngle_; }
  void SetVerAngle(int16_t value) noexcept { verAngle_ = value; }
  int32_t ROrder() const noexcept { return rOrder_; }
  void SetROrder(int32_t value) noexcept { rOrder_ = static_cast<int16_t>(value); }
  int16_t Multiple() const noexcept { return multiple_; }
  void SetMultiple(int16_t value) noexcept { multiple_ = value; }
  float Linie(int32_t i01, int32_t j01) const { return linie_.Get(LinieSlot(i01, j01)); }
  void SetLinie(int32_t i01, int32_t j01, float value) { linie_.Set(LinieSlot(i01, j01), value); }
  int32_t Farbe() const noexcept { return farbe_; }
  void SetFarbe(int32_t value) noexcept { farbe_ = value; }
  float RayX(int32_t iCoord1) const { return rayX_.Get(iCoord1); }
  void SetRayX(int32_t iCoord1, float value) { rayX_.Set(iCoord1, value); }
  int32_t ID() const noexcept { return id_; }
  void SetID(int32_t value) noexcept { id_ = value; }
  int16_t Phase(int32_t iTerz1) const { return phase_.Get(iTerz1); }
  void SetPhase(int32_t iTerz1, int16_t value) { phase_.Set(iTerz1, value); }
  // Phase(b) := AddPhases(Phase(b), iaPhase[b - 1]) for the bands b = 1..21; band 0 stays.
  void AddToPhases(const std::array<int16_t, 21>& iaPhase);
  int32_t ID_Pseudo() const noexcept { return idPseudo_; }
  // The whole flag word, bits without a property included; for hosts that show or export the
  // record as stored.
  int32_t Flags() const noexcept { return flags_; }
  void SetID_Pseudo(int32_t value) noexcept { idPseudo_ = value; }

  bool IsInactive() const noexcept { return Has(kPulsFlagInactive); }
  void SetIsInactive(bool value) noexcept { Put(kPulsFlagInactive, value); }
  bool IsPseudo() const noexcept { return Has(kPulsFlagPseudo); }
  void SetIsPseudo(bool value) noexcept { Put(kPulsFlagPseudo, value); }
  bool IsBundle() const noexcept { return Has(kPulsFlagBundle); }
  void SetIsBundle(bool value) noexcept { Put(kPulsFlagBundle, value); }
  bool IsMember() const noexcept { return Has(kPulsFlagMember); }
  void SetIsMember(bool value) noexcept { Put(kPulsFlagMember, value); }
  bool IsCoherence() const noexcept { return Has(kPulsFlagCoherence); }
  void SetIsCoherence(bool value) noexcept { Put(kPulsFlagCoherence, value); }
  bool IsLspOff() const noexcept { return Has(kPulsFlagLspOff); }
  void SetIsLspOff(bool value) noexcept { Put(kPulsFlagLspOff, value); }

 private:
  // The file layout: version 0 ends after Farbe (78 bytes), version 1 goes on (150 bytes).
  template <class Self, class Fields>
  static void Layout(Self& r, Fields& f, bool bVersion1) {
    f(r.origin_);
    f(r.spl_);
    f(r.travel_);
    f(r.horAngle_);
    f(r.verAngle_);
    f(r.rOrder_);
    f(r.multiple_);
    f(r.linie_);
    f(r.farbe_);
    if (!bVersion1) return;
    f(r.rayX_);
    f(r.id_);
    f(r.flags_);
    f(r.phase_);
    f(r.idPseudo_);
    f(r.reserved_);
  }

  // Linie(i01, j01) is kept in file order: (0,0), (1,0), (0,1), (1,1).
  static int32_t LinieSlot(int32_t i01, int32_t j01);
  bool Has(int32_t bit) const noexcept { return IsFlagSet(flags_, bit); }
  void Put(int32_t bit, bool on) noexcept { SetFlag(flags_, bit, on); }
  // The band's level when the pulse counts and the band holds energy, else 0.
  int16_t LevelForCalc(int32_t iTerz1, bool bIsInterferenceOn) const;

  int16_t origin_ = 0;
  BandArray<int16_t> spl_;
  float travel_ = 0;
  int16_t horAngle_ = 0;
  int16_t verAngle_ = 0;
  int16_t rOrder_ = 0;
  int16_t multiple_ = 0;
  IndexedArray<float, 0, 3> linie_;
  int32_t farbe_ = 0;
  IndexedArray<float, 1, 3> rayX_;
  int32_t id_ = 0;
  int32_t flags_ = 0;
  BandArray<int16_t> phase_;
  int32_t idPseudo_ = 0;
  FixedText<4> reserved_;
};

}  // namespace zyra

#endif  // ZYRA_RESPONSE_PULS_H_
