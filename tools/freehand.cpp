#include "tools/freehand.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/arith.h"
#include "core/documents.h"
#include "tools/selection.h"
#include "tools/stamp.h"
#include "tools/tool_steps.h"

namespace brv {

namespace {

constexpr float kNoPointerPos = -32767.0f;

bool HasLayer(const DocumentRecord& doc, int32_t lid) {
    return lid >= 0 && static_cast<size_t>(lid) < doc.Layers.size();
}

// PenParams(a, b) of a row that may come from a played line: outside the table it reads 0.
int32_t Param(const PenParamTable& p, int32_t a, int32_t b) {
    if (a < 0 || a >= PenParamTable::kA || b < 0 || b >= PenParamTable::kB) return 0;
    return p(a, b);
}

bool ProtectOf(const DocumentRecord& doc) {
    return HasLayer(doc, doc.PenLID) && doc.Layers[static_cast<size_t>(doc.PenLID)].PenFlag != 0;
}

bool SameSize(const PixelBuffer& a, const PixelBuffer& b) {
    return a.Width() == b.Width() && a.Height() == b.Height();
}

// A pen or eraser segment as DrawPen lays it.
struct Segment {
    int32_t size = 0;
    int32_t prevX = 0;
    int32_t prevY = 0;
    int32_t soft = 0;
    int32_t skip = 0;
    double t = 0.0;
    bool erase = false;
};

std::optional<Segment> ResolveSegment(int32_t kind, const DrawPenArgs& args) {
    const PenParamTable& p = args.Params;
    Segment s;
    if (kind == kPenKindPen) {
        s.size = p(1, 1);
        s.prevX = p(1, 2);
        s.prevY = p(1, 3);
        s.soft = p(1, 4);
        s.t = AdjustTransparency(args.Transparency, s.size);
    } else if (kind == kPenKindEraser) {
        s.size = p(2, 2);
        s.prevX = p(2, 3);
        s.prevY = p(2, 4);
        // The eraser takes the pen's anti-aliasing box.
        s.soft = p(1, 4);
        // Not rounded: a wider eraser bites less with each stamp.
        s.t = std::pow(p(2, 1) / 100.0, (static_cast<double>(s.size) - 1.0) / 5.0 + 1.0) * 255.0;
        s.erase = true;
    } else {
        return std::nullopt;
    }
    if (s.prevX == kNoPoint || s.prevY == kNoPoint) {
        s.prevX = args.X;
        s.prevY = args.Y;
    }
    s.skip = (s.prevX == args.X && s.prevY == args.Y) ? 0 : s.size;
    return s;
}

struct PatternStamp {
    const PixelBuffer* pattern = nullptr;
    double cosine = 1.0;
    double sine = 0.0;
};

std::optional<PatternStamp> ResolvePattern(const DrawPenArgs& args,
                                           const GraphicPenLookup& graphicPens) {
    const PixelBuffer* pattern = graphicPens ? graphicPens(args.Params(3, 1)) : nullptr;
    if (!pattern) return std::nullopt;
    double dx = static_cast<double>(args.X) - args.Params(3, 2);
    const double dy = static_cast<double>(args.Y) - args.Params(3, 3);
    double d = std::sqrt(dx * dx + dy * dy);
    if (std::abs(d - 0.01) <= 0.01) {
        d = 1.0;
        dx = 1.0;
    }
    return PatternStamp{pattern, dx / d, dy / d};
}

RectI Union(const RectI& a, const RectI& b) {
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

// The rectangle clipped to a w by h picture, or nullopt when nothing of it is inside.
std::optional<RectI> Clipped(const RectI& r, int32_t w, int32_t h) {
    RectI c{std::max(r.left, 0), std::max(r.top, 0), std::min(r.right, w - 1),
            std::min(r.bottom, h - 1)};
    if (c.left > c.right || c.top > c.bottom) return std::nullopt;
    return c;
}

void CopyRect(const PixelBuffer& from, PixelBuffer& to, const RectI& rect) {
    auto c = Clipped(rect, from.Width(), from.Height());
    if (!c) return;
    const size_t bytes = size_t{4} * static_cast<size_t>(c->right - c->left + 1);
    for (int32_t y = c->top; y <= c->bottom; ++y)
        std::memcpy(to.PixelPtr(c->left, y), from.PixelPtr(c->left, y), bytes);
}

// BackupForStroke for one step of a stroke. The first step copies the whole layer; later
// steps copy only what the previous step and this one can have changed, which leaves Backup
// exactly as a whole copy would.
void BackupForStep(DocumentRecord& doc, int32_t fid, int32_t lid, const RectI& rect,
                   StrokeBackupMemo& memo) {
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    const bool known = memo.Valid && memo.Fid == fid && memo.Lid == lid &&
                       SameSize(layer.Backup, layer.Pixels) && !layer.Backup.Empty();
    if (known)
        CopyRect(layer.Pixels, layer.Backup, Union(memo.Rect, rect));
    else
        BackupForStroke(doc, lid);
    memo = {true, fid, lid, rect};
}

// One painted step in its bracket. Returns the document rectangle to refresh.
std::optional<RectI> StampStep(const PaintContext& ctx, DocumentRecord& doc, int32_t fid,
                               int32_t lid, int32_t kind, const DrawPenArgs& args) {
    StrokeBackupMemo& memo = ctx.Freehand.Memo;
    std::optional<RectI> layerRect;
    if (doc.OutlineCount >= 1) {
        layerRect = DrawPenLayerRect(doc, lid, kind, args, ctx.GraphicPens);
        if (layerRect) BackupForStep(doc, fid, lid, *layerRect, memo);
    } else {
        memo.Valid = false;
    }
    RectI rect;
    if (DrawPen(ctx.State, fid, lid, kind, args, ctx.GraphicPens, rect) < 0) return std::nullopt;
    if (layerRect) RestoreUnselected(doc, lid, *layerRect);
    if (kind == kPenKindGraphicPen) OffsetRectByLayer(rect, doc, lid);
    return rect;
}

bool IsShapeTool(int32_t tool) {
    return tool == 4 || tool == 10 || tool == 14;
}

int32_t PenTool(const DocumentRecord& doc) {
    return HasLayer(doc, doc.PenLID) ? doc.Layers[static_cast<size_t>(doc.PenLID)].Tool : 0;
}

}  // namespace

// ---- kernels -------------------------------------------------------------------------------

std::optional<RectI> DrawPenLayerRect(const DocumentRecord& doc, int32_t lid, int32_t kind,
                                      const DrawPenArgs& args,
                                      const GraphicPenLookup& graphicPens) {
    if (!HasLayer(doc, lid)) return std::nullopt;
    const PixelBuffer& pixels = doc.Layers[static_cast<size_t>(lid)].Pixels;
    if (auto s = ResolveSegment(kind, args))
        return LineStampsRect(pixels.Width(), pixels.Height(), args.X, args.Y, s->prevX, s->prevY,
                              s->size);
    if (kind != kPenKindGraphicPen) return std::nullopt;
    auto stamp = ResolvePattern(args, graphicPens);
    if (!stamp) return std::nullopt;
    return PatternRect(pixels.Width(), pixels.Height(), args.X, args.Y, stamp->pattern->Width(),
                       stamp->pattern->Height());
}

int32_t DrawPen(CoreState& state, int32_t fid, int32_t lid, int32_t kind, const DrawPenArgs& args,
                const GraphicPenLookup& graphicPens, RectI& retRect) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || !HasLayer(*doc, lid)) return kDrawPenNoLayer;
    PixelBuffer& pixels = doc->Layers[static_cast<size_t>(lid)].Pixels;
    if (auto s = ResolveSegment(kind, args)) {
        DrawLineStamps(pixels, args.X, args.Y, s->prevX, s->prevY, s->size, args.Color, s->t,
                       retRect, s->erase, s->soft, s->skip, ProtectOf(*doc));
        OffsetRectByLayer(retRect, *doc, lid);
    } else if (kind == kPenKindGraphicPen) {
        auto stamp = ResolvePattern(args, graphicPens);
        if (!stamp) return kDrawPenNoPattern;
        StampPattern(pixels, args.X, args.Y, *stamp->pattern, args.Transparency, stamp->cosine,
                     stamp->sine, retRect);
    }
    if (state.Recorder.Recording()) RecordDrawPen(state.Recorder, state.ActiveFID, lid, kind, args);
    return kDrawPenOk;
}

