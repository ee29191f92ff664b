#include "formats/picture_loader.h"

#include <gtest/gtest.h>

#include <random>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "formats/bmp_codec.h"
#include "formats/ico_codec.h"
#include "formats/reference_decoder_test.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::CorpusDir;
using testing::TempFolder;

std::vector<std::string> CorpusFiles(const std::string& folder, const std::string& suffix) {
    std::vector<std::string> out;
    if (CorpusDir().empty()) return out;
    for (const std::string& f : ListFilesRecursive(CorpusDir() + "/" + folder))
        if (f.size() > suffix.size() && f.substr(f.size() - suffix.size()) == suffix)
            out.push_back(f);
    return out;
}

// A 2 x 2 24-bit bitmap, bottom row first: red, green / blue, white.
std::vector<uint8_t> SmallBmp() {
    ByteWriter w;
    w.U16LE(19778);
    w.I32LE(70);
    w.U32LE(0);
    w.I32LE(54);
    for (int32_t v : {40, 2, 2})
        w.I32LE(v);
    w.U16LE(1);
    w.U16LE(24);
    for (int i = 0; i < 6; ++i)
        w.U32LE(0);
    w.Bytes(std::vector<uint8_t>{0, 0, 255, 0, 255, 0, 0, 0, 255, 0, 0, 255, 255, 255, 0, 0});
    return std::move(w).Take();
}

TEST(PictureLoader, IsLoadableByExtensionThenContent) {
    const LoadPictureExClass loader;
    const auto bmp = SmallBmp();
    for (const char* name : {"a.bmp", "A.BMP", "x/y.z/a.Jpg", "a.gif", "a.wmf", "a.ico", "a.cur",
                             "a.jpeg", "a.jpe", "c:\\dir.x\\pic.bmp"})
        EXPECT_TRUE(loader.IsLoadableBytes(name, bmp)) << name;
    for (const char* name : {"a.png", "a", "dir.bmp/a", "dir.bmp\\a", "a.bmp.txt", "a.emf"})
        EXPECT_FALSE(loader.IsLoadableBytes(name, bmp)) << name;
    // The content decides which reader runs, and a PNG is none of them.
    const std::vector<uint8_t> png{0x89, 'P', 'N', 'G', 13, 10, 26, 10, 0, 0, 0, 0};
    EXPECT_FALSE(loader.IsLoadableBytes("a.jpg", png));
    EXPECT_FALSE(loader.IsLoadableBytes("a.jpg", {}));

    TempFolder dir;
    ASSERT_TRUE(WriteWholeFile(dir.File("pic.gif"), bmp));  // a bitmap in disguise
    EXPECT_TRUE(loader.IsLoadable(dir.File("pic.gif")));
    EXPECT_FALSE(loader.IsLoadable(dir.File("missing.gif")));
}

TEST(PictureLoader, BitmapsThroughOurReaderAndTheDepthsAsked) {
    TempFolder dir;
    ASSERT_TRUE(WriteWholeFile(dir.File("p.jpg"), SmallBmp()));
    const LoadPictureExClass loader;
    PixelBuffer p;
    ASSERT_EQ(loader.LoadPictureEx(dir.File("p.jpg"), p, -1), 0);
    EXPECT_EQ(p.Get(0, 0), (Bgra{0, 0, 255, 0}));  // bottom row first, as in the file
    EXPECT_EQ(p.Get(1, 1), (Bgra{255, 255, 255, 0}));
    ASSERT_EQ(loader.LoadPictureEx(dir.File("p.jpg"), p, 77), 0);
    EXPECT_EQ(p.Get(1, 0), (Bgra{0, 255, 0, 77}));

    DibPicture dib;
    ASSERT_EQ(loader.LoadPictureEx(dir.File("p.jpg"), dib, 24, 5), 0);
    EXPECT_EQ(dib.Stride(), 8u);
    EXPECT_EQ(dib.Bytes,
              (std::vector<uint8_t>{0, 0, 255, 0, 255, 0, 0, 0, 255, 0, 0, 255, 255, 255, 0, 0}));
    ASSERT_EQ(loader.LoadPictureEx(dir.File("p.jpg"), dib, 16, 5), 0);
    EXPECT_EQ(dib.Stride(), 4u);
    EXPECT_EQ(dib.Bytes, (std::vector<uint8_t>{0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0xFF, 0x7F}));
    EXPECT_EQ(loader.LoadPictureEx(dir.File("p.jpg"), dib, 8, -1), kPictureFailed);
    EXPECT_EQ(loader.LoadPictureEx(dir.File("none.jpg"), dib, 32, -1), kPictureFailed);
    EXPECT_EQ(LoadPictureExClass::GetError(kPictureFailed), kPictureUnreadable);
    EXPECT_EQ(LoadPictureExClass::GetError(0), "");
}

