#include "zyra/rsp/rsp_info_text.h"

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"

namespace zyra {

int32_t CRspInfoTextClass::ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                              Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  if (header.Vrsn() != 0 && header.Vrsn() != 1) {
    sErrorMessage = "Unknown Text Block!";
    return -1;
  }
  // nInfo and flags are not consulted: old writers set them inconsistently. The stream
  // refuses a negative or oversized lInfo before anything is allocated for it.
  sourceText_ = cByteStream.ReadFixedString(header.lInfo());
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CRspInfoTextClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  cLogger->PrintLine("");
  cLogger->PrintValue("Text: ", sourceText_);
}

void CRspInfoTextClass::SaveToByteStream(ByteStream& cByteStream,
                                         const std::string& sAddPrefixText) const {
  const std::string text = sAddPrefixText + sourceText_;
  if (text.size() > static_cast<size_t>(ByteStream::kMaxLength)) RaiseError(kErrOverflow);
  const int32_t headerPosition = cByteStream.GetPosition();
  CRspBlockHeaderClass header =
      MakeBlockHeader(GetBlockID(), 14, 1, kBlockFlagCounted, 1, static_cast<int32_t>(text.size()));
  header.SaveToByteStream(cByteStream);
  const int32_t bodyStart = cByteStream.GetPosition();
  cByteStream.WriteString(text);
  // The header states the bytes really written.
  header.SetlInfo(cByteStream.GetPosition() - bodyStart);
  RewriteBlockHeader(cByteStream, headerPosition, header);
}

}  // namespace zyra
