// Run-time errors of the library and the shared error reporter.
#ifndef ZYRA_SUPPORT_ERRORS_H_
#define ZYRA_SUPPORT_ERRORS_H_

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace zyra {

// The run-time error numbers in use; their descriptions live in one table (errors.cc).
inline constexpr int32_t kErrInvalidCall = 5;
inline constexpr int32_t kErrOverflow = 6;
inline constexpr int32_t kErrOutOfMemory = 7;
inline constexpr int32_t kErrSubscript = 9;
inline constexpr int32_t kErrDivisionByZero = 11;
inline constexpr int32_t kErrPastEnd = 62;
inline constexpr int32_t kErrPathFileAccess = 75;
inline constexpr int32_t kErrObjectNotSet = 91;

// The description of a run-time error number; the empty text for a number without one.
std::string ErrorDescription(int32_t number);

// A run-time error: every failure of an operation that is not a reader.
class RuntimeError : public std::runtime_error {
 public:
  // Uses the description of the table for `number`.
  explicit RuntimeError(int32_t number);
  RuntimeError(int32_t number, std::string description);

  int32_t Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }

 private:
  int32_t number_;
  std::string description_;
};

[[noreturn]] void RaiseError(int32_t number);

// Raises error 91 when a shared reference is empty; returns it otherwise.
template <class Ptr>
const Ptr& Required(const Ptr& reference) {
  if (!reference) RaiseError(kErrObjectNotSet);
  return reference;
}

using ErrorDisplay = std::function<void(const std::string& title, const std::string& text)>;

// Replaces the process-wide error display and returns the previous one. An empty function
// restores the default, which writes "title: text" and a newline to standard error.
ErrorDisplay SetErrorDisplay(ErrorDisplay display);

// Shows an error through the current display; safe to call from any thread.
void ShowError(const std::string& title, const std::string& text);

// The shared error report: caption "ERROR in " + procedure, text "Code" + number + ": " +
// description, where an empty description reads "Application-defined or object-defined error".
void ReportProcedureError(const std::string& procedure, const RuntimeError& error);
void ReportProcedureError(const std::string& procedure, int32_t number,
                          const std::string& description);

}  // namespace zyra

#endif  // ZYRA_SUPPORT_ERRORS_H_
