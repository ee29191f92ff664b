#include "core/view_render.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "core/arith.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/sprites.h"

namespace brv {

namespace {

// The part of the zoomed image a client of the given size shows, as the redraws compute it.
struct ViewGeometry {
    int32_t vw = 0, vh = 0;  // last column and row of the block, at least 0
    int32_t left = 0, top = 0, right = 0, bottom = 0;
};

ViewGeometry ComputeView(const DocumentRecord& doc, Size client) {
    const int64_t zw = ZoomedWidth(doc), zh = ZoomedHeight(doc);
    int64_t vw = std::min<int64_t>(client.width, zw - 1);
    int64_t vh = std::min<int64_t>(client.height, zh - 1);
    ViewGeometry g;
    g.left = RoundToInt(static_cast<double>(zw - vw) * doc.HScrollPos / 32767.0);
    g.top = RoundToInt(static_cast<double>(zh - vh) * doc.VScrollPos / 32767.0);
    // right and bottom come from the sizes before they are held at 0: a document of one zoomed
    // column ends up with right = left - 1, which is intended and harmless.
    g.right = static_cast<int32_t>(Clamp<int64_t>(g.left + vw, INT32_MIN, INT32_MAX));
    g.bottom = static_cast<int32_t>(Clamp<int64_t>(g.top + vh, INT32_MIN, INT32_MAX));
    g.vw = static_cast<int32_t>(std::max<int64_t>(vw, 0));
    g.vh = static_cast<int32_t>(std::max<int64_t>(vh, 0));
    return g;
}

// A block narrower than the client is centred; the half is stored as the records store a
// division, rounded to even.
int32_t CentringOffset(int32_t clientSide, int32_t blockSide) {
    return blockSide < clientSide ? RoundToInt((clientSide - blockSide) / 2.0) : 0;
}

int32_t CallCompositor(const DocumentRecord& doc, const std::vector<LayerRef>& layers,
                       const PixelBuffer& background, DestRef dest, const ViewGeometry& g,
                       const RectI& dirty) {
    return CalcLayers({layers, doc.Width, doc.Height}, TileRefOf(background), dest,
                      CompositorZoomPercent(doc), 100, {g.left, g.top, g.right, g.bottom}, dirty);
}

// Stores the view in the document and fills in the parts of a frame both redraws share.
ViewFrame FinishFrame(DocumentRecord& doc, Size client, const ViewGeometry& g) {
    ViewFrame frame;
    frame.Action = ViewAction::Paint;
    frame.BlockWidth = doc.ViewPixels.Width();
    frame.BlockHeight = doc.ViewPixels.Height();
    doc.ViewLeft = g.left;
    doc.ViewTop = g.top;
    doc.ViewRight = g.right;
    doc.ViewBottom = g.bottom;
    doc.ViewOffsetX = CentringOffset(client.width, frame.BlockWidth);
    doc.ViewOffsetY = CentringOffset(client.height, frame.BlockHeight);
    frame.BlockOrigin = {doc.ViewOffsetX, doc.ViewOffsetY};
    frame.Changed = {0, 0, client.width, client.height};
    if (doc.GridVisible == -1) frame.Grid = DrawGrid(doc);
    return frame;
}

ViewFrame ClearFrame() {
    ViewFrame frame;
    frame.Action = ViewAction::Clear;
    return frame;
}

}  // namespace

int32_t CompositorZoomPercent(const DocumentRecord& doc) {
    return std::max(RoundToInt(doc.Zoom * 100.0), 1);
}

ViewFrame RedrawAll(DocumentRecord& doc, Size client, const PixelBuffer& background,
                    int32_t antsPhase) {
    if (doc.InUse == 0) return {};
    const std::vector<LayerRef> layers = VisibleLayerRefs(doc);
    if (layers.empty()) return ClearFrame();

    const ViewGeometry g = ComputeView(doc, client);
    // A fresh block each time, zeroed, since pixels outside the document are not written.
    if (doc.ViewPixels.Width() == g.vw + 1 && doc.ViewPixels.Height() == g.vh + 1) {
        std::fill(doc.ViewPixels.Bytes().begin(), doc.ViewPixels.Bytes().end(), uint8_t{0});
    } else {
        auto block = PixelBuffer::TryCreate(g.vw + 1, g.vh + 1);
        if (!block) return {};
        doc.ViewPixels = std::move(*block);
    }
    // The whole document is redrawn; the result is not looked at here.
    CallCompositor(doc, layers, background, DestRefOf(doc.ViewPixels), g,
                   {0, 0, doc.Width - 1, doc.Height - 1});

    ViewFrame frame = FinishFrame(doc, client, g);
    BuildOutline(doc);
    frame.Ants = DrawMarchingAnts(doc, antsPhase, true);
    return frame;
}

ViewFrame RedrawDirty(DocumentRecord& doc, Host& host, Size client, const PixelBuffer& background,
                      int32_t antsPhase, RectI& retDirty) {
    if (doc.InUse == 0) return {};
    const std::vector<LayerRef> layers = VisibleLayerRefs(doc);
    if (layers.empty()) return ClearFrame();

    if (retDirty.left > retDirty.right) std::swap(retDirty.left, retDirty.right);
    if (retDirty.top > retDirty.bottom) std::swap(retDirty.top, retDirty.bottom);
    const ViewGeometry g = ComputeView(doc, client);
    // The block keeps its size; a block of another size is refused by the compositor.
    const DestRef dest{doc.ViewPixels.Bytes(), g.vw + 1, g.vh + 1};
    if (int32_t rc = CallCompositor(doc, layers, background, dest, g, retDirty); rc < 0) {
        host.ShowMessage(CompositorErrorText(rc));
        return {};
    }

    ViewFrame frame = FinishFrame(doc, client, g);
    // Only the block columns and rows the compositor can have written have changed.
    const int64_t zp = CompositorZoomPercent(doc);
    auto written = [zp](int64_t origin, int64_t lo, int64_t hi, int32_t extent, int32_t& first,
                        int32_t& last) {
        first = last = 0;
        if (lo > hi) return;
        // Block column i shows document column floor((origin + i) * 100 / zp).
        first = static_cast<int32_t>(Clamp<int64_t>((lo * zp + 99) / 100 - origin, 0, extent));
        last =
            static_cast<int32_t>(Clamp<int64_t>(((hi + 1) * zp - 1) / 100 - origin + 1, 0, extent));
    };
    int32_t x0, x1, y0, y1;
    written(g.left, std::max(retDirty.left, 0), std::min(retDirty.right, doc.Width - 1),
            frame.BlockWidth, x0, x1);
    written(g.top, std::max(retDirty.top, 0), std::min(retDirty.bottom, doc.Height - 1),
            frame.BlockHeight, y0, y1);
    frame.Changed = x0 < x1 && y0 < y1 ? RectI{frame.BlockOrigin.x + x0, frame.BlockOrigin.y + y0,
                                               frame.BlockOrigin.x + x1, frame.BlockOrigin.y + y1}
                                       : RectI{0, 0, 0, 0};
    frame.Ants = DrawMarchingAnts(doc, antsPhase, true);
    return frame;
}

PolyPolyline DrawGrid(const DocumentRecord& doc) {
    PolyPolyline grid;
    if (doc.GridSize < 1) return grid;
    const int32_t left = MapXToView(doc, 0), right = MapXToView(doc, doc.Width);
    const int32_t top = MapYToView(doc, 0), bottom = MapYToView(doc, doc.Height);
    for (int64_t x = 0; x < doc.Width; x += doc.GridSize) {
        const int32_t vx = MapXToView(doc, static_cast<int32_t>(x));
        grid.Points.push_back({vx, top});
        grid.Points.push_back({vx, bottom});
        grid.Counts.push_back(2);
    }
    for (int64_t y = 0; y < doc.Height; y += doc.GridSize) {
        const int32_t vy = MapYToView(doc, static_cast<int32_t>(y));
        grid.Points.push_back({left, vy});
        grid.Points.push_back({right, vy});
        grid.Counts.push_back(2);
    }
    return grid;
}

void BuildOutline(DocumentRecord& doc) {
    doc.OutlineCount = 0;
    doc.OutlinePoints.clear();
    doc.OutlineLengths.clear();
    doc.OutlineShadow.clear();
    const SelectionMask& sel = doc.Selection;
    const int32_t w = sel.width, h = sel.height;
    if (w < 1 || h < 1 || sel.bytes.size() != static_cast<size_t>(w) * static_cast<size_t>(h))
        return;
    try {
        // The view position of every pixel edge, once.
        std::vector<int32_t> vx(static_cast<size_t>(w) + 1), vy(static_cast<size_t>(h) + 1);
        for (int32_t x = 0; x <= w; ++x)
            vx[static_cast<size_t>(x)] = MapXToView(doc, x);
        for (int32_t y = 0; y <= h; ++y)
            vy[static_cast<size_t>(y)] = MapYToView(doc, y);
        auto selected = [&](int32_t x, int32_t y) {
            return x >= 0 && y >= 0 && x < w && y < h &&
                   sel.bytes[static_cast<size_t>(y) * static_cast<size_t>(w) +
                             static_cast<size_t>(x)] != 0;
        };
        auto segment = [&](PointI a, PointI b) {
            doc.OutlinePoints.push_back(a);
            doc.OutlinePoints.push_back(b);
            doc.OutlineLengths.push_back(2);
        };
        for (int32_t y = 0; y < h; ++y) {
            for (int32_t x = 0; x < w; ++x) {
                if (!selected(x, y)) continue;
                const int32_t x0 = vx[static_cast<size_t>(x)], x1 = vx[static_cast<size_t>(x) + 1];
                const int32_t y0 = vy[static_cast<size_t>(y)], y1 = vy[static_cast<size_t>(y) + 1];
                if (!selected(x, y - 1)) segment({x0, y0}, {x1, y0});
                if (!selected(x + 1, y)) segment({x1, y0}, {x1, y1});
                if (!selected(x, y + 1)) segment({x0, y1}, {x1, y1});
                if (!selected(x - 1, y)) segment({x0, y0}, {x0, y1});
            }
        }
        doc.OutlineShadow.reserve(doc.OutlinePoints.size());
        for (const PointI& p : doc.OutlinePoints)
            doc.OutlineShadow.push_back({p.x + 1, p.y + 1});
        doc.OutlineCount = static_cast<int32_t>(doc.OutlineLengths.size());
    } catch (const std::bad_alloc&) {
        // An outline too big to hold is drawn as none; the selection itself is untouched.
        doc.OutlineCount = 0;
        doc.OutlinePoints.clear();
        doc.OutlineLengths.clear();
        doc.OutlineShadow.clear();
    }
}

std::vector<AntsPass> DrawMarchingAnts(const DocumentRecord& doc, int32_t& antsPhase,
                                       bool bKeepPhase) {
    if (doc.OutlineCount < 1) return {};
    if (!bKeepPhase) antsPhase = 1 - antsPhase;
    const int32_t colour = antsPhase * 0xFFFFFF;
    return {{PenStyle::Solid, colour}, {PenStyle::Dot, 0xFFFFFF - colour}};
}

std::optional<HotspotMark> DrawHotspot(const DocumentRecord& doc, int64_t index) {
    if (doc.ShowHotspot == 0) return std::nullopt;
    // The centre of the hot-spot pixel, stored as an integer the way a record field takes a
    // fraction: rounded to even.
    const int32_t cx = RoundToInt(MapXToView(doc, doc.HotspotX) + doc.Zoom / 2);
    const int32_t cy = RoundToInt(MapYToView(doc, doc.HotspotY) + doc.Zoom / 2);
    return HotspotMark{{cx - 16, cy - 16}, HotspotSpriteX(index)};
}

TimerFrame TimerTick(ViewTimer& timer, const DocumentRecord* active) {
    ++timer.Counter;
    TimerFrame frame;
    if (!active || active->InUse == 0) return frame;
    frame.Ants = DrawMarchingAnts(*active, timer.AntsPhase, false);
    frame.Hotspot = DrawHotspot(*active, timer.Counter);
    return frame;
}

double ZoomChange(DocumentRecord& doc, double value, bool bRelative) {
    if (bRelative) value *= doc.Zoom;
    if (std::isnan(value)) return doc.Zoom;
    if (value >= 500.0) {
        value = 500.0;
    } else if (value < 0.1) {
        value = 0.1;
    }
    doc.Zoom = value;
    return value;
}

}  // namespace brv
