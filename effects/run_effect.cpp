#include "effects/run_effect.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/action_log.h"
#include "core/compositor.h"
#include "core/undo_store.h"

namespace brv {

namespace {

LayerRecord* FindLayer(CoreState& core, int32_t fid, int32_t lid) {
    DocumentRecord* doc = core.Doc(fid);
    if (!doc || lid < 1 || lid > doc->LayerCount()) return nullptr;
    return &doc->Layers[static_cast<size_t>(lid)];
}

// How a run ends: with the clean-up, or (the document vanished mid-run) at once.
struct Outcome {
    int32_t code = 0;
    bool cleanUp = true;
};

Outcome Fault() {
    return {kEffectFault, true};
}

// Steps 5 to 11 of a run; the caller holds the catch-all and the clean-up.
Outcome RunEffectBody(CoreState& core, Host& host, EffectState& fx, const EffectHooks& hooks,
                      Effect& effect, int32_t fid, int32_t lid, std::optional<EffectArgs>& args) {
    if (!FindLayer(core, fid, lid)) return Fault();
    auto redraw = [&](int32_t f) {
        if (hooks.RedrawDocument) hooks.RedrawDocument(f);
    };

    if (!args) {
        fx.IsUIMode = true;
        LayerRecord* layer = FindLayer(core, fid, lid);
        layer->Backup = layer->Pixels;
        EffectCaps titleCaps;
        effect.SetEffectArgs(titleCaps);
        fx.Progress.PendingTitle = titleCaps.Title;
        args = effect.ShowUI(hooks.ShowDialog, core, host, fid, lid);
    }
    if (!args) {
        if (core.Doc(fid)) redraw(fid);
        return {0, true};
    }

    EffectCaps caps;
    effect.SetEffectArgs(caps);
    fx.IsCalculating = true;
    int32_t first = lid, last = lid;
    if (caps.AllLayers != 0) {
        bool all = caps.AllLayersArg == 0;
        if (!all) {
            if (caps.AllLayersArg < 0) return Fault();
            ArgReader a(*args);
            all = a.Int(static_cast<size_t>(caps.AllLayersArg)) != 0;
            if (a.Failed()) return Fault();
        }
        if (all) {
            first = 1;
            last = core.Doc(fid)->LayerCount();
        }
    }

    // A preview's seed is used once, so that the run repeats the last preview's picture.
    const double seed = fx.PendingSeed ? *fx.PendingSeed : -host.Milliseconds();
    fx.Random.Reseed(seed);
    fx.PendingSeed.reset();

    std::vector<int32_t> done;
    for (int32_t l = first; l <= last; ++l) {
        if (!core.Doc(fid)) {
            // Returns at once, leaving the windows as they are: intended, a batch that closed
            // the document owns them.
            return {0, false};
        }
        effect.SetArgs(*args);
        LayerRecord* layer = FindLayer(core, fid, l);
        if (!layer) return Fault();
        layer->Backup = layer->Pixels;
        fx.ErrorWord = 0;
        EffectEnv env{host, fx, core};
        std::optional<PixelBuffer> result = effect.Calc(layer->Pixels, env);
        if (!result) return Fault();
        // The computation may have let events run: a document closed meanwhile ends the run as
        // the check above would, and the layer is looked up again.
        if (!core.Doc(fid)) return {0, false};
        layer = FindLayer(core, fid, l);
        if (!layer) return Fault();
        layer->Pixels = std::move(*result);
        done.push_back(l);
        if (fx.ErrorWord < 0) return {fx.ErrorWord, true};
        if (fx.CancelWord) {
            for (int32_t k : done)
                if (LayerRecord* back = FindLayer(core, fid, k)) back->Pixels = back->Backup;
            return {0, true};
        }
    }

    for (int32_t k : done)
        if (LayerRecord* layer = FindLayer(core, fid, k))
            RestoreOutsideSelection(layer->Pixels, core, fid, k);

    DocumentRecord* doc = core.Doc(fid);
    if (caps.ResizesDocument != 0) {
        bool resize = true;
        // Only an index above 1 is read here, where the layer range counts one of 1 already:
        // the asymmetry is intended.
        if (caps.ResizeArg > 1) {
            ArgReader a(*args);
            resize = a.Int(static_cast<size_t>(caps.ResizeArg)) != 0;
            if (a.Failed()) return Fault();
        }
        if (resize) {
            const LayerRecord* start = FindLayer(core, fid, lid);
            if (!start) return Fault();
            doc->Width = start->Pixels.Width();
            doc->Height = start->Pixels.Height();
            doc->Selection.width = doc->Width;
            doc->Selection.height = doc->Height;
            doc->Selection.bytes.assign(
                static_cast<size_t>(doc->Width) * static_cast<size_t>(doc->Height), 0);
            doc->OutlineCount = 0;
        }
    }
    redraw(fid);
    if (core.Recorder.Recording())
        RecordAction(core.Recorder, core.ActiveFID, "Effect" + std::string(effect.Name()), lid,
                     EffectArgsToFields(*args));
    SaveUndo(core, host, fid);
    return {0, true};
}

// The result over the checker background in a box-sized picture, unscaled from (0, 0).
PixelBuffer BoxPicture(const PixelBuffer& picture, const PixelBuffer& tile, Size box) {
    if (box.width < 1 || box.height < 1) return PixelBuffer();
    PixelBuffer canvas(box.width, box.height);
    const int32_t w = std::min(box.width, picture.Width());
    const int32_t h = std::min(box.height, picture.Height());
    for (int32_t y = 0; y < h; ++y)
        std::memcpy(canvas.Row(y), picture.Row(y), size_t{4} * static_cast<size_t>(w));
    PixelBuffer white(1, 1);
    white.Fill({255, 255, 255, 255});
    const PixelBuffer& background = tile.Empty() ? white : tile;
    const LayerRef layer{canvas.Bytes(), 0, 0};
    PixelBuffer bottomUp(box.width, box.height);
    if (CalcLayersEasy({std::span(&layer, 1), box.width, box.height}, TileRefOf(background),
                       DestRefOf(bottomUp)) < 0)
        return PixelBuffer();
    FlipAndInvert(bottomUp, true, false);
    return bottomUp;
}

int32_t ReadInt32(const std::array<uint8_t, 92>& bytes, size_t at) {
    uint32_t v = 0;
    for (size_t i = 0; i < 4; ++i)
        v |= uint32_t{bytes[at + i]} << (8 * i);
    return static_cast<int32_t>(v);
}

void WriteInt32(std::array<uint8_t, 92>& bytes, size_t at, int32_t value) {
    const auto v = static_cast<uint32_t>(value);
    for (size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

// A negative coordinate becomes 0; one beyond the screen comes back to 50 pixels before its
// edge.
int32_t OntoScreen(int32_t v, int32_t extent) {
    if (v < 0) return 0;
    if (v > extent) return extent - 50;
    return v;
}

}  // namespace

int32_t RunEffect(CoreState& core, Host& host, EffectState& fx, const EffectHooks& hooks,
                  int32_t FID, int32_t LID, std::string_view EffectName,
                  std::optional<EffectArgs> Args) {
    if (FID < 1) return 0;
    // Nothing here can leave a clipboard open, so the original's guard against one has no
    // counterpart.
    fx.CancelWord = false;
    fx.IsUIMode = false;
    fx.IsCalculating = false;
    std::unique_ptr<Effect> effect = fx.Registry.Create(EffectName);
    if (!effect) {
        host.ShowMessage(kUnsupportedEffect, MessageIcon::Exclamation);
        return 0;
    }
    if (hooks.EnableWindows) hooks.EnableWindows(false);

    Outcome outcome;
    try {
        outcome = RunEffectBody(core, host, fx, hooks, *effect, FID, LID, Args);
    } catch (...) {
        outcome = Fault();
    }
    if (!outcome.cleanUp) return outcome.code;

    if (!(hooks.Closing && hooks.Closing()) && hooks.EnableWindows) hooks.EnableWindows(true);
    if (core.Doc(core.ActiveFID)) host.FocusDocumentWindow(core.ActiveFID);
    effect.reset();
    fx.IsCalculating = false;
    fx.IsUIMode = false;
    return outcome.code;
}

void RestoreOutsideSelection(PixelBuffer& Dest, const CoreState& core, int32_t FID, int32_t LID) {
    const DocumentRecord* doc = core.Doc(FID);
    if (!doc || LID < 1 || LID > doc->LayerCount() || doc->OutlineCount < 1) return;
    const PixelBuffer& backup = doc->Layers[static_cast<size_t>(LID)].Backup;
    if (Dest.Width() != backup.Width() || Dest.Height() != backup.Height()) return;
    const SelectionMask& mask = doc->Selection;
    // The document's size bounds the walk; a mask or a layer smaller than the document (which
    // the model never makes) limits it further instead of being read past.
    const int32_t w = std::min({doc->Width, Dest.Width(), mask.width});
    const int32_t h = std::min({doc->Height, Dest.Height(), mask.height});
    if (w < 1 || h < 1 ||
        mask.bytes.size() < static_cast<size_t>(mask.width) * static_cast<size_t>(mask.height))
        return;
    for (int32_t y = 0; y < h; ++y) {
        const uint8_t* m =
            mask.bytes.data() + static_cast<size_t>(y) * static_cast<size_t>(mask.width);
        uint8_t* d = Dest.Row(y);
        const uint8_t* b = backup.Row(y);
        for (int32_t x = 0; x < w; ++x)
            if (m[x] == 0) std::memcpy(d + 4 * x, b + 4 * x, 4);
    }
}

PreviewOutcome RunPreview(CoreState& core, Host& host, EffectState& fx, Effect& effect, int32_t FID,
                          int32_t LID, bool bReflect, Size box, PixelBuffer& retBox,
                          bool& retLayerWritten) {
    // A change that arrives while a computation lets events run ends that chain instead of
    // starting a nested one.
    if (fx.PreviewBusy) {
        fx.PreviewBusy = false;
        return PreviewOutcome::EndedChain;
    }
    fx.PreviewBusy = true;
    const double seed = -host.Milliseconds();
    fx.PendingSeed = seed;
    fx.Random.Reseed(seed);

    PreviewOutcome outcome = PreviewOutcome::Failed;
    try {
        if (const LayerRecord* layer = FindLayer(core, FID, LID)) {
            if (bReflect) retLayerWritten = true;
            EffectEnv env{host, fx, core};
            std::optional<PixelBuffer> result = effect.Calc(layer->Backup, env);
            LayerRecord* again = FindLayer(core, FID, LID);
            if (result && again) {
                if (bReflect) {
                    again->Pixels = std::move(*result);
                    RestoreOutsideSelection(again->Pixels, core, FID, LID);
                    outcome = PreviewOutcome::Reflected;
                } else {
                    RestoreOutsideSelection(*result, core, FID, LID);
                    retBox = BoxPicture(*result, core.BackgroundTile, box);
                    outcome = PreviewOutcome::Boxed;
                }
            }
        }
    } catch (...) {
        outcome = PreviewOutcome::Failed;
    }
    fx.PreviewBusy = false;
    return outcome;
}

void ClosePreview(CoreState& core, int32_t FID, int32_t LID, bool layerWritten) {
    if (!layerWritten) return;
    if (LayerRecord* layer = FindLayer(core, FID, LID)) layer->Pixels = layer->Backup;
}

EffectPlaces ReadEffectPlaces(const SettingsRecord& settings) {
    const auto& b = settings.DialogPlaces;
    EffectPlaces p;
    p.DialogLeft = ReadInt32(b, 0);
    p.DialogTop = ReadInt32(b, 4);
    p.PreviewLeft = ReadInt32(b, 8);
    p.PreviewTop = ReadInt32(b, 12);
    p.PreviewWidth = ReadInt32(b, 16);
    p.PreviewHeight = ReadInt32(b, 20);
    p.PreviewChecks = ReadInt32(b, 24);
    return p;
}

void WriteEffectPlaces(SettingsRecord& settings, const EffectPlaces& places) {
    auto& b = settings.DialogPlaces;
    WriteInt32(b, 0, places.DialogLeft);
    WriteInt32(b, 4, places.DialogTop);
    WriteInt32(b, 8, places.PreviewLeft);
    WriteInt32(b, 12, places.PreviewTop);
    WriteInt32(b, 16, places.PreviewWidth);
    WriteInt32(b, 20, places.PreviewHeight);
    WriteInt32(b, 24, places.PreviewChecks & 3);
}

PointI PlaceEffectDialog(const EffectPlaces& places, const ScreenMetrics& screen, RectI frame,
                         Size dialog) {
    PointI p{OntoScreen(places.DialogLeft, screen.ScreenWidth),
             OntoScreen(places.DialogTop, screen.ScreenHeight)};
    if (p.x == 0 && p.y == 0) {
        p.x = frame.left + (frame.right - frame.left - dialog.width) / 2;
        p.y = frame.top + (frame.bottom - frame.top - dialog.height) / 2;
    }
    return p;
}

RectI PlacePreview(const EffectPlaces& places, const ScreenMetrics& screen, RectI dialog) {
    const int32_t w = std::max(places.PreviewWidth, 150);
    const int32_t h = std::max(places.PreviewHeight, 200);
    PointI p{OntoScreen(places.PreviewLeft, screen.ScreenWidth),
             OntoScreen(places.PreviewTop, screen.ScreenHeight)};
    if (p.x == 0 && p.y == 0) p = {dialog.left - w, dialog.top - h};
    // The window only keeps a place with a positive coordinate; otherwise it goes to the
    // dialog's left.
    if (!(p.x > 0 || p.y > 0)) p = {dialog.left - w, dialog.top};
    return {p.x, p.y, p.x + w, p.y + h};
}

}  // namespace brv
