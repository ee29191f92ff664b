#include "core/undo_store.h"

#include "core/file_io.h"

namespace brv {

std::string UndoFileName(const AppPaths& paths, int32_t fid, int32_t k) {
    return paths.UndoPrefix + std::to_string(fid) + "_" + std::to_string(k) + ".undo";
}

namespace {

char Lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EndsWithNoCase(std::string_view s, std::string_view suffix) {
    if (s.size() < suffix.size()) return false;
    for (size_t i = 0; i < suffix.size(); ++i)
        if (Lower(s[s.size() - suffix.size() + i]) != Lower(suffix[i])) return false;
    return true;
}

}  // namespace

bool MatchesWildcard(std::string_view pattern, std::string_view name) {
    // Iterative matcher with one backtrack point per star.
    size_t p = 0, n = 0, starP = std::string_view::npos, starN = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || Lower(pattern[p]) == Lower(name[n]))) {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starN = n;
        } else if (starP != std::string_view::npos) {
            p = starP + 1;
            n = ++starN;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

int32_t DeleteUndoFiles(const AppPaths& paths, int32_t fid) {
    std::string pattern;
    if (fid >= 1)
        pattern = "undo*" + std::to_string(fid) + "_*.undo";
    else if (fid == 0)
        pattern = "*.undo";
    else
        pattern = "*";

    int32_t found = 0;
    for (const std::string& file : ListFilesRecursive(paths.TempDir)) {
        const std::string name = ShortName(file);
        if (!MatchesWildcard(pattern, name)) continue;
        ++found;
        // Guard against a folder that is not ours.
        if (file.find(paths.AppPath) == std::string::npos) continue;
        if (EndsWithNoCase(name, ".nedat")) continue;
        DeleteFile(file);
    }
    return found ? found : -1;
}

}  // namespace brv
