#pragma once

#include <windows.h>

#include <oleauto.h>

namespace framework {

/// A VARIANT that clears itself.
class ScopedVariant : public VARIANT {
  public:
    ScopedVariant() { VariantInit(this); }
    ~ScopedVariant() { VariantClear(this); }
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;

    /// The variant without its owner, to be exchanged with another.
    VARIANT& Plain() { return *this; }
};

}  // namespace framework
