#include "tools/file_list.h"

#include <algorithm>
#include <istream>

namespace zyra::tool {

FileList::FileList(std::vector<std::string> saArgs, std::istream& in)
    : saArgs_(std::move(saArgs)), in_(in) {}

std::optional<std::string> FileList::Next() {
  while (true) {
    if (bReadingInput_) {
      std::string line;
      while (std::getline(in_, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty()) return line;
      }
      bReadingInput_ = false;
    }
    if (iNext_ >= saArgs_.size()) return std::nullopt;
    std::string name = std::move(saArgs_[iNext_++]);
    if (name != kNamesOnInput) return name;
    bReadingInput_ = true;
  }
}

std::optional<int64_t> FileList::Count() const {
  if (std::find(saArgs_.begin(), saArgs_.end(), kNamesOnInput) != saArgs_.end()) {
    return std::nullopt;
  }
  return static_cast<int64_t>(saArgs_.size());
}

}  // namespace zyra::tool
