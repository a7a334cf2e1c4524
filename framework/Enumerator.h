#pragma once

#include <windows.h>

#include <unknwn.h>

#include <utility>
#include <vector>

#include "framework/EntryPoint.h"
#include "framework/Module.h"

namespace framework {

/// A COM enumerator over a fixed list. `Traits` says how an item is copied into the caller's element:
/// `static void Copy(Element& to, const Item& from)` (adds the reference that the caller will release).
template <class Interface, class Item, class Element, class Traits>
class Enumerator final : public Interface {
  public:
    /// A new enumerator with one reference. Throws std::bad_alloc.
    static Interface* Create(std::vector<Item> items, std::size_t position = 0) {
        return new Enumerator(std::move(items), position);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != __uuidof(Interface)) return E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP Next(ULONG count, Element* elements, ULONG* fetched) override {
        if (elements == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
        ULONG done = 0;
        for (; done < count && m_position < m_items.size(); ++done, ++m_position) {
            Traits::Copy(elements[done], m_items[m_position]);
        }
        if (fetched != nullptr) *fetched = done;
        return done == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t left = m_items.size() - m_position;
        m_position += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        m_position = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** copy) override {
        if (copy == nullptr) return E_POINTER;
        *copy = nullptr;
        return Guarded([&] {
            *copy = Create(m_items, m_position);
            return S_OK;
        });
    }

  private:
    Enumerator(std::vector<Item> items, std::size_t position)
        : m_items(std::move(items)), m_position(position) {}
    ~Enumerator() = default;

    const ModuleLock m_moduleLock;
    const std::vector<Item> m_items;
    std::size_t m_position;
    ULONG m_references = 1;  // the creating thread's apartment only
};

}  // namespace framework
