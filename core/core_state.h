// The part of the application state that the core owns. Higher levels keep it inside their own
// state objects; nothing of it is global, so a test can make as many as it likes.
#pragma once

#include <cstdint>
#include <vector>

#include "core/action_log.h"
#include "core/app_paths.h"
#include "core/document.h"
#include "core/host.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

struct CoreState {
    AppPaths Paths;
    ScreenMetrics Screen;
    SettingsRecord Settings;
    std::vector<DocumentRecord> Docs;  // slot 0 is never a document
    int32_t ActiveFID = 0;
    PixelBuffer BackgroundTile;  // transparency background of the view, screen-sized
    // Limits of the new image dialog; the table's own clamp is PixelBuffer::kMaxSide.
    int32_t MaxNewWidth = 2048;
    int32_t MaxNewHeight = 2048;
    // The action recorder: the undo store keeps its lines beside each snapshot.
    ActionRecorder Recorder;

    // The document of a FID when the slot is in use, else nullptr.
    DocumentRecord* Doc(int32_t fid);
    const DocumentRecord* Doc(int32_t fid) const;
};

}  // namespace brv
