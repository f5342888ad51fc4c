#include "tools/picture.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <memory>

#include "zyra/support/errors.h"

namespace zyra::tool {
namespace {

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDeleter {
  void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using Context = std::unique_ptr<cairo_t, ContextDeleter>;

// Cairo hands the file over in pieces; they are collected so that the caller can write the
// whole file at once (or not at all).
cairo_status_t Collect(void* closure, const unsigned char* data, unsigned int length) {
  auto& bytes = *static_cast<std::vector<uint8_t>*>(closure);
  bytes.insert(bytes.end(), data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

void Check(cairo_status_t status) {
  if (status == CAIRO_STATUS_SUCCESS) return;
  throw RuntimeError(status == CAIRO_STATUS_NO_MEMORY ? kErrOutOfMemory : kErrInvalidCall,
                     std::string("cannot draw the picture: ") + cairo_status_to_string(status));
}

}  // namespace

std::string ExtensionOf(const std::string& sPath) {
  const std::size_t slash = sPath.rfind('/');
  const std::size_t dot = sPath.rfind('.');
  // A leading dot names a hidden file, not an extension.
  const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
  if (dot == std::string::npos || dot <= nameStart) return "";
  return sPath.substr(dot);
}

std::optional<PictureFormat> PictureFormatOf(const std::string& sPath) {
  std::string extension = ExtensionOf(sPath);
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == ".svg") return PictureFormat::kSvg;
  if (extension == ".png") return PictureFormat::kPng;
  if (extension == ".pdf") return PictureFormat::kPdf;
  return std::nullopt;
}

std::vector<uint8_t> RenderPicture(PictureFormat eFormat, PictureSize size,
                                   const DrawPicture& draw) {
  std::vector<uint8_t> bytes;
  Surface surface;
  switch (eFormat) {
    case PictureFormat::kSvg:
      surface.reset(
          cairo_svg_surface_create_for_stream(Collect, &bytes, size.dWidth, size.dHeight));
      break;
    case PictureFormat::kPdf:
      surface.reset(
          cairo_pdf_surface_create_for_stream(Collect, &bytes, size.dWidth, size.dHeight));
      break;
    case PictureFormat::kPng:
      surface.reset(cairo_image_surface_create(
          CAIRO_FORMAT_ARGB32, static_cast<int>(std::lround(size.dWidth * kPngScale)),
          static_cast<int>(std::lround(size.dHeight * kPngScale))));
      break;
  }
  Check(cairo_surface_status(surface.get()));
  {
    const Context cr(cairo_create(surface.get()));
    if (eFormat == PictureFormat::kPng) cairo_scale(cr.get(), kPngScale, kPngScale);
    draw(cr.get());
    Check(cairo_status(cr.get()));
  }
  if (eFormat == PictureFormat::kPng) {
    cairo_surface_flush(surface.get());
    Check(cairo_surface_write_to_png_stream(surface.get(), Collect, &bytes));
  } else {
    // Finishing writes the rest of the document through Collect.
    cairo_surface_finish(surface.get());
  }
  Check(cairo_surface_status(surface.get()));
  return bytes;
}

}  // namespace zyra::tool
