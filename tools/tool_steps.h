// The canvas steps of the fill, retouch, shape, move, pick and hot spot tools. PenStep,
// CanvasDrag and CanvasUp (freehand.h) pick one of these by the pen's Tool; each returns what
// the canvas is to do, in the same CanvasActions as the freehand tools.
//
// Coordinates: x, y are the pointer in the window's twips; ix, iy the same point in the active
// layer's coordinates, as ViewToImageX and ViewToImageY give it.
#pragma once

#include <cstdint>
#include <optional>

#include "core/document.h"
#include "tools/freehand.h"

namespace brv {

// Tool 5, on the press: the flood fill of the active layer, or with "fill the layer below"
// the shape taken from the layer below and the paint landing on the active layer.
CanvasActions FillPress(const PaintContext& ctx, DocumentRecord& doc, int32_t ix, int32_t iy);
// The end of a fill of the layer below: every pixel of `below` that differs from its Backup is
// copied onto `active` where it lies there (by the two offsets), then `below` takes its Backup
// back. The layer below only gives the shape; the paint lands on the active layer.
void LandOnActiveLayer(LayerRecord& active, LayerRecord& below);

// Tools 11, 12, 13, 15: one step of the stroke from (fromX, fromY) to (ix, iy), in its
// selection bracket, and its line. Returns the document rectangle to refresh.
std::optional<RectI> RetouchStep(const PaintContext& ctx, DocumentRecord& doc, int32_t fid,
                                 int32_t tool, int32_t ix, int32_t iy, int32_t fromX,
                                 int32_t fromY);

// Tools 4, 10, 14 and 7 on the press: the picture is kept and the anchor (or the grip) taken.
void ShapePress(const PaintContext& ctx, DocumentRecord& doc, int32_t tool, int32_t ix, int32_t iy);
// Tools 4, 10, 14 on a move: the picture back from Backup and the shape drawn anew to the
// pointer; the line waits in PendingAction until the release.
CanvasActions ShapeDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t tool,
                        double x, double y);
// Tool 7 on a move: the active layer's offset follows the pointer, in document coordinates
// with the grid's snap.
CanvasActions LayerMoveDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, double x,
                            double y);

// Tool 8: the colour seen under the pointer becomes the pen's colour and transparency. false
// when nothing was picked (the point lies outside a visible layer).
bool PickColor(CoreState& state, int32_t fid, int32_t lid, double x, double y);

// Tool 16 on the release: the hot spot goes where the pointer is, inside the document.
CanvasActions HotspotUp(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, double x,
                        double y);

}  // namespace brv
