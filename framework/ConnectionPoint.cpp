#include "framework/ConnectionPoint.h"

#include <olectl.h>

#include <algorithm>

#include "framework/Adopt.h"
#include "framework/EntryPoint.h"
#include "framework/Enumerator.h"
#include "framework/OleControl.h"

namespace framework {

using Microsoft::WRL::ComPtr;

namespace {

struct CopyConnection {
    static void Copy(CONNECTDATA& to, const std::pair<DWORD, ComPtr<IUnknown>>& from) {
        to.dwCookie = from.first;
        from.second.CopyTo(&to.pUnk);
    }
};
using ConnectionEnumerator =
    Enumerator<IEnumConnections, std::pair<DWORD, ComPtr<IUnknown>>, CONNECTDATA, CopyConnection>;

struct CopyPoint {
    static void Copy(IConnectionPoint*& to, const ComPtr<IConnectionPoint>& from) { from.CopyTo(&to); }
};
using PointEnumerator =
    Enumerator<IEnumConnectionPoints, ComPtr<IConnectionPoint>, IConnectionPoint*, CopyPoint>;

}  // namespace

ConnectionPoint::ConnectionPoint(ConnectionPointContainer& container, REFIID iid)
    : m_container(container), m_iid(iid) {}

// A connection point has an identity of its own but lives and dies with its control.
STDMETHODIMP ConnectionPoint::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IConnectionPoint) return E_NOINTERFACE;
    *object = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) ConnectionPoint::AddRef() {
    return m_container.AddRef();
}

STDMETHODIMP_(ULONG) ConnectionPoint::Release() {
    return m_container.Release();
}

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* iid) {
    if (iid == nullptr) return E_POINTER;
    *iid = m_iid;
    return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) {
    if (container == nullptr) return E_POINTER;
    m_container.AddRef();
    *container = &m_container;
    return S_OK;
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
    if (cookie != nullptr) *cookie = 0;
    if (sink == nullptr || cookie == nullptr) return E_POINTER;
    return Guarded([&] {
        // Late bound hosts may implement plain IDispatch instead of the event interface.
        void* outgoing = nullptr;
        if (FAILED(sink->QueryInterface(m_iid, &outgoing)) &&
            (m_iid == IID_IPropertyNotifySink || FAILED(sink->QueryInterface(IID_IDispatch, &outgoing)))) {
            return CONNECT_E_CANNOTCONNECT;
        }
        m_sinks.push_back({m_lastCookie + 1, Adopt(static_cast<IUnknown*>(outgoing))});
        *cookie = ++m_lastCookie;
        return S_OK;
    });
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie) {
    return Guarded([&] {
        const auto found = std::find_if(m_sinks.begin(), m_sinks.end(),
                                        [&](const Entry& entry) { return entry.cookie == cookie; });
        if (found == m_sinks.end()) return CONNECT_E_NOCONNECTION;
        // The sink's last reference may call back into this point: it goes only when the list is whole.
        const Entry removed = std::move(*found);
        m_sinks.erase(found);
        return S_OK;
    });
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** enumerator) {
    if (enumerator == nullptr) return E_POINTER;
    *enumerator = nullptr;
    return Guarded([&] {
        std::vector<std::pair<DWORD, ComPtr<IUnknown>>> connections;
        for (const Entry& entry : m_sinks)
            connections.emplace_back(entry.cookie, entry.sink);
        *enumerator = ConnectionEnumerator::Create(std::move(connections));
        return S_OK;
    });
}

ConnectionPointContainer::ConnectionPointContainer(COleControl& owner, REFIID events)
    : InterfacePart(owner),
      m_events(*this, events),
      m_propertyNotifications(*this, IID_IPropertyNotifySink) {}

STDMETHODIMP ConnectionPointContainer::EnumConnectionPoints(IEnumConnectionPoints** enumerator) {
    if (enumerator == nullptr) return E_POINTER;
    *enumerator = nullptr;
    return Guarded([&] {
        *enumerator = PointEnumerator::Create({&m_events, &m_propertyNotifications});
        return S_OK;
    });
}

STDMETHODIMP ConnectionPointContainer::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    for (ConnectionPoint* candidate : {&m_events, &m_propertyNotifications}) {
        if (candidate->Interface() == iid) {
            candidate->AddRef();
            *point = candidate;
            return S_OK;
        }
    }
    return CONNECT_E_NOCONNECTION;
}

}  // namespace framework
