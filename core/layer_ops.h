// The commands on a document's layer table. They change the document and record their action
// word; the caller refreshes the view and the layer list and takes the undo snapshot (only
// LayerChangePos takes its own unless it is quiet).
#pragma once

#include <cstdint>

#include "core/core_state.h"
#include "core/host.h"

namespace brv {

// A transparent layer on top, made active. Returns its LID, or -1.
int32_t LayerAdd(CoreState& state, int32_t fid);
// A copy of the active layer, pen settings and offsets included, always on top.
int32_t LayerCopy(CoreState& state, int32_t fid);
// Deletes the target (the active layer when target is 0 or less). The pen settings of a
// deleted PenLID layer pass to the layer that takes its place. -1 for a single layer or a bad
// LID: nothing changes, though the action word is recorded all the same.
int32_t LayerDelete(CoreState& state, int32_t fid, int32_t target = 0);
// Moves a layer to a new position; the layers between close up. Unless quiet, takes an undo
// snapshot. -1 when either position is outside 1..n.
int32_t LayerChangePos(CoreState& state, Host& host, int32_t fid, int32_t fromLid, int32_t toLid,
                       bool bQuiet);
// Merges a layer (the active one for lid under 1) into the one below with the compositor's
// accumulation; a hidden lower layer is dropped unmerged. -1 with the box for the bottom layer.
int32_t LayerCombine(CoreState& state, Host& host, int32_t fid, int32_t lid, bool bRefresh);
int32_t LayerCombineAll(CoreState& state, Host& host, int32_t fid);
// Bakes a layer's offset into its pixels; what lay outside the document is gone.
int32_t ReflectLayerPos(CoreState& state, int32_t fid, int32_t lid);

// The menu's move up and move down targets, or 0 when the move is not permitted.
int32_t LayerUpTarget(const DocumentRecord& doc);
int32_t LayerDownTarget(const DocumentRecord& doc);

}  // namespace brv