TEST(PictureLoader, MetafilesAreRecognisedButRefused) {
    const auto files = CorpusFiles("wmf", ".wmf");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    const LoadPictureExClass loader;
    for (const std::string& f : files) {
        EXPECT_TRUE(loader.IsLoadable(f)) << f;
        PixelBuffer p;
        EXPECT_EQ(loader.LoadPictureEx(f, p, -1), kPictureMetafileRefused) << f;
        EXPECT_EQ(LoadPictureExClass::GetError(kPictureMetafileRefused), "読みこめない画像です。");
    }
    for (const std::string& f : CorpusFiles("wmf", ".emf"))
        EXPECT_FALSE(loader.IsLoadable(f));
}

TEST(PictureLoader, IconsGiveTheirFirstImage) {
    const auto files = CorpusFiles("ico", ".ico");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    const LoadPictureExClass loader;
    int loaded = 0;
    for (const std::string& f : files) {
        PixelBuffer ours, direct;
        int32_t hx = 0, hy = 0;
        const bool readable = IconC().LoadIcon(f, 1, direct, hx, hy, true) >= 0;
        EXPECT_EQ(loader.LoadPictureEx(f, ours, -1) == 0, readable) << f;
        if (!readable) continue;
        ++loaded;
        EXPECT_EQ(ours, direct) << f;
    }
    EXPECT_GT(loaded, 10);
}

// Largest difference of a channel between our bottom-up rows and a top-down reference, or
// -1 when the sizes differ.
int MaxDifference(const PixelBuffer& ours, const testing::RgbaPicture& ref) {
    if (ours.Width() != ref.Width || ours.Height() != ref.Height) return -1;
    int worst = 0;
    for (int32_t y = 0; y < ref.Height; ++y)
        for (int32_t x = 0; x < ref.Width; ++x) {
            const uint8_t* o = ours.PixelPtr(x, ours.Height() - 1 - y);
            const uint8_t* r = ref.At(x, y);
            for (int k = 0; k < 3; ++k)
                worst = std::max(worst, std::abs(o[k] - r[2 - k]));
        }
    return worst;
}

TEST(PictureLoader, JpegMatchesTheReferenceDecodings) {
    const auto files = CorpusFiles("jpeg", ".jpg");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    const LoadPictureExClass loader;

    if (!testing::HaveImageMagick()) GTEST_SKIP() << "no convert";
    int compared = 0;
    for (const std::string& f : files) {
        PixelBuffer ours;
        const int32_t r = loader.LoadPictureEx(f, ours, -1);
        const auto ref = testing::MagickDecode(f);
        if (!ref) continue;
        ASSERT_EQ(r, 0) << f;
        for (size_t i = 3; i < ours.ByteSize(); i += 4)
            ASSERT_EQ(ours.Bytes()[i], 0) << f;
        // ImageMagick decodes with the same libjpeg-turbo and the same defaults (integer DCT,
        // fancy upsampling), so colour pictures agree exactly. CMYK pictures go through each
        // program's own conversion to RGB, where a rounding may differ by one (none does on
        // the corpus file today).
        const bool cmyk = f.find("cmyk") != std::string::npos;
        EXPECT_LE(MaxDifference(ours, *ref), cmyk ? 1 : 0) << f;
        ++compared;
    }
    EXPECT_GT(compared, 20);
}

