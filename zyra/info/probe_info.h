// The "PROB" block: the receiver position and the room and calculation settings of a response.
#ifndef ZYRA_INFO_PROBE_INFO_H_
#define ZYRA_INFO_PROBE_INFO_H_

#include <cstdint>
#include <string>

#include "zyra/format/block_walk.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/flags.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

class CProbeInfoClass {
 public:
  // Bits of the flag word. Bits 16, 128 and 16384 have no property and are kept as read.
  static constexpr int32_t kFlagRoomSymm = 1;
  static constexpr int32_t kFlagRoomClosed = 2;
  static constexpr int32_t kFlagWithShadow = 4;
  static constexpr int32_t kFlagInterferenceMap = 8;
  static constexpr int32_t kFlagEpotMap = 32;
  static constexpr int32_t kFlagEkinMap = 64;
  static constexpr int32_t kFlagNoiseOn = 256;
  static constexpr int32_t kFlagPrTailInfo = 512;
  static constexpr int32_t kFlagLocalRTInfo = 1024;
  static constexpr int32_t kFlagWithPhaseData = 2048;
  static constexpr int32_t kFlagVexaSpecified = 4096;
  static constexpr int32_t kFlagVexaResponse = 8192;
  static constexpr int32_t kFlagBadBundlesDetected = 32768;
  static constexpr int32_t kFlagBadBundlesCorrected = 65536;
  static constexpr int32_t kFlagUseSumLevels = 131072;

