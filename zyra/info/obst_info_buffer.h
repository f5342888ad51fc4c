// The obstacle list of a response, numbered 1..Count, read and written as the "OBST" block.
#ifndef ZYRA_INFO_OBST_INFO_BUFFER_H_
#define ZYRA_INFO_OBST_INFO_BUFFER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "zyra/format/block_walk.h"
#include "zyra/info/obst_info.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/logger.h"
#include "zyra/support/numbered_slots.h"

namespace zyra {

// A new buffer has Count 0 and its slot-0 template entry.
class CObstInfoBufferClass {
 public:
  // The reference at iObstInfo (0..Count); an index outside yields the empty reference.
  std::shared_ptr<CObstInfoClass> ObstInfo(int32_t iObstInfo) const {
    return slots_.Get(iObstInfo);
  }
  // Stores the reference (no copy); an index outside 0..Count is error 9.
  void SetObstInfo(int32_t iObstInfo, std::shared_ptr<CObstInfoClass> cObstInfo) {
    slots_.Set(iObstInfo, std::move(cObstInfo));
  }

  // Expects the stream at the block header and reads nInfo records of the header's version.
  // Fails with "Bad ObstInfo30 Length" (a version-0 block whose lInfo is not 18) or "Bad
  // ObstInfo Length" (a version-1 record whose fixed length is not 258); entries read before
  // the failure stay. An nInfo that is negative or names more records than the stream can
  // still hold raises error 62 before the list is resized, as a stream ending early would.
  int32_t ReadInfoBlockFromByteStream(ByteStream& cByteStream, std::string& sErrorMessage,
                                      Logger* cReadLogger = nullptr);
  // An empty line, "ObstInfos:", then per entry "ObstInfo(i).Item " and "ObstInfo(i).Label "
  // with the label's trailing blanks and zero bytes left out.
  void PrintToLogger(Logger* cLogger) const;
  // Writes the header (also for an empty list) and records 1..Count; returns the number of
  // bytes written, header included.
  int32_t SaveInfoBlockToByteStream(ByteStream& cByteStream) const;
  std::string GetBlockID() const { return std::string(BlockIDOf(BlockKind::kObstInfos)); }
  // Discards every entry and makes nObstInfo + 1 fresh ones; a negative count is error 5.
  void SetCount(int32_t nObstInfo) { slots_.Refill(nObstInfo); }
  // Resizes to 0..nObstInfo keeping the entries; empty slots get fresh ones. A negative
  // count is error 5.
  void SetCountPreserve(int32_t nObstInfo) { slots_.Resize(nObstInfo); }
  int32_t Count() const noexcept { return slots_.Count(); }
  // Exchanges two references; an index outside 0..Count is error 9.
  void Swap(int32_t iObstInfo, int32_t jObstInfo) { slots_.Swap(iObstInfo, jObstInfo); }
  // A fixed amount of work (10,000,001 steps) that reports "Test" with the fraction done
  // every 100 steps, for trying out a busy indicator. Returns -1 (True) when it ran to the
  // end and 0 (False) when the indicator asked to cancel; a null indicator never cancels.
  int32_t TestBusy(BusyIndicator* cBusyCls) const;

 private:
  NumberedSlots<CObstInfoClass> slots_;
};

}  // namespace zyra

#endif  // ZYRA_INFO_OBST_INFO_BUFFER_H_
