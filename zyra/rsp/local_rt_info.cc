#include "zyra/rsp/local_rt_info.h"

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"

namespace zyra {

void CLocalRTInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  // nInfo is the upper bound of the array, as for any block of nInfo + 1 records.
  MakeBlockHeader(GetBlockID(), 14, 0, 0, BandArray<float>::kUpper, 4)
      .SaveToByteStream(cByteStream);
  FieldWriter writer(cByteStream);
  writer(localRTime_);
}

int32_t CLocalRTInfoClass::ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                              Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  BandArray<float> values;
  FieldReader reader(cByteStream);
  reader(values);  // all or nothing: a short body leaves the old values
  localRTime_ = values;
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CLocalRTInfoClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  PrintIndexed(*cLogger, " FaMyLocalRTime(", localRTime_);
}

}  // namespace zyra
