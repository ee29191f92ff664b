#include "formats/picture_loader.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <gif_lib.h>
#include <jpeglib.h>

#include "core/file_io.h"
#include "formats/bmp_codec.h"
#include "formats/ico_codec.h"

namespace brv {

namespace {

enum class PictureKind { Unknown, Bmp, Jpeg, Gif, Icon, Metafile };

PictureKind KindOf(std::span<const uint8_t> f) {
    auto starts = [&](std::initializer_list<uint8_t> magic) {
        return f.size() >= magic.size() && std::equal(magic.begin(), magic.end(), f.begin());
    };
    if (starts({'B', 'M'})) return PictureKind::Bmp;
    if (starts({0xFF, 0xD8})) return PictureKind::Jpeg;
    if (starts({'G', 'I', 'F', '8'})) return PictureKind::Gif;
    if (starts({0, 0, 1, 0}) || starts({0, 0, 2, 0})) return PictureKind::Icon;
    // A placeable metafile's key, or a plain metafile header (type 1 or 2, 9 words long,
    // version 0x100 or 0x300).
    if (starts({0xD7, 0xCD, 0xC6, 0x9A})) return PictureKind::Metafile;
    if (f.size() >= 6 && (f[0] == 1 || f[0] == 2) && f[1] == 0 && f[2] == 9 && f[3] == 0 &&
        f[4] == 0 && (f[5] == 1 || f[5] == 3))
        return PictureKind::Metafile;
    return PictureKind::Unknown;
}

bool SizeAllowed(int64_t width, int64_t height, int64_t maxPixels) {
    return width >= 1 && height >= 1 && width <= PixelBuffer::kMaxSide &&
           height <= PixelBuffer::kMaxSide && width * height <= maxPixels;
}

// ---- JPEG ---------------------------------------------------------------------------------
// libjpeg ends a fatal error with longjmp. So the decoding runs in one C-style function whose
// frame holds nothing with a destructor, and the pixels go to memory handed out by a plain
// callback before the decoding starts.

struct JpegTrap {
    jpeg_error_mgr mgr;  // first: the library's error pointer is also ours
    std::jmp_buf jump;
};

void JpegFail(j_common_ptr cinfo) {
    std::longjmp(reinterpret_cast<JpegTrap*>(cinfo->err)->jump, 1);
}
void JpegWarning(j_common_ptr, int) {}  // a damaged stream decodes as far as it goes
void JpegNoOutput(j_common_ptr) {}

// Hands out Height rows of 4 * Width bytes for the result, or null to refuse.
struct JpegSink {
    uint8_t* (*Allocate)(void* context, int32_t width, int32_t height);
    void* Context;
};

constexpr int kJpegOk = 0;
constexpr int kJpegBad = -1;

// Adobe's CMYK is stored inverted; either way a channel is (1 - C)(1 - K).
void CmykRowToBgr(uint8_t* row, int32_t width, bool inverted) {
    for (int32_t x = 0; x < width; ++x) {
        uint8_t* p = row + 4 * x;
        int c = p[0], m = p[1], y = p[2], k = p[3];
        if (!inverted) {
            c = 255 - c;
            m = 255 - m;
            y = 255 - y;
            k = 255 - k;
        }
        p[0] = static_cast<uint8_t>((y * k + 127) / 255);
        p[1] = static_cast<uint8_t>((m * k + 127) / 255);
        p[2] = static_cast<uint8_t>((c * k + 127) / 255);
        p[3] = 0;
    }
}

// Decodes to bottom-up BGR rows with a fourth byte of 0. Without a sink only the header and
// the size are checked.
int DecodeJpegRows(const uint8_t* data, size_t size, int64_t maxPixels, const JpegSink* sink) {
    jpeg_decompress_struct cinfo;
    JpegTrap trap;
    std::memset(&cinfo, 0, sizeof cinfo);
    cinfo.err = jpeg_std_error(&trap.mgr);
    trap.mgr.error_exit = JpegFail;
    trap.mgr.emit_message = JpegWarning;
    trap.mgr.output_message = JpegNoOutput;
    if (setjmp(trap.jump) != 0) {
        jpeg_destroy_decompress(&cinfo);
        return kJpegBad;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, data, static_cast<unsigned long>(size));
    jpeg_read_header(&cinfo, TRUE);
    const bool cmyk = cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK;
    cinfo.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_BGRX;
    jpeg_calc_output_dimensions(&cinfo);
    const int32_t width = static_cast<int32_t>(cinfo.output_width);
    const int32_t height = static_cast<int32_t>(cinfo.output_height);
    if (!SizeAllowed(width, height, maxPixels) || !sink) {
        const int result = sink || !SizeAllowed(width, height, maxPixels) ? kJpegBad : kJpegOk;
        jpeg_destroy_decompress(&cinfo);
        return result;
    }
    uint8_t* const rows = sink->Allocate(sink->Context, width, height);
    if (!rows) {
        jpeg_destroy_decompress(&cinfo);
        return kJpegBad;
    }
    jpeg_start_decompress(&cinfo);
    const bool inverted = cinfo.saw_Adobe_marker;
    const size_t stride = size_t{4} * static_cast<size_t>(width);
    while (cinfo.output_scanline < cinfo.output_height) {
        uint8_t* row = rows + stride * (cinfo.output_height - 1 - cinfo.output_scanline);
        JSAMPROW target = row;
        if (jpeg_read_scanlines(&cinfo, &target, 1) != 1) break;
        if (cmyk) {
            CmykRowToBgr(row, width, inverted);
        } else {
            for (int32_t x = 0; x < width; ++x)
                row[4 * x + 3] = 0;
        }
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return kJpegOk;
}

uint8_t* AllocatePicture(void* context, int32_t width, int32_t height) {
    auto* out = static_cast<PixelBuffer*>(context);
    auto made = PixelBuffer::TryCreate(width, height);
    if (!made) return nullptr;
    *out = std::move(*made);
    return out->Bytes().data();
}

int32_t DecodeJpeg(std::span<const uint8_t> file, int64_t maxPixels, PixelBuffer* out) {
    if (!out) return DecodeJpegRows(file.data(), file.size(), maxPixels, nullptr);
    PixelBuffer picture;
    const JpegSink sink{AllocatePicture, &picture};
    if (DecodeJpegRows(file.data(), file.size(), maxPixels, &sink) != kJpegOk)
        return kPictureFailed;
    *out = std::move(picture);
    return 0;
}

// ---- GIF ----------------------------------------------------------------------------------
// The first frame drawn on the logical screen.

struct GifSource {
    std::span<const uint8_t> data;
    size_t pos = 0;
};

int ReadGifBytes(GifFileType* gif, GifByteType* out, int n) {
    auto* src = static_cast<GifSource*>(gif->UserData);
    const size_t take = std::min(static_cast<size_t>(std::max(n, 0)), src->data.size() - src->pos);
    if (take) std::memcpy(out, src->data.data() + src->pos, take);
    src->pos += take;
    return static_cast<int>(take);
}

struct GifCloser {
    void operator()(GifFileType* gif) const {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

int32_t DecodeGif(std::span<const uint8_t> file, int64_t maxPixels, PixelBuffer* out) {
    GifSource src{file};
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpen(&src, ReadGifBytes, &error));
    if (!gif) return kPictureFailed;

    int transparent = -1;
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif.get(), &type) == GIF_ERROR) return kPictureFailed;
        if (type == TERMINATE_RECORD_TYPE) return kPictureFailed;
        if (type == EXTENSION_RECORD_TYPE) {
            int code = 0;
            GifByteType* ext = nullptr;
            if (DGifGetExtension(gif.get(), &code, &ext) == GIF_ERROR) return kPictureFailed;
            // Graphic control: flags, delay (2 bytes), transparent index.
            if (code == GRAPHICS_EXT_FUNC_CODE && ext && ext[0] >= 4)
                transparent = (ext[1] & 1) ? ext[4] : -1;
            while (ext)
                if (DGifGetExtensionNext(gif.get(), &ext) == GIF_ERROR) return kPictureFailed;
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE) continue;
        if (DGifGetImageDesc(gif.get()) == GIF_ERROR) return kPictureFailed;
        break;
    }

