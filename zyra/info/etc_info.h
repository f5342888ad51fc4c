// The "TAIL" block: energy-time curve and reverberant-tail description of a response.
#ifndef ZYRA_INFO_ETC_INFO_H_
#define ZYRA_INFO_ETC_INFO_H_

#include <cstdint>
#include <memory>
#include <string>

#include "zyra/format/block_walk.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/flags.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

class CETCInfoClass {
 public:
  // Bits of the flag word.
  static constexpr int16_t kFlagWithTail = 1;  // the pulses already contain the tail
  static constexpr int16_t kFlagParameter = 2;
  static constexpr int16_t kFlagPredicted = 4;
  static constexpr int16_t kFlagCancelled = 8;

  // A new object with every value and every flag taken over through the properties; bits
  // of the flag word that belong to no property are therefore not copied.
  std::shared_ptr<CETCInfoClass> GetCopy() const;
  // Expects the stream at the block header. Only version 0 with a 548-byte body is read;
  // otherwise the values stay as they were and the stream stands behind the header.
  int32_t ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                             Logger* cReadLogger = nullptr);
  void PrintToLogger(Logger* cLogger) const;
  void SaveToByteStream(ByteStream& cByteStream) const;
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kTailInfo)); }
  int32_t GetLengthInFile() const noexcept { return kBodyLength; }

  int16_t HorAngle() const noexcept { return horAngle_; }
  void SetHorAngle(int16_t value) noexcept { horAngle_ = value; }
  bool IsWithTail_b() const noexcept { return IsFlagSet(flags_, kFlagWithTail); }
  bool IsParameter_b() const noexcept { return IsFlagSet(flags_, kFlagParameter); }
  bool IsPredicted_b() const noexcept { return IsFlagSet(flags_, kFlagPredicted); }
  bool IsCancelled_b() const noexcept { return IsFlagSet(flags_, kFlagCancelled); }
  void SetIsCancelled_b(bool value) noexcept { SetFlag(flags_, kFlagCancelled, value); }
  void SetIsPredicted_b(bool value) noexcept { SetFlag(flags_, kFlagPredicted, value); }
  void SetIsParameter_b(bool value) noexcept { SetFlag(flags_, kFlagParameter, value); }
  void SetIsWithTail_b(bool value) noexcept { SetFlag(flags_, kFlagWithTail, value); }
  int16_t VerAngle() const noexcept { return verAngle_; }
  void SetVerAngle(int16_t value) noexcept { verAngle_ = value; }
  float Amplified() const noexcept { return amplified_; }
  void SetAmplified(float value) noexcept { amplified_ = value; }
  int16_t PostNo() const noexcept { return postNo_; }
  void SetPostNo(int16_t value) noexcept { postNo_ = value; }
  float dEnergy(int32_t iBand1) const { return dEnergy_.Get(iBand1); }
  int16_t TailSPL(int32_t iBand1) const { return tailSPL_.Get(iBand1); }
  float TailStart() const noexcept { return tailStart_; }
  void SetTailStart(float value) noexcept { tailStart_ = value; }
  int16_t TailNoise() const noexcept { return tailNoise_; }
  void SetTailNoise(int16_t value) noexcept { tailNoise_ = value; }
  float TailLength() const noexcept { return tailLength_; }
  void SetTailLength(float value) noexcept { tailLength_ = value; }
  float TailDensity() const noexcept { return tailDensity_; }
  void SetTailDensity(float value) noexcept { tailDensity_ = value; }
  float TailGain() const noexcept { return tailGain_; }
  void SetTailGain(float value) noexcept { tailGain_ = value; }
  float MaxDensity() const noexcept { return maxDensity_; }
  void SetMaxDensity(float value) noexcept { maxDensity_ = value; }
  float tSplit() const noexcept { return tSplit_; }
  void SettSplit(float value) noexcept { tSplit_ = value; }
  float tDiff() const noexcept { return tDiff_; }
  void SettDiff(float value) noexcept { tDiff_ = value; }
  float Volume() const noexcept { return volume_; }
  void SetVolume(float value) noexcept { volume_ = value; }
  float Surface() const noexcept { return surface_; }
  void SetSurface(float value) noexcept { surface_ = value; }
  float DesiredRT() const noexcept { return desiredRT_; }
  void SetDesiredRT(float value) noexcept { desiredRT_ = value; }
  int16_t RTType() const noexcept { return rtType_; }
  void SetRTType(int16_t value) noexcept { rtType_ = value; }
  float RTime(int32_t iBand1) const { return rTime_.Get(iBand1); }
  void SetRTime(int32_t iBand1, float value) { rTime_.Set(iBand1, value); }
  float Absorp(int32_t iBand1) const { return absorp_.Get(iBand1); }
  void SetAbsorp(int32_t iBand1, float value) { absorp_.Set(iBand1, value); }
  float Noise(int32_t iBand1) const { return noise_.Get(iBand1); }
  void SetNoise(int32_t iBand1, float value) { noise_.Set(iBand1, value); }
  float Power(int32_t iBand1) const { return power_.Get(iBand1); }
  void SetPower(int32_t iBand1, float value) { power_.Set(iBand1, value); }
  int32_t NoviFlags() const noexcept { return noviFlags_; }
  void SetNoviFlags(int32_t value) noexcept { noviFlags_ = value; }
  float MaxSPL() const noexcept { return maxSPL_; }
  void SetMaxSPL(float value) noexcept { maxSPL_ = value; }
  void SetTailSPL(int32_t iBand1, int16_t value) { tailSPL_.Set(iBand1, value); }
  void SetdEnergy(int32_t iBand1, float value) { dEnergy_.Set(iBand1, value); }

  // The whole 16-bit flag word, bits without a property included; for hosts that show or
  // export the block as stored.
  int16_t flags() const noexcept { return flags_; }

 private:
  static constexpr int32_t kBodyLength = 548;

  // The body in file order; reading and writing both walk it.
  template <class Self, class Fields>
  static void Layout(Self& r, Fields& f) {
    f(r.horAngle_);
    f(r.verAngle_);
    f(r.amplified_);
    f(r.postNo_);
    f(r.dEnergy_);
    f(r.tailSPL_);
    f(r.flags_);
    f(r.tailStart_);
    f(r.tailNoise_);
    f(r.tailLength_);
    f(r.tailDensity_);
    f(r.tailGain_);
    f(r.maxDensity_);
    f(r.tSplit_);
    f(r.tDiff_);
    f(r.volume_);
    f(r.surface_);
    f(r.desiredRT_);
    f(r.rtType_);
    f(r.rTime_);
    f(r.absorp_);
    f(r.noise_);
    f(r.power_);
    f(r.noviFlags_);
    f(r.maxSPL_);
  }

  int16_t horAngle_ = 0;
  int16_t verAngle_ = 0;
  float amplified_ = 0;
  int16_t postNo_ = 0;
  BandArray<float> dEnergy_;
  BandArray<int16_t> tailSPL_;
  int16_t flags_ = 0;
  float tailStart_ = 0;
  int16_t tailNoise_ = 0;
  float tailLength_ = 0;
  float tailDensity_ = 0;
  float tailGain_ = 0;
  float maxDensity_ = 0;
  float tSplit_ = 0;
  float tDiff_ = 0;
  float volume_ = 0;
  float surface_ = 0;
  float desiredRT_ = 0;
  int16_t rtType_ = 0;
  BandArray<float> rTime_;
  BandArray<float> absorp_;
  BandArray<float> noise_;
  BandArray<float> power_;
  int32_t noviFlags_ = 0;
  float maxSPL_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_INFO_ETC_INFO_H_
