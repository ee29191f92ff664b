#include "app/file_commands.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/icon_set_save.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "core/messages.h"
#include "core/status_progress.h"
#include "core/undo_store.h"
#include "formats/bmp_codec.h"
#include "formats/bmp_save.h"
#include "formats/ico_codec.h"
#include "formats/picture_loader.h"
#include "formats/png_codec.h"
#include "formats/png_save_form.h"
#include "formats/shell_link.h"

namespace brv {

namespace {

bool MoveFile(std::string_view from, std::string_view to) {
    std::error_code ec;
    std::filesystem::remove(ToFsPath(to), ec);
    std::filesystem::rename(ToFsPath(from), ToFsPath(to), ec);
    return !ec;
}

// The path without the extension of its short name.
std::string WithoutExtension(std::string_view path) {
    const size_t slash = path.find_last_of("/\\");
    const size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash))
        return std::string(path);
    return std::string(path.substr(0, dot));
}

// Content tests in the order that decides: the first that accepts wins. Formats whose reader
// is not part of the program yet answer no here and take their place when they come.
bool IsKrdFile(const std::string&, int32_t&) {
    return false;
}
bool IsIconFile(const std::string& fnm, int32_t& retCount) {
    const IconC ico;
    if (ico.IsIcon(fnm) < 0) return false;
    retCount = ico.IconCount(fnm);
    return retCount >= 1;
}
bool IsPsdFile(const std::string&, int32_t&) {
    return false;
}
bool IsBmpFile(const std::string& fnm, int32_t&) {
    return ALLBMPC::IsBMP(fnm);
}
bool IsPngFile(const std::string& fnm, int32_t&) {
    return PNGC::IsPNG(fnm);
}
bool IsAniFile(const std::string&, int32_t&) {
    return false;
}
bool IsExeFile(const std::string&, int32_t&) {
    return false;
}
bool IsIclFile(const std::string&, int32_t&) {
    return false;
}
bool IsMacFile(const std::string&, int32_t&) {
    return false;
}
bool IsSusieFile(const std::string&, int32_t&) {
    return false;
}
bool IsPictureFile(const std::string& fnm, int32_t&) {
    return LoadPictureExClass().IsLoadable(fnm);
}

struct ContentTest {
    std::string_view kind;
    bool (*accepts)(const std::string& fnm, int32_t& retCount);
};
constexpr ContentTest kContentTests[] = {
    {kind::kKrd, IsKrdFile},     {kind::kIco, IsIconFile},     {kind::kPsd, IsPsdFile},
    {kind::kBmp, IsBmpFile},     {kind::kPng, IsPngFile},      {kind::kAni, IsAniFile},
    {kind::kExe, IsExeFile},     {kind::kIcl, IsIclFile},      {kind::kMac, IsMacFile},
    {kind::kSusie, IsSusieFile}, {kind::kLpec, IsPictureFile},
};

}  // namespace

std::string_view SniffRefusalText(std::string_view Fnm, int32_t sniffResult) {
    if (DirectoryExists(Fnm)) return filemsg::kFolderDropped;
    if (!FileExists(Fnm)) return filemsg::kFileMissing;
    if (sniffResult == -2) return filemsg::kMissingOrEmpty;
    return filemsg::kUnsupported;
}

int32_t ChoosePreviewZoom(int32_t width, int32_t height) {
    const double meanSide = (static_cast<double>(width) + height) / 2;
    for (size_t i = 0; i < kPreviewZoomFactors.size(); ++i)
        if (kPreviewZoomFactors[i] * meanSide > 31) return static_cast<int32_t>(i);
    return static_cast<int32_t>(kPreviewZoomFactors.size()) - 1;
}

std::string LowerExtension(std::string_view path) {
    const std::string name = ShortName(path);
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos) return {};
    std::string ext = name.substr(dot + 1);
    for (char& c : ext)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return ext;
}

