#include "tools/receiver_evaluation.h"

#include <exception>
#include <new>
#include <optional>

#include "tools/commands.h"
#include "zyra/facade/response.h"
#include "zyra/facade/text_forms.h"

namespace zyra::tool {

ReceiverRow EvaluateReceiverRow(const std::string& sFile, const RowSchema& schema,
                                EvaluateOptions options) {
  ReceiverRow row;
  row.sFile = sFile;
  row.eStatus = RowStatus::kError;
  options.cBusy = nullptr;
  std::optional<ProbeSummary> probe;
  try {
    OpenOptions open;
    open.sAppVrsnString = AppVersionString();
    Response response = Response::Open(sFile, open);
    probe = response.Probe();
    row.sLabel = probe->sLabel;
    const Evaluation evaluation = response.Evaluate(options);
    row.values = schema.Values(probe->daSite, evaluation);
    row.sRating = evaluation.STIRating();
    row.sMessage = MessageLine(response.Read().sMessage);
    row.eStatus = RowStatus::kOk;
  } catch (const ResponseError& error) {
    if (error.Fault() == ResponseFault::kEmpty && probe) {
      row.eStatus = RowStatus::kWarning;
      row.values = schema.PositionOnly(probe->daSite);
    }
    row.sMessage = error.Message();
  } catch (const RuntimeError& error) {
    row.sMessage = "error " + std::to_string(error.Number()) + ": " + error.Description();
  } catch (const std::bad_alloc&) {
    row.sMessage = "out of memory";
  } catch (const std::exception& error) {
    row.sMessage = error.what();
  }
  return row;
}

}  // namespace zyra::tool
