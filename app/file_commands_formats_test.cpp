// The open and save commands for PNG, bitmaps and the pictures of the platform loader: what
// reaches a document, what the writers put on disk, their options boxes and option codes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "app/file_commands.h"
#include "app/file_commands_test.h"
#include "core/byte_io.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "formats/bmp_codec.h"
#include "formats/picture_loader.h"
#include "formats/png_codec.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::CorpusDir;
using testing::FakeHost;
using testing::TempFolder;

// "" when the pictures are equal, else where they first differ.
std::string Difference(const PixelBuffer& got, const PixelBuffer& want) {
    if (got.Width() != want.Width() || got.Height() != want.Height())
        return "size " + std::to_string(got.Width()) + "x" + std::to_string(got.Height()) +
               ", want " + std::to_string(want.Width()) + "x" + std::to_string(want.Height());
    for (int32_t y = 0; y < got.Height(); ++y)
        for (int32_t x = 0; x < got.Width(); ++x) {
            const Bgra g = *got.Get(x, y), w = *want.Get(x, y);
            if (g != w)
                return "at " + std::to_string(x) + "," + std::to_string(y) + " BGRA " +
                       std::to_string(g.b) + " " + std::to_string(g.g) + " " + std::to_string(g.r) +
                       " " + std::to_string(g.a) + ", want " + std::to_string(w.b) + " " +
                       std::to_string(w.g) + " " + std::to_string(w.r) + " " + std::to_string(w.a);
        }
    return "";
}

// A layer picture of more than 256 colours, opaque but for the top row, which is the last row
// the writer gets and the one its depth choice never looks at: the best PNG depth is 24. Two
// pixels are black, the colour that a 24-bit file makes transparent.
PixelBuffer ManyColoursOpaque(int32_t w, int32_t h) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            p.Set(x, y,
                  {static_cast<uint8_t>(x * 13 + 1), static_cast<uint8_t>(y * 7 + 1),
                   static_cast<uint8_t>(x * y + 1), static_cast<uint8_t>(y == 0 ? 0 : 255)});
    p.Set(1, 0, {0, 0, 0, 255});
    p.Set(2, 2, {0, 0, 0, 255});
    return p;
}

// Every pixel its own colour and a soft alpha: 32 bits whatever the writer.
PixelBuffer SoftAlpha(int32_t w, int32_t h) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            p.Set(x, y,
                  {static_cast<uint8_t>(x * 9), static_cast<uint8_t>(y * 11),
                   static_cast<uint8_t>(x + y), static_cast<uint8_t>(x * 16 + y)});
    return p;
}

// Pure colours (each channel 0 or 255), opaque, from a list of count colours.
PixelBuffer PureColours(int32_t w, int32_t h, int32_t count) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const int32_t c = (x + 3 * y) % count;
            const auto on = [c](int bit) { return static_cast<uint8_t>((c + 1) & bit ? 255 : 0); };
            p.Set(x, y, {on(1), on(2), on(4), 255});
        }
    return p;
}

// The picture with every pixel of alpha below `limit` replaced by `with`.
PixelBuffer ClearedBelow(PixelBuffer p, uint8_t limit, Bgra with) {
    for (int32_t y = 0; y < p.Height(); ++y)
        for (int32_t x = 0; x < p.Width(); ++x)
            if (p.Get(x, y)->a < limit) p.Set(x, y, with);
    return p;
}

// What a file with black as its transparent key gives back: pixels of alpha below 128 were
// painted black, and every black pixel is transparent.
PixelBuffer KeyedBlack(PixelBuffer p) {
    p = ClearedBelow(std::move(p), 128, {0, 0, 0, 0});
    for (int32_t y = 0; y < p.Height(); ++y)
        for (int32_t x = 0; x < p.Width(); ++x) {
            const Bgra c = *p.Get(x, y);
            if (c.b == 0 && c.g == 0 && c.r == 0) p.Set(x, y, {0, 0, 0, 0});
        }
    return p;
}

PixelBuffer WithAlpha(PixelBuffer p, uint8_t alpha) {
    for (size_t i = 3; i < p.ByteSize(); i += 4)
        p.Bytes()[i] = alpha;
    return p;
}

// A layer picture in file order (rows bottom-up), as the writers take it.
PixelBuffer BottomUp(PixelBuffer p) {
    FlipAndInvert(p, true, false);
    return p;
}

// The bytes of a PNG file of a layer picture; empty if the writer refused.
std::vector<uint8_t> PngBytes(const PixelBuffer& layerPicture, int32_t colorBit = 32,
                              int32_t filterNo = 0, bool interlace = false) {
    std::vector<uint8_t> file;
    if (PNGC().EncodePNG(BottomUp(layerPicture), colorBit, filterNo, interlace, file) != 0)
        return {};
    return file;
}

