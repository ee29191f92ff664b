// The effect interface: a named operation that turns the pixels of one layer into new pixels
// under a list of arguments, reached by its text name so that a menu and a played action line
// run the same code.
//
//   EffectState fx;                                    // owned by the application state
//   std::unique_ptr<Effect> e = fx.Registry.Create("ef_hsv");
//   e->SetArgs({EffectValue(30), EffectValue(0), EffectValue(0), 0, 0, 0});
//   EffectEnv env{host, fx, core};
//   std::optional<PixelBuffer> out = e->Calc(layer.Pixels, env);   // nullopt: a run-time fault
//
// An effect describes its dialog as data (DialogSpec), so that the window system can build it
// and the action player can run any effect without one. The dispatcher is RunEffect
// (effects/run_effect.h).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/core_state.h"
#include "core/host.h"
#include "core/pixel_buffer.h"
#include "core/status_progress.h"
#include "effects/effect_random.h"

namespace brv {

// One element of EffectArgs, loosely typed: a number or a boolean from a dialog, a text field
// from an action line. Each reader converts it the way it needs it.
class EffectValue {
public:
    EffectValue() : value_(0.0) {}
    EffectValue(double v) : value_(v) {}
    EffectValue(int32_t v) : value_(static_cast<double>(v)) {}
    EffectValue(bool v) : value_(v) {}
    EffectValue(std::string v) : value_(std::move(v)) {}
    EffectValue(const char* v) : value_(std::string(v)) {}

    // To a 32-bit integer by Round; True counts -1. nullopt for text that is no number and
    // for values beyond 32 bits.
    std::optional<int32_t> ToInt() const;
    std::optional<double> ToDouble() const;
    // Non-zero is true; the texts "True" and "False" in any case too.
    std::optional<bool> ToBool() const;
    // The text an action line keeps: whole numbers without a point, booleans "True"/"False".
    std::string ToText() const;

    bool IsText() const { return std::holds_alternative<std::string>(value_); }
    friend bool operator==(const EffectValue&, const EffectValue&) = default;

private:
    std::variant<double, bool, std::string> value_;
};

// The ordered parameter list of one run; the order is what recorded actions depend on.
using EffectArgs = std::vector<EffectValue>;

// A text line's fields (from the third on) as EffectArgs, and back.
EffectArgs EffectArgsFromFields(const std::vector<std::string>& fields);
std::vector<std::string> EffectArgsToFields(const EffectArgs& args);

// Reads the elements of EffectArgs for one Calc. A missing element or one that does not
// convert reads as 0 and marks the reader failed, which a Calc reports as a fault.
class ArgReader {
public:
    explicit ArgReader(const EffectArgs& args) : args_(args) {}
    int32_t Int(size_t i);
    double Double(size_t i);
    bool Bool(size_t i);
    bool Failed() const { return failed_; }

private:
    const EffectArgs& args_;
    bool failed_ = false;
};

// What an effect tells the framework of itself.
struct EffectCaps {
    int16_t AllLayers = 0;        // the effect can run over all layers of the document
    int16_t ResizesDocument = 0;  // the document takes the start layer's new size afterwards
    int16_t Reserved = 0;
    int32_t AllLayersArg = 0;  // element of EffectArgs whose check box decides AllLayers; 0 none
    int32_t ResizeArg = 0;     // the same for ResizesDocument
    std::string Title;         // the dialog's title, at most 20 characters
};

// The dialog of an effect as data: one control after another, top to bottom.
enum class ControlKind {
    Group,      // a caption over the controls that follow; no value
    Text,       // a line of text; no value
    Scroll,     // a scroll bar min..max with a label "caption value" (and a suffix)
    Check,      // a check box: 0 or 1
    List,       // a drop-down list: the index of the chosen item
    Options,    // option buttons: itemValues of the chosen one, or its index without them
    Histogram,  // a histogram box; `histogram` says which
};

enum class HistogramBox { Source, Result };

struct ControlSpec {
    ControlKind kind = ControlKind::Text;
    std::string caption;
    int32_t arg = -1;  // the element of EffectArgs the control fills; -1 for none
    int32_t min = 0;
    int32_t max = 0;
    int32_t page = 0;  // a scroll bar's step on a page click
    EffectValue defaultValue;
    std::vector<std::string> items;       // List and Options captions
    std::vector<EffectValue> itemValues;  // Options: what each writes
    std::string suffix;                   // Scroll: text after the value in its label
    HistogramBox histogram = HistogramBox::Source;
};

struct DialogSpec {
    std::string title;
    int32_t argCount = 0;  // reserved elements at the end are written as 0
    bool preview = false;  // the dialog opens the shared preview window
    std::vector<ControlSpec> controls;

