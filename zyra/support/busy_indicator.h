// Progress display and cancellation of long operations.
#ifndef ZYRA_SUPPORT_BUSY_INDICATOR_H_
#define ZYRA_SUPPORT_BUSY_INDICATOR_H_

#include <cstdint>
#include <string>

namespace zyra {

// The interval the library always passes: the least time in seconds between two redraws.
inline constexpr double kBusyInterval = 0.25;

class BusyIndicator {
 public:
  virtual ~BusyIndicator() = default;
  // Shows the caption and the fraction done (0 to 1). The result is not used by the library.
  virtual int32_t ShowProgress(const std::string& sCaption, double dFraction, double dInterval) = 0;
  // As ShowProgress; returns false when the user asked to cancel.
  virtual bool ReportProgress(const std::string& sCaption, double dFraction,
                              const std::string& sAbortWarning, double dInterval) = 0;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_BUSY_INDICATOR_H_
