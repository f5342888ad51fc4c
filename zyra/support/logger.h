// Receivers of the label/value lines that readers and PrintToLogger operations print.
#ifndef ZYRA_SUPPORT_LOGGER_H_
#define ZYRA_SUPPORT_LOGGER_H_

#include <ostream>
#include <string>
#include <vector>

namespace zyra {

class Logger {
 public:
  virtual ~Logger() = default;
  // Appends one line; the empty text gives an empty line.
  virtual void PrintLine(const std::string& sText) = 0;
  // Appends one line made of the label followed directly by the value.
  virtual void PrintValue(const std::string& sLabel, const std::string& sValue) = 0;
};

// Keeps the lines, for tests and hosts.
class StringLogger : public Logger {
 public:
  void PrintLine(const std::string& sText) override { lines_.push_back(sText); }
  void PrintValue(const std::string& sLabel, const std::string& sValue) override {
    lines_.push_back(sLabel + sValue);
  }
  const std::vector<std::string>& Lines() const noexcept { return lines_; }
  // All lines, each followed by a newline.
  std::string Text() const;
  void Clear() noexcept { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

// Writes every line, followed by a newline, to a stream that outlives the logger.
class StreamLogger : public Logger {
 public:
  explicit StreamLogger(std::ostream& out) : out_(out) {}
  void PrintLine(const std::string& sText) override { out_ << sText << '\n'; }
  void PrintValue(const std::string& sLabel, const std::string& sValue) override {
    out_ << sLabel << sValue << '\n';
  }

 private:
  std::ostream& out_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_LOGGER_H_
