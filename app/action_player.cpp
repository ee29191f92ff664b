#include "app/action_player.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

#include "actions/action_codec.h"
#include "actions/action_file.h"
#include "core/arith.h"
#include "core/layer_ops.h"
#include "core/view_render.h"
#include "tools/clipboard.h"
#include "tools/flood_fill.h"
#include "tools/freehand.h"
#include "tools/pattern_library.h"
#include "tools/retouch.h"
#include "tools/shapes.h"
#include "tools/stamp.h"
#include "tools/tool_steps.h"

namespace brv {

namespace {

// A line that reaches for something the document or the line does not have. It travels inside
// this file only and becomes kActionLineFault at RunActionLine's door.
struct LineFault {};

std::vector<std::string_view> SplitFields(std::string_view line) {
    std::vector<std::string_view> fields;
    size_t start = 0;
    while (true) {
        const size_t comma = line.find(',', start);
        if (comma == std::string_view::npos) {
            fields.push_back(line.substr(start));
            return fields;
        }
        fields.push_back(line.substr(start, comma - start));
        start = comma + 1;
    }
}

bool StartsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

std::string_view Field(const std::vector<std::string_view>& fields, size_t i) {
    if (i >= fields.size()) throw LineFault{};
    return fields[i];
}

// A field as a truth value: the words True and False, or a number that is not 0.
bool TruthField(std::string_view text) {
    std::string word;
    for (char c : text)
        if (c != ' ')
            word.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    if (word == "true") return true;
    if (word == "false") return false;
    return LenientNumber(text) != 0.0;
}

DocumentRecord& DocOf(ActionContext& ctx, int32_t fid) {
    DocumentRecord* doc = ctx.App.Core.Doc(fid);
    if (!doc) throw LineFault{};
    return *doc;
}

LayerRecord& LayerOf(DocumentRecord& doc, int32_t lid) {
    if (lid < 1 || lid > doc.LayerCount()) throw LineFault{};
    return doc.Layers[static_cast<size_t>(lid)];
}

// The Pen class's numbers: every field from the third on, as a double, kept only when it lies
// within 32 bits, then rounded.
class PenNumbers {
public:
    explicit PenNumbers(const std::vector<std::string_view>& fields) {
        for (size_t i = 2; i < fields.size(); ++i) {
            const double d = LenientNumber(fields[i]);
            values_.push_back(d >= -2147483648.0 && d <= 2147483647.0 ? RoundToInt(d) : 0);
        }
    }
    int32_t operator()(size_t i) const {
        if (i >= values_.size()) throw LineFault{};
        return values_[i];
    }

private:
    std::vector<int32_t> values_;
};

// The selection as a line carries it, fitted to the document: the undo snapshots and the
// outline expect a mask of the document's size, so what lies beyond it is dropped and what
// the line does not cover stays unselected.
void SetSelectionFromLine(DocumentRecord& doc, std::string_view text) {
    ByteImage mask;
    if (DecodeByteImage(text, mask) < 0) throw LineFault{};
    SelectionMask& sel = doc.Selection;
    sel.width = doc.Width;
    sel.height = doc.Height;
    sel.bytes.assign(static_cast<size_t>(doc.Width) * static_cast<size_t>(doc.Height), 0);
    const int32_t w = std::min(doc.Width, mask.Columns);
    const int32_t h = std::min(doc.Height, mask.Rows);
    for (int32_t y = 0; y < h; ++y)
        std::memcpy(sel.bytes.data() + static_cast<size_t>(y) * static_cast<size_t>(doc.Width),
                    mask.Bytes.data() + static_cast<size_t>(y) * static_cast<size_t>(mask.Columns),
                    static_cast<size_t>(std::max(w, 0)));
}

int32_t PlayFill(DocumentRecord& doc, int32_t lid, const PenNumbers& a,
                 const std::vector<std::string_view>& fields) {
    LayerRecord& layer = LayerOf(doc, lid);
    PixelBuffer pattern;
    ByteImage image;
    // A pattern that does not decode leaves the fill with nothing to lay.
    if (DecodeByteImage(Field(fields, 4), image) == kActionCodecOk)
        ByteImageToPixels(image, pattern);
    // The line's blend field is taken as the pen window's value whatever it holds, so a
    // recorded pattern fill plays with the complement of its live blend. Intended.
    const int32_t blend = SaturateToInt32(255 - int64_t{a(3)});
    const int32_t x = a(0), y = a(1), tolerance = a(4), unused = a(5);
    if (a(6) != 0 && lid >= 2) {
        // The layer below gives the shape; the seed is taken as it stands on the line.
        LayerRecord& below = doc.Layers[static_cast<size_t>(lid - 1)];
        below.Backup = below.Pixels;
        FloodFill(below.Pixels, x, y, pattern, blend, tolerance, unused);
        LandOnActiveLayer(layer, below);
    } else {
        FloodFill(layer.Pixels, x, y, pattern, blend, tolerance, unused);
    }
    return kActionLineOk;
}

// The Pen class. The kernels run without the selection's bracket: a played line paints the
// whole layer as its kernel alone would.
int32_t PlayPen(ActionContext& ctx, int32_t fid, int32_t lid, std::string_view sub,
                const std::vector<std::string_view>& fields) {
    DocumentRecord& doc = DocOf(ctx, fid);
    const PenNumbers a(fields);
    RectI rect;
    if (sub == "Alpha") {
        AlphaStroke(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5),
                    a(6) != 0 ? -1 : 0, rect);
    } else if (sub == "Fill") {
        return PlayFill(doc, lid, a, fields);
    } else if (sub == "Baking") {
        BrightnessStroke(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5), rect);
    } else if (sub == "Scumble") {
        // The protect field is written True or False, which the number reader takes as 0:
        // played scumbles never protect alpha. Intended.
        ScumbleStroke(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5), rect,
                      a(6) != 0);
    } else if (sub == "FingerDraw") {
        FingerStroke(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5) & 0xFF, rect);
    } else if (sub == "Select") {
        SetSelectionFromLine(doc, Field(fields, 2));
    } else if (sub == "Line") {
        DrawLineStamps(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5), a(6), rect,
                       false, a(7), 0, a(8) != 0);
    } else if (sub == "Rect") {
        DrawRectangle(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5), a(6), rect,
                      a(7), a(8) != 0);
    } else if (sub == "Elipse") {
        DrawEllipse(LayerOf(doc, lid).Pixels, a(0), a(1), a(2), a(3), a(4), a(5), a(6), a(7),
                    a(8) != 0);
    } else if (sub == "LayerMove") {
        LayerRecord& layer = LayerOf(doc, lid);
        layer.OffsetX = a(0);
        layer.OffsetY = a(1);
    } else if (sub == "Hotspot") {
        doc.HotspotX = a(0);
        doc.HotspotY = a(1);
    }
    // Any other word behind "Pen" does nothing.
    return kActionLineOk;
}

