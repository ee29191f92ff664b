// The freehand painting engine: what a press, a drag and a release on a document's canvas do
// with the pen, the eraser and the graphic pen, and the one kernel, DrawPen, that both the
// canvas and a played action line call.
//
// The canvas maps nothing itself. It hands the event routines the button, the pointer in the
// window's twips and the clock, and carries out the CanvasActions that come back:
//
//   FreehandState drag;                        // one for the whole program
//   PaintContext ctx{app.Core, drag, lookupGraphicPen};
//   // mouse press, left or right (and set the window's PenIsDown):
//   CanvasActions a = PenStep(ctx, fid, button, shift, xTwips, yTwips, host.Milliseconds());
//   // mouse move while PenIsDown:   a = CanvasDrag(ctx, fid, buttons, shift, x, y, clock);
//   // mouse release while PenIsDown: a = CanvasUp(ctx, fid, button, shift, x, y, clock);
//   if (a.RefreshRect) RefreshAfterEdit(fid, *a.RefreshRect);  ...
//
// Every painted step is bracketed the same way: the layer is backed up where a selection
// exists, the kernel runs, whatever it changed outside the selection is put back, and the
// rectangle of the step goes to the view. Within a stroke only the step's own rectangle is
// copied and restored, so a selection costs no more on a large layer than on a small one.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/action_log.h"
#include "core/app_paths.h"
#include "core/core_state.h"
#include "core/document.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// The mouse buttons as the canvas reports them; a move reports the sum of those held.
inline constexpr int32_t kLeftButton = 1;
inline constexpr int32_t kRightButton = 2;

// The keys of the Shift argument: Shift, Ctrl and Alt as 1, 2 and 4, and a bit of its own for
// the left Shift key, the only one that adds to a selection.
inline constexpr int32_t kShiftKey = 1;
inline constexpr int32_t kCtrlKey = 2;
inline constexpr int32_t kAltKey = 4;
inline constexpr int32_t kLeftShiftKey = 8;

// DrawPen's kinds.
inline constexpr int32_t kPenKindPen = 1;
inline constexpr int32_t kPenKindEraser = 2;
inline constexpr int32_t kPenKindGraphicPen = 3;

// "no last position" in PenParams and in the previous-point fields of a recorded line.
inline constexpr int32_t kNoPoint = -32767;

// DrawPen's results.
inline constexpr int32_t kDrawPenOk = 0;
inline constexpr int32_t kDrawPenNoLayer = -1;    // the document or layer does not exist
inline constexpr int32_t kDrawPenNoPattern = -2;  // the graphic pen's number is beyond the list

// What DrawPen is given, in this order.
struct DrawPenArgs {
    int32_t X = 0;  // the point, in the layer's coordinates
    int32_t Y = 0;
    int32_t Unused1 = 0;  // two fields that carry nothing
    int32_t Unused2 = 0;
    int32_t Color = 0;         // 0x00BBGGRR
    int32_t Transparency = 0;  // as set; for the graphic pen the opacity, 255 - (3,4)
    PenParamTable Params;      // a copy of the whole PenParams
};

// A pattern library by number, from 1: the picture, or nullptr beyond the list. The graphic
// pens' stamps and the fill tool's tiles are each one of these.
using PatternLookup = std::function<const PixelBuffer*(int32_t index)>;
using GraphicPenLookup = PatternLookup;
// A picture as the action language writes it (EncodeByteImage), for the fill's recorded line.
using PictureEncoder = std::function<std::string(const PixelBuffer& picture)>;
// The selection mask the same way, for the selection's line.
using MaskEncoder = std::function<std::string(const SelectionMask& mask)>;

// ---- kernels -------------------------------------------------------------------------------

