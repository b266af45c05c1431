// CSDef: the warp of a coordinate system and the checks it makes before taking one.
#include "gcs/CSDef.h"

#include <cmath>

#include "shr/Format.h"
#include "shr/Strings.h"

namespace gcs {
namespace {

unsigned long long Count(size_t count) { return static_cast<unsigned long long>(count); }

bool AllFinite(const std::vector<shr::Vec2d> &points) {
    for (const shr::Vec2d &point : points) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y))
            return false;
    }
    return true;
}

bool CoefficientsFinite(const AffineCoefficients &c) {
    for (double value : {c.a, c.b, c.c, c.d, c.e, c.f}) {
        if (!std::isfinite(value))
            return false;
    }
    return true;
}

std::wstring WarpProblem(const WarpDef &warp) {
    const auto method = static_cast<int>(warp.GetMethod());
    if (!IsValidWarpMethod(method))
        return shr::FormatString(L"warp method %d does not exist", method);
    if (warp.GetSourcePointCount() != warp.GetDestinationPointCount())
        return shr::FormatString(L"%llu source points but %llu destination points",
                                 Count(warp.GetSourcePointCount()),
                                 Count(warp.GetDestinationPointCount()));
    if (!AllFinite(warp.GetSourcePoints()) || !AllFinite(warp.GetDestinationPoints()))
        return L"a control point is not finite";
    const size_t needed = static_cast<size_t>(MinimumPointCount(warp.GetMethod()));
    if (warp.GetPointCount() < needed)
        return shr::FormatString(L"the %ls warp needs %llu point pairs, it has %llu",
                                 WarpMethodName(warp.GetMethod()), Count(needed),
                                 Count(warp.GetPointCount()));
    if (warp.GetMethod() == WarpMethod::Coefficients &&
        (!warp.HasCoefficients() || !CoefficientsFinite(warp.GetCoefficients())))
        return L"the coefficients warp has no finite coefficients";
    return std::wstring();
}

} // namespace

DefinitionError::DefinitionError(const std::wstring &message)
    : std::invalid_argument(shr::WtoA(message)), message_(message) {}

bool CSDef::HasWarp() const { return warp_.has_value() && warp_->IsDefined(); }

const WarpDef *CSDef::GetWarp() const { return warp_ ? &*warp_ : nullptr; }

void CSDef::SetWarp(const WarpDef *warp) {
    if (!warp || !warp->IsDefined()) {
        warp_.reset();
        return;
    }
    std::wstring why;
    if (!ValidateWarp(*warp, &why))
        throw DefinitionError(L"warp refused: " + why);
    warp_ = *warp;
}

bool CSDef::ValidateWarp(const WarpDef &warp, std::wstring *why) {
    std::wstring problem = WarpProblem(warp);
    if (why)
        *why = problem;
    return problem.empty();
}

} // namespace gcs
