// The picker's geometry, input handling and row reading; drawing lives in the window-system
// source of each build.
#include "RegionViewerPicker.h"

#include <algorithm>
#include <cmath>

#include "PickerDrawing.h"
#include "gcs/GCSDef.h"
#include "gcs/WarpTransformer.h"
#include "geom/ClipPolylines.h"
#include "shr/Format.h"

namespace rvp {
namespace {

constexpr double kMaxZoom = 16384.0;
constexpr int32_t kToolMargin = 8;
constexpr int32_t kReadoutInset = 6;
// A preview never needs more than this for its rows; anything larger is a broken source.
constexpr uint64_t kMaxRowBytes = uint64_t(1) << 28;

ToolButton MakeButton(ToolPicture picture, const uint8_t *active, int32_t x, int32_t y) {
    const ButtonPicture &p = GetToolPicture(picture);
    return {p.pixels, active, p.stride, p.width, p.height, x, y};
}

double RoundHalfUp(double v) { return std::floor(v + 0.5); }

} // namespace

RegionViewerPicker::RegionViewerPicker()
    : buttons{
          MakeButton(ToolPicture::Pan, GetToolPicture(ToolPicture::PanActive).pixels, 6, 98),
          MakeButton(ToolPicture::Select, GetToolPicture(ToolPicture::SelectActive).pixels, 6, 125),
          MakeButton(ToolPicture::Fit, nullptr, 6, 56),
          MakeButton(ToolPicture::ZoomIn, nullptr, 6, 6),
          MakeButton(ToolPicture::ZoomOut, nullptr, 6, 29)} {}

RegionViewerPicker::~RegionViewerPicker() { ReleaseGdi(); }

void RegionViewerPicker::SetImageFile(const std::wstring &path) {
    CloseImage();
    imageWidth = imageHeight = 0.0;
    uint32_t width = 0, height = 0;
    OpenImage(path, width, height);
    imageWidth = width;
    imageHeight = height;
    SetReadScale(1);
    gcs::GCSDef gcsDef;
    GetCoordinateSystem(gcsDef);
    geographic = gcsDef.HasDatum(true) && !gcsDef.HasProjection(false, true);
    // An image without a warp keeps the transformer of the previous one.
    if (gcsDef.HasWarp())
        warp = std::make_unique<gcs::WarpTransformer>(gcsDef.GetWarp(), false, 0, false);
    CreateReadoutFont();
}

void RegionViewerPicker::SetClientArea(int32_t x, int32_t y, int32_t width, int32_t height) {
    areaX = x;
    areaY = y;
    areaWidth = std::max(width, 1);
    areaHeight = std::max(height, 1);
    RebuildSurface();
}

double RegionViewerPicker::GetFitZoom() const {
    const double z = std::max({imageWidth / areaWidth, imageHeight / areaHeight, 1.0});
    if (2.0 * z >= kMaxZoom)
        return kMaxZoom;
    // Deliberately one step out, so the fitted image keeps a margin.
    double fit = kMaxZoom;
    while (fit > 1.0 && fit > 2.0 * z)
        fit *= 0.5;
    return fit;
}

void RegionViewerPicker::ZoomToFit() {
    centre = {imageWidth * 0.5, imageHeight * 0.5};
    zoom = GetFitZoom();
}

void RegionViewerPicker::ZoomIn() { zoom = std::max(zoom * 0.5, 1.0); }

void RegionViewerPicker::ZoomOut() { zoom = std::min(zoom * 2.0, GetFitZoom()); }

void RegionViewerPicker::PanLeft() { centre.x = std::max(centre.x - areaWidth / 2 * zoom, 0.0); }
void RegionViewerPicker::PanRight() {
    centre.x = std::min(centre.x + areaWidth / 2 * zoom, imageWidth);
}
void RegionViewerPicker::PanUp() { centre.y = std::max(centre.y - areaHeight / 2 * zoom, 0.0); }
void RegionViewerPicker::PanDown() {
    centre.y = std::min(centre.y + areaHeight / 2 * zoom, imageHeight);
}

void RegionViewerPicker::GetVisibleRegion(double &left, double &top, double &right,
                                          double &bottom) const {
    const double dx = areaWidth / 2 * zoom, dy = areaHeight / 2 * zoom;
    const auto fit = [](double v, double size) {
        return RoundHalfUp(std::clamp(v, 0.0, std::max(size - 1.0, 0.0)));
    };
    left = fit(centre.x - dx, imageWidth);
    right = fit(centre.x + dx, imageWidth);
    top = fit(centre.y - dy, imageHeight);
    bottom = fit(centre.y + dy, imageHeight);
}

shr::Vec2d RegionViewerPicker::ScreenToImage(const shr::Vec2d &a) const {
    return {(a.x - areaWidth / 2) * zoom + centre.x, (a.y - areaHeight / 2) * zoom + centre.y};
}

shr::Vec2d RegionViewerPicker::ImageToScreen(const shr::Vec2d &i) const {
    return {(i.x - centre.x) / zoom + areaWidth / 2, (i.y - centre.y) / zoom + areaHeight / 2};
}

uint32_t RegionViewerPicker::ReadScaleForZoom(double zoom) {
    if (zoom >= kMaxZoom)
        return static_cast<uint32_t>(kMaxZoom);
    uint32_t scale = 1;
    while (scale * 2.0 <= zoom)
        scale *= 2;
    return scale;
}

bool RegionViewerPicker::ReadVisibleRows(double left, double top, double right, double bottom,
                                         std::vector<uint8_t> &buffer, uint32_t &width,
                                         uint32_t &height, uint32_t &stride) {
    const auto corner = [](double v) { return v < 0.0 ? 0u : static_cast<uint32_t>(v); };
    SetReadRegion(corner(left), corner(top), corner(right), corner(bottom));
    width = GetReadWidth();
    height = GetReadHeight();
    stride = SurfaceStride(width);
    if (uint64_t(stride) * height > kMaxRowBytes || width > kMaxRowBytes / 3) {
        buffer.clear();
        width = height = stride = 0;
        return false;
    }
    buffer.assign(size_t(stride) * height, 0);
    for (uint32_t i = 0; i < height; ++i)
        ReadNextRow(buffer.data() + size_t(height - 1 - i) * stride); // bottom-up
    return true;
}

int RegionViewerPicker::HitToolButton(int32_t x, int32_t y) const {
    for (int i = 0; i < kToolCount; ++i) {
        const ToolButton &b = buttons[i];
        if (x >= b.x && x < b.x + b.width && y >= b.y && y < b.y + b.height)
            return i;
    }
    return -1;
}

bool RegionViewerPicker::ToolsBright() const {
    const int32_t x = mouseX - areaX, y = mouseY - areaY;
    for (const ToolButton &b : buttons)
        if (x >= b.x - kToolMargin && x < b.x + b.width + kToolMargin && y >= b.y - kToolMargin &&
            y < b.y + b.height + kToolMargin)
            return true;
    return false;
}

const uint8_t *RegionViewerPicker::ToolImageShown(int index) const {
    const ToolButton &b = buttons[index];
    const bool active = (index == kPanTool && panMode) || (index == kSelectTool && !panMode);
    return active && b.activeImage ? b.activeImage : b.image;
}

bool RegionViewerPicker::OnButtonDown(int32_t x, int32_t y, WindowHandle captureWindow) {
    const int32_t ax = x - areaX, ay = y - areaY;
    if (ax < 0 || ay < 0 || ax >= areaWidth || ay >= areaHeight || HitToolButton(ax, ay) >= 0)
        return false;
    anchorX = x;
    anchorY = y;
    panning = panMode;
    selecting = !panMode;
    CaptureMouse(captureWindow);
    return true;
}

bool RegionViewerPicker::OnMouseMove(int32_t x, int32_t y) {
    mouseX = x;
    mouseY = y;
    if (!panning)
        return selecting;
    centre.x += double(anchorX - x) * zoom;
    centre.y += double(anchorY - y) * zoom;
    anchorX = x;
    anchorY = y;
    ClampCentreToImage();
    return true;
}

void RegionViewerPicker::ClampCentreToImage() {
    const auto clamp = [](double v, double size) {
        return v < 0.0 ? 0.0 : (v >= size ? size - 1.0 : v);
    };
    centre.x = clamp(centre.x, imageWidth);
    centre.y = clamp(centre.y, imageHeight);
}

bool RegionViewerPicker::OnButtonUp(int32_t x, int32_t y) {
    if (panning) {
        panning = false;
        ReleaseMouse();
        return true;
    }
    if (selecting) {
        selecting = false;
        ReleaseMouse();
        TakeDraggedSelection();
        return true;
    }
    switch (HitToolButton(x - areaX, y - areaY)) {
    case kPanTool:
        panMode = true;
        return true;
    case kSelectTool:
        panMode = false;
        return true;
    case kFitTool:
        ZoomToFit();
        return true;
    case kZoomInTool:
        ZoomIn();
        return true;
    case kZoomOutTool:
        ZoomOut();
        return true;
    default:
        return false;
    }
}

// The dragged box runs from the anchor to the last mouse-move position, not the release point.
void RegionViewerPicker::TakeDraggedSelection() {
    const shr::Vec2d a = ScreenToImage({double(anchorX - areaX), double(anchorY - areaY)});
    const shr::Vec2d b = ScreenToImage({double(mouseX - areaX), double(mouseY - areaY)});
    shr::Box2d box(a, b);
    box.Normalize();
    if (box.min.y >= imageHeight || box.max.y < 0.0 || box.min.x >= imageWidth || box.max.x < 0.0)
        return;
    box.min.x = std::clamp(box.min.x, 0.0, imageWidth - 1.0);
    box.max.x = std::clamp(box.max.x, 0.0, imageWidth - 1.0);
    box.min.y = std::clamp(box.min.y, 0.0, imageHeight - 1.0);
    box.max.y = std::clamp(box.max.y, 0.0, imageHeight - 1.0);
    if (box.Width() >= 1.0 && box.Height() >= 1.0)
        selection = box;
}

std::vector<ReadoutLine> RegionViewerPicker::CoordinateReadout() const {
    std::vector<ReadoutLine> lines;
    const int32_t ax = mouseX - areaX, ay = mouseY - areaY;
    if (ax < 0 || ay < 0 || ax > areaWidth || ay > areaHeight)
        return lines;
    const shr::Vec2d p = ScreenToImage({double(ax), double(ay)});
    if (p.x < 0.0 || p.y < 0.0 || p.x > imageWidth || p.y > imageHeight)
        return lines;
    int32_t y = areaHeight - lineHeight - kReadoutInset;
    shr::Vec2d map = p;
    if (warp && warp->TransformForward(map)) {
        lines.push_back({geographic ? shr::FormatString(L"MAP  LON:%.4f  LAT:%.4f", map.x, map.y)
                                    : shr::FormatString(L"MAP  X:%.2f  Y:%.2f", map.x, map.y),
                         kReadoutInset, y});
        y -= lineHeight;
    }
    lines.push_back({shr::FormatString(L"PIXEL  X:%G  Y:%G", std::floor(p.x), std::floor(p.y)),
                     kReadoutInset, y});
    return lines;
}

std::vector<std::vector<shr::Vec2d>> RegionViewerPicker::SelectionOutline() const {
    if (!(selection.min.x < selection.max.x && selection.min.y < selection.max.y))
        return {};
    const shr::Vec2d a = ImageToScreen(selection.min), b = ImageToScreen(selection.max);
    const std::vector<shr::Vec2d> ring = {{a.x + 1, a.y + 1},
                                          {b.x - 1, a.y + 1},
                                          {b.x - 1, b.y - 1},
                                          {a.x + 1, b.y - 1},
                                          {a.x + 1, a.y + 1}};
    return geom::ClipPolylinesToRect({ring}, shr::Box2d(0, 0, areaWidth - 1, areaHeight - 1));
}

} // namespace rvp
