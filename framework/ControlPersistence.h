#pragma once

#include <windows.h>

#include <objidl.h>
#include <ocidl.h>

#include "framework/InterfacePart.h"
#include "framework/PropertyStream.h"

namespace framework {

class COleControl;
struct DispatchMember;

/// Stores and loads the control's properties: in a stream, in a storage, or by name in a property bag (the
/// `<param>` values of a page). Which properties take part says the dispatch table. Entries that the table
/// does not know, or whose type does not fit, are passed over.
class ControlPersistence final
    : public InterfacePart<COleControl, IPersistStreamInit, IPersistStorage, IPersistPropertyBag> {
  public:
    using InterfacePart::InterfacePart;

    /// Also answers for IPersist, the base of all three.
    void* Find(REFIID iid);

    /// IPersist
    STDMETHODIMP GetClassID(CLSID* clsid) override;
    /// IPersistStreamInit, IPersistPropertyBag
    STDMETHODIMP InitNew() override;
    STDMETHODIMP IsDirty() override;
    STDMETHODIMP Load(IStream* stream) override;
    STDMETHODIMP Save(IStream* stream, BOOL clearDirty) override;
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) override;
    STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* log) override;
    STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;
    /// IPersistStorage
    STDMETHODIMP InitNew(IStorage* storage) override;
    STDMETHODIMP Load(IStorage* storage) override;
    STDMETHODIMP Save(IStorage* storage, BOOL sameAsLoad) override;
    STDMETHODIMP SaveCompleted(IStorage* storage) override;
    STDMETHODIMP HandsOffStorage() override;

  private:
    PropertySet Collect() const;
    HRESULT LoadFrom(IStream& stream);
    HRESULT SaveTo(IStream& stream);
};

}  // namespace framework