int32_t SniffFileTarget(std::string_view Fnm, std::string& retKind, int32_t& retCount,
                        std::string& retTarget) {
    retKind.clear();
    retCount = 0;
    retTarget = std::string(Fnm);
    const auto size = FileSize(Fnm);
    if (!size || *size == 0) return -2;
    if (LowerExtension(Fnm) == kind::kLnk) {
        retTarget = ResolveShellLink(Fnm);
        if (retTarget.empty()) return -1;
    }
    for (const auto& test : kContentTests) {
        int32_t count = 1;
        if (test.accepts(retTarget, count)) {
            retKind = std::string(test.kind);
            retCount = count;
            return 0;
        }
    }
    return -1;
}

int32_t SniffFile(std::string_view Fnm, std::string& retKind, int32_t& retCount) {
    std::string target;
    return SniffFileTarget(Fnm, retKind, retCount, target);
}

std::string LoadImageFile(std::string_view Fnm, PixelBuffer& retPixels, int32_t Index,
                          int32_t& retCount, bool& retFlipDone, std::string& retKindMsg,
                          bool& retInvertDone, int32_t& retHotX, int32_t& retHotY, Host* host) {
    retFlipDone = false;
    retInvertDone = false;
    retHotX = 0;
    retHotY = 0;
    std::string target;
    SniffFileTarget(Fnm, retKindMsg, retCount, target);
    if (retKindMsg == kind::kIco) {
        const IconC ico;
        // Read with the fourth byte as a transparency: the in-transit convention.
        const int32_t r = ico.LoadIcon(target, Index, retPixels, retHotX, retHotY, true);
        if (r < 0) return std::string(IconC::GetError(r));
        return {};
    }
    if (retKindMsg == kind::kBmp) {
        const int32_t r = ALLBMPC().GetBMPFile(target, retPixels, nullptr, false);
        if (r < 0) return std::string(ALLBMPC::GetBMPError(r));
        return {};
    }
    if (retKindMsg == kind::kPng) {
        PNGC png(host);
        bool cancelled = false;
        const int32_t r = png.GetPNG(target, retPixels, true, true, nullptr, cancelled);
        if (r < 0) return png.GetPNGError(r);
        return {};
    }
    if (retKindMsg == kind::kLpec) {
        // 32 bits with the fourth byte as the loader gives it: GIF's transparent colour stays
        // transparent.
        if (LoadPictureExClass().LoadPictureEx(target, retPixels, -1) < 0)
            return std::string(kPictureUnreadable);
        return {};
    }
    return std::string(filemsg::kUnsupported);
}

void ExtensionTraits(std::string_view ext, int32_t& retHasOptions, int32_t& retIsIconKind) {
    if (ext == "ani" || ext == "ico" || ext == "cur") {
        retHasOptions = 0;
        retIsIconKind = -1;
    } else if (ext == "bvd" || ext == "psd") {
        retHasOptions = 0;
        retIsIconKind = 0;
    } else if (ext == "png" || ext == "jpg" || ext == "jpeg" || ext == "jpe" || ext == "bmp") {
        retHasOptions = -1;
        retIsIconKind = 0;
    }
}

void FileCommands::ShowError(const std::string& text, bool bSilent) {
    if (!bSilent) host_.ShowMessage(text, MessageIcon::Exclamation);
}

std::string FileCommands::TempDir() {
    return app_.Core.Paths.TempDir.empty() ? host_.TempFolder() : app_.Core.Paths.TempDir;
}

void FileCommands::OpenFileDialog(int32_t FID) {
    FileDialogRequest request;
    request.filter = std::string(kOpenFilter);
    const auto chosen = host_.ChooseOpenFile(request);
    if (chosen) OpenFile(*chosen, FID);
}

int32_t FileCommands::OpenFile(std::string_view Fnm, int32_t FID) {
    if (Fnm == filemsg::kNoFileName) return 0;
    const int32_t index = AcquireIndex(Fnm);
    if (index < 1) return 0;
    std::string message;
    return LoadIntoDocument(Fnm, FID, index, message, false);
}

