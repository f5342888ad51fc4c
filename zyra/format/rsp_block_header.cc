#include "zyra/format/rsp_block_header.h"

#include <limits>

#include "zyra/support/flags.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"

namespace zyra {

void CRspBlockHeaderClass::SaveToByteStream(ByteStream& cByteStream) const {
  FieldWriter writer(cByteStream);
  Layout(*this, writer);
}

void CRspBlockHeaderClass::ReadFromByteStream(ByteStream& cByteStream, Logger* cReadLogger) {
  FieldReader reader(cByteStream);
  Layout(*this, reader);
  if (cReadLogger != nullptr) PrintToLogger(*cReadLogger);
}

int32_t CRspBlockHeaderClass::GetBlockLength() const noexcept {
  if (nInfo_ < 0 || lInfo_ < 0) return kBadLength;
  double length = 0;
  if (IsFlagSet(flags_, kBlockFlagSingleBody)) {
    length = lInfo_;
  } else if (IsFlagSet(flags_, kBlockFlagCounted)) {
    length = static_cast<double>(nInfo_) * lInfo_;
  } else {
    // The record count is nInfo + 1, a sum that overflows a Long for the largest nInfo.
    if (nInfo_ == std::numeric_limits<int32_t>::max()) return kBadLength;
    length = static_cast<double>(nInfo_ + 1) * lInfo_;
  }
  if (length < 0 || length > std::numeric_limits<int32_t>::max()) return kBadLength;
  return static_cast<int32_t>(length);
}

void CRspBlockHeaderClass::PrintToLogger(Logger& cLogger) const {
  PrintField(cLogger, "BHd.IDfx ", idfx_.Get());
  PrintField(cLogger, "BHd.lHdr ", lHdr_);
  PrintField(cLogger, "BHd.Vrsn ", vrsn_);
  PrintField(cLogger, "BHd.flags ", flags_);
  PrintField(cLogger, "BHd.nInfo ", nInfo_);
  PrintField(cLogger, "BHd.lInfo ", lInfo_);
}

}  // namespace zyra
