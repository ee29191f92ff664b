#include "app/edit_commands.h"

#include <algorithm>

#include "actions/action_codec.h"
#include "core/layer_ops.h"
#include "tools/clipboard.h"
#include "tools/selection.h"

namespace brv {

bool IsEditCommand(Command command) {
    switch (command) {
        case Command::Copy:
        case Command::Cut:
        case Command::Delete:
        case Command::Paste:
        case Command::PasteNewLayer:
        case Command::PasteAtSelection:
        case Command::PasteInSelection:
        case Command::Deselect:
            return true;
        default:
            return false;
    }
}

EditOutcome RunEditCommand(AppState& app, Host& host, Command command, int32_t fid) {
    EditOutcome out;
    DocumentRecord* doc = app.Core.Doc(fid);
    if (!doc) return out;
    const ClipContext clip{app.Core, host, app.Clip};
    const int32_t lid = doc->ActiveLID;
    // What changed the document asks for its undo step; everything refreshes.
    auto done = [&out](bool changed) {
        out.FullRefresh = true;
        out.SaveUndo = changed;
        return out;
    };
    switch (command) {
        case Command::Copy:
            CutOrCopy(clip, fid, lid, false, false);
            return done(false);
        case Command::Cut:
            return done(CutOrCopy(clip, fid, lid, true, false) == kClipOk);
        case Command::Delete:
            // The clipboard keeps what it had.
            return done(CutOrCopy(clip, fid, lid, true, true) == kClipOk);
        case Command::Paste:
            return done(Paste(clip, fid, lid, kPasteSentinel, kPasteSentinel, false) == kClipOk);
        case Command::PasteNewLayer: {
            const int32_t added = LayerAdd(app.Core, fid);
            doc = app.Core.Doc(fid);
            if (!doc || added < 1) return done(false);
            Paste(clip, fid, added, kPasteSentinel, kPasteSentinel, false);
            doc->ActiveLID = added;
            std::fill(doc->Selection.bytes.begin(), doc->Selection.bytes.end(), uint8_t{0});
            return done(true);
        }
        case Command::PasteAtSelection:
        case Command::PasteInSelection: {
            RectI bounds;
            if (SelectionBounds(*doc, bounds) < 0) bounds = RectI{};
            const bool masked = command == Command::PasteInSelection;
            return done(Paste(clip, fid, lid, bounds.left, bounds.top, masked) == kClipOk);
        }
        case Command::Deselect:
            if (!ClearSelection(app.Core, fid,
                                [](const SelectionMask& m) { return EncodeByteImage(m); }))
                return out;
            return done(true);
        default:
            return out;
    }
}

}  // namespace brv
