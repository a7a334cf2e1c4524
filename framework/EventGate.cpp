#include "framework/EventGate.h"

#include <oleauto.h>

#include <algorithm>

#include "framework/EntryPoint.h"
#include "framework/OleControl.h"
#include "util/FpuGuard.h"

namespace framework {

namespace {
/// A host that never thaws must not grow the control: the oldest event gives way.
constexpr std::size_t kMaxHeld = 256;

bool IsByReference(std::span<const VARIANT> arguments) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [](const VARIANT& argument) { return (argument.vt & VT_BYREF) != 0; });
}

class Thawing {
  public:
    explicit Thawing(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Thawing() { m_flag = false; }
    Thawing(const Thawing&) = delete;
    Thawing& operator=(const Thawing&) = delete;

  private:
    bool& m_flag;
};

}  // namespace

EventGate::~EventGate() {
    for (Held& held : m_held)
        Clear(held);
}

void EventGate::Fire(DISPID id, std::span<VARIANT> arguments) {
    // What a handler causes while older events still wait must not overtake them.
    if (m_frozen != 0 || (m_thawing && !m_held.empty() && !IsByReference(arguments))) {
        Hold(id, arguments);
    } else {
        Deliver(id, arguments);
    }
}

void EventGate::Thaw() {
    if (m_frozen == 0 || --m_frozen != 0 || m_thawing) return;
    const KeepAlive<COleControl> keep(m_owner);
    const Thawing thawing(m_thawing);
    while (m_frozen == 0 && !m_held.empty()) {  // a handler may freeze again
        Held held = std::move(m_held.front());
        m_held.pop_front();
        Deliver(held.id, held.arguments);
        Clear(held);
    }
}

void EventGate::Deliver(DISPID id, std::span<VARIANT> arguments) {
    const KeepAlive<COleControl> keep(m_owner);
    m_owner.ConnectionPoints().Events().ForEach<IDispatch>([&](IDispatch& sink) {
        DISPPARAMS parameters = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        const util::HostFpu fpu;
        // What a handler answers concerns nobody here: one failing sink must not silence the others.
        sink.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr,
                    nullptr);
    });
}

void EventGate::Hold(DISPID id, std::span<VARIANT> arguments) {
    if (IsByReference(arguments) || !m_owner.ConnectionPoints().Events().HasSinks()) return;
    if (m_held.size() == kMaxHeld) {
        Clear(m_held.front());
        m_held.pop_front();
    }
    Held& held = m_held.emplace_back(Held{id, std::vector<VARIANT>(arguments.size())});
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        VariantInit(&held.arguments[i]);
        VariantCopy(&held.arguments[i], &arguments[i]);
    }
}

void EventGate::Clear(Held& held) {
    for (VARIANT& argument : held.arguments)
        VariantClear(&argument);
}

}  // namespace framework
