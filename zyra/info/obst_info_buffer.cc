#include "zyra/info/obst_info_buffer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zyra/rsp/block_writing.h"
#include "zyra/rsp/rsp_block_header.h"
#include "zyra/support/errors.h"

namespace zyra {
namespace {

// Trailing blanks and zero bytes of a fixed-length label, left out for display.
std::string Trimmed(const std::string& text) {
  const size_t end = text.find_last_not_of(std::string(" \0", 2));
  return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

}  // namespace

std::shared_ptr<CObstInfoClass> CObstInfoBufferClass::ObstInfo(int32_t iObstInfo) const {
  if (iObstInfo < 0 || iObstInfo > Count()) return nullptr;
  return obstInfos_[static_cast<size_t>(iObstInfo)];
}

void CObstInfoBufferClass::SetObstInfo(int32_t iObstInfo,
                                       std::shared_ptr<CObstInfoClass> cObstInfo) {
  obstInfos_[Slot(iObstInfo)] = std::move(cObstInfo);
}

size_t CObstInfoBufferClass::Slot(int32_t i) const {
  if (i < 0 || i > Count()) RaiseError(kErrSubscript);
  return static_cast<size_t>(i);
}

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
    if (obstInfos_[static_cast<size_t>(i)]->ReadFromByteStream(cByteStream, version) != 0) {
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
    const CObstInfoClass& info = *Required(obstInfos_[static_cast<size_t>(i)]);
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
    Required(obstInfos_[static_cast<size_t>(i)])->SaveToByteStream(cByteStream);
  }
  header.SetlInfo(cByteStream.GetPosition() - bodyStart);
  RewriteBlockHeader(cByteStream, blockStart, header);
  return cByteStream.GetPosition() - blockStart;
}

void CObstInfoBufferClass::SetCount(int32_t nObstInfo) {
  if (nObstInfo < 0) RaiseError(kErrInvalidCall);
  std::vector<std::shared_ptr<CObstInfoClass>> fresh(static_cast<size_t>(nObstInfo) + 1);
  for (auto& entry : fresh) entry = std::make_shared<CObstInfoClass>();
  obstInfos_ = std::move(fresh);
}

void CObstInfoBufferClass::SetCountPreserve(int32_t nObstInfo) {
  if (nObstInfo < 0) RaiseError(kErrInvalidCall);
  obstInfos_.resize(static_cast<size_t>(nObstInfo) + 1);
  for (auto& entry : obstInfos_) {
    if (!entry) entry = std::make_shared<CObstInfoClass>();
  }
}

void CObstInfoBufferClass::Swap(int32_t iObstInfo, int32_t jObstInfo) {
  std::swap(obstInfos_[Slot(iObstInfo)], obstInfos_[Slot(jObstInfo)]);
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