    // The arguments the controls hold at their defaults.
    EffectArgs Defaults() const;
};

// The parts of ControlSpec that most dialogs need, for building DialogSpecs briefly.
ControlSpec GroupControl(std::string caption);
ControlSpec TextControl(std::string caption);
ControlSpec ScrollControl(std::string caption, int32_t arg, int32_t min, int32_t max, int32_t page,
                          int32_t defaultValue);
ControlSpec CheckControl(std::string caption, int32_t arg, bool defaultOn);
ControlSpec ListControl(std::string caption, int32_t arg, std::vector<std::string> items,
                        int32_t defaultIndex);

// What the table of effects says of one: its name, dialog title, the number of elements of
// its EffectArgs and whether its dialog opens the preview window.
struct EffectInfo {
    std::string_view name;
    std::string_view title;
    int32_t argCount = 0;
    bool preview = false;
};

class Effect;

// Makes an effect object by its text name.
class EffectRegistry {
public:
    using Factory = std::function<std::unique_ptr<Effect>()>;
    void Register(std::string name, Factory factory);
    // nullptr for a name that is not known.
    std::unique_ptr<Effect> Create(std::string_view name) const;
    bool Has(std::string_view name) const;

private:
    std::map<std::string, Factory, std::less<>> factories_;
};

// Every effect of the program, registered by name.
EffectRegistry DefaultEffectRegistry();

// The framework's state for the whole run; one object, owned by the application state.
struct EffectState {
    EffectRegistry Registry = DefaultEffectRegistry();
    // An effect's refusal: set negative by a Calc, cleared before each.
    int32_t ErrorWord = 0;
    // A batch's cancel; nothing sets it at present.
    bool CancelWord = false;
    bool IsUIMode = false;       // from before a dialog until the end of RunEffect
    bool IsCalculating = false;  // from SetEffectArgs until the end of RunEffect
    bool PreviewBusy = false;    // a preview computation is running
    // The seed the last preview used; the next run takes it once.
    std::optional<double> PendingSeed;
    EffectRandom Random;
    StatusProgress Progress;
};

// What a Calc may use besides its input.
struct EffectEnv {
    Host& host;
    EffectState& fx;
    const CoreState& core;
};

// The interface of an effect. ShowUI, ChangeEvent and MeHide carry the dialog's state; the
// window itself lives in the desktop program, which calls them from its controls.
class Effect {
public:
    // The window system's part of ShowUI: show the dialog built from `spec` with the preview,
    // call ChangeEvent as the controls change and OkClicked or CancelClicked at the end, and
    // return when the dialog is closed.
    using DialogRunner =
        std::function<void(Effect& effect, const DialogSpec& spec, int32_t fid, int32_t lid)>;

    explicit Effect(const EffectInfo& info) : info_(info) {}
    virtual ~Effect() = default;
    std::string_view Name() const { return info_.name; }
    const EffectInfo& Info() const { return info_; }
    // The dialog with its defaults for layer lid of document fid.
    virtual DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const = 0;

    // 1. Fills the capabilities; by default only the title.
    virtual void SetEffectArgs(EffectCaps& retCaps) const;
    // 2. The arguments on OK, nullopt on Cancel. Without a runner no dialog can be shown and
    // the answer is Cancel.
    virtual std::optional<EffectArgs> ShowUI(const DialogRunner& runner, const CoreState& core,
                                             Host& host, int32_t fid, int32_t lid);
    // 3. The controls' values in argument order: kept as Args and Result, and the preview is
    // told unless the dialog is still being set up.
    void ChangeEvent(EffectArgs controls);
    // 4. Calc reads only Args, never a control, so that a hidden object can run.
    void SetArgs(const EffectArgs& values) { Args = values; }
    // 5. A new picture from SData, which is not changed; its size may differ. nullopt is a
    // run-time fault (an argument that does not convert, an index out of range, a division
    // by zero), which the dispatcher turns into its catch-all failure.
    virtual std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) = 0;
    // 6. Hides the dialog.
    void MeHide();

    // A dialog's histogram boxes: the entries to draw and the levels to mark, from Args and,
    // for the source box, the picture the dialog was opened on. Empty for effects without.
    virtual std::vector<double> Histogram(HistogramBox /*box*/,
                                          const PixelBuffer& /*source*/) const {
        return {};
    }
    virtual std::vector<int32_t> HistogramMarks(HistogramBox /*box*/) const { return {}; }

    // The dialog's buttons.
    void OkClicked();
    void CancelClicked();
    // Called by the dialog once the defaults are in the controls.
    void EndInitializing(EffectArgs controls);

    EffectArgs Args;
    std::optional<EffectArgs> Result;
    bool IsInitializing = false;
    bool IsCanceled = false;
    // True while the dialog is on screen; a Calc may then draw into it.
    bool DialogVisible = false;
    // Set by the window system while the dialog is open: the preview's UserChangeEffectValue,
    // and hiding the dialog.
    std::function<void()> Preview;
    std::function<void()> Hide;

protected:
    // A dialog description with the table's title, size and preview flag.
    DialogSpec BaseDialog() const;

private:
    EffectInfo info_;
};

// A new picture of src's size from f(in, out) for every pixel, in and out pointing at its
// four bytes B, G, R, A. f answers false for a value it could not store (a run-time fault);
// the whole result is then nullopt.
template <class F>
std::optional<PixelBuffer> MapPixels(const PixelBuffer& src, F&& f) {
    PixelBuffer out(src.Width(), src.Height());
    const uint8_t* in = src.Bytes().data();
    uint8_t* o = out.Bytes().data();
    bool ok = true;
    for (size_t i = 0, n = src.ByteSize(); i < n; i += 4)
        ok &= f(in + i, o + i);
    if (!ok) return std::nullopt;
    return out;
}

// A value for a byte of the picture; false when it does not fit, as a fault.
inline bool StoreByte(uint8_t& dst, int64_t v) {
    dst = static_cast<uint8_t>(v);
    return v >= 0 && v <= 255;
}

}  // namespace brv
