// For the tests of the compositor and the views: a document in use, with no window and no
// host, whose layers are visible and zeroed (black, fully transparent).
#pragma once

#include <cstdint>

#include "core/document.h"

namespace brv::testing {

inline DocumentRecord MakeViewTestDocument(int32_t w, int32_t h, int32_t layers,
                                           double zoom = 1.0) {
    DocumentRecord doc;
    doc.InUse = kYes;
    doc.Width = w;
    doc.Height = h;
    doc.Zoom = zoom;
    doc.GridVisible = kNo;
    doc.Layers.resize(static_cast<size_t>(layers) + 1);
    for (int32_t lid = 1; lid <= layers; ++lid) {
        doc.Layers[static_cast<size_t>(lid)].Pixels = PixelBuffer(w, h);
        doc.Layers[static_cast<size_t>(lid)].Visible = 1;
    }
    doc.ActiveLID = layers;
    return doc;
}

}  // namespace brv::testing
