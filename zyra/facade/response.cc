#include "zyra/facade/response.h"

#include "zyra/calc/counted_pulses.h"
#include "zyra/calc/energy_time_process.h"
#include "zyra/facade/file_access.h"
#include "zyra/facade/text_forms.h"
#include "zyra/rsp/host_sequence.h"
#include "zyra/version.h"

namespace zyra {
namespace {

std::string ErrorText(const ErrorInfo& error) {
  return "error " + std::to_string(error.lNumber) + ": " + error.sDescription;
}

ResponseError ReadError(const std::string& sFilePath, const ReadOutcome& read,
                        const CProbeRspClass& cFile) {
  const bool bFailed = IsFailedRead(read);
  ResponseError error(sFilePath,
                      bFailed ? ResponseFault::kNotAResponse : ResponseFault::kReadStopped,
                      (bFailed ? "not a usable response file: " : "reading stopped early: ") +
                          MessageLine(read.sMessage),
                      ReadErrorOf(read), cFile.ReadStopPlace());
  error.SetRead(read);
  return error;
}

}  // namespace

std::string LibraryVersionString() {
  return std::string("zyra ") + ZYRA_VERSION_STRING;
}

Response::Response(std::string sFilePath)
    : sFilePath_(std::move(sFilePath)), model_(std::make_unique<CProbeRspClass>()) {}

Response Response::Open(const std::string& sFilePath, const OpenOptions& options) {
  InputFile input;
  std::string sProblem;
  if (!input.Open(sFilePath, sProblem)) {
    throw ResponseError(sFilePath, ResponseFault::kFileAccess, sProblem,
                        ErrorInfo{kErrPathFileAccess, ErrorDescription(kErrPathFileAccess)});
  }
  return Open(input, options);
}

Response Response::Open(InputFile& cInput, const OpenOptions& options) {
  const std::string& sFilePath = cInput.FilePath();
  Response response(sFilePath);
  {
    const SplitPath split = SplitFilePath(sFilePath);
    ReadOutcome& read = response.read_;
    read.lResult = response.model_->ReadRSPStream(
        cInput.Stream(), split.sPath, split.sFile, options.bIsDefaultLocalRT,
        options.sAppVrsnString.empty() ? LibraryVersionString() : options.sAppVrsnString,
        read.nRaysPerLspk, read.fCutOffTime, read.sMessage, options.cBusy,
        options.bIgnoreInActivePulses, options.cReadLogger);
  }
  if (IsFailedRead(response.read_)) throw ReadError(sFilePath, response.read_, *response.model_);
  // A damaged read kept on request is prepared too, so that its outcome can be shown.
  if (options.bPrepare && (IsCleanRead(response.read_) || options.bKeepDamaged)) {
    InitOutcome& init = response.init_.emplace();
    try {
      init.lResult =
          PrepareResponseAfterRead(*response.model_, options.bIgnoreCoherence,
                                   options.bCorrectBadBundles, init.sMessage, options.cBusy);
    } catch (const RuntimeError& error) {
      init.error = ErrorInfoOf(error);
    }
  }
  if (!options.bKeepDamaged) {
    if (auto error = response.DamageError()) throw *error;
  }
  return response;
}

std::optional<ResponseError> Response::DamageError() const {
  if (!IsCleanRead(read_)) return ReadError(sFilePath_, read_, *model_);
  if (!init_) return std::nullopt;
  if (init_->error) {
    return ResponseError(sFilePath_, ResponseFault::kPreparation,
                         "preparation failed: " + ErrorText(*init_->error), init_->error);
  }
  if (init_->lResult != 0) {
    return ResponseError(sFilePath_, ResponseFault::kCancelled, "preparation cancelled");
  }
  return std::nullopt;
}

bool Response::IsClean() const {
  return !DamageError().has_value();
}

bool Response::IsEmpty() const {
  return Required(model_->Rsp())->Pulses()->Count() == 0;
}

Evaluation Response::Evaluate(const EvaluateOptions& options) {
  if (auto error = DamageError()) throw *error;
  if (!init_) {
    throw ResponseError(sFilePath_, ResponseFault::kPreparation,
                        "not prepared: a response is evaluated after its preparation");
  }
  if (IsEmpty()) {
    throw ResponseError(sFilePath_, ResponseFault::kEmpty,
                        "holds no pulses: there is nothing to evaluate");
  }
  AlconsSettings alcons;
  alcons.bSti = options.eAlconsForm == SL_EAlcons_STI;
  alcons.bNoise = options.bWithNoise;
  alcons.lInterfFlags =
      (options.bInterferencePotential ? CEnergyTimeProcessClass::kInterfPotential : 0) |
      (options.bInterferenceKinetic ? CEnergyTimeProcessClass::kInterfKinetic : 0);
  try {
    // Never an empty results object: Calculate fills the one handed in.
    auto results = std::make_shared<CCalcResults>();
    const CEnergyTimeProcessClass process;
    // The pulses are gathered once, for the energies and then for the parameters.
    CCountedPulses::Options gather;
    gather.bIsWithReflections = options.bWithReflections;
    gather.bWithAngles = options.bWithReflections;
    gather.bWithPulsNumbers = options.cBusy != nullptr;
    CCountedPulses counted = CCountedPulses::Gather(*model_, gather);
    const int32_t lResult = process.Calculate(*model_, results, options.bWithReflections,
                                              options.cBusy != nullptr, options.cBusy, counted);
    if (lResult != 0) {
      throw ResponseError(sFilePath_, ResponseFault::kCancelled, "evaluation cancelled");
    }
    AlconsValues values{};
    for (int32_t a = 0; a < CCalcResults::kAlconsBandCount; ++a) {
      process.CalculateAlconsCurve(*model_, *results, a, options.eAlconsForm, options.bWithNoise,
                                   alcons.lInterfFlags, values[static_cast<std::size_t>(a)]);
    }
    // The room-acoustic parameters rest on the whole decay: with reflections only.
    std::optional<CParameterSet> parameters;
    std::shared_ptr<CSchroederParameters> decays;
    if (options.bWithReflections) {
      CParameterOptions parameterOptions;
      parameterOptions.dSchroederT1 = options.dSchroederT1;
      parameterOptions.dSchroederT2 = options.dSchroederT2;
      parameterOptions.bIsWithReflections = options.bWithReflections;
      parameterOptions.bWithNoise = options.bWithNoise;
      parameterOptions.bMasking = options.bMasking;
      decays = std::make_shared<CSchroederParameters>();
      parameters = CalculateParameters(*model_, *results, parameterOptions, options.cBusy,
                                       decays.get(), std::move(counted));
      if (parameters->bIsCancelled) {
        throw ResponseError(sFilePath_, ResponseFault::kCancelled, "evaluation cancelled");
      }
    }
    Evaluation evaluation(std::move(results), options.bWithReflections, alcons, values,
                          std::move(parameters), std::move(decays));
    evaluation.lCalcResult = lResult;
    return evaluation;
  } catch (const ResponseError&) {
    throw;
  } catch (const RuntimeError& error) {
    throw ResponseError(sFilePath_, ResponseFault::kEvaluation,
                        "evaluation failed: " + ErrorText(ErrorInfoOf(error)), ErrorInfoOf(error));
  }
}

}  // namespace zyra
