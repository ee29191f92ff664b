// The action player: an action file played line by line on a document, each line calling the
// same kernels, effects and layer commands as the step it was recorded from, with numbers and
// no window.
//
//   ActionPlayerHooks hooks;                    // the desktop program fills what it has
//   hooks.Effects.RedrawDocument = ...;
//   ActionContext ctx{app, host, hooks};
//   std::string summary;
//   RunActionFile(ctx, fid, app.Core.Paths.DefaultActionFile, summary);
//   // then a full refresh and one SaveUndo: the whole run is one undo step
//
// A line is "verb,LID,arg,...". Numbers are read leniently, as the files of the original
// program expect: a field stops at the first character that does not fit, so "True" and any
// other word read 0.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/app_state.h"
#include "core/host.h"
#include "effects/run_effect.h"

namespace brv {

// RunActionLine's codes; ActionErrorText gives their texts.
inline constexpr int32_t kActionLineOk = 0;
inline constexpr int32_t kActionTooFewFields = -1;
inline constexpr int32_t kActionDrawPenTooShort = -2;
inline constexpr int32_t kActionUndefined = -3;
inline constexpr int32_t kActionEffectUnusable = -4;
inline constexpr int32_t kActionEffectBadArgs = -5;
// A line that names a layer or pattern the document does not have: where the original program
// met an unguarded array access. It ends the run; it has no text of its own in the table.
inline constexpr int32_t kActionLineFault = -1000;

inline constexpr std::string_view kActionStepQuestionTail =
    "（次からメッセージをスキップする時は「いいえ」を選択してください。）";
inline constexpr std::string_view kActionErrorAt = "を実行時にエラー";
inline constexpr std::string_view kActionCancelled = "ユーザーによりキャンセルしました。";
// What the log says of a line that ended the run.
inline constexpr std::string_view kActionFaultText =
    "予期しないエラーが発生したため、アクションの実行を中止しました。";

// The commands whose parts are not in the logic libraries yet; the window system (or a test)
// connects them. An empty hook does nothing and returns 0.
struct ActionPlayerHooks {
    // "SubEffect" + name: the selection effect with its integer arguments ("sef_selectofcolor"
    // six, "sef_selectrect" five).
    std::function<int32_t(int32_t fid, int32_t lid, std::string_view name,
                          const std::vector<int32_t>& args)>
        SubEffect;
    // "se_" + name: the dispatcher of named commands. values is the one element of its
    // argument list: the line's fields from the third on, as text.
    std::function<int32_t(int32_t fid, int32_t lid, std::string_view name,
                          const std::vector<std::string>& values)>
        NamedCommand;
    // "plterefrect": the palette operation on layer lid with the decoded palette bytes.
    std::function<int32_t(int32_t fid, int32_t lid, const std::vector<uint8_t>& palette)>
        PaletteRefresh;
    // Handed to RunEffect for the "Effect" lines; RedrawDocument also serves the full refresh
    // before a step question.
    EffectHooks Effects;
};

// What one run needs: the state it changes, the host it asks, the hooks it calls.
struct ActionContext {
    AppState& App;
    Host& host;
    const ActionPlayerHooks& Hooks;
};

// Plays an action file on document FID. Returns 0, or -1 when a line failed (or the run was
// ended). retResult: "エラー数 <errors>/<lines> " and the log of the failed lines. A file that
// cannot be read does nothing and returns 0: the callers test that it exists.
int32_t RunActionFile(ActionContext& ctx, int32_t FID, std::string_view ActionFnm,
                      std::string& retResult);

// Carries out one line on document FID and returns its code.
int32_t RunActionLine(ActionContext& ctx, int32_t FID, std::string_view Line);

// The text of a RunActionLine code; empty for 0 and any code without one.
std::string_view ActionErrorText(int32_t Code);

// The largest LID field of the file's lines; 0 for none or an unreadable file.
int32_t GetMaxActionLID(std::string_view ActionFnm);

// The leading number of a field, as the lenient reader takes it: blanks skipped, then a sign,
// digits, a decimal point and an exponent as far as they fit; 0 when nothing fits.
double LenientNumber(std::string_view text);
// LenientNumber rounded into 32 bits; 0 when it lies beyond them.
int32_t LenientInt(std::string_view text);

}  // namespace brv
