// The "TEXT" block: free text on how and when the response was produced.
#ifndef ZYRA_RSP_RSP_INFO_TEXT_H_
#define ZYRA_RSP_RSP_INFO_TEXT_H_

#include <cstdint>
#include <string>

#include "zyra/format/block_walk.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/logger.h"

namespace zyra {

class CRspInfoTextClass {
 public:
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kInfoText)); }
  const std::string& SourceText() const noexcept { return sourceText_; }
  void SetSourceText(const std::string& value) { sourceText_ = value; }

  // Expects the stream at the block header. Versions 0 and 1 take lInfo bytes as the text;
  // any other version leaves the text alone and fails with "Unknown Text Block!", the stream
  // standing behind the header.
  int32_t ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                             Logger* cReadLogger = nullptr);
  void PrintToLogger(Logger* cLogger) const;
  // Writes the header and sAddPrefixText followed by the text; the text itself is unchanged.
  void SaveToByteStream(ByteStream& cByteStream, const std::string& sAddPrefixText = "") const;

 private:
  std::string sourceText_;
};

}  // namespace zyra

#endif  // ZYRA_RSP_RSP_INFO_TEXT_H_