std::string DrawPenLine(int32_t lid, int32_t kind, const DrawPenArgs& args) {
    std::string line = "DrawPen," + std::to_string(lid) + "," + std::to_string(kind) + "," +
                       std::to_string(args.X) + "," + std::to_string(args.Y) + "," +
                       std::to_string(args.Transparency) + "," + std::to_string(args.Color);
    for (int32_t i = 1; i <= 10; ++i)
        line += "," + std::to_string(Param(args.Params, kind, i));
    return line;
}

void RecordDrawPen(ActionRecorder& recorder, int32_t activeFid, int32_t lid, int32_t kind,
                   const DrawPenArgs& args) {
    if (!recorder.Recording()) return;
    std::vector<std::string> fields = {std::to_string(kind), std::to_string(args.X),
                                       std::to_string(args.Y), std::to_string(args.Transparency),
                                       std::to_string(args.Color)};
    for (int32_t i = 1; i <= 10; ++i)
        fields.push_back(std::to_string(Param(args.Params, kind, i)));
    RecordAction(recorder, activeFid, "DrawPen", lid, fields);
}

// ---- the selection bracket -----------------------------------------------------------------

void BackupForStroke(DocumentRecord& doc, int32_t lid) {
    if (doc.OutlineCount < 1 || !HasLayer(doc, lid)) return;
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    layer.Backup = layer.Pixels;
}

