#include "zyra/rsp/probe_rsp.h"

#include <array>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <vector>

#include "zyra/format/file_header.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"
#include "zyra/support/text_form.h"

namespace zyra {
namespace {

constexpr int16_t kFileVersionPlain = 1;
constexpr int16_t kFileVersionLineArrays = 2;
constexpr int32_t kPulsRecordVersionWritten = 1;
// The reverberation-time type that says "taken from the local reverberation block".
constexpr int16_t kRTTypeLocal = 19;

// Identifiers of the blocks this reader knows; the old-text repair looks for any of them.
constexpr std::array<const char*, 8> kKnownBlockIDs{"PROB", "LSPK", "OBST", "TAIL",
                                                    "PRED", "SLRT", "PULS", "TEXT"};

const std::string kCRLF = "\r\n";

bool IsKnownBlockID(const std::string& sIDfx) {
  for (const char* id : kKnownBlockIDs) {
    if (sIDfx == id) return true;
  }
  return false;
}

// Makes `stream` stand for the file folder + name; it stays empty when the file does not exist
// (a folder is no file). The bytes are read as the blocks need them, never all at once.
void OpenResponseFile(ByteStream& stream, const std::string& sPath, const std::string& sFile) {
  if (FileExists(sPath, sFile)) stream.OpenFileForReading(sPath + sFile);
}

std::string ReadErrorMessage(const std::string& sDescription, const std::string& sFile) {
  return "Error in ReadRSPFile: " + sDescription + '\0' + sFile;
}

// Runs a read; whatever fails inside - a short stream, an overflow, a missing object, memory -
// becomes the reader's own message, so that a host never sees an exception from a bad file.
template <class Read>
int32_t GuardedRead(const std::string& sFile, std::string& sErrorMessage, Read&& read) {
  try {
    return read();
  } catch (const RuntimeError& error) {
    sErrorMessage = ReadErrorMessage(error.Description(), sFile);
  } catch (const std::exception& error) {
    sErrorMessage = ReadErrorMessage(error.what(), sFile);
  }
  return -1;
}

// The stream a block's class reads from: its own bytes only, header and body, so that no
// block reads into the blocks behind it (blocks that claim to overlap would otherwise make
// the work grow with the square of the file's size). A block reaching the end of the file
// is read in place.
ByteStream& BlockStream(ByteStream& cFile, int32_t lPosition, int32_t lBlockLength,
                        ByteStream& cScratch) {
  const int64_t lEnd = int64_t{lPosition} + CRspBlockHeaderClass::kLength + lBlockLength;
  if (lEnd >= cFile.GetLength()) {
    cFile.SetPosition(lPosition);
    return cFile;
  }
  cScratch.LoadFromBytes(cFile.CopyBytes(lPosition, static_cast<int32_t>(lEnd - lPosition)));
  return cScratch;
}

}  // namespace

const std::string& CProbeRspClass::CoherenceWarningText() {
  static const std::string text =
      "Warning: This response file was created with an earlier version of ZYRA. " + kCRLF + kCRLF +
      "The response file does not contain all of the coherence information needed by this "
      "version of ZYRA, " +
      kCRLF +
      "especially for complex loudspeaker arrangements like line arrays. Therefore it is "
      "strongly recommended" +
      kCRLF +
      "the calculation be repeated with the newest version of ZYRA instead of evaluating this "
      "file.";
  return text;
}

// ---- Reading ----

int32_t CProbeRspClass::ReadRSPFile(const std::string& sPath, const std::string& sFile,
                                    bool bIsDefaultLocalRT, const std::string& sAppVrsnString,
                                    int32_t& nRaysPerLspk, float& fCutOffTime,
                                    std::string& sErrorMessage, BusyIndicator* cBusy,
                                    bool bIgnoreInActivePulses, Logger* cReadLogger) {
  return GuardedRead(sFile, sErrorMessage, [&] {
    EmptyModel(cBusy);  // also when the file cannot be loaded
    ByteStream stream;
    OpenResponseFile(stream, sPath, sFile);
    return ReadImage(stream, sPath, sFile, bIsDefaultLocalRT, sAppVrsnString, nRaysPerLspk,
                     fCutOffTime, sErrorMessage, cBusy, bIgnoreInActivePulses, cReadLogger);
  });
}

int32_t CProbeRspClass::ReadRSPBytes(std::span<const uint8_t> bytes, const std::string& sPath,
                                     const std::string& sFile, bool bIsDefaultLocalRT,
                                     const std::string& sAppVrsnString, int32_t& nRaysPerLspk,
                                     float& fCutOffTime, std::string& sErrorMessage,
                                     BusyIndicator* cBusy, bool bIgnoreInActivePulses,
                                     Logger* cReadLogger) {
  return GuardedRead(sFile, sErrorMessage, [&] {
    ByteStream stream;
    stream.LoadFromBytes(bytes);
    return ReadImage(stream, sPath, sFile, bIsDefaultLocalRT, sAppVrsnString, nRaysPerLspk,
                     fCutOffTime, sErrorMessage, cBusy, bIgnoreInActivePulses, cReadLogger);
  });
}

void CProbeRspClass::EmptyModel(BusyIndicator* cBusy) {
  Rsp()->LspInfos()->SetCount(0);
  ObstInfo()->SetCount(0);
  Rsp()->Pulses()->SetCount(0, cBusy);
}

int32_t CProbeRspClass::ReadImage(ByteStream& stream, const std::string& sPath,
                                  const std::string& sFile, bool bIsDefaultLocalRT,
                                  const std::string& sAppVrsnString, int32_t& nRaysPerLspk,
                                  float& fCutOffTime, std::string& sErrorMessage,
                                  BusyIndicator* cBusy, bool bIgnoreInActivePulses,
                                  Logger* cReadLogger) {
  int32_t lResult = 0;
  sErrorMessage.clear();
  EmptyModel(cBusy);
  // An absent or empty file is an empty response, not an error.
  if (stream.GetLength() < 1) return 0;
  stream.SetPosition(0);

  CFileHeaderClass fileHeader;
  fileHeader.ReadFromByteStream(stream, cReadLogger);
  if (fileHeader.ZYRA() != ResponseFileMagic()) {
    sErrorMessage = "No ZYRA Response File";
    return -1;
  }
  if (fileHeader.IDfx() != "RF") {
    sErrorMessage = "No Response File";
    return -1;
  }
  if (fileHeader.Vrsn() < 0 || fileHeader.Vrsn() > kFileVersionLineArrays) {
    sErrorMessage = "Unknown Version";
    return -1;
  }

  const std::string sBanner = sAppVrsnString + " Response File: " + "\n" + sPath + sFile;

  CProbeInfoClass& probeInfo = *Required(ProbeInfo());
  CSystemResponse& rsp = *Required(Rsp());
  int32_t lPosition = stream.GetPosition();
  bool bProbeInfoRead = false;
  bool bWarningGiven = false;
  CRspBlockHeaderClass header;
  ByteStream blockScratch;
  while (lPosition < stream.GetLength()) {
    if (cReadLogger != nullptr) {
      cReadLogger->PrintLine("");
      cReadLogger->PrintValue("Addr ", std::to_string(lPosition));
    }
    stream.SetPosition(lPosition);
    header.ReadFromByteStream(stream, cReadLogger);
    const int32_t lBlockLength = header.GetBlockLength();
    if (lBlockLength == CRspBlockHeaderClass::kBadLength) break;
    stream.SetPosition(lPosition);

    // Each block class reads its header again, from a stream that holds just its block.
    const std::string sID = header.IDfx();
    ByteStream& block =
        IsKnownBlockID(sID) ? BlockStream(stream, lPosition, lBlockLength, blockScratch) : stream;
    int32_t lStatus = 0;
    if (sID == probeInfo.GetBlockID()) {
      lStatus = probeInfo.ReadFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
      bProbeInfoRead = true;
    } else if (sID == Required(rsp.LspInfos())->GetBlockID()) {
      lStatus = rsp.ReadLspInfoBlockFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
    } else if (sID == Required(ObstInfo())->GetBlockID()) {
      lStatus = ObstInfo()->ReadInfoBlockFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
    } else if (sID == Required(ETC())->GetBlockID()) {
      lStatus = ETC()->ReadFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
    } else if (sID == Required(Pred())->GetBlockID()) {
      lStatus = Pred()->ReadFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
      nRaysPerLspk = Pred()->RaysPerLspk();
      fCutOffTime = Pred()->Length1();
    } else if (sID == Required(LocalRTInfo())->GetBlockID()) {
      lStatus = LocalRTInfo()->ReadFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
      probeInfo.SetIsLocalRTInfo_b(true);
    } else if (sID == Required(rsp.Pulses())->GetBlockID()) {
      lStatus = rsp.ReadPulsBlockFromByteStream(block, sErrorMessage, cBusy, bIgnoreInActivePulses,
                                                false, false, cReadLogger);
      if (lStatus == 1) {
        lResult = 1;
        sErrorMessage = CoherenceWarningText();
        bWarningGiven = true;
      } else if (lStatus != 0) {
        return lResult;
      }
    } else if (sID == Required(InfoText())->GetBlockID()) {
      CRspInfoTextClass& infoText = *InfoText();
      lStatus = infoText.ReadFromByteStream(block, sErrorMessage, cReadLogger);
      if (lStatus != 0) return lResult;
      infoText.SetSourceText(sBanner + "\n\n" + infoText.SourceText());
      // The repaired header is not used to step on: the step below keeps the length read
      // from the file, as the readers of these files always have.
      if (header.Vrsn() == 0 && !IsFlagSet(header.flags(), kBlockFlagLast) && !bProbeInfoRead) {
        RepairOldTextBlockHeader(stream, lPosition, header);
      }
    }
    // Any other identifier: the block is stepped over by its length.

    if (lBlockLength < 0 || lBlockLength >= stream.GetLength()) break;
    const int64_t lNext = int64_t{lPosition} + CRspBlockHeaderClass::kLength + lBlockLength;
    if (lNext > ByteStream::kMaxLength) RaiseError(kErrOverflow);
    lPosition = static_cast<int32_t>(lNext);
    if (IsFlagSet(header.flags(), kBlockFlagLast)) break;
  }

  if (!probeInfo.IsVexaSpecified_b()) {
    const std::string sVexaMark = "Vexa Calculation" + kCRLF + "Length [ms]: ";
    probeInfo.SetIsVexaResponse_b(InfoText()->SourceText().find(sVexaMark) != std::string::npos);
  }
  probeInfo.SetIsVexaSpecified_b(true);

  if (probeInfo.IsVexaResponse_b() && fileHeader.Vrsn() < kFileVersionLineArrays &&
      !bWarningGiven && LacksCoherenceInformation()) {
    lResult = 1;
    sErrorMessage = CoherenceWarningText();
  }

  if (probeInfo.IsLocalRTInfo_b() && bIsDefaultLocalRT) {
    for (int32_t iBand = 1; iBand <= 21; ++iBand) {
      probeInfo.SetPrRTime(iBand, LocalRTInfo()->LocalRTime(iBand));
    }
    probeInfo.SetPrRTType(kRTTypeLocal);
  }

  rsp.Pulses()->SetDataOrigin(PB_EOrigin_ZYRAFile);
  return lResult;
}

bool CProbeRspClass::LacksCoherenceInformation() const {
  const CSystemResponse& rsp = *Rsp();
  const CLspInfoBufferClass& lsps = *Required(rsp.LspInfos());
  bool bHasMembers = false;
  for (int32_t i = 1; i <= lsps.Count() && !bHasMembers; ++i) {
    const CLspInfoClass& lsp = lsps.LspInfoRecord(i);
    bHasMembers = lsp.IsMember() && !lsp.IsCoherenceInvalid();
  }
  if (!bHasMembers) return false;

  const CPulsBufferClass& pulses = *Required(rsp.Pulses());
  for (int32_t i = 1; i <= pulses.Count(); ++i) {
    const CPulsClass& puls = pulses.PulsRecord(i);
    // Origin 0 looks at the slot-0 template; an Origin naming no record is error 91.
    const CLspInfoClass& lsp = lsps.LspInfoRecord(puls.Origin());
    if (lsp.IsMember() && !lsp.IsPseudo() && puls.ID_Pseudo() == 0) return true;
    // The first grouped reflection that names its pseudo pulse shows the file has them.
    if (puls.ROrder() > 0 && puls.ID_Pseudo() != 0 && lsp.IsMember()) return false;
  }
  return false;
}

bool CProbeRspClass::RepairOldTextBlockHeader(ByteStream& cByteStream, int32_t lPosition,
                                              CRspBlockHeaderClass& cHeader) {
  const int64_t lBlockLength = cHeader.GetBlockLength();
  if (lBlockLength < 0) return false;
  const int64_t lLength = cByteStream.GetLength();
  const int64_t lBodyEnd = int64_t{lPosition} + CRspBlockHeaderClass::kLength + lBlockLength;
  CRspBlockHeaderClass candidate;
  // Bounded by the stream: every offset tried needs a whole header inside it.
  for (int64_t i = 0; i <= cHeader.lInfo(); ++i) {
    if (lBodyEnd + CRspBlockHeaderClass::kLength + i > lLength) return false;
    cByteStream.SetPosition(static_cast<int32_t>(lBodyEnd + i));
    candidate.ReadFromByteStream(cByteStream);
    if (IsKnownBlockID(candidate.IDfx())) {
      cHeader.SetlInfo(static_cast<int32_t>(cHeader.lInfo() + i));
      return true;
    }
  }
  return false;
}

// ---- Writing ----

int32_t CProbeRspClass::SaveToByteStream(ByteStream& cByteStream,
                                         const std::string& sInfoTextPrefix) {
  const CSystemResponse& rsp = *Required(Rsp());
  const CPulsBufferClass& pulses = *Required(rsp.Pulses());
  const int32_t lStart = cByteStream.GetPosition();

  CFileHeaderClass fileHeader;
  fileHeader.SetZYRA(ResponseFileMagic());
  fileHeader.SetnHdr(1);
  fileHeader.SetlHdr(CRspBlockHeaderClass::kLength);
  fileHeader.SetIDfx("RF");
  fileHeader.SetVrsn(pulses.GetHasLineArrayReflexions() ? kFileVersionLineArrays
                                                        : kFileVersionPlain);
  fileHeader.SetFlgs(0);
  fileHeader.SetnRcd(pulses.Count() - 1);
  fileHeader.SetlRcd(Required(pulses.Puls(0))->GetLengthInFile(kPulsRecordVersionWritten));
  fileHeader.Setaddr(0);
  fileHeader.SaveToByteStream(cByteStream);

  // Only blocks really in the file are counted: the loudspeaker writer may write nothing.
  int16_t nHdr = 1;
  InfoText()->SaveToByteStream(cByteStream, sInfoTextPrefix);
  ++nHdr;
  ProbeInfo()->SaveToByteStream(cByteStream);
  ++nHdr;
  if (rsp.SaveLspInfoBlockToByteStream(cByteStream, false)) ++nHdr;
  ObstInfo()->SaveInfoBlockToByteStream(cByteStream);
  ++nHdr;
  ETC()->SaveToByteStream(cByteStream);
  ++nHdr;
  // A NaN length is not greater than 0, so such a prediction is not written.
  if (Pred()->RaysPerLspk() >= 1 && Pred()->Length1() > 0) {
    Pred()->SaveToByteStream(cByteStream);
    ++nHdr;
  }
  if (ProbeInfo()->IsLocalRTInfo_b()) {
    LocalRTInfo()->SaveToByteStream(cByteStream);
    ++nHdr;
  }

  ++nHdr;
  // addr is 1-based: the first pulse record follows the "PULS" block header.
  const int32_t lPulsBlockAddr = cByteStream.GetPosition() + 1;
  int32_t lLengthOfBlockHeader = 0;
  rsp.SavePulsBlockToByteStream(cByteStream, true, lLengthOfBlockHeader);
  fileHeader.Setaddr(lPulsBlockAddr + lLengthOfBlockHeader);
  fileHeader.SetnHdr(nHdr);

  WriteAt(cByteStream, lStart, [&] { fileHeader.SaveToByteStream(cByteStream); });
  return 0;
}

std::string CProbeRspClass::SavePrefixText(const std::string& sAppInfoLabel,
                                           const std::string& sDateTime,
                                           const std::string& sFileName, const std::string& sPath) {
  std::string prefix = sAppInfoLabel + " on " + sDateTime + "\n";
  prefix += "Writing Response File\n";
  prefix += "File: " + sFileName + "\n";
  // A "$" marks a folder from the host's settings, which is not worth recording.
  if (sPath.find('$') == std::string::npos) prefix += "Folder: " + sPath + "\n";
  prefix += "\n";
  prefix += std::string(32, '=') + "\n";
  return prefix;
}

void CProbeRspClass::WriteSaveImage(ByteStream& cByteStream, const std::string& sPath,
                                    const std::string& sFileName, const std::string& sAppInfoLabel,
                                    float fPredDelayTime, int32_t nRaysPerLspk, float fCutOffTime) {
  CProbeInfoClass& probeInfo = *Required(ProbeInfo());
  probeInfo.SetPrLspInfos(Rsp()->LspInfos()->Count());
  probeInfo.SetPrObstInfos(ObstInfo()->Count());
  probeInfo.SetPrPulses(Rsp()->Pulses()->Count());
  if (probeInfo.IsVexaSpecified_b()) {
    probeInfo.SetIsVexaSpecified_b(true);
    probeInfo.SetIsVexaResponse_b(false);
  }

  if (ETC()->IsPredicted_b()) {
    CPredictionInfoClass& pred = *Pred();
    pred.SetRaysPerLspk(nRaysPerLspk);
    pred.SetDelayTime(fPredDelayTime);
    pred.SetLength1(fCutOffTime);
    pred.SetRTType(probeInfo.PrRTType());
    for (int32_t i = 0; i <= 21; ++i) pred.SetRT60(i, probeInfo.PrRTime(i));
  }

  SaveToByteStream(cByteStream,
                   SavePrefixText(sAppInfoLabel, LocalDateTimeText(), sFileName, sPath));
}

std::vector<uint8_t> CProbeRspClass::BuildSaveImage(const std::string& sPath,
                                                    const std::string& sFileName,
                                                    const std::string& sAppInfoLabel,
                                                    float fPredDelayTime, int32_t nRaysPerLspk,
                                                    float fCutOffTime) {
  ByteStream stream;
  WriteSaveImage(stream, sPath, sFileName, sAppInfoLabel, fPredDelayTime, nRaysPerLspk,
                 fCutOffTime);
  return stream.TakeBytes();
}

int16_t CProbeRspClass::SaveRSPFile(const std::string& sPath, const std::string& sFileName,
                                    const std::string& sAppInfoLabel, float fPredDelayTime,
                                    int32_t nRaysPerLspk, float fCutOffTime) {
  static const std::string kProcedure = "CProbeRspClass.SaveRSPFile";
  try {
    const std::vector<uint8_t> bytes =
        BuildSaveImage(sPath, sFileName, sAppInfoLabel, fPredDelayTime, nRaysPerLspk, fCutOffTime);

    // Written over the start of the file without truncating it first.
    const std::string sFullName = sPath + sFileName;
    std::fstream file(sFullName, std::ios::in | std::ios::out | std::ios::binary);
    if (!file.is_open()) file.open(sFullName, std::ios::out | std::ios::binary);
    if (!file.is_open()) RaiseError(kErrPathFileAccess);
    file.seekp(0);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (file.fail()) RaiseError(kErrPathFileAccess);
    return -1;
  } catch (const RuntimeError& error) {
    ReportProcedureError(kProcedure, error);
  } catch (const std::bad_alloc&) {
    ReportProcedureError(kProcedure, RuntimeError(kErrOutOfMemory));
  }
  return 0;
}

}  // namespace zyra