// The header fields of a PNG file we wrote: colour type and interlace, and whether tRNS is
// there.
struct PngFacts {
    int colourType = -1;
    int interlace = -1;
    std::vector<uint8_t> trns;
    bool hasTrns = false;
};
PngFacts ReadPngFacts(const std::string& fnm) {
    PngFacts f;
    const auto bytes = ReadWholeFile(fnm);
    if (!bytes || bytes->size() < 33) return f;
    f.colourType = (*bytes)[25];
    f.interlace = (*bytes)[28];
    ByteReader r(*bytes);
    r.Seek(8);
    while (r.Remaining() >= 12) {
        const uint32_t length = r.U32BE();
        const std::string type = r.Text(4);
        if (type == "tRNS") {
            f.hasTrns = true;
            const auto chunk = r.Bytes(length);
            f.trns.assign(chunk.begin(), chunk.end());
        } else {
            r.Skip(length);
        }
        r.Skip(4);
    }
    return f;
}

// The first image of a file as ImageMagick decodes it, in layer order; nullopt without
// ImageMagick or when it fails.
std::optional<PixelBuffer> MagickLayerPicture(const std::string& fnm, int32_t w, int32_t h,
                                              const TempFolder& dir) {
    const std::string out = dir.File("magick.rgba");
    const std::string command =
        "convert '" + fnm + "[0]' -set colorspace sRGB -depth 8 rgba:'" + out + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return std::nullopt;
    auto bytes = ReadWholeFile(out);
    DeleteFile(out);
    if (!bytes) return std::nullopt;
    for (size_t i = 0; i + 3 < bytes->size(); i += 4)
        std::swap((*bytes)[i], (*bytes)[i + 2]);
    return PixelBuffer::FromBytes(w, h, std::move(*bytes));
}

bool HaveMagick() {
    return std::system("convert -version >/dev/null 2>&1") == 0;
}

class PictureFilesTest : public testing::FileCommandsFixture {
protected:
    // A document whose one layer holds `picture`.
    int32_t Document(const PixelBuffer& picture) {
        int32_t w = picture.Width(), h = picture.Height();
        const int32_t fid = NewDocument(app.Core, host, w, h);
        app.Core.Doc(fid)->Layers[1].Pixels = picture;
        app.Core.Doc(fid)->Modified = kYes;
        return fid;
    }
    // What the writers are given: the layers flattened, which leaves no colour where alpha is 0.
    PixelBuffer Flat(int32_t fid) {
        PixelBuffer p;
        EXPECT_EQ(FlattenLayers(Doc(fid), p, 0, -1), 0);
        return p;
    }
    // Opens a file as the open command does and gives back its layer picture (empty when the
    // open failed), closing the document again.
    PixelBuffer Reopen(const std::string& fnm) {
        const int32_t fid = files.OpenFile(fnm, 0);
        if (fid < 1) return {};
        PixelBuffer p = Doc(fid).Layers[1].Pixels;
        CloseDocument(app.Core, host, fid, nullptr);
        return p;
    }
    std::vector<std::string> LeftoverNames(std::string_view part) {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(ToFsPath(dir.Path())))
            if (FromFsPath(e.path().filename()).find(part) != std::string::npos)
                names.push_back(FromFsPath(e.path().filename()));
        return names;
    }
};

// ---------------------------------------------------------------------------------------------
// The sniffer and the open roads.

TEST_F(PictureFilesTest, SnifferTellsPngBmpAndLoaderPicturesByContent) {
    const PixelBuffer bottomUp = BottomUp(SoftAlpha(5, 4));
    ASSERT_TRUE(WriteWholeFile(dir.File("really_png.ico"), PngBytes(SoftAlpha(5, 4))));
    std::vector<uint8_t> bmp = ALLBMPC::EncodeBMP16to32(bottomUp, 24);
    ASSERT_TRUE(WriteWholeFile(dir.File("plain.dat"), bmp));

    std::string kindWord;
    int32_t count = 0;
    EXPECT_EQ(SniffFile(dir.File("really_png.ico"), kindWord, count), 0);
    EXPECT_EQ(kindWord, "png");
    EXPECT_EQ(count, 1);
    EXPECT_EQ(SniffFile(dir.File("plain.dat"), kindWord, count), 0);
    EXPECT_EQ(kindWord, "bmp");

    // A bitmap whose bfSize says more than 16 MiB is no bitmap to the header test: with the
    // loader's extension it becomes a loader picture, otherwise nothing.
    bmp[2] = 0x01;
    bmp[3] = 0x00;
    bmp[4] = 0x00;
    bmp[5] = 0x01;  // 16777217
    ASSERT_TRUE(WriteWholeFile(dir.File("big.bmp"), bmp));
    ASSERT_TRUE(WriteWholeFile(dir.File("big.dat"), bmp));
    EXPECT_EQ(SniffFile(dir.File("big.bmp"), kindWord, count), 0);
    EXPECT_EQ(kindWord, "lpec");
    EXPECT_EQ(SniffFile(dir.File("big.dat"), kindWord, count), -1);
    // Both readers give the same picture in the end.
    const PixelBuffer viaLoader = Reopen(dir.File("big.bmp"));
    EXPECT_EQ(Difference(viaLoader, WithAlpha(SoftAlpha(5, 4), 255)), "");

    // A JPEG start with no frame behind it is nothing the loader knows.
    ASSERT_TRUE(
        WriteWholeFile(dir.File("broken.jpg"), std::vector<uint8_t>{0xFF, 0xD8, 0xFF, 0xE0}));
    EXPECT_EQ(SniffFile(dir.File("broken.jpg"), kindWord, count), -1);
}