// "DrawPen": the pen settings are a zeroed table with only the row of the line's kind filled,
// so an eraser line finds the pen's soft box at 0 and plays hard. Intended.
int32_t PlayDrawPen(ActionContext& ctx, int32_t fid, int32_t lid,
                    const std::vector<std::string_view>& fields) {
    if (fields.size() < 17) return kActionDrawPenTooShort;
    const int32_t kind = LenientInt(fields[2]);
    if (kind < 0 || kind >= PenParamTable::kA) throw LineFault{};
    DrawPenArgs args;
    args.X = LenientInt(fields[3]);
    args.Y = LenientInt(fields[4]);
    args.Transparency = LenientInt(fields[5]);
    args.Color = LenientInt(fields[6]);
    const size_t last = fields.size() - 10;
    for (int32_t i = 1; i <= 10; ++i)
        args.Params(kind, i) = LenientInt(fields[last + static_cast<size_t>(i) - 1]);
    const PatternList& pens = ctx.App.Patterns.GraphicPenList;
    RectI rect;
    const int32_t r = DrawPen(
        ctx.App.Core, fid, lid, kind, args, [&pens](int32_t i) { return PatternPixels(pens, i); },
        rect);
    if (r < 0) throw LineFault{};
    return kActionLineOk;
}

int32_t PlayEffect(ActionContext& ctx, int32_t fid, int32_t lid, std::string_view name,
                   const std::vector<std::string_view>& fields) {
    EffectArgs args;
    for (size_t i = 2; i < fields.size(); ++i)
        args.emplace_back(std::string(fields[i]));
    const int32_t r = RunEffect(ctx.App.Core, ctx.host, ctx.App.Effects, ctx.Hooks.Effects, fid,
                                lid, name, std::move(args));
    if (r == kEffectFault) return kActionEffectUnusable;
    return r < 0 ? r : kActionLineOk;
}