void RestoreUnselected(DocumentRecord& doc, int32_t lid) {
    RestoreUnselected(
        doc, lid,
        RectI{0, 0, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::max()});
}

void RestoreUnselected(DocumentRecord& doc, int32_t lid, const RectI& rect) {
    if (doc.OutlineCount < 1 || !HasLayer(doc, lid)) return;
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    if (!SameSize(layer.Backup, layer.Pixels)) return;
    const SelectionMask& sel = doc.Selection;
    if (sel.width < 0 || sel.height < 0 ||
        sel.bytes.size() < static_cast<size_t>(sel.width) * static_cast<size_t>(sel.height))
        return;
    auto c = Clipped(rect, std::min(layer.Pixels.Width(), sel.width),
                     std::min(layer.Pixels.Height(), sel.height));
    if (!c) return;
    for (int32_t y = c->top; y <= c->bottom; ++y) {
        const uint8_t* mask = sel.bytes.data() + static_cast<size_t>(y) * sel.width;
        for (int32_t x = c->left; x <= c->right; ++x)
            if (mask[x] == 0)
                std::memcpy(layer.Pixels.PixelPtr(x, y), layer.Backup.PixelPtr(x, y), 4);
    }
}

void BracketedStep(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t lid,
                   const RectI& layerRect, const std::function<void()>& kernel) {
    StrokeBackupMemo& memo = ctx.Freehand.Memo;
    if (doc.OutlineCount < 1 || !HasLayer(doc, lid)) {
        memo.Valid = false;
        kernel();
        return;
    }
    BackupForStep(doc, fid, lid, layerRect, memo);
    kernel();
    RestoreUnselected(doc, lid, layerRect);
}

void OffsetRectByLayer(RectI& rect, const DocumentRecord& doc, int32_t lid) {
    if (!HasLayer(doc, lid)) return;
    const LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    auto add = [](int32_t v, int32_t d) {
        return static_cast<int32_t>(Clamp<int64_t>(int64_t{v} + d,
                                                   std::numeric_limits<int32_t>::min(),
                                                   std::numeric_limits<int32_t>::max()));
    };
    rect.left = add(rect.left, layer.OffsetX);
    rect.right = add(rect.right, layer.OffsetX);
    rect.top = add(rect.top, layer.OffsetY);
    rect.bottom = add(rect.bottom, layer.OffsetY);
}

// ---- the event routines --------------------------------------------------------------------

