#include "zyra/support/errors.h"

#include <array>
#include <iostream>
#include <mutex>
#include <utility>

namespace zyra {
namespace {

struct ErrorText {
  int32_t number;
  const char* description;
};

constexpr std::array<ErrorText, 8> kErrorTable{{
    {kErrInvalidCall, "Invalid procedure call or argument"},
    {kErrOverflow, "Overflow"},
    {kErrOutOfMemory, "Out of memory"},
    {kErrSubscript, "Subscript out of range"},
    {kErrDivisionByZero, "Division by zero"},
    {kErrPastEnd, "Input past end of file"},
    {kErrPathFileAccess, "Path/File access error"},
    {kErrObjectNotSet, "Object variable or With block variable not set"},
}};

std::mutex& DisplayMutex() {
  static std::mutex mutex;
  return mutex;
}

ErrorDisplay& CurrentDisplay() {
  static ErrorDisplay display;
  return display;
}

}  // namespace

std::string ErrorDescription(int32_t number) {
  for (const ErrorText& entry : kErrorTable) {
    if (entry.number == number) return entry.description;
  }
  return {};
}

RuntimeError::RuntimeError(int32_t number) : RuntimeError(number, ErrorDescription(number)) {}

RuntimeError::RuntimeError(int32_t number, std::string description)
    : std::runtime_error(description.empty() ? "Error " + std::to_string(number) : description),
      number_(number),
      description_(std::move(description)) {}

void RaiseError(int32_t number) {
  throw RuntimeError(number);
}

ErrorDisplay SetErrorDisplay(ErrorDisplay display) {
  const std::lock_guard<std::mutex> lock(DisplayMutex());
  return std::exchange(CurrentDisplay(), std::move(display));
}

void ShowError(const std::string& title, const std::string& text) {
  ErrorDisplay display;
  {
    const std::lock_guard<std::mutex> lock(DisplayMutex());
    display = CurrentDisplay();
  }
  if (display) {
    display(title, text);
  } else {
    std::cerr << title << ": " << text << '\n';
  }
}

void ReportProcedureError(const std::string& procedure, int32_t number,
                          const std::string& description) {
  const std::string shown =
      description.empty() ? "Application-defined or object-defined error" : description;
  ShowError("ERROR in " + procedure, "Code" + std::to_string(number) + ": " + shown);
}

void ReportProcedureError(const std::string& procedure, const RuntimeError& error) {
  ReportProcedureError(procedure, error.Number(), error.Description());
}

}  // namespace zyra
