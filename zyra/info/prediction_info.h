// The "PRED" block: settings and results of the statistical prediction of the late response.
#ifndef ZYRA_INFO_PREDICTION_INFO_H_
#define ZYRA_INFO_PREDICTION_INFO_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zyra/format/block_walk.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

class CPredictionInfoClass {
 public:
  int32_t GetLengthInFile() const noexcept { return kBodyLength; }
  // Expects the stream at the block header. Only version 3 with an 840-byte body is read; any
  // other version counts as a wrong length. On failure the values stay as they were.
  int32_t ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                             Logger* cReadLogger = nullptr);
  void PrintToLogger(Logger* cLogger) const;
  void SaveToByteStream(ByteStream& cByteStream) const;
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kPrediction)); }
  // A new object with every value set through the properties.
  std::shared_ptr<CPredictionInfoClass> GetCopy() const;

  int32_t flags() const noexcept { return flags_; }
  void Setflags(int32_t value) noexcept { flags_ = value; }
  int32_t RaysPerLspk() const noexcept { return raysPerLspk_; }
  void SetRaysPerLspk(int32_t value) noexcept { raysPerLspk_ = value; }
  // Copy faLvl[0..21] into Slope (Start); a shorter vector copies what it has and then
  // raises error 9.
  void SetSlopeArray(const std::vector<float>& faLvl);
  void SetStartArray(const std::vector<float>& faLvl);
  float Target() const noexcept { return target_; }
  void SetTarget(float value) noexcept { target_ = value; }
  int32_t Noise() const noexcept { return noise_; }
  void SetNoise(int32_t value) noexcept { noise_ = value; }
  float ATime() const noexcept { return aTime_; }
  void SetATime(float value) noexcept { aTime_ = value; }
  float BTime() const noexcept { return bTime_; }
  void SetBTime(float value) noexcept { bTime_ = value; }
  float Start(int32_t iBand1) const { return start_.Get(iBand1); }
  void SetStart(int32_t iBand1, float value) { start_.Set(iBand1, value); }
  float Slope(int32_t iBand1) const { return slope_.Get(iBand1); }
  void SetSlope(int32_t iBand1, float value) { slope_.Set(iBand1, value); }
  float Rms(int32_t iBand1) const { return rms_.Get(iBand1); }
  void SetRms(int32_t iBand1, float value) { rms_.Set(iBand1, value); }
  float DelayTime() const noexcept { return delayTime_; }
  void SetDelayTime(float value) noexcept { delayTime_ = value; }
  int32_t Pulses0() const noexcept { return pulses0_; }
  void SetPulses0(int32_t value) noexcept { pulses0_ = value; }
  int32_t Pulses1() const noexcept { return pulses1_; }
  void SetPulses1(int32_t value) noexcept { pulses1_ = value; }
  float Length1() const noexcept { return length1_; }
  void SetLength1(float value) noexcept { length1_ = value; }
  float Loss1(int32_t iBand1) const { return loss1_.Get(iBand1); }
  void SetLoss1(int32_t iBand1, float value) { loss1_.Set(iBand1, value); }
  int32_t Pulses2() const noexcept { return pulses2_; }
  void SetPulses2(int32_t value) noexcept { pulses2_ = value; }
  float Length2() const noexcept { return length2_; }
  void SetLength2(float value) noexcept { length2_ = value; }
  float Loss2(int32_t iBand1) const { return loss2_.Get(iBand1); }
  void SetLoss2(int32_t iBand1, float value) { loss2_.Set(iBand1, value); }
  int32_t MaxDensity() const noexcept { return maxDensity_; }
  void SetMaxDensity(int32_t value) noexcept { maxDensity_ = value; }
  int32_t Limited() const noexcept { return limited_; }
  void SetLimited(int32_t value) noexcept { limited_ = value; }
  float RT60(int32_t iBand1) const { return rt60_.Get(iBand1); }
  void SetRT60(int32_t iBand1, float value) { rt60_.Set(iBand1, value); }
  int16_t RTType() const noexcept { return rtType_; }
  void SetRTType(int16_t value) noexcept { rtType_ = value; }

 private:
  static constexpr int32_t kBodyLength = 840;
  static constexpr int16_t kVersion = 3;
  static constexpr size_t kReservedLength = 254;

  // The body in file order; reading and writing both walk it.
  template <class Self, class Fields>
  static void Layout(Self& r, Fields& f) {
    f(r.flags_);
    f(r.raysPerLspk_);
    f(r.target_);
    f(r.noise_);
    f(r.aTime_);
    f(r.bTime_);
    f(r.start_);
    f(r.slope_);
    f(r.rms_);
    f(r.delayTime_);
    f(r.pulses0_);
    f(r.pulses1_);
    f(r.length1_);
    f(r.loss1_);
    f(r.pulses2_);
    f(r.length2_);
    f(r.loss2_);
    f(r.maxDensity_);
    f(r.limited_);
    f(r.rt60_);
    f(r.rtType_);
    // Room kept free for later fields: what a file holds there is dropped on reading, and a
    // fresh text of zero bytes is written.
    FixedText<kReservedLength> reserved;
    f(reserved);
  }

  int32_t flags_ = 0;
  int32_t raysPerLspk_ = 0;
  float target_ = 0;
  int32_t noise_ = 0;
  float aTime_ = 0;
  float bTime_ = 0;
  BandArray<float> start_;
  BandArray<float> slope_;
  BandArray<float> rms_;
  float delayTime_ = 0;
  int32_t pulses0_ = 0;
  int32_t pulses1_ = 0;
  float length1_ = 0;
  BandArray<float> loss1_;
  int32_t pulses2_ = 0;
  float length2_ = 0;
  BandArray<float> loss2_;
  int32_t maxDensity_ = 0;
  int32_t limited_ = 0;
  BandArray<float> rt60_;
  int16_t rtType_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_INFO_PREDICTION_INFO_H_