    const GifImageDesc& frame = gif->Image;
    const int64_t width = gif->SWidth > 0 ? gif->SWidth : int64_t{frame.Left} + frame.Width;
    const int64_t height = gif->SHeight > 0 ? gif->SHeight : int64_t{frame.Top} + frame.Height;
    if (!SizeAllowed(width, height, maxPixels) || frame.Width < 0 || frame.Height < 0 ||
        int64_t{frame.Width} * frame.Height > maxPixels)
        return kPictureFailed;
    if (!out) return 0;

    const ColorMapObject* map = frame.ColorMap ? frame.ColorMap : gif->SColorMap;
    auto made = PixelBuffer::TryCreate(static_cast<int32_t>(width), static_cast<int32_t>(height));
    if (!made) return kPictureFailed;
    PixelBuffer canvas = std::move(*made);
    // Outside the frame the screen shows its background colour, unless the frame has a
    // transparent colour: then the rest of the screen is transparent too.
    const ColorMapObject* screenMap = gif->SColorMap;
    if (transparent < 0 && screenMap && gif->SBackGroundColor < screenMap->ColorCount) {
        const GifColorType& c = screenMap->Colors[gif->SBackGroundColor];
        canvas.Fill({c.Blue, c.Green, c.Red, 0});
    } else {
        canvas.Fill({0, 0, 0, transparent < 0 ? uint8_t{0} : uint8_t{255}});
    }

