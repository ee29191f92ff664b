// Creating, finding and closing documents, and mapping between the image and its window.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/core_state.h"
#include "core/host.h"

namespace brv {

// Makes slot 0 of the table. Called once at start-up.
void InitDocTable(CoreState& state);

// The main constructor. A size of 0 takes the default size of the settings; each side is then
// clamped to 1 .. 32767 and written back. Returns the FID, or 0 when memory runs out (the slot
// is then left free).
int32_t NewDocument(CoreState& state, Host& host, int32_t& retWidth, int32_t& retHeight);

// Fills a reserved slot: one layer, an empty selection, a window, the view defaults. false when
// memory runs out.
bool InitDocument(CoreState& state, Host& host, int32_t fid, int32_t& retWidth, int32_t& retHeight);

// Gives a layer its defaults. Unless bKeepPixels is -1 the pixels are replaced by a zeroed
// picture of the document's size. Tool, Visible, PenFlag and the named PenParams are always
// overwritten; offsets, colour, transparency and the other PenParams survive.
void InitLayer(DocumentRecord& doc, int32_t lid, int32_t bKeepPixels);
void InitLayerByFID(CoreState& state, int32_t fid, int32_t lid);

// Grows the layer table by one keeping what is there and initialises the new top slot.
// Returns the new LID; ActiveLID is not touched.
int32_t AddLayerSlot(CoreState& state, int32_t fid);

// What CloseDocument calls when the user answers yes to saving; the open and save commands
// supply it.
using SaveAsHook = std::function<void(int32_t fid)>;

// Asks to save a changed document (when the settings say so), then frees the slot, drops its
// window and deletes its undo files.
void CloseDocument(CoreState& state, Host& host, int32_t fid, const SaveAsHook& saveAs);

// The close question for a document, as the box shows it.
std::string CloseQuestionText(const DocumentRecord& doc);

// Image and window coordinates. The zoom is truncated to whole percents for every mapping.
int32_t ZoomPercent(const DocumentRecord& doc);
int32_t MapXToView(const DocumentRecord& doc, int32_t x);
int32_t MapYToView(const DocumentRecord& doc, int32_t y);
// px and py arrive in the window's twips; the result is in the active layer's coordinates,
// snapped to the grid when snapping is on.
int32_t ViewToImageX(const CoreState& state, int32_t fid, double px);
int32_t ViewToImageY(const CoreState& state, int32_t fid, double py);
// bDoc -1 gives document coordinates (no layer offset); bNoSnap non-zero skips the snap.
int32_t ViewToImageXEx(const CoreState& state, int32_t fid, double px, int32_t bDoc,
                       int32_t bNoSnap);
int32_t ViewToImageYEx(const CoreState& state, int32_t fid, double py, int32_t bDoc,
                       int32_t bNoSnap);

// Index of the last zoomed column (row).
int32_t ZoomedWidth(const DocumentRecord& doc);
int32_t ZoomedHeight(const DocumentRecord& doc);
int32_t LargestSide(const DocumentRecord& doc);
// The zoom that fits the image into a client area of the given size in pixels.
double FitZoom(const DocumentRecord& doc, Size client);

// Sets FileName and the window caption; with bMarkSaved -1 reports the save and clears
// Modified; a file that exists with at least one byte goes to the head of the recent files.
void SetDocumentTitle(CoreState& state, Host& host, int32_t fid, std::string_view fnm,
                      int32_t bMarkSaved);
// "name [W x H]" with the short name, or the new-file name when there is none.
std::string DocumentCaption(const DocumentRecord& doc);

// The side of a new document window: the frame's smaller inner side times
// (WindowScale / 100 * 0.9 + 0.1); the caption's height comes on top of the height.
Size DocumentWindowOuterSize(Size frameClient, int32_t windowScale, int32_t captionHeight);

}  // namespace brv
