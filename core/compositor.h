// The compositor: how a stack of layers becomes the pixels of a view, a thumbnail or one
// flattened picture.
//
//   std::vector<LayerRef> layers = VisibleLayerRefs(doc);     // bottom layer first
//   int32_t rc = CalcLayers({layers, doc.Width, doc.Height}, TileRefOf(state.BackgroundTile),
//                           DestRefOf(doc.ViewPixels), 800, 100, viewRect, dirtyRect);
//
// The stacking rule is not the usual "over": walking from the top layer down, alpha adds up to
// a ceiling of 255 and each colour channel is mixed with two truncating divisions. Every
// result here is fixed bit for bit by that rule; the fast paths are checked against a plain
// reimplementation in the tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "core/document.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// Result codes of the compositor; 0 is success.
inline constexpr int32_t kCompositeOk = 0;
inline constexpr int32_t kCompositeBadSize = -1;         // a size is zero, negative or too big
inline constexpr int32_t kCompositeBufferMismatch = -2;  // a buffer is not as big as its size
inline constexpr int32_t kCompositeBadZoom = -3;         // zoom percent or base under 1
inline constexpr int32_t kCompositeBadRect = -4;         // an inverted dirty rectangle
inline constexpr int32_t kCompositeNoMemory = -5;

// The one text the user ever sees for a compositor failure, whatever the code.
std::string_view CompositorErrorText(int32_t code);

// One layer as the compositor reads it: Width * Height pixels of 4 bytes, rows top-down,
// placed with its (0,0) at (OffsetX, OffsetY) of the document.
struct LayerRef {
    std::span<const uint8_t> Pixels;
    int32_t OffsetX = 0;
    int32_t OffsetY = 0;
};

// The layers to composite, lowest first, all of the document's size.
struct LayerStack {
    std::span<const LayerRef> Layers;
    int32_t Width = 0;
    int32_t Height = 0;
};

// The transparency background, rows top-down; it repeats when the view is larger.
struct TileRef {
    std::span<const uint8_t> Bytes;
    int32_t Width = 0;
    int32_t Height = 0;
};

// A destination: Width * Height pixels of 4 bytes, rows bottom-up as the screen takes them.
struct DestRef {
    std::span<uint8_t> Bytes;
    int32_t Width = 0;
    int32_t Height = 0;
};

inline TileRef TileRefOf(const PixelBuffer& p) {
    return {p.Bytes(), p.Width(), p.Height()};
}
inline DestRef DestRefOf(PixelBuffer& p) {
    return {p.Bytes(), p.Width(), p.Height()};
}

// The visible layers of a document (LID 1 .. n with Visible not 0), lowest first.
std::vector<LayerRef> VisibleLayerRefs(const DocumentRecord& doc);

// Composites the view of a document. A destination pixel (i, j), j counted from the top of the
// view, shows the document pixel (floor((viewRect.left + i) * zoomBase / zoomPercent), the same
// for y with viewRect.top): nearest sampling at every zoom, below 100% too. Only pixels whose
// document position lies inside the document and inside dirtyRect (inclusive, in document
// pixels) are written; all others keep their bytes. The background pixel is the tile's pixel at
// (i, j), wrapped. Written pixels have alpha 255. viewRect's right and bottom are not read: the
// destination's size says how much is shown.
// Returns 0, or a negative code for arguments that don't fit their buffers; nothing is read
// or written then.
int32_t CalcLayers(const LayerStack& stack, const TileRef& background, const DestRef& dest,
                   int32_t zoomPercent, int32_t zoomBase, const RectI& viewRect,
                   const RectI& dirtyRect);

// Scales the whole document into the destination (a thumbnail) and composites it over the
// background, every pixel written. Destination pixel i samples source column
// floor((2i + 1) * Width / (2 * DestWidth)), the source pixel under the centre of its cell; rows
// alike. The caller chooses the destination size (and so whether the aspect is kept).
int32_t CalcLayersEasy(const LayerStack& stack, const TileRef& background, const DestRef& dest);

// The stack flattened into one picture of Width by Height, zero-filled where no layer
// reaches, rows top-down, alpha as accumulated. A layer is walked over its own size, so a
// layer whose buffer is not of the document's size still lands where its pixels say.
// backColor is accepted for the save paths that pass one (see the .cpp). Returns 0, or
// kCompositeNoMemory.
int32_t FlattenLayers(const DocumentRecord& doc, PixelBuffer& retPixels, int32_t bWithBackground,
                      int32_t backColor);

// The colour shown in the status line for a document pixel: every layer from LID 1 up, with
// neither offsets nor visibility taken into account. nullopt outside the document.
std::optional<Bgra> PixelUnderPointer(const DocumentRecord& doc, int32_t x, int32_t y);

// For the tests: each way of computing the same results, so that all of them are checked on
// processors that can run them.
namespace compositor_detail {
enum class Kernel {
    Portable,  // one pixel at a time, plain C++
    Avx2,      // sixteen pixels at a time, chosen at run time where the processor has AVX2
};
bool KernelAvailable(Kernel kernel);
Kernel BestKernel();
// floor(n / t) for n <= 65025 and 1 <= t <= 255, as the one-pixel code computes it.
uint32_t DivideByAlpha(uint32_t n, uint32_t t);
// One step of the rule for sixteen pixels at once: the lower pixels join the accumulated ones,
// which must have colour 0 where their alpha is 0.
void StepSixteenPixels(Kernel kernel, uint8_t accumulated[64], const uint8_t lower[64]);
int32_t CalcLayersUsing(Kernel kernel, const LayerStack& stack, const TileRef& background,
                        const DestRef& dest, int32_t zoomPercent, int32_t zoomBase,
                        const RectI& viewRect, const RectI& dirtyRect);
int32_t CalcLayersEasyUsing(Kernel kernel, const LayerStack& stack, const TileRef& background,
                            const DestRef& dest);
}  // namespace compositor_detail

}  // namespace brv
