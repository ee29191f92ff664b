#include "colour/hsv.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

TEST(Hsv, ConversionTruncatesAndHue360IsNotRed) {
    int32_t h, s, v;
    RGBToHSV(10, 20, 30, h, s, v);
    EXPECT_EQ(h, 210);
    EXPECT_EQ(s, 170);  // 20 * 255 div 30
    EXPECT_EQ(v, 30);
    RGBToHSV(255, 1, 0, h, s, v);
    EXPECT_EQ(h, 0);  // 60 div 255 is 0: the true hue 0.24 is lost
    EXPECT_EQ(HSVToRGB(210, 170, 30), 0x1E140A);
    EXPECT_EQ(HSVToRGB(0, 255, 255), 0x0000FF);
    EXPECT_EQ(HSVToRGB(360, 255, 255), 0xFF00FF);  // sector 6: (V, p, q)
    EXPECT_EQ(HSVToRGB(360, 0, 77), 0x4D4D4D);
}

// Values from an action line may be anything: the channels are held to a byte, no overflow.
TEST(Hsv, OutOfRangeArgumentsStayWithinAByte) {
    for (int32_t h : {-720, -1, 361, 100000, 2147483647})
        for (int32_t s : {-300, 0, 255, 600})
            for (int32_t v : {-1, 128, 9999}) {
                const int32_t c = HSVToRGB(h, s, v);
                EXPECT_EQ(c & ~0xFFFFFF, 0) << h << " " << s << " " << v;
            }
}

}  // namespace
}  // namespace brv
