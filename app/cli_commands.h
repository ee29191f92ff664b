// The commands of brivandelle-cli, without the process around them, so that tests can run
// them with a scripted host:
//
//   info FILE                                 "<kind> <count>"
//   dump FILE[:INDEX] OUT.pam [--layer N]     "width W height H layers N hotspot X Y"
//   convert FILE[:INDEX] OUT [--option N]     saves OUT by its extension (.pam: a dump)
//   run ACTION FILE[:INDEX] OUT [--option N]  plays ACTION on the image, then saves as convert
//                                             does; prints the player's summary
//
// Files are opened exactly as the open command loads them, without the chooser; questions go
// to the host, which answers them with their defaults in the CLI. Exit codes: 0, or 1 with the
// program's message on the host (usage errors on err); run gives 2 when a line of the action
// failed but the result was saved.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "app/app_state.h"
#include "core/host.h"
#include "core/pixel_buffer.h"

namespace brv {

// args without the program's name. Returns the exit code.
int RunCliCommand(const std::vector<std::string>& args, AppState& app, Host& host,
                  std::ostream& out, std::ostream& err);

void PrintCliUsage(std::ostream& out);

// "FILE:INDEX" split at the last colon when what follows is a number and the whole text is no
// existing file; the index is 1 otherwise. nullopt for an index below 1.
struct FileAndIndex {
    std::string File;
    int32_t Index = 1;
};
std::optional<FileAndIndex> SplitFileIndex(std::string_view arg);

// A PAM file (P7, RGB_ALPHA, MAXVAL 255) of a layer picture: top row first, straight alpha.
std::vector<uint8_t> EncodePam(const PixelBuffer& picture);

}  // namespace brv
