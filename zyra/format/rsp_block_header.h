// The 20-byte header in front of every block of a response file.
#ifndef ZYRA_FORMAT_RSP_BLOCK_HEADER_H_
#define ZYRA_FORMAT_RSP_BLOCK_HEADER_H_

#include <cstdint>
#include <string>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/logger.h"

namespace zyra {

// Bits of a block header's flags.
inline constexpr int32_t kBlockFlagLast = 1;        // the reader stops after this block
inline constexpr int32_t kBlockFlagCounted = 2;     // the body is nInfo records of lInfo bytes
inline constexpr int32_t kBlockFlagSingleBody = 4;  // the body is lInfo bytes

// A plain record; each block reader judges its own header.
class CRspBlockHeaderClass {
 public:
  static constexpr int32_t kLength = 20;
  // What GetBlockLength answers for a header whose body length cannot be computed.
  static constexpr int32_t kBadLength = INT32_MIN;

  void SaveToByteStream(ByteStream& cByteStream) const;
  // Reads the six fields in file order, then prints them when a logger is given.
  void ReadFromByteStream(ByteStream& cByteStream, Logger* cReadLogger = nullptr);
  // One line per field, as the readers log the header.
  void PrintToLogger(Logger& cLogger) const;
  // The length of the body behind the header, or kBadLength; never fails.
  int32_t GetBlockLength() const noexcept;

  std::string IDfx() const { return idfx_.Get(); }
  void SetIDfx(const std::string& value) { idfx_.Set(value); }
  int16_t lHdr() const noexcept { return lHdr_; }
  void SetlHdr(int16_t value) noexcept { lHdr_ = value; }
  int16_t Vrsn() const noexcept { return vrsn_; }
  void SetVrsn(int16_t value) noexcept { vrsn_ = value; }
  int32_t flags() const noexcept { return flags_; }
  void Setflags(int32_t value) noexcept { flags_ = value; }
  int32_t nInfo() const noexcept { return nInfo_; }
  void SetnInfo(int32_t value) noexcept { nInfo_ = value; }
  int32_t lInfo() const noexcept { return lInfo_; }
  void SetlInfo(int32_t value) noexcept { lInfo_ = value; }

 private:
  template <class Self, class Fields>
  static void Layout(Self& h, Fields& f) {
    f(h.idfx_);
    f(h.lHdr_);
    f(h.vrsn_);
    f(h.flags_);
    f(h.nInfo_);
    f(h.lInfo_);
  }

  FixedText<4> idfx_;
  int16_t lHdr_ = 0;
  int16_t vrsn_ = 0;
  int32_t flags_ = 0;
  int32_t nInfo_ = 0;
  int32_t lInfo_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_FORMAT_RSP_BLOCK_HEADER_H_
