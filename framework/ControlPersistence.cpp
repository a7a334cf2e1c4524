#include "framework/ControlPersistence.h"

#include <oleauto.h>
#include <olectl.h>
#include <wrl/client.h>

#include <algorithm>

#include "framework/EntryPoint.h"
#include "framework/Module.h"
#include "framework/OleControl.h"
#include "framework/ScopedVariant.h"

namespace framework {

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t kStorageStream[] = L"Contents";

std::u16string ToUtf16(const std::wstring& text) {
    return {text.begin(), text.end()};
}
std::wstring ToWide(const std::u16string& text) {
    return {text.begin(), text.end()};
}

PropertyValue FromVariant(const wchar_t* name, const VARIANT& value) {
    PropertyValue property{ToUtf16(name), {}};
    switch (value.vt) {
        case VT_BOOL:
            property.value = AutomationType<bool>::Read(value);
            break;
        case VT_I2:
            property.value = std::int16_t{value.iVal};
            break;
        case VT_I4:
            property.value = static_cast<std::int32_t>(value.lVal);
            break;
        case VT_R8:
            property.value = value.dblVal;
            break;
        default:
            property.value = ToUtf16(AutomationType<Text>::Read(value));
            break;
    }
    return property;
}

struct ToVariant {
    VARIANT& out;
    void operator()(bool value) const { WriteVariant<bool>(out, value); }
    void operator()(std::int16_t value) const { WriteVariant<short>(out, value); }
    void operator()(std::int32_t value) const { WriteVariant<long>(out, value); }
    void operator()(double value) const { WriteVariant<double>(out, value); }
    void operator()(const std::u16string& value) const { WriteVariant<Text>(out, ToWide(value)); }
};

/// Reads exactly `size` bytes. The buffer grows with what really arrives, not with what was promised.
HRESULT ReadExactly(IStream& stream, std::size_t size, std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kChunk = 64 * 1024;
    bytes.clear();
    while (bytes.size() < size) {
        const std::size_t start = bytes.size();
        bytes.resize(start + std::min(kChunk, size - start));
        ULONG read = 0;
        const HRESULT result =
            stream.Read(bytes.data() + start, static_cast<ULONG>(bytes.size() - start), &read);
        if (FAILED(result)) return result;
        if (read == 0) return STG_E_READFAULT;
        bytes.resize(start + std::min<std::size_t>(read, bytes.size() - start));
    }
    return S_OK;
}

void ReportError(IErrorLog* log, const wchar_t* name, HRESULT code) {
    if (log == nullptr) return;
    EXCEPINFO problem = {};
    problem.scode = code;
    problem.bstrSource = SysAllocString(COleControlModule::Get().Name());
    problem.bstrDescription = SysAllocString(L"The value does not fit the property's type");
    log->AddError(name, &problem);
    SysFreeString(problem.bstrSource);
    SysFreeString(problem.bstrDescription);
}

}  // namespace

void* ControlPersistence::Find(REFIID iid) {
    if (iid == IID_IPersist) return static_cast<IPersist*>(static_cast<IPersistStreamInit*>(this));
    return InterfacePart::Find(iid);
}

STDMETHODIMP ControlPersistence::GetClassID(CLSID* clsid) {
    return m_owner.Embedding().GetUserClassID(clsid);
}

STDMETHODIMP ControlPersistence::InitNew() {
    return S_OK;
}

STDMETHODIMP ControlPersistence::IsDirty() {
    return m_owner.IsModified() ? S_OK : S_FALSE;
}

// ---- Stream

PropertySet ControlPersistence::Collect() const {
    PropertySet properties;
    properties.extentX = m_owner.Embedding().Extent().cx;
    properties.extentY = m_owner.Embedding().Extent().cy;
    for (const DispatchMember& member : m_owner.Members().Members()) {
        if (member.persistence != Persistence::Full) continue;
        ScopedVariant value;
        member.get(m_owner, value);
        m_owner.OnSaveProperty(member, value);
        properties.values.push_back(FromVariant(member.name, value));
    }
    return properties;
}