    std::vector<GifPixelType> line(static_cast<size_t>(frame.Width));
    auto drawLine = [&](int32_t row) {
        const int64_t y = int64_t{frame.Top} + row;
        if (y >= height) return;
        uint8_t* dst = canvas.Row(static_cast<int32_t>(height - 1 - y));
        for (int32_t x = 0; x < frame.Width; ++x) {
            const int64_t cx = int64_t{frame.Left} + x;
            if (cx >= width) break;
            const int index = line[static_cast<size_t>(x)];
            if (index == transparent) continue;
            uint8_t* px = dst + 4 * cx;
            if (map && index < map->ColorCount) {
                const GifColorType& c = map->Colors[index];
                px[0] = c.Blue;
                px[1] = c.Green;
                px[2] = c.Red;
            } else if (!map) {
                // No colour table at all: the indices are grey levels.
                px[0] = px[1] = px[2] = static_cast<uint8_t>(index);
            } else {
                px[0] = px[1] = px[2] = 0;
            }
            px[3] = 0;
        }
    };
    if (frame.Interlace) {
        static constexpr int kStart[4] = {0, 4, 2, 1};
        static constexpr int kStep[4] = {8, 8, 4, 2};
        for (int pass = 0; pass < 4; ++pass)
            for (int32_t row = kStart[pass]; row < frame.Height; row += kStep[pass]) {
                if (DGifGetLine(gif.get(), line.data(), frame.Width) == GIF_ERROR)
                    return kPictureFailed;
                drawLine(row);
            }
    } else {
        // Rows below the screen can't show, so the decoding stops at its edge.
        const int64_t visible = std::min<int64_t>(frame.Height, height - frame.Top);
        for (int32_t row = 0; row < visible; ++row) {
            if (DGifGetLine(gif.get(), line.data(), frame.Width) == GIF_ERROR)
                return kPictureFailed;
            drawLine(row);
        }
    }
    *out = std::move(canvas);
    return 0;
}

// ---- The road by kind ---------------------------------------------------------------------

int32_t Decode(std::span<const uint8_t> file, const PictureLimits& limits, PixelBuffer* out) {
    switch (KindOf(file)) {
        case PictureKind::Jpeg:
            return DecodeJpeg(file, limits.MaxPixels, out);
        case PictureKind::Gif:
            return DecodeGif(file, limits.MaxPixels, out);
        case PictureKind::Bmp: {
            PixelBuffer p;
            if (ALLBMPC(BmpLimits{limits.MaxPixels}).GetBMPBytes(file, p, nullptr, false) < 0)
                return kPictureFailed;
            if (out) *out = std::move(p);
            return 0;
        }
        case PictureKind::Icon: {
            PixelBuffer p;
            int32_t hotX = 0, hotY = 0;
            const IconC icons(IconLimits{limits.MaxPixels});
            if (icons.LoadIconBytes(file, 1, p, hotX, hotY, true) < 0) return kPictureFailed;
            if (out) *out = std::move(p);
            return 0;
        }
        case PictureKind::Metafile:
            // Recognised, but no renderer draws metafiles here.
            return out ? kPictureMetafileRefused : 0;
        case PictureKind::Unknown:
            break;
    }
    return kPictureFailed;
}

std::string LowerExtension(std::string_view fnm) {
    const size_t slash = fnm.find_last_of("/\\");
    if (slash != std::string_view::npos) fnm.remove_prefix(slash + 1);
    const size_t dot = fnm.rfind('.');
    std::string ext(dot == std::string_view::npos ? std::string_view() : fnm.substr(dot + 1));
    for (char& c : ext)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return ext;
}

uint64_t MaxFileBytes(const PictureLimits& limits) {
    return static_cast<uint64_t>(limits.MaxPixels) * 4 + (uint64_t{1} << 24);
}

}  // namespace

