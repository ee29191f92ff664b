// The open and save commands: from a file name to a document and back.
//
//   FileCommands files(app, host);
//   files.OpenFile("/home/me/a.ico", 0);  // sniff, choose an image if there are several, load
//   files.SaveAs(app.Core.ActiveFID);      // file dialog, overwrite/add question, writer
//
// A file's type is told by its content, whatever its extension; the save writer is chosen by
// the extension. Every window these commands need (file dialogs, the thumbnail chooser, an
// options box) is asked of the Host.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/app_state.h"
#include "core/host.h"
#include "core/pixel_buffer.h"
#include "tools/pattern_library.h"

namespace brv {

struct PNGSaveFormModel;

// The sniffer's type words.
namespace kind {
inline constexpr std::string_view kIco = "ico";
inline constexpr std::string_view kPsd = "psd";
inline constexpr std::string_view kBmp = "bmp";
inline constexpr std::string_view kPng = "png";
inline constexpr std::string_view kAni = "ani";
inline constexpr std::string_view kExe = "exe";
inline constexpr std::string_view kIcl = "icl";
inline constexpr std::string_view kMac = "mac";
inline constexpr std::string_view kSusie = "susie";
inline constexpr std::string_view kLpec = "lpec";
inline constexpr std::string_view kKrd = "krd";
inline constexpr std::string_view kLnk = "lnk";
}  // namespace kind

// The file dialogs' filters. The open filter's second "*.jpg" and its "(*png)" are kept as the
// program has always shown them.
inline constexpr std::string_view kOpenFilter =
    "読みこみ可能形式|*.ico;*.bvd;*.ani;*.cur;*.png;*.jpg;*.jpe;*.jpg;*.psd;*.bmp;*.icl;*.exe;*."
    "dll|Icon(*.ico)|*.ico|Brivandelle形式(*.BVD)|*.BVD|アニメーションカーソル(*.ani)|*.ani|カーソ"
    "ル(*.cur)|*.cur|PNG(*png)|*.png|JPEG(*.jpg)|*.jpeg;*.jpe;*.jpg|PhotoShop形式(*.psd)|*.psd|ビッ"
    "トマップ(*.bmp)|*.bmp|アイコンライブラリ(*.icl)|*.icl|実行可能ファイル(*.dll "
    "*.exe)|*.exe;*.dll|すべてのファイル|*.*";
inline constexpr std::string_view kSaveFilter =
    "Icon(*.ico)|*.ico|Brivandelle形式(*.BVD)|*.BVD|アニメーションカーソル(*.ani)|*.ani|カーソル(*"
    ".cur)|*.cur|PNG(*.png)|*.png|JPEG(*.jpg)|*.jpeg;*.jpe;*.jpg|PhotoShop形式(*.psd)|*.psd|"
    "ビットマ"
    "ップ(*.bmp)|*.bmp";
inline constexpr std::string_view kIconEditFilter =
    "編集可能ファイル|*.ico;*.cur;*.ani|アイコン|*.ico|カーソル|*.cur|アニメーションカーソル|*.ani";

// The texts of these commands.
namespace filemsg {
inline constexpr std::string_view kNoFileName = "無し";
inline constexpr std::string_view kFileMissing = "そのファイルは存在しません。";
inline constexpr std::string_view kMissingOrEmpty = "ファイルが存在しないか、サイズが0です。";
inline constexpr std::string_view kUnsupported = "対応していないファイルです。";
inline constexpr std::string_view kFolderDropped = "フォルダのドロップには対応していません。";
inline constexpr std::string_view kGettingImages = "画像取得中";
inline constexpr std::string_view kIndexError = "Index";
inline constexpr std::string_view kIndexErrorSuffix = "にエラー：";
inline constexpr std::string_view kNoImage = "画像が存在しないか、壊れているファイルです。";
inline constexpr std::string_view kOpenError = "を開く時のエラー：";
inline constexpr std::string_view kOpenFailed = "を開く時にエラーが発生しました。";
inline constexpr std::string_view kManyDropped = "複数のファイルがドロップされました。";
inline constexpr std::string_view kOpenAll = "すべて開きますか？";
inline constexpr std::string_view kOverwriteAddCancel =
    "上書きするなら「はい」、追加するなら「いいえ」、中止するなら「キャンセル」を選んで下さい｡ ";
inline constexpr std::string_view kFileExists =
    "ファイルは存在しています。上書きして宜しいですか？";
inline constexpr std::string_view kOverwriteMissing = "上書きファイルが存在しません。";
inline constexpr std::string_view kSaveThere = "に保存して宜しいですか？";
}  // namespace filemsg

// The preview window's eleven zoom presets, smallest first; a document's PreviewZoom indexes
// them.
inline constexpr std::array<double, 11> kPreviewZoomFactors = {0.25, 0.5, 1, 2,  3, 4,
                                                               5,    6,   8, 12, 16};
// The first preset that shows the mean side above 31 pixels, else the last.
int32_t ChoosePreviewZoom(int32_t width, int32_t height);

// Tells what a file is: 0 with a type word and the number of images in it, -1 for an unknown
// type (or a link that names nothing), -2 for a missing or empty file. A shell link is followed
// first; retTarget receives the file that was looked at.
int32_t SniffFile(std::string_view Fnm, std::string& retKind, int32_t& retCount);
int32_t SniffFileTarget(std::string_view Fnm, std::string& retKind, int32_t& retCount,
                        std::string& retTarget);

// The message for a file the sniffer refused with sniffResult: a folder, a missing file, an
// empty one, or an unknown type.
std::string_view SniffRefusalText(std::string_view Fnm, int32_t sniffResult);

// Image Index (from 1) of a file in the in-transit conventions (rows bottom-up, fourth byte a
// transparency) unless the flags say the reader has already flipped or inverted. Returns an
// empty text on success, else the user's error text. host, when given, shows what a reader
// says on its own (the PNG reader's interlace message).
std::string LoadImageFile(std::string_view Fnm, PixelBuffer& retPixels, int32_t Index,
                          int32_t& retCount, bool& retFlipDone, std::string& retKindMsg,
                          bool& retInvertDone, int32_t& retHotX, int32_t& retHotY,
                          Host* host = nullptr);

// What a save extension (lower case, no point) brings: an options dialog, and whether it goes
// through the icon set editor. Yes is -1. Other extensions leave both as they were.
void ExtensionTraits(std::string_view ext, int32_t& retHasOptions, int32_t& retIsIconKind);

// The lower-case extension of a path's short name without its point; empty when it has none.
std::string LowerExtension(std::string_view path);

// The PNG options box's fields from the form and back. Back, only a colour choice that the
// form enables and a speed of the four are taken.
PngSaveOptions ToPngSaveOptions(const PNGSaveFormModel& form);
void TakePngSaveOptions(const PngSaveOptions& options, PNGSaveFormModel& form);

// Results of the save commands.
inline constexpr int32_t kSaveDone = 0;
inline constexpr int32_t kSaveNothing = 1;  // cancelled, or nothing to write for the extension
inline constexpr int32_t kSaveFailed = -1;  // the message has been shown

class FileCommands {
public:
    FileCommands(AppState& app, Host& host) : app_(app), host_(host) {}