TEST_F(PictureFilesTest, PngAndBmpOpenInLayerOrder) {
    const PixelBuffer picture = SoftAlpha(7, 5);
    const PixelBuffer bottomUp = BottomUp(picture);
    ASSERT_TRUE(WriteWholeFile(dir.File("a.png"), PngBytes(picture, 32, 4)));
    const int32_t fid = files.OpenFile(dir.File("a.png"), 0);
    ASSERT_GE(fid, 1);
    EXPECT_EQ(Doc(fid).Layers[1].Pixels, picture);
    EXPECT_EQ(Doc(fid).Width, 7);
    EXPECT_EQ(Doc(fid).Height, 5);
    EXPECT_EQ(Doc(fid).FileName, dir.File("a.png"));
    EXPECT_EQ(Doc(fid).Modified, kNo);
    EXPECT_TRUE(host.pictureRequests.empty());

    // A 32-bit bitmap keeps its fourth byte as the layer's alpha: the reader complements it and
    // the open road complements it back.
    ASSERT_TRUE(WriteWholeFile(dir.File("a.bmp"), ALLBMPC::EncodeBMP16to32(bottomUp, 32)));
    EXPECT_EQ(Difference(Reopen(dir.File("a.bmp")), picture), "");
    // 24 bits: every pixel opaque.
    ASSERT_TRUE(WriteWholeFile(dir.File("b.bmp"), ALLBMPC::EncodeBMP16to32(bottomUp, 24)));
    EXPECT_EQ(Difference(Reopen(dir.File("b.bmp")), WithAlpha(picture, 255)), "");
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(PictureFilesTest, RefusedPicturesNameTheFileWithTheReadersText) {
    std::string message;
    // A PNG chunk whose length runs past the end.
    std::vector<uint8_t> png = PngBytes(SoftAlpha(3, 3));
    png.resize(png.size() - 20);
    ASSERT_TRUE(WriteWholeFile(dir.File("cut.png"), png));
    EXPECT_EQ(files.LoadIntoDocument(dir.File("cut.png"), 0, 1, message, false), 0);
    EXPECT_EQ(message, dir.File("cut.png") +
                           "を開く時のエラー：PNGのチャンクのサイズがファイルの大きさを超えていま"
                           "す。ファイルが壊れている可能性があります。");

    // An RLE8 bitmap without biSizeImage.
    std::vector<uint8_t> bmp = ALLBMPC::EncodeBMP16to32(BottomUp(SoftAlpha(3, 3)), 24);
    bmp[30] = 1;                                       // biCompression RLE8
    bmp[28] = 8;                                       // biBitCount
    std::fill(bmp.begin() + 34, bmp.begin() + 38, 0);  // biSizeImage
    ASSERT_TRUE(WriteWholeFile(dir.File("rle.bmp"), bmp));
    EXPECT_EQ(files.LoadIntoDocument(dir.File("rle.bmp"), 0, 1, message, false), 0);
    EXPECT_EQ(message, dir.File("rle.bmp") + "を開く時のエラー：読み込みできませんでした。");

    // A metafile is the loader's, which refuses to draw it.
    const std::vector<uint8_t> wmf = {0xD7, 0xCD, 0xC6, 0x9A, 0, 0, 0, 0, 0, 0, 0,
                                      0,    0,    0,    0,    0, 0, 0, 0, 0, 0, 0};
    ASSERT_TRUE(WriteWholeFile(dir.File("a.wmf"), wmf));
    std::string kindWord;
    int32_t count = 0;
    EXPECT_EQ(SniffFile(dir.File("a.wmf"), kindWord, count), 0);
    EXPECT_EQ(kindWord, "lpec");
    EXPECT_EQ(files.LoadIntoDocument(dir.File("a.wmf"), 0, 1, message, false), 0);
    EXPECT_EQ(message, dir.File("a.wmf") + "を開く時のエラー：読みこめない画像です。");

    ASSERT_EQ(host.messages.size(), 3u);
    EXPECT_EQ(host.messages[2], message);
    EXPECT_TRUE(host.createdWindows.empty());
}

TEST_F(PictureFilesTest, InterlacedPngBelowOneByteAPixelShowsTheMessageAndOpensBlank) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "no corpus";
    const std::string fnm = root + "/png/pngsuite/basi0g01.png";
    const int32_t fid = files.OpenFile(fnm, 0);
    ASSERT_GE(fid, 1);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "ビット境界が1バイト未満です。");
    EXPECT_EQ(Doc(fid).Layers[1].Pixels, PixelBuffer(32, 32));
}

