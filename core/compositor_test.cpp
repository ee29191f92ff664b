#include "core/compositor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "core/arith.h"
#include "core/startup.h"
#include "core/view_test_document.h"

namespace brv {
namespace {

// ---- A plain reimplementation of the stacking rule, pixel by pixel, with no shortcut ----

struct RefLayer {
    PixelBuffer pixels;
    int32_t offsetX = 0;
    int32_t offsetY = 0;
};

// One step of the rule: the accumulated pixel (c, d) takes a share of a lower pixel.
void RefStep(uint32_t c[3], uint32_t& d, const uint8_t* lower, uint32_t s) {
    uint32_t t = s + d;
    if (t > 255) {
        t = 255;
        s = 255 - d;
    }
    if (t == 0) return;
    for (int k = 0; k < 3; ++k)
        c[k] = (c[k] * d) / t + (lower[k] * s) / t;
    d = t;
}

int64_t RefFloorDiv(int64_t a, int64_t b) {
    return static_cast<int64_t>(std::floor(static_cast<long double>(a) / b));
}

// dest is bottom-up; pixels that map outside the document or the dirty rectangle are left.
void RefCalcLayers(const std::vector<RefLayer>& layers, int32_t w, int32_t h, const PixelBuffer& bg,
                   PixelBuffer& dest, int32_t zp, int32_t zb, RectI view, RectI dirty) {
    for (int32_t j = 0; j < dest.Height(); ++j) {
        for (int32_t i = 0; i < dest.Width(); ++i) {
            const int64_t x = RefFloorDiv((int64_t{view.left} + i) * zb, zp);
            const int64_t y = RefFloorDiv((int64_t{view.top} + j) * zb, zp);
            if (x < 0 || y < 0 || x >= w || y >= h) continue;
            if (x < dirty.left || x > dirty.right || y < dirty.top || y > dirty.bottom) continue;
            uint32_t c[3] = {0, 0, 0}, d = 0;
            for (size_t k = layers.size(); k-- > 0;) {
                const RefLayer& l = layers[k];
                const int64_t lx = x - l.offsetX, ly = y - l.offsetY;
                if (lx < 0 || ly < 0 || lx >= w || ly >= h) continue;
                const uint8_t* p =
                    l.pixels.PixelPtr(static_cast<int32_t>(lx), static_cast<int32_t>(ly));
                RefStep(c, d, p, p[3]);
            }
            RefStep(c, d, bg.PixelPtr(i % bg.Width(), j % bg.Height()), 255);
            dest.Set(i, dest.Height() - 1 - j,
                     {static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]),
                      static_cast<uint8_t>(c[2]), 255});
        }
    }
}

void RefCalcLayersEasy(const std::vector<RefLayer>& layers, int32_t w, int32_t h,
                       const PixelBuffer& bg, PixelBuffer& dest) {
    // A thumbnail samples the centre of each destination cell.
    for (int32_t j = 0; j < dest.Height(); ++j) {
        for (int32_t i = 0; i < dest.Width(); ++i) {
            const int32_t x = static_cast<int32_t>((2 * i + 1) * int64_t{w} / (2 * dest.Width()));
            const int32_t y = static_cast<int32_t>((2 * j + 1) * int64_t{h} / (2 * dest.Height()));
            uint32_t c[3] = {0, 0, 0}, d = 0;
            for (size_t k = layers.size(); k-- > 0;) {
                const RefLayer& l = layers[k];
                if (auto p = l.pixels.Get(x - l.offsetX, y - l.offsetY)) {
                    const uint8_t lower[3] = {p->b, p->g, p->r};
                    RefStep(c, d, lower, p->a);
                }
            }
            RefStep(c, d, bg.PixelPtr(i % bg.Width(), j % bg.Height()), 255);
            dest.Set(i, dest.Height() - 1 - j,
                     {static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]),
                      static_cast<uint8_t>(c[2]), 255});
        }
    }
}