TEST(PictureLoader, GifFirstFrameMatchesImageMagickExactly) {
    const auto files = CorpusFiles("gif", ".gif");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    if (!testing::HaveImageMagick()) GTEST_SKIP() << "no convert";
    const LoadPictureExClass loader;
    int compared = 0;
    for (const std::string& f : files) {
        PixelBuffer ours;
        const int32_t r = loader.LoadPictureEx(f, ours, -1);
        const auto ref = testing::MagickDecode(f, "-coalesce");
        // giflib takes LZW codes of at most 8 starting bits; this file starts at 11.
        if (f.ends_with("issue_2811.gif")) {
            EXPECT_EQ(r, kPictureFailed);
            continue;
        }
        if (!ref) {
            EXPECT_TRUE(r == 0 || r == kPictureFailed) << f;
            continue;
        }
        ASSERT_EQ(r, 0) << f;
        ASSERT_EQ(ours.Width(), ref->Width) << f;
        ASSERT_EQ(ours.Height(), ref->Height) << f;
        int bad = 0;
        for (int32_t y = 0; y < ref->Height && bad < 3; ++y)
            for (int32_t x = 0; x < ref->Width && bad < 3; ++x) {
                const uint8_t* o = ours.PixelPtr(x, ours.Height() - 1 - y);
                const uint8_t* m = ref->At(x, y);
                // Our fourth byte is a transparency; colours count where something shows.
                const bool same = o[3] == 255 - m[3] &&
                                  (m[3] == 0 || (o[0] == m[2] && o[1] == m[1] && o[2] == m[0]));
                if (!same) {
                    ++bad;
                    ADD_FAILURE() << f << " at " << x << "," << y << ": ours " << int{o[2]} << " "
                                  << int{o[1]} << " " << int{o[0]} << " " << int{o[3]}
                                  << ", ImageMagick " << int{m[0]} << " " << int{m[1]} << " "
                                  << int{m[2]} << " " << int{m[3]};
                }
            }
        ++compared;
    }
    EXPECT_GT(compared, 35);
}

TEST(PictureLoader, TruncatedAndFlippedFilesNeverCrash) {
    std::vector<std::string> files = CorpusFiles("jpeg", ".jpg");
    for (const auto& f : CorpusFiles("gif", ".gif"))
        files.push_back(f);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    std::mt19937 rng(99);
    const LoadPictureExClass loader(PictureLimits{.MaxPixels = 1 << 22});
    for (const std::string& f : files) {
        const auto file = ReadWholeFile(f);
        ASSERT_TRUE(file);
        auto check = [&](const std::vector<uint8_t>& bytes) {
            PixelBuffer p;
            const int32_t r = loader.LoadPictureBytes(bytes, p, -1);
            EXPECT_TRUE(r == 0 || r == kPictureFailed) << f;
            if (r == 0) {
                EXPECT_GT(p.Width(), 0) << f;
                EXPECT_GT(p.Height(), 0) << f;
            }
            loader.IsLoadableBytes("x.jpg", bytes);
        };
        for (size_t cut : {size_t{2}, size_t{6}, size_t{13}, size_t{30}, file->size() / 3,
                           file->size() / 2, file->size() - 1})
            check(std::vector<uint8_t>(
                file->begin(), file->begin() + static_cast<long>(std::min(cut, file->size()))));
        for (int i = 0; i < 12; ++i) {
            std::vector<uint8_t> bytes = *file;
            const size_t span = i % 2 ? bytes.size() : std::min<size_t>(bytes.size(), 600);
            for (int k = 0; k < 4; ++k)
                bytes[2 + rng() % (span - 2)] ^= static_cast<uint8_t>(1u << (rng() % 8));
            check(bytes);
        }
    }
}

}  // namespace
}  // namespace brv
