#include "tools/selection.h"

#include <algorithm>
#include <cstring>

#include "core/compositor.h"
#include "core/documents.h"
#include "tools/flood_fill.h"
#include "tools/stamp.h"

namespace brv {

namespace {

// The outline's grey and the threshold that takes it for inside: the fill from outside turns
// everything it reaches white (255), edges stay 128, the enclosed inside 0.
constexpr int32_t kEdgeColor = 0x808080;
constexpr uint8_t kInsideBelow = 129;

size_t MaskIndex(const SelectionMask& mask, int32_t x, int32_t y) {
    return static_cast<size_t>(y) * static_cast<size_t>(mask.width) + static_cast<size_t>(x);
}

bool MaskFits(const SelectionMask& mask) {
    return mask.width >= 0 && mask.height >= 0 &&
           mask.bytes.size() == static_cast<size_t>(mask.width) * static_cast<size_t>(mask.height);
}

// The mask of the document's size; a mask of another shape (never made by the program) is
// replaced by an empty one.
SelectionMask& FittedMask(DocumentRecord& doc) {
    SelectionMask& sel = doc.Selection;
    if (sel.width != doc.Width || sel.height != doc.Height || !MaskFits(sel)) {
        sel.width = doc.Width;
        sel.height = doc.Height;
        sel.bytes.assign(static_cast<size_t>(doc.Width) * static_cast<size_t>(doc.Height), 0);
    }
    return sel;
}

bool RowHasOne(const SelectionMask& mask, int32_t y) {
    const uint8_t* row = mask.bytes.data() + MaskIndex(mask, 0, y);
    return std::memchr(row, 1, static_cast<size_t>(mask.width)) != nullptr;
}

bool ColumnHasOne(const SelectionMask& mask, int32_t x, int32_t top, int32_t bottom) {
    for (int32_t y = top; y <= bottom; ++y)
        if (mask.bytes[MaskIndex(mask, x, y)] == 1) return true;
    return false;
}

PointF DocumentPoint(const CoreState& state, int32_t fid, double x, double y) {
    return {static_cast<float>(ViewToImageXEx(state, fid, x, -1, 0)),
            static_cast<float>(ViewToImageYEx(state, fid, y, -1, 0))};
}

int32_t LimitTo(float v, int32_t high) {
    // Points come from the pointer as whole numbers; NaN cannot arise but would read 0.
    if (!(v > 0.0f)) return 0;
    if (v >= static_cast<float>(high)) return high;
    return static_cast<int32_t>(v);
}

}  // namespace

int32_t SelectionBounds(const DocumentRecord& doc, RectI& retRect) {
    const SelectionMask& mask = doc.Selection;
    if (!MaskFits(mask) || mask.width < 1 || mask.height < 1) return kNoSelection;
    int32_t top = 0;
    while (top < mask.height && !RowHasOne(mask, top))
        ++top;
    if (top == mask.height) return kNoSelection;
    int32_t bottom = mask.height - 1;
    while (!RowHasOne(mask, bottom))
        --bottom;
    int32_t right = mask.width - 1;
    while (!ColumnHasOne(mask, right, top, bottom))
        --right;
    int32_t left = 0;
    while (!ColumnHasOne(mask, left, top, bottom))
        ++left;
    retRect = {left, top, right, bottom};
    return 0;
}

void MakeSelection(DocumentRecord& doc, const std::vector<PointF>& points, bool bAdd) {
    if (points.empty() || doc.Width < 1 || doc.Height < 1) return;
    // A border of one pixel all round keeps the outside connected for the fill.
    auto scratch = PixelBuffer::TryCreate(doc.Width + 2, doc.Height + 2);
    if (!scratch) return;
    PixelBuffer& t = *scratch;
    const int32_t maxX = doc.Width - 1, maxY = doc.Height - 1;
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        const int32_t x0 = LimitTo(points[i].x, maxX), y0 = LimitTo(points[i].y, maxY);
        const int32_t x1 = LimitTo(points[i + 1].x, maxX), y1 = LimitTo(points[i + 1].y, maxY);
        RectI unused;
        DrawLineStamps(t, x0 + 1, y0 + 1, x1 + 1, y1 + 1, 1, kEdgeColor, 1.0, unused, false, 0, 0,
                       false);
    }
    PixelBuffer white(1, 1);
    white.Set(0, 0, {255, 255, 255, 255});
    FloodFill(t, 0, 0, white, 0, 0, 0);

    SelectionMask& sel = FittedMask(doc);
    for (int32_t y = 0; y < doc.Height; ++y) {
        const uint8_t* row = t.PixelPtr(1, y + 1);
        uint8_t* out = sel.bytes.data() + MaskIndex(sel, 0, y);
        for (int32_t x = 0; x < doc.Width; ++x) {
            const uint8_t inside = row[4 * static_cast<size_t>(x)] < kInsideBelow ? 1 : 0;
            out[x] = bAdd ? static_cast<uint8_t>(out[x] | inside) : inside;
        }
    }
}