// Every picture of the corpora that the sniffer gives to these readers reaches the document as
// its codec reads it, or not at all with the codec's text.
TEST_F(PictureFilesTest, EveryCorpusPictureOpensAsItsCodecReadsIt) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "no corpus";
    int opened = 0, refused = 0;
    for (const char* folder : {"png", "bmp", "jpeg", "gif"}) {
        for (const auto& e :
             std::filesystem::recursive_directory_iterator(ToFsPath(root + "/" + folder))) {
            if (!e.is_regular_file()) continue;
            const std::string fnm = FromFsPath(e.path());
            std::string kindWord;
            int32_t count = 0;
            if (SniffFile(fnm, kindWord, count) < 0) continue;
            if (kindWord != "png" && kindWord != "bmp" && kindWord != "lpec") continue;

            PixelBuffer expected;
            std::string text;
            if (kindWord == "png") {
                PNGC png;
                bool cancelled = false;
                const int32_t r = png.GetPNG(fnm, expected, false, false, nullptr, cancelled);
                if (r < 0) text = png.GetPNGError(r);
            } else if (kindWord == "bmp") {
                const int32_t r = ALLBMPC().GetBMPFile(fnm, expected, nullptr, true);
                if (r < 0) text = ALLBMPC::GetBMPError(r);
                FlipAndInvert(expected, false, true);
            } else {
                if (LoadPictureExClass().LoadPictureEx(fnm, expected, -1) < 0)
                    text = kPictureUnreadable;
                FlipAndInvert(expected, true, true);
            }

            std::string message;
            const int32_t fid = files.LoadIntoDocument(fnm, 0, 1, message, true);
            if (!text.empty()) {
                EXPECT_EQ(fid, 0) << fnm;
                EXPECT_EQ(message, fnm + "を開く時のエラー：" + text);
                ++refused;
                continue;
            }
            ASSERT_GE(fid, 1) << fnm << ": " << message;
            EXPECT_EQ(Difference(Doc(fid).Layers[1].Pixels, expected), "") << fnm;
            CloseDocument(app.Core, host, fid, nullptr);
            ++opened;
        }
    }
    EXPECT_GT(opened, 300);
    EXPECT_GT(refused, 10);
}

// A few files where the readers and ImageMagick agree, through the whole open road.
TEST_F(PictureFilesTest, CorpusPicturesMatchImageMagick) {
    const std::string root = CorpusDir();
    if (root.empty() || !HaveMagick()) GTEST_SKIP() << "no corpus or no ImageMagick";
    struct Case {
        const char* file;
        const char* reference;  // another file with the same picture, or null
        bool coloursWhereTransparent;
    };
    const Case cases[] = {
        {"png/pngsuite/basn2c08.png", nullptr, true},
        {"png/pngsuite/basn3p08.png", nullptr, true},
        {"png/pngsuite/basn4a08.png", nullptr, true},
        {"png/pngsuite/basn6a08.png", nullptr, true},
        {"png/pngsuite/basi6a08.png", nullptr, true},
        {"png/pngsuite/tbbn3p08.png", nullptr, true},
        {"bmp/bmpsuite/g/pal1.bmp", nullptr, true},
        {"bmp/bmpsuite/g/pal8-0.bmp", nullptr, true},
        {"bmp/bmpsuite/g/rgb24.bmp", nullptr, true},
        {"bmp/bmpsuite/g/pal8rle.bmp", "bmp/bmpsuite/html/pal8.png", true},
        {"jpeg/pillow/hopper.jpg", nullptr, true},
        {"jpeg/libjpeg-turbo/testorig.jpg", nullptr, true},
        {"gif/pillow/hopper.gif", nullptr, true},
        {"gif/pillow/transparent.gif", nullptr, false},
    };
    for (const Case& c : cases) {
        const std::string fnm = root + "/" + c.file;
        if (!FileExists(fnm)) continue;
        const PixelBuffer ours = Reopen(fnm);
        ASSERT_FALSE(ours.Empty()) << c.file;
        const auto ref = MagickLayerPicture(root + "/" + (c.reference ? c.reference : c.file),
                                            ours.Width(), ours.Height(), dir);
        ASSERT_TRUE(ref) << c.file;
        if (c.coloursWhereTransparent) {
            EXPECT_EQ(Difference(ours, *ref), "") << c.file;
            continue;
        }
        int bad = 0;
        for (int32_t y = 0; y < ours.Height(); ++y)
            for (int32_t x = 0; x < ours.Width(); ++x) {
                const Bgra o = *ours.Get(x, y), m = *ref->Get(x, y);
                if (o.a != m.a || (m.a != 0 && o != m)) ++bad;
            }
        EXPECT_EQ(bad, 0) << c.file;
    }
    EXPECT_TRUE(host.messages.empty());
}

