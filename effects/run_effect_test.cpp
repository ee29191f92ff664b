// The dispatcher as the menu and the action player use it, and the preview's computation.
#include "effects/run_effect.h"

#include <gtest/gtest.h>

#include "core/action_log.h"
#include "core/documents.h"
#include "core/layer_ops.h"
#include "core/undo_store.h"
#include "effects/effect_table.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

using CalcFn =
    std::function<std::optional<PixelBuffer>(const PixelBuffer&, EffectEnv&, const EffectArgs&)>;

// An effect whose capabilities and computation a test chooses.
class TestEffect : public Effect {
public:
    TestEffect(const EffectInfo& info, EffectCaps caps, CalcFn calc)
        : Effect(info), caps_(std::move(caps)), calc_(std::move(calc)) {}
    void SetEffectArgs(EffectCaps& retCaps) const override { retCaps = caps_; }
    DialogSpec Dialog(const CoreState&, int32_t, int32_t) const override {
        DialogSpec d = BaseDialog();
        d.controls = {ScrollControl("v", 0, 0, 255, 30, 7)};
        return d;
    }
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override {
        return calc_(SData, env, Args);
    }

private:
    EffectCaps caps_;
    CalcFn calc_;
};

constexpr EffectInfo kTestInfo{"fx_test", "テスト", 3, true};

PixelBuffer Filled(int32_t w, int32_t h, Bgra c) {
    PixelBuffer p(w, h);
    p.Fill(c);
    return p;
}

class RunEffectTest : public ::testing::Test {
protected:
    void SetUp() override {
        core.Paths = ComputeAppPaths(dir.Path());
        EnsureDataFolders(core.Paths);
        InitDocTable(core);
        int32_t w = 4, h = 4;
        fid = NewDocument(core, host, w, h);
        core.ActiveFID = fid;
        L(1).Pixels.Fill(kGrey);
        hooks.RedrawDocument = [this](int32_t f) { redraws.push_back(f); };
        hooks.EnableWindows = [this](bool on) { enables.push_back(on); };
    }
    DocumentRecord& Doc() { return core.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& L(int32_t lid) { return Doc().Layers[static_cast<size_t>(lid)]; }
    void Register(EffectCaps caps, CalcFn calc) {
        fx.Registry.Register("fx_test", [caps, calc] {
            return std::make_unique<TestEffect>(kTestInfo, caps, calc);
        });
    }
    // Selects the left two columns.
    void SelectLeftHalf() {
        Doc().OutlineCount = 1;
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 2; ++x)
                Doc().Selection.bytes[static_cast<size_t>(y * 4 + x)] = 1;
    }
    int32_t Run(std::string_view name, std::optional<EffectArgs> args, int32_t lid = 1) {
        return RunEffect(core, host, fx, hooks, fid, lid, name, std::move(args));
    }

    static constexpr Bgra kGrey{10, 20, 30, 40};
    static constexpr Bgra kInverted{245, 235, 225, 40};
    TempFolder dir;
    CoreState core;
    FakeHost host;
    EffectState fx;
    EffectHooks hooks;
    std::vector<int32_t> redraws;
    std::vector<bool> enables;
    int32_t fid = 0;
};

TEST_F(RunEffectTest, SelectionLimitsTheChangeAndTheRunIsRecordedAndUndoable) {
    SelectLeftHalf();
    StartActionRecording(core.Recorder, fid, "t");
    ASSERT_EQ(Run("ef_rev", EffectArgs{"1", "1", "1", "0"}), 0);
    EXPECT_EQ(L(1).Pixels.Get(1, 3), kInverted);
    EXPECT_EQ(L(1).Pixels.Get(2, 0), kGrey);
    EXPECT_EQ(L(1).Backup, Filled(4, 4, kGrey));
    EXPECT_EQ(Doc().UndoPos, 1);
    EXPECT_EQ(core.Recorder.ActionLines.back(), "Effectef_rev,1,1,1,1,0");
    EXPECT_EQ(redraws, std::vector<int32_t>{fid});
    EXPECT_EQ(enables, (std::vector<bool>{false, true}));
    EXPECT_FALSE(fx.IsCalculating || fx.IsUIMode);
}