// One segment (pen, eraser) or one stamp (graphic pen) into Layers(lid) of the document, and
// its line to the recorder when it runs. retRect: for the pen and the eraser in document
// coordinates (moved by the layer's offset), for the graphic pen in the layer's own. Protect
// is read from PenFlag of the document's PenLID. Other kinds draw nothing but are recorded.
int32_t DrawPen(CoreState& state, int32_t fid, int32_t lid, int32_t kind, const DrawPenArgs& args,
                const GraphicPenLookup& graphicPens, RectI& retRect);

// The rectangle DrawPen will touch, in the layer's coordinates, worked out before it runs.
// nullopt when DrawPen would draw nothing.
std::optional<RectI> DrawPenLayerRect(const DocumentRecord& doc, int32_t lid, int32_t kind,
                                      const DrawPenArgs& args, const GraphicPenLookup& graphicPens);

// "DrawPen,LID,Kind,X,Y,Transparency,Color,P1,...,P10" with the ten PenParams of the kind's
// row; and the recorder's door for it (a no-op unless the recorder runs).
std::string DrawPenLine(int32_t lid, int32_t kind, const DrawPenArgs& args);
void RecordDrawPen(ActionRecorder& recorder, int32_t activeFid, int32_t lid, int32_t kind,
                   const DrawPenArgs& args);

struct PaintContext;

// ---- the selection bracket -----------------------------------------------------------------

// With a selection (OutlineCount at least 1): Backup = Pixels, whole.
void BackupForStroke(DocumentRecord& doc, int32_t lid);
// With a selection: every pixel whose Selection byte is 0 is copied back from Backup, over the
// whole layer, or only inside rect (layer coordinates, inclusive) when only that part can have
// changed since the backup. Selection and Pixels share (x, y); the layer's offset plays no part.
void RestoreUnselected(DocumentRecord& doc, int32_t lid);
void RestoreUnselected(DocumentRecord& doc, int32_t lid, const RectI& rect);
// One painted step in its bracket: with a selection the layer is backed up (within a stroke
// only what the last step and this one can touch), kernel runs, and whatever it changed outside
// the selection is put back. layerRect: what the kernel can change, in the layer's coordinates.
void BracketedStep(const PaintContext& ctx, DocumentRecord& doc, int32_t fid, int32_t lid,
                   const RectI& layerRect, const std::function<void()>& kernel);
// Moves a rectangle from the layer's coordinates to the document's.
void OffsetRectByLayer(RectI& rect, const DocumentRecord& doc, int32_t lid);

// ---- the event routines --------------------------------------------------------------------

// Which part of Layers(lid) is known to equal Backup, between the steps of one stroke.
struct StrokeBackupMemo {
    bool Valid = false;
    int32_t Fid = 0;
    int32_t Lid = 0;
    RectI Rect;  // the last step's rectangle, layer coordinates
};

// The drag state, one for the whole program.
struct FreehandState {
    int32_t DragState = 0;      // 0 no drag, 1 left drag, 2 left drag cancelled by the right
    int32_t LastStampTime = 0;  // rounded ms of the last pen stamp, 0 after a release
    int32_t LastTick = 0;       // rounded ms of the last pass through PenStep
    int32_t PressTime = 0;      // rounded ms of the last press, and where it was (twips)
    float PressX = 0.0f;
    float PressY = 0.0f;
    StrokeBackupMemo Memo;
    // Where the shape in progress was last drawn (document coordinates), for the next refresh.
    std::optional<RectI> ShapeRect;
    // The selection polygon under construction, document coordinates, from press to release.
    std::vector<PointF> SelectPoints;
};

struct PaintContext {
    PaintContext(CoreState& state, FreehandState& freehand, GraphicPenLookup graphicPens = {},
                 PatternLookup fillPatterns = {}, PictureEncoder encodePicture = {},
                 MaskEncoder encodeMask = {})
        : State(state),
          Freehand(freehand),
          GraphicPens(std::move(graphicPens)),
          FillPatterns(std::move(fillPatterns)),
          EncodePicture(std::move(encodePicture)),
          EncodeMask(std::move(encodeMask)) {}