int32_t PlaySubEffect(ActionContext& ctx, int32_t fid, int32_t lid, std::string_view name,
                      const std::vector<std::string_view>& fields) {
    size_t count = 0;
    if (name == "sef_selectofcolor")
        count = 6;
    else if (name == "sef_selectrect")
        count = 5;
    else
        return kActionLineOk;
    std::vector<int32_t> args;
    for (size_t i = 0; i < count; ++i)
        args.push_back(LenientInt(Field(fields, 2 + i)));
    return ctx.Hooks.SubEffect ? ctx.Hooks.SubEffect(fid, lid, name, args) : kActionLineOk;
}

int32_t PlayLayer(ActionContext& ctx, int32_t fid, int32_t lid, std::string_view sub,
                  const std::vector<std::string_view>& fields) {
    CoreState& core = ctx.App.Core;
    DocumentRecord& doc = DocOf(ctx, fid);
    if (sub == "Add") {
        LayerAdd(core, fid);
    } else if (sub == "CopyLayer") {
        LayerOf(doc, lid);
        doc.ActiveLID = lid;
        LayerCopy(core, fid);
    } else if (sub == "Delete") {
        // A layer that is not there is refused by the delete itself, which still records its
        // word; the active layer is left pointing at a real one.
        if (lid >= 1 && lid <= doc.LayerCount()) doc.ActiveLID = lid;
        LayerDelete(core, fid, lid);
    } else if (sub == "ChangePos") {
        // Quiet: the run as a whole is the undo step.
        LayerChangePos(core, ctx.host, fid, lid, LenientInt(Field(fields, 2)), true);
    } else if (sub == "Combine") {
        LayerCombine(core, ctx.host, fid, lid, false);
    } else if (sub == "CombineALL") {
        LayerCombineAll(core, ctx.host, fid);
    }
    return kActionLineOk;
}

// The Edit class: the clipboard of the host, so a played copy reaches other programs too.
// Nothing to cut and nothing to paste are no failures.
int32_t PlayEdit(ActionContext& ctx, int32_t fid, int32_t lid, std::string_view sub,
                 const std::vector<std::string_view>& fields) {
    const ClipContext clip{ctx.App.Core, ctx.host, ctx.App.Clip};
    if (sub == "CutOrCopy") {
        CutOrCopy(clip, fid, lid, TruthField(Field(fields, 2)), false);
    } else if (sub == "Paste") {
        const int32_t x = LenientInt(Field(fields, 2));
        const int32_t y = LenientInt(Field(fields, 3));
        const bool masked = TruthField(Field(fields, 4));
        if (Paste(clip, fid, lid, x, y, masked) == kClipOutsideLayer) throw LineFault{};
    }
    return kActionLineOk;
}

