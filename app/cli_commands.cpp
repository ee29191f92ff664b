#include "app/cli_commands.h"

#include <charconv>
#include <sstream>

#include "app/action_player.h"
#include "app/file_commands.h"
#include "core/byte_io.h"
#include "core/compositor.h"
#include "core/file_io.h"

namespace brv {

namespace {

std::optional<int32_t> ParseNumber(std::string_view text) {
    int32_t v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return v;
}

struct Parsed {
    std::vector<std::string> positional;
    std::optional<int32_t> layer;
    std::optional<int32_t> option;
    std::string error;
};

Parsed ParseArgs(const std::vector<std::string>& args) {
    Parsed p;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--layer" || a == "--option") {
            const auto n = i + 1 < args.size() ? ParseNumber(args[i + 1]) : std::nullopt;
            if (!n) {
                p.error = a + " needs a number";
                return p;
            }
            (a == "--layer" ? p.layer : p.option) = *n;
            ++i;
        } else {
            p.positional.push_back(a);
        }
    }
    return p;
}

bool EndsWithPam(std::string_view path) {
    return LowerExtension(path) == "pam";
}

// Opens image INDEX as the open command does, minus the chooser. The FID, or 0 when the
// program's message has been shown.
int32_t OpenForCli(FileCommands& files, Host& host, const FileAndIndex& source) {
    std::string kindWord;
    int32_t count = 0;
    const int32_t r = SniffFile(source.File, kindWord, count);
    if (r < 0) {
        host.ShowMessage(SniffRefusalText(source.File, r), MessageIcon::Critical);
        return 0;
    }
    std::string message;
    return files.LoadIntoDocument(source.File, 0, source.Index, message, false);
}

// Writes the dump of a document; the picture is the flattened layers or layer N's own.
int WriteDump(AppState& app, int32_t fid, const std::string& outFile, std::optional<int32_t> layer,
              std::ostream& out, std::ostream& err) {
    const DocumentRecord* doc = app.Core.Doc(fid);
    if (!doc) return 1;
    PixelBuffer picture;
    if (layer) {
        if (*layer < 1 || *layer > doc->LayerCount()) {
            err << "no layer " << *layer << " (the document has " << doc->LayerCount() << ")\n";
            return 1;
        }
        picture = doc->Layers[static_cast<size_t>(*layer)].Pixels;
    } else if (FlattenLayers(*doc, picture, 0, -1) < 0) {
        err << "out of memory\n";
        return 1;
    }
    if (!WriteWholeFile(outFile, EncodePam(picture))) {
        err << "cannot write " << outFile << "\n";
        return 1;
    }
    out << "width " << doc->Width << " height " << doc->Height << " layers " << doc->LayerCount()
        << " hotspot " << doc->HotspotX << " " << doc->HotspotY << "\n";
    return 0;
}

// run ACTION FILE[:INDEX] OUT: the image opened as dump opens it, the action played on it,
// the result saved as convert saves it.
int RunActionCommand(AppState& app, Host& host, FileCommands& files,
                     const std::vector<std::string>& positional, std::optional<int32_t> option,
                     std::ostream& out, std::ostream& err) {
    const std::string& action = positional[0];
    // The player does nothing with a file it cannot read; the caller tells the user.
    if (!FileExists(action)) {
        err << "cannot read the action file " << action << "\n";
        return 1;
    }
    const auto source = SplitFileIndex(positional[1]);
    if (!source) {
        err << "the index counts from 1: " << positional[1] << "\n";
        return 1;
    }
    const std::string& outFile = positional[2];
    const int32_t fid = OpenForCli(files, host, *source);
    if (fid < 1) return 1;

    // The summary goes to stdout instead of a box.
    app.Player.ActionQuietEnd = true;
    const ActionPlayerHooks hooks;
    ActionContext ctx{app, host, hooks};
    std::string summary;
    const int32_t played = RunActionFile(ctx, fid, action, summary);
    out << summary;
    if (summary.empty() || summary.back() != '\n') out << "\n";

    if (EndsWithPam(outFile)) {
        std::ostringstream dimensions;  // the dump's own line is not part of this command's output
        if (WriteDump(app, fid, outFile, std::nullopt, dimensions, err) != 0) return 1;
    } else {
        const int32_t r = files.SaveAsTo(fid, outFile, option.value_or(-2));
        if (r != kSaveDone) {
            if (r == kSaveNothing) err << "nothing was written to " << outFile << "\n";
            return 1;
        }
    }
    return played < 0 ? 2 : 0;
}

}  // namespace

