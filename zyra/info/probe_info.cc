#include "zyra/info/probe_info.h"

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"

namespace zyra {
namespace {

constexpr int32_t kLengthVersion0 = 532;
constexpr int32_t kLengthVersion1 = 330;

// Version 1: texts with their Long counts, the loudspeaker and obstacle counts as Longs.
template <class Base>
class VariableTextFields : public Base {
 public:
  using Base::Base;
  using Base::operator();
  using Base::Text;
  template <class Str>
  void Text(Str& text, int32_t /*width in version 0*/) {
    Base::Text(text);
  }
  template <class Value>
  void Count(Value& value) {
    (*this)(value);
  }
};

// Version 0 (read only): texts of fixed width, the two counts as Integers.
class FixedTextReader : public FieldReader {
 public:
  explicit FixedTextReader(ByteStream& stream) : FieldReader(stream), stream_(stream) {}
  using FieldReader::operator();
  void Text(std::string& text, int32_t width) { text = stream_.ReadFixedString(width); }
  void Count(int32_t& value) { value = stream_.ReadInt16(); }

 private:
  ByteStream& stream_;
};

}  // namespace

int32_t CProbeInfoClass::GetLengthInFile(int32_t iVersion) noexcept {
  return LengthOfVersion(iVersion, kLengthVersion0, kLengthVersion1);
}

int32_t CProbeInfoClass::ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                            Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  bool fits = false;
  if (header.Vrsn() == 0) {
    fits = header.lInfo() == GetLengthInFile(0);
  } else if (header.Vrsn() == 1) {
    cByteStream.ReadInt32();  // body length: the block header already carries it
    fits = cByteStream.ReadInt32() == GetLengthInFile(1);
  }
  if (!fits) {
    sErrorMessage = "Bad ProbeInfo Length";
    return -1;
  }
  // Into a copy first, so that a stream ending inside the body leaves the values alone. The
  // texts of version 1 are refused by the stream when their counts are negative or run past
  // the end, before anything is allocated for them.
  CProbeInfoClass next = *this;
  if (header.Vrsn() == 0) {
    FixedTextReader reader(cByteStream);
    Layout(next, reader);
  } else {
    VariableTextFields<FieldReader> reader(cByteStream);
    Layout(next, reader);
  }
  *this = std::move(next);
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CProbeInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  const int32_t headerPosition = cByteStream.GetPosition();
  CRspBlockHeaderClass header = MakeBlockHeader(GetBlockID(), 14, 1, 14, 1, 0);
  header.SaveToByteStream(cByteStream);
  const int32_t bodyStart = cByteStream.GetPosition();
  cByteStream.WriteInt32(0);  // body length, patched below
  cByteStream.WriteInt32(GetLengthInFile(1));
  VariableTextFields<FieldWriter> writer(cByteStream);
  Layout(*this, writer);
  const int32_t bodyLength = cByteStream.GetPosition() - bodyStart;
  WriteAt(cByteStream, bodyStart, [&] { cByteStream.WriteInt32(bodyLength); });
  header.SetlInfo(bodyLength);
  RewriteBlockHeader(cByteStream, headerPosition, header);
}

void CProbeInfoClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  Logger& log = *cLogger;
  log.PrintLine("PB_RF.Probeinfo:");
  PrintField(log, "PrLabel ", prLabel_);
  PrintIndexed(log, "PrSite(", prSite_);
  PrintField(log, "PrHorAngle ", prHorAngle_);
  PrintField(log, "PrVerAngle ", prVerAngle_);
  PrintField(log, "PrVolume ", prVolume_);
  PrintField(log, "PrSurface ", prSurface_);
  PrintField(log, "PrHumidity ", prHumidity_);
  PrintField(log, "PrUserName ", prUserName_);
  PrintField(log, "PrCompany ", prCompany_);
  PrintField(log, "PrBegun ", prBegun_.Get());
  PrintField(log, "PrProject ", prProject_);
  PrintField(log, "PrRoom ", prRoom_);
  PrintField(log, "PrTown ", prTown_);
  PrintField(log, "PrUnit ", prUnit_);
  PrintField(log, "PrTarget ", prTarget_);
  PrintField(log, "PrAirTemp ", prAirTemp_);
  PrintIndexed(log, "PrNoise(", prNoise_);
  PrintIndexed(log, "PrRTime(", prRTime_);
  PrintField(log, "PrRTType ", prRTType_);
  PrintIndexed(log, "PrAbsorp(", prAbsorp_);
  PrintField(log, "PrTerzBand ", prTerzBand_);
  PrintField(log, "PrFrequency ", prFrequency_);
  PrintField(log, "PrBandWidth ", prBandWidth_);
  PrintField(log, "PrSplit ", prSplit_);
  PrintField(log, "PrSmooth ", prSmooth_);
  PrintField(log, "PrMapping ", prMapping_);
  PrintField(log, "PrAlconsForm ", prAlconsForm_);
  PrintField(log, "PrAlconsFreq ", prAlconsFreq_);
  PrintField(log, "PrLspInfos ", prLspInfos_);
  PrintField(log, "PrObstInfos ", prObstInfos_);
  PrintField(log, "PrPulses ", prPulses_);
  PrintField(log, "PrRemarks ", prRemarks_);
}

}  // namespace zyra
