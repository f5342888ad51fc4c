#include "zyra/info/obst_info.h"

#include "zyra/support/record_fields.h"

namespace zyra {

void CObstInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  cByteStream.WriteInt32(0);  // record length, patched once the rest is written
  const int32_t afterLength = cByteStream.GetPosition();
  cByteStream.WriteInt32(kFixedLength);
  FieldWriter writer(cByteStream);
  Layout(*this, writer);
  const int32_t end = cByteStream.GetPosition();
  cByteStream.SetPosition(afterLength - 4);
  cByteStream.WriteInt32(end - afterLength);
  cByteStream.SetPosition(end);
}

int32_t CObstInfoClass::ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion) {
  if (iVersion == 0) {
    const int16_t item = cByteStream.ReadInt16();
    const std::string label = cByteStream.ReadFixedString(kLabelLengthVersion0);
    item_ = item;
    label_.Set(label);  // padded with blanks to the full width
  } else if (iVersion == 1) {
    cByteStream.ReadInt32();  // record length: the fixed length says all that is needed
    if (cByteStream.ReadInt32() != kFixedLength) return -1;
    CObstInfoClass next;
    FieldReader reader(cByteStream);
    Layout(next, reader);
    *this = std::move(next);
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
