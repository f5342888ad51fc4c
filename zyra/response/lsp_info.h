// One loudspeaker that contributes pulses to a response.
#ifndef ZYRA_RESPONSE_LSP_INFO_H_
#define ZYRA_RESPONSE_LSP_INFO_H_

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "zyra/support/byte_stream.h"
#include "zyra/support/flags.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

// Bits of the loudspeaker's flag word.
inline constexpr int32_t kLspFlagActive = 0x00000001;
inline constexpr int32_t kLspFlagPseudo = 0x00800000;
inline constexpr int32_t kLspFlagCoherenceInvalid = 0x01000000;
inline constexpr int32_t kLspFlagMember = 0x02000000;
inline constexpr int32_t kLspFlagCoherence = 0x04000000;
// Bits of the phase flag word.
inline constexpr int16_t kLspPhaseFlagWithPhase = 0x0001;
inline constexpr int16_t kLspPhaseFlagValid = 0x0002;  // IsWithPhase was set deliberately

// Version 0 records have a fixed length and no phase data; version 1 records carry their
// labels as texts of their own length, so their length varies.
class CLspInfoClass {
 public:
  static constexpr int32_t kLengthVersion0 = 154;
  // The fields of a version-1 record apart from the two label texts.
  static constexpr int32_t kFixedLengthVersion1 = 174;
  // The shortest version-1 record: the fixed fields and two empty label texts.
  static constexpr int32_t kMinLengthVersion1 = kFixedLengthVersion1 + 2 * 4;

  // 0 when read; -1 when a version-1 record's fixed-length field is not 174 (the rest of the
  // record is then left unread). Another version reads nothing and gives 0.
  int32_t ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion);
  // Writes the version-1 layout, its record length patched in after the record.
  void SaveToByteStream(ByteStream& cByteStream) const;
  // 154 for version 0, 174 for version 1 (without the label texts), -1 otherwise.
  static int32_t GetLengthInFile(int32_t iVersion) noexcept;
  // A new record with every value that has a property; flag bits without one stay clear.
  std::shared_ptr<CLspInfoClass> CopyDeep() const;
  // The same copy by value, for the block writer.
  CLspInfoClass CopyThroughProperties() const;
  void PrintToLogger(Logger& cLogger) const;

  // IsCoherence with a trusted group: such a loudspeaker exists only in memory.
  bool IsValidCoherence() const noexcept { return IsCoherence() && !IsCoherenceInvalid(); }

  std::string Label() const { return label_; }
  void SetLabel(const std::string& value) { label_ = value; }
  std::string CharLabel() const { return charLabel_; }
  void SetCharLabel(const std::string& value) { charLabel_ = value; }
  int32_t CoherenceGroup() const noexcept { return coherenceGroup_; }
  void SetCoherenceGroup(int32_t value) noexcept { coherenceGroup_ = value; }
  float Site(int32_t iCoord1) const { return site_.Get(iCoord1); }
  void SetSite(int32_t iCoord1, float value) { site_.Set(iCoord1, value); }
  int16_t HorAngle() const noexcept { return horAngle_; }
  void SetHorAngle(int16_t value) noexcept { horAngle_ = value; }
  int16_t VerAngle() const noexcept { return verAngle_; }
  void SetVerAngle(int16_t value) noexcept { verAngle_ = value; }
  int16_t RotAngle() const noexcept { return rotAngle_; }
  void SetRotAngle(int16_t value) noexcept { rotAngle_ = value; }
  int16_t SPL1m(int32_t iTerz1) const { return spl1m_.Get(iTerz1); }
  void SetSPL1m(int32_t iTerz1, int16_t value) { spl1m_.Set(iTerz1, value); }
  int16_t Dirty(int32_t iTerz1) const { return dirty_.Get(iTerz1); }
  void SetDirty(int32_t iTerz1, int16_t value) { dirty_.Set(iTerz1, value); }
  int16_t Phase(int32_t iTerz1) const { return phase_.Get(iTerz1); }
  // Phase(1..21) at once, element b - 1 for band b.
  const std::array<int16_t, 21>& Phases() const noexcept { return phase_.Values(); }
  void SetPhase(int32_t iTerz1, int16_t value) { phase_.Set(iTerz1, value); }
  float Delay() const noexcept { return delay_; }
  void SetDelay(float value) noexcept { delay_ = value; }
  int32_t PulsNr() const noexcept { return pulsNr_; }
  // The whole flag words, bits without a property included; for hosts that show or export
  // the record as stored.
  int32_t Flags() const noexcept { return flags_; }
  int16_t PhaseFlags() const noexcept { return phaseFlags_; }
  void SetPulsNr(int32_t value) noexcept { pulsNr_ = value; }

  bool IsActive() const noexcept { return IsFlagSet(flags_, kLspFlagActive); }
  void SetIsActive(bool value) noexcept { SetFlag(flags_, kLspFlagActive, value); }
  bool IsPseudo() const noexcept { return IsFlagSet(flags_, kLspFlagPseudo); }
  void SetIsPseudo(bool value) noexcept { SetFlag(flags_, kLspFlagPseudo, value); }
  bool IsCoherenceInvalid() const noexcept { return IsFlagSet(flags_, kLspFlagCoherenceInvalid); }
  void SetIsCoherenceInvalid(bool value) noexcept {
    SetFlag(flags_, kLspFlagCoherenceInvalid, value);
  }
  bool IsMember() const noexcept { return IsFlagSet(flags_, kLspFlagMember); }
  void SetIsMember(bool value) noexcept { SetFlag(flags_, kLspFlagMember, value); }
  bool IsCoherence() const noexcept { return IsFlagSet(flags_, kLspFlagCoherence); }
  void SetIsCoherence(bool value) noexcept { SetFlag(flags_, kLspFlagCoherence, value); }
  bool IsWithPhase() const noexcept { return IsFlagSet(phaseFlags_, kLspPhaseFlagWithPhase); }
  void SetIsWithPhase(bool value) noexcept { SetFlag(phaseFlags_, kLspPhaseFlagWithPhase, value); }
  bool IsPhaseFlgValid() const noexcept { return IsFlagSet(phaseFlags_, kLspPhaseFlagValid); }
  void SetIsPhaseFlgValid(bool value) noexcept { SetFlag(phaseFlags_, kLspPhaseFlagValid, value); }

 private:
  // The fields after the labels (and, in version 1, the coherence group), in file order;
  // only version 1 carries the phase data.
  template <class Self, class Fields>
  static void BodyLayout(Self& r, Fields& f, bool bVersion1) {
    f(r.site_);
    f(r.horAngle_);
    f(r.verAngle_);
    f(r.rotAngle_);
    f(r.flags_);
    f(r.spl1m_);
    f(r.dirty_);
    if (bVersion1) {
      f(r.phaseFlags_);
      f(r.phase_);
    }
    f(r.delay_);
    f(r.pulsNr_);
  }

  int32_t ReadVersion1(ByteStream& cByteStream);
  void ReadVersion0(ByteStream& cByteStream);

  std::string label_;
  std::string charLabel_;
  int32_t coherenceGroup_ = 0;
  IndexedArray<float, 1, 3> site_;
  int16_t horAngle_ = 0;
  int16_t verAngle_ = 0;
  int16_t rotAngle_ = 0;
  int32_t flags_ = 0;
  BandArray<int16_t> spl1m_;
  BandArray<int16_t> dirty_;
  int16_t phaseFlags_ = 0;
  IndexedArray<int16_t, 1, 21> phase_;
  float delay_ = 0;
  int32_t pulsNr_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_RESPONSE_LSP_INFO_H_
