#include "zyra/info/obst_info_buffer.h"

#include <algorithm>
#include <cmath>

#include "zyra/format/block_writing.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/errors.h"

namespace zyra {
namespace {

// Trailing blanks and zero bytes of a fixed-length label, left out for display.
std::string Trimmed(const std::string& text) {
  const size_t end = text.find_last_not_of(std::string(" \0", 2));
  return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

}  // namespace

int32_t CObstInfoBufferClass::ReadInfoBlockFromByteStream(ByteStream& cByteStream,
                                                          std::string& sErrorMessage,
                                                          Logger* cReadLogger) {
  CRspBlockHeaderClass header;
  header.ReadFromByteStream(cByteStream, cReadLogger);
  const int32_t version = header.Vrsn();
  if (version == 0 && header.lInfo() != CObstInfoClass::GetLengthInFile(0)) {
    sErrorMessage = "Bad ObstInfo30 Length";
    return -1;
  }
  // Judge the count before sizing the list for it. Records of an unknown version read
  // nothing; they are taken to be at least as long as the shortest record there is, so that
  // the list stays a small multiple of the stream it came from.
  const int32_t nInfo = header.nInfo();
  const int32_t recordBytes = CObstInfoClass::GetRecordBytes(version) > 0
                                  ? CObstInfoClass::GetRecordBytes(version)
                                  : CObstInfoClass::GetRecordBytes(0);
  if (nInfo < 0 || nInfo > cByteStream.Remaining() / recordBytes) RaiseError(kErrPastEnd);
  SetCount(nInfo);
  for (int32_t i = 1; i <= nInfo; ++i) {
    if (slots_.At(i).ReadFromByteStream(cByteStream, version) != 0) {
      sErrorMessage = "Bad ObstInfo Length";
      return -1;
    }
  }
  if (cReadLogger != nullptr) PrintToLogger(cReadLogger);
  sErrorMessage.clear();
  return 0;
}

void CObstInfoBufferClass::PrintToLogger(Logger* cLogger) const {
  if (cLogger == nullptr) return;
  cLogger->PrintLine("");
  cLogger->PrintLine("ObstInfos:");
  for (int32_t i = 1; i <= Count(); ++i) {
    const CObstInfoClass& info = slots_.At(i);
    const std::string prefix = "ObstInfo(" + std::to_string(i) + ").";
    cLogger->PrintValue(prefix + "Item ", std::to_string(info.Item()));
    cLogger->PrintValue(prefix + "Label ", Trimmed(info.Label()));
  }
}

int32_t CObstInfoBufferClass::SaveInfoBlockToByteStream(ByteStream& cByteStream) const {
  const int32_t blockStart = cByteStream.GetPosition();
  CRspBlockHeaderClass header = MakeBlockHeader(GetBlockID(), 14, 1, 14, Count(), 0);
  header.SaveToByteStream(cByteStream);
  const int32_t bodyStart = cByteStream.GetPosition();
  for (int32_t i = 1; i <= Count(); ++i) {
    slots_.At(i).SaveToByteStream(cByteStream);
  }
  header.SetlInfo(cByteStream.GetPosition() - bodyStart);
  RewriteBlockHeader(cByteStream, blockStart, header);
  return cByteStream.GetPosition() - blockStart;
}

int32_t CObstInfoBufferClass::TestBusy(BusyIndicator* cBusyCls) const {
  constexpr int32_t kSteps = 10000000;
  volatile double sink = 0;  // keeps the work from being optimised away
  for (int32_t i = 0; i <= kSteps; ++i) {
    const double logarithm = std::log(static_cast<double>(i) + 1.0);
    sink = logarithm * logarithm;
    if (cBusyCls != nullptr && i % 100 == 0 &&
        !cBusyCls->ReportProgress("Test", static_cast<double>(i) / kSteps, "", kBusyInterval)) {
      return 0;
    }
  }
  static_cast<void>(sink);
  return -1;
}

}  // namespace zyra