// The flatten as described: a scatter from the top layer down into a zeroed picture.
PixelBuffer RefFlatten(const DocumentRecord& doc) {
    PixelBuffer out(doc.Width, doc.Height);
    for (size_t lid = doc.Layers.size() - 1; lid >= 1; --lid) {
        const LayerRecord& l = doc.Layers[lid];
        if (l.Visible == 0) continue;
        for (int32_t y = 0; y < l.Pixels.Height(); ++y) {
            for (int32_t x = 0; x < l.Pixels.Width(); ++x) {
                const int32_t tx = x + l.OffsetX, ty = y + l.OffsetY;
                if (!out.Contains(tx, ty)) continue;
                uint8_t* r = out.PixelPtr(tx, ty);
                uint32_t c[3] = {r[0], r[1], r[2]}, d = r[3];
                RefStep(c, d, l.Pixels.PixelPtr(x, y), l.Pixels.PixelPtr(x, y)[3]);
                r[0] = static_cast<uint8_t>(c[0]);
                r[1] = static_cast<uint8_t>(c[1]);
                r[2] = static_cast<uint8_t>(c[2]);
                r[3] = static_cast<uint8_t>(d);
            }
        }
    }
    return out;
}

// ---- Helpers ----

std::vector<LayerRef> Refs(const std::vector<RefLayer>& layers) {
    std::vector<LayerRef> refs;
    for (const RefLayer& l : layers)
        refs.push_back({l.pixels.Bytes(), l.offsetX, l.offsetY});
    return refs;
}

// Alpha drawn so that 0, 255 and small sums all occur often.
uint8_t RandomAlpha(std::mt19937& rng) {
    switch (rng() % 6) {
        case 0:
            return 0;
        case 1:
            return 255;
        case 2:
            return static_cast<uint8_t>(rng() % 8);
        default:
            return static_cast<uint8_t>(rng());
    }
}

PixelBuffer RandomPicture(std::mt19937& rng, int32_t w, int32_t h) {
    PixelBuffer p(w, h);
    auto bytes = p.Bytes();
    for (size_t i = 0; i < bytes.size(); i += 4) {
        bytes[i] = static_cast<uint8_t>(rng());
        bytes[i + 1] = static_cast<uint8_t>(rng());
        bytes[i + 2] = static_cast<uint8_t>(rng());
        bytes[i + 3] = RandomAlpha(rng);
    }
    return p;
}

PixelBuffer Solid(int32_t w, int32_t h, Bgra c) {
    PixelBuffer p(w, h);
    p.Fill(c);
    return p;
}

DocumentRecord MakeDoc(int32_t w, int32_t h, int32_t layers) {
    return testing::MakeViewTestDocument(w, h, layers);
}

const RectI kAll{0, 0, 1 << 20, 1 << 20};

// ---- The stacking rule by hand ----

TEST(CompositorTest, DivisionTableIsExactForEveryPair) {
    for (uint32_t t = 1; t <= 255; ++t)
        for (uint32_t n = 0; n <= 255 * 255; ++n)
            ASSERT_EQ(compositor_detail::DivideByAlpha(n, t), n / t) << n << " / " << t;
}

// The kernels this processor can run.
std::vector<compositor_detail::Kernel> Kernels() {
    std::vector<compositor_detail::Kernel> kernels;
    for (auto k : {compositor_detail::Kernel::Portable, compositor_detail::Kernel::Avx2})
        if (compositor_detail::KernelAvailable(k)) kernels.push_back(k);
    return kernels;
}

