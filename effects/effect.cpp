#include "effects/effect.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "core/arith.h"

namespace brv {

namespace {

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

// A text field as a number, the way the runtime reads numeric text: blanks around it, an
// optional sign, decimals with an exponent, "&H" hexadecimal, and the two boolean words.
std::optional<double> ParseNumber(std::string_view text) {
    std::string_view s = Trim(text);
    if (EqualsNoCase(s, "true")) return -1.0;
    if (EqualsNoCase(s, "false")) return 0.0;
    if (s.size() > 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h')) {
        uint32_t v = 0;
        auto [end, ec] = std::from_chars(s.data() + 2, s.data() + s.size(), v, 16);
        if (ec != std::errc() || end != s.data() + s.size() || s.size() > 10) return std::nullopt;
        // Eight hexadecimal digits are a 32-bit pattern, so &HFFFFFFFF is -1.
        return static_cast<double>(static_cast<int32_t>(v));
    }
    if (!s.empty() && s.front() == '+') s.remove_prefix(1);
    if (s.empty()) return std::nullopt;
    double v = 0.0;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec != std::errc() || end != s.data() + s.size() || !std::isfinite(v)) return std::nullopt;
    return v;
}

}  // namespace

std::optional<double> EffectValue::ToDouble() const {
    if (const auto* d = std::get_if<double>(&value_)) return *d;
    if (const auto* b = std::get_if<bool>(&value_)) return *b ? -1.0 : 0.0;
    return ParseNumber(std::get<std::string>(value_));
}

std::optional<int32_t> EffectValue::ToInt() const {
    const std::optional<double> d = ToDouble();
    if (!d) return std::nullopt;
    return ToInt32(*d);
}

std::optional<bool> EffectValue::ToBool() const {
    const std::optional<double> d = ToDouble();
    if (!d || std::isnan(*d)) return std::nullopt;
    return *d != 0.0;
}

std::string EffectValue::ToText() const {
    if (const auto* b = std::get_if<bool>(&value_)) return *b ? "True" : "False";
    if (const auto* s = std::get_if<std::string>(&value_)) return *s;
    const double d = std::get<double>(value_);
    char buf[40];
    if (d == std::floor(d) && std::fabs(d) < 1e15) {
        std::snprintf(buf, sizeof buf, "%.0f", d == 0.0 ? 0.0 : d);
    } else {
        std::snprintf(buf, sizeof buf, "%.15G", d);
    }
    return buf;
}

EffectArgs EffectArgsFromFields(const std::vector<std::string>& fields) {
    EffectArgs args;
    args.reserve(fields.size());
    for (const std::string& f : fields)
        args.emplace_back(f);
    return args;
}

std::vector<std::string> EffectArgsToFields(const EffectArgs& args) {
    std::vector<std::string> fields;
    fields.reserve(args.size());
    for (const EffectValue& v : args)
        fields.push_back(v.ToText());
    return fields;
}

int32_t ArgReader::Int(size_t i) {
    std::optional<int32_t> v;
    if (i < args_.size()) v = args_[i].ToInt();
    if (!v) failed_ = true;
    return v.value_or(0);
}

double ArgReader::Double(size_t i) {
    std::optional<double> v;
    if (i < args_.size()) v = args_[i].ToDouble();
    if (!v) failed_ = true;
    return v.value_or(0.0);
}

bool ArgReader::Bool(size_t i) {
    std::optional<bool> v;
    if (i < args_.size()) v = args_[i].ToBool();
    if (!v) failed_ = true;
    return v.value_or(false);
}

EffectArgs DialogSpec::Defaults() const {
    EffectArgs args(static_cast<size_t>(std::max(argCount, 0)), EffectValue(0));
    for (const ControlSpec& c : controls) {
        if (c.arg < 0 || c.arg >= argCount) continue;
        args[static_cast<size_t>(c.arg)] = c.defaultValue;
    }
    return args;
}

ControlSpec GroupControl(std::string caption) {
    ControlSpec c;
    c.kind = ControlKind::Group;
    c.caption = std::move(caption);
    return c;
}

ControlSpec TextControl(std::string caption) {
    ControlSpec c;
    c.kind = ControlKind::Text;
    c.caption = std::move(caption);
    return c;
}

ControlSpec ScrollControl(std::string caption, int32_t arg, int32_t min, int32_t max, int32_t page,
                          int32_t defaultValue) {
    ControlSpec c;
    c.kind = ControlKind::Scroll;
    c.caption = std::move(caption);
    c.arg = arg;
    c.min = min;
    c.max = max;
    c.page = page;
    c.defaultValue = EffectValue(defaultValue);
    return c;
}

ControlSpec CheckControl(std::string caption, int32_t arg, bool defaultOn) {
    ControlSpec c;
    c.kind = ControlKind::Check;
    c.caption = std::move(caption);
    c.arg = arg;
    c.min = 0;
    c.max = 1;
    c.defaultValue = EffectValue(defaultOn ? 1 : 0);
    return c;
}

ControlSpec ListControl(std::string caption, int32_t arg, std::vector<std::string> items,
                        int32_t defaultIndex) {
    ControlSpec c;
    c.kind = ControlKind::List;
    c.caption = std::move(caption);
    c.arg = arg;
    c.min = 0;
    c.max = static_cast<int32_t>(items.size()) - 1;
    c.items = std::move(items);
    c.defaultValue = EffectValue(defaultIndex);
    return c;
}

void EffectRegistry::Register(std::string name, Factory factory) {
    factories_[std::move(name)] = std::move(factory);
}

std::unique_ptr<Effect> EffectRegistry::Create(std::string_view name) const {
    auto it = factories_.find(name);
    if (it == factories_.end()) return nullptr;
    return it->second();
}

bool EffectRegistry::Has(std::string_view name) const {
    return factories_.find(name) != factories_.end();
}

void Effect::SetEffectArgs(EffectCaps& retCaps) const {
    retCaps = EffectCaps{};
    retCaps.Title = std::string(info_.title);
}

DialogSpec Effect::BaseDialog() const {
    DialogSpec spec;
    spec.title = std::string(info_.title);
    spec.argCount = info_.argCount;
    spec.preview = info_.preview;
    return spec;
}

std::optional<EffectArgs> Effect::ShowUI(const DialogRunner& runner, const CoreState& core,
                                         Host& /*host*/, int32_t fid, int32_t lid) {
    const DialogSpec spec = Dialog(core, fid, lid);
    IsInitializing = true;
    IsCanceled = false;
    Args = EffectArgs(static_cast<size_t>(spec.argCount), EffectValue(0));
    Result.reset();
    if (!runner) {
        IsCanceled = true;
        return std::nullopt;
    }
    runner(*this, spec, fid, lid);
    DialogVisible = false;
    Preview = nullptr;
    Hide = nullptr;
    if (IsCanceled) return std::nullopt;
    return Result;
}

void Effect::ChangeEvent(EffectArgs controls) {
    Args = std::move(controls);
    if (!IsInitializing && Preview) Preview();
    Result = Args;
}

void Effect::EndInitializing(EffectArgs controls) {
    IsInitializing = false;
    ChangeEvent(std::move(controls));
}

void Effect::MeHide() {
    DialogVisible = false;
    if (Hide) Hide();
}

void Effect::OkClicked() {
    Result = Args;
    MeHide();
    IsCanceled = false;
}

void Effect::CancelClicked() {
    Result.reset();
    MeHide();
    IsCanceled = true;
}

}  // namespace brv
