#include "zyra/format/file_header.h"

#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"

namespace zyra {

std::string ResponseFileMagic() {
  return std::string("ZYRA\x03\x00", 6);
}

void CFileHeaderClass::ReadFromByteStream(ByteStream& cByteStream, Logger* cReadLogger) {
  FieldReader reader(cByteStream);
  Layout(*this, reader);
  if (cReadLogger != nullptr) PrintToLogger(*cReadLogger);
}

void CFileHeaderClass::SaveToByteStream(ByteStream& cByteStream) const {
  FieldWriter writer(cByteStream);
  Layout(*this, writer);
}

void CFileHeaderClass::PrintToLogger(Logger& cLogger) const {
  // The magic shows its four letters and the codes of its two trailing bytes.
  const std::string magic = zyra_.Get();
  cLogger.PrintValue("XMyFileHeader.ZYRA ",
                     magic.substr(0, 4) + '\t' + std::to_string(static_cast<uint8_t>(magic[4])) +
                         '\t' + std::to_string(static_cast<uint8_t>(magic[5])));
  PrintField(cLogger, "XMyFileHeader.nHdr ", nHdr_);
  PrintField(cLogger, "XMyFileHeader.lHdr ", lHdr_);
  PrintField(cLogger, "XMyFileHeader.IDfx ", idfx_.Get());
  PrintField(cLogger, "XMyFileHeader.Vrsn ", vrsn_);
  PrintField(cLogger, "XMyFileHeader.Flgs ", flgs_);
  PrintField(cLogger, "XMyFileHeader.nRcd ", nRcd_);
  PrintField(cLogger, "XMyFileHeader.lRcd ", lRcd_);
  PrintField(cLogger, "XMyFileHeader.addr ", addr_);
}

}  // namespace zyra
