// The one exception of the facade: which file, what went wrong and, where known, where.
#ifndef ZYRA_FACADE_RESPONSE_ERROR_H_
#define ZYRA_FACADE_RESPONSE_ERROR_H_

#include <cstdint>
#include <optional>
#include <string>

#include "zyra/facade/host_outcomes.h"
#include "zyra/format/block_walk.h"
#include "zyra/support/errors.h"

namespace zyra {

// The step that failed.
enum class ResponseFault {
  kFileAccess,    // missing, a folder, empty, unreadable (error 75)
  kNotAResponse,  // the reader rejected the file or failed in it (read result -1)
  kReadStopped,   // a block reader ended the read early; the model is incomplete
  kPreparation,   // a run-time error while preparing the pulses
  kEmpty,         // the file holds no pulses: there is nothing to evaluate
  kEvaluation,    // a run-time error while evaluating
  kCancelled,     // the busy indicator asked to stop
};

// A RuntimeError that also names the file and the failed step. Number() and Description() are
// those of the library's run-time error behind it (75 for a file that cannot be accessed); a
// failure that is not a run-time error (a file the reader rejects by its header, a read a block
// reader stopped, an empty response, a cancel) has number 0 and the problem as description.
// what() is one UTF-8 line: the file, the problem and the location where it is known.
class ResponseError : public RuntimeError {
 public:
  ResponseError(std::string sFilePath, ResponseFault eFault, std::string sProblem,
                const std::optional<ErrorInfo>& error = std::nullopt,
                std::optional<FilePlace> location = std::nullopt);

  // "FILE: problem", with " (block \"PULS\" at byte 1234)" where the place is known.
  const char* what() const noexcept override { return sLine_.c_str(); }

  const std::string& FilePath() const noexcept { return sFilePath_; }
  ResponseFault Fault() const noexcept { return eFault_; }
  // What went wrong, one UTF-8 line without the file ("reading stopped early: ...").
  const std::string& Problem() const noexcept { return sProblem_; }
  // Problem() and, where it is known, the location: what() without the file in front.
  std::string Message() const;
  // The block and offset, when the file's block walk places the problem; no value when the
  // location is unknown (the problem is not in one block, or nothing placed it).
  const std::optional<FilePlace>& Location() const noexcept { return location_; }
  // For the faults of reading: what the reader answered (result and message as it wrote them).
  const std::optional<ReadOutcome>& Read() const noexcept { return read_; }
  void SetRead(ReadOutcome read) { read_ = std::move(read); }

 private:
  std::string sLine_;
  std::string sFilePath_;
  ResponseFault eFault_;
  std::string sProblem_;
  std::optional<FilePlace> location_;
  std::optional<ReadOutcome> read_;
};

// The fault's name as programs see it: "file_access", "not_a_response", "read_stopped",
// "preparation", "empty", "evaluation", "cancelled".
const char* FaultName(ResponseFault eFault);

}  // namespace zyra

#endif  // ZYRA_FACADE_RESPONSE_ERROR_H_
