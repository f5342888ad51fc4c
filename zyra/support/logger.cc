#include "zyra/support/logger.h"

namespace zyra {

std::string StringLogger::Text() const {
  std::string text;
  for (const std::string& line : lines_) {
    text += line;
    text += '\n';
  }
  return text;
}

}  // namespace zyra
