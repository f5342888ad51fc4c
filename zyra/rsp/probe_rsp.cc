#include "zyra/rsp/probe_rsp.h"

#include <array>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <istream>
#include <new>
#include <vector>

#include "zyra/format/file_header.h"
#include "zyra/support/errors.h"
#include "zyra/support/flags.h"
#include "zyra/support/text_form.h"

namespace zyra {
namespace {

constexpr int32_t kPulsRecordVersionWritten = 1;
// The reverberation-time type that says "taken from the local reverberation block".
constexpr int16_t kRTTypeLocal = 19;

const std::string kCRLF = "\r\n";

// Makes `stream` stand for the file folder + name, read a window at a time; it stays empty when
// the file does not exist (a folder is no file).
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
ByteStream& BlockStream(ByteStream& cFile, const WalkedBlock& block, ByteStream& cScratch) {
  const auto lPosition = static_cast<int32_t>(block.lOffset);
  const int64_t lEnd = block.lOffset + CRspBlockHeaderClass::kLength + block.lLength;
  if (lEnd >= cFile.GetLength()) {
    cFile.SetPosition(lPosition);
    return cFile;
  }
  cScratch.LoadFromBytes(cFile.CopyBytes(lPosition, static_cast<int32_t>(lEnd - lPosition)));
  return cScratch;
}

// What one read carries from block to block.
struct ReadPass {
  ByteStream& file;
  std::string& sErrorMessage;
  BusyIndicator* cBusy;
  bool bIgnoreInActivePulses;
  Logger* cReadLogger;
  int32_t& nRaysPerLspk;
  float& fCutOffTime;
  std::string sBanner;
  int32_t lResult = 0;
  bool bProbeInfoRead = false;
  bool bWarningGiven = false;
};

// Reads one known block from a stream positioned at its header; false ends the read (the
// block class left its message).
using BlockReader = bool (*)(CProbeRspClass&, ByteStream&, const WalkedBlock&, ReadPass&);

bool ReadProbeBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  if (f.ProbeInfo()->ReadFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) != 0) {
    return false;
  }
  pass.bProbeInfoRead = true;
  return true;
}

bool ReadLspBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  return f.Rsp()->ReadLspInfoBlockFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) == 0;
}

bool ReadObstBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  return f.ObstInfo()->ReadInfoBlockFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) ==
         0;
}

bool ReadTailBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  return f.ETC()->ReadFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) == 0;
}

bool ReadPredBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  if (f.Pred()->ReadFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) != 0) {
    return false;
  }
  pass.nRaysPerLspk = f.Pred()->RaysPerLspk();
  pass.fCutOffTime = f.Pred()->Length1();
  return true;
}

bool ReadLocalRTBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  if (f.LocalRTInfo()->ReadFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) != 0) {
    return false;
  }
  f.ProbeInfo()->SetIsLocalRTInfo_b(true);
  return true;
}

bool ReadPulsBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock&, ReadPass& pass) {
  const int32_t lStatus = f.Rsp()->ReadPulsBlockFromByteStream(
      block, pass.sErrorMessage, pass.cBusy, pass.bIgnoreInActivePulses, false, false,
      pass.cReadLogger);
  if (lStatus == 1) {
    pass.lResult = 1;
    pass.sErrorMessage = CProbeRspClass::CoherenceWarningText();
    pass.bWarningGiven = true;
  }
  return lStatus == 0 || lStatus == 1;
}

bool ReadTextBlock(CProbeRspClass& f, ByteStream& block, const WalkedBlock& walked,
                   ReadPass& pass) {
  CRspInfoTextClass& infoText = *f.InfoText();
  if (infoText.ReadFromByteStream(block, pass.sErrorMessage, pass.cReadLogger) != 0) {
    return false;
  }
  infoText.SetSourceText(pass.sBanner + "\n\n" + infoText.SourceText());
  // The repaired header is not used to step on: the walk keeps the length read from the
  // file, as the readers of these files always have.
  if (walked.header.Vrsn() == 0 && !IsFlagSet(walked.header.flags(), kBlockFlagLast) &&
      !pass.bProbeInfoRead) {
    CRspBlockHeaderClass header = walked.header;
    CProbeRspClass::RepairOldTextBlockHeader(pass.file, static_cast<int32_t>(walked.lOffset),
                                             header);
  }
  return true;
}

// The one table from block kind to reader, in BlockKind order.
constexpr std::array<BlockReader, kKnownBlockKindCount> kBlockReaders{
    ReadProbeBlock, ReadLspBlock,     ReadObstBlock, ReadTailBlock,
    ReadPredBlock,  ReadLocalRTBlock, ReadPulsBlock, ReadTextBlock};

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
  return ReadThrough([&](ByteStream& stream) { OpenResponseFile(stream, sPath, sFile); }, sPath,
                     sFile, bIsDefaultLocalRT, sAppVrsnString, nRaysPerLspk, fCutOffTime,
                     sErrorMessage, cBusy, bIgnoreInActivePulses, cReadLogger);
}

