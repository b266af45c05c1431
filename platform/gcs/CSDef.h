// CSDef: the base of coordinate-system definitions, with the warp tying an image to it.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "gcs/WarpDef.h"

namespace gcs {

// Kind of a coordinate-system definition. Values are stored: never renumber.
enum class CSType : int32_t {
    Unknown = 0,
    Georeferenced = 1, // a GCSDef: projection and datum
    Unreferenced = 2,  // a UCSDef: only a warp
};

// Thrown by the setters of a definition when a piece is refused; what() is UTF-8.
class DefinitionError : public std::invalid_argument {
public:
    explicit DefinitionError(const std::wstring &message);
    const std::wstring &Message() const { return message_; }

private:
    std::wstring message_;
};

class CSDef {
public:
    virtual ~CSDef() = default;

    virtual CSType GetType() const = 0;
    virtual std::unique_ptr<CSDef> Clone() const = 0;

    virtual const std::wstring &GetName() const { return name_; }
    virtual void SetName(const std::wstring &name) { name_ = name; }

    // A warp whose method is not None is present.
    bool HasWarp() const;
    // The warp, or null when there is none.
    const WarpDef *GetWarp() const;
    // Copies the warp; null or a warp of method None removes it. Throws DefinitionError,
    // changing nothing, for a method value that is not a WarpMethod, source and destination
    // lists of different lengths, a coordinate that is not finite, fewer point pairs than the
    // method needs, and the Coefficients method without coefficients (or with coefficients
    // that are not finite).
    virtual void SetWarp(const WarpDef *warp);

    // Whether SetWarp would take the warp; why (optional) says why not.
    static bool ValidateWarp(const WarpDef &warp, std::wstring *why = nullptr);

protected:
    CSDef() = default;
    CSDef(const CSDef &) = default;
    CSDef &operator=(const CSDef &) = default;
    CSDef(CSDef &&) = default;
    CSDef &operator=(CSDef &&) = default;

private:
    std::wstring name_;
    std::optional<WarpDef> warp_;
};

} // namespace gcs
