// The undo store keeps whole-document snapshots as files in the temporary folder, numbered
// per document: UndoPrefix + FID + "_" + k + ".undo".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/app_paths.h"

namespace brv {

std::string UndoFileName(const AppPaths& paths, int32_t fid, int32_t k);

// Deletes the snapshots of one document (FID at least 1), all snapshots (0), or every file of
// the temporary folder (negative). Files whose short name ends in ".nedat" are caches and stay.
// The pattern for one document is "undo*<FID>_*.undo" on purpose: closing document 5 also
// sweeps the snapshots of documents 15 and 25. Returns the number of files found, -1 for none.
int32_t DeleteUndoFiles(const AppPaths& paths, int32_t fid);

// A file-name pattern match with '*' and '?', ASCII letters compared without case, as the
// platform's file listing does.
bool MatchesWildcard(std::string_view pattern, std::string_view name);

}  // namespace brv