TEST_F(RunEffectTest, EmptySelectionChangesNothingYetMakesAnUndoPoint) {
    Doc().OutlineCount = 1;
    ASSERT_EQ(Run("ef_rev", EffectArgs{1, 1, 1, 1}), 0);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, kGrey));
    EXPECT_EQ(Doc().UndoPos, 1);
}

TEST_F(RunEffectTest, NewSizeSkipsTheRestoreAndResizesByTheAsymmetricIndex) {
    SelectLeftHalf();
    EffectCaps caps;
    caps.ResizesDocument = kYes;
    caps.ResizeArg = 1;  // index 1 is never read: the document is resized whatever it holds
    Register(caps, [](const PixelBuffer& s, EffectEnv&, const EffectArgs&) {
        return Filled(s.Width() * 2, s.Height() + 1, {1, 2, 3, 4});
    });
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    EXPECT_EQ(L(1).Pixels, Filled(8, 5, {1, 2, 3, 4}));  // nothing put back
    EXPECT_EQ(Doc().Width, 8);
    EXPECT_EQ(Doc().Height, 5);
    EXPECT_EQ(Doc().Selection.bytes, std::vector<uint8_t>(40, 0));
    EXPECT_EQ(Doc().OutlineCount, 0);

    // Index 2 is read: 0 there leaves the document's size alone.
    caps.ResizeArg = 2;
    Register(caps, [](const PixelBuffer& s, EffectEnv&, const EffectArgs&) {
        return Filled(s.Width() + 1, s.Height(), {1, 2, 3, 4});
    });
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    EXPECT_EQ(L(1).Pixels.Width(), 9);
    EXPECT_EQ(Doc().Width, 8);
}

TEST_F(RunEffectTest, LayerRangeFollowsTheAllLayersIndex) {
    LayerAdd(core, fid);
    LayerAdd(core, fid);
    for (int32_t l = 1; l <= 3; ++l)
        L(l).Pixels.Fill(kGrey);
    std::vector<int32_t> seen;
    EffectCaps caps;
    caps.AllLayers = kYes;
    caps.AllLayersArg = 1;
    auto calc = [&seen](const PixelBuffer& s, EffectEnv&, const EffectArgs&) {
        seen.push_back(s.Get(0, 0)->b);
        return s;
    };
    Register(caps, calc);
    L(2).Pixels.Set(0, 0, {2, 0, 0, 0});
    L(3).Pixels.Set(0, 0, {3, 0, 0, 0});
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}, 2), 0);
    EXPECT_EQ(seen, std::vector<int32_t>{2});
    seen.clear();
    ASSERT_EQ(Run("fx_test", EffectArgs{0, "1", 0}, 2), 0);
    EXPECT_EQ(seen, (std::vector<int32_t>{10, 2, 3}));
    seen.clear();
    caps.AllLayersArg = 0;  // no check box: always all layers
    Register(caps, calc);
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}, 3), 0);
    EXPECT_EQ(seen.size(), 3u);
    EXPECT_EQ(Doc().UndoPos, 3);
}

