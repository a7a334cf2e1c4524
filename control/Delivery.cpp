#include "control/Delivery.h"

#include <oleauto.h>

#include <cstring>
#include <new>

namespace norix {

ByteArrayVariant::ByteArrayVariant(const void* bytes, std::size_t size) {
    VariantInit(&m_value);
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
    if (array == nullptr) throw std::bad_alloc();
    m_value.vt = VT_ARRAY | VT_UI1;
    m_value.parray = array;
    void* data = nullptr;
    if (size != 0 && SUCCEEDED(SafeArrayAccessData(array, &data))) {
        std::memcpy(data, bytes, size);
        SafeArrayUnaccessData(array);
    }
}

ByteArrayVariant::~ByteArrayVariant() {
    VariantClear(&m_value);
}

}  // namespace norix