int32_t PlayLine(ActionContext& ctx, int32_t fid, std::string_view line) {
    if (line.empty()) return kActionLineOk;
    const std::vector<std::string_view> fields = SplitFields(line);
    if (fields.size() < 2) return kActionTooFewFields;
    const int32_t lid = LenientInt(fields[1]);
    const std::string_view verb = fields[0];
    const ActionPlayerHooks& hooks = ctx.Hooks;

    if (StartsWith(verb, "Pen")) return PlayPen(ctx, fid, lid, verb.substr(3), fields);
    if (StartsWith(verb, "Effect")) return PlayEffect(ctx, fid, lid, verb.substr(6), fields);
    if (StartsWith(verb, "Layer")) return PlayLayer(ctx, fid, lid, verb.substr(5), fields);
    if (StartsWith(verb, "Edit")) return PlayEdit(ctx, fid, lid, verb.substr(4), fields);
    if (StartsWith(verb, "SubEffect")) return PlaySubEffect(ctx, fid, lid, verb.substr(9), fields);
    if (StartsWith(verb, "se_")) {
        const std::vector<std::string> values(fields.begin() + 2, fields.end());
        return hooks.NamedCommand ? hooks.NamedCommand(fid, lid, verb.substr(3), values)
                                  : kActionLineOk;
    }
    if (verb == "DrawPen") return PlayDrawPen(ctx, fid, lid, fields);
    if (verb == "plterefrect") {
        std::vector<uint8_t> palette;
        if (DecodeByteList(Field(fields, 2), palette) < 0) throw LineFault{};
        return hooks.PaletteRefresh ? hooks.PaletteRefresh(fid, lid, palette) : kActionLineOk;
    }
    // "Redo" among them: the redo command writes it, but nothing plays it.
    return kActionUndefined;
}

// The status line during a run: nothing for the first second, then at most every 100 ms.
class RunProgress {
public:
    explicit RunProgress(Host& host) : host_(host), start_(host.Milliseconds()), last_(start_) {}
    void Show(std::string_view text, int32_t position, int32_t maximum) {
        const double now = host_.Milliseconds();
        if (now - start_ <= 1000.0 || now - last_ <= 100.0) return;
        last_ = now;
        host_.SetStatusText(text);
        host_.DrawStatusProgress(position, maximum);
        drawn_ = true;
        host_.DoEvents();
    }
    void Clear() {
        if (drawn_) host_.SetStatusText("");
        host_.HideStatusProgress();
    }

private:
    Host& host_;
    double start_;
    double last_;
    bool drawn_ = false;
};

}  // namespace

double LenientNumber(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    std::string number;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) number.push_back(text[i++]);
    bool digits = false;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        number.push_back(text[i++]);
        digits = true;
    }
    if (i < text.size() && text[i] == '.') {
        number.push_back(text[i++]);
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            number.push_back(text[i++]);
            digits = true;
        }
    }
    if (!digits) return 0.0;
    // An exponent counts only when digits follow it ("1e" is 1).
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
        size_t j = i + 1;
        std::string exponent = "e";
        if (j < text.size() && (text[j] == '-' || text[j] == '+')) exponent.push_back(text[j++]);
        const size_t firstDigit = j;
        while (j < text.size() && text[j] >= '0' && text[j] <= '9')
            exponent.push_back(text[j++]);
        if (j > firstDigit) number += exponent;
    }
    const double v = std::strtod(number.c_str(), nullptr);
    return std::isfinite(v) ? v : 0.0;
}

int32_t LenientInt(std::string_view text) {
    const double d = LenientNumber(text);
    return d >= -2147483648.0 && d <= 2147483647.0 ? RoundToInt(d) : 0;
}

std::string_view ActionErrorText(int32_t Code) {
    switch (Code) {
        case kActionTooFewFields:
            return "アクション文字列の引数が足りません。";
        case kActionDrawPenTooShort:
            return "DrawPenの引数が足りません。";
        case kActionUndefined:
            return "未定義のアクションです。";
        case kActionEffectUnusable:
            return "エフェクトの引数が不正です。このエフェクトを使用できる画像でない可能性がありま"
                   "す。";
        case kActionEffectBadArgs:
            return "エフェクトの引数が不正か範囲外です。処理は行いませんでした。";
        default:
            return {};
    }
}

