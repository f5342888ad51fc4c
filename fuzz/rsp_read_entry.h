// The one entry the fuzzer and its replay test share: a file image read as a host reads it.
#ifndef ZYRA_FUZZ_RSP_READ_ENTRY_H_
#define ZYRA_FUZZ_RSP_READ_ENTRY_H_

#include <cstdint>
#include <span>

namespace zyra::fuzz {

// Reads the bytes as a response file, prepares what was read as the host tool does, saves it
// to a stream and reads that image again. Run-time errors of preparing and saving are
// outcomes a host reports, not faults; anything else (a crash, a sanitizer report, an image
// of our own writers that does not read back) ends the process.
void ReadPrepareSave(std::span<const uint8_t> bytes);

}  // namespace zyra::fuzz

#endif  // ZYRA_FUZZ_RSP_READ_ENTRY_H_
