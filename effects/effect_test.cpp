// EffectArgs as the dialog and the action player hand them over, and the dialog's scaffold.
#include "effects/effect.h"

#include <gtest/gtest.h>

#include "tests/support/fake_host.h"

namespace brv {
namespace {

TEST(EffectValue, TextFieldsConvertAsTheRuntimeReadsThem) {
    EXPECT_EQ(EffectValue("2.5").ToInt(), 2);  // ties to even
    EXPECT_EQ(EffectValue("3.5").ToInt(), 4);
    EXPECT_EQ(EffectValue(" -7 ").ToInt(), -7);
    EXPECT_EQ(EffectValue("+1e3").ToInt(), 1000);
    EXPECT_EQ(EffectValue("&H10").ToInt(), 16);
    EXPECT_EQ(EffectValue("&HFFFFFFFF").ToInt(), -1);
    EXPECT_EQ(EffectValue("True").ToInt(), -1);
    EXPECT_EQ(EffectValue("false").ToBool(), false);
    EXPECT_EQ(EffectValue("0.25").ToDouble(), 0.25);
    EXPECT_EQ(EffectValue("2").ToBool(), true);
    EXPECT_FALSE(EffectValue("").ToInt());
    EXPECT_FALSE(EffectValue("12px").ToInt());
    EXPECT_FALSE(EffectValue("2147483648").ToInt());
    EXPECT_EQ(EffectValue("2147483647.4").ToInt(), 2147483647);
    EXPECT_FALSE(EffectValue("nan").ToDouble());
    EXPECT_FALSE(EffectValue("1e999").ToDouble());
    EXPECT_EQ(EffectValue(true).ToInt(), -1);
    EXPECT_EQ(EffectValue(-0.5).ToInt(), 0);
}

TEST(EffectValue, RecordedTextRoundTrips) {
    const EffectArgs args = {EffectValue(30),     EffectValue(-0.0), EffectValue(true),
                             EffectValue(false),  EffectValue(0.1),  EffectValue(1e20),
                             EffectValue("as is")};
    const std::vector<std::string> fields = EffectArgsToFields(args);
    EXPECT_EQ(fields,
              (std::vector<std::string>{"30", "0", "True", "False", "0.1", "1E+20", "as is"}));
    const EffectArgs back = EffectArgsFromFields(fields);
    ASSERT_EQ(back.size(), args.size());
    for (size_t i = 0; i + 1 < args.size(); ++i)
        EXPECT_EQ(back[i].ToDouble(), args[i].ToDouble()) << i;
}

TEST(ArgReader, MissingAndBadElementsMarkTheRead) {
    const EffectArgs args = {EffectValue(3), EffectValue("x")};
    ArgReader a(args);
    EXPECT_EQ(a.Int(0), 3);
    EXPECT_FALSE(a.Failed());
    EXPECT_EQ(a.Int(1), 0);
    EXPECT_TRUE(a.Failed());
    ArgReader b(args);
    EXPECT_EQ(b.Double(5), 0.0);
    EXPECT_TRUE(b.Failed());
}

// A dialog's state without a window: set-up is quiet, OK keeps the last change, Cancel and
// closing give nothing.
TEST(EffectScaffold, InitialisingIsQuietAndTheButtonsDecide) {
    EffectState fx;
    CoreState core;
    testing::FakeHost host;
    std::unique_ptr<Effect> e = fx.Registry.Create("ef_coloradjust");
    int previews = 0, hides = 0;
    auto runner = [&](Effect& effect, const DialogSpec& spec, int32_t, int32_t) {
        EXPECT_TRUE(effect.IsInitializing);
        EXPECT_EQ(effect.Args.size(), 4u);
        effect.Preview = [&] { ++previews; };
        effect.Hide = [&] { ++hides; };
        effect.ChangeEvent(spec.Defaults());  // the defaults going into the controls
        EXPECT_EQ(previews, 0);
        effect.EndInitializing(spec.Defaults());
        EXPECT_EQ(previews, 1);
        effect.ChangeEvent({9, 0, 0, 0});
        effect.OkClicked();
    };
    auto args = e->ShowUI(runner, core, host, 0, 0);
    ASSERT_TRUE(args);
    EXPECT_EQ(*args, (EffectArgs{9, 0, 0, 0}));
    EXPECT_EQ(previews, 2);
    EXPECT_EQ(hides, 1);
    EXPECT_FALSE(e->Preview);  // the window's hooks do not outlive it

    auto cancel = [&](Effect& effect, const DialogSpec& spec, int32_t, int32_t) {
        effect.EndInitializing(spec.Defaults());
        effect.ChangeEvent({1, 2, 3, 4});
        effect.CancelClicked();
    };
    EXPECT_FALSE(e->ShowUI(cancel, core, host, 0, 0));
    EXPECT_TRUE(e->IsCanceled);
    EXPECT_FALSE(e->ShowUI(nullptr, core, host, 0, 0));
}

}  // namespace
}  // namespace brv