// Damaged files go through the sniffer and the whole open road: a message or a document of the
// size its picture has, never a crash.
TEST_F(PictureFilesTest, TruncatedAndBitFlippedFilesNeverCrashTheOpenRoad) {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> seeds;
    const PixelBuffer bottomUp = BottomUp(ManyColoursOpaque(19, 11));
    seeds.emplace_back(".png", PngBytes(PureColours(19, 11, 5), 8, 1));
    seeds.emplace_back(".png", PngBytes(ManyColoursOpaque(19, 11), 24, 1, true));
    seeds.emplace_back(".png", PngBytes(SoftAlpha(19, 11), 32, 4));
    seeds.emplace_back(".bmp", ALLBMPC::EncodeBMP16to32(bottomUp, 32));
    seeds.emplace_back(".bmp", ALLBMPC::EncodeBMP1to8(bottomUp, 4, false));
    const std::string root = CorpusDir();
    for (const char* f : {"bmp/bmpsuite/g/pal4rle.bmp", "bmp/bmpsuite/g/rgb16-565.bmp",
                          "jpeg/libjpeg-turbo/testimgint.jpg", "gif/pillow/transparent.gif"}) {
        if (root.empty()) break;
        auto bytes = ReadWholeFile(root + "/" + f);
        if (bytes) seeds.emplace_back(std::string(f).substr(std::string(f).rfind('.')), *bytes);
    }

    std::mt19937 random(20240611);
    int opened = 0, runs = 0;
    auto tryOpen = [&](const std::string& ext, const std::vector<uint8_t>& bytes) {
        const std::string fnm = dir.File("damaged" + ext);
        ASSERT_TRUE(WriteWholeFile(fnm, bytes));
        const size_t before = host.messages.size();
        const int32_t fid = files.OpenFile(fnm, 0);
        ++runs;
        if (fid < 1) {
            EXPECT_GT(host.messages.size(), before);
            return;
        }
        const DocumentRecord& doc = Doc(fid);
        EXPECT_EQ(doc.Layers[1].Pixels.Width(), doc.Width);
        EXPECT_EQ(doc.Layers[1].Pixels.Height(), doc.Height);
        CloseDocument(app.Core, host, fid, nullptr);
        ++opened;
    };
    for (const auto& [ext, bytes] : seeds) {
        for (size_t cut = 0; cut < bytes.size(); cut += 1 + bytes.size() / 24)
            tryOpen(ext, std::vector<uint8_t>(bytes.begin(),
                                              bytes.begin() + static_cast<std::ptrdiff_t>(cut)));
        for (int round = 0; round < 40; ++round) {
            std::vector<uint8_t> damaged = bytes;
            const int flips = 1 + static_cast<int>(random() % 4);
            for (int i = 0; i < flips; ++i) {
                // Headers first: most of the decisions are made in the first hundred bytes.
                const size_t span =
                    round % 2 ? damaged.size() : std::min<size_t>(damaged.size(), 100);
                damaged[random() % span] ^= static_cast<uint8_t>(1u << (random() % 8));
            }
            tryOpen(ext, damaged);
        }
    }
    EXPECT_GT(runs, 300);
    EXPECT_GT(opened, 50);
}

// ---------------------------------------------------------------------------------------------
// Saving as PNG.

TEST_F(PictureFilesTest, PngBoxStartsFromTheBestDepthAndWritesTheChoice) {
    const PixelBuffer picture = ManyColoursOpaque(20, 17);  // 24 is the best
    const int32_t fid = Document(picture);
    PngSaveOptions answer;
    answer.ColorEnabled = {false, true, true};
    answer.ColorBit = 24;
    answer.SpeedIndex = 1;  // FilterNo 5
    answer.InterlaceOn = true;
    host.pngOptionAnswers.push_back(answer);
    const std::string out = dir.File("out.png");
    EXPECT_EQ(files.SaveAsTo(fid, out, -2), kSaveDone);

    ASSERT_EQ(host.pngOptionRequests.size(), 1u);
    PngSaveOptions shown;
    shown.ColorEnabled = {false, true, true};
    shown.ColorBit = 24;
    shown.SpeedIndex = 2;  // nothing chosen before: the third speed
    shown.InterlaceOn = false;
    EXPECT_EQ(host.pngOptionRequests[0], shown);

    const PngFacts facts = ReadPngFacts(out);
    EXPECT_EQ(facts.colourType, 2);
    EXPECT_EQ(facts.interlace, 1);
    EXPECT_EQ(facts.trns, std::vector<uint8_t>(6, 0));  // black is the key
    EXPECT_EQ(Doc(fid).FileName, out);
    EXPECT_EQ(Doc(fid).Modified, kNo);
    EXPECT_EQ(host.statusTexts.back(), "out.pngを保存しました");

    // Read back: transparent pixels were painted black, and the key makes every black pixel
    // transparent, those that were opaque black included.
    EXPECT_EQ(Difference(Reopen(out), KeyedBlack(Flat(fid))), "");

    // The next box starts where this one was left.
    host.pngOptionAnswers.push_back(std::nullopt);
    EXPECT_EQ(files.SaveAsTo(fid, dir.File("again.png"), -2), kSaveNothing);
    ASSERT_EQ(host.pngOptionRequests.size(), 2u);
    EXPECT_EQ(host.pngOptionRequests[1].SpeedIndex, 1);
    EXPECT_TRUE(host.pngOptionRequests[1].InterlaceOn);
    EXPECT_EQ(files.PngSaveValue, 2 + 16);
    EXPECT_FALSE(FileExists(dir.File("again.png")));
}