int32_t TakeSelection(DocumentRecord& doc, PixelBuffer& retPixels, int32_t LID, bool bCut,
                      RectI* retRect) {
    if (LID < 1 || LID > doc.LayerCount()) LID = 0;
    RectI r;
    if (SelectionBounds(doc, r) < 0) return kNoSelection;
    if (retRect) *retRect = r;

    PixelBuffer flat;
    if (LID == 0 && FlattenLayers(doc, flat, 0, 0xFFFFFF) < 0) return kNoSelection;
    LayerRecord* layer = LID == 0 ? nullptr : &doc.Layers[static_cast<size_t>(LID)];
    PixelBuffer& source = layer ? layer->Pixels : flat;
    const int32_t dx = layer ? layer->OffsetX : 0;
    const int32_t dy = layer ? layer->OffsetY : 0;

    auto taken = PixelBuffer::TryCreate(r.right - r.left + 1, r.bottom - r.top + 1);
    if (!taken) return kNoSelection;
    SelectionMask& mask = doc.Selection;
    // Column by column, as the cut clears the mask while it goes.
    for (int32_t x = r.left; x <= r.right; ++x) {
        for (int32_t y = r.top; y <= r.bottom; ++y) {
            const int64_t sx = int64_t{x} - dx, sy = int64_t{y} - dy;
            if (sx < 0 || sy < 0 || sx >= source.Width() || sy >= source.Height()) continue;
            uint8_t& selected = mask.bytes[MaskIndex(mask, x, y)];
            if (selected != 1) continue;
            uint8_t* from = source.PixelPtr(static_cast<int32_t>(sx), static_cast<int32_t>(sy));
            std::memcpy(taken->PixelPtr(x - r.left, y - r.top), from, 4);
            if (!bCut) continue;
            if (layer) {
                std::memset(from, 0, 4);
            } else {
                for (int32_t l = 1; l <= doc.LayerCount(); ++l) {
                    PixelBuffer& p = doc.Layers[static_cast<size_t>(l)].Pixels;
                    if (p.Contains(x, y)) std::memset(p.PixelPtr(x, y), 0, 4);
                }
            }
            selected = 0;
        }
    }
    retPixels = std::move(*taken);
    return 0;
}

bool ClearSelection(CoreState& state, int32_t fid, const MaskEncoder& encodeMask) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || doc->OutlineCount < 1) return false;
    SelectionMask& sel = doc->Selection;
    sel.width = doc->Width;
    sel.height = doc->Height;
    sel.bytes.assign(static_cast<size_t>(doc->Width) * static_cast<size_t>(doc->Height), 0);
    if (state.Recorder.Recording())
        RecordAction(state.Recorder, state.ActiveFID, "PenSelect", doc->ActiveLID,
                     {encodeMask ? encodeMask(sel) : std::string()});
    return true;
}

CanvasActions SelectionPress(const PaintContext& ctx, int32_t fid, int32_t tool, double x,
                             double y) {
    CanvasActions out;
    out.RedrawAll = true;
    std::vector<PointF>& points = ctx.Freehand.SelectPoints;
    const PointF p = DocumentPoint(ctx.State, fid, x, y);
    if (tool == 9) {
        // Five corners, the other four at (0, 0) until the first move sets them: a click
        // without a move selects the line from the point to the corner. Intended.
        points.assign(5, PointF{});
        points[0] = p;
    } else {
        points.assign(1, p);
    }
    return out;
}

CanvasActions SelectionDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t tool,
                            double x, double y, bool scrolled) {
    CanvasActions out;
    std::vector<PointF>& points = ctx.Freehand.SelectPoints;
    const PointF p = DocumentPoint(ctx.State, fid, x, y);
    if (tool == 9) {
        if (points.size() < 5) return out;
        out.RedrawAll = true;
        const PointF a = points[0];
        points[1] = {p.x, a.y};
        points[2] = p;
        points[3] = {a.x, p.y};
        points[4] = a;
    } else {
        out.RedrawAll = scrolled;
        points.push_back(p);
    }
    out.RubberBand = RubberBandPoints(doc, points);
    return out;
}

CanvasActions SelectionUp(const PaintContext& ctx, DocumentRecord& doc, bool bAdd, bool cancelled) {
    CanvasActions out;
    std::vector<PointF>& points = ctx.Freehand.SelectPoints;
    if (cancelled || points.empty()) {
        points.clear();
        return out;
    }
    points.push_back(points.front());
    MakeSelection(doc, points, bAdd);
    points.clear();
    out.RedrawAll = true;
    CoreState& state = ctx.State;
    if (state.Recorder.Recording())
        RecordAction(state.Recorder, state.ActiveFID, "PenSelect", doc.ActiveLID,
                     {ctx.EncodeMask ? ctx.EncodeMask(doc.Selection) : std::string()});
    return out;
}

std::vector<PointI> RubberBandPoints(const DocumentRecord& doc, const std::vector<PointF>& points) {
    const int32_t left = doc.ViewOffsetX, top = doc.ViewOffsetY;
    const int32_t right = left + std::max(0, doc.ViewRight - doc.ViewLeft);
    const int32_t bottom = top + std::max(0, doc.ViewBottom - doc.ViewTop);
    std::vector<PointI> out;
    out.reserve(points.size());
    for (const PointF& p : points) {
        const int32_t vx = MapXToView(doc, static_cast<int32_t>(p.x));
        const int32_t vy = MapYToView(doc, static_cast<int32_t>(p.y));
        out.push_back({std::clamp(vx, left, right), std::clamp(vy, top, bottom)});
    }
    return out;
}

}  // namespace brv