CanvasActions PenStep(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift, double x,
                      double y, double clock) {
    (void)shift;
    CanvasActions out;
    CoreState& state = ctx.State;
    FreehandState& fs = ctx.Freehand;
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return out;

    fs.PressTime = RoundToInt(clock);
    fs.PressX = static_cast<float>(x);
    fs.PressY = static_cast<float>(y);
    doc->PenDownX = doc->HScrollPos;
    doc->PenDownY = doc->VScrollPos;
    const int32_t lid = doc->ActiveLID;
    if (!HasLayer(*doc, lid) || !HasLayer(*doc, doc->PenLID)) return out;
    const LayerRecord& pen = doc->Layers[static_cast<size_t>(doc->PenLID)];
    const int32_t tool = pen.Tool;

    if (button == kRightButton) {
        if (fs.DragState != 1) {
            doc->PenAnchorX = doc->HScrollPos;
            doc->PenAnchorY = doc->VScrollPos;
            doc->PenPrevX = static_cast<float>(x);
            doc->PenPrevY = static_cast<float>(y);
            out.CursorFile = SetCanvasCursor(state.Paths, *doc, "Move", -1);
            return out;
        }
        // The right button cancels a left drag: a shape goes back to the picture it was drawn
        // over, a selection is redrawn; a freehand stroke so far stays.
        LayerRecord& layer = doc->Layers[static_cast<size_t>(lid)];
        if (IsShapeTool(tool) && SameSize(layer.Backup, layer.Pixels)) {
            layer.Pixels = layer.Backup;
            out.RedrawAll = true;
        }
        if (tool == 6 || tool == 9) out.RedrawAll = true;
        fs.ShapeRect.reset();
        fs.DragState = 2;
        return out;
    }
    if (button != kLeftButton) return out;

    int32_t x0 = kNoPoint;
    int32_t y0 = kNoPoint;
    if (doc->PenLastX != kNoPointerPos && doc->PenLastY != kNoPointerPos) {
        x0 = ViewToImageX(state, fid, doc->PenLastX);
        y0 = ViewToImageY(state, fid, doc->PenLastY);
    } else {
        // A new stroke: the next backup is a whole one.
        fs.Memo.Valid = false;
    }
    const int32_t ix = ViewToImageX(state, fid, x);
    const int32_t iy = ViewToImageY(state, fid, y);
    const int32_t tick = RoundToInt(clock);

    DrawPenArgs args;
    args.X = ix;
    args.Y = iy;
    args.Color = pen.PenColor;
    args.Transparency = pen.PenTransparency;
    args.Params = pen.PenParams;

    switch (tool) {
        case 1:
            args.Params(1, 2) = x0;
            args.Params(1, 3) = y0;
            if (!PenStampDue(clock, fs.LastStampTime, ix, iy, x0, y0)) return out;
            fs.LastStampTime = RoundToInt(clock);
            out.RefreshRect = StampStep(ctx, *doc, fid, lid, kPenKindPen, args);
            break;
        case 2:
            if (!EraserStepDue(tick, fs.LastTick)) return out;
            args.Params(2, 3) = x0;
            args.Params(2, 4) = y0;
            out.RefreshRect = StampStep(ctx, *doc, fid, lid, kPenKindEraser, args);
            break;
        case 3: {
            args.Transparency = static_cast<int32_t>(Clamp<int64_t>(
                255 - int64_t{pen.PenParams(3, 4)}, std::numeric_limits<int32_t>::min(),
                std::numeric_limits<int32_t>::max()));
            args.Params(3, 2) = x0;
            args.Params(3, 3) = y0;
            const PixelBuffer* e = ctx.GraphicPens ? ctx.GraphicPens(pen.PenParams(3, 1)) : nullptr;
            // A number beyond the list: the step stops where the pattern would be read.
            if (!e) return out;
            if (!GraphicPenStampDue(x0, y0, ix, iy, e->Width(), e->Height(), pen.PenParams(3, 5)))
                return out;
            if (pen.PenParams(3, 6) == 0) {
                // No turning: the stamp is its own last position, so it has no direction.
                args.Params(3, 2) = ix;
                args.Params(3, 3) = iy;
            } else if (x0 < 0 || y0 < 0) {
                // A turning pen lays nothing at its first point; the point gives the direction.
                break;
            }
            out.RefreshRect = StampStep(ctx, *doc, fid, lid, kPenKindGraphicPen, args);
            break;
        }
        case 4:
        case 7:
        case 10:
        case 14:
            ShapePress(ctx, *doc, tool, ix, iy);
            break;
        case 5:
            out = FillPress(ctx, *doc, ix, iy);
            break;
        case 8:
            PickColor(state, fid, lid, x, y);
            out.ShowPenState = true;
            break;
        case 11:
        case 12:
        case 13:
        case 15: {
            // Once per tick while held still, at once when moved: a tool held in one place
            // goes on working.
            if (tick == fs.LastTick && ix == x0 && iy == y0) return out;
            const bool first = x0 == kNoPoint || y0 == kNoPoint;
            out.RefreshRect =
                RetouchStep(ctx, *doc, fid, tool, ix, iy, first ? ix : x0, first ? iy : y0);
            break;
        }
        case 6:
        case 9:
            out = SelectionPress(ctx, fid, tool, x, y);
            break;
        case 16:
            // The hot spot moves on the release.
            break;
        default:
            return out;
    }
    doc->PenLastX = static_cast<float>(x);
    doc->PenLastY = static_cast<float>(y);
    fs.LastTick = tick;
    return out;
}

