// The 30-byte header at the start of every response file.
#ifndef ZYRA_FORMAT_FILE_HEADER_H_
#define ZYRA_FORMAT_FILE_HEADER_H_

#include <cstdint>
#include <string>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/logger.h"

namespace zyra {

// A plain record: it holds, reads, prints and writes its nine fields and judges nothing;
// the response file reader checks the magic, the kind and the version.
class CFileHeaderClass {
 public:
  static constexpr int32_t kLength = 30;

  // Reads the nine fields in file order, then prints them when a logger is given.
  void ReadFromByteStream(ByteStream& cByteStream, Logger* cReadLogger = nullptr);
  void SaveToByteStream(ByteStream& cByteStream) const;
  // One line per field, as the reader logs the header.
  void PrintToLogger(Logger& cLogger) const;

  std::string ZYRA() const { return zyra_.Get(); }
  void SetZYRA(const std::string& value) { zyra_.Set(value); }
  int16_t nHdr() const noexcept { return nHdr_; }
  void SetnHdr(int16_t value) noexcept { nHdr_ = value; }
  int16_t lHdr() const noexcept { return lHdr_; }
  void SetlHdr(int16_t value) noexcept { lHdr_ = value; }
  std::string IDfx() const { return idfx_.Get(); }
  void SetIDfx(const std::string& value) { idfx_.Set(value); }
  int16_t Vrsn() const noexcept { return vrsn_; }
  void SetVrsn(int16_t value) noexcept { vrsn_ = value; }
  int32_t Flgs() const noexcept { return flgs_; }
  void SetFlgs(int32_t value) noexcept { flgs_ = value; }
  int32_t nRcd() const noexcept { return nRcd_; }
  void SetnRcd(int32_t value) noexcept { nRcd_ = value; }
  int32_t lRcd() const noexcept { return lRcd_; }
  void SetlRcd(int32_t value) noexcept { lRcd_ = value; }
  int32_t addr() const noexcept { return addr_; }
  void Setaddr(int32_t value) noexcept { addr_ = value; }

 private:
  template <class Self, class Fields>
  static void Layout(Self& h, Fields& f) {
    f(h.zyra_);
    f(h.nHdr_);
    f(h.lHdr_);
    f(h.idfx_);
    f(h.vrsn_);
    f(h.flgs_);
    f(h.nRcd_);
    f(h.lRcd_);
    f(h.addr_);
  }

  FixedText<6> zyra_;
  int16_t nHdr_ = 0;
  int16_t lHdr_ = 0;
  FixedText<2> idfx_;
  int16_t vrsn_ = 0;
  int32_t flgs_ = 0;
  int32_t nRcd_ = 0;
  int32_t lRcd_ = 0;
  int32_t addr_ = 0;
};

// The magic a response file starts with: "ZYRA", then the bytes 3 and 0.
std::string ResponseFileMagic();
// The kind every response file names in IDfx.
inline constexpr char kResponseFileKind[] = "RF";
// File versions: 1 for plain files, 2 when reflections of line arrays are in the pulses; the
// reader takes 0 to 2.
inline constexpr int16_t kFileVersionPlain = 1;
inline constexpr int16_t kFileVersionLineArrays = 2;

}  // namespace zyra

#endif  // ZYRA_FORMAT_FILE_HEADER_H_