TEST(CompositorTest, LaneStepFollowsTheRuleForEveryAlphaPair) {
    // Every (accumulated alpha, layer alpha) pair, with colours at the edges and at random: the
    // lane arithmetic rewrites the two divisions, and its error bound is tight near 255.
    std::mt19937 rng(3);
    const uint8_t edges[] = {0, 1, 2, 127, 128, 253, 254, 255};
    for (auto kernel : Kernels()) {
        for (uint32_t d = 0; d <= 255; ++d) {
            for (uint32_t a = 0; a <= 255; ++a) {
                for (int pass = 0; pass < 2; ++pass) {
                    uint8_t acc[64], lower[64], want[64];
                    for (int i = 0; i < 16; ++i) {
                        for (int k = 0; k < 3; ++k) {
                            const uint8_t c =
                                pass == 0 ? edges[i % 8] : static_cast<uint8_t>(rng());
                            const uint8_t l =
                                pass == 0 ? edges[(i + k + 3) % 8] : static_cast<uint8_t>(rng());
                            acc[4 * i + k] = d == 0 ? 0 : c;  // nothing accumulated has colour 0
                            lower[4 * i + k] = i >= 8 ? static_cast<uint8_t>(255 - c) : l;
                        }
                        acc[4 * i + 3] = static_cast<uint8_t>(d);
                        lower[4 * i + 3] = static_cast<uint8_t>(a);
                        uint32_t c[3] = {acc[4 * i], acc[4 * i + 1], acc[4 * i + 2]}, dd = d;
                        RefStep(c, dd, lower + 4 * i, a);
                        for (int k = 0; k < 3; ++k)
                            want[4 * i + k] = static_cast<uint8_t>(c[k]);
                        want[4 * i + 3] = static_cast<uint8_t>(dd);
                    }
                    compositor_detail::StepSixteenPixels(kernel, acc, lower);
                    ASSERT_TRUE(std::equal(acc, acc + 64, want))
                        << "kernel " << static_cast<int>(kernel) << " d " << d << " a " << a;
                }
            }
        }
    }
}

TEST(CompositorTest, TwoHalfLayersFillAlphaWithSharesOf128And127) {
    DocumentRecord doc = MakeDoc(1, 1, 2);
    doc.Layers[1].Pixels.Set(0, 0, {255, 100, 0, 128});  // lower: blue
    doc.Layers[2].Pixels.Set(0, 0, {0, 200, 255, 128});  // upper: red
    PixelBuffer flat;
    ASSERT_EQ(FlattenLayers(doc, flat, 0, -1), 0);
    // Upper first: (c * 128) / 255 from the top, (c * 127) / 255 from below, alpha 128 + 127.
    EXPECT_EQ(flat.Get(0, 0), (Bgra{127, 100 + 49, 128, 255}));
    // The background colour is carried at alpha 0 and never shows.
    PixelBuffer withBack;
    ASSERT_EQ(FlattenLayers(doc, withBack, -1, 0x00FF00), 0);
    EXPECT_EQ(withBack, flat);
}

TEST(CompositorTest, SmallSumsDivideByTheSum) {
    DocumentRecord doc = MakeDoc(1, 1, 2);
    doc.Layers[1].Pixels.Set(0, 0, {10, 0, 7, 30});
    doc.Layers[2].Pixels.Set(0, 0, {200, 100, 3, 50});
    PixelBuffer flat;
    ASSERT_EQ(FlattenLayers(doc, flat, 0, -1), 0);
    // t = 80: 200*50/80 + 10*30/80 = 125 + 3; 100*50/80 + 0 = 62; 3*50/80 + 7*30/80 = 1 + 2.
    EXPECT_EQ(flat.Get(0, 0), (Bgra{128, 62, 3, 80}));
}

