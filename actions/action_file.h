// The action file (.KRA, and the default file "_default_.act" in the temporary folder): one
// action line and CR LF for each line, no header, no trailer, in the system code page of the
// machines the files come from, Windows-31J. Lines are UTF-8 in memory.
//
//   StartActionRecording(state.Recorder, state.ActiveFID, kDefaultActionName);
//   ...                                        // every change adds its line
//   EndActionRecording(state.Recorder, state.Paths.DefaultActionFile);
//   std::vector<std::string> lines;
//   ReadActionFile(state.Paths.DefaultActionFile, lines);
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/action_log.h"

namespace brv {

// The status line's second field while recording.
inline constexpr std::string_view kActionRecordingStatus = "【ｱｸｼｮﾝ記録中】";
// The recording command's caption once toggled; unlike the menu's first caption they hold
// spaces where the shortcut's tab was. Intended.
inline constexpr std::string_view kActionRecordStopCaption = "アクション記録終了  Shift+A";
inline constexpr std::string_view kActionRecordStartCaption = "アクション記録開始    Shift+A";
// The save dialog's filter, and the open dialog's.
inline constexpr std::string_view kActionSaveFilter = "Brivandelleアクションファイル|*.KRA";
inline constexpr std::string_view kActionOpenFilter = "*.KRA";
// The name a recording from the menu starts with.
inline constexpr std::string_view kDefaultActionName = "default";

// Result codes of the file operations; 0 is success.
inline constexpr int32_t kActionFileOk = 0;
inline constexpr int32_t kActionFileUnreadable = -1;  // missing, unreadable or over the limit
inline constexpr int32_t kActionFileWriteFailed = -2;

// The largest action file read: a selection line of a 32767-pixel-square image is 2 GiB, and a
// file that large is refused rather than read.
inline constexpr uint64_t kMaxActionFileBytes = uint64_t{1} << 30;

// UTF-8 to Windows-31J and back. A character the other side has no code for becomes "?".
std::string Utf8ToCodePage(std::string_view utf8);
std::string CodePageToUtf8(std::string_view bytes);

// The lines of a file's text: CR LF ends a line, and so does a lone CR or LF; a last line
// without an ending is a line like any other.
std::vector<std::string> SplitActionLines(std::string_view text);

// All lines of an action file, converted to UTF-8.
int32_t ReadActionFile(std::string_view fnm, std::vector<std::string>& retLines);

// With at least one line recorded: deletes fnm and appends each line with CR LF, opening and
// closing the file for each line. With none the file stays as it was. Then the recorder is
// cleared either way. A line that cannot be written ends the saving, the file left incomplete.
int32_t EndActionRecording(ActionRecorder& recorder, std::string_view fnm);

// The name the save dialog's choice is saved under: ".KRA" is added unless the extension is
// already kra, in any case ("a.txt" gives "a.txt.KRA").
std::string ActionSaveAsName(std::string_view chosen);
// Copies the default action file to the chosen name.
int32_t CopyActionFile(std::string_view from, std::string_view to);

}  // namespace brv
