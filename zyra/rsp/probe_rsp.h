// The response file: one object of every block class, read and written as a whole file.
#ifndef ZYRA_RSP_PROBE_RSP_H_
#define ZYRA_RSP_PROBE_RSP_H_

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "zyra/format/block_walk.h"
#include "zyra/format/file_header.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/info/etc_info.h"
#include "zyra/info/obst_info_buffer.h"
#include "zyra/info/prediction_info.h"
#include "zyra/info/probe_info.h"
#include "zyra/response/system_response.h"
#include "zyra/rsp/local_rt_info.h"
#include "zyra/rsp/rsp_info_text.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/byte_stream.h"
#include "zyra/support/logger.h"

namespace zyra {

// Owns one object of each block class for as long as it lives and hands them out as shared
// references; each is created on first use while still empty.
class CProbeRspClass {
 public:
  // ---- Reading ----
  // Reads the file sPath + sFile (sPath ends with its separator) into the block objects.
  // 0: read, or nothing to read (a missing or empty file gives an empty model and no
  // message; a block reader that failed leaves its own message and ends the read early);
  // 1: read, with the coherence warning in sErrorMessage; -1: not a response file (the
  // header's message) or a run-time error ("Error in ReadRSPFile: ", its description, the
  // character 0, sFile). The pulses are not prepared; see PrepareResponseAfterRead.
  int32_t ReadRSPFile(const std::string& sPath, const std::string& sFile, bool bIsDefaultLocalRT,
                      const std::string& sAppVrsnString, int32_t& nRaysPerLspk, float& fCutOffTime,
                      std::string& sErrorMessage, BusyIndicator* cBusy,
                      bool bIgnoreInActivePulses = false, Logger* cReadLogger = nullptr);
  // ReadRSPFile on a file image already in memory; sPath and sFile only name it in the
  // banner and in error messages. No bytes read as an empty file.
  int32_t ReadRSPBytes(std::span<const uint8_t> bytes, const std::string& sPath,
                       const std::string& sFile, bool bIsDefaultLocalRT,
                       const std::string& sAppVrsnString, int32_t& nRaysPerLspk, float& fCutOffTime,
                       std::string& sErrorMessage, BusyIndicator* cBusy,
                       bool bIgnoreInActivePulses = false, Logger* cReadLogger = nullptr);
  // ReadRSPFile on a file the host has already opened (binary, seekable), so that it needs to
  // open it only once; it is read a window at a time, from its start, and its position is
  // left anywhere. sPath and sFile only name it. An empty file reads as an empty response.
  int32_t ReadRSPStream(std::istream& cFile, const std::string& sPath, const std::string& sFile,
                        bool bIsDefaultLocalRT, const std::string& sAppVrsnString,
                        int32_t& nRaysPerLspk, float& fCutOffTime, std::string& sErrorMessage,
                        BusyIndicator* cBusy, bool bIgnoreInActivePulses = false,
                        Logger* cReadLogger = nullptr);

  // The file header the last read found (all zero before one was read).
  const CFileHeaderClass& FileHeader() const noexcept { return fileHeader_; }
  // Where the last read stopped when it did not end cleanly: the file header, the block being
  // read, or a block header the file ends inside. None after a clean read (also one with the
  // coherence warning) and when the file could not be loaded at all.
  const std::optional<FilePlace>& ReadStopPlace() const noexcept { return readStop_; }

  // ---- Writing ----
  // Updates the probe and prediction infos from the model and the arguments, then writes the
  // whole image over the start of sPath + sFileName. An existing longer file keeps its bytes
  // beyond the new end (readers stop at the last-block flag of "PULS"). -1 when written;
  // 0 after an error, which goes to the shared error report.
  int16_t SaveRSPFile(const std::string& sPath, const std::string& sFileName,
                      const std::string& sAppInfoLabel, float fPredDelayTime, int32_t nRaysPerLspk,
                      float fCutOffTime);
  // The image SaveRSPFile writes, without writing it: the probe and prediction infos updated
  // as SaveRSPFile does, then the whole file with the prefix naming sPath and sFileName. For
  // hosts that write files their own way (atomically, to a temporary renamed over the
  // target). Run-time errors propagate.
  std::vector<uint8_t> BuildSaveImage(const std::string& sPath, const std::string& sFileName,
                                      const std::string& sAppInfoLabel, float fPredDelayTime,
                                      int32_t nRaysPerLspk, float fCutOffTime);
  // BuildSaveImage into a stream: the image goes to cByteStream from its position on (to a file
  // as it is written, for a stream over one).
  void WriteSaveImage(ByteStream& cByteStream, const std::string& sPath,
                      const std::string& sFileName, const std::string& sAppInfoLabel,
                      float fPredDelayTime, int32_t nRaysPerLspk, float fCutOffTime);
  // Appends the file image at the stream's position: the file header, then "TEXT" (with the
  // prefix in front of the text), "PROB", "LSPK" (when it has records), "OBST", "TAIL",
  // "PRED" (when it describes a prediction), "SLRT" (when the probe info says so), and
  // "PULS" flagged as the last block. Returns 0.
  int32_t SaveToByteStream(ByteStream& cByteStream, const std::string& sInfoTextPrefix = "");

