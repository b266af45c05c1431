// RegionViewerPicker: a self-drawn image preview inside a dialog's client area, with zoom,
// pan, a rubber-band selection in full-resolution pixels, five tool buttons and a coordinate
// read-out. Subclasses supply the pixels through the eight virtual operations.
#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ToolButtonPictures.h"
#include "shr/Geometry.h"

// Win32 handles as the Windows headers declare them (STRICT), without including them here.
struct HWND__;
struct HDC__;

namespace gcs {
class GCSDef;
class WarpTransformer;
} // namespace gcs

namespace rvp {

using WindowHandle = HWND__ *;
using PaintContext = HDC__ *;

struct ToolButton {
    const uint8_t *image;       // 32-bit blue, green, red, alpha, bottom row first
    const uint8_t *activeImage; // shown while its mode is on; null for the action buttons
    int32_t stride, width, height;
    int32_t x, y; // relative to the area
};

enum ToolAction { kPanTool, kSelectTool, kFitTool, kZoomInTool, kZoomOutTool, kToolCount };

// One line of the coordinate read-out and where it goes (area coordinates).
struct ReadoutLine {
    std::wstring text;
    int32_t x, y;
};

class RegionViewerPicker {
public:
    RegionViewerPicker();
    virtual ~RegionViewerPicker();
    RegionViewerPicker(const RegionViewerPicker &) = delete;
    RegionViewerPicker &operator=(const RegionViewerPicker &) = delete;

    void SetImageFile(const std::wstring &path);
    void SetClientArea(int32_t x, int32_t y, int32_t width, int32_t height);

    double GetFitZoom() const;
    void ZoomToFit();
    void ZoomIn();
    void ZoomOut();
    void PanLeft();
    void PanRight();
    void PanUp();
    void PanDown();
    void SetPanMode(bool pan) { panMode = pan; }
    bool GetPanMode() const { return panMode; }
    void SetSelection(const shr::Box2d &box) { selection = box; }
    const shr::Box2d &GetSelection() const { return selection; }
    bool IsSelecting() const { return selecting; }
    bool IsPanning() const { return panning; }
    double GetZoom() const { return zoom; }
    const shr::Vec2d &GetCentre() const { return centre; }
    double GetImageWidth() const { return imageWidth; }
    double GetImageHeight() const { return imageHeight; }
    int32_t GetLineHeight() const { return lineHeight; } // of the read-out font; 1 without one

    void GetVisibleRegion(double &left, double &top, double &right, double &bottom) const;
    // Area pixels to full-resolution image pixels and back.
    shr::Vec2d ScreenToImage(const shr::Vec2d &area) const;
    shr::Vec2d ImageToScreen(const shr::Vec2d &image) const;
    // Reads the given image rectangle at the current reading scale into `buffer` as 24-bit
    // bottom-up rows. False when the rows would not fit in a sane buffer.
    bool ReadVisibleRows(double left, double top, double right, double bottom,
                         std::vector<uint8_t> &buffer, uint32_t &width, uint32_t &height,
                         uint32_t &stride);

    // Mouse input in the owner's client coordinates; true when the picture must be redrawn.
    bool OnButtonDown(int32_t x, int32_t y, WindowHandle captureWindow);
    bool OnMouseMove(int32_t x, int32_t y);
    bool OnButtonUp(int32_t x, int32_t y);

    // What a paint draws, apart from the drawing itself.
    static uint32_t ReadScaleForZoom(double zoom);
    int HitToolButton(int32_t areaX, int32_t areaY) const; // -1 when none
    bool ToolsBright() const;                              // the mouse is near the tool column
    const ToolButton &GetToolButton(int index) const { return buttons[index]; }
    const uint8_t *ToolImageShown(int index) const;
    std::vector<ReadoutLine> CoordinateReadout() const; // bottom line first
    // The selection outline in area pixels, clipped to the area; empty when nothing is chosen.
    std::vector<std::vector<shr::Vec2d>> SelectionOutline() const;

    // Drawing (Windows build).
    void Paint(PaintContext hdc);
    void PaintBlank(PaintContext hdc);
    void Invalidate(WindowHandle window) const;

protected:
    virtual bool OpenImage(const std::wstring &path, uint32_t &width, uint32_t &height) = 0;
    virtual void CloseImage() = 0;
    virtual bool SetReadScale(uint32_t scale) = 0;
    virtual uint32_t GetReadWidth() = 0;
    virtual uint32_t GetReadHeight() = 0;
    virtual bool GetCoordinateSystem(gcs::GCSDef &gcsDef) = 0;
    virtual void SetReadRegion(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) = 0;
    virtual bool ReadNextRow(uint8_t *dest) = 0;

private:
    struct Gdi; // surface and font of the window system

    void TakeDraggedSelection();
    void ClampCentreToImage();
    // Window-system parts, per build.
    void CaptureMouse(WindowHandle window);
    void ReleaseMouse();
    void CreateReadoutFont();
    void RebuildSurface();
    void ReleaseGdi();

    double imageWidth = 1.0, imageHeight = 1.0;
    std::unique_ptr<gcs::WarpTransformer> warp;
    bool geographic = false;
    Gdi *gdi = nullptr;
    int32_t areaX = 0, areaY = 0, areaWidth = 1, areaHeight = 1;
    int32_t mouseX = INT32_MIN / 2, mouseY = INT32_MIN / 2; // no read-out before a move
    shr::Vec2d centre;
    double zoom = 1.0;
    shr::Box2d selection;
    bool panMode = true;
    bool panning = false, selecting = false;
    int32_t anchorX = 0, anchorY = 0;
    int32_t lineHeight = 1;
    std::array<ToolButton, kToolCount> buttons;
};

} // namespace rvp
