// The records everything else rests on: a layer, a document, and the table of documents.
//
// A document is addressed by its FID, its index in CoreState::Docs counted from 1 (slot 0
// exists but is never a document). A layer is addressed by its LID, its index in Layers: 1 is
// the bottom layer, the highest index the top one, and slot 0 is a scratch slot that the
// flatten routine fills for a moment. LIDs are positions, not identities.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "core/host.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// Yes and no as the records keep them.
inline constexpr int16_t kYes = -1;
inline constexpr int16_t kNo = 0;

// The pen window's 21 values for each of 11 tool groups, flat position a + 21 * b.
class PenParamTable {
public:
    static constexpr int kA = 21;
    static constexpr int kB = 11;

    int32_t& operator()(int a, int b) { return values_.at(Index(a, b)); }
    int32_t operator()(int a, int b) const { return values_.at(Index(a, b)); }
    std::array<int32_t, kA * kB>& Flat() { return values_; }
    const std::array<int32_t, kA * kB>& Flat() const { return values_; }
    friend bool operator==(const PenParamTable&, const PenParamTable&) = default;

private:
    static size_t Index(int a, int b) { return static_cast<size_t>(a + kA * b); }
    std::array<int32_t, kA * kB> values_{};
};

struct LayerRecord {
    PixelBuffer Pixels;    // always Width by Height of the document, rows top-down
    PixelBuffer Backup;    // copy taken before a stroke while a selection exists; else empty
    int32_t Tool = 0;      // selected pen tool, 1-based
    int32_t Visible = 0;   // non-zero: the layer takes part in compositing
    int32_t Reserved = 0;  // never used; travels in the layered file
    int16_t PenFlag = 0;   // a yes/no pen option
    int32_t OffsetX = 0;   // where the layer's (0,0) lies in document coordinates
    int32_t OffsetY = 0;
    int32_t PenColor = 0;         // 0x00BBGGRR
    int32_t PenTransparency = 0;  // 0 opaque .. 255 transparent
    PenParamTable PenParams;
};

// Non-zero bytes are selected; x runs fastest.
struct SelectionMask {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> bytes;
};

struct DocumentRecord {
    int32_t Stamp = 0;  // creation time in milliseconds, rounded
    std::vector<LayerRecord> Layers;
    int32_t Width = 0;
    int32_t Height = 0;
    PixelBuffer ViewPixels;  // composited view, rows bottom-up
    int32_t HScrollPos = 0;  // 0 .. 32767
    int32_t VScrollPos = 0;
    double Zoom = 1.0;
    // Stands in for the window reference: the client size of the document's window as last
    // reported by the host. The window itself is found by FID.
    Size WindowClient;
    std::string FileName;  // full path; empty for a document never saved
    int32_t GridSize = 8;
    int16_t GridVisible = kNo;
    int16_t GridSnap = kNo;
    SelectionMask Selection;
    int32_t OutlineCount = 0;  // at least 1: a selection exists
    std::vector<PointI> OutlinePoints;
    std::vector<int32_t> OutlineLengths;
    std::vector<PointI> OutlineShadow;
    int32_t ActiveLID = 0;
    int32_t PenLID = 0;
    int32_t ViewLeft = 0, ViewTop = 0, ViewRight = 0, ViewBottom = 0;
    int32_t ViewOffsetX = 0, ViewOffsetY = 0;
    int32_t PenDownX = 0, PenDownY = 0;
    float PenLastX = -32767.0f, PenLastY = -32767.0f;
    int32_t PenAnchorX = 0, PenAnchorY = 0;
    float PenPrevX = 0.0f, PenPrevY = 0.0f;
    int32_t UndoPos = 0;
    int32_t UndoTop = 0;
    int16_t Modified = kNo;
    std::string CursorName;
    std::string CursorBase = "Normal";
    int16_t InUse = kNo;
    int32_t HotspotX = 0, HotspotY = 0;
    int16_t ShowHotspot = kNo;
    int32_t PreviewZoom = 0;

    // Highest LID (the top layer); 0 when the table holds only the scratch slot.
    int32_t LayerCount() const { return static_cast<int32_t>(Layers.size()) - 1; }
};

}  // namespace brv
