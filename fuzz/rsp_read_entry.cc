#include "fuzz/rsp_read_entry.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zyra/rsp/host_sequence.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/errors.h"
#include "zyra/support/logger.h"

namespace zyra::fuzz {
namespace {

// Takes every line and keeps none, so that the print code runs without the memory.
class DiscardingLogger : public Logger {
 public:
  void PrintLine(const std::string& sText) override { characters_ += sText.size(); }
  void PrintValue(const std::string& sLabel, const std::string& sValue) override {
    characters_ += sLabel.size() + sValue.size();
  }

 private:
  size_t characters_ = 0;
};

[[noreturn]] void Fail(const char* what, const std::string& detail) {
  std::fprintf(stderr, "rsp_read_entry: %s: %s\n", what, detail.c_str());
  std::abort();
}

int32_t Read(CProbeRspClass& rsp, std::span<const uint8_t> bytes, std::string& sMessage,
             Logger* cLogger) {
  int32_t nRaysPerLspk = 0;
  float fCutOffTime = 0;
  return rsp.ReadRSPBytes(bytes, "fuzz/", "input.rsp", false, "zyra fuzz", nRaysPerLspk,
                          fCutOffTime, sMessage, nullptr, false, cLogger);
}

}  // namespace

void ReadPrepareSave(std::span<const uint8_t> bytes) {
  CProbeRspClass rsp;
  std::string sMessage;
  DiscardingLogger logger;
  if (Read(rsp, bytes, sMessage, &logger) < 0) return;

  ByteStream image;
  try {
    std::string sPrepareMessage;
    PrepareResponseAfterRead(rsp, false, true, sPrepareMessage, nullptr);
    rsp.SaveToByteStream(image, "fuzz\n");
  } catch (const RuntimeError&) {
    return;  // reported to the host as a run-time error
  }

  // What our own writers wrote must read again.
  CProbeRspClass again;
  std::string sAgainMessage;
  if (Read(again, image.Bytes(), sAgainMessage, nullptr) < 0) {
    Fail("a saved image does not read back", sAgainMessage);
  }
}

}  // namespace zyra::fuzz
