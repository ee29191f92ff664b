#include "tools/clipboard.h"

#include <cstring>
#include <string>

#include "core/action_log.h"
#include "tools/selection.h"

namespace brv {

namespace {

std::string Truth(bool b) {
    return b ? "-1" : "0";
}

}  // namespace

void PutPrivateClip(PrivateClipRecord& clip, const PixelBuffer& Pixels, int32_t Left, int32_t Top,
                    int32_t OwnerStamp) {
    clip.Left = Left;
    clip.Top = Top;
    clip.Width = Pixels.Width();
    clip.Height = Pixels.Height();
    clip.Pixels = Pixels;
    clip.Valid = kYes;
    clip.OwnerStamp = OwnerStamp;
}

int32_t ClipPut(Host& host, const PixelBuffer& Pixels) {
    PixelBuffer copy = Pixels;
    FlipAndInvert(copy, true, true);
    if (host.ClipboardPut(copy)) return kClipOk;
    host.ShowMessage(kClipboardRefused, MessageIcon::Exclamation);
    return kClipNothing;
}

int32_t ClipGet(Host& host, PixelBuffer& retPixels, bool bSizeOnly) {
    if (bSizeOnly) return host.ClipboardPictureSize() ? kClipOk : kClipNothing;
    std::optional<PixelBuffer> picture = host.ClipboardGet();
    if (!picture || picture->Empty()) return kClipNothing;
    retPixels = std::move(*picture);
    return kClipOk;
}

int32_t ClipGetSize(Host& host, int32_t& retWidth, int32_t& retHeight) {
    const std::optional<Size> size = host.ClipboardPictureSize();
    if (!size) return kClipNothing;
    retWidth = size->width;
    retHeight = size->height;
    return kClipOk;
}

int32_t GetClipSource(Host& host, const PrivateClipRecord& clip, PixelBuffer& retPixels,
                      int32_t& retLeft, int32_t& retTop, int32_t& retOwner, bool bSizeOnly) {
    int32_t w = 0, h = 0;
    // The size alone decides: a foreign picture of the same size brings back the private copy.
    if (ClipGetSize(host, w, h) == kClipOk && w == clip.Width && h == clip.Height) {
        if (bSizeOnly) return kClipOk;
        retPixels = clip.Pixels;
        retLeft = clip.Left;
        retTop = clip.Top;
        retOwner = clip.OwnerStamp;
        return kClipOk;
    }
    if (ClipGet(host, retPixels, bSizeOnly) != kClipOk) return kClipNothing;
    if (bSizeOnly) return kClipOk;
    retLeft = 0;
    retTop = 0;
    retOwner = 0;
    return kClipOk;
}

int32_t CutOrCopy(const ClipContext& ctx, int32_t FID, int32_t LID, bool bCut, bool bNoClipboard) {
    CoreState& state = ctx.State;
    DocumentRecord* doc = state.Doc(FID);
    if (!doc) return kClipNothing;
    PixelBuffer piece;
    RectI rect;
    if (TakeSelection(*doc, piece, LID, bCut, &rect) < 0) return kClipNothing;
    if (!bNoClipboard) {
        ClipPut(ctx.host, piece);
        FlipAndInvert(piece, true, true);
        PutPrivateClip(ctx.Private, piece, rect.left, rect.top, doc->Stamp);
    }
    if (bCut) std::fill(doc->Selection.bytes.begin(), doc->Selection.bytes.end(), uint8_t{0});
    RecordAction(state.Recorder, state.ActiveFID, "EditCutOrCopy", LID, {Truth(bCut)});
    return kClipOk;
}

int32_t Paste(const ClipContext& ctx, int32_t FID, int32_t LID, int32_t x, int32_t y,
              bool bMasked) {
    CoreState& state = ctx.State;
    DocumentRecord* doc = state.Doc(FID);
    if (!doc) return kClipNothing;
    PixelBuffer piece;
    int32_t left = 0, top = 0, owner = 0;
    if (GetClipSource(ctx.host, ctx.Private, piece, left, top, owner, false) != kClipOk)
        return kClipNothing;
    if (x == kPasteSentinel || y == kPasteSentinel) {
        const bool home = owner != 0 && owner == doc->Stamp;
        x = home ? left : 0;
        y = home ? top : 0;
    }
    FlipAndInvert(piece, true, true);

    if (LID < 0 || LID > doc->LayerCount()) return kClipOutsideLayer;
    PixelBuffer& dest = doc->Layers[static_cast<size_t>(LID)].Pixels;
    const SelectionMask& mask = doc->Selection;
    for (int32_t i = 0; i < piece.Width(); ++i) {
        const int64_t px = int64_t{x} + i;
        if (px >= dest.Width()) continue;
        for (int32_t j = 0; j < piece.Height(); ++j) {
            const int64_t py = int64_t{y} + j;
            if (py >= dest.Height()) continue;
            // The left and top are not tested: the commands never paste there, and an action
            // line that does stops here.
            if (px < 0 || py < 0) return kClipOutsideLayer;
            const auto cx = static_cast<int32_t>(px), cy = static_cast<int32_t>(py);
            if (bMasked) {
                if (cx >= mask.width || cy >= mask.height) return kClipOutsideLayer;
                if (mask.bytes[static_cast<size_t>(cy) * static_cast<size_t>(mask.width) +
                               static_cast<size_t>(cx)] == 0)
                    continue;
            }
            std::memcpy(dest.PixelPtr(cx, cy), piece.PixelPtr(i, j), 4);
        }
    }
    RecordAction(state.Recorder, state.ActiveFID, "EditPaste", LID,
                 {std::to_string(x), std::to_string(y), Truth(bMasked)});
    return kClipOk;
}

}  // namespace brv
