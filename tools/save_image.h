// The bytes of a response file as the library's writer builds them, for the tool's atomic
// writes.
#ifndef ZYRA_TOOLS_SAVE_IMAGE_H_
#define ZYRA_TOOLS_SAVE_IMAGE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "zyra/facade/response.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra::tool {

// Exactly the image SaveRSPFile would write for sOutPath: the probe and prediction info
// updated as it does them (the prediction's own DelayTime, nRaysPerLspk and fCutOffTime as the
// read returned them), the prefix naming the tool, OUT's folder and name.
std::vector<uint8_t> SaveImage(CProbeRspClass& cFile, const std::string& sOutPath,
                               const ReadOutcome& read);

// SaveImage written straight to the file sFileName (emptied or created) as it is made; error 75
// when the file cannot be written.
void WriteSaveImageToFile(CProbeRspClass& cFile, const std::string& sOutPath,
                          const ReadOutcome& read, const std::string& sFileName);

// The image without an info-text prefix, so that the same model always gives the same bytes.
std::vector<uint8_t> ReproducibleImage(CProbeRspClass& cFile);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_SAVE_IMAGE_H_
