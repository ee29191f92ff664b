// The two tool windows that show a document beside its own window, computed without a window:
// the guide (the whole picture fitted into 128 by 128, the viewport on it, the zoom slider)
// and the layer list (rows of 54 pixels, top layer first).
//
//   GuideView guide;                                  // kept by the guide window
//   GuideFrame g = RedrawGuide(doc, guide, state.BackgroundTile, false);
//   LayerListLayout list = LayoutLayerList(doc, listHeight, scrollValue);
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/document.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// ---- The guide window ----

inline constexpr int32_t kGuideSide = 128;

// What the guide window keeps between redraws.
struct GuideView {
    PixelBuffer GuideBuffer{kGuideSide, kGuideSide};  // the fitted picture, rows bottom-up
    int32_t FittedWidth = 0, FittedHeight = 0;
    int32_t MarginX = 0, MarginY = 0;  // where the fitted picture sits in the 128 by 128 box
    RectI Viewport;                    // the last viewport rectangle, for clicks
};

struct GuideFrame {
    bool Composed = false;  // GuideBuffer was rebuilt: show it with its corner at the margins
    RectI Outer;            // the viewport, drawn with the first pen
    RectI Inner;            // the same inset by one pixel, drawn with the second pen
};

// Fits the document into the box, recomposes GuideBuffer from the visible layers unless
// bNoCompose, and places the viewport from the document's last view.
GuideFrame RedrawGuide(const DocumentRecord& doc, GuideView& guide, const PixelBuffer& background,
                       bool bNoCompose);

// The zoom slider and the zoom text from a zoom.
struct GuideSlider {
    int32_t Position = 0;  // round((Zoom * 2^36) ^ (1/3)), at least 100
    std::string Text;      // Int(Zoom * 100)
};
GuideSlider hs2Rev(double zoom);

// The zoom a slider position stands for, (position / 4096) ^ 3; the caller passes it to
// ZoomChange (absolute).
double hs2(int32_t position);

// A click or drag at (x, y) in the guide picture: the scroll positions it asks for, each from
// the point's place in the fitted picture, scaled to 0 .. 32767 and held there. Sets
// HScrollPos and VScrollPos; the caller redraws.
void ChangePos(DocumentRecord& doc, const GuideView& guide, int32_t x, int32_t y);

// ---- The layer list ----

inline constexpr int32_t kLayerRowHeight = 54;
inline constexpr int32_t kLayerThumbnailSide = 48;
inline constexpr int32_t kOffsetTextRed = 0x0000FF;  // 0x00BBGGRR
inline constexpr int32_t kOffsetTextWhite = 0xFFFFFF;

// One row of the list, all positions in list pixels.
struct LayerRow {
    int32_t Lid = 0;
    int32_t Top = 0;          // the row covers Top .. Top + 53
    bool Active = false;      // the row of ActiveLID, filled with the highlight colour
    PointI ThumbnailAt;       // a 48 by 48 LayerThumbnail
    std::string OffsetText;   // "X:" x " Y:" y
    int32_t OffsetColor = 0;  // red when the layer is moved, else white
    PointI OffsetTextAt;
    std::string_view ShowLabel;  // "表示"
    PointI ShowLabelAt;
    PointI EyeAt;            // the 16 by 16 eye switch
    int32_t EyeSourceX = 0;  // in EyeSprites(): 16 open, 0 closed
};

struct LayerListLayout {
    bool ScrollBarVisible = false;  // the rows don't fit the height
    int32_t ScrollMax = 0;          // how far the rows can scroll, when the bar shows
    std::vector<LayerRow> Rows;     // the rows that reach into the height, top layer first
};

LayerListLayout LayoutLayerList(const DocumentRecord& doc, int32_t listHeight, int32_t scroll);

// A layer's thumbnail: the layer alone (no offset) scaled to side by side over the background,
// rows bottom-up. Empty when the layer has no pixels.
PixelBuffer LayerThumbnail(const LayerRecord& layer, const PixelBuffer& background,
                           int32_t side = kLayerThumbnailSide);

// The LID of the row under a point y of the list (in twips), held to the rows that exist; 0
// for a document with no layer.
int32_t GetLID(int32_t layerCount, double yTwips, double twipsPerPixelY, int32_t scroll);

// 1 when the point (in twips) is on a row's eye switch, else 0.
int32_t GetIconPos(double xTwips, double yTwips, double twipsPerPixelX, double twipsPerPixelY,
                   int32_t scroll);

}  // namespace brv
