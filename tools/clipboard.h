// Cut, copy and paste of the selection through the clipboard.
//
//   ClipContext clip{app.Core, host, app.Clip};
//   CutOrCopy(clip, fid, doc.ActiveLID, false, false);   // copy: clipboard + private copy
//   Paste(clip, other, lid, kPasteSentinel, kPasteSentinel, false);
//   // then the full refresh, and SaveUndo unless it was a copy
//
// The clipboard carries a plain picture for other programs. Beside it the program keeps a
// private copy with the place it was cut from; a paste takes the private copy whenever the
// clipboard's picture has the same size, whatever that picture is.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "core/core_state.h"
#include "core/document.h"
#include "core/host.h"
#include "core/pixel_buffer.h"

namespace brv {

// The last cut or copy: process-wide, replaced by each, never cleared.
struct PrivateClipRecord {
    int32_t Left = 0;  // where the cut-out stood in its document
    int32_t Top = 0;
    int32_t Width = 0;
    int32_t Height = 0;
    PixelBuffer Pixels;      // in the in-transit conventions, as the clipboard holds it
    int16_t Valid = kNo;     // set by the first cut or copy
    int32_t OwnerStamp = 0;  // Stamp of the document it came from
};

struct ClipContext {
    CoreState& State;
    Host& host;
    PrivateClipRecord& Private;
};

// x and y of Paste that ask for the piece's own place in its source document (the corner of
// any other).
inline constexpr int32_t kPasteSentinel = std::numeric_limits<int32_t>::min();

// Results. Nothing to cut and nothing to paste stay silent.
inline constexpr int32_t kClipOk = 0;
inline constexpr int32_t kClipNothing = -1;
// A paste that reaches left of or above its layer, or into a layer that does not exist: the
// places the paste leaves unguarded. What was pasted before it stays.
inline constexpr int32_t kClipOutsideLayer = -2;

// Shown when the platform will not take the picture; the private copy is made all the same.
inline constexpr std::string_view kClipboardRefused = "クリップボードに画像を置けませんでした。";

void PutPrivateClip(PrivateClipRecord& clip, const PixelBuffer& Pixels, int32_t Left, int32_t Top,
                    int32_t OwnerStamp);

// A copy of a layer picture, turned to the in-transit conventions, onto the clipboard.
// kClipNothing when the platform refused it (after the message).
int32_t ClipPut(Host& host, const PixelBuffer& Pixels);
// The clipboard's picture in the in-transit conventions; with bSizeOnly only whether there is
// one. kClipNothing when it holds none.
int32_t ClipGet(Host& host, PixelBuffer& retPixels, bool bSizeOnly);
int32_t ClipGetSize(Host& host, int32_t& retWidth, int32_t& retHeight);

// What a paste would lay: the private copy when the clipboard's picture has its size, else
// the clipboard's picture at (0, 0) with no owner. In-transit conventions. kClipNothing when
// the clipboard holds no picture.
int32_t GetClipSource(Host& host, const PrivateClipRecord& clip, PixelBuffer& retPixels,
                      int32_t& retLeft, int32_t& retTop, int32_t& retOwner, bool bSizeOnly);

// Takes the selection of layer LID (0: all visible layers) to the clipboard and the private
// copy, unless bNoClipboard; with bCut the pixels go and so does the whole selection. Records
// "EditCutOrCopy". kClipNothing, silently, without a selection. The caller refreshes.
int32_t CutOrCopy(const ClipContext& ctx, int32_t FID, int32_t LID, bool bCut, bool bNoClipboard);

// Lays the clipboard's picture into layer LID with its top-left at (x, y), replacing what is
// there; with bMasked only where the selection is set. Pixels past the right and bottom are
// dropped. x or y kPasteSentinel: the piece's own place if it came from this document, else
// (0, 0). Records "EditPaste" with the place used. The caller refreshes.
int32_t Paste(const ClipContext& ctx, int32_t FID, int32_t LID, int32_t x, int32_t y, bool bMasked);

}  // namespace brv
