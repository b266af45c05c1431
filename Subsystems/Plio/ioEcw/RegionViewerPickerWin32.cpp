// The picker's GDI side: the off-screen 24-bit surface, the read-out font, mouse capture and
// painting, composed off-screen and copied to the window in one BitBlt.
#include <windows.h>

#include <cmath>
#include <vector>

#include "PickerDrawing.h"
#include "RegionViewerPicker.h"

namespace rvp {

struct RegionViewerPicker::Gdi {
    HDC memory = nullptr;
    HGDIOBJ oldBitmap = nullptr;
    HBITMAP dib = nullptr;
    uint8_t *bits = nullptr;
    uint32_t width = 0, height = 0, stride = 0;
    BITMAPINFOHEADER header{};
    HFONT font = nullptr;

    // Deselects the DIB before deleting it, then the device context.
    void ReleaseSurface() {
        if (memory && oldBitmap)
            SelectObject(memory, oldBitmap);
        if (dib)
            DeleteObject(dib);
        if (memory)
            DeleteDC(memory);
        memory = nullptr;
        oldBitmap = nullptr;
        dib = nullptr;
        bits = nullptr;
    }
};

namespace {

constexpr COLORREF kOutlineColour = RGB(200, 200, 92);
constexpr uint32_t kRubberBand = 0x7FFFFF7F; // alpha 127 over RGB (255, 255, 127)
constexpr uint32_t kToolsBright = 255, kToolsDim = 180;

void DrawOutlinedText(HDC dc, HFONT font, const ReadoutLine &line) {
    static const int kOffsets[9][2] = {{-1, 0}, {-1, 1}, {-1, -1}, {0, 0}, {0, 1},
                                       {0, -1}, {1, 0},  {1, 1},   {1, -1}};
    SetBkMode(dc, TRANSPARENT);
    HGDIOBJ oldFont = SelectObject(dc, font);
    const int length = static_cast<int>(line.text.size());
    SetTextColor(dc, RGB(255, 255, 255));
    for (const auto &o : kOffsets)
        TextOutW(dc, line.x + o[0], line.y + o[1], line.text.c_str(), length);
    SetTextColor(dc, RGB(0, 0, 0));
    TextOutW(dc, line.x, line.y, line.text.c_str(), length);
    SelectObject(dc, oldFont);
}

void DrawPolylines(HDC dc, const std::vector<std::vector<shr::Vec2d>> &lines, int width,
                   COLORREF colour) {
    HPEN pen = CreatePen(PS_SOLID, width, colour);
    HGDIOBJ old = SelectObject(dc, pen);
    for (const auto &line : lines) {
        std::vector<POINT> points;
        for (const shr::Vec2d &p : line)
            points.push_back({static_cast<LONG>(p.x), static_cast<LONG>(p.y)});
        if (points.size() > 1)
            Polyline(dc, points.data(), static_cast<int>(points.size()));
    }
    SelectObject(dc, old);
    DeleteObject(pen);
}

void FillSurface(HDC dc, int stockBrush, uint32_t width, uint32_t height) {
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(stockBrush));
    HGDIOBJ oldPen = SelectObject(dc, GetStockObject(NULL_PEN));
    Rectangle(dc, -1, -1, static_cast<int>(width) + 1, static_cast<int>(height) + 1);
    SelectObject(dc, oldPen);
    SelectObject(dc, oldBrush);
}

} // namespace

void RegionViewerPicker::CaptureMouse(WindowHandle window) { SetCapture(window); }
void RegionViewerPicker::ReleaseMouse() { ReleaseCapture(); }

void RegionViewerPicker::CreateReadoutFont() {
    if (!gdi)
        gdi = new Gdi{};
    if (gdi->font)
        DeleteObject(gdi->font);
    gdi->font =
        CreateFontW(16, 0, 0, 0, 700, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_OUTLINE_PRECIS,
                    CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY, VARIABLE_PITCH, L"Arial");
    HDC desktop = GetDC(nullptr);
    HGDIOBJ old = SelectObject(desktop, gdi->font);
    TEXTMETRICW metrics{};
    if (GetTextMetricsW(desktop, &metrics))
        lineHeight = metrics.tmHeight;
    SelectObject(desktop, old);
    ReleaseDC(nullptr, desktop);
}