TEST_F(RunEffectTest, CancelledComputationGivesItsInputBackAndStillMakesAnUndoPoint) {
    // A computation that polls the status bar every row, as the blurs do.
    Register({}, [](const PixelBuffer& s, EffectEnv& env, const EffectArgs&) {
        PixelBuffer out = Filled(s.Width(), s.Height(), {0, 0, 0, 0});
        env.fx.Progress.Begin(env.host, s.Height(), true, "");
        for (int32_t y = 0; y < s.Height(); ++y)
            if (env.fx.Progress.Step(env.host, y)) return s;
        env.fx.Progress.End(env.host);
        return out;
    });
    host.clockStep = 700.0;
    fx.Progress.RequestCancel();  // stands in for the click; Begin must forget it
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, {0, 0, 0, 0}));
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);

    // Now the user clicks while the bar is up.
    struct Clicking : FakeHost {
        void DoEvents() override { cancelClicked = true; }
    } clicking;
    clicking.clockStep = 700.0;
    L(1).Pixels.Fill(kGrey);
    ASSERT_EQ(RunEffect(core, clicking, fx, hooks, fid, 1, "fx_test", EffectArgs{0, 0, 0}), 0);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, kGrey));
    EXPECT_EQ(Doc().UndoPos, 3);
    EXPECT_FALSE(fx.Progress.CancelRequested());
}

TEST_F(RunEffectTest, DialogCancelChangesNothingAndOkRunsTheDialogsArguments) {
    int shown = 0;
    EffectArgs lastDefaults;
    hooks.ShowDialog = [&](Effect& e, const DialogSpec& spec, int32_t f, int32_t l) {
        ++shown;
        EXPECT_EQ(f, fid);
        EXPECT_EQ(l, 1);
        // The layer is backed up before the dialog, for the preview.
        EXPECT_EQ(L(1).Backup, L(1).Pixels);
        EXPECT_TRUE(fx.IsUIMode);
        lastDefaults = spec.Defaults();
        e.EndInitializing(lastDefaults);
        e.CancelClicked();
    };
    ASSERT_EQ(Run("ef_rev", std::nullopt), 0);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(lastDefaults, (EffectArgs{1, 1, 1, 0}));
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, kGrey));
    EXPECT_EQ(Doc().UndoPos, 0);
    EXPECT_EQ(redraws, std::vector<int32_t>{fid});
    EXPECT_EQ(fx.Progress.PendingTitle, "反転");

    hooks.ShowDialog = [&](Effect& e, const DialogSpec& spec, int32_t, int32_t) {
        e.EndInitializing(spec.Defaults());
        e.ChangeEvent({0, 0, 0, 1});
        e.OkClicked();
    };
    StartActionRecording(core.Recorder, fid, "t");
    ASSERT_EQ(Run("ef_rev", std::nullopt), 0);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, {10, 20, 30, 215}));
    EXPECT_EQ(core.Recorder.ActionLines.back(), "Effectef_rev,1,0,0,0,1");
}

TEST_F(RunEffectTest, WithoutADialogARunWithoutArgumentsIsACancel) {
    ASSERT_EQ(Run("ef_hsv", std::nullopt), 0);
    EXPECT_EQ(Doc().UndoPos, 0);
}

TEST_F(RunEffectTest, UnknownNamesFaultsAndRefusals) {
    EXPECT_EQ(Run("ef_nothing", EffectArgs{}), 0);
    EXPECT_EQ(host.messages, std::vector<std::string>{"サポートしていない効果です。"});
    EXPECT_TRUE(enables.empty());
    EXPECT_EQ(RunEffect(core, host, fx, hooks, 0, 1, "ef_rev", EffectArgs{}), 0);

    // A field that is no number, a missing element, a missing layer: the catch-all.
    EXPECT_EQ(Run("ef_rev", EffectArgs{"x", 1, 1, 1}), kEffectFault);
    EXPECT_EQ(Run("ef_rev", EffectArgs{1, 1}), kEffectFault);
    EXPECT_EQ(Run("ef_rev", EffectArgs{1, 1, 1, 1}, 5), kEffectFault);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, kGrey));
    EXPECT_EQ(Doc().UndoPos, 0);
    EXPECT_EQ(enables.back(), true);
    EXPECT_FALSE(fx.IsCalculating || fx.IsUIMode);

    // A refusal through the error word keeps the result but makes no undo point.
    Register({}, [](const PixelBuffer& s, EffectEnv& env, const EffectArgs&) {
        env.fx.ErrorWord = -5;
        return Filled(s.Width(), s.Height(), {});
    });
    EXPECT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), -5);
    EXPECT_EQ(L(1).Pixels, Filled(4, 4, {}));
    EXPECT_EQ(Doc().UndoPos, 0);
}