size_t DibPicture::Stride() const {
    const int64_t stride = BmpRowBytes(Width, BitCount);
    return stride < 0 ? 0 : static_cast<size_t>(stride);
}

int32_t LoadPictureExClass::LoadPictureBytes(std::span<const uint8_t> file, PixelBuffer& DestByte,
                                             int32_t SetAlpha) const {
    PixelBuffer p;
    const int32_t r = Decode(file, limits_, &p);
    if (r < 0) return r;
    if (SetAlpha >= 0 && SetAlpha <= 255)
        for (size_t i = 3; i < p.ByteSize(); i += 4)
            p.Bytes()[i] = static_cast<uint8_t>(SetAlpha);
    DestByte = std::move(p);
    return 0;
}

int32_t LoadPictureExClass::LoadPictureEx(std::string_view Fnm, PixelBuffer& DestByte,
                                          int32_t SetAlpha) const {
    const auto file = ReadWholeFile(Fnm, MaxFileBytes(limits_));
    if (!file) return kPictureFailed;
    return LoadPictureBytes(*file, DestByte, SetAlpha);
}

int32_t LoadPictureExClass::LoadPictureEx(std::string_view Fnm, DibPicture& DestByte,
                                          int32_t ColorBit, int32_t SetAlpha) const {
    if (ColorBit != 16 && ColorBit != 24 && ColorBit != 32) return kPictureFailed;
    PixelBuffer p;
    const int32_t r = LoadPictureEx(Fnm, p, ColorBit == 32 ? SetAlpha : -1);
    if (r < 0) return r;
    DibPicture dib;
    dib.Width = p.Width();
    dib.Height = p.Height();
    dib.BitCount = ColorBit;
    if (ColorBit == 32) {
        dib.Bytes = std::move(p.Vector());
    } else {
        const size_t stride = dib.Stride();
        dib.Bytes.assign(stride * static_cast<size_t>(dib.Height), 0);
        for (int32_t y = 0; y < dib.Height; ++y) {
            const uint8_t* src = p.Row(y);
            uint8_t* dst = dib.Bytes.data() + stride * static_cast<size_t>(y);
            for (int32_t x = 0; x < dib.Width; ++x, src += 4) {
                if (ColorBit == 24) {
                    std::memcpy(dst + 3 * x, src, 3);
                } else {
                    const unsigned v = (src[2] >> 3) << 10 | (src[1] >> 3) << 5 | src[0] >> 3;
                    dst[2 * x] = static_cast<uint8_t>(v);
                    dst[2 * x + 1] = static_cast<uint8_t>(v >> 8);
                }
            }
        }
    }
    DestByte = std::move(dib);
    return 0;
}

bool LoadPictureExClass::IsLoadableBytes(std::string_view Fnm,
                                         std::span<const uint8_t> file) const {
    static constexpr std::string_view kExtensions[] = {"bmp", "jpg", "gif",  "wmf",
                                                       "ico", "cur", "jpeg", "jpe"};
    const std::string ext = LowerExtension(Fnm);
    if (std::find(std::begin(kExtensions), std::end(kExtensions), ext) == std::end(kExtensions))
        return false;
    const PictureKind kind = KindOf(file);
    // Headers tell enough where the decoding is costly; bitmaps and icons are decoded whole.
    if (kind == PictureKind::Jpeg || kind == PictureKind::Gif || kind == PictureKind::Metafile)
        return Decode(file, limits_, nullptr) == 0;
    PixelBuffer scratch;
    return Decode(file, limits_, &scratch) == 0;
}

bool LoadPictureExClass::IsLoadable(std::string_view Fnm) const {
    const auto file = ReadWholeFile(Fnm, MaxFileBytes(limits_));
    return file && IsLoadableBytes(Fnm, *file);
}

std::string_view LoadPictureExClass::GetError(int32_t ErrorNo) {
    return ErrorNo < 0 ? kPictureUnreadable : std::string_view();
}

}  // namespace brv
