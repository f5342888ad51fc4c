// libFuzzer target: response file images, read, prepared and saved.
#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/rsp_read_entry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zyra::fuzz::ReadPrepareSave(std::span<const uint8_t>(data, size));
  return 0;
}
