// The names of the files a batch command works through, in order: the command line's, where
// "-" stands for the names on standard input, one per line.
#ifndef ZYRA_TOOLS_FILE_LIST_H_
#define ZYRA_TOOLS_FILE_LIST_H_

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace zyra::tool {

inline constexpr const char* kNamesOnInput = "-";

class FileList {
 public:
  // `in` is read only where "-" stands among saArgs, and only as far as the names are taken.
  FileList(std::vector<std::string> saArgs, std::istream& in);

  // The next name; none at the end. Empty lines of the input and a carriage return before a
  // line's end (a list written on Windows) are left out.
  std::optional<std::string> Next();

  // How many names there are, when the command line holds them all.
  std::optional<int64_t> Count() const;

 private:
  std::vector<std::string> saArgs_;
  std::istream& in_;
  std::size_t iNext_ = 0;
  bool bReadingInput_ = false;
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_FILE_LIST_H_