int32_t FileCommands::AcquireIndex(std::string_view Fnm) {
    std::string kindWord;
    int32_t count = 0;
    const int32_t r = SniffFile(Fnm, kindWord, count);
    if (r < 0) {
        host_.ShowMessage(SniffRefusalText(Fnm, r), MessageIcon::Critical);
        return 0;
    }
    if (count <= 1) return 1;

    std::vector<PixelBuffer> pictures(static_cast<size_t>(count));
    std::string errors;
    for (int32_t index = 1; index <= count; ++index) {
        host_.ShowProgressBox(filemsg::kGettingImages, index - 1, count);
        PixelBuffer& picture = pictures[static_cast<size_t>(index - 1)];
        int32_t ignoredCount = 0, hotX = 0, hotY = 0;
        bool flipDone = false, invertDone = false;
        std::string kindMsg;
        const std::string error = LoadImageFile(Fnm, picture, index, ignoredCount, flipDone,
                                                kindMsg, invertDone, hotX, hotY, &host_);
        if (!error.empty()) {
            picture.Clear();
            if (!errors.empty()) errors += "\n";
            errors += std::string(Fnm) + std::string(filemsg::kIndexError) + std::to_string(index) +
                      std::string(filemsg::kIndexErrorSuffix) + error;
            continue;
        }
        FlipAndInvert(picture, !flipDone, !invertDone);
    }
    host_.CloseProgressBox();
    if (!errors.empty()) host_.ShowMessage(errors, MessageIcon::Exclamation);
    return host_.ChoosePicture(Fnm, pictures);
}

int32_t FileCommands::LoadIntoDocument(std::string_view Fnm, int32_t FID, int32_t Index,
                                       std::string& retMessage, bool bSilent) {
    retMessage.clear();
    std::string kindWord;
    int32_t count = 0;
    SniffFile(Fnm, kindWord, count);
    // The layered formats (psd, krd) read straight into layers; they join with their readers.
    if (kindWord.empty()) {
        retMessage = std::string(filemsg::kNoImage);
        ShowError(retMessage, bSilent);
        return 0;
    }

    PixelBuffer pixels;
    bool flipDone = false, invertDone = false;
    int32_t hotX = 0, hotY = 0;
    std::string kindMsg;
    const std::string error =
        LoadImageFile(Fnm, pixels, Index, count, flipDone, kindMsg, invertDone, hotX, hotY, &host_);
    if (!error.empty()) {
        retMessage = std::string(Fnm) + std::string(filemsg::kOpenError) + error;
        ShowError(retMessage, bSilent);
        return 0;
    }
    FlipAndInvert(pixels, !flipDone, !invertDone);

    CoreState& core = app_.Core;
    int32_t width = pixels.Width(), height = pixels.Height();
    int32_t fid = FID;
    if (fid != 0 && core.Doc(fid)) {
        if (!InitDocument(core, host_, fid, width, height)) fid = 0;
    } else {
        fid = NewDocument(core, host_, width, height);
    }
    DocumentRecord* doc = core.Doc(fid);
    if (!doc || doc->LayerCount() < 1 || width != pixels.Width() || height != pixels.Height()) {
        if (doc) CloseDocument(core, host_, fid, nullptr);
        retMessage = std::string(Fnm) + std::string(filemsg::kOpenFailed);
        ShowError(retMessage, bSilent);
        return 0;
    }
    doc->Layers[1].Pixels = std::move(pixels);
    doc->HotspotX = hotX;
    doc->HotspotY = hotY;
    SetDocumentTitle(core, host_, fid, Fnm, 0);
    ShowDocument(fid, 0);
    core.ActiveFID = fid;
    return fid;
}

