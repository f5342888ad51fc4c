#include "zyra/info/etc_info.h"

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"
#include "zyra/support/text_form.h"

namespace zyra {

std::shared_ptr<CETCInfoClass> CETCInfoClass::GetCopy() const {
  auto copy = std::make_shared<CETCInfoClass>();
  copy->SetHorAngle(HorAngle());
  copy->SetVerAngle(VerAngle());
  copy->SetAmplified(Amplified());
  copy->SetPostNo(PostNo());
  copy->SetIsWithTail_b(IsWithTail_b());
  copy->SetIsParameter_b(IsParameter_b());
  copy->SetIsPredicted_b(IsPredicted_b());
  copy->SetIsCancelled_b(IsCancelled_b());
  copy->SetTailStart(TailStart());
  copy->SetTailNoise(TailNoise());
  copy->SetTailLength(TailLength());
  copy->SetTailDensity(TailDensity());
  copy->SetTailGain(TailGain());
  copy->SetMaxDensity(MaxDensity());
  copy->SettSplit(tSplit());
  copy->SettDiff(tDiff());
  copy->SetVolume(Volume());
  copy->SetSurface(Surface());
  copy->SetDesiredRT(DesiredRT());
  copy->SetRTType(RTType());
  copy->SetNoviFlags(NoviFlags());
  copy->SetMaxSPL(MaxSPL());
  for (int32_t i = BandArray<float>::kLower; i <= BandArray<float>::kUpper; ++i) {
    copy->SetdEnergy(i, dEnergy(i));
    copy->SetTailSPL(i, TailSPL(i));
    copy->SetRTime(i, RTime(i));
    copy->SetAbsorp(i, Absorp(i));
    copy->SetNoise(i, Noise(i));
    copy->SetPower(i, Power(i));
  }
  return copy;
}

int32_t CETCInfoClass::ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                          Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  if (header.Vrsn() != 0) {
    sErrorMessage = "Unknown ETC Version" + ToStrText(header.Vrsn());
    return -1;
  }
  if (header.lInfo() != GetLengthInFile()) {
    sErrorMessage = "Bad ETC Length";
    return -1;
  }
  // Into a copy first, so that a stream ending inside the body leaves the values alone.
  CETCInfoClass next = *this;
  FieldReader reader(cByteStream);
  Layout(next, reader);
  *this = next;
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CETCInfoClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  Logger& log = *cLogger;
  log.PrintLine("");
  log.PrintLine("ETC:");
  PrintField(log, "HorAngle ", horAngle_);
  PrintField(log, "VerAngle ", verAngle_);
  PrintField(log, "Amplified ", amplified_);
  PrintField(log, "PostNo ", postNo_);
  PrintIndexed(log, "dEnergy(", dEnergy_);
  PrintIndexed(log, "TailSPL(", tailSPL_);
  PrintField(log, "IsCancelled ", IsCancelled_b());
  PrintField(log, "IsParameter ", IsParameter_b());
  PrintField(log, "IsPredicted ", IsPredicted_b());
  PrintField(log, "IsWithTail ", IsWithTail_b());
  PrintField(log, "TailStart ", tailStart_);
  PrintField(log, "TailNoise ", tailNoise_);
  PrintField(log, "TailLength ", tailLength_);
  PrintField(log, "TailDensity ", tailDensity_);
  PrintField(log, "TailGain ", tailGain_);
  PrintField(log, "MaxDensity ", maxDensity_);
  PrintField(log, "tSplit ", tSplit_);
  PrintField(log, "tDiff ", tDiff_);
  PrintField(log, "Volume ", volume_);
  PrintField(log, "Surface ", surface_);
  PrintField(log, "DesiredRT ", desiredRT_);
  PrintField(log, "RTType ", rtType_);
  PrintIndexed(log, "RTime(", rTime_);
  PrintIndexed(log, "Absorp(", absorp_);
  PrintIndexed(log, "Noise(", noise_);
  PrintIndexed(log, "Power(", power_);
  PrintField(log, "NoviFlags ", noviFlags_);
  PrintField(log, "MaxSPL ", maxSPL_);
}

void CETCInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  // Flags 14 (counted, single body and bit 8) are what the block has always carried.
  MakeBlockHeader(GetBlockID(), 14, 0, 14, 1, GetLengthInFile()).SaveToByteStream(cByteStream);
  FieldWriter writer(cByteStream);
  Layout(*this, writer);
}

}  // namespace zyra
