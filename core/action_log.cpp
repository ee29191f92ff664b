#include "core/action_log.h"

namespace brv {

void StartActionRecording(ActionRecorder& recorder, int32_t activeFid, std::string_view name) {
    recorder.ActionLines.assign(1, std::string(name));
    recorder.ActionRecording = 1;
    recorder.ActionFID = activeFid;
}

void ClearActionRecording(ActionRecorder& recorder) {
    recorder.ActionRecording = 0;
    recorder.ActionLines.assign(1, std::string());
}

void AppendActionLine(ActionRecorder& recorder, int32_t activeFid, std::string_view text) {
    if (activeFid != recorder.ActionFID) return;
    recorder.ActionLines.emplace_back(text);
}

std::string RecordAction(ActionRecorder& recorder, int32_t activeFid, std::string_view name,
                         int32_t lid, const std::vector<std::string>& args) {
    const bool pending = !name.empty() && name.front() == '*';
    std::string line;
    if (!name.empty() && name.front() == '-') {
        line = std::string(name.substr(1));
    } else {
        line = std::string(pending ? name.substr(1) : name) + "," + std::to_string(lid);
        for (const std::string& a : args)
            line += "," + a;
    }
    if (!pending) AppendActionLine(recorder, activeFid, line);
    return line;
}

}  // namespace brv
