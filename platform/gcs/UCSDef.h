// UCSDef: an unreferenced coordinate system that carries only a warp.
#pragma once
#include <memory>

#include "gcs/CSDef.h"

namespace gcs {

// Map coordinates without projection or datum: what a warp alone says about an image.
class UCSDef : public CSDef {
public:
    UCSDef() = default;

    CSType GetType() const override { return CSType::Unreferenced; }
    std::unique_ptr<CSDef> Clone() const override { return std::make_unique<UCSDef>(*this); }
};

} // namespace gcs
