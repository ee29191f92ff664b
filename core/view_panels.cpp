#include "core/view_panels.h"

#include <algorithm>
#include <cmath>

#include "core/arith.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/sprites.h"

namespace brv {

namespace {

// The fitted picture in the box; a division stored in an integer is rounded to even.
void FitGuide(const DocumentRecord& doc, GuideView& guide) {
    const double w = std::max(doc.Width, 1), h = std::max(doc.Height, 1);
    if (w >= h) {
        guide.FittedWidth = kGuideSide;
        guide.FittedHeight = std::max(RoundToInt(kGuideSide * h / w), 1);
    } else {
        guide.FittedHeight = kGuideSide;
        guide.FittedWidth = std::max(RoundToInt(kGuideSide * w / h), 1);
    }
    guide.MarginX = RoundToInt((kGuideSide - guide.FittedWidth) / 2.0);
    guide.MarginY = RoundToInt((kGuideSide - guide.FittedHeight) / 2.0);
}

}  // namespace

GuideFrame RedrawGuide(const DocumentRecord& doc, GuideView& guide, const PixelBuffer& background,
                       bool bNoCompose) {
    GuideFrame frame;
    if (doc.InUse == 0 || doc.Width < 1 || doc.Height < 1) return frame;
    FitGuide(doc, guide);
    if (guide.GuideBuffer.Width() != guide.FittedWidth ||
        guide.GuideBuffer.Height() != guide.FittedHeight)
        guide.GuideBuffer = PixelBuffer(guide.FittedWidth, guide.FittedHeight);
    if (!bNoCompose) {
        const std::vector<LayerRef> layers = VisibleLayerRefs(doc);
        frame.Composed = CalcLayersEasy({layers, doc.Width, doc.Height}, TileRefOf(background),
                                        DestRefOf(guide.GuideBuffer)) >= 0;
    }

    // The viewport from the last view. Across, the block width is taken as the first bound of
    // the view's byte array over 4, which is the width less a quarter; down, as the last row
    // index. Both are intended.
    const double zoom = doc.Zoom > 0 ? doc.Zoom : 1.0;
    const double across = (4.0 * doc.ViewPixels.Width() - 1.0) / 4.0;
    const double down = doc.ViewPixels.Height() - 1.0;
    const double fw = guide.FittedWidth, fh = guide.FittedHeight;
    const double left =
        (ZoomedWidth(doc) - across) / zoom * doc.HScrollPos / 32767.0 * fw / doc.Width +
        guide.MarginX;
    const double top =
        (ZoomedHeight(doc) - down) / zoom * doc.VScrollPos / 32767.0 * fh / doc.Height +
        guide.MarginY;
    const bool coversAcross = doc.ViewPixels.Width() >= ZoomedWidth(doc);
    const bool coversDown = doc.ViewPixels.Height() >= ZoomedHeight(doc);
    const double right =
        coversAcross ? fw + guide.MarginX : left + across / zoom * (fw - 1) / doc.Width;
    const double bottom =
        coversDown ? fh + guide.MarginY : top + down / zoom * (fh - 1) / doc.Height;
    frame.Outer = {RoundToInt(left), RoundToInt(top), RoundToInt(right), RoundToInt(bottom)};
    frame.Inner = {frame.Outer.left + 1, frame.Outer.top + 1, frame.Outer.right - 1,
                   frame.Outer.bottom - 1};
    guide.Viewport = frame.Outer;
    return frame;
}

GuideSlider hs2Rev(double zoom) {
    GuideSlider s;
    s.Position = std::max(RoundToInt(std::pow(zoom * 68719476736.0, 1.0 / 3.0)), 100);
    s.Text = std::to_string(static_cast<int64_t>(Int(zoom * 100.0)));
    return s;
}

double hs2(int32_t position) {
    return std::pow(position / 4096.0, 3.0);
}

void ChangePos(DocumentRecord& doc, const GuideView& guide, int32_t x, int32_t y) {
    if (guide.FittedWidth < 1 || guide.FittedHeight < 1) return;
    auto scroll = [](double along, double fitted) {
        return Clamp(RoundToInt(along / fitted * 32767.0), 0, 32767);
    };
    doc.HScrollPos = scroll(x - guide.MarginX, guide.FittedWidth);
    doc.VScrollPos = scroll(y - guide.MarginY, guide.FittedHeight);
}

LayerListLayout LayoutLayerList(const DocumentRecord& doc, int32_t listHeight, int32_t scroll) {
    LayerListLayout list;
    const int32_t n = std::max(doc.LayerCount(), 0);
    const int64_t total = int64_t{n} * kLayerRowHeight;
    list.ScrollBarVisible = total > listHeight;
    list.ScrollMax = list.ScrollBarVisible
                         ? static_cast<int32_t>(std::min<int64_t>(total - listHeight, INT32_MAX))
                         : 0;
    for (int32_t lid = n; lid >= 1; --lid) {
        const int64_t top = int64_t{n - lid} * kLayerRowHeight - scroll;
        if (top + kLayerRowHeight <= 0 || top >= listHeight) continue;
        const LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
        LayerRow row;
        row.Lid = lid;
        row.Top = static_cast<int32_t>(top);
        row.Active = lid == doc.ActiveLID;
        row.ThumbnailAt = {4, row.Top + 3};
        row.OffsetText =
            "X:" + std::to_string(layer.OffsetX) + " Y:" + std::to_string(layer.OffsetY);
        row.OffsetColor =
            layer.OffsetX != 0 || layer.OffsetY != 0 ? kOffsetTextRed : kOffsetTextWhite;
        row.OffsetTextAt = {62, row.Top + 2};
        row.ShowLabel = "表示";
        row.ShowLabelAt = {62, row.Top + 22};
        row.EyeAt = {62, row.Top + 34};
        row.EyeSourceX = EyeSourceX(layer.Visible);
        list.Rows.push_back(std::move(row));
    }
    return list;
}

PixelBuffer LayerThumbnail(const LayerRecord& layer, const PixelBuffer& background, int32_t side) {
    if (layer.Pixels.Empty() || side < 1) return {};
    PixelBuffer thumb(side, side);
    const LayerRef ref{layer.Pixels.Bytes(), 0, 0};
    if (CalcLayersEasy({std::span(&ref, 1), layer.Pixels.Width(), layer.Pixels.Height()},
                       TileRefOf(background), DestRefOf(thumb)) < 0)
        return {};
    return thumb;
}

int32_t GetLID(int32_t layerCount, double yTwips, double twipsPerPixelY, int32_t scroll) {
    if (layerCount < 1) return 0;
    const double tpp = twipsPerPixelY > 0 ? twipsPerPixelY : 15.0;
    const double row = Int((yTwips / tpp + scroll) / kLayerRowHeight) + 1;
    const auto held = static_cast<int32_t>(Clamp(row, 1.0, static_cast<double>(layerCount)));
    return layerCount + 1 - held;
}

int32_t GetIconPos(double xTwips, double yTwips, double twipsPerPixelX, double twipsPerPixelY,
                   int32_t scroll) {
    const double x = xTwips / (twipsPerPixelX > 0 ? twipsPerPixelX : 15.0);
    const double y = yTwips / (twipsPerPixelY > 0 ? twipsPerPixelY : 15.0);
    if (x < 62 || x > 77) return 0;
    // The remainder is taken of whole numbers, the sum rounded first as the runtime's Mod does.
    const int64_t within = static_cast<int64_t>(RoundToInt(y + scroll)) % kLayerRowHeight;
    return within >= 34 && within <= 49 ? 1 : 0;
}

}  // namespace brv
