#include "zyra/format/file_header.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

TEST(FileHeaderTest, WritesThirtyBytesInFileOrderWithFittedTexts) {
  CFileHeaderClass header;
  header.SetZYRA("ZY");
  EXPECT_EQ(header.ZYRA(), "ZY    ");
  header.SetZYRA(ResponseFileMagic());
  header.SetnHdr(8);
  header.SetlHdr(20);
  header.SetIDfx("RFX");  // cut to two letters
  header.SetVrsn(2);
  header.SetnRcd(-1);
  header.SetlRcd(150);
  header.Setaddr(0x01020304);
  ByteStream stream;
  header.SaveToByteStream(stream);
  EXPECT_EQ(testing::StreamHex(stream),
            "5a 59 52 41 03 00 08 00 14 00 52 46 02 00 00 00 00 00 ff ff ff ff 96 00 00 00 04 03 "
            "02 01");
}

TEST(FileHeaderTest, ReadsAndLogsNineLinesInFileOrder) {
  ByteStream stream = testing::StreamOf(
      "5a 59 52 41 ff 07 03 00 14 00 52 46 01 00 07 00 00 00 09 00 00 00 96 00 00 00 e5 00 00 00");
  CFileHeaderClass header;
  StringLogger logger;
  header.ReadFromByteStream(stream, &logger);
  EXPECT_EQ(stream.GetPosition(), CFileHeaderClass::kLength);
  EXPECT_EQ(header.addr(), 229);
  // The magic logs the codes of its last two bytes.
  EXPECT_EQ(logger.Lines(),
            (std::vector<std::string>{
                "XMyFileHeader.ZYRA ZYRA\t255\t7", "XMyFileHeader.nHdr 3", "XMyFileHeader.lHdr 20",
                "XMyFileHeader.IDfx RF", "XMyFileHeader.Vrsn 1", "XMyFileHeader.Flgs 7",
                "XMyFileHeader.nRcd 9", "XMyFileHeader.lRcd 150", "XMyFileHeader.addr 229"}));
}

}  // namespace
}  // namespace zyra
