#include "zyra/support/byte_stream.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

// Every kind of item, written and read back, is pinned by the blocks' byte-exact round trips;
// here what those do not reach: a write beyond the end and a reload.
TEST(ByteStreamTest, AWriteBeyondTheEndFillsTheGapWithZerosAndALoadRewinds) {
  ByteStream stream;
  stream.WriteInt16(0x0102);
  stream.SetPosition(5);
  stream.WriteInt16(-1);
  EXPECT_EQ(StreamHex(stream), "02 01 00 00 00 ff ff");
  stream.LoadFromBytes(testing::Hex("aa bb"));
  EXPECT_EQ(stream.GetPosition(), 0);
  EXPECT_EQ(stream.GetBytes(), testing::Hex("aa bb"));
}

TEST(ByteStreamTest, BadReadsRaiseTheirErrorAndKeepThePosition) {
  struct Case {
    const char* name;
    const char* bytes;
    int32_t error;
    std::function<void(ByteStream&)> read;
  };
  const Case cases[] = {
      {"Int16 of one byte", "01", kErrPastEnd, [](ByteStream& s) { s.ReadInt16(); }},
      {"Int32 of three bytes", "01 02 03", kErrPastEnd, [](ByteStream& s) { s.ReadInt32(); }},
      {"Single of two bytes", "01 02", kErrPastEnd, [](ByteStream& s) { s.ReadSingle(); }},
      {"fixed text too long", "41 42", kErrPastEnd, [](ByteStream& s) { s.ReadFixedString(3); }},
      {"text count beyond the rest", "05 00 00 00 41", kErrPastEnd,
       [](ByteStream& s) { s.ReadText(); }},
      {"array longer than the rest", "01 00 02", kErrPastEnd,
       [](ByteStream& s) {
         int16_t v[2];
         s.ReadInt16Array(v);
       }},
      {"negative text count", "ff ff ff ff 41", kErrInvalidCall,
       [](ByteStream& s) { s.ReadText(); }},
      {"negative fixed width", "41", kErrInvalidCall, [](ByteStream& s) { s.ReadFixedString(-1); }},
      {"negative position", "41", kErrInvalidCall, [](ByteStream& s) { s.SetPosition(-1); }},
  };
  for (const Case& c : cases) {
    ByteStream stream = StreamOf(c.bytes);
    EXPECT_EQ(testing::ErrorNumberOf([&] { c.read(stream); }), c.error) << c.name;
    EXPECT_EQ(stream.GetPosition(), 0) << c.name;
  }
  ByteStream beyond = StreamOf("01 02");
  beyond.SetPosition(5);
  EXPECT_EQ(testing::ErrorNumberOf([&] { beyond.ReadInt16(); }), kErrPastEnd);
}

TEST(ByteStreamTest, GrowingPastTheLongLimitRaises6AndChangesNothing) {
  ByteStream stream;
  stream.WriteInt16(7);
  stream.SetPosition(INT32_MAX - 1);
  EXPECT_EQ(testing::ErrorNumberOf([&] { stream.WriteInt32(1); }), kErrOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([&] { stream.WriteText("a"); }), kErrOverflow);
  EXPECT_EQ(stream.GetLength(), 2);
  EXPECT_EQ(stream.GetPosition(), INT32_MAX - 1);
}

TEST(ByteStreamTest, AStreamOverAFileHoldsWhatAStreamInMemoryHolds) {
  // The same writes to both kinds: records across the window's edges, a write longer than the
  // window, a header filled in afterwards, a gap; then reads across the edges.
  const std::string sPath = (std::filesystem::temp_directory_path() /
                             ("zyra-stream-" + std::to_string(::getpid()) + ".bin"))
                                .string();
  const auto write = [](ByteStream& s) {
    s.WriteInt32(0);  // to be filled in
    for (int32_t i = 0; i < 300000; ++i) s.WriteInt32(i * 7);
    s.WriteString(std::string(ByteStream::kFileWindow + 3, 'x'));
    s.WriteText("after");
    WriteAt(s, 0, [&] { s.WriteInt32(s.GetLength()); });
    s.SetPosition(s.GetLength() + 5);
    s.WriteInt16(-2);
  };
  ByteStream memory;
  write(memory);
  ByteStream file;
  file.OpenFileForWriting(sPath);
  write(file);
  EXPECT_EQ(file.GetLength(), memory.GetLength());
  file.CloseFile();
  std::ifstream in(sPath, std::ios::binary);
  const std::vector<uint8_t> written((std::istreambuf_iterator<char>(in)),
                                     std::istreambuf_iterator<char>());
  EXPECT_TRUE(written == memory.GetBytes());

  // Read back through a file the stream opens and through one a host holds open, handed on by
  // a move: the moved-from stream must let go of it.
  std::ifstream held(sPath, std::ios::binary);
  for (const bool bHeld : {false, true}) {
    ByteStream opened;
    if (bHeld) {
      opened.ReadFromOpenFile(held);
    } else {
      opened.OpenFileForReading(sPath);
    }
    file = std::move(opened);
    EXPECT_EQ(opened.GetLength(), 0);
    EXPECT_EQ(file.GetLength(), memory.GetLength());
    EXPECT_EQ(file.ReadInt32(), memory.GetLength() - 7);
    for (int32_t i = 0; i < 300000; ++i) ASSERT_EQ(file.ReadInt32(), i * 7) << i;
    EXPECT_EQ(file.ReadFixedString(ByteStream::kFileWindow + 3).back(), 'x');
    EXPECT_EQ(file.ReadText(), "after");
    const int32_t lAt = ByteStream::kFileWindow - 2;  // a copy across a window's edge
    EXPECT_TRUE(file.CopyBytes(lAt, 9) == memory.CopyBytes(lAt, 9));
    file.SetPosition(file.GetLength() - 1);
    EXPECT_EQ(testing::ErrorNumberOf([&] { file.ReadInt16(); }), kErrPastEnd);
    EXPECT_EQ(testing::ErrorNumberOf([&] { file.WriteInt16(1); }), kErrPathFileAccess);
  }
  EXPECT_TRUE(held.is_open());  // the host's file stays the host's
  file.CloseFile();
  std::filesystem::remove(sPath);
  EXPECT_EQ(testing::ErrorNumberOf([&] { file.OpenFileForReading(sPath); }), kErrPathFileAccess);
}

}  // namespace
}  // namespace zyra
