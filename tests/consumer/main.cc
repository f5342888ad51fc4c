// A program that only uses the public umbrella header, built against zyra as a consumer would.
#include <zyra/zyra.h>

int main() {
  zyra::ByteStream stream;
  zyra::CRspBlockHeaderClass header;
  header.SetIDfx("TEXT");
  header.SaveToByteStream(stream);
  return stream.GetLength() == zyra::CRspBlockHeaderClass::kLength ? 0 : 1;
}
