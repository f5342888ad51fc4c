#include "zyra/info/prediction_info.h"

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"

namespace zyra {
namespace {

// Copies faLvl[0..21] into `target` one by one; a short vector stops with error 9 at the
// first index it lacks, after the earlier ones were copied.
void CopyBandsFrom(const std::vector<float>& faLvl, BandArray<float>& target) {
  for (int32_t i = BandArray<float>::kLower; i <= BandArray<float>::kUpper; ++i) {
    if (static_cast<size_t>(i) >= faLvl.size()) RaiseError(kErrSubscript);
    target.Set(i, faLvl[static_cast<size_t>(i)]);
  }
}

}  // namespace

int32_t CPredictionInfoClass::ReadFromByteStream(ByteStream& cByteStream,
                                                 std::string& sErrorMessage, Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  // A wrong version is reported as a wrong length: no other version was ever written.
  const int32_t expected = header.Vrsn() == kVersion ? GetLengthInFile() : -1;
  if (header.lInfo() != expected) {
    sErrorMessage = "Bad Prediction Length";
    return -1;
  }
  CPredictionInfoClass next = *this;
  FieldReader reader(cByteStream);
  Layout(next, reader);
  *this = next;
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CPredictionInfoClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  Logger& log = *cLogger;
  // Alphabetical rather than file order, Rms left out, and indexed labels closed by ") ":
  // the listing readers of these logs know.
  const std::string close = ") ";
  log.PrintLine("");
  log.PrintLine("Prediction:");
  PrintField(log, "Atime ", aTime_);
  PrintField(log, "Btime ", bTime_);
  PrintField(log, "DelayTime ", delayTime_);
  PrintField(log, "flags ", flags_);
  PrintField(log, "Length1 ", length1_);
  PrintField(log, "Length2 ", length2_);
  PrintField(log, "Limited ", limited_);
  PrintIndexed(log, "Loss1(", loss1_, close);
  PrintIndexed(log, "Loss2(", loss2_, close);
  PrintField(log, "MaxDensity ", maxDensity_);
  PrintField(log, "Noise ", noise_);
  PrintField(log, "Pulses0 ", pulses0_);
  PrintField(log, "Pulses1 ", pulses1_);
  PrintField(log, "Pulses2 ", pulses2_);
  PrintField(log, "RaysPerLspk ", raysPerLspk_);
  PrintIndexed(log, "RT60(", rt60_, close);
  PrintField(log, "RTType ", rtType_);
  PrintIndexed(log, "slope(", slope_, close);
  PrintIndexed(log, "start(", start_, close);
  PrintField(log, "Target ", target_);
}

void CPredictionInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  MakeBlockHeader(GetBlockID(), 14, kVersion, 14, 1, GetLengthInFile())
      .SaveToByteStream(cByteStream);
  FieldWriter writer(cByteStream);
  Layout(*this, writer);
}

std::shared_ptr<CPredictionInfoClass> CPredictionInfoClass::GetCopy() const {
  auto copy = std::make_shared<CPredictionInfoClass>();
  copy->Setflags(flags());
  copy->SetRaysPerLspk(RaysPerLspk());
  copy->SetTarget(Target());
  copy->SetNoise(Noise());
  copy->SetATime(ATime());
  copy->SetBTime(BTime());
  copy->SetDelayTime(DelayTime());
  copy->SetPulses0(Pulses0());
  copy->SetPulses1(Pulses1());
  copy->SetLength1(Length1());
  copy->SetPulses2(Pulses2());
  copy->SetLength2(Length2());
  copy->SetMaxDensity(MaxDensity());
  copy->SetLimited(Limited());
  copy->SetRTType(RTType());
  for (int32_t i = BandArray<float>::kLower; i <= BandArray<float>::kUpper; ++i) {
    copy->SetStart(i, Start(i));
    copy->SetSlope(i, Slope(i));
    copy->SetRms(i, Rms(i));
    copy->SetLoss1(i, Loss1(i));
    copy->SetLoss2(i, Loss2(i));
    copy->SetRT60(i, RT60(i));
  }
  return copy;
}

void CPredictionInfoClass::SetSlopeArray(const std::vector<float>& faLvl) {
  CopyBandsFrom(faLvl, slope_);
}

void CPredictionInfoClass::SetStartArray(const std::vector<float>& faLvl) {
  CopyBandsFrom(faLvl, start_);
}

}  // namespace zyra