void RegionViewerPicker::RebuildSurface() {
    if (!gdi)
        gdi = new Gdi{};
    Gdi &g = *gdi;
    g.ReleaseSurface();
    HDC desktop = GetDC(nullptr);
    g.memory = CreateCompatibleDC(desktop);
    ReleaseDC(nullptr, desktop);
    g.width = static_cast<uint32_t>(areaWidth);
    g.height = static_cast<uint32_t>(areaHeight);
    g.stride = SurfaceStride(g.width);
    g.header = {};
    g.header.biSize = sizeof(BITMAPINFOHEADER);
    g.header.biWidth = areaWidth;
    g.header.biHeight = areaHeight; // positive: rows run bottom-up
    g.header.biPlanes = 1;
    g.header.biBitCount = 24;
    g.header.biCompression = BI_RGB;
    void *bits = nullptr;
    g.dib = CreateDIBSection(g.memory, reinterpret_cast<BITMAPINFO *>(&g.header), DIB_RGB_COLORS,
                             &bits, nullptr, 0);
    g.bits = static_cast<uint8_t *>(bits);
    if (g.dib)
        g.oldBitmap = SelectObject(g.memory, g.dib);
}

void RegionViewerPicker::ReleaseGdi() {
    if (!gdi)
        return;
    gdi->ReleaseSurface();
    if (gdi->font)
        DeleteObject(gdi->font);
    delete gdi;
    gdi = nullptr;
}

void RegionViewerPicker::Invalidate(WindowHandle window) const {
    RECT rect{areaX, areaY, areaX + areaWidth - 1, areaY + areaHeight - 1};
    InvalidateRect(window, &rect, FALSE);
}

void RegionViewerPicker::Paint(PaintContext hdc) {
    if (imageWidth < 1.0 || !gdi || !gdi->dib)
        return;
    Gdi &g = *gdi;
    SetReadScale(ReadScaleForZoom(zoom));
    double left, top, right, bottom;
    GetVisibleRegion(left, top, right, bottom);
    std::vector<uint8_t> rows;
    uint32_t w = 0, h = 0, stride = 0;
    ReadVisibleRows(left, top, right, bottom, rows, w, h, stride);

    FillSurface(g.memory, WHITE_BRUSH, g.width, g.height);
    if (w > 0 && h > 0) {
        const shr::Vec2d a = ImageToScreen({left, top}), b = ImageToScreen({right, bottom});
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
        info.bmiHeader.biWidth = static_cast<LONG>(w);
        info.bmiHeader.biHeight = static_cast<LONG>(h);
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        info.bmiHeader.biCompression = BI_RGB;
        SetStretchBltMode(g.memory, COLORONCOLOR);
        StretchDIBits(g.memory, static_cast<int>(a.x), static_cast<int>(a.y),
                      static_cast<int>(std::fabs(b.x - a.x)),
                      static_cast<int>(std::fabs(b.y - a.y)), 0, 0, static_cast<int>(w),
                      static_cast<int>(h), rows.data(), &info, DIB_RGB_COLORS, SRCCOPY);
    }
    const auto outline = SelectionOutline();
    if (!outline.empty()) {
        DrawPolylines(g.memory, outline, 2, RGB(0, 0, 0));
        DrawPolylines(g.memory, outline, 1, kOutlineColour);
    }
    GdiFlush(); // the bits are written directly from here on
    SurfaceBits surface{g.bits, static_cast<int32_t>(g.width), static_cast<int32_t>(g.height),
                        g.stride};
    if (selecting)
        BlendRectangle(surface, anchorX - areaX, anchorY - areaY, mouseX - areaX, mouseY - areaY,
                       kRubberBand);
    const uint32_t alphaScale = ToolsBright() ? kToolsBright : kToolsDim;
    for (int i = 0; i < kToolCount; ++i) {
        const ToolButton &b = buttons[i];
        BlendPicture(surface, {ToolImageShown(i), b.stride, b.width, b.height}, b.x, b.y,
                     alphaScale);
    }
    for (const ReadoutLine &line : CoordinateReadout())
        DrawOutlinedText(g.memory, g.font, line);
    BitBlt(hdc, areaX, areaY, areaWidth, areaHeight, g.memory, 0, 0, SRCCOPY);
}

void RegionViewerPicker::PaintBlank(PaintContext hdc) {
    if (imageWidth < 1.0 || !gdi || !gdi->dib)
        return;
    FillSurface(gdi->memory, LTGRAY_BRUSH, gdi->width, gdi->height);
    BitBlt(hdc, areaX, areaY, areaWidth, areaHeight, gdi->memory, 0, 0, SRCCOPY);
}

} // namespace rvp
