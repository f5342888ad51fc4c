// A response file in one call: read, judged and prepared as a host does it, then evaluated
// with named options into plain values. Every failure is a ResponseError naming the file.
//
//   zyra::Response response = zyra::Response::Open("seat-12.rsp");
//   std::cout << response.Evaluate().C80_dB(1000) << " dB\n";
#ifndef ZYRA_FACADE_RESPONSE_H_
#define ZYRA_FACADE_RESPONSE_H_

#include <memory>
#include <optional>
#include <string>

#include "zyra/facade/evaluation.h"
#include "zyra/facade/file_access.h"
#include "zyra/facade/host_outcomes.h"
#include "zyra/facade/model_tables.h"
#include "zyra/facade/response_error.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/logger.h"

namespace zyra {

// How a response is read and prepared, by name.
struct OpenOptions {
  bool bPrepare = true;           // prepare the pulses after reading; false: as the file holds them
  bool bIgnoreCoherence = false;  // true: coherent groups are summed as incoherent
  bool bCorrectBadBundles = true;  // rebuild groups an older writer left half-built, where found
  bool bIsDefaultLocalRT = false;  // the reader's default local reverberation
  bool bIgnoreInActivePulses = false;  // leave inactive pulses out while reading
  // Keep a response whose read a block reader ended early, or whose preparation failed or was
  // cancelled, instead of raising: Read() and Init() say what happened, and Evaluate() raises.
  // A file that cannot be accessed or is not a response file raises all the same.
  bool bKeepDamaged = false;
  std::string sAppVrsnString{};    // the application text for the reader; empty: "zyra " + version
  BusyIndicator* cBusy = nullptr;  // progress and cancel while reading and preparing
  Logger* cReadLogger = nullptr;   // the reader's log
};

class Response {
 public:
  // Reads the file at sFilePath, records whether it holds groups an older writer left
  // half-built, and prepares it. Raises ResponseError: kFileAccess, kNotAResponse, and unless
  // bKeepDamaged, kReadStopped, kPreparation, kCancelled.
  static Response Open(const std::string& sFilePath, const OpenOptions& options = {});
  // The same from a file the host has opened already (to walk its headers first, say).
  static Response Open(InputFile& cInput, const OpenOptions& options = {});

  Response(Response&&) noexcept = default;
  Response& operator=(Response&&) noexcept = default;
  Response(const Response&) = delete;
  Response& operator=(const Response&) = delete;
  ~Response() = default;

  const std::string& FilePath() const noexcept { return sFilePath_; }
  const ReadOutcome& Read() const noexcept { return read_; }
  // What the preparation answered; no value when it was not asked for.
  const std::optional<InitOutcome>& Init() const noexcept { return init_; }
  // Read cleanly, and prepared without error where preparation was asked for.
  bool IsClean() const;
  // No pulses: an empty model, which evaluates to nothing.
  bool IsEmpty() const;

  // The system's model underneath, for everything the plain views leave out.
  CProbeRspClass& Model() noexcept { return *model_; }
  const CProbeRspClass& Model() const noexcept { return *model_; }

  ProbeSummary Probe() const { return ProbeSummaryOf(*model_); }
  LoudspeakerColumns Loudspeakers() const { return LoudspeakerColumnsOf(*model_); }
  PulseColumns Pulses() const { return PulseColumnsOf(*model_); }

  // Calculate with a new results object, then Alcons over 0 ... 50 ms in the three Alcons
  // bands. Raises ResponseError: kEmpty for a response without pulses (Calculate would answer
  // with results that hold nothing), kReadStopped or kPreparation for a damaged response kept
  // by bKeepDamaged or one opened without preparation, kEvaluation for a run-time error,
  // kCancelled. The model's tail block gets
  // its tSplit clamped to 7 ... 50 ms, as Calculate does; so Evaluate is not const, and one
  // Response serves one thread at a time.
  Evaluation Evaluate(const EvaluateOptions& options = {});

 private:
  explicit Response(std::string sFilePath);
  // The ResponseError for a damaged response, when it is one.
  std::optional<ResponseError> DamageError() const;

  std::string sFilePath_;
  std::unique_ptr<CProbeRspClass> model_;
  ReadOutcome read_;
  std::optional<InitOutcome> init_;
};

// "zyra " and the library's version: the application text of a read through the facade.
std::string LibraryVersionString();

}  // namespace zyra

#endif  // ZYRA_FACADE_RESPONSE_H_
