// IProgress: where a long operation reports how far it has got.
#pragma once

namespace shr {

class IProgress {
public:
    virtual ~IProgress() = default;
    // `done` runs from 0 to 1.
    virtual void SetProportion(double done) = 0;

protected:
    IProgress() = default;
    IProgress(const IProgress &) = default;
    IProgress &operator=(const IProgress &) = default;
};

} // namespace shr