TEST(CompositorTest, FlattenHonoursOffsetsAndVisibility) {
    DocumentRecord doc = MakeDoc(3, 2, 3);
    doc.Layers[1].Pixels.Fill({1, 2, 3, 255});
    doc.Layers[2].Pixels.Fill({9, 9, 9, 255});
    doc.Layers[2].Visible = 0;
    doc.Layers[3].Pixels.Fill({50, 60, 70, 255});
    doc.Layers[3].OffsetX = 2;
    doc.Layers[3].OffsetY = -1;
    PixelBuffer flat;
    ASSERT_EQ(FlattenLayers(doc, flat, 0, -1), 0);
    EXPECT_EQ(flat.Get(2, 0), (Bgra{50, 60, 70, 255}));
    EXPECT_EQ(flat.Get(2, 1), (Bgra{1, 2, 3, 255}));  // the moved layer ends on row 0
    EXPECT_EQ(flat.Get(1, 0), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(flat, RefFlatten(doc));
}

TEST(CompositorTest, FlattenMatchesTheScatterOnRandomStacks) {
    std::mt19937 rng(7);
    for (int round = 0; round < 60; ++round) {
        const int32_t w = 1 + static_cast<int32_t>(rng() % 50);
        const int32_t h = 1 + static_cast<int32_t>(rng() % 17);
        DocumentRecord doc = MakeDoc(w, h, 1 + static_cast<int32_t>(rng() % 5));
        for (size_t lid = 1; lid < doc.Layers.size(); ++lid) {
            LayerRecord& l = doc.Layers[lid];
            l.Pixels = RandomPicture(rng, w, h);
            l.OffsetX = static_cast<int32_t>(rng() % (2 * w + 3)) - w - 1;
            l.OffsetY = static_cast<int32_t>(rng() % (2 * h + 3)) - h - 1;
            l.Visible = rng() % 5 == 0 ? 0 : 1;
        }
        PixelBuffer flat;
        ASSERT_EQ(FlattenLayers(doc, flat, 0, -1), 0);
        ASSERT_EQ(flat, RefFlatten(doc)) << "round " << round;
    }
}

TEST(CompositorTest, PixelUnderPointerWeighsTheWayRoundItIsMeant) {
    DocumentRecord doc = MakeDoc(2, 2, 2);
    doc.Layers[1].Pixels.Set(1, 0, {10, 20, 30, 200});
    doc.Layers[2].Pixels.Set(1, 0, {200, 100, 50, 100});
    doc.Layers[2].Visible = 0;  // not consulted
    doc.Layers[2].OffsetX = 1;  // not consulted
    // rest = Round((1 - 100/255) * 200) = Round(121.57) = 122, u = 222;
    // blue = Round(200 * 122/222 + 100/222 * 10) = Round(114.41) = 114,
    // green = Round(54.95 + 9.01) = 64, red = Round(27.48 + 13.51) = 41.
    EXPECT_EQ(PixelUnderPointer(doc, 1, 0), (Bgra{114, 64, 41, 222}));
    EXPECT_EQ(PixelUnderPointer(doc, 2, 0), std::nullopt);
    EXPECT_EQ(PixelUnderPointer(doc, 0, -1), std::nullopt);
    // An empty lower pixel and an empty upper one: u = 0 leaves the lower colour as it is.
    doc.Layers[2].Pixels.Set(0, 1, {5, 5, 5, 0});
    doc.Layers[1].Pixels.Set(0, 1, {40, 50, 60, 0});
    EXPECT_EQ(PixelUnderPointer(doc, 0, 1), (Bgra{40, 50, 60, 0}));
}

// ---- The view compositor ----

class CalcLayersTest : public ::testing::Test {
protected:
    PixelBuffer bg = MakeBackgroundTile(64, 48);
};

TEST_F(CalcLayersTest, AtFullSizeIsTheFlattenOverTheBackground) {
    std::mt19937 rng(11);
    DocumentRecord doc = MakeDoc(9, 7, 3);
    for (size_t lid = 1; lid <= 3; ++lid)
        doc.Layers[lid].Pixels = RandomPicture(rng, 9, 7);
    doc.Layers[2].OffsetX = 3;
    PixelBuffer flat;
    ASSERT_EQ(FlattenLayers(doc, flat, 0, -1), 0);

    PixelBuffer view(9, 7);
    auto layers = VisibleLayerRefs(doc);
    ASSERT_EQ(
        CalcLayers({layers, 9, 7}, TileRefOf(bg), DestRefOf(view), 100, 100, {0, 0, 8, 6}, kAll),
        0);
    for (int32_t y = 0; y < 7; ++y) {
        for (int32_t x = 0; x < 9; ++x) {
            const Bgra f = *flat.Get(x, y);
            const Bgra b = *bg.Get(x, y);
            const uint32_t s = 255u - f.a;
            const Bgra want{static_cast<uint8_t>(f.b * f.a / 255 + b.b * s / 255),
                            static_cast<uint8_t>(f.g * f.a / 255 + b.g * s / 255),
                            static_cast<uint8_t>(f.r * f.a / 255 + b.r * s / 255), 255};
            ASSERT_EQ(view.Get(x, 6 - y), want) << x << "," << y;  // rows reversed
        }
    }
}

TEST_F(CalcLayersTest, ZoomedSamplingIsNearestByWholePercent) {
    PixelBuffer layer(3, 1);
    layer.Set(0, 0, {10, 10, 10, 255});
    layer.Set(1, 0, {20, 20, 20, 255});
    layer.Set(2, 0, {30, 30, 30, 255});
    std::vector<LayerRef> refs{{layer.Bytes(), 0, 0}};
    auto row = [](const PixelBuffer& p) {
        std::vector<int> v;
        for (int32_t x = 0; x < p.Width(); ++x)
            v.push_back(p.Get(x, 0)->b);
        return v;
    };
    // 300% seen from zoomed column 1: columns map to 0,0,1,1,1,2,2,2 and the ninth to 3, which is
    // outside the document and keeps its byte.
    PixelBuffer up(9, 1);
    up.Fill({99, 99, 99, 99});
    ASSERT_EQ(CalcLayers({refs, 3, 1}, TileRefOf(bg), DestRefOf(up), 300, 100, {1, 0, 9, 0}, kAll),
              0);
    EXPECT_EQ(row(up), (std::vector<int>{10, 10, 20, 20, 20, 30, 30, 30, 99}));
    EXPECT_EQ(up.Get(8, 0)->a, 99);
    // 50%: every other column.
    PixelBuffer down(2, 1);
    ASSERT_EQ(CalcLayers({refs, 3, 1}, TileRefOf(bg), DestRefOf(down), 50, 100, {0, 0, 1, 0}, kAll),
              0);
    EXPECT_EQ(row(down), (std::vector<int>{10, 30}));
    // 150%: (0..3) * 100 / 150 = 0, 0, 1, 2.
    PixelBuffer odd(4, 1);
    ASSERT_EQ(CalcLayers({refs, 3, 1}, TileRefOf(bg), DestRefOf(odd), 150, 100, {0, 0, 3, 0}, kAll),
              0);
    EXPECT_EQ(row(odd), (std::vector<int>{10, 10, 20, 30}));
}

TEST_F(CalcLayersTest, LayerMovedOutOfTheDocumentContributesNothing) {
    const PixelBuffer layer = Solid(4, 4, {0, 0, 255, 255});
    const PixelBuffer empty(4, 4);
    PixelBuffer plain(4, 4);
    std::vector<LayerRef> none{{empty.Bytes(), 0, 0}};
    ASSERT_EQ(
        CalcLayers({none, 4, 4}, TileRefOf(bg), DestRefOf(plain), 100, 100, {0, 0, 3, 3}, kAll), 0);
    EXPECT_EQ(plain.Get(0, 3), (Bgra{200, 200, 200, 255}));  // the tile's first cell
    for (int32_t offset : {4, -4, 1000}) {
        PixelBuffer view(4, 4);
        std::vector<LayerRef> refs{{layer.Bytes(), offset, 1}};
        ASSERT_EQ(
            CalcLayers({refs, 4, 4}, TileRefOf(bg), DestRefOf(view), 100, 100, {0, 0, 3, 3}, kAll),
            0);
        EXPECT_EQ(view, plain) << offset;
    }
}

TEST_F(CalcLayersTest, DirtyRectangleLimitsTheWrittenPixels) {
    PixelBuffer layer = Solid(8, 8, {1, 2, 3, 255});
    std::vector<LayerRef> refs{{layer.Bytes(), 0, 0}};
    PixelBuffer view(16, 16);
    view.Fill({7, 7, 7, 7});
    // Document pixels 2..3 by 5..5 at 200%: view columns 4..7, view rows 10..11 (bottom-up 4..5).
    ASSERT_EQ(CalcLayers({refs, 8, 8}, TileRefOf(bg), DestRefOf(view), 200, 100, {0, 0, 15, 15},
                         {2, 5, 3, 5}),
              0);
    for (int32_t y = 0; y < 16; ++y) {
        for (int32_t x = 0; x < 16; ++x) {
            const bool inside = x >= 4 && x <= 7 && y >= 4 && y <= 5;
            const Bgra want = inside ? Bgra{1, 2, 3, 255} : Bgra{7, 7, 7, 7};
            EXPECT_EQ(view.Get(x, y), want) << x << "," << y;
        }
    }
    // A rectangle wholly outside the document writes nothing and is no failure.
    PixelBuffer before = view;
    EXPECT_EQ(CalcLayers({refs, 8, 8}, TileRefOf(bg), DestRefOf(view), 200, 100, {0, 0, 15, 15},
                         {20, 20, 30, 30}),
              0);
    EXPECT_EQ(view, before);
}

TEST_F(CalcLayersTest, BadArgumentsAreRefusedWithoutTouchingAnything) {
    PixelBuffer layer(4, 4), view(4, 4);
    view.Fill({5, 5, 5, 5});
    const PixelBuffer before = view;
    std::vector<LayerRef> refs{{layer.Bytes(), 0, 0}};
    const TileRef tile = TileRefOf(bg);
    const RectI v{0, 0, 3, 3};
    EXPECT_EQ(CalcLayers({refs, 4, 5}, tile, DestRefOf(view), 100, 100, v, kAll),
              kCompositeBufferMismatch);
    EXPECT_EQ(CalcLayers({refs, 0, 4}, tile, DestRefOf(view), 100, 100, v, kAll),
              kCompositeBadSize);
    EXPECT_EQ(CalcLayers({refs, 4, 4}, {bg.Bytes().first(16), 64, 48}, DestRefOf(view), 100, 100, v,
                         kAll),
              kCompositeBufferMismatch);
    EXPECT_EQ(CalcLayers({refs, 4, 4}, tile, {view.Bytes(), 5, 4}, 100, 100, v, kAll),
              kCompositeBufferMismatch);
    EXPECT_EQ(CalcLayers({refs, 4, 4}, tile, DestRefOf(view), 0, 100, v, kAll), kCompositeBadZoom);
    EXPECT_EQ(CalcLayers({refs, 4, 4}, tile, DestRefOf(view), 100, 100, v, {3, 0, 2, 3}),
              kCompositeBadRect);
    EXPECT_EQ(CalcLayersEasy({refs, 4, 4}, tile, {view.Bytes(), 4, 3}), kCompositeBufferMismatch);
    EXPECT_EQ(view, before);
    EXPECT_EQ(CompositorErrorText(kCompositeBadZoom), "KRDErr");
}

TEST_F(CalcLayersTest, FastPathMatchesTheReferenceOnRandomStacks) {
    std::mt19937 rng(2024);
    const int32_t zooms[] = {1, 7, 10, 25, 33, 50, 99, 100, 101, 150, 200, 333, 800, 5000};
    for (int round = 0; round < 400; ++round) {
        const int32_t w = 1 + static_cast<int32_t>(rng() % 70);
        const int32_t h = 1 + static_cast<int32_t>(rng() % 29);
        std::vector<RefLayer> layers(static_cast<size_t>(rng() % 7));
        for (RefLayer& l : layers) {
            l.pixels = RandomPicture(rng, w, h);
            l.offsetX = static_cast<int32_t>(rng() % (2 * w + 5)) - w - 2;
            l.offsetY = static_cast<int32_t>(rng() % (2 * h + 5)) - h - 2;
        }
        const int32_t zp = zooms[rng() % std::size(zooms)];
        const int64_t zoomedW = int64_t{w} * zp / 100, zoomedH = int64_t{h} * zp / 100;
        RectI view{static_cast<int32_t>(rng() % (zoomedW + 3)) - 1,
                   static_cast<int32_t>(rng() % (zoomedH + 3)) - 1, 0, 0};
        // A noisy tile, so that a background read from the wrong place shows.
        PixelBuffer bgSmall = RandomPicture(rng, 1 + static_cast<int32_t>(rng() % 30),
                                            1 + static_cast<int32_t>(rng() % 30));
        RectI dirty = kAll;
        if (rng() % 2) {
            dirty.left = static_cast<int32_t>(rng() % (w + 4)) - 2;
            dirty.top = static_cast<int32_t>(rng() % (h + 4)) - 2;
            dirty.right = dirty.left + static_cast<int32_t>(rng() % 8);
            dirty.bottom = dirty.top + static_cast<int32_t>(rng() % 8);
        }
        const PixelBuffer before = RandomPicture(rng, 1 + static_cast<int32_t>(rng() % 90),
                                                 1 + static_cast<int32_t>(rng() % 50));
        PixelBuffer want = before;
        RefCalcLayers(layers, w, h, bgSmall, want, zp, 100, view, dirty);
        PixelBuffer thumbWant(1 + static_cast<int32_t>(rng() % 60),
                              1 + static_cast<int32_t>(rng() % 60));
        RefCalcLayersEasy(layers, w, h, bgSmall, thumbWant);
        const std::vector<LayerRef> refs = Refs(layers);
        for (auto kernel : Kernels()) {
            PixelBuffer got = before;
            ASSERT_EQ(compositor_detail::CalcLayersUsing(kernel, {refs, w, h}, TileRefOf(bgSmall),
                                                         DestRefOf(got), zp, 100, view, dirty),
                      0);
            ASSERT_EQ(got, want) << "round " << round << " zoom " << zp << " kernel "
                                 << static_cast<int>(kernel);
            PixelBuffer thumb(thumbWant.Width(), thumbWant.Height());
            ASSERT_EQ(compositor_detail::CalcLayersEasyUsing(kernel, {refs, w, h},
                                                             TileRefOf(bgSmall), DestRefOf(thumb)),
                      0);
            ASSERT_EQ(thumb, thumbWant) << "round " << round;
        }
    }
}

TEST_F(CalcLayersTest, ThumbnailsSampleCellCentres) {
    // 4 columns into 2: the centres of the cells fall on columns 1 and 3.
    PixelBuffer layer(4, 1);
    for (int32_t x = 0; x < 4; ++x)
        layer.Set(x, 0, {static_cast<uint8_t>(10 * x), 0, 0, 255});
    std::vector<LayerRef> refs{{layer.Bytes(), 0, 0}};
    PixelBuffer thumb(2, 2);
    ASSERT_EQ(CalcLayersEasy({refs, 4, 1}, TileRefOf(bg), DestRefOf(thumb)), 0);
    EXPECT_EQ(thumb.Get(0, 0)->b, 10);
    EXPECT_EQ(thumb.Get(1, 1)->b, 30);
    EXPECT_EQ(thumb.Get(1, 1)->a, 255);
}

}  // namespace
}  // namespace brv