int32_t CProbeRspClass::ReadRSPStream(std::istream& cFile, const std::string& sPath,
                                      const std::string& sFile, bool bIsDefaultLocalRT,
                                      const std::string& sAppVrsnString, int32_t& nRaysPerLspk,
                                      float& fCutOffTime, std::string& sErrorMessage,
                                      BusyIndicator* cBusy, bool bIgnoreInActivePulses,
                                      Logger* cReadLogger) {
  return ReadThrough([&](ByteStream& stream) { stream.ReadFromOpenFile(cFile); }, sPath, sFile,
                     bIsDefaultLocalRT, sAppVrsnString, nRaysPerLspk, fCutOffTime, sErrorMessage,
                     cBusy, bIgnoreInActivePulses, cReadLogger);
}

int32_t CProbeRspClass::ReadRSPBytes(std::span<const uint8_t> bytes, const std::string& sPath,
                                     const std::string& sFile, bool bIsDefaultLocalRT,
                                     const std::string& sAppVrsnString, int32_t& nRaysPerLspk,
                                     float& fCutOffTime, std::string& sErrorMessage,
                                     BusyIndicator* cBusy, bool bIgnoreInActivePulses,
                                     Logger* cReadLogger) {
  return ReadThrough([&](ByteStream& stream) { stream.LoadFromBytes(bytes); }, sPath, sFile,
                     bIsDefaultLocalRT, sAppVrsnString, nRaysPerLspk, fCutOffTime, sErrorMessage,
                     cBusy, bIgnoreInActivePulses, cReadLogger);
}

int32_t CProbeRspClass::ReadThrough(const std::function<void(ByteStream&)>& attach,
                                    const std::string& sPath, const std::string& sFile,
                                    bool bIsDefaultLocalRT, const std::string& sAppVrsnString,
                                    int32_t& nRaysPerLspk, float& fCutOffTime,
                                    std::string& sErrorMessage, BusyIndicator* cBusy,
                                    bool bIgnoreInActivePulses, Logger* cReadLogger) {
  fileHeader_ = CFileHeaderClass();
  readStop_.reset();
  return GuardedRead(sFile, sErrorMessage, [&] {
    EmptyModel(cBusy);  // also when the stream cannot be set up
    ByteStream stream;
    attach(stream);
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
  sErrorMessage.clear();
  EmptyModel(cBusy);
  BlockWalk walk(stream);
  // An absent or empty file is an empty response, not an error.
  if (walk.Verdict() == FileVerdict::kEmpty) return 0;
  readStop_ = walk.Place();
  if (walk.Verdict() == FileVerdict::kShort) RaiseError(kErrPastEnd);
  fileHeader_ = walk.FileHeader();
  if (cReadLogger != nullptr) fileHeader_.PrintToLogger(*cReadLogger);
  if (walk.Verdict() != FileVerdict::kResponseFile) {
    sErrorMessage = FileVerdictText(walk.Verdict());
    return -1;
  }

  CProbeInfoClass& probeInfo = *Required(ProbeInfo());
  ReadPass pass{stream,      sErrorMessage,
                cBusy,       bIgnoreInActivePulses,
                cReadLogger, nRaysPerLspk,
                fCutOffTime, sAppVrsnString + " Response File: " + "\n" + sPath + sFile};
  ByteStream blockScratch;
  while (walk.Next()) {
    const WalkedBlock& block = walk.Block();
    readStop_ = walk.Place();
    if (cReadLogger != nullptr) {
      cReadLogger->PrintLine("");
      cReadLogger->PrintValue("Addr ", std::to_string(block.lOffset));
      block.header.PrintToLogger(*cReadLogger);
    }
    // Each block class reads its header again, from a stream that holds just its block; a
    // block without a length ends the walk, any other identifier is stepped over.
    if (!block.HasLength() || !block.IsKnown()) continue;
    const BlockReader read = kBlockReaders[static_cast<size_t>(block.eKind)];
    if (!read(*this, BlockStream(stream, block, blockScratch), block, pass)) return pass.lResult;
  }
  switch (walk.End()) {
    case WalkEnd::kShortHeader:
      readStop_ = walk.Place();
      if (cReadLogger != nullptr) {
        cReadLogger->PrintLine("");
        cReadLogger->PrintValue("Addr ", std::to_string(walk.Place().lOffset));
      }
      RaiseError(kErrPastEnd);
    case WalkEnd::kBeyondLimit:
      RaiseError(kErrOverflow);
    default:
      break;
  }
  readStop_.reset();
  int32_t lResult = pass.lResult;

  if (!probeInfo.IsVexaSpecified_b()) {
    const std::string sVexaMark = "Vexa Calculation" + kCRLF + "Length [ms]: ";
    probeInfo.SetIsVexaResponse_b(InfoText()->SourceText().find(sVexaMark) != std::string::npos);
  }
  probeInfo.SetIsVexaSpecified_b(true);

  if (probeInfo.IsVexaResponse_b() && fileHeader_.Vrsn() < kFileVersionLineArrays &&
      !pass.bWarningGiven && LacksCoherenceInformation()) {
    lResult = 1;
    sErrorMessage = CoherenceWarningText();
  }

  if (probeInfo.IsLocalRTInfo_b() && bIsDefaultLocalRT) {
    for (int32_t iBand = 1; iBand <= 21; ++iBand) {
      probeInfo.SetPrRTime(iBand, LocalRTInfo()->LocalRTime(iBand));
    }
    probeInfo.SetPrRTType(kRTTypeLocal);
  }

  Rsp()->Pulses()->SetDataOrigin(PB_EOrigin_ZYRAFile);
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
  fileHeader.SetIDfx(kResponseFileKind);
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
