#pragma once

#include <windows.h>

#include <unknwn.h>

namespace framework {

/// A part of a COM object that implements some of its interfaces in a class of its own.
///
/// The part is a member of its owner: reference counts and QueryInterface belong to the owner. `Owner` has
/// the three IUnknown methods; the first interface listed serves a base interface that several share.
template <class Owner, class... Interfaces>
class InterfacePart : public Interfaces... {
  public:
    explicit InterfacePart(Owner& owner) : m_owner(owner) {}
    InterfacePart(const InterfacePart&) = delete;
    InterfacePart& operator=(const InterfacePart&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return m_owner.QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return m_owner.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_owner.Release(); }

    /// The pointer for `iid` (no reference added), or null when this part does not implement it.
    void* Find(REFIID iid) {
        void* found = nullptr;
        ((iid == __uuidof(Interfaces) && (found = static_cast<Interfaces*>(this), true)) || ...);
        return found;
    }

  protected:
    ~InterfacePart() = default;

    Owner& m_owner;
};

}  // namespace framework