void PrintCliUsage(std::ostream& out) {
    out << "usage: brivandelle-cli COMMAND ...\n"
           "  info FILE                               type word and image count\n"
           "  dump FILE[:INDEX] OUT.pam [--layer N]   image INDEX (from 1) as a PAM picture\n"
           "  convert FILE[:INDEX] OUT [--option N]   save by OUT's extension (N: the writer's\n"
           "                                          option; for .ico the bit count 1, 4, 8, 32;\n"
           "                                          for .png the speed 1 (smallest) .. 4\n"
           "                                          (fastest), +16 to interlace; for .bmp 0,\n"
           "                                          +1 AND-XOR pair, +2 24 bits)\n"
           "  run ACTION.KRA FILE[:INDEX] OUT [--option N]\n"
           "                                          play the action file on the image, then\n"
           "                                          save OUT as convert does; prints the\n"
           "                                          player's summary; exit 2 when a line\n"
           "                                          failed\n"
           "  --version                               print the version\n";
}

std::optional<FileAndIndex> SplitFileIndex(std::string_view arg) {
    FileAndIndex result;
    result.File = std::string(arg);
    const size_t colon = arg.rfind(':');
    if (colon == std::string_view::npos || FileExists(arg)) return result;
    const auto index = ParseNumber(arg.substr(colon + 1));
    if (!index) return result;
    if (*index < 1) return std::nullopt;
    result.File = std::string(arg.substr(0, colon));
    result.Index = *index;
    return result;
}

std::vector<uint8_t> EncodePam(const PixelBuffer& picture) {
    const std::string header = "P7\nWIDTH " + std::to_string(picture.Width()) + "\nHEIGHT " +
                               std::to_string(picture.Height()) +
                               "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    ByteWriter w(header.size() + picture.ByteSize());
    w.Text(header);
    for (int32_t y = 0; y < picture.Height(); ++y) {
        const uint8_t* row = picture.Row(y);
        for (int32_t x = 0; x < picture.Width(); ++x) {
            const uint8_t* p = row + 4 * static_cast<size_t>(x);
            w.U8(p[2]);
            w.U8(p[1]);
            w.U8(p[0]);
            w.U8(p[3]);
        }
    }
    return std::move(w).Take();
}

int RunCliCommand(const std::vector<std::string>& args, AppState& app, Host& host,
                  std::ostream& out, std::ostream& err) {
    if (args.empty()) {
        PrintCliUsage(err);
        return 1;
    }
    const std::string& command = args[0];
    const Parsed p = ParseArgs(args);
    if (!p.error.empty()) {
        err << p.error << "\n";
        return 1;
    }
    FileCommands files(app, host);

    if (command == "info" && p.positional.size() == 1 && !p.layer && !p.option) {
        std::string kindWord;
        int32_t count = 0;
        const std::string& file = p.positional[0];
        const int32_t r = SniffFile(file, kindWord, count);
        if (r < 0) {
            host.ShowMessage(SniffRefusalText(file, r), MessageIcon::Critical);
            return 1;
        }
        out << kindWord << " " << count << "\n";
        return 0;
    }

    if (command == "run" && p.positional.size() == 3 && !p.layer)
        return RunActionCommand(app, host, files, p.positional, p.option, out, err);

    const bool isDump = command == "dump" && p.positional.size() == 2 && !p.option;
    const bool isConvert = command == "convert" && p.positional.size() == 2 && !p.layer;
    if (!isDump && !isConvert) {
        err << "unknown command or wrong arguments: " << command << "\n";
        PrintCliUsage(err);
        return 1;
    }
    const auto source = SplitFileIndex(p.positional[0]);
    if (!source) {
        err << "the index counts from 1: " << p.positional[0] << "\n";
        return 1;
    }
    const std::string& outFile = p.positional[1];
    const int32_t fid = OpenForCli(files, host, *source);
    if (fid < 1) return 1;
    if (isDump || EndsWithPam(outFile)) return WriteDump(app, fid, outFile, p.layer, out, err);

    const int32_t r = files.SaveAsTo(fid, outFile, p.option.value_or(-2));
    if (r == kSaveDone) return 0;
    if (r == kSaveNothing) err << "nothing was written to " << outFile << "\n";
    return 1;
}

}  // namespace brv
