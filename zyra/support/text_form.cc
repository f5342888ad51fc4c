#include "zyra/support/text_form.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace zyra {
namespace {

std::string Printed(const char* format, double value) {
  char buffer[64];
  const int written = std::snprintf(buffer, sizeof buffer, format, value);
  return std::string(buffer, written > 0 ? static_cast<size_t>(written) : 0);
}

std::string WithBlank(const std::string& text, bool nonNegative) {
  return nonNegative ? " " + text : text;
}

}  // namespace

std::string ToText(int16_t value) {
  return std::to_string(value);
}
std::string ToText(int32_t value) {
  return std::to_string(value);
}
std::string ToText(float value) {
  return Printed("%.7G", static_cast<double>(value));
}
std::string ToText(double value) {
  return Printed("%.15G", value);
}
std::string ToText(bool value) {
  return value ? "True" : "False";
}

std::string ToStrText(int16_t value) {
  return WithBlank(ToText(value), value >= 0);
}
std::string ToStrText(int32_t value) {
  return WithBlank(ToText(value), value >= 0);
}
std::string ToStrText(float value) {
  return WithBlank(ToText(value), !std::signbit(value));
}
std::string ToStrText(double value) {
  return WithBlank(ToText(value), !std::signbit(value));
}

std::string LocalDateTimeText() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char buffer[32];
  const size_t written = std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local);
  return std::string(buffer, written);
}

}  // namespace zyra