void FileCommands::ShowDocument(int32_t FID, int32_t bQuiet) {
    CoreState& core = app_.Core;
    DocumentRecord* doc = core.Doc(FID);
    if (!doc) return;
    doc->ActiveLID = doc->LayerCount();
    core.ActiveFID = FID;
    if (RefreshWindows) RefreshWindows(FID);
    doc->PreviewZoom = ChoosePreviewZoom(doc->Width, doc->Height);
    SaveUndo(core, host_, FID);
    doc = core.Doc(FID);
    doc->Modified = kNo;
    // The caption is set again for the name the document has; the name stays.
    const std::string name = doc->FileName;  // a copy: the title call replaces the field
    SetDocumentTitle(core, host_, FID, name, 0);
    host_.ShowDocumentWindow(FID, bQuiet == -1);
}

void FileCommands::OpenDroppedFiles(const std::vector<std::string>& files) {
    if (files.size() > 1) {
        const std::string question =
            std::string(filemsg::kManyDropped) + "\n" + std::string(filemsg::kOpenAll);
        if (host_.Ask(question, Buttons::YesNo) != Answer::Yes) return;
    }
    for (const auto& f : files)
        OpenFile(f, 0);
}

void FileCommands::SaveAs(int32_t FID) {
    const DocumentRecord* doc = app_.Core.Doc(FID);
    if (!doc) return;
    FileDialogRequest request;
    request.filter = std::string(kSaveFilter);
    request.initialPath = WithoutExtension(doc->FileName);
    const auto chosen = host_.ChooseSaveFile(request);
    if (!chosen) return;
    SaveAsTo(FID, *chosen, -2);
}

int32_t FileCommands::SaveAsTo(int32_t FID, std::string Fnm, int32_t Mode) {
    if (ShortName(Fnm).find('.') == std::string::npos) Fnm += ".ico";
    std::string moved;
    if (FileExists(Fnm)) {
        int32_t hasOptions = 0, isIconKind = 0;
        ExtensionTraits(LowerExtension(Fnm), hasOptions, isIconKind);
        if (isIconKind) {
            const Answer a =
                host_.Ask(Fnm + std::string(filemsg::kOverwriteAddCancel), Buttons::YesNoCancel);
            if (a == Answer::Cancel) return kSaveNothing;
            if (a == Answer::Yes) {
                moved = TempDir() + ShortName(Fnm) + ".tmp";
                if (!MoveFile(Fnm, moved)) moved.clear();
            }
        } else if (host_.Ask(filemsg::kFileExists, Buttons::YesNo) != Answer::Yes) {
            return kSaveNothing;
        }
    }
    const int32_t r = SaveByExtension(Fnm, FID, Mode);
    // Given up in a later dialog: the old file comes back.
    if (!moved.empty() && !FileExists(Fnm)) MoveFile(moved, Fnm);
    return r;
}

void FileCommands::SaveFile(int32_t FID) {
    const DocumentRecord* doc = app_.Core.Doc(FID);
    if (!doc) return;
    const std::string fnm = doc->FileName;
    if (fnm.empty()) return SaveAs(FID);
    if (FileExists(fnm)) {
        std::string kindWord;
        int32_t count = 0;
        SniffFile(fnm, kindWord, count);
        // An unknown file gives the empty word, and "*." stands in the filter: it is written
        // over like a known one. Intended.
        if (kSaveFilter.find("*." + kindWord) == std::string_view::npos && kindWord != kind::kKrd)
            return SaveAs(FID);
    } else {
        const std::string question = std::string(filemsg::kOverwriteMissing) + "\n" + fnm + "\n" +
                                     std::string(filemsg::kSaveThere);
        if (host_.Ask(question, Buttons::YesNo) != Answer::Yes) return;
    }
    int32_t mode = -2;
    SaveByExtension(fnm, FID, mode);
}

