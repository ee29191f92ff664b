#include "tools/tool_steps.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "core/arith.h"
#include "core/documents.h"
#include "tools/flood_fill.h"
#include "tools/retouch.h"
#include "tools/shapes.h"
#include "tools/stamp.h"

namespace brv {

namespace {

bool HasLayer(const DocumentRecord& doc, int32_t lid) {
    return lid >= 1 && static_cast<size_t>(lid) < doc.Layers.size();
}

LayerRecord* PenLayer(DocumentRecord& doc) {
    const int32_t p = doc.PenLID;
    if (p < 0 || static_cast<size_t>(p) >= doc.Layers.size()) return nullptr;
    return &doc.Layers[static_cast<size_t>(p)];
}

std::string Num(int64_t v) {
    return std::to_string(v);
}

RectI Union(const RectI& a, const RectI& b) {
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

}  // namespace

void LandOnActiveLayer(LayerRecord& active, LayerRecord& below) {
    PixelBuffer& keep = active.Pixels;
    const int64_t shiftX = int64_t{below.OffsetX} - active.OffsetX;
    const int64_t shiftY = int64_t{below.OffsetY} - active.OffsetY;
    for (int32_t py = 0; py < below.Pixels.Height(); ++py) {
        const int64_t ty = py + shiftY;
        if (ty < 0 || ty >= keep.Height()) continue;
        for (int32_t px = 0; px < below.Pixels.Width(); ++px) {
            const int64_t tx = px + shiftX;
            if (tx < 0 || tx >= keep.Width()) continue;
            const uint8_t* now = below.Pixels.PixelPtr(px, py);
            if (std::memcmp(now, below.Backup.PixelPtr(px, py), 4) == 0) continue;
            std::memcpy(keep.PixelPtr(static_cast<int32_t>(tx), static_cast<int32_t>(ty)), now, 4);
        }
    }
    below.Pixels = below.Backup;
}

CanvasActions FillPress(const PaintContext& ctx, DocumentRecord& doc, int32_t ix, int32_t iy) {
    CanvasActions out;
    CoreState& state = ctx.State;
    ctx.Freehand.Memo.Valid = false;
    const int32_t lid = doc.ActiveLID;
    LayerRecord* pen = PenLayer(doc);
    if (!pen || !HasLayer(doc, lid)) return out;
    const PenParamTable& p = pen->PenParams;

    PixelBuffer plain;
    const PixelBuffer* pattern = nullptr;
    if (p(5, 3) == 0) {
        plain = PixelBuffer(1, 1);
        plain.Set(0, 0, ColorWordToBgra(pen->PenColor));
        pattern = &plain;
    } else if (ctx.FillPatterns) {
        pattern = ctx.FillPatterns(p(5, 3));
    }
    // A tile number beyond the list fills nothing.
    if (!pattern) return out;

    const bool lower = p(5, 4) != 0 && lid >= 2;
    int32_t work = lid;
    int64_t wx = ix, wy = iy;
    PixelBuffer original;
    if (lower) {
        work = lid - 1;
        LayerRecord& active = doc.Layers[static_cast<size_t>(lid)];
        LayerRecord& below = doc.Layers[static_cast<size_t>(work)];
        original = active.Pixels;
        below.Backup = below.Pixels;
        wx += int64_t{active.OffsetX} - below.OffsetX;
        wy += int64_t{active.OffsetY} - below.OffsetY;
    }
    BackupForStroke(doc, work);
    FloodFill(doc.Layers[static_cast<size_t>(work)].Pixels, SaturateToInt32(wx),
              SaturateToInt32(wy), *pattern, 255 - p(5, 2), p(5, 1), 0);
    if (lower) {
        LayerRecord& active = doc.Layers[static_cast<size_t>(lid)];
        LandOnActiveLayer(active, doc.Layers[static_cast<size_t>(work)]);
        // With a selection the paint is kept to it on the layer it landed on.
        if (doc.OutlineCount >= 1) {
            active.Backup = std::move(original);
            RestoreUnselected(doc, lid);
        }
    } else {
        RestoreUnselected(doc, work);
    }
    out.FullRefresh = true;

    if (state.Recorder.Recording()) {
        // With a plain colour the blend field holds the bar's value, with a tile its
        // complement; a player always takes 255 minus the field. Intended.
        const int32_t blendField = p(5, 3) == 0 ? p(5, 2) : SaturateToInt32(255 - int64_t{p(5, 2)});
        RecordAction(state.Recorder, state.ActiveFID, "PenFill", lid,
                     {Num(ix), Num(iy), ctx.EncodePicture ? ctx.EncodePicture(*pattern) : "",
                      Num(blendField), Num(p(5, 1)), "255", Num(p(5, 4))});
    }
    return out;
}

std::optional<RectI> RetouchStep(const PaintContext& ctx, DocumentRecord& doc, int32_t fid,
                                 int32_t tool, int32_t ix, int32_t iy, int32_t fromX,
                                 int32_t fromY) {
    const int32_t lid = doc.ActiveLID;
    LayerRecord* pen = PenLayer(doc);
    if (!pen || !HasLayer(doc, lid)) return std::nullopt;
    const PenParamTable& p = pen->PenParams;
    const bool protect = pen->PenFlag != 0;
    PixelBuffer& pixels = doc.Layers[static_cast<size_t>(lid)].Pixels;
    const int32_t w = pixels.Width(), h = pixels.Height();

    RectI rect;
    std::string name;
    std::vector<std::string> args;
    switch (tool) {
        case 11: {
            const int32_t size = p(11, 4), strength = p(11, 3);
            BracketedStep(
                ctx, doc, fid, lid, RetouchRect(w, h, ix, iy, fromX, fromY, RetouchMargin(size)),
                [&] { BrightnessStroke(pixels, ix, iy, fromX, fromY, size, strength, rect); });
            name = "PenBaking";
            args = {Num(ix), Num(iy), Num(fromX), Num(fromY), Num(size), Num(strength)};
            break;
        }
        case 12: {
            const int32_t size = p(12, 4), strength = p(12, 3);
            BracketedStep(ctx, doc, fid, lid,
                          RetouchRect(w, h, ix, iy, fromX, fromY, RetouchMargin(size)), [&] {
                              ScumbleStroke(pixels, ix, iy, fromX, fromY, size, strength, rect,
                                            protect);
                          });
            name = "PenScumble";
            args = {Num(ix),
                    Num(iy),
                    Num(fromX),
                    Num(fromY),
                    Num(size),
                    Num(strength),
                    protect ? "True" : "False"};
            break;
        }
        case 13: {
            const int32_t size = p(13, 4), strength = p(13, 3);
            BracketedStep(ctx, doc, fid, lid, FingerRect(w, h, fromX, fromY, ix, iy, size), [&] {
                FingerStroke(pixels, fromX, fromY, ix, iy, size, strength, rect);
            });
            name = "PenFingerDraw";
            args = {Num(fromX), Num(fromY), Num(ix), Num(iy), Num(size), Num(strength)};
            break;
        }
        case 15: {
            const int32_t strength = p(15, 1), size = p(15, 2);
            // The soft box is the pen's.
            const int32_t soft = p(1, 4);
            BracketedStep(
                ctx, doc, fid, lid, RetouchRect(w, h, ix, iy, fromX, fromY, AlphaToolMargin(size)),
                [&] { AlphaStroke(pixels, ix, iy, fromX, fromY, strength, size, soft, rect); });
            name = "PenAlpha";
            args = {Num(ix),       Num(iy),         Num(fromX),      Num(fromY),
                    Num(strength), Num(size),       Num(soft),       Num(rect.left),
                    Num(rect.top), Num(rect.right), Num(rect.bottom)};
            break;
        }
        default:
            return std::nullopt;
    }
    if (ctx.State.Recorder.Recording())
        RecordAction(ctx.State.Recorder, ctx.State.ActiveFID, name, lid, args);
    if (rect.left > rect.right || rect.top > rect.bottom) return std::nullopt;
    OffsetRectByLayer(rect, doc, lid);
    return rect;
}

void ShapePress(const PaintContext& ctx, DocumentRecord& doc, int32_t tool, int32_t ix,
                int32_t iy) {
    ctx.Freehand.Memo.Valid = false;
    ctx.Freehand.ShapeRect.reset();
    LayerRecord* pen = PenLayer(doc);
    if (!pen || !HasLayer(doc, doc.ActiveLID)) return;
    if (tool != 7) {
        LayerRecord& layer = doc.Layers[static_cast<size_t>(doc.ActiveLID)];
        layer.Backup = layer.Pixels;
    }
    // The anchor of a shape, or the grip of a move as seen with the layer where it is.
    pen->PenParams(tool, 1) = ix;
    pen->PenParams(tool, 2) = iy;
}

CanvasActions ShapeDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t tool,
                        double x, double y) {
    CanvasActions out;
    CoreState& state = ctx.State;
    const int32_t lid = doc.ActiveLID;
    LayerRecord* pen = PenLayer(doc);
    if (!pen || !HasLayer(doc, lid)) return out;
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    if (layer.Backup.Width() != layer.Pixels.Width() ||
        layer.Backup.Height() != layer.Pixels.Height())
        return out;
    layer.Pixels = layer.Backup;
    BackupForStroke(doc, lid);

    const PenParamTable& p = pen->PenParams;
    const int32_t ax = p(tool, 1), ay = p(tool, 2);
    const int32_t x1 = ViewToImageX(state, fid, x);
    const int32_t y1 = ViewToImageY(state, fid, y);
    const int32_t size = p(1, 1), soft = p(1, 4), color = pen->PenColor;
    const int32_t protect = pen->PenFlag;
    std::string name;
    std::vector<std::string> args;
    RectI rect;
    if (tool == 4) {
        const int32_t t = AdjustTransparency(pen->PenTransparency, size);
        DrawLineStamps(layer.Pixels, ax, ay, x1, y1, size, color, t, rect, false, soft, 0,
                       protect != 0);
        name = "*PenLine";
        args = {Num(ax),    Num(ay), Num(x1),   Num(y1),     Num(size),
                Num(color), Num(t),  Num(soft), Num(protect)};
    } else if (tool == 10) {
        const int32_t opacity = SaturateToInt32(255 - int64_t{pen->PenTransparency});
        DrawRectangle(layer.Pixels, ax, ay, x1, y1, size, color, opacity, rect, soft, protect != 0);
        name = "*PenRect";
        args = {Num(ax),    Num(ay),      Num(x1),   Num(y1),     Num(size),
                Num(color), Num(opacity), Num(soft), Num(protect)};
    } else if (tool == 14) {
        DrawEllipse(layer.Pixels, x1, y1, ax, ay, size, color, pen->PenTransparency, soft,
                    protect != 0);
        rect = EllipseRect(x1, y1, ax, ay, size);
        name = "*PenElipse";
        // The line's y is mapped by the rules of x, unlike the drawing. Intended.
        args = {Num(x1),    Num(ViewToImageX(state, fid, y)), Num(ax),   Num(ay),     Num(size),
                Num(color), Num(pen->PenTransparency),        Num(soft), Num(protect)};
    } else {
        return out;
    }
    RestoreUnselected(doc, lid);
    OffsetRectByLayer(rect, doc, lid);
    // The last shape and this one: the picture changes nowhere else.
    std::optional<RectI>& last = ctx.Freehand.ShapeRect;
    out.RefreshRect = last ? Union(*last, rect) : rect;
    last = rect;
    if (state.Recorder.Recording())
        state.Recorder.PendingAction =
            RecordAction(state.Recorder, state.ActiveFID, name, lid, args);
    return out;
}

CanvasActions LayerMoveDrag(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, double x,
                            double y) {
    CanvasActions out;
    CoreState& state = ctx.State;
    const int32_t lid = doc.ActiveLID;
    LayerRecord* pen = PenLayer(doc);
    if (!pen || !HasLayer(doc, lid)) return out;
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    layer.OffsetX =
        SaturateToInt32(int64_t{ViewToImageXEx(state, fid, x, -1, 0)} - pen->PenParams(7, 1));
    layer.OffsetY =
        SaturateToInt32(int64_t{ViewToImageYEx(state, fid, y, -1, 0)} - pen->PenParams(7, 2));
    out.RedrawAll = true;
    if (state.Recorder.Recording())
        state.Recorder.PendingAction =
            RecordAction(state.Recorder, state.ActiveFID, "*PenLayerMove", lid,
                         {Num(layer.OffsetX), Num(layer.OffsetY)});
    return out;
}

bool PickColor(CoreState& state, int32_t fid, int32_t lid, double x, double y) {
    (void)lid;
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return false;
    LayerRecord* pen = PenLayer(*doc);
    if (!pen) return false;
    const auto c = PickColorAt(*doc, ViewToImageXEx(state, fid, x, -1, 0),
                               ViewToImageYEx(state, fid, y, -1, 0));
    if (!c) return false;
    pen->PenColor = BgraToColorWord(*c);
    pen->PenTransparency = 255 - c->a;
    return true;
}

CanvasActions HotspotUp(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, double x,
                        double y) {
    CanvasActions out;
    CoreState& state = ctx.State;
    const int32_t hx = ViewToImageX(state, fid, x);
    const int32_t hy = ViewToImageY(state, fid, y);
    if (hx < 0 || hy < 0 || hx >= doc.Width || hy >= doc.Height) return out;
    doc.HotspotX = hx;
    doc.HotspotY = hy;
    out.RedrawAll = doc.ShowHotspot != 0;
    out.ShowPenState = true;
    if (state.Recorder.Recording())
        RecordAction(state.Recorder, state.ActiveFID, "PenHotspot", doc.ActiveLID,
                     {Num(hx), Num(hy)});
    return out;
}

}  // namespace brv
