#include "core/documents.h"

#include <algorithm>
#include <new>

#include "core/arith.h"
#include "core/file_io.h"
#include "core/messages.h"
#include "core/settings.h"
#include "core/undo_store.h"

namespace brv {

DocumentRecord* CoreState::Doc(int32_t fid) {
    if (fid < 1 || static_cast<size_t>(fid) >= Docs.size()) return nullptr;
    DocumentRecord& d = Docs[static_cast<size_t>(fid)];
    return d.InUse ? &d : nullptr;
}

const DocumentRecord* CoreState::Doc(int32_t fid) const {
    return const_cast<CoreState*>(this)->Doc(fid);
}

void InitDocTable(CoreState& state) {
    state.Docs.clear();
    state.Docs.emplace_back();
    DocumentRecord& slot0 = state.Docs[0];
    slot0.Layers.resize(1);
    state.ActiveFID = 0;
}

int32_t NewDocument(CoreState& state, Host& host, int32_t& retWidth, int32_t& retHeight) {
    if (retWidth == 0) retWidth = state.Settings.DefaultWidth;
    if (retHeight == 0) retHeight = state.Settings.DefaultHeight;
    retWidth = Clamp(retWidth, 1, PixelBuffer::kMaxSide);
    retHeight = Clamp(retHeight, 1, PixelBuffer::kMaxSide);

    if (state.Docs.empty()) InitDocTable(state);
    size_t fid = 1;
    while (fid < state.Docs.size() && state.Docs[fid].InUse)
        ++fid;
    if (fid == state.Docs.size()) state.Docs.emplace_back();

    const auto id = static_cast<int32_t>(fid);
    if (!InitDocument(state, host, id, retWidth, retHeight)) {
        state.Docs[fid] = DocumentRecord{};
        host.DestroyDocumentWindow(id);
        return 0;
    }
    state.Docs[fid].PreviewZoom = 1;
    return id;
}

bool InitDocument(CoreState& state, Host& host, int32_t fid, int32_t& retWidth,
                  int32_t& retHeight) {
    if (fid < 1 || static_cast<size_t>(fid) >= state.Docs.size()) return false;
    DocumentRecord& doc = state.Docs[static_cast<size_t>(fid)];
    doc = DocumentRecord{};
    doc.Width = retWidth;
    doc.Height = retHeight;
    doc.Stamp = static_cast<int32_t>(static_cast<int64_t>(Round(host.Milliseconds())));
    doc.FileName.clear();
    doc.InUse = kYes;

    try {
        doc.Layers.resize(1);
        int32_t lid = AddLayerSlot(state, fid);
        InitLayerByFID(state, fid, lid);
        doc.ActiveLID = lid;
        doc.PenLID = 1;
        doc.Selection.width = doc.Width;
        doc.Selection.height = doc.Height;
        doc.Selection.bytes.assign(static_cast<size_t>(doc.Width) * static_cast<size_t>(doc.Height),
                                   0);
    } catch (const std::bad_alloc&) {
        return false;
    }

    Size outer = DocumentWindowOuterSize(host.FrameClientSize(), state.Settings.WindowScale,
                                         host.CaptionHeight());
    doc.WindowClient = host.CreateDocumentWindow(fid, outer);

    doc.GridSize = state.Settings.GridDefault;
    doc.GridVisible = kYes;
    doc.GridSnap = kNo;
    doc.Zoom = FitZoom(doc, doc.WindowClient);
    doc.ShowHotspot = kNo;
    doc.PenLastX = -32767.0f;
    doc.PenLastY = -32767.0f;
    return true;
}

void InitLayer(DocumentRecord& doc, int32_t lid, int32_t bKeepPixels) {
    if (lid < 0 || static_cast<size_t>(lid) >= doc.Layers.size()) return;
    LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
    if (bKeepPixels != -1) layer.Pixels = PixelBuffer(doc.Width, doc.Height);

    PenParamTable& p = layer.PenParams;
    p(1, 1) = 1;
    p(2, 1) = 100;
    p(3, 1) = 1;
    p(5, 1) = 20;
    p(15, 1) = 100;
    p(1, 2) = -1;
    p(2, 2) = 1;
    p(3, 2) = -1;
    p(5, 2) = 255;
    p(15, 2) = 5;
    p(1, 3) = -1;
    p(2, 3) = -1;
    p(3, 3) = -1;
    p(5, 3) = 0;
    p(11, 3) = 40;
    p(12, 3) = 100;
    p(13, 3) = 48;
    p(15, 3) = 1;
    p(1, 4) = 1;
    p(2, 4) = -1;
    p(3, 4) = 0;
    p(11, 4) = 5;
    p(12, 4) = 5;
    p(13, 4) = 8;
    p(2, 5) = 1;
    p(3, 5) = 25;
    p(3, 6) = 1;
    layer.Tool = 1;
    layer.Visible = 1;
    layer.PenFlag = 0;
}

void InitLayerByFID(CoreState& state, int32_t fid, int32_t lid) {
    if (fid < 0 || static_cast<size_t>(fid) >= state.Docs.size()) return;
    InitLayer(state.Docs[static_cast<size_t>(fid)], lid, 0);
}

int32_t AddLayerSlot(CoreState& state, int32_t fid) {
    if (fid < 0 || static_cast<size_t>(fid) >= state.Docs.size()) return 0;
    DocumentRecord& doc = state.Docs[static_cast<size_t>(fid)];
    if (doc.Layers.empty()) doc.Layers.resize(1);
    doc.Layers.emplace_back();
    auto lid = static_cast<int32_t>(doc.Layers.size() - 1);
    InitLayer(doc, lid, 0);
    return lid;
}

std::string DocumentCaption(const DocumentRecord& doc) {
    std::string name =
        doc.FileName.empty() ? std::string(msg::kNewFileName) : ShortName(doc.FileName);
    return name + " [" + std::to_string(doc.Width) + " x " + std::to_string(doc.Height) + "]";
}

std::string CloseQuestionText(const DocumentRecord& doc) {
    std::string name = doc.FileName.empty() ? std::string(msg::kNewFileName) : doc.FileName;
    return name + "[" + std::to_string(doc.Width) + " x " + std::to_string(doc.Height) + "]" +
           std::string(msg::kChangedSuffix) + "\n" + std::string(msg::kAskSave);
}

void CloseDocument(CoreState& state, Host& host, int32_t fid, const SaveAsHook& saveAs) {
    if (fid < 1 || static_cast<size_t>(fid) >= state.Docs.size()) return;
    DocumentRecord& doc = state.Docs[static_cast<size_t>(fid)];
    if (state.Settings.AskOnClose != 0 && doc.InUse && doc.Modified) {
        host.FocusDocumentWindow(fid);
        if (host.Ask(CloseQuestionText(doc), Buttons::YesNo) == Answer::Yes && saveAs) saveAs(fid);
    }
    // The save may have grown the table; take the slot again.
    DocumentRecord& slot = state.Docs[static_cast<size_t>(fid)];
    slot.Layers.clear();
    slot.Layers.shrink_to_fit();
    slot.Selection = SelectionMask{};
    slot.ViewPixels.Clear();
    slot.InUse = kNo;
    host.DestroyDocumentWindow(fid);
    if (state.ActiveFID == fid) state.ActiveFID = 0;
    DeleteUndoFiles(state.Paths, fid);
}

int32_t ZoomPercent(const DocumentRecord& doc) {
    return RoundToInt(Int(doc.Zoom * 100.0));
}

int32_t MapXToView(const DocumentRecord& doc, int32_t x) {
    const double z = ZoomPercent(doc);
    return RoundToInt(Int(z / 100.0 * x)) + doc.ViewOffsetX - doc.ViewLeft;
}

int32_t MapYToView(const DocumentRecord& doc, int32_t y) {
    const double z = ZoomPercent(doc);
    return RoundToInt(Int(z / 100.0 * y)) + doc.ViewOffsetY - doc.ViewTop;
}

namespace {

// The shared road of the four view-to-image mappings; horizontal picks the x fields.
int32_t ViewToImage(const CoreState& state, int32_t fid, double pos, int32_t bDoc, int32_t bNoSnap,
                    bool horizontal) {
    const DocumentRecord* doc = state.Doc(fid);
    if (!doc) return 0;
    // A zoom under 1% cannot come from the zoom controls; keep the division defined.
    const double z = std::max(ZoomPercent(*doc), 1);
    const double twips = horizontal ? state.Screen.TwipsPerPixelX : state.Screen.TwipsPerPixelY;
    const double u =
        pos / (twips > 0 ? twips : 15.0) -
        (horizontal ? doc->ViewOffsetX - doc->ViewLeft : doc->ViewOffsetY - doc->ViewTop);
    int64_t image = RoundToInt(Int(u / (z / 100.0)));
    int32_t offset = 0;
    if (doc->ActiveLID >= 0 && static_cast<size_t>(doc->ActiveLID) < doc->Layers.size()) {
        const LayerRecord& layer = doc->Layers[static_cast<size_t>(doc->ActiveLID)];
        offset = horizontal ? layer.OffsetX : layer.OffsetY;
    }
    image -= int64_t{offset} * (bDoc + 1);
    auto r = static_cast<int32_t>(Clamp<int64_t>(image, INT32_MIN, INT32_MAX));
    if (bNoSnap != 0) return r;
    if (doc->GridSnap != 0 && doc->GridSize > 0) r = (r / doc->GridSize) * doc->GridSize;
    return r;
}

}  // namespace

int32_t ViewToImageX(const CoreState& state, int32_t fid, double px) {
    return ViewToImage(state, fid, px, 0, 0, true);
}
int32_t ViewToImageY(const CoreState& state, int32_t fid, double py) {
    return ViewToImage(state, fid, py, 0, 0, false);
}
int32_t ViewToImageXEx(const CoreState& state, int32_t fid, double px, int32_t bDoc,
                       int32_t bNoSnap) {
    return ViewToImage(state, fid, px, bDoc, bNoSnap, true);
}
int32_t ViewToImageYEx(const CoreState& state, int32_t fid, double py, int32_t bDoc,
                       int32_t bNoSnap) {
    return ViewToImage(state, fid, py, bDoc, bNoSnap, false);
}

namespace {

int32_t ZoomedExtent(const DocumentRecord& doc, int32_t side) {
    const int64_t scaled = int64_t{ZoomPercent(doc)} * side;
    // Int of a division by 100 of a non-negative product: floor division.
    const int64_t q = scaled >= 0 ? scaled / 100 : -((-scaled + 99) / 100);
    return static_cast<int32_t>(Clamp<int64_t>(q - 1, INT32_MIN, INT32_MAX));
}

}  // namespace

int32_t ZoomedWidth(const DocumentRecord& doc) {
    return ZoomedExtent(doc, doc.Width);
}
int32_t ZoomedHeight(const DocumentRecord& doc) {
    return ZoomedExtent(doc, doc.Height);
}

int32_t LargestSide(const DocumentRecord& doc) {
    return std::max(doc.Width, doc.Height);
}

double FitZoom(const DocumentRecord& doc, Size client) {
    if (doc.Width <= 0 || doc.Height <= 0) return 1.0;
    return std::min(static_cast<double>(client.width) / doc.Width,
                    static_cast<double>(client.height) / doc.Height);
}

void SetDocumentTitle(CoreState& state, Host& host, int32_t fid, std::string_view fnm,
                      int32_t bMarkSaved) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return;
    doc->FileName = std::string(fnm);
    host.SetDocumentCaption(fid, DocumentCaption(*doc));
    if (bMarkSaved == -1) {
        if (!fnm.empty()) host.SetStatusText(ShortName(fnm) + std::string(msg::kSavedSuffix));
        doc->Modified = kNo;
    }
    auto size = FileSize(fnm);
    if (size && *size >= 1) AddRecentFile(state.Paths.UseFileList, fnm);
}

Size DocumentWindowOuterSize(Size frameClient, int32_t windowScale, int32_t captionHeight) {
    const double smaller = std::min(frameClient.width, frameClient.height);
    const int32_t side = RoundToInt(smaller * (windowScale / 100.0 * 0.9 + 0.1));
    return {side, side + captionHeight};
}

}  // namespace brv
