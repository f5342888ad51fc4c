#include "zyra/info/obst_info.h"

#include "zyra/support/record_fields.h"

namespace zyra {

std::string CObstInfoClass::Label() const {
  std::string text = labelHead_;
  text.resize(kLabelLength, labelFill_);
  return text;
}

void CObstInfoClass::SetLabel(const std::string& value) {
  StoreLabel(value.substr(0, kLabelLength), ' ');
}

void CObstInfoClass::StoreLabel(std::string text, char fill) {
  // A full-width label keeps its own last character as the fill, so Label gives back the
  // very bytes; only the trailing run of the fill is left out.
  if (text.size() == kLabelLength) fill = text.back();
  const size_t end = text.find_last_not_of(fill);
  text.resize(end == std::string::npos ? 0 : end + 1);
  text.shrink_to_fit();
  labelHead_ = std::move(text);
  labelFill_ = fill;
}

void CObstInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  cByteStream.WriteInt32(0);  // record length, patched once the rest is written
  const int32_t afterLength = cByteStream.GetPosition();
  cByteStream.WriteInt32(kFixedLength);
  cByteStream.WriteInt16(item_);
  cByteStream.WriteString(Label());
  const int32_t length = cByteStream.GetPosition() - afterLength;
  WriteAt(cByteStream, afterLength - 4, [&] { cByteStream.WriteInt32(length); });
}

int32_t CObstInfoClass::ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion) {
  if (iVersion == 0) {
    const int16_t item = cByteStream.ReadInt16();
    const std::string label = cByteStream.ReadFixedString(kLabelLengthVersion0);
    item_ = item;
    SetLabel(label);  // padded with blanks to the full width
  } else if (iVersion == 1) {
    cByteStream.ReadInt32();  // record length: the fixed length says all that is needed
    if (cByteStream.ReadInt32() != kFixedLength) return -1;
    const int16_t item = cByteStream.ReadInt16();
    std::string label = cByteStream.ReadFixedString(static_cast<int32_t>(kLabelLength));
    item_ = item;
    StoreLabel(std::move(label), '\0');
  }
  return 0;
}

int32_t CObstInfoClass::GetLengthInFile(int32_t iVersion) noexcept {
  return LengthOfVersion(iVersion, 2 + kLabelLengthVersion0, kFixedLength);
}

int32_t CObstInfoClass::GetRecordBytes(int32_t iVersion) noexcept {
  switch (iVersion) {
    case 0:
      return GetLengthInFile(0);
    case 1:
      return 8 + GetLengthInFile(1);
    default:
      return 0;
  }
}

std::shared_ptr<CObstInfoClass> CObstInfoClass::CopyDeep() const {
  return std::make_shared<CObstInfoClass>(*this);
}

}  // namespace zyra
