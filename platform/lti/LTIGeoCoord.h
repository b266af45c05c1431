// LTIGeoCoord: the affine map from pixels to map coordinates. (x, y) is the map position of
// the centre of the upper-left pixel; res and rot are the steps per pixel column and row.
#pragma once

namespace LizardTech {

class LTIGeoCoord {
public:
    // The default is pixel space: pixel (i, j) maps to (i, j).
    LTIGeoCoord() = default;
    LTIGeoCoord(double x, double y, double xRes, double yRes, double xRot, double yRot)
        : x_(x), y_(y), xRes_(xRes), yRes_(yRes), xRot_(xRot), yRot_(yRot) {}

    double getX() const { return x_; }
    double getY() const { return y_; }
    double getXRes() const { return xRes_; }
    double getYRes() const { return yRes_; }
    double getXRot() const { return xRot_; }
    double getYRot() const { return yRot_; }

    // Map position of the centre of pixel (pixelX, pixelY) of the image at `mag`
    // (full-resolution pixel = pixel / mag).
    void pixelToGeo(double pixelX, double pixelY, double mag, double &geoX, double &geoY) const {
        const double i = pixelX / mag;
        const double j = pixelY / mag;
        geoX = x_ + i * xRes_ + j * xRot_;
        geoY = y_ + i * yRot_ + j * yRes_;
    }

private:
    double x_ = 0.0, y_ = 0.0, xRes_ = 1.0, yRes_ = 1.0, xRot_ = 0.0, yRot_ = 0.0;
};

} // namespace LizardTech
