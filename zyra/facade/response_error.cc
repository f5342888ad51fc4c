#include "zyra/facade/response_error.h"

#include "zyra/facade/text_forms.h"

namespace zyra {
namespace {

RuntimeError Base(const std::string& sProblem, const std::optional<ErrorInfo>& error) {
  if (error) return RuntimeError(error->lNumber, error->sDescription);
  return RuntimeError(0, sProblem);
}

std::string WithLocation(const std::string& sProblem, const std::optional<FilePlace>& location) {
  if (!location) return sProblem;
  return sProblem + " (" + Latin1ToUtf8(FilePlaceText(*location)) + ")";
}

}  // namespace

ResponseError::ResponseError(std::string sFilePath, ResponseFault eFault, std::string sProblem,
                             const std::optional<ErrorInfo>& error,
                             std::optional<FilePlace> location)
    : RuntimeError(Base(sProblem, error)),
      sLine_(sFilePath + ": " + WithLocation(sProblem, location)),
      sFilePath_(std::move(sFilePath)),
      eFault_(eFault),
      sProblem_(std::move(sProblem)),
      location_(std::move(location)) {}

std::string ResponseError::Message() const {
  return WithLocation(sProblem_, location_);
}

const char* FaultName(ResponseFault eFault) {
  switch (eFault) {
    case ResponseFault::kFileAccess:
      return "file_access";
    case ResponseFault::kNotAResponse:
      return "not_a_response";
    case ResponseFault::kReadStopped:
      return "read_stopped";
    case ResponseFault::kPreparation:
      return "preparation";
    case ResponseFault::kEmpty:
      return "empty";
    case ResponseFault::kEvaluation:
      return "evaluation";
    case ResponseFault::kCancelled:
      return "cancelled";
  }
  return "unknown";
}

}  // namespace zyra
