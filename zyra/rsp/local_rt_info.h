// The "SLRT" block: one reverberation time per band measured at the probe position.
#ifndef ZYRA_RSP_LOCAL_RT_INFO_H_
#define ZYRA_RSP_LOCAL_RT_INFO_H_

#include <cstdint>
#include <string>

#include "zyra/format/block_walk.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"

namespace zyra {

class CLocalRTInfoClass {
 public:
  // Header, then the 22 values, slot 0 first.
  void SaveToByteStream(ByteStream& cByteStream) const;
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kLocalRT)); }
  // Slots 0..21; any other is error 9.
  float LocalRTime(int32_t iBand1) const { return localRTime_.Get(iBand1); }
  void SetLocalRTime(int32_t iBand1, float value) { localRTime_.Set(iBand1, value); }
  // Expects the stream at the block header and reads 22 values whatever the header says;
  // a block with more body bytes leaves them for the caller to step over.
  int32_t ReadFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                             Logger* cReadLogger = nullptr);
  void PrintToLogger(Logger* cLogger) const;

 private:
  BandArray<float> localRTime_;
};

}  // namespace zyra

#endif  // ZYRA_RSP_LOCAL_RT_INFO_H_
