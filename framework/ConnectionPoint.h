#pragma once

#include <windows.h>

#include <ocidl.h>
#include <wrl/client.h>

#include <array>
#include <vector>

#include "framework/InterfacePart.h"

namespace framework {

class COleControl;
class ConnectionPointContainer;

/// One outgoing interface of a control: the sinks a host has advised. Window thread only.
class ConnectionPoint final : public IConnectionPoint {
  public:
    ConnectionPoint(ConnectionPointContainer& container, REFIID iid);
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetConnectionInterface(IID* iid) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
    /// CONNECT_E_CANNOTCONNECT when the sink has not the connection's interface.
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections** enumerator) override;

    REFIID Interface() const { return m_iid; }
    bool HasSinks() const { return !m_sinks.empty(); }

    /// Calls `call(sink)` for every sink advised now. Sinks may be advised and unadvised, and the control
    /// released, from inside: the list that is walked is a copy that holds references.
    template <class Sink, class Call>
    void ForEach(Call&& call) const {
        if (m_sinks.empty()) return;
        std::vector<Microsoft::WRL::ComPtr<IUnknown>> sinks;
        sinks.reserve(m_sinks.size());
        for (const Entry& entry : m_sinks)
            sinks.push_back(entry.sink);
        for (const auto& sink : sinks)
            call(*static_cast<Sink*>(sink.Get()));
    }

  private:
    struct Entry {
        DWORD cookie;
        Microsoft::WRL::ComPtr<IUnknown> sink;  // the connection's interface, stored under its first base
    };

    ConnectionPointContainer& m_container;
    const IID m_iid;
    std::vector<Entry> m_sinks;
    DWORD m_lastCookie = 0;
};

/// The control's outgoing interfaces: its events and property change notifications.
class ConnectionPointContainer final : public InterfacePart<COleControl, IConnectionPointContainer> {
  public:
    ConnectionPointContainer(COleControl& owner, REFIID events);

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** enumerator) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

    ConnectionPoint& Events() { return m_events; }
    ConnectionPoint& PropertyNotifications() { return m_propertyNotifications; }

  private:
    ConnectionPoint m_events;
    ConnectionPoint m_propertyNotifications;
};

}  // namespace framework