int32_t RunActionLine(ActionContext& ctx, int32_t FID, std::string_view Line) {
    try {
        return PlayLine(ctx, FID, Line);
    } catch (const LineFault&) {
        return kActionLineFault;
    } catch (const std::exception&) {
        // Out of memory inside a kernel ends the run like any other fault.
        return kActionLineFault;
    }
}

int32_t RunActionFile(ActionContext& ctx, int32_t FID, std::string_view ActionFnm,
                      std::string& retResult) {
    Host& host = ctx.host;
    ActionPlayerState& player = ctx.App.Player;
    const SettingsRecord& settings = ctx.App.Core.Settings;
    player.CancelRequest = 0;
    std::vector<std::string> lines;
    if (ReadActionFile(ActionFnm, lines) != kActionFileOk) return 0;
    // Read for its own sake, as the original run did; nothing uses it.
    (void)GetMaxActionLID(ActionFnm);

    const int32_t n = static_cast<int32_t>(std::min<size_t>(lines.size(), INT32_MAX));
    struct PlayingFlag {
        bool& flag;
        bool before;
        explicit PlayingFlag(bool& f) : flag(f), before(f) { flag = true; }
        ~PlayingFlag() { flag = before; }
    } playing(player.Playing);
    RunProgress progress(host);
    int32_t errors = 0;
    std::string log;
    bool skipAsk = false;
    for (int32_t i = 1; i <= n; ++i) {
        const std::string& line = lines[static_cast<size_t>(i) - 1];
        const size_t comma = line.find(',');
        const std::string title =
            comma == std::string::npos
                ? std::string()
                : std::to_string(i) + "行目 / " + std::to_string(n) + "行 " + line.substr(0, comma);
        if (settings.ActionStepMessage != 0 && !skipAsk) {
            if (ctx.Hooks.Effects.RedrawDocument && ctx.App.Core.Doc(FID))
                ctx.Hooks.Effects.RedrawDocument(FID);
            const std::string question = title + "\n\n" + std::string(kActionStepQuestionTail);
            if (host.Ask(question, Buttons::YesNo, MessageIcon::Question) == Answer::No)
                skipAsk = true;
        }
        progress.Show(title, i, n);

        const int32_t code = RunActionLine(ctx, FID, line);
        // The line may have changed the selection.
        if (DocumentRecord* doc = ctx.App.Core.Doc(FID)) BuildOutline(*doc);

        if (code == kActionLineFault) {
            ++errors;
            log += title + "\n" + std::string(kActionFaultText) + "\n";
            break;
        }
        if (code < 0) {
            ++errors;
            if (settings.ActionErrorWarn != 0)
                host.ShowMessage(title + std::string(kActionErrorAt) + "\n\n" +
                                     std::string(ActionErrorText(code)),
                                 MessageIcon::Critical);
            log += title + "\n" + std::string(ActionErrorText(code)) + "\n";
        }
        if (player.CancelRequest != 0) {
            log += std::string(kActionCancelled) + "\n";
            break;
        }
    }
    progress.Clear();

    int32_t result = 0;
    if (!log.empty()) {
        result = -1;
        if (!player.ActionQuietEnd)
            host.ShowMessage(
                std::to_string(n) + "つ中" + std::to_string(errors) + "つのエラーが発生\n\n" + log,
                MessageIcon::Critical);
    }
    retResult = "エラー数 " + std::to_string(errors) + "/" + std::to_string(n) + " " + log;
    return result;
}

int32_t GetMaxActionLID(std::string_view ActionFnm) {
    std::vector<std::string> lines;
    if (ReadActionFile(ActionFnm, lines) != kActionFileOk) return 0;
    int32_t maxLid = 0;
    for (const std::string& line : lines) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.size() >= 2) maxLid = std::max(maxLid, LenientInt(fields[1]));
    }
    return maxLid;
}

}  // namespace brv
