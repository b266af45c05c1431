// LTIScene: a window of an image at a magnification — origin and size in the pixels of that
// magnification (1 = full resolution, 0.5 = half size, ...).
#pragma once

namespace LizardTech {

class LTIScene {
public:
    LTIScene(double upperLeftCol, double upperLeftRow, double numCols, double numRows,
             double magnification)
        : x_(upperLeftCol), y_(upperLeftRow), width_(numCols), height_(numRows),
          mag_(magnification) {}

    double getUpperLeftCol() const { return x_; }
    double getUpperLeftRow() const { return y_; }
    double getNumCols() const { return width_; }
    double getNumRows() const { return height_; }
    double getMag() const { return mag_; }

private:
    double x_, y_, width_, height_, mag_;
};

} // namespace LizardTech
