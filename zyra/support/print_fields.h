// Label/value lines of PrintToLogger, written the same way by every record.
#ifndef ZYRA_SUPPORT_PRINT_FIELDS_H_
#define ZYRA_SUPPORT_PRINT_FIELDS_H_

#include <cstdint>
#include <string>

#include "zyra/support/indexed_array.h"
#include "zyra/support/logger.h"
#include "zyra/support/text_form.h"

namespace zyra {

// One line: the label, then the value in its default text form.
template <class T>
void PrintField(Logger& logger, const std::string& sLabel, const T& value) {
  logger.PrintValue(sLabel, ToText(value));
}

inline void PrintField(Logger& logger, const std::string& sLabel, const std::string& value) {
  logger.PrintValue(sLabel, value);
}

// One line per element, labelled name + index + close: "dEnergy(0)", "Loss1(0) ".
template <class T, int32_t Lo, int32_t Hi>
void PrintIndexed(Logger& logger, const std::string& sName, const IndexedArray<T, Lo, Hi>& values,
                  const std::string& sClose = ")") {
  for (int32_t i = Lo; i <= Hi; ++i) {
    std::string label = sName;
    label += std::to_string(i);
    label += sClose;
    logger.PrintValue(label, ToText(values.Get(i)));
  }
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_PRINT_FIELDS_H_
