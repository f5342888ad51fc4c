#include "tools/save_image.h"

#include "tools/commands.h"
#include "zyra/facade/file_access.h"
#include "zyra/support/byte_stream.h"

namespace zyra::tool {

std::vector<uint8_t> SaveImage(CProbeRspClass& cFile, const std::string& sOutPath,
                               const ReadOutcome& read) {
  const SplitPath split = SplitFilePath(sOutPath);
  return cFile.BuildSaveImage(split.sPath, split.sFile, AppVersionString(),
                              cFile.Pred()->DelayTime(), read.nRaysPerLspk, read.fCutOffTime);
}

void WriteSaveImageToFile(CProbeRspClass& cFile, const std::string& sOutPath,
                          const ReadOutcome& read, const std::string& sFileName) {
  const SplitPath split = SplitFilePath(sOutPath);
  ByteStream stream;
  stream.OpenFileForWriting(sFileName);
  cFile.WriteSaveImage(stream, split.sPath, split.sFile, AppVersionString(),
                       cFile.Pred()->DelayTime(), read.nRaysPerLspk, read.fCutOffTime);
  stream.CloseFile();
}

std::vector<uint8_t> ReproducibleImage(CProbeRspClass& cFile) {
  ByteStream stream;
  cFile.SaveToByteStream(stream);
  return stream.TakeBytes();
}

}  // namespace zyra::tool
