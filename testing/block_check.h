// One check for every class that saves and reads itself: the bytes of a sample, saved
// byte-exact wherever the stream stands, read and saved again unchanged; then readings of other
// bytes, each with what the read answers and what the object holds afterwards.
#ifndef ZYRA_TESTING_BLOCK_CHECK_H_
#define ZYRA_TESTING_BLOCK_CHECK_H_

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "testing/test_support.h"

namespace zyra::testing {

// Bytes read into a fresh sample (as `version`, for records): the run-time error raised (0:
// none), else the result, message and where the stream stands; then the bytes the object saves
// ("": the sample's own, whatever the read found).
struct Reading {
  std::string hex;
  int32_t error, result;
  std::string message;
  int32_t position;
  std::string after = {};
  int32_t version = 1;
};

// How a class is saved and read.
template <class T>
struct Io {
  std::function<void(const T&, ByteStream&)> save;
  std::function<int32_t(T&, ByteStream&, std::string&, int32_t)> read;
};
// As the blocks are saved and read.
template <class T>
Io<T> BlockIo() {
  return {[](const T& o, ByteStream& s) { o.SaveToByteStream(s); },
          [](T& o, ByteStream& s, std::string& m, int32_t) { return o.ReadFromByteStream(s, m); }};
}

template <class T>
std::string Saved(const T& object, const Io<T>& io = BlockIo<T>()) {
  ByteStream stream;
  io.save(object, stream);
  return StreamHex(stream);
}

template <class T>
void ExpectBlock(const std::function<T()>& make, const std::string& block,
                 const std::vector<Reading>& readings, const Io<T>& io = BlockIo<T>()) {
  const std::string hex = StreamHex(StreamOf(block));
  ByteStream out;
  out.WriteInt16(0x7777);  // lengths are patched relative to where the block starts
  io.save(make(), out);
  EXPECT_EQ(StreamHex(out, 2), hex);
  std::vector<Reading> all = {
      {hex + " 21 21", 0, 0, "", static_cast<int32_t>(hex.size() + 1) / 3, hex}};
  all.insert(all.end(), readings.begin(), readings.end());
  for (const Reading& r : all) {
    SCOPED_TRACE(r.hex.substr(0, 60));
    ByteStream stream = StreamOf(r.hex);
    T object = make();
    std::string message = "stale";
    int32_t result = 99;
    EXPECT_EQ(ErrorNumberOf([&] { result = io.read(object, stream, message, r.version); }),
              r.error);
    if (r.error == 0) {
      EXPECT_EQ(result, r.result);
      EXPECT_EQ(message, r.message);
      EXPECT_EQ(stream.GetPosition(), r.position);
    }
    EXPECT_EQ(Saved(object, io), r.after.empty() ? hex : StreamHex(StreamOf(r.after)));
  }
}

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_BLOCK_CHECK_H_