    // The file dialog, then OpenFile.
    void OpenFileDialog(int32_t FID);
    // The way of every open: a chosen index, then the load. Returns the FID loaded, or 0.
    int32_t OpenFile(std::string_view Fnm, int32_t FID);
    // The image to open: 1 for a single image, the chooser's pick for several, below 1 when
    // the file can't be opened (the message has been shown) or the chooser was cancelled.
    int32_t AcquireIndex(std::string_view Fnm);
    // Loads image Index into document FID (0: a new document). Returns the FID, or 0 with the
    // message in retMessage (shown unless bSilent).
    int32_t LoadIntoDocument(std::string_view Fnm, int32_t FID, int32_t Index,
                             std::string& retMessage, bool bSilent);
    // Brings a loaded document to life; bQuiet -1 only makes its window visible.
    void ShowDocument(int32_t FID, int32_t bQuiet);
    // Several dropped files are opened only when the user agrees.
    void OpenDroppedFiles(const std::vector<std::string>& files);

    void SaveAs(int32_t FID);
    // SaveAs after the file dialog: the name chosen, the questions for an existing file, the
    // writer with Mode, and the old file moved back when nothing was written.
    int32_t SaveAsTo(int32_t FID, std::string Fnm, int32_t Mode);
    void SaveFile(int32_t FID);
    // The writer chosen by the extension. Mode -1 writes nothing and returns the option code in
    // Mode; below 1 the writer asks its options; 1 or above is the option code itself (for an
    // icon, the bit count).
    int32_t SaveByExtension(std::string_view Fnm, int32_t FID, int32_t& Mode);

    // Called after a load for the layer list, guide, preview and pen windows.
    std::function<void(int32_t fid)> RefreshWindows;

    // The PNG box's last confirmed choices, where it starts the next time: the speed position
    // plus 1 (0: none yet) and 16 for interlacing.
    int32_t PngSaveValue = 0;

private:
    void ShowError(const std::string& text, bool bSilent);
    int32_t SaveIconKind(std::string_view Fnm, int32_t FID, int32_t Mode, bool isCursor);
    // The flattened layers for a writer (top-down, straight alpha): kSaveDone to go on, else
    // the result of the save (a failure's message has been shown). Without a document only
    // asking for the option code (Mode -1) goes on, with an empty picture.
    int32_t PictureForSave(int32_t FID, int32_t Mode, PixelBuffer& retPicture);
    int32_t SavePng(std::string_view Fnm, int32_t FID, int32_t& Mode);
    int32_t SaveBmp(std::string_view Fnm, int32_t FID, int32_t& Mode);
    std::string TempDir();

    AppState& app_;
    Host& host_;
};

// The open command's picture loader as the pattern libraries take it: quiet, the first image
// of a file, handed over in transit order whatever the reader did.
PictureLoader PatternPictureLoader();
// Both pattern libraries read from their folders.
void LoadPatternLibraries(AppState& app);

}  // namespace brv
