// A picture file drawn once through Cairo and written as SVG, PNG or PDF by its extension.
#ifndef ZYRA_TOOLS_PICTURE_H_
#define ZYRA_TOOLS_PICTURE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <cairo.h>

namespace zyra::tool {

enum class PictureFormat { kSvg, kPng, kPdf };

// The extension of a path's file name as written (".Svg"), empty when the name has none.
std::string ExtensionOf(const std::string& sPath);

// The format named by the extension (.svg, .png, .pdf in any case); no value for any other.
std::optional<PictureFormat> PictureFormatOf(const std::string& sPath);

// The page in points (1/72 inch); a PNG has kPngScale pixels per point, so that it stays sharp
// on dense screens.
struct PictureSize {
  double dWidth = 0.0;
  double dHeight = 0.0;
};
inline constexpr double kPngScale = 2.0;

// Draws onto a page of the picture's size, origin top left, y downwards.
using DrawPicture = std::function<void(cairo_t*)>;

// The whole file of the picture. Throws RuntimeError (7 when Cairo runs out of memory, 5 for
// any other Cairo failure, its message in the description).
std::vector<uint8_t> RenderPicture(PictureFormat eFormat, PictureSize size,
                                   const DrawPicture& draw);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_PICTURE_H_
