// The recorder's state and its one door, RecordAction. What a user does to the recorded
// document becomes lines of text: verb, LID, arguments, separated by commas.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

struct ActionRecorder {
    int32_t ActionRecording = 0;  // 1 while recording
    int32_t ActionFID = 0;        // the only document whose operations are recorded
    // Element 0 holds the name given at the start and is never saved; lines from 1.
    std::vector<std::string> ActionLines{std::string()};
    std::string PendingAction;  // the last line of a shape in progress

    bool Recording() const { return ActionRecording != 0; }
};

void StartActionRecording(ActionRecorder& recorder, int32_t activeFid, std::string_view name);
void ClearActionRecording(ActionRecorder& recorder);
// Adds a line when the active document is the recorded one.
void AppendActionLine(ActionRecorder& recorder, int32_t activeFid, std::string_view text);

// Builds "Name,LID,arg,arg...". A name starting with "*" returns the line without adding it
// (a shape in progress keeps it pending); a name starting with "-" is the whole line.
std::string RecordAction(ActionRecorder& recorder, int32_t activeFid, std::string_view name,
                         int32_t lid, const std::vector<std::string>& args);

}  // namespace brv