int32_t FileCommands::SaveByExtension(std::string_view Fnm, int32_t FID, int32_t& Mode) {
    const std::string ext = LowerExtension(Fnm);
    if (ext == "ico" || ext == "cur" || ext == "ani") {
        // The icon kinds have no options dialog: the set editor asks its own question.
        if (Mode == -1) return kSaveNothing;
        if (ext == "ani") {
            host_.ShowMessage(filemsg::kUnsupported, MessageIcon::Exclamation);
            return kSaveNothing;
        }
        return SaveIconKind(Fnm, FID, Mode, ext == "cur");
    }
    if (ext == "png") return SavePng(Fnm, FID, Mode);
    if (ext == "bmp") return SaveBmp(Fnm, FID, Mode);
    if (ext == "bvd" || ext == "jpg" || ext == "jpeg" || ext == "jpe" || ext == "psd") {
        // Their writers join here when they come.
        if (Mode == -1) return kSaveNothing;
        host_.ShowMessage(filemsg::kUnsupported, MessageIcon::Exclamation);
        return kSaveNothing;
    }
    return kSaveNothing;
}

int32_t FileCommands::SaveIconKind(std::string_view Fnm, int32_t FID, int32_t Mode, bool isCursor) {
    CoreState& core = app_.Core;
    const DocumentRecord* doc = core.Doc(FID);
    if (!doc) return kSaveFailed;
    IconSetEntry picture;
    if (FlattenLayers(*doc, picture.Pixels, 0, -1) < 0) {
        host_.ShowMessage(IconC::GetError(-7), MessageIcon::Exclamation);
        return kSaveFailed;
    }
    picture.HotX = doc->HotspotX;
    picture.HotY = doc->HotspotY;

    // The set editor's road: the file's own images, then the document's picture after them.
    const IconC ico;
    std::vector<IconSetEntry> entries;
    if (FileExists(Fnm)) {
        if (const int32_t r = ReadIconSetFile(ico, Fnm, entries); r < 0) {
            host_.ShowMessage(IconC::GetError(r), MessageIcon::Exclamation);
            return kSaveFailed;
        }
    }
    entries.push_back(std::move(picture));

    int32_t bitCount = kCursorSaveBitCount;
    if (!isCursor) {
        if (Mode >= 1) {
            bitCount = Mode;
        } else {
            const auto chosen = IconEditSaveBitRate(host_);
            if (!chosen) return kSaveNothing;
            bitCount = *chosen;
        }
    }
    if (const int32_t r = WriteIconSetFile(ico, Fnm, entries, bitCount); r < 0) {
        host_.ShowMessage(IconC::GetError(r), MessageIcon::Exclamation);
        return kSaveFailed;
    }
    SetDocumentTitle(core, host_, FID, Fnm, -1);
    return kSaveDone;
}

int32_t FileCommands::PictureForSave(int32_t FID, int32_t Mode, PixelBuffer& retPicture) {
    retPicture.Clear();
    const DocumentRecord* doc = app_.Core.Doc(FID);
    if (!doc) return Mode == -1 ? kSaveDone : kSaveFailed;
    if (FlattenLayers(*doc, retPicture, 0, -1) < 0) {
        host_.ShowMessage(msg::kLayerCombineFailed, MessageIcon::Exclamation);
        return kSaveFailed;
    }
    return kSaveDone;
}

int32_t FileCommands::SavePng(std::string_view Fnm, int32_t FID, int32_t& Mode) {
    PixelBuffer picture;
    if (const int32_t r = PictureForSave(FID, Mode, picture); r != kSaveDone) return r;
    PNGSaveFormModel form;
    if (picture.Empty()) {
        form.TakeSaveValue(PngSaveValue);  // only the option code is asked for
    } else {
        FlipAndInvert(picture, true, false);  // the writer takes the rows bottom-up
        form.U_SHOW(picture, Mode >= 1 ? Mode : PngSaveValue);
    }

    if (Mode < 1) {
        const auto chosen = host_.AskPngSaveOptions(ToPngSaveOptions(form));
        if (!chosen) return kSaveNothing;  // Mode -1 stays -1: refused
        TakePngSaveOptions(*chosen, form);
        PngSaveValue = form.U_OnlyValue();
        if (Mode == -1) {
            Mode = PngSaveValue;
            return kSaveDone;
        }
    }

    PNGC png(&host_);
    StatusProgress progress;
    progress.Begin(host_, 100, false, "");
    const PNGCallBack step = [&](int32_t position, int32_t) {
        progress.Step(host_, position);
        return 0;
    };
    const int32_t r = form.Confirm(png, host_, Fnm, picture, TempDir(), step);
    progress.End(host_);
    if (r < 0) return kSaveFailed;
    SetDocumentTitle(app_.Core, host_, FID, Fnm, -1);
    return kSaveDone;
}

