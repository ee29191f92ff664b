// The undo store: whole-document snapshots kept as files in the temporary folder, numbered per
// document: UndoPrefix + FID + "_" + k + ".undo", counting from 1.
//
// Snapshot file, little-endian, in this order:
//   Width                  int32
//   Height                 int32
//   Selection              Width * Height bytes, x fastest
//   ActiveLID              int32
//   layer count n          int32, slot 0 not counted
//   for each LID 1..n:
//     Pixels               4 * Width * Height bytes, as in memory
//     Visible              int32
//     OffsetX              int32
//     OffsetY              int32
// Pen settings and Backup are not part of a snapshot. While a recording runs, each snapshot
// has a companion, the same name + ".aundo", with the recorder's lines joined by CR LF.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/action_log.h"
#include "core/app_paths.h"
#include "core/core_state.h"
#include "core/host.h"

namespace brv {

std::string UndoFileName(const AppPaths& paths, int32_t fid, int32_t k);

// Takes a snapshot after a change: 0, or a negative code with the numbering unchanged.
int32_t SaveUndo(CoreState& state, Host& host, int32_t fid);
// 0, -1 nothing to undo (the base state is never undone), -2 the file could not be read.
int32_t Undo(CoreState& state, int32_t fid);
// 0, -1 nothing to redo, -2 the file could not be read.
int32_t Redo(CoreState& state, int32_t fid);

// 0 or negative. The companion is written when the recorder runs; if that fails the box says
// so and the result stays 0.
int32_t WriteSnapshot(std::string_view fnm, const DocumentRecord& doc,
                      const ActionRecorder& recorder, Host& host);
// 0; -1 when the file is missing or empty; -2 when it is damaged (the document is then left
// as it was).
int32_t ReadSnapshot(std::string_view fnm, DocumentRecord& doc, ActionRecorder& recorder);

// Deletes the snapshots of one document (FID at least 1), all snapshots (0), or every file of
// the temporary folder (negative). Files whose short name ends in ".nedat" are caches and stay.
// The pattern for one document is "undo*<FID>_*.undo" on purpose: closing document 5 also
// sweeps the snapshots of documents 15 and 25. Returns the number of files found, -1 for none.
int32_t DeleteUndoFiles(const AppPaths& paths, int32_t fid);

// A file-name pattern match with '*' and '?', ASCII letters compared without case, as the
// platform's file listing does.
bool MatchesWildcard(std::string_view pattern, std::string_view name);

}  // namespace brv
