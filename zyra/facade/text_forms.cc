#include "zyra/facade/text_forms.h"

namespace zyra {

std::string Latin1ToUtf8(std::string_view sLatin1) {
  std::string utf8;
  utf8.reserve(sLatin1.size());
  for (const char c : sLatin1) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0 | (code >> 6));
      utf8 += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return utf8;
}

std::string LabelText(std::string_view sLatin1) {
  while (!sLatin1.empty() && (sLatin1.back() == ' ' || sLatin1.back() == '\0')) {
    sLatin1.remove_suffix(1);
  }
  return Latin1ToUtf8(sLatin1);
}

std::string MessageLine(std::string_view sLatin1) {
  std::string line;
  for (const char c : sLatin1) {
    const bool control = static_cast<unsigned char>(c) < 0x20;
    if (control && (line.empty() || line.back() == ' ')) continue;
    line += control ? ' ' : c;
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return Latin1ToUtf8(line);
}

}  // namespace zyra
