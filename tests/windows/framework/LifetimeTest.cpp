// A host may do anything from inside a call of the control: drop its last reference, destroy the window, call
// back. And it may run with floating point exceptions unmasked.

#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>

#include <optional>

#include "framework/Module.h"
#include "tests/windows/framework/EventRecorder.h"
#include "tests/windows/framework/TestControl.h"

namespace framework::test {
namespace {

using Texts = std::vector<std::string>;

HRESULT PutDegrees(IDispatch& control, long degrees) {
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = degrees;
    return Put(control, Thermometer::kDegrees, value);
}

TEST(Lifetime, LastReferenceGoesWhileHeldEventsAreDelivered) {
    auto* control = new Thermometer();
    EventRecorder sink(*control, kThermometerEvents, events::kAll);
    IOleControl* frozen = nullptr;
    ASSERT_EQ(control->QueryInterface(IID_PPV_ARGS(&frozen)), S_OK);
    frozen->FreezeEvents(TRUE);
    control->FireEvent(events::Changed, 1);
    control->FireEvent(events::Changed, 2);
    control->Release();
    sink.onEvent = [&](DISPID, DISPPARAMS&) {
        if (sink.Events().size() != 1) return;
        sink.StopListening();
        frozen->Release();
        EXPECT_EQ(Thermometer::Living(), 1);
    };
    EXPECT_EQ(frozen->FreezeEvents(FALSE), S_OK);
    EXPECT_EQ(Thermometer::Living(), 0);
    EXPECT_EQ(sink.Events(), Texts{"Changed(1)"});
}

// ---- The floating point environment of the host

/// All x87 exceptions but the inexact result unmasked and 24 bits of precision: what some hosts run with.
class UnmaskedFpu {
  public:
    UnmaskedFpu() {
        asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(m_control), "=m"(m_sse));
        Load(kHostControl, kHostSse);
    }
    ~UnmaskedFpu() { Load(m_control, m_sse); }

    static bool IsUntouched() {
        unsigned short control = 0;
        unsigned sse = 0;
        // The wait would trap, were an exception of the control's still pending.
        asm volatile("fwait\n\tfnstcw %0\n\tstmxcsr %1" : "=m"(control), "=m"(sse));
        return (control & 0xF3F) == (kHostControl & 0xF3F) && (sse & 0xFF80) == kHostSse;
    }

  private:
    static constexpr unsigned short kHostControl = 0x0020;
    static constexpr unsigned kHostSse = 0x1000;  // invalid, zero divide, overflow, underflow unmasked

    static void Load(unsigned short control, unsigned sse) {
        asm volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(control), "m"(sse) : "memory");
    }

    unsigned short m_control = 0;
    unsigned m_sse = 0;
};

/// Would end the program if the exceptions were still unmasked.
void DivideByZero() {
    volatile double zero = 0.0;
    volatile double quotient = 1.0 / zero;
    EXPECT_GT(quotient, 1.0);
    double x87;
    asm volatile("fld1\n\tfldz\n\tfdivrp\n\tfstpl %0" : "=m"(x87));
}

TEST(FloatingPoint, ExceptionsOfTheHostDoNotReachTheControl) {
    auto* control = new Thermometer();
    ASSERT_TRUE(control->CreateHiddenWindow());
    int calls = 0;
    control->onDegreesChanged = [&] {
        DivideByZero();
        ++calls;
    };
    control->onMessage = [&] {
        DivideByZero();
        ++calls;
    };
    control->onDestroy = control->onMessage;
    // The host's handlers run in its own, and calls that they make in the control's again.
    EventRecorder sink(*control, kThermometerEvents, events::kAll);
    sink.onEvent = [&](DISPID, DISPPARAMS&) {
        EXPECT_TRUE(UnmaskedFpu::IsUntouched());
        EXPECT_EQ(PutDegrees(*control, 4), S_OK);
        EXPECT_TRUE(UnmaskedFpu::IsUntouched());
    };
    {
        const UnmaskedFpu host;
        ASSERT_TRUE(UnmaskedFpu::IsUntouched());
        EXPECT_EQ(PutDegrees(*control, 3), S_OK);
        EXPECT_TRUE(UnmaskedFpu::IsUntouched());
        SendMessageW(control->Handle(), Thermometer::kFireChanged, 1, 0);
        EXPECT_TRUE(UnmaskedFpu::IsUntouched());
        sink.StopListening();
        EXPECT_EQ(control->Release(), 0u);
        EXPECT_TRUE(UnmaskedFpu::IsUntouched());
    }
    EXPECT_EQ(calls, 4);
    EXPECT_EQ(sink.Events().size(), 1u);
}

}  // namespace
}  // namespace framework::test
