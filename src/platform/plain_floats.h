// The floating-point environment of the module's own arithmetic.
#pragma once

#include <cfenv>

namespace kowen {

/// Stands in every entry that computes with fractions. Hosts round in other directions, flush
/// denormals or trap divisions by zero; the same settings must give the same bytes there as well.
///
/// Hardened: while it lives, rounding is to nearest and nothing traps. The host's modes and
/// flags are back at its end. Test: HostileProcess.NoRoundingModeChangesAByte and the ones below.
class PlainFloats {
public:
    PlainFloats() noexcept;
    ~PlainFloats();
    PlainFloats(const PlainFloats &) = delete;
    PlainFloats &operator=(const PlainFloats &) = delete;

private:
    friend class HostFloats;
    std::fenv_t host_;
    const PlainFloats *outer_; ///< of the entry whose callback called this one
};

/// Stands around a call into the host: its own environment is there meanwhile. Does nothing
/// outside of the life of a PlainFloats.
class HostFloats {
public:
    HostFloats() noexcept;
    ~HostFloats();
    HostFloats(const HostFloats &) = delete;
    HostFloats &operator=(const HostFloats &) = delete;

private:
    bool changed_;
    std::fenv_t plain_;
};

} // namespace kowen
