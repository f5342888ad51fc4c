// Helpers shared by the tests: bytes written as hex, a recording busy indicator.
#ifndef ZYRA_TESTING_TEST_SUPPORT_H_
#define ZYRA_TESTING_TEST_SUPPORT_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zyra/support/busy_indicator.h"
#include "zyra/support/byte_stream.h"

// AddressSanitizer reserves far more address space than any limit a test could set, and
// counts allocations its own way.
#if defined(__SANITIZE_ADDRESS__)
#define ZYRA_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZYRA_UNDER_ASAN 1
#endif
#endif

namespace zyra::testing {

// Bytes from a hex literal; blanks are ignored ("0100 ff" is 01 00 ff).
std::vector<uint8_t> Hex(const std::string& text);
// The bytes as lower-case hex pairs separated by blanks, for readable failures.
std::string ToHex(std::span<const uint8_t> bytes);
// The bytes of a stream from `from` (inclusive) to `to` (exclusive; -1 for the end), as hex.
std::string StreamHex(const ByteStream& stream, int32_t from = 0, int32_t to = -1);
// `count` copies of one byte as hex, for long runs in a hex literal: HexRun("20", 3) is "202020".
std::string HexRun(const std::string& byteHex, int count);
// `count` Integers first, first + 1, ... as little-endian hex pairs: Int16Run(0x10, 2) is
// "10 00 11 00", the form of a band array filled with a ramp.
std::string Int16Run(int first, int count);
// The bytes of `hex` with `bytes` written over them from byte `at` on (growing where they
// reach past the end), as hex: Patched("0102 0304", 1, "ff") is "01 ff 03 04".
std::string Patched(const std::string& hex, size_t at, const std::string& bytes);
// A stream loaded with the bytes of a hex literal, position 0.
ByteStream StreamOf(const std::string& hex);
// The number of the RuntimeError the call raises; 0 when it raises none.
int32_t ErrorNumberOf(const std::function<void()>& call);

// Records every call; answers "cancel" from the given ReportProgress call (1-based) on.
class RecordingBusy : public BusyIndicator {
 public:
  struct Call {
    std::string caption;
    double fraction;
    bool report;  // ReportProgress rather than ShowProgress
  };

  explicit RecordingBusy(int64_t cancelAtReport = -1) : cancelAt_(cancelAtReport) {}

  int32_t ShowProgress(const std::string& sCaption, double dFraction, double) override {
    calls.push_back({sCaption, dFraction, false});
    return 0;
  }
  bool ReportProgress(const std::string& sCaption, double dFraction, const std::string&,
                      double) override {
    calls.push_back({sCaption, dFraction, true});
    ++reports;
    return cancelAt_ < 0 || reports < cancelAt_;
  }

  std::vector<Call> calls;
  int64_t reports = 0;

 private:
  int64_t cancelAt_;
};

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_TEST_SUPPORT_H_
