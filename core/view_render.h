// What a document window shows, computed without a window: the composited block, where it
// goes, and the overlays (grid, selection outline, hot-spot marker) as drawing data.
//
//   ViewFrame frame = RedrawAll(doc, clientSize, state.BackgroundTile, timer.AntsPhase);
//   // paint: clear; doc.ViewPixels (bottom-up) at frame.BlockOrigin; frame.Grid; frame.Ants
//
// The window owns a ViewTimer for the marching ants and the hot-spot animation, and calls
// TimerTick from its timer for the active document.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/document.h"
#include "core/host.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// Pen styles as the platform numbers them.
enum class PenStyle : int32_t { Solid = 0, Dot = 2 };

// Lines in one pen, as one poly-polyline call takes them: Counts[i] points make polyline i.
struct PolyPolyline {
    PenStyle Style = PenStyle::Solid;
    int32_t Color = 0;  // 0x00BBGGRR
    std::vector<PointI> Points;
    std::vector<int32_t> Counts;
};

// One pass of the marching ants: both outlines of the document (OutlinePoints and then
// OutlineShadow, each cut into polylines by OutlineLengths) drawn in this pen.
struct AntsPass {
    PenStyle Style = PenStyle::Solid;
    int32_t Color = 0;
};

// Where the hot-spot sprite goes: its 32 by 32 frame at SpriteX in HotspotSprites(), with its
// corner at Corner in client pixels.
struct HotspotMark {
    PointI Corner;
    int32_t SpriteX = 0;
};

enum class ViewAction {
    Keep,   // leave the window as it is (no document, or the compositor failed)
    Clear,  // no visible layer: clear the window and draw nothing else
    Paint,  // clear, draw the block, then the overlays
};

struct ViewFrame {
    ViewAction Action = ViewAction::Keep;
    // The block is the document's ViewPixels, BlockWidth by BlockHeight with rows bottom-up,
    // drawn with its top-left corner at BlockOrigin (client pixels).
    int32_t BlockWidth = 0;
    int32_t BlockHeight = 0;
    PointI BlockOrigin;
    // The client pixels whose picture may have changed, right and bottom exclusive; a window
    // may repaint just these.
    RectI Changed;
    std::optional<PolyPolyline> Grid;  // set when the grid is on
    std::vector<AntsPass> Ants;        // empty without a selection
};

// The window's animation state: a tick counter (the hot-spot frame) and the ants' phase,
// shared by all documents.
struct ViewTimer {
    int64_t Counter = 0;
    int32_t AntsPhase = 0;  // 0 or 1
};

struct TimerFrame {
    std::vector<AntsPass> Ants;
    std::optional<HotspotMark> Hotspot;
};

// The zoom the compositor samples by: the zoom in whole percents, rounded (the mapping
// functions truncate instead; the two differ by a percent at some zooms, and that is intended).
int32_t CompositorZoomPercent(const DocumentRecord& doc);

// Composites the whole visible part of the document into a new ViewPixels and records the view
// (ViewLeft .. ViewOffsetY), the outline of the selection and the overlays. Does nothing for a
// slot not in use.
ViewFrame RedrawAll(DocumentRecord& doc, Size client, const PixelBuffer& background,
                    int32_t antsPhase);

// Composites the document pixels of retDirty (normalised first, and written back so) into the
// existing ViewPixels. A compositor failure shows "KRDErr" and keeps the window as it was; so
// does a ViewPixels whose size no longer matches the client (a resize must RedrawAll first).
ViewFrame RedrawDirty(DocumentRecord& doc, Host& host, Size client, const PixelBuffer& background,
                      int32_t antsPhase, RectI& retDirty);

// Grid lines every GridSize image pixels across the document, in client coordinates; no lines
// for a GridSize under 1.
PolyPolyline DrawGrid(const DocumentRecord& doc);

// One segment for each side of a selected pixel that borders an unselected one or the edge, in
// client coordinates, into OutlineCount, OutlinePoints, OutlineLengths and OutlineShadow.
void BuildOutline(DocumentRecord& doc);

// The two passes of the ants, or none without a selection; unless bKeepPhase, the phase flips
// first.
std::vector<AntsPass> DrawMarchingAnts(const DocumentRecord& doc, int32_t& antsPhase,
                                       bool bKeepPhase);

// The hot-spot marker with sprite frame index, or nothing when ShowHotspot is off.
std::optional<HotspotMark> DrawHotspot(const DocumentRecord& doc, int64_t index);

// One tick of the frame's timer: the counter moves on, and for a document (the active one, or
// nullptr) the ants move and the hot-spot frame changes.
TimerFrame TimerTick(ViewTimer& timer, const DocumentRecord* active);

// Sets the zoom: with bRelative the value multiplies the present zoom; then 500.0 and above
// give 500.0 and under 0.1 gives 0.1. Returns the new zoom; the caller redraws. A value that is
// not a number leaves the zoom alone.
double ZoomChange(DocumentRecord& doc, double value, bool bRelative);

}  // namespace brv
