// The small pictures the views draw: the animated hot-spot marker of a cursor document and the
// eye switch of the layer list. They are made here, in code, so no resource file is needed.
//
//   const SpriteSheet& marks = HotspotSprites();
//   DrawMaskedSprite(canvas, corner.x, corner.y, marks.Picture, HotspotSpriteX(tick), 32);
#pragma once

#include <cstdint>

#include "core/pixel_buffer.h"

namespace brv {

// Frames of FrameSize square side by side: the image in rows 0 .. FrameSize - 1, the mask
// below it in rows FrameSize .. 2 * FrameSize - 1. Drawn as a mask-and-image pair: where the mask
// is white and the image black the screen stays, where the mask is black the image's colour
// shows, where both are white the screen is inverted.
struct SpriteSheet {
    PixelBuffer Picture;  // rows top-down, alpha 255
    int32_t FrameCount = 0;
    int32_t FrameSize = 0;
};

// The hot-spot marker, eight frames of 32 by 32: a ring of dashes that turns one step a frame
// around an inverting cross whose middle is the hot-spot pixel.
const SpriteSheet& HotspotSprites();

// The x of frame index in the sheet; any index, the frames repeat.
int32_t HotspotSpriteX(int64_t index);

// The eye switch of the layer list: 32 by 16, the closed eye at x 0, the open one at x 16,
// drawn as it is (opaque).
const PixelBuffer& EyeSprites();

// The source x of the eye for a layer's Visible value.
inline int32_t EyeSourceX(int32_t visible) {
    return visible != 0 ? 16 : 0;
}

// Draws frame (srcX, 0, size, size) of a sheet into a top-down picture with its corner at
// (x, y): each colour byte becomes (byte AND mask) XOR image, as a raster AND with the mask
// followed by a raster XOR with the image does. Alpha is left alone; what falls outside the
// picture is clipped.
void DrawMaskedSprite(PixelBuffer& target, int32_t x, int32_t y, const PixelBuffer& sheet,
                      int32_t srcX, int32_t size);

}  // namespace brv