  // Length of one body: 532 for version 0 (fixed-length texts), 330 for version 1 (the
  // layout marker: the body behind its two leading Longs with every text empty), -1 otherwise.
  static int32_t GetLengthInFile(int32_t iVersion) noexcept;
  // Expects the stream at the block header. Reads versions 0 and 1; a wrong length or an
  // unknown version fails with "Bad ProbeInfo Length" and leaves the values as they were.
  int32_t ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                             Logger* cReadLogger = nullptr);
  // Always writes version 1.
  void SaveToByteStream(ByteStream& cByteStream) const;
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kProbeInfo)); }
  void PrintToLogger(Logger* cLogger) const;

  const std::string& PrUserName() const noexcept { return prUserName_; }
  void SetPrUserName(const std::string& value) { prUserName_ = value; }
  const std::string& PrCompany() const noexcept { return prCompany_; }
  void SetPrCompany(const std::string& value) { prCompany_ = value; }
  // Exactly 10 characters; a let cuts or pads with blanks.
  std::string PrBegun() const { return prBegun_.Get(); }
  void SetPrBegun(const std::string& value) { prBegun_.Set(value); }
  const std::string& PrProject() const noexcept { return prProject_; }
  void SetPrProject(const std::string& value) { prProject_ = value; }
  const std::string& PrRoom() const noexcept { return prRoom_; }
  void SetPrRoom(const std::string& value) { prRoom_ = value; }
  const std::string& PrTown() const noexcept { return prTown_; }
  void SetPrTown(const std::string& value) { prTown_ = value; }
  float PrUnit() const noexcept { return prUnit_; }
  void SetPrUnit(float value) noexcept { prUnit_ = value; }
  int16_t PrTarget() const noexcept { return prTarget_; }
  void SetPrTarget(int16_t value) noexcept { prTarget_ = value; }
  const std::string& PrLabel() const noexcept { return prLabel_; }
  void SetPrLabel(const std::string& value) { prLabel_ = value; }
  // Coordinates 0..3; any other index is error 9.
  float PrSite(int32_t iCoord1) const { return prSite_.Get(iCoord1); }
  void SetPrSite(int32_t iCoord1, float value) { prSite_.Set(iCoord1, value); }
  int16_t PrHorAngle() const noexcept { return prHorAngle_; }
  void SetPrHorAngle(int16_t value) noexcept { prHorAngle_ = value; }
  int16_t PrVerAngle() const noexcept { return prVerAngle_; }
  void SetPrVerAngle(int16_t value) noexcept { prVerAngle_ = value; }
  float PrVolume() const noexcept { return prVolume_; }
  void SetPrVolume(float value) noexcept { prVolume_ = value; }
  float PrSurface() const noexcept { return prSurface_; }
  void SetPrSurface(float value) noexcept { prSurface_ = value; }
  int16_t PrHumidity() const noexcept { return prHumidity_; }
  void SetPrHumidity(int16_t value) noexcept { prHumidity_ = value; }
  int16_t PrAirTemp() const noexcept { return prAirTemp_; }
  void SetPrAirTemp(int16_t value) noexcept { prAirTemp_ = value; }
  int16_t PrNoise(int32_t iBand1) const { return prNoise_.Get(iBand1); }
  void SetPrNoise(int32_t iBand1, int16_t value) { prNoise_.Set(iBand1, value); }
  float PrRTime(int32_t iBand1) const { return prRTime_.Get(iBand1); }
  void SetPrRTime(int32_t iBand1, float value) { prRTime_.Set(iBand1, value); }
  int16_t PrRTType() const noexcept { return prRTType_; }
  void SetPrRTType(int16_t value) noexcept { prRTType_ = value; }
  float PrAbsorp(int32_t iBand1) const { return prAbsorp_.Get(iBand1); }
  void SetPrAbsorp(int32_t iBand1, float value) { prAbsorp_.Set(iBand1, value); }
  int16_t PrTerzBand() const noexcept { return prTerzBand_; }
  void SetPrTerzBand(int16_t value) noexcept { prTerzBand_ = value; }
  int16_t PrFrequency() const noexcept { return prFrequency_; }
  void SetPrFrequency(int16_t value) noexcept { prFrequency_ = value; }
  int16_t PrBandWidth() const noexcept { return prBandWidth_; }
  void SetPrBandWidth(int16_t value) noexcept { prBandWidth_ = value; }
  int16_t PrSplit() const noexcept { return prSplit_; }
  void SetPrSplit(int16_t value) noexcept { prSplit_ = value; }
  int16_t PrSmooth() const noexcept { return prSmooth_; }
  void SetPrSmooth(int16_t value) noexcept { prSmooth_ = value; }
  int16_t PrMapping() const noexcept { return prMapping_; }
  void SetPrMapping(int16_t value) noexcept { prMapping_ = value; }
  int16_t PrAlconsForm() const noexcept { return prAlconsForm_; }
  void SetPrAlconsForm(int16_t value) noexcept { prAlconsForm_ = value; }
  int16_t PrAlconsFreq() const noexcept { return prAlconsFreq_; }
  void SetPrAlconsFreq(int16_t value) noexcept { prAlconsFreq_ = value; }
  int32_t PrLspInfos() const noexcept { return prLspInfos_; }
  void SetPrLspInfos(int32_t value) noexcept { prLspInfos_ = value; }
  int32_t PrObstInfos() const noexcept { return prObstInfos_; }
  void SetPrObstInfos(int32_t value) noexcept { prObstInfos_ = value; }
  int32_t PrPulses() const noexcept { return prPulses_; }
  void SetPrPulses(int32_t value) noexcept { prPulses_ = value; }
  const std::string& PrRemarks() const noexcept { return prRemarks_; }
  void SetPrRemarks(const std::string& value) { prRemarks_ = value; }

  bool IsRoomSymm_b() const noexcept { return IsFlagSet(flags_, kFlagRoomSymm); }
  void SetIsRoomSymm_b(bool value) noexcept { SetFlag(flags_, kFlagRoomSymm, value); }
  bool IsRoomClosed_b() const noexcept { return IsFlagSet(flags_, kFlagRoomClosed); }
  void SetIsRoomClosed_b(bool value) noexcept { SetFlag(flags_, kFlagRoomClosed, value); }
  bool IsWithShadow_b() const noexcept { return IsFlagSet(flags_, kFlagWithShadow); }
  void SetIsWithShadow_b(bool value) noexcept { SetFlag(flags_, kFlagWithShadow, value); }
  bool IsInterferenceMap_b() const noexcept { return IsFlagSet(flags_, kFlagInterferenceMap); }
  void SetIsInterferenceMap_b(bool value) noexcept { SetFlag(flags_, kFlagInterferenceMap, value); }
  bool IsEpotMap_b() const noexcept { return IsFlagSet(flags_, kFlagEpotMap); }
  void SetIsEpotMap_b(bool value) noexcept { SetFlag(flags_, kFlagEpotMap, value); }
  bool IsEkinMap_b() const noexcept { return IsFlagSet(flags_, kFlagEkinMap); }
  void SetIsEkinMap_b(bool value) noexcept { SetFlag(flags_, kFlagEkinMap, value); }
  bool IsNoiseOn_b() const noexcept { return IsFlagSet(flags_, kFlagNoiseOn); }
  void SetIsNoiseOn_b(bool value) noexcept { SetFlag(flags_, kFlagNoiseOn, value); }
  bool IsPrTailInfo_b() const noexcept { return IsFlagSet(flags_, kFlagPrTailInfo); }
  void SetIsPrTailInfo_b(bool value) noexcept { SetFlag(flags_, kFlagPrTailInfo, value); }
  bool IsLocalRTInfo_b() const noexcept { return IsFlagSet(flags_, kFlagLocalRTInfo); }
  void SetIsLocalRTInfo_b(bool value) noexcept { SetFlag(flags_, kFlagLocalRTInfo, value); }
  bool IsWithPhaseData_b() const noexcept { return IsFlagSet(flags_, kFlagWithPhaseData); }
  void SetIsWithPhaseData_b(bool value) noexcept { SetFlag(flags_, kFlagWithPhaseData, value); }
  bool IsVexaSpecified_b() const noexcept { return IsFlagSet(flags_, kFlagVexaSpecified); }
  void SetIsVexaSpecified_b(bool value) noexcept { SetFlag(flags_, kFlagVexaSpecified, value); }
  bool IsVexaResponse_b() const noexcept { return IsFlagSet(flags_, kFlagVexaResponse); }
  void SetIsVexaResponse_b(bool value) noexcept { SetFlag(flags_, kFlagVexaResponse, value); }
  bool HasBadBundlesDetected_b() const noexcept {
    return IsFlagSet(flags_, kFlagBadBundlesDetected);
  }
  void SetHasBadBundlesDetected_b(bool value) noexcept {
    SetFlag(flags_, kFlagBadBundlesDetected, value);
  }
  bool HasBadBundlesCorrected_b() const noexcept {
    return IsFlagSet(flags_, kFlagBadBundlesCorrected);
  }
  void SetHasBadBundlesCorrected_b(bool value) noexcept {
    SetFlag(flags_, kFlagBadBundlesCorrected, value);
  }
  bool IsUseSumLevels_b() const noexcept { return IsFlagSet(flags_, kFlagUseSumLevels); }
  void SetIsUseSumLevels_b(bool value) noexcept { SetFlag(flags_, kFlagUseSumLevels, value); }

  // The whole flag word, bits without a property included; for hosts that show or export the
  // block as stored.
  int32_t flags() const noexcept { return flags_; }

 private:
  // The body in file order, shared by both versions. `f.Text(text, width)` is a Long count
  // and the bytes in version 1 and `width` fixed characters in version 0; `f.Count(value)`
  // is a Long in version 1 and an Integer in version 0. Version 1 puts two Longs in front
  // (body length and layout marker), which the block code handles.
  template <class Self, class Fields>
  static void Layout(Self& r, Fields& f) {
    f.Text(r.prUserName_, 32);
    f.Text(r.prCompany_, 32);
    f(r.prBegun_);
    f.Text(r.prProject_, 16);
    f.Text(r.prRoom_, 32);
    f.Text(r.prTown_, 16);
    f(r.prUnit_);
    f(r.prTarget_);
    f.Text(r.prLabel_, 16);
    f(r.prSite_);
    f(r.prHorAngle_);
    f(r.prVerAngle_);
    f(r.prVolume_);
    f(r.prSurface_);
    f(r.prHumidity_);
    f(r.prAirTemp_);
    f(r.prNoise_);
    f(r.prRTime_);
    f(r.prRTType_);
    f(r.prAbsorp_);
    f(r.prTerzBand_);
    f(r.prFrequency_);
    f(r.prBandWidth_);
    f(r.prSplit_);
    f(r.prSmooth_);
    f(r.prMapping_);
    f(r.flags_);
    f(r.prAlconsForm_);
    f(r.prAlconsFreq_);
    f.Count(r.prLspInfos_);
    f.Count(r.prObstInfos_);
    f(r.prPulses_);
    f.Text(r.prRemarks_, 90);  // version 0: three texts of 30 characters, joined
  }

  std::string prUserName_;
  std::string prCompany_;
  FixedText<10> prBegun_;
  std::string prProject_;
  std::string prRoom_;
  std::string prTown_;
  float prUnit_ = 0;
  int16_t prTarget_ = 0;
  std::string prLabel_;
  IndexedArray<float, 0, 3> prSite_;
  int16_t prHorAngle_ = 0;
  int16_t prVerAngle_ = 0;
  float prVolume_ = 0;
  float prSurface_ = 0;
  int16_t prHumidity_ = 0;
  int16_t prAirTemp_ = 0;
  BandArray<int16_t> prNoise_;
  BandArray<float> prRTime_;
  int16_t prRTType_ = 0;
  BandArray<float> prAbsorp_;
  int16_t prTerzBand_ = 0;
  int16_t prFrequency_ = 0;
  int16_t prBandWidth_ = 0;
  int16_t prSplit_ = 0;
  int16_t prSmooth_ = 0;
  int16_t prMapping_ = 0;
  int32_t flags_ = 0;
  int16_t prAlconsForm_ = 0;
  int16_t prAlconsFreq_ = 0;
  int32_t prLspInfos_ = 0;
  int32_t prObstInfos_ = 0;
  int32_t prPulses_ = 0;
  std::string prRemarks_;
};

}  // namespace zyra

#endif  // ZYRA_INFO_PROBE_INFO_H_