    CoreState& State;
    FreehandState& Freehand;
    GraphicPenLookup GraphicPens;
    PatternLookup FillPatterns;    // FillPatternList
    PictureEncoder EncodePicture;  // without one the fill's line carries an empty pattern
    MaskEncoder EncodeMask;        // without one the selection's line carries an empty mask
};

// What the canvas does after an event routine, in this order.
struct CanvasActions {
    std::optional<RectI> RefreshRect;  // RefreshAfterEdit of these document pixels
    bool RedrawAll = false;            // the whole view again (panning, a cancelled selection)
    // The selection's rubber band, a polyline in client pixels, drawn over the view (after the
    // redraw above) dotted in white over solid black; the next whole redraw wipes it.
    std::optional<std::vector<PointI>> RubberBand;
    bool FullRefresh = false;       // the full refresh after a shape
    bool UpdateScrollBars = false;  // HScrollPos / VScrollPos changed
    bool RefreshLayerWindow = false;
    bool SaveUndo = false;         // SaveUndo(fid): one stroke is one undo step
    std::string CursorFile;        // load this cursor file as the window's pointer
    bool DefaultCursor = false;    // give the window the default pointer back
    bool OpenContextMenu = false;  // RightMenu at the pointer
    bool ShowPenState = false;     // the pen window shows the PenState again (a picked colour)
};

// On a press (any button), and from CanvasDrag for the freehand tools. x, y: the pointer in
// the window's twips. clock: milliseconds of the high-resolution clock.
CanvasActions PenStep(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift, double x,
                      double y, double clock);
// On a move while the window's PenIsDown is set. button: the buttons held.
CanvasActions CanvasDrag(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift,
                         double x, double y, double clock);
// On a release while PenIsDown is set; the canvas clears PenIsDown.
CanvasActions CanvasUp(const PaintContext& ctx, int32_t fid, int32_t button, int32_t shift,
                       double x, double y, double clock);

// ---- the rules, as plain numbers -----------------------------------------------------------

// A pen held still lays another stamp each 200 ms; any movement stamps at once.
bool PenStampDue(double clock, int32_t lastStampTime, int32_t x, int32_t y, int32_t x0, int32_t y0);
// The eraser bites once per rounded millisecond.
bool EraserStepDue(int32_t tick, int32_t lastTick);
// The graphic pen stamps again once the pointer is spacing % of the pattern's width or height
// away from the last stamp along either axis; a negative last position counts as none.
bool GraphicPenStampDue(int32_t lastX, int32_t lastY, int32_t x, int32_t y, int32_t patternWidth,
                        int32_t patternHeight, int32_t spacing);

// The scroll position while the right button drags the view, or nullopt when the image all
// but fits (the visible fraction at least 0.99) and does not move. clientTwips: the window's
// inner extent; imageExtent: the image's side times the zoom factor.
std::optional<int32_t> PanScrollPos(int32_t anchor, double pointer, double pointerAtPress,
                                    double clientTwips, double twipsPerPixel, double imageExtent);
// The scroll position while the left button drags past the view's edge: it moves by how far
// out the pointer is, in twips, limited to 0 .. 32767. viewExtent in pixels.
int32_t EdgeScrollPos(double pointer, int32_t scrollPos, int32_t viewExtent, double twipsPerPixel);
// A right click, not a pan: released within 400 ms and within 8 pixels of the press.
bool OpensContextMenu(double releaseClock, int32_t pressTime, double x, double y, double pressX,
                      double pressY, double twipsPerPixelX, double twipsPerPixelY);

// ---- cursors -------------------------------------------------------------------------------

// Sets the document's CursorName (and CursorBase: the name, or "Normal" when bTemporary is
// -1) and returns the file to load the pointer from: CursorsDir + name + ".cur".
std::string SetCanvasCursor(const AppPaths& paths, DocumentRecord& doc, std::string_view name,
                            int32_t bTemporary);
// true when the window's pointer goes back to the default: a temporary cursor is on.
bool RestoreCanvasCursor(const DocumentRecord& doc);

}  // namespace brv
