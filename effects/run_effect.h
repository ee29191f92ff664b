// The dispatcher of effects, the selection's limit on them, the preview's computation and the
// saved places of the effect dialogs.
//
//   EffectHooks hooks;                      // the desktop program fills these
//   hooks.ShowDialog = ...;                 // without it a run needs its arguments
//   hooks.RedrawDocument = [&](int32_t fid) { ... };
//   int32_t rc = RunEffect(core, host, fx, hooks, fid, lid, "ef_hsv", std::nullopt);  // dialog
//   rc = RunEffect(core, host, fx, hooks, fid, lid, "ef_hsv", args);                  // no dialog
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "core/core_state.h"
#include "core/host.h"
#include "core/settings.h"
#include "effects/effect.h"

namespace brv {

inline constexpr std::string_view kUnsupportedEffect = "サポートしていない効果です。";
// What RunEffect returns for any fault inside it.
inline constexpr int32_t kEffectFault = -1;

// What RunEffect asks of the window system. Every member may be empty.
struct EffectHooks {
    // Shows an effect's dialog until it is closed (see Effect::DialogRunner).
    Effect::DialogRunner ShowDialog;
    // Recomposites a document's whole view and repaints its window.
    std::function<void(int32_t fid)> RedrawDocument;
    // Disables (false) and enables again (true) the main window and the pen window.
    std::function<void(bool enabled)> EnableWindows;
    // True while the program is closing.
    std::function<bool()> Closing;
};

// Runs an effect on layer LID of document FID. Without Args the dialog asks for them (and a
// cancelled dialog changes nothing); with Args nothing is shown. Afterwards the selection limits
// the change, the document may take the new size, the run is recorded as "Effect" + name and an
// undo point is made. Returns 0, an effect's negative refusal, or kEffectFault.
int32_t RunEffect(CoreState& core, Host& host, EffectState& fx, const EffectHooks& hooks,
                  int32_t FID, int32_t LID, std::string_view EffectName,
                  std::optional<EffectArgs> Args);

// Puts the layer's Backup back into Dest wherever the document's Selection is 0. Does nothing
// without a selection or when Dest and the Backup differ in size. The layer's offset plays no
// part: the mask lies on the layer's own coordinates.
void RestoreOutsideSelection(PixelBuffer& Dest, const CoreState& core, int32_t FID, int32_t LID);

// The preview window's computation (UserCallParent after its set-up test).
enum class PreviewOutcome {
    EndedChain,  // a computation was running: this call only ended its chain
    Reflected,   // the layer's Pixels show the result; the document needs a redraw
    Boxed,       // retBox holds the picture for the preview box
    Failed,      // the effect faulted on these arguments; nothing changed
};
// bReflect: "元画像に反映" is checked. box: the picture box's size in pixels. retBox receives a
// box-sized picture, rows top-down, opaque: the result over the checker background, its
// top-left corner at (0, 0), unscaled and cut off at the box's edges. retLayerWritten is set
// when the layer's Pixels were written.
PreviewOutcome RunPreview(CoreState& core, Host& host, EffectState& fx, Effect& effect, int32_t FID,
                          int32_t LID, bool bReflect, Size box, PixelBuffer& retBox,
                          bool& retLayerWritten);
// Closing the preview: a layer that it wrote takes its Backup back, so that the run starts from
// the unchanged pixels.
void ClosePreview(CoreState& core, int32_t FID, int32_t LID, bool layerWritten);

// The effect dialogs' geometry as kept in SettingsRecord::DialogPlaces, little-endian int32 at
// offsets 0 dialog left, 4 dialog top, 8 preview left, 12 preview top, 16 preview width,
// 20 preview height, 24 the preview's check boxes; the other bytes are reserved.
inline constexpr int32_t kPreviewReflectBit = 1;   // "元画像に反映"
inline constexpr int32_t kPreviewRealtimeBit = 2;  // "リアルタイムプレビュー"
struct EffectPlaces {
    int32_t DialogLeft = 0;
    int32_t DialogTop = 0;
    int32_t PreviewLeft = 0;
    int32_t PreviewTop = 0;
    int32_t PreviewWidth = 0;
    int32_t PreviewHeight = 0;
    int32_t PreviewChecks = 0;
};
EffectPlaces ReadEffectPlaces(const SettingsRecord& settings);
void WriteEffectPlaces(SettingsRecord& settings, const EffectPlaces& places);

// Where the dialog opens: the saved place brought onto the screen, or centred on the frame
// when both coordinates are 0.
PointI PlaceEffectDialog(const EffectPlaces& places, const ScreenMetrics& screen, RectI frame,
                         Size dialog);
// The preview's rectangle beside a dialog at `dialog`: at least 150 by 200 pixels, at the
// saved place when either coordinate is positive, else to the dialog's left.
RectI PlacePreview(const EffectPlaces& places, const ScreenMetrics& screen, RectI dialog);

}  // namespace brv
