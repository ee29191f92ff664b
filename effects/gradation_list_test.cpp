#include "effects/gradation_list.h"

#include <gtest/gtest.h>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

std::vector<int32_t> Ints(const std::vector<uint8_t>& bytes) {
    ByteReader r(bytes);
    std::vector<int32_t> out;
    while (r.Remaining() >= 4)
        out.push_back(r.I32LE());
    return out;
}

TEST(GradationFiles, DefaultsHaveTheirExactBytes) {
    TempFolder dir;
    EXPECT_EQ(MakeDefaultGradations(dir.Path()), 2);
    auto black = ReadWholeFile(dir.File("黒から白.BVG"));
    ASSERT_TRUE(black);
    EXPECT_EQ(black->size(), 76u);
    EXPECT_EQ(Ints(*black), (std::vector<int32_t>{2, 0, 0, 0, 0, 0, 0,  //
                                                  0, 0, 0, 255, 0, 0,   //
                                                  255, 255, 255, 255, 100, 0}));
    auto magenta = ReadWholeFile(dir.File("白から透明な黒.BVG"));
    ASSERT_TRUE(magenta);
    EXPECT_EQ(Ints(*magenta), (std::vector<int32_t>{2, 0, 0, 0, 0, 0, 0,     //
                                                    255, 0, 255, 255, 0, 0,  //
                                                    0, 255, 0, 0, 100, 0}));
}

TEST(GradationFiles, RoundTripSortsAndNamesTheExtension) {
    TempFolder dir;
    GradData list;
    GradAdd(list, 1, 2, 3, 4, 80);
    GradAdd(list, 5, 6, 7, 8, 10);
    GradAdd(list, 9, 9, 9, 9, 80);
    ASSERT_EQ(GradSave(dir.File("mine.txt"), list), 0);
    GradData back;
    ASSERT_EQ(GradLoad(dir.File("mine.txt.BVG"), back), 0);
    ASSERT_EQ(back.size(), 3u);
    EXPECT_EQ(back[0].Pos, 10);
    EXPECT_EQ(back[1].R, 1);  // equal positions keep their order
    EXPECT_EQ(back[2].R, 9);
}

TEST(GradationFiles, CountOutsideOneToHundredIsRefused) {
    TempFolder dir;
    GradData keep;
    GradAdd(keep, 1, 1, 1, 1, 0);
    for (int32_t n : {0, 101, -1}) {
        ByteWriter w;
        w.I32LE(n);
        w.Zeros(24 * 3);
        ASSERT_TRUE(WriteWholeFile(dir.File("bad.BVG"), w.Data()));
        EXPECT_LT(GradLoad(dir.File("bad.BVG"), keep), 0) << n;
        EXPECT_EQ(keep.size(), 1u);
    }
    // A count that promises more records than the file holds.
    ByteWriter w;
    w.I32LE(5);
    w.Zeros(24 * 2);
    ASSERT_TRUE(WriteWholeFile(dir.File("short.BVG"), w.Data()));
    EXPECT_LT(GradLoad(dir.File("short.BVG"), keep), 0);
}

}  // namespace
}  // namespace brv