TEST_F(PictureFilesTest, PngRoundTripsAtEachDepth) {
    struct Case {
        PixelBuffer picture;
        std::array<bool, 3> enabled;
        int32_t colorBit;
        int colourType;
    };
    // Four colours with hard alpha allow all three; soft alpha allows only 32.
    const PixelBuffer few = ClearedBelow(PureColours(9, 6, 4), 255, {0, 0, 0, 0});
    PixelBuffer fewHoles = few;
    fewHoles.Set(2, 1, {255, 0, 255, 0});
    fewHoles.Set(8, 5, {1, 2, 3, 0});
    const Case cases[] = {
        {fewHoles, {true, true, true}, 8, 3},
        {fewHoles, {true, true, true}, 24, 2},
        {fewHoles, {true, true, true}, 32, 6},
        {SoftAlpha(16, 16), {false, false, true}, 32, 6},
    };
    for (const Case& c : cases) {
        const int32_t fid = Document(c.picture);
        for (bool interlace : {false, true}) {
            PngSaveOptions answer;
            answer.ColorBit = c.colorBit;
            answer.SpeedIndex = 3;
            answer.InterlaceOn = interlace;
            host.pngOptionAnswers.push_back(answer);
            const std::string out = dir.File("rt.png");
            DeleteFile(out);
            ASSERT_EQ(files.SaveAsTo(fid, out, -2), kSaveDone);
            EXPECT_EQ(host.pngOptionRequests.back().ColorEnabled, c.enabled);
            const PngFacts facts = ReadPngFacts(out);
            EXPECT_EQ(facts.colourType, c.colourType);
            EXPECT_EQ(facts.interlace, interlace ? 1 : 0);
            // 32 bits keep every byte the writer was given; 24 bits make black the key; 8 bits
            // keep only the transparency of a transparent pixel.
            const PixelBuffer flat = Flat(fid);
            const PixelBuffer expected = c.colorBit == 32   ? flat
                                         : c.colorBit == 24 ? KeyedBlack(flat)
                                                            : ClearedBelow(flat, 128, {});
            EXPECT_EQ(Difference(Reopen(out), expected), "") << c.colorBit << " " << interlace;
        }
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(PictureFilesTest, PngOptionCodesSaveSilentlyAndAskingOnlyGivesTheCode) {
    const PixelBuffer picture = SoftAlpha(12, 9);
    const int32_t fid = Document(picture);

    // 1: the first speed, which writes six candidates through the temporary folder and keeps
    // the smallest; 16 adds interlacing. The depth is the best one.
    int32_t mode = 1 + 16;
    EXPECT_EQ(files.SaveByExtension(dir.File("coded.png"), fid, mode), kSaveDone);
    EXPECT_TRUE(host.pngOptionRequests.empty());
    EXPECT_EQ(ReadPngFacts(dir.File("coded.png")).interlace, 1);
    EXPECT_EQ(ReadPngFacts(dir.File("coded.png")).colourType, 6);
    EXPECT_EQ(Difference(Reopen(dir.File("coded.png")), Flat(fid)), "");
    EXPECT_TRUE(LeftoverNames("coded.png").size() == 1u);
    for (int32_t code : {2, 3, 4}) {
        mode = code;
        EXPECT_EQ(files.SaveByExtension(dir.File("coded.png"), fid, mode), kSaveDone);
        EXPECT_EQ(ReadPngFacts(dir.File("coded.png")).interlace, 0);
        EXPECT_EQ(Difference(Reopen(dir.File("coded.png")), Flat(fid)), "");
    }
    EXPECT_EQ(files.PngSaveValue, 0);  // codes leave the box's memory alone

    // Mode -1: the box, its code, and nothing written.
    PngSaveOptions answer;
    answer.SpeedIndex = 0;
    answer.InterlaceOn = true;
    host.pngOptionAnswers.push_back(answer);
    mode = -1;
    EXPECT_EQ(files.SaveByExtension(dir.File("asked.png"), fid, mode), kSaveDone);
    EXPECT_EQ(mode, 1 + 16);
    EXPECT_FALSE(FileExists(dir.File("asked.png")));
    host.pngOptionAnswers.push_back(std::nullopt);
    mode = -1;
    EXPECT_EQ(files.SaveByExtension(dir.File("asked.png"), fid, mode), kSaveNothing);
    EXPECT_EQ(mode, -1);
    // Without a document the box still answers for the batch dialog.
    host.pngOptionAnswers.push_back(answer);
    mode = -1;
    EXPECT_EQ(files.SaveByExtension("a.png", 0, mode), kSaveDone);
    EXPECT_EQ(mode, 1 + 16);
    EXPECT_EQ(host.pngOptionRequests.back().ColorEnabled, (std::array<bool, 3>{true, true, true}));
}

TEST_F(PictureFilesTest, PngRefusesAColourThePictureDoesNotAllowAndReportsWriteFailures) {
    const PixelBuffer picture = SoftAlpha(6, 6);
    const int32_t fid = Document(picture);
    PngSaveOptions answer;
    answer.ColorBit = 8;  // not enabled for soft alpha: the selected 32 stays
    host.pngOptionAnswers.push_back(answer);
    ASSERT_EQ(files.SaveAsTo(fid, dir.File("soft.png"), -2), kSaveDone);
    EXPECT_EQ(ReadPngFacts(dir.File("soft.png")).colourType, 6);

    app.Core.Doc(fid)->Modified = kYes;
    host.pngOptionAnswers.push_back(PngSaveOptions{});
    const std::string nowhere = dir.File("no/such/folder/x.png");
    EXPECT_EQ(files.SaveAsTo(fid, nowhere, -2), kSaveFailed);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "ファイルがオープンできません。");
    EXPECT_EQ(Doc(fid).Modified, kYes);
    EXPECT_EQ(Doc(fid).FileName, dir.File("soft.png"));
}

// ---------------------------------------------------------------------------------------------
// Saving as a bitmap.

TEST_F(PictureFilesTest, BmpBoxShowsTheDepthAndWritesAtIt) {
    // One row of each index file is 4 bytes here (1 bit at width 10, 4 bits at width 8).
    PixelBuffer blackWhite(10, 7);
    blackWhite.Fill({0, 0, 0, 255});
    for (int32_t x = 0; x < 10; x += 3)
        blackWhite.Set(x, x % 7, {255, 255, 255, 255});
    struct Case {
        PixelBuffer picture;
        int32_t depth;
        Bgra firstEntry;  // palette entry 0
    };
    const Case cases[] = {
        // 1 bit: the appended black and white outweigh the picture's own cells.
        {blackWhite, 1, {0, 0, 0, 0}},
        // 4 bits: each of the seven colours (8 pixels) outweighs a corner (56 / 10 -> 6); in
        // cell order blue comes first.
        {PureColours(8, 7, 7), 4, {255, 0, 0, 0}},
        {SoftAlpha(9, 8), 32, {}},
    };
    const bool magick = HaveMagick();
    for (const Case& c : cases) {
        const int32_t fid = Document(c.picture);
        host.bmpOptionAnswers.push_back(BmpSaveOptions{c.depth, false, false});
        const std::string out = dir.File("d" + std::to_string(c.depth) + ".bmp");
        ASSERT_EQ(files.SaveAsTo(fid, out, -2), kSaveDone);
        EXPECT_EQ(host.bmpOptionRequests.back(), (BmpSaveOptions{c.depth, false, false}));
        EXPECT_EQ(ReadWholeFile(out).value()[28], c.depth);
        EXPECT_EQ(Doc(fid).FileName, out);
        EXPECT_EQ(Doc(fid).Modified, kNo);
        if (c.depth == 32) {
            // The fourth byte goes out as it is and is complemented twice on the way back.
            EXPECT_EQ(Difference(Reopen(out), Flat(fid)), "");
            continue;
        }
        // Pure colours pass the reduction unchanged: a reader that honours bfOffBits sees the
        // picture, opaque.
        const PixelBuffer opaque = WithAlpha(c.picture, 255);
        if (magick) {
            const auto ref = MagickLayerPicture(out, c.picture.Width(), c.picture.Height(), dir);
            ASSERT_TRUE(ref);
            EXPECT_EQ(Difference(*ref, opaque), "");
        }
        // Ours doesn't: the writer puts one palette entry more than the reader takes, so the
        // rows are read 4 bytes early. Here that is one row: every row moves up by one, and the
        // bottom row reads the extra entry's zero bytes, index 0. Intended.
        PixelBuffer shifted(c.picture.Width(), c.picture.Height());
        for (int32_t y = 0; y + 1 < c.picture.Height(); ++y)
            for (int32_t x = 0; x < c.picture.Width(); ++x)
                shifted.Set(x, y, *opaque.Get(x, y + 1));
        for (int32_t x = 0; x < c.picture.Width(); ++x)
            shifted.Set(x, c.picture.Height() - 1,
                        {c.firstEntry.b, c.firstEntry.g, c.firstEntry.r, 255});
        EXPECT_EQ(Difference(Reopen(out), shifted), "") << c.depth;
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(PictureFilesTest, BmpAndXorPairAndTwentyFourBits) {
    // Alpha 0 goes black in the picture; alpha 1..127 keeps its colour there and is white in
    // the mask.
    PixelBuffer picture = PureColours(8, 4, 3);
    picture.Set(0, 0, {255, 255, 255, 0});
    picture.Set(1, 0, {0, 0, 255, 100});
    const int32_t fid = Document(picture);
    host.bmpOptionAnswers.push_back(BmpSaveOptions{32, true, true});
    ASSERT_EQ(files.SaveAsTo(fid, dir.File("pair.bmp"), -2), kSaveDone);
    EXPECT_FALSE(FileExists(dir.File("pair.bmp")));
    const std::string xorFile = dir.File("pair_XOR.bmp"), andFile = dir.File("pair_AND.bmp");
    EXPECT_EQ(ReadWholeFile(xorFile).value()[28], 24);
    EXPECT_EQ(ReadWholeFile(andFile).value()[28], 1);
    PixelBuffer xorWant = WithAlpha(picture, 255);
    xorWant.Set(0, 0, {0, 0, 0, 255});
    EXPECT_EQ(Difference(Reopen(xorFile), xorWant), "");
    EXPECT_EQ(Doc(fid).FileName, xorFile);

    PixelBuffer andWant(8, 4);
    andWant.Fill({0, 0, 0, 255});
    andWant.Set(0, 0, {255, 255, 255, 255});
    andWant.Set(1, 0, {255, 255, 255, 255});
    if (HaveMagick()) {
        const auto ref = MagickLayerPicture(andFile, 8, 4, dir);
        ASSERT_TRUE(ref);
        EXPECT_EQ(Difference(*ref, andWant), "");
    }
    // Our reader takes the rows one row early (see above): the top row is the second one.
    const PixelBuffer andOurs = Reopen(andFile);
    EXPECT_EQ(andOurs.Get(0, 0), (Bgra{0, 0, 0, 255}));
    EXPECT_EQ(andOurs.Get(0, 3), (Bgra{0, 0, 0, 255}));
}

TEST_F(PictureFilesTest, BmpOptionCodesFromZeroGoSilently) {
    const PixelBuffer picture = PureColours(6, 5, 2);
    const int32_t fid = Document(picture);
    int32_t mode = 0;  // neither box: the picture's own depth, no question
    EXPECT_EQ(files.SaveByExtension(dir.File("z.bmp"), fid, mode), kSaveDone);
    EXPECT_EQ(ReadWholeFile(dir.File("z.bmp")).value()[28], 1);
    mode = 2;
    EXPECT_EQ(files.SaveByExtension(dir.File("t.bmp"), fid, mode), kSaveDone);
    EXPECT_EQ(ReadWholeFile(dir.File("t.bmp")).value()[28], 24);
    mode = 1;
    EXPECT_EQ(files.SaveByExtension(dir.File("p.bmp"), fid, mode), kSaveDone);
    EXPECT_TRUE(FileExists(dir.File("p_AND.bmp")));
    EXPECT_TRUE(host.bmpOptionRequests.empty());

    // Asking only: Check1 + 2 * Check2, or -1 for a cancel; nothing written.
    host.bmpOptionAnswers.push_back(BmpSaveOptions{1, false, true});
    mode = -1;
    EXPECT_EQ(files.SaveByExtension(dir.File("asked.bmp"), fid, mode), kSaveDone);
    EXPECT_EQ(mode, 2);
    host.bmpOptionAnswers.push_back(std::nullopt);
    mode = -1;
    EXPECT_EQ(files.SaveByExtension(dir.File("asked.bmp"), fid, mode), kSaveNothing);
    EXPECT_EQ(mode, -1);
    EXPECT_FALSE(FileExists(dir.File("asked.bmp")));

    // A cancelled box writes nothing and leaves the document as it was.
    app.Core.Doc(fid)->Modified = kYes;
    EXPECT_EQ(files.SaveAsTo(fid, dir.File("c.bmp"), -2), kSaveNothing);
    EXPECT_FALSE(FileExists(dir.File("c.bmp")));
    EXPECT_EQ(Doc(fid).Modified, kYes);

    // A folder that isn't there: the writer's text, which differs by depth.
    host.bmpOptionAnswers.push_back(BmpSaveOptions{});
    EXPECT_EQ(files.SaveAsTo(fid, dir.File("none/x.bmp"), -2), kSaveFailed);
    host.bmpOptionAnswers.push_back(BmpSaveOptions{1, false, true});
    EXPECT_EQ(files.SaveAsTo(fid, dir.File("none/x.bmp"), -2), kSaveFailed);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0], "読み込みできませんでした。");          // 1 bit
    EXPECT_EQ(host.messages[1], "ファイルのオープンに失敗しました。");  // 24 bits
    EXPECT_EQ(Doc(fid).Modified, kYes);
}

TEST_F(PictureFilesTest, OverwriteSaveOfAPngKeepsItsFormat) {
    ASSERT_TRUE(WriteWholeFile(dir.File("keep.png"), PngBytes(SoftAlpha(4, 4))));
    const int32_t fid = files.OpenFile(dir.File("keep.png"), 0);
    ASSERT_GE(fid, 1);
    app.Core.Doc(fid)->Layers[1].Pixels.Set(0, 0, {9, 8, 7, 255});
    host.pngOptionAnswers.push_back(PngSaveOptions{});
    files.SaveFile(fid);
    EXPECT_TRUE(host.questions.empty());
    EXPECT_EQ(host.pngOptionRequests.size(), 1u);
    EXPECT_EQ(Reopen(dir.File("keep.png")).Get(0, 0), (Bgra{9, 8, 7, 255}));
}

}  // namespace
}  // namespace brv
