#pragma once

#include <wrl/client.h>

namespace framework {

/// Hands a reference that the caller owns to a ComPtr. Not ComPtr::Attach, which in mingw-w64's header adds
/// another one.
template <class Interface>
Microsoft::WRL::ComPtr<Interface> Adopt(Interface* owned) {
    Microsoft::WRL::ComPtr<Interface> pointer;
    *pointer.GetAddressOf() = owned;
    return pointer;
}

}  // namespace framework
