#include "tools/receiver_evaluation.h"

#include <array>
#include <charconv>
#include <exception>
#include <new>
#include <optional>

#include "tools/commands.h"
#include "zyra/facade/response.h"
#include "zyra/facade/text_forms.h"

namespace zyra::tool {
namespace {

// The file stores the position as Singles: each written as the shortest decimal that reads back
// to its float (1.2, not 1.2000000476837158), as the dump shows it.
std::array<double, 3> PositionOf(const ProbeSummary& probe) {
  std::array<double, 3> position{};
  for (std::size_t c = 0; c < position.size(); ++c) {
    char text[32];
    const auto written =
        std::to_chars(text, text + sizeof text, static_cast<float>(probe.daSite[c]));
    std::from_chars(text, written.ptr, position[c]);
  }
  return position;
}

}  // namespace

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
    row.values = schema.Values(PositionOf(*probe), evaluation);
    row.sRating = evaluation.STIRating();
    row.sMessage = MessageLine(response.Read().sMessage);
    row.eStatus = RowStatus::kOk;
  } catch (const ResponseError& error) {
    if (error.Fault() == ResponseFault::kEmpty && probe) {
      row.eStatus = RowStatus::kWarning;
      row.values = schema.PositionOnly(PositionOf(*probe));
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