TEST_F(RunEffectTest, DocumentClosedDuringAnAllLayersRunEndsAtOnce) {
    LayerAdd(core, fid);
    EffectCaps caps;
    caps.AllLayers = kYes;
    Register(caps, [this](const PixelBuffer& s, EffectEnv&, const EffectArgs&) {
        Doc().InUse = kNo;
        return s;
    });
    EXPECT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    // The early return leaves the windows and the flags as they were: intended.
    EXPECT_EQ(enables, std::vector<bool>{false});
    EXPECT_TRUE(fx.IsCalculating);
}

TEST_F(RunEffectTest, PreviewSeedIsReusedOnce) {
    std::vector<double> draws;
    Register({}, [&draws](const PixelBuffer& s, EffectEnv& env, const EffectArgs&) {
        draws.push_back(env.fx.Random.Next());
        return s;
    });
    host.clock = 1000.0;
    host.clockStep = 1.0;
    std::unique_ptr<Effect> e = fx.Registry.Create("fx_test");
    L(1).Backup = L(1).Pixels;
    PixelBuffer box;
    bool written = false;
    ASSERT_EQ(RunPreview(core, host, fx, *e, fid, 1, false, {4, 4}, box, written),
              PreviewOutcome::Boxed);
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    ASSERT_EQ(Run("fx_test", EffectArgs{0, 0, 0}), 0);
    ASSERT_EQ(draws.size(), 3u);
    EXPECT_EQ(draws[0], draws[1]);
    EXPECT_NE(draws[1], draws[2]);
    EXPECT_FALSE(fx.PendingSeed);

    EffectRandom a, b;
    a.Reseed(-1234.0);
    b.Reseed(-1234.0);
    for (int i = 0; i < 1000; ++i) {
        const double v = a.Next();
        EXPECT_EQ(v, b.Next());
        EXPECT_TRUE(v >= 0.0 && v < 1.0);
    }
}

TEST_F(RunEffectTest, PreviewBoxReflectionCloseAndTheBusyChain) {
    std::unique_ptr<Effect> e = fx.Registry.Create("ef_rev");
    e->SetArgs({1, 1, 1, 0});
    L(1).Pixels.Fill({10, 20, 30, 255});
    L(1).Pixels.Set(0, 0, {0, 0, 0, 255});
    L(1).Backup = L(1).Pixels;
    const PixelBuffer before = L(1).Pixels;
    SelectLeftHalf();
    core.BackgroundTile = Filled(2, 2, {200, 200, 200, 255});

    // The box: the result at (0, 0), unscaled, the background beyond it.
    PixelBuffer box;
    bool written = false;
    ASSERT_EQ(RunPreview(core, host, fx, *e, fid, 1, false, {6, 3}, box, written),
              PreviewOutcome::Boxed);
    EXPECT_FALSE(written);
    ASSERT_EQ(box.Width(), 6);
    ASSERT_EQ(box.Height(), 3);
    EXPECT_EQ(box.Get(0, 0), (Bgra{255, 255, 255, 255}));  // rows top-down
    EXPECT_EQ(box.Get(0, 2), (Bgra{245, 235, 225, 255}));
    EXPECT_EQ(box.Get(2, 2), (Bgra{10, 20, 30, 255}));  // outside the selection
    EXPECT_EQ(box.Get(5, 0), (Bgra{200, 200, 200, 255}));
    EXPECT_EQ(L(1).Pixels, before);

    // "元画像に反映" writes the layer; closing the preview takes it back.
    ASSERT_EQ(RunPreview(core, host, fx, *e, fid, 1, true, {6, 3}, box, written),
              PreviewOutcome::Reflected);
    EXPECT_TRUE(written);
    EXPECT_EQ(L(1).Pixels.Get(0, 1), (Bgra{245, 235, 225, 255}));
    EXPECT_EQ(L(1).Pixels.Get(3, 0), (Bgra{10, 20, 30, 255}));
    ClosePreview(core, fid, 1, written);
    EXPECT_EQ(L(1).Pixels, before);

    // A change arriving during a computation only ends the chain, and clears the flag.
    fx.PreviewBusy = true;
    EXPECT_EQ(RunPreview(core, host, fx, *e, fid, 1, false, {6, 3}, box, written),
              PreviewOutcome::EndedChain);
    EXPECT_FALSE(fx.PreviewBusy);
    e->SetArgs({"?", 1, 1, 0});
    EXPECT_EQ(RunPreview(core, host, fx, *e, fid, 1, false, {6, 3}, box, written),
              PreviewOutcome::Failed);
    EXPECT_FALSE(fx.PreviewBusy);
}