HRESULT ControlPersistence::LoadFrom(IStream& stream) {
    std::vector<std::uint8_t> bytes;
    HRESULT result = ReadExactly(stream, kPropertyHeaderSize, bytes);
    if (FAILED(result)) return result;
    const std::optional<std::uint32_t> length = DecodePropertyHeader(bytes);
    if (!length) return STG_E_DOCFILECORRUPT;
    result = ReadExactly(stream, *length, bytes);
    if (FAILED(result)) return result;
    const std::optional<PropertySet> properties = DecodePropertyBody(bytes);
    if (!properties) return STG_E_DOCFILECORRUPT;

    if (properties->extentX > 0 && properties->extentY > 0) {
        m_owner.Embedding().SetExtentValue({properties->extentX, properties->extentY});
    }
    for (const PropertyValue& property : properties->values) {
        const DispatchMember* member = m_owner.Members().Find(ToWide(property.name).c_str());
        if (member == nullptr || member->persistence == Persistence::None) continue;
        ScopedVariant value;
        std::visit(ToVariant{value}, property.value);
        m_owner.LoadProperty(*member, value);
    }
    m_owner.SetModifiedFlag(false);
    return S_OK;
}

HRESULT ControlPersistence::SaveTo(IStream& stream) {
    const std::vector<std::uint8_t> bytes = EncodeProperties(Collect());
    if (bytes.empty()) return STG_E_MEDIUMFULL;
    ULONG written = 0;
    const HRESULT result = stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
    if (FAILED(result)) return result;
    return written == bytes.size() ? S_OK : STG_E_MEDIUMFULL;
}

STDMETHODIMP ControlPersistence::Load(IStream* stream) {
    if (stream == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] { return LoadFrom(*stream); });
}

STDMETHODIMP ControlPersistence::Save(IStream* stream, BOOL clearDirty) {
    if (stream == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        const HRESULT result = SaveTo(*stream);
        if (SUCCEEDED(result) && clearDirty) m_owner.SetModifiedFlag(false);
        return result;
    });
}

STDMETHODIMP ControlPersistence::GetSizeMax(ULARGE_INTEGER* size) {
    if (size == nullptr) return E_POINTER;
    size->QuadPart = 0;
    return GuardedCall(m_owner, [&] {
        size->QuadPart = EncodeProperties(Collect()).size();
        return S_OK;
    });
}

// ---- Property bag

STDMETHODIMP ControlPersistence::Load(IPropertyBag* bag, IErrorLog* log) {
    if (bag == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        for (const DispatchMember& member : m_owner.Members().Members()) {
            if (member.persistence == Persistence::None) continue;
            ScopedVariant value;
            if (FAILED(bag->Read(member.name, &value, log)) || value.vt == VT_EMPTY) continue;
            const HRESULT loaded = m_owner.LoadProperty(member, value);
            if (FAILED(loaded)) ReportError(log, member.name, loaded);
        }
        m_owner.SetModifiedFlag(false);
        return S_OK;
    });
}

STDMETHODIMP ControlPersistence::Save(IPropertyBag* bag, BOOL clearDirty, BOOL) {
    if (bag == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        for (const DispatchMember& member : m_owner.Members().Members()) {
            if (member.persistence != Persistence::Full) continue;
            ScopedVariant value;
            member.get(m_owner, value);
            m_owner.OnSaveProperty(member, value);
            const HRESULT result = bag->Write(member.name, &value);
            if (FAILED(result)) return result;
        }
        if (clearDirty) m_owner.SetModifiedFlag(false);
        return S_OK;
    });
}

// ---- Storage

STDMETHODIMP ControlPersistence::InitNew(IStorage* storage) {
    return storage == nullptr ? E_POINTER : S_OK;
}

STDMETHODIMP ControlPersistence::Load(IStorage* storage) {
    if (storage == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        ComPtr<IStream> stream;
        const HRESULT result =
            storage->OpenStream(kStorageStream, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream);
        return FAILED(result) ? result : LoadFrom(*stream.Get());
    });
}

STDMETHODIMP ControlPersistence::Save(IStorage* storage, BOOL) {
    if (storage == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        ComPtr<IStream> stream;
        HRESULT result = storage->CreateStream(
            kStorageStream, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream);
        if (SUCCEEDED(result)) result = SaveTo(*stream.Get());
        if (SUCCEEDED(result)) m_owner.SetModifiedFlag(false);
        return result;
    });
}

STDMETHODIMP ControlPersistence::SaveCompleted(IStorage*) {
    return GuardedCall(m_owner, [&] {
        m_owner.Embedding().NotifySaved();
        return S_OK;
    });
}

STDMETHODIMP ControlPersistence::HandsOffStorage() {
    return S_OK;
}  // the storage is never kept

}  // namespace framework
