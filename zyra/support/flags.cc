#include "zyra/support/flags.h"

#include <filesystem>
#include <system_error>

namespace zyra {

bool FileExists(const std::string& sFolder, const std::string& sName) {
  std::error_code error;
  const auto status = std::filesystem::status(sFolder + sName, error);
  return !error && std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

}  // namespace zyra
