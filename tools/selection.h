// The selection: the two selection tools on the canvas, the mask they make, and taking the
// selected pixels out of a document.
//
//   // press, moves, release of "選択2" from (2, 3) to (6, 5), as the canvas drives it:
//   CanvasActions a = PenStep(ctx, fid, kLeftButton, 0, x0, y0, clock);   // RedrawAll
//   a = CanvasDrag(ctx, fid, kLeftButton, 0, x1, y1, clock);               // a.RubberBand
//   a = CanvasUp(ctx, fid, kLeftButton, shift, x1, y1, clock);             // mask made
//
// The mask is the document's Selection, a byte for each pixel, 1 selected. Every other part
// reads it as it stands; a selection "exists" for them once a full redraw has counted its
// outline (OutlineCount at least 1).
#pragma once

#include <cstdint>
#include <vector>

#include "core/core_state.h"
#include "core/document.h"
#include "core/pixel_buffer.h"
#include "tools/freehand.h"

namespace brv {

// SelectionBounds's result when no byte of the mask is 1.
inline constexpr int32_t kNoSelection = -1;

// The smallest rectangle (inclusive) holding every byte equal to 1. Returns 0, or kNoSelection.
int32_t SelectionBounds(const DocumentRecord& doc, RectI& retRect);

// Turns a closed polygon (document coordinates; the release repeats the first point at the
// end) into the mask: its edges as one-pixel lines, and everything they cut off from the
// outside, so a self-crossing polygon selects all of its inner areas. With bAdd the result is
// added to the mask, else it replaces it. No points: nothing happens. The caller redraws.
void MakeSelection(DocumentRecord& doc, const std::vector<PointF>& points, bool bAdd);

// Copies the selected part of layer LID (or, for LID 0 or any LID that is no layer, of the
// visible layers flattened) into retPixels, the bounds' size; what is not selected is zero.
// On a layer the mask is read at document positions and the pixels at the same place less
// the layer's offset. With bCut the copied pixels become zero and their mask bytes 0: on one
// layer where they were taken, with LID 0 in every layer at the document position with no
// offset at all (moved layers lose other pixels than those copied; intended). Returns 0, or
// kNoSelection with nothing changed. retRect, when given, gets the bounds.
int32_t TakeSelection(DocumentRecord& doc, PixelBuffer& retPixels, int32_t LID, bool bCut,
                      RectI* retRect);

// "選択範囲を解除": when a selection exists the mask becomes all zero and its line is recorded.
// Returns true when it did something; the caller then redraws fully and saves an undo step.
bool ClearSelection(CoreState& state, int32_t fid, const MaskEncoder& encodeMask);

// ---- the canvas steps of tools 6 ("選択１", free polygon) and 9 ("選択2", rectangle) -----

// The press: the old rubber band is cleared and the polygon starts at the pointer.
CanvasActions SelectionPress(const PaintContext& ctx, int32_t fid, int32_t tool, double x,
                             double y);
// A move with the left button: a point more (tool 6) or the rectangle's corners (tool 9).
CanvasActions SelectionDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t tool,
                            double x, double y, bool scrolled);
// The release: the polygon is closed and becomes the mask, added to it while the left Shift
// key is down. A drag the right button cancelled changes nothing.
CanvasActions SelectionUp(const PaintContext& ctx, DocumentRecord& doc, bool bAdd, bool cancelled);

// The rubber band as the window draws it: each point mapped to client pixels and held inside
// the view's block.
std::vector<PointI> RubberBandPoints(const DocumentRecord& doc, const std::vector<PointF>& points);

}  // namespace brv
