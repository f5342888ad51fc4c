// The default text forms of numbers, used by every printed line and message.
#ifndef ZYRA_SUPPORT_TEXT_FORM_H_
#define ZYRA_SUPPORT_TEXT_FORM_H_

#include <cstdint>
#include <string>

namespace zyra {

// Integers in plain decimal, a Single like printf("%.7G"), a Double like printf("%.15G")
// (1.5, 1E+20, 1.5E-05, -0.25), a Boolean as True or False.
std::string ToText(int16_t value);
std::string ToText(int32_t value);
std::string ToText(float value);
std::string ToText(double value);
std::string ToText(bool value);

// The same text with one blank in front of a non-negative number (" 1", "-1").
std::string ToStrText(int16_t value);
std::string ToStrText(int32_t value);
std::string ToStrText(float value);
std::string ToStrText(double value);

// Local time as YYYY-MM-DD HH:MM:SS, the form of the date in a saved info-text prefix.
std::string LocalDateTimeText();

}  // namespace zyra

#endif  // ZYRA_SUPPORT_TEXT_FORM_H_