CanvasActions CanvasDrag(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift,
                         double x, double y, double clock) {
    CanvasActions out;
    CoreState& state = ctx.State;
    FreehandState& fs = ctx.Freehand;
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return out;
    const ScreenMetrics& screen = state.Screen;

    if (button == kRightButton && fs.DragState == 0) {
        if (auto h = PanScrollPos(doc->PenAnchorX, x, doc->PenPrevX,
                                  doc->WindowClient.width * screen.TwipsPerPixelX,
                                  screen.TwipsPerPixelX, doc->Width * doc->Zoom))
            doc->HScrollPos = *h;
        if (auto v = PanScrollPos(doc->PenAnchorY, y, doc->PenPrevY,
                                  doc->WindowClient.height * screen.TwipsPerPixelY,
                                  screen.TwipsPerPixelY, doc->Height * doc->Zoom))
            doc->VScrollPos = *v;
        out.RedrawAll = true;
        return out;
    }
    if (button != kLeftButton) return out;

    fs.DragState = 1;
    const int32_t h0 = doc->HScrollPos;
    const int32_t v0 = doc->VScrollPos;
    doc->HScrollPos = EdgeScrollPos(x, h0, doc->ViewRight - doc->ViewLeft, screen.TwipsPerPixelX);
    doc->VScrollPos = EdgeScrollPos(y, v0, doc->ViewBottom - doc->ViewTop, screen.TwipsPerPixelY);
    switch (PenTool(*doc)) {
        case 1:
        case 2:
        case 3:
        case 11:
        case 12:
        case 13:
        case 15:
            // A freehand stroke never scrolls the view.
            doc->HScrollPos = h0;
            doc->VScrollPos = v0;
            out = PenStep(ctx, fid, kLeftButton, shift, x, y, clock);
            break;
        case 4:
        case 10:
        case 14:
            out = ShapeDrag(ctx, *doc, fid, PenTool(*doc), x, y);
            break;
        case 7:
            out = LayerMoveDrag(ctx, *doc, fid, x, y);
            break;
        case 8:
            // The colour follows the pointer.
            PickColor(state, fid, doc->ActiveLID, x, y);
            out.ShowPenState = true;
            break;
        case 6:
        case 9:
            out = SelectionDrag(ctx, *doc, fid, PenTool(*doc), x, y,
                                doc->HScrollPos != h0 || doc->VScrollPos != v0);
            break;
        default:
            // The fill and the hot spot do nothing on a move.
            break;
    }
    if (doc->HScrollPos != h0 || doc->VScrollPos != v0) out.UpdateScrollBars = true;
    return out;
}