  // The lines SaveRSPFile puts in front of the info text, each ended by LF; the folder line
  // is left out when sPath holds a "$".
  static std::string SavePrefixText(const std::string& sAppInfoLabel, const std::string& sDateTime,
                                    const std::string& sFileName, const std::string& sPath);
  // The warning of a file whose pulses lack the coherence information of newer files.
  static const std::string& CoherenceWarningText();
  // Old writers stored a "TEXT" block's lInfo too short. Looks for the next known block
  // header behind the body of the text block whose header starts at lPosition, at offsets
  // 0 ... lInfo, and adds the offset found to the header's lInfo. False when none was found
  // inside the stream (the header then is unchanged). The stream's position is moved.
  static bool RepairOldTextBlockHeader(ByteStream& cByteStream, int32_t lPosition,
                                       CRspBlockHeaderClass& cHeader);

  // ---- The block objects ----
  const std::shared_ptr<CSystemResponse>& Rsp() const { return Lazy(rsp_); }
  void SetRsp(std::shared_ptr<CSystemResponse> cRsp) { rsp_ = std::move(cRsp); }
  const std::shared_ptr<CProbeInfoClass>& ProbeInfo() const { return Lazy(probeInfo_); }
  void SetProbeInfo(std::shared_ptr<CProbeInfoClass> cInfo) { probeInfo_ = std::move(cInfo); }
  const std::shared_ptr<CObstInfoBufferClass>& ObstInfo() const { return Lazy(obstInfo_); }
  void SetObstInfo(std::shared_ptr<CObstInfoBufferClass> cInfo) { obstInfo_ = std::move(cInfo); }
  const std::shared_ptr<CETCInfoClass>& ETC() const { return Lazy(etc_); }
  void SetETC(std::shared_ptr<CETCInfoClass> cInfo) { etc_ = std::move(cInfo); }
  const std::shared_ptr<CPredictionInfoClass>& Pred() const { return Lazy(pred_); }
  void SetPred(std::shared_ptr<CPredictionInfoClass> cInfo) { pred_ = std::move(cInfo); }
  const std::shared_ptr<CLocalRTInfoClass>& LocalRTInfo() const { return Lazy(localRTInfo_); }
  // Typed with the class it holds: the object stored is the one handed out by LocalRTInfo().
  void SetLocalRTInfo(std::shared_ptr<CLocalRTInfoClass> cInfo) { localRTInfo_ = std::move(cInfo); }
  const std::shared_ptr<CRspInfoTextClass>& InfoText() const { return Lazy(infoText_); }
  void SetInfoText(std::shared_ptr<CRspInfoTextClass> cInfo) { infoText_ = std::move(cInfo); }

 private:
  // The three reads: the model emptied, then the stream that `attach` sets up (over a file, or
  // bytes) read by ReadImage; whatever fails, setting up included, becomes the read's message.
  int32_t ReadThrough(const std::function<void(ByteStream&)>& attach, const std::string& sPath,
                      const std::string& sFile, bool bIsDefaultLocalRT,
                      const std::string& sAppVrsnString, int32_t& nRaysPerLspk, float& fCutOffTime,
                      std::string& sErrorMessage, BusyIndicator* cBusy, bool bIgnoreInActivePulses,
                      Logger* cReadLogger);

  // The reading steps on a stream over the file (a window of it at a time) or its bytes in
  // memory; run-time errors leave it. The blocks of the walk are read through one table from
  // block kind to reader.
  int32_t ReadImage(ByteStream& stream, const std::string& sPath, const std::string& sFile,
                    bool bIsDefaultLocalRT, const std::string& sAppVrsnString,
                    int32_t& nRaysPerLspk, float& fCutOffTime, std::string& sErrorMessage,
                    BusyIndicator* cBusy, bool bIgnoreInActivePulses, Logger* cReadLogger);
  // Empties the loudspeakers, obstacles and pulses.
  void EmptyModel(BusyIndicator* cBusy);
  // Whether the pulses of an old file lack the coherence information (the warning's test).
  bool LacksCoherenceInformation() const;

  template <class T>
  static const std::shared_ptr<T>& Lazy(std::shared_ptr<T>& reference) {
    if (!reference) reference = std::make_shared<T>();
    return reference;
  }

  mutable std::shared_ptr<CSystemResponse> rsp_;
  mutable std::shared_ptr<CProbeInfoClass> probeInfo_;
  mutable std::shared_ptr<CObstInfoBufferClass> obstInfo_;
  mutable std::shared_ptr<CETCInfoClass> etc_;
  mutable std::shared_ptr<CPredictionInfoClass> pred_;
  mutable std::shared_ptr<CLocalRTInfoClass> localRTInfo_;
  mutable std::shared_ptr<CRspInfoTextClass> infoText_;
  CFileHeaderClass fileHeader_;
  std::optional<FilePlace> readStop_;
};

}  // namespace zyra

#endif  // ZYRA_RSP_PROBE_RSP_H_
