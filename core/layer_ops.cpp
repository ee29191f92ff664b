#include "core/layer_ops.h"

#include <algorithm>

#include "core/action_log.h"
#include "core/documents.h"
#include "core/messages.h"
#include "core/undo_store.h"

namespace brv {

namespace {

void Record(CoreState& state, std::string_view word, int32_t lid, std::string arg = "0") {
    if (!state.Recorder.Recording()) return;
    RecordAction(state.Recorder, state.ActiveFID, word, lid, {std::move(arg)});
}

}  // namespace

int32_t LayerAdd(CoreState& state, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    const int32_t lid = AddLayerSlot(state, fid);
    doc->ActiveLID = lid;
    Record(state, "LayerAdd", lid);
    return lid;
}

int32_t LayerCopy(CoreState& state, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || doc->ActiveLID < 1 || doc->ActiveLID > doc->LayerCount()) return -1;
    const int32_t source = doc->ActiveLID;
    LayerRecord copy = doc->Layers[static_cast<size_t>(source)];
    const int32_t lid = AddLayerSlot(state, fid);
    doc->ActiveLID = lid;
    doc->Layers[static_cast<size_t>(lid)] = std::move(copy);
    Record(state, "LayerCopyLayer", source);
    return lid;
}

int32_t LayerDelete(CoreState& state, int32_t fid, int32_t target) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    if (target < 1) target = doc->ActiveLID;
    const int32_t n = doc->LayerCount();
    int32_t result = -1;
    if (target >= 1 && target <= n && n >= 2) {
        const bool penLayer = target == doc->PenLID;
        LayerRecord saved;
        if (penLayer) saved = doc->Layers[static_cast<size_t>(target)];
        doc->Layers.erase(doc->Layers.begin() + target);
        doc->ActiveLID = std::clamp(doc->ActiveLID, 1, n - 1);
        if (penLayer && doc->PenLID >= 1 && doc->PenLID <= n - 1) {
            LayerRecord& heir = doc->Layers[static_cast<size_t>(doc->PenLID)];
            heir.Tool = saved.Tool;
            heir.PenColor = saved.PenColor;
            heir.PenTransparency = saved.PenTransparency;
            heir.PenParams = saved.PenParams;
        }
        result = 0;
    }
    // Recorded even when nothing was deleted, as the menu always did.
    Record(state, "LayerDelete", target);
    return result;
}

int32_t LayerChangePos(CoreState& state, Host& host, int32_t fid, int32_t fromLid, int32_t toLid,
                       bool bQuiet) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    if (fromLid == toLid) return 0;
    const int32_t n = doc->LayerCount();
    if (fromLid < 1 || fromLid > n || toLid < 1 || toLid > n) return -1;
    LayerRecord held = std::move(doc->Layers[static_cast<size_t>(fromLid)]);
    doc->Layers.erase(doc->Layers.begin() + fromLid);
    doc->Layers.insert(doc->Layers.begin() + toLid, std::move(held));
    doc->ActiveLID = toLid;
    Record(state, "LayerChangePos", fromLid, std::to_string(toLid));
    if (!bQuiet) SaveUndo(state, host, fid);
    return 0;
}

int32_t LayerCombine(CoreState& state, Host& host, int32_t fid, int32_t lid, bool bRefresh) {
    (void)bRefresh;  // the caller refreshes
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    if (lid < 1) lid = doc->ActiveLID;
    if (lid - 1 < 1 || lid > doc->LayerCount()) {
        host.ShowMessage(msg::kLayerCombineFailed, MessageIcon::Exclamation);
        return -1;
    }
    LayerRecord& upper = doc->Layers[static_cast<size_t>(lid)];
    const LayerRecord& lower = doc->Layers[static_cast<size_t>(lid - 1)];
    PixelBuffer w = upper.Pixels;
    if (lower.Visible != 0) {
        const int32_t dx = upper.OffsetX - lower.OffsetX;
        const int32_t dy = upper.OffsetY - lower.OffsetY;
        const int32_t width = doc->Width, height = doc->Height;
        for (int32_t y = 0; y < height; ++y) {
            const int64_t y2 = int64_t{y} + dy;
            if (y2 < 0 || y2 >= height || y2 >= lower.Pixels.Height()) continue;
            uint8_t* wr = w.Row(y);
            const uint8_t* lr = lower.Pixels.Row(static_cast<int32_t>(y2));
            for (int32_t x = 0; x < width; ++x) {
                const int64_t x2 = int64_t{x} + dx;
                if (x2 < 0 || x2 >= width || x2 >= lower.Pixels.Width()) continue;
                uint8_t* p = wr + 4 * x;
                const uint8_t* q = lr + 4 * x2;
                const int a = p[3];
                int b = q[3];
                int t = a + b;
                if (t > 255) {
                    b = 255 - a;
                    t = 255;
                }
                if (t >= 1) {
                    for (int c = 0; c < 3; ++c)
                        p[c] = static_cast<uint8_t>((p[c] * a) / t + (q[c] * b) / t);
                    p[3] = static_cast<uint8_t>(t);
                }
            }
        }
    }
    upper.Pixels = std::move(w);
    // The lower layer goes even when it was hidden and nothing of it was merged.
    const bool recording = state.Recorder.Recording();
    state.Recorder.ActionRecording = 0;
    LayerDelete(state, fid, lid - 1);
    state.Recorder.ActionRecording = recording ? 1 : 0;
    Record(state, "LayerCombine", lid);
    return 0;
}

int32_t LayerCombineAll(CoreState& state, Host& host, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    const bool recording = state.Recorder.Recording();
    state.Recorder.ActionRecording = 0;
    for (int32_t k = doc->LayerCount(); k >= 2; --k)
        LayerCombine(state, host, fid, k, false);
    state.Recorder.ActionRecording = recording ? 1 : 0;
    Record(state, "LayerCombineALL", doc->ActiveLID);
    return 0;
}

int32_t ReflectLayerPos(CoreState& state, int32_t fid, int32_t lid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || lid < 1 || lid > doc->LayerCount()) return -1;
    LayerRecord& layer = doc->Layers[static_cast<size_t>(lid)];
    PixelBuffer out(doc->Width, doc->Height);
    for (int32_t y = 0; y < doc->Height; ++y) {
        const int64_t sy = int64_t{y} - layer.OffsetY;
        if (sy < 0 || sy >= layer.Pixels.Height()) continue;
        for (int32_t x = 0; x < doc->Width; ++x) {
            const int64_t sx = int64_t{x} - layer.OffsetX;
            if (sx < 0 || sx >= layer.Pixels.Width()) continue;
            const uint8_t* s =
                layer.Pixels.PixelPtr(static_cast<int32_t>(sx), static_cast<int32_t>(sy));
            std::copy_n(s, 4, out.PixelPtr(x, y));
        }
    }
    layer.Pixels = std::move(out);
    layer.OffsetX = 0;
    layer.OffsetY = 0;
    return 0;
}

int32_t LayerUpTarget(const DocumentRecord& doc) {
    const int32_t n = doc.LayerCount();
    return (n >= 2 && doc.ActiveLID < n) ? doc.ActiveLID + 1 : 0;
}

int32_t LayerDownTarget(const DocumentRecord& doc) {
    const int32_t n = doc.LayerCount();
    return (n >= 2 && doc.ActiveLID > 1) ? doc.ActiveLID - 1 : 0;
}

}  // namespace brv