CanvasActions CanvasUp(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift,
                       double x, double y, double clock) {
    CanvasActions out;
    CoreState& state = ctx.State;
    FreehandState& fs = ctx.Freehand;
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return out;

    doc->PenLastX = kNoPointerPos;
    doc->PenLastY = kNoPointerPos;
    const int32_t tool = PenTool(*doc);
    if (button == kLeftButton) {
        const bool cancelled = fs.DragState == 2;
        fs.DragState = 0;
        if (IsShapeTool(tool) || tool == 7) {
            out.FullRefresh = true;
            ActionRecorder& recorder = state.Recorder;
            if (recorder.Recording() && !recorder.PendingAction.empty())
                RecordAction(recorder, state.ActiveFID, "-" + recorder.PendingAction, 0, {});
            recorder.PendingAction.clear();
        } else if (tool == 16) {
            out = HotspotUp(ctx, *doc, fid, x, y);
        } else if (tool == 6 || tool == 9) {
            out = SelectionUp(ctx, *doc, (shift & kLeftShiftKey) != 0, cancelled);
        }
    }
    // A colour pick changes nothing; everything else is one undo step per stroke.
    if (tool != 8) {
        out.RefreshLayerWindow = true;
        out.SaveUndo = true;
    }
    if (button == kRightButton && fs.DragState == 0) {
        out.DefaultCursor = RestoreCanvasCursor(*doc);
        out.OpenContextMenu =
            OpensContextMenu(clock, fs.PressTime, x, y, fs.PressX, fs.PressY,
                             state.Screen.TwipsPerPixelX, state.Screen.TwipsPerPixelY);
    }
    fs.LastStampTime = 0;
    fs.DragState = 0;
    fs.Memo.Valid = false;
    fs.ShapeRect.reset();
    fs.SelectPoints.clear();
    return out;
}

// ---- the rules, as plain numbers -----------------------------------------------------------

bool PenStampDue(double clock, int32_t lastStampTime, int32_t x, int32_t y, int32_t x0,
                 int32_t y0) {
    return clock - lastStampTime >= 200.0 || x != x0 || y != y0;
}

bool EraserStepDue(int32_t tick, int32_t lastTick) {
    return tick != lastTick;
}

bool GraphicPenStampDue(int32_t lastX, int32_t lastY, int32_t x, int32_t y, int32_t patternWidth,
                        int32_t patternHeight, int32_t spacing) {
    if (lastX < 0 || lastY < 0) return true;
    // Measured along each axis from the last stamp, not along the path.
    return static_cast<double>(patternWidth) * spacing / 100.0 <=
               std::abs(static_cast<double>(x) - lastX) ||
           static_cast<double>(patternHeight) * spacing / 100.0 <=
               std::abs(static_cast<double>(y) - lastY);
}

std::optional<int32_t> PanScrollPos(int32_t anchor, double pointer, double pointerAtPress,
                                    double clientTwips, double twipsPerPixel, double imageExtent) {
    if (!(twipsPerPixel > 0.0)) return std::nullopt;
    const double client = clientTwips / twipsPerPixel;
    if (!(client > 0.0)) return std::nullopt;
    const double f = client / imageExtent;
    if (!(f < 0.99)) return std::nullopt;
    const double pos =
        anchor + f / (1.0 - f) * 32767.0 * (-(pointer - pointerAtPress) / twipsPerPixel) / client;
    return Clamp(RoundToInt(pos), 0, 32767);
}

int32_t EdgeScrollPos(double pointer, int32_t scrollPos, int32_t viewExtent, double twipsPerPixel) {
    const double edge = viewExtent * twipsPerPixel;
    std::optional<int32_t> moved;
    if (pointer > edge) moved = RoundToInt(pointer + scrollPos - edge);
    if (pointer < 0.0) moved = RoundToInt(pointer + scrollPos);
    return moved ? Clamp(*moved, 0, 32767) : scrollPos;
}

bool OpensContextMenu(double releaseClock, int32_t pressTime, double x, double y, double pressX,
                      double pressY, double twipsPerPixelX, double twipsPerPixelY) {
    return releaseClock - pressTime < 400.0 && std::abs(x - pressX) <= 8.0 * twipsPerPixelX &&
           std::abs(y - pressY) <= 8.0 * twipsPerPixelY;
}

// ---- cursors -------------------------------------------------------------------------------

std::string SetCanvasCursor(const AppPaths& paths, DocumentRecord& doc, std::string_view name,
                            int32_t bTemporary) {
    doc.CursorName = std::string(name);
    doc.CursorBase = bTemporary == -1 ? std::string("Normal") : std::string(name);
    return paths.CursorsDir + std::string(name) + ".cur";
}

bool RestoreCanvasCursor(const DocumentRecord& doc) {
    return !doc.CursorBase.empty() && doc.CursorBase != doc.CursorName;
}

}  // namespace brv
