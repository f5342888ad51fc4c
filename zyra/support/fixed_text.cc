#include "zyra/support/fixed_text.h"

namespace zyra {

std::string FitFixedText(const std::string& sText, size_t width) {
  std::string fitted = sText.substr(0, width);
  fitted.resize(width, ' ');
  return fitted;
}

}  // namespace zyra
