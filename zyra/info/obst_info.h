// One obstacle of the room model (an object that shadows sound paths): its number and label.
#ifndef ZYRA_INFO_OBST_INFO_H_
#define ZYRA_INFO_OBST_INFO_H_

#include <cstdint>
#include <memory>
#include <string>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"

namespace zyra {

class CObstInfoClass {
 public:
  static constexpr size_t kLabelLength = 256;

  // Writes the version-1 record: record length (262), fixed length (258), Item, Label.
  void SaveToByteStream(ByteStream& cByteStream) const;
  // Reads one record of the given version: 0 on success, -1 when a version-1 record's fixed
  // length is not 258. A version other than 0 and 1 reads nothing and succeeds.
  int32_t ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion);
  // 18 for version 0, 258 for version 1 (Item and Label, without the two leading Longs),
  // -1 otherwise.
  static int32_t GetLengthInFile(int32_t iVersion) noexcept;
  // Bytes one record of the version takes in a file, leading Longs included (0 for a version
  // whose records read nothing).
  static int32_t GetRecordBytes(int32_t iVersion) noexcept;
  std::shared_ptr<CObstInfoClass> CopyDeep() const;

  // All 256 characters; a let cuts a longer label and pads a shorter one with blanks.
  std::string Label() const;
  void SetLabel(const std::string& value);
  int16_t Item() const noexcept { return item_; }
  void SetItem(int16_t value) noexcept { item_ = value; }

 private:
  static constexpr int32_t kFixedLength = 258;
  static constexpr int32_t kLabelLengthVersion0 = 16;

  // Keeps the label at its full width without holding the width in memory: the characters
  // up to the last one that is not the fill, and the fill that stands for the rest. Obstacle
  // lists of old files hold 18 bytes per entry; a 256-byte label each would make a list many
  // times larger than the file it came from.
  void StoreLabel(std::string text, char fill);

  std::string labelHead_;
  int16_t item_ = 0;
  char labelFill_ = '\0';  // a new record: 256 zero bytes
};

}  // namespace zyra

#endif  // ZYRA_INFO_OBST_INFO_H_
