// The preview control's geometry and input against a synthetic image: fit zoom, zooming,
// mapping, panning, selecting, tool buttons, the coordinate read-out and row reading.
#include <gtest/gtest.h>

#include "RegionViewerPicker.h"
#include "gcs/DatumDef.h"
#include "gcs/GCSDef.h"

using rvp::RegionViewerPicker;
using shr::Box2d;
using shr::Vec2d;

namespace {

// An image whose pixel (x, y) holds blue = x, green = y, red = 7, read at a power-of-two scale;
// with a warp of 10 map units a pixel (y up), on a geographic datum or not.
class SyntheticPicker : public RegionViewerPicker {
public:
    enum System { kNone, kWarp, kGeographic };
    SyntheticPicker(uint32_t w, uint32_t h, System s = kNone) : width(w), height(h), system(s) {
        SetImageFile(L"synthetic");
    }
    void UseScale(uint32_t s) { SetReadScale(s); }
    uint32_t scale = 1, left = 0, top = 0, right = 0, bottom = 0, nextRow = 0;

protected:
    bool OpenImage(const std::wstring &, uint32_t &w, uint32_t &h) override {
        return w = width, h = height, true;
    }
    void CloseImage() override {}
    bool SetReadScale(uint32_t s) override { return scale = s, nextRow = 0, true; }
    uint32_t GetReadWidth() override { return (right - left + 1) / scale; }
    uint32_t GetReadHeight() override { return (bottom - top + 1) / scale; }
    bool GetCoordinateSystem(gcs::GCSDef &def) override {
        if (system == kNone)
            return true;
        gcs::WarpDef w;
        w.SetMethod(gcs::WarpMethod::Affine);
        w.AddControlPoint({0, 0}, {1000, 5000});
        w.AddControlPoint({100, 0}, {2000, 5000});
        w.AddControlPoint({0, 100}, {1000, 4000});
        def.SetWarp(&w);
        if (system == kGeographic) {
            gcs::DatumDef datum(gcs::DatumMethod::EllipsoidOnly);
            datum.SetEllipsoid(gcs::EllipsoidDef::FromFlattening(6378137.0, 1 / 298.257223563));
            def.SetDatum(&datum);
        }
        return true;
    }
    void SetReadRegion(uint32_t l, uint32_t t, uint32_t r, uint32_t b) override {
        left = l, top = t, right = r, bottom = b, nextRow = 0;
    }
    bool ReadNextRow(uint8_t *dest) override {
        for (uint32_t x = 0; x < GetReadWidth(); ++x) {
            dest[3 * x] = static_cast<uint8_t>(left + x * scale);
            dest[3 * x + 1] = static_cast<uint8_t>(top + nextRow * scale);
            dest[3 * x + 2] = 7;
        }
        return ++nextRow, true;
    }

private:
    uint32_t width, height;
    System system;
};

// The dialog's preview: a 357 x 156 area at (20, 30) of the owner.
constexpr int32_t kAreaX = 20, kAreaY = 30, kAreaW = 357, kAreaH = 156;

void Place(RegionViewerPicker &p) {
    p.SetClientArea(kAreaX, kAreaY, kAreaW, kAreaH);
    p.ZoomToFit();
}

// Owner coordinates of an image point.
std::pair<int32_t, int32_t> Owner(const RegionViewerPicker &p, double x, double y) {
    const Vec2d a = p.ImageToScreen({x, y});
    return {static_cast<int32_t>(a.x) + kAreaX, static_cast<int32_t>(a.y) + kAreaY};
}

TEST(RegionViewerPicker, FitZoomLeavesAMargin) {
    const struct {
        uint32_t w, h;
        double zoom;
    } cases[] = {{357, 156, 2}, {1000, 500, 4}, {1, 1, 2}, {2400000, 9, 8192}, {3000000, 9, 16384}};
    for (const auto &c : cases) {
        SyntheticPicker p(c.w, c.h);
        p.SetClientArea(0, 0, kAreaW, kAreaH);
        EXPECT_EQ(p.GetFitZoom(), c.zoom) << c.w << "x" << c.h;
    }
}

// Zoom steps stop at the fit and at one; a pan step is half the area and stops at the image
// size itself, not size - 1.
TEST(RegionViewerPicker, ZoomsMapsAndPans) {
    SyntheticPicker p(1000, 800);
    Place(p); // zoom 8 around (500, 400); half sizes 178 and 78
    p.ZoomOut();
    EXPECT_EQ(p.GetZoom(), 8);
    EXPECT_EQ(p.ScreenToImage({178, 78}), Vec2d(500, 400));
    EXPECT_EQ(p.ImageToScreen({508, 392}), Vec2d(179, 77));
    double l, t, r, b;
    p.GetVisibleRegion(l, t, r, b);
    EXPECT_EQ((std::vector<double>{l, t, r, b}), (std::vector<double>{0, 0, 999, 799}));
    p.ZoomIn(), p.ZoomIn(), p.ZoomIn(), p.ZoomIn();
    EXPECT_EQ(p.GetZoom(), 1);
    p.GetVisibleRegion(l, t, r, b);
    EXPECT_EQ((std::vector<double>{l, t, r, b}), (std::vector<double>{322, 322, 678, 478}));
    p.ZoomOut(); // zoom 2: a step is 356 by 156 pixels
    p.PanLeft();
    EXPECT_EQ(p.GetCentre(), Vec2d(144, 400));
    p.PanLeft();
    EXPECT_EQ(p.GetCentre(), Vec2d(0, 400));
    p.PanDown(), p.PanDown(), p.PanDown();
    EXPECT_EQ(p.GetCentre(), Vec2d(0, 800));
    p.PanRight(), p.PanUp();
    EXPECT_EQ(p.GetCentre(), Vec2d(356, 644));
    for (auto [zoom, scale] : {std::pair{0.5, 1u}, {1.9, 1u}, {2.0, 2u}, {16384.0, 16384u}})
        EXPECT_EQ(RegionViewerPicker::ReadScaleForZoom(zoom), scale) << zoom;
}

TEST(RegionViewerPicker, DragsSelections) {
    const struct {
        const char *name;
        double from[2], to[2], release[2];
        Box2d expected;
    } cases[] = {
        {"inside", {50, 25}, {70, 35}, {70, 35}, Box2d(50, 25, 70, 35)},
        {"backwards is normalised", {70, 35}, {50, 25}, {50, 25}, Box2d(50, 25, 70, 35)},
        {"partly outside is clipped", {-20, -10}, {30, 20}, {30, 20}, Box2d(0, 0, 30, 20)},
        {"the last move counts", {10, 10}, {20, 30}, {80, 40}, Box2d(10, 10, 20, 30)},
        {"thinner than a pixel keeps the old one", {10, 10}, {10, 40}, {10, 40}, Box2d(1, 2, 3, 4)},
    };
    for (const auto &c : cases) {
        SyntheticPicker p(100, 50);
        Place(p);
        p.ZoomIn(); // zoom 1: one image pixel a screen pixel
        p.SetPanMode(false);
        p.SetSelection(Box2d(1, 2, 3, 4));
        const auto a = Owner(p, c.from[0], c.from[1]);
        const auto m = Owner(p, c.to[0], c.to[1]);
        const auto r = Owner(p, c.release[0], c.release[1]);
        p.OnMouseMove(a.first, a.second);
        ASSERT_TRUE(p.OnButtonDown(a.first, a.second, nullptr)) << c.name;
        EXPECT_TRUE(p.OnMouseMove(m.first, m.second));
        EXPECT_TRUE(p.OnButtonUp(r.first, r.second));
        EXPECT_EQ(p.GetSelection(), c.expected) << c.name;
    }
}

TEST(RegionViewerPicker, PanDragStopsAtTheLastPixel) {
    SyntheticPicker p(100, 50);
    Place(p); // zoom 2, centre (50, 25)
    ASSERT_TRUE(p.GetPanMode());
    const int32_t x = kAreaX + 100, y = kAreaY + 50;
    ASSERT_TRUE(p.OnButtonDown(x, y, nullptr));
    EXPECT_TRUE(p.OnMouseMove(x - 10, y + 5)); // drag left and down: the view moves right, up
    EXPECT_EQ(p.GetCentre(), Vec2d(70, 15));
    p.OnMouseMove(x - 300, y + 5);
    EXPECT_EQ(p.GetCentre(), Vec2d(99, 15));
    p.OnMouseMove(x + 300, y - 300);
    EXPECT_EQ(p.GetCentre(), Vec2d(0, 49));
    EXPECT_TRUE(p.OnButtonUp(x, y));
}

TEST(RegionViewerPicker, ToolButtonsActOnRelease) {
    SyntheticPicker p(1000, 800);
    Place(p); // zoom 8
    const auto click = [&](int32_t ax, int32_t ay) {
        const bool down = p.OnButtonDown(kAreaX + ax, kAreaY + ay, nullptr);
        const bool up = p.OnButtonUp(kAreaX + ax, kAreaY + ay);
        return std::make_pair(down, up);
    };
    EXPECT_EQ(click(6 + 11, 6 + 11), std::make_pair(false, true)); // zoom in
    EXPECT_EQ(p.GetZoom(), 4);
    click(6, 125); // select mode
    EXPECT_FALSE(p.GetPanMode());
    p.ZoomIn(), p.PanLeft();
    click(10, 60); // fit
    EXPECT_EQ(p.GetZoom(), 8);
    EXPECT_EQ(p.GetCentre(), Vec2d(500, 400));
    click(6 + 23, 98 + 21); // pan mode, bottom-right pixel of its picture
    EXPECT_TRUE(p.GetPanMode());
    // Outside the area nothing happens.
    EXPECT_EQ(click(-1, 50), std::make_pair(false, false));
    EXPECT_EQ(click(kAreaW, 50), std::make_pair(false, false));
}

TEST(RegionViewerPicker, ReadoutShowsPixelAndMapLines) {
    const struct {
        SyntheticPicker::System system;
        std::vector<std::wstring> lines; // bottom first
    } cases[] = {
        {SyntheticPicker::kNone, {L"PIXEL  X:30  Y:20"}},
        {SyntheticPicker::kWarp, {L"MAP  X:1300.00  Y:4800.00", L"PIXEL  X:30  Y:20"}},
        {SyntheticPicker::kGeographic,
         {L"MAP  LON:1300.0000  LAT:4800.0000", L"PIXEL  X:30  Y:20"}},
    };
    for (const auto &c : cases) {
        SyntheticPicker p(100, 50, c.system);
        Place(p);
        p.ZoomIn();
        const auto at = Owner(p, 30.5, 20.5);
        p.OnMouseMove(at.first, at.second);
        const auto lines = p.CoordinateReadout();
        ASSERT_EQ(lines.size(), c.lines.size());
        for (size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(lines[i].text, c.lines[i]);
            EXPECT_EQ(lines[i].x, 6);
            const int32_t line = p.GetLineHeight();
            EXPECT_EQ(lines[i].y, kAreaH - line - 6 - int32_t(i) * line);
        }
    }
}

TEST(RegionViewerPicker, ReadsVisibleRowsBottomUp) {
    SyntheticPicker p(100, 50);
    Place(p);
    std::vector<uint8_t> rows;
    uint32_t w = 0, h = 0, stride = 0;
    p.UseScale(2);
    ASSERT_TRUE(p.ReadVisibleRows(10.7, 4.2, 17.9, 9.5, rows, w, h, stride));
    EXPECT_EQ((std::vector<uint32_t>{p.left, p.top, p.right, p.bottom}),
              (std::vector<uint32_t>{10, 4, 17, 9}));
    EXPECT_EQ((std::vector<uint32_t>{w, h, stride}), (std::vector<uint32_t>{4, 3, 12}));
    // The first row read (image row 4) is the last one stored.
    EXPECT_EQ(rows[2 * stride + 1], 4);
    EXPECT_EQ(rows[0 * stride + 1], 8);
    EXPECT_EQ(rows[2 * stride + 3 * 3], 16);
}

// The outline runs one pixel inside the selection and is clipped to the area (357 x 156):
// kept, cut at an edge, split in two, or dropped.
TEST(RegionViewerPicker, OutlinesTheSelectionInsideTheArea) {
    using Pieces = std::vector<std::vector<Vec2d>>;
    const struct {
        Box2d selection;
        Pieces outline;
    } cases[] = {
        {Box2d(), {}},
        {Box2d(40, 20, 60, 30), {{{169, 74}, {187, 74}, {187, 82}, {169, 82}, {169, 74}}}},
        {Box2d(-500, 0, 60, 30), {{{0, 54}, {187, 54}, {187, 82}, {0, 82}}}},
        {Box2d(40, 20, 500, 30), {{{169, 74}, {356, 74}}, {{356, 82}, {169, 82}, {169, 74}}}},
        {Box2d(400, 20, 500, 30), {}},
    };
    for (const auto &c : cases) {
        SyntheticPicker p(100, 50);
        Place(p);
        p.ZoomIn(); // zoom 1: image (50, 25) at area (178, 78)
        p.SetSelection(c.selection);
        EXPECT_EQ(p.SelectionOutline(), c.outline) << c.selection.min.x << "," << c.selection.max.x;
    }
}

} // namespace