int32_t FileCommands::SaveBmp(std::string_view Fnm, int32_t FID, int32_t& Mode) {
    PixelBuffer picture;
    if (const int32_t r = PictureForSave(FID, Mode, picture); r != kSaveDone) return r;
    const BmpSaveDialogModel model(picture);

    // The box shows for a Mode below 0 only: an option code of 0 (neither box checked) is a
    // choice of its own and goes silently. Intended.
    BmpSaveChoice choice = BmpSaveDialogModel::ChoiceFromValue(Mode);
    if (BmpSaveDialogModel::ShowsDialog(Mode)) {
        BmpSaveOptions initial;
        initial.Depth = model.Depth();
        const auto chosen = host_.AskBmpSaveOptions(initial);
        if (chosen) choice = {chosen->Check1, chosen->Check2};
        if (Mode == -1) {
            Mode = BmpSaveDialogModel::U_OnlyValue(choice, !chosen);
            return chosen ? kSaveDone : kSaveNothing;
        }
        if (!chosen) return kSaveNothing;
    }

    if (const int32_t r = model.Save(Fnm, std::move(picture), choice); r < 0) {
        host_.ShowMessage(ALLBMPC::GetBMPError(r), MessageIcon::Exclamation);
        return kSaveFailed;
    }
    // With the AND-XOR pair the picture lives in the _XOR file: the document takes that name.
    SetDocumentTitle(app_.Core, host_, FID, BmpSaveDialogModel::Paths(Fnm, choice).Main, -1);
    return kSaveDone;
}

PngSaveOptions ToPngSaveOptions(const PNGSaveFormModel& form) {
    PngSaveOptions o;
    o.ColorEnabled = form.ColorEnabled;
    o.ColorBit = form.ColorBit;
    o.SpeedIndex = form.SpeedIndex;
    o.InterlaceOn = form.InterlaceOn;
    return o;
}

void TakePngSaveOptions(const PngSaveOptions& options, PNGSaveFormModel& form) {
    // Only a colour choice the picture allows is taken; the speed stays one of the four.
    for (size_t i = 0; i < kPNGColorChoices.size(); ++i)
        if (kPNGColorChoices[i].ColorBit == options.ColorBit && form.ColorEnabled[i])
            form.ColorBit = options.ColorBit;
    if (options.SpeedIndex >= 0 &&
        options.SpeedIndex < static_cast<int32_t>(kPNGSpeedChoices.size()))
        form.SpeedIndex = options.SpeedIndex;
    form.InterlaceOn = options.InterlaceOn;
}

PictureLoader PatternPictureLoader() {
    return [](const std::string& path, PixelBuffer& retPixels) {
        int32_t count = 0, hotX = 0, hotY = 0;
        bool flipped = false, inverted = false;
        std::string kind;
        std::string error =
            LoadImageFile(path, retPixels, 1, count, flipped, kind, inverted, hotX, hotY);
        // Undo what a reader did already: the library flips and inverts every picture itself.
        if (error.empty()) FlipAndInvert(retPixels, flipped, inverted);
        return error;
    };
}

void LoadPatternLibraries(AppState& app) {
    const PictureLoader loader = PatternPictureLoader();
    LoadGraphicPens(app.Core.Paths, app.Patterns, loader, app.LoadingLibrary);
    LoadFillPatterns(app.Core.Paths, app.Patterns, loader, app.LoadingLibrary);
}

}  // namespace brv