TEST(EffectPlaces, SavedBytesAndPlacement) {
    SettingsRecord s;
    WriteEffectPlaces(s, {-5, 4000, 0, 0, 100, 300, 7});
    const EffectPlaces p = ReadEffectPlaces(s);
    EXPECT_EQ(p.DialogLeft, -5);
    EXPECT_EQ(p.PreviewHeight, 300);
    EXPECT_EQ(p.PreviewChecks, 3);
    EXPECT_EQ(s.DialogPlaces[20], 44);  // 300 little-endian
    EXPECT_EQ(s.DialogPlaces[21], 1);

    ScreenMetrics screen;  // 1024 by 768
    // -5 becomes 0, 4000 comes back to 718.
    EXPECT_EQ(PlaceEffectDialog(p, screen, {0, 0, 800, 600}, {200, 100}), (PointI{0, 718}));
    // Both 0: centred on the frame.
    EXPECT_EQ(PlaceEffectDialog({}, screen, {100, 50, 900, 650}, {200, 100}), (PointI{400, 300}));

    // A preview never saved: 150 by 200, above and left of the dialog, and since neither
    // coordinate is positive there, to the dialog's left.
    EXPECT_EQ(PlacePreview({}, screen, {100, 100, 300, 200}), (RectI{-50, 100, 100, 300}));
    EXPECT_EQ(PlacePreview({}, screen, {400, 300, 600, 400}), (RectI{250, 100, 400, 300}));
    EXPECT_EQ(PlacePreview(p, screen, {400, 300, 600, 400}), (RectI{250, 0, 400, 300}));
    EXPECT_EQ(PlacePreview({0, 0, 30, 0, 160, 210, 0}, screen, {400, 300, 600, 400}),
              (RectI{30, 0, 190, 210}));
}

TEST(EffectTable, MenuCaptionsAndTitles) {
    EXPECT_EQ(EffectNameForMenuCaption("RGBA調整"), "ef_coloradjust");
    EXPECT_EQ(EffectNameForMenuCaption("レベル補正"), "ef_lvadjust");
    EXPECT_EQ(EffectNameForMenuCaption("左右反転"), "");
    EXPECT_EQ(AllEffects().size(), 28u);
    const EffectRegistry r = DefaultEffectRegistry();
    for (const EffectInfo& info : AllEffects()) {
        std::unique_ptr<Effect> e = r.Create(info.name);
        if (!e) continue;
        EffectCaps caps;
        e->SetEffectArgs(caps);
        EXPECT_EQ(caps.Title, info.title);
        EXPECT_EQ(caps.AllLayers, 0);
        const DialogSpec d = e->Dialog(CoreState{}, 0, 0);
        EXPECT_EQ(d.Defaults().size(), static_cast<size_t>(info.argCount)) << info.name;
        for (const ControlSpec& c : d.controls)
            EXPECT_LT(c.arg, info.argCount) << info.name;
    }
}

}  // namespace
}  // namespace brv
