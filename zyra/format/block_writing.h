// Small steps every block writer takes: fill a header, and patch it once the body is known.
#ifndef ZYRA_FORMAT_BLOCK_WRITING_H_
#define ZYRA_FORMAT_BLOCK_WRITING_H_

#include <cstdint>
#include <string>

#include "zyra/format/rsp_block_header.h"
#include "zyra/support/byte_stream.h"

namespace zyra {

// A block header holding the six values a writer puts in front of its body.
inline CRspBlockHeaderClass MakeBlockHeader(const std::string& sIDfx, int16_t lHdr, int16_t iVrsn,
                                            int32_t lFlags, int32_t nInfo, int32_t lInfo) {
  CRspBlockHeaderClass header;
  header.SetIDfx(sIDfx);
  header.SetlHdr(lHdr);
  header.SetVrsn(iVrsn);
  header.Setflags(lFlags);
  header.SetnInfo(nInfo);
  header.SetlInfo(lInfo);
  return header;
}

// Writes `header` again at `lHeaderPosition` and returns to where the stream stood, for
// writers that learn the body length only after writing the body.
inline void RewriteBlockHeader(ByteStream& cByteStream, int32_t lHeaderPosition,
                               const CRspBlockHeaderClass& header) {
  WriteAt(cByteStream, lHeaderPosition, [&] { header.SaveToByteStream(cByteStream); });
}

}  // namespace zyra

#endif  // ZYRA_FORMAT_BLOCK_WRITING_H_
