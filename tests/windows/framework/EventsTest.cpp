// Connection points and events: who hears what, in which order, while hosts come and go and freeze events.

#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>
#include <olectl.h>
#include <wrl/client.h>

#include <optional>

#include "tests/windows/framework/EventRecorder.h"
#include "tests/windows/framework/TestControl.h"
#include "tests/windows/framework/TestObject.h"

namespace framework::test {
namespace {

using Microsoft::WRL::ComPtr;
using Texts = std::vector<std::string>;

/// A sink that only knows IUnknown.
class DeafSink final : public TestObject<IUnknown> {};

class PropertySink final : public TestObject<IPropertyNotifySink> {
  public:
    std::vector<DISPID> changed;

    STDMETHODIMP OnChanged(DISPID id) override {
        changed.push_back(id);
        return S_OK;
    }
    STDMETHODIMP OnRequestEdit(DISPID) override { return S_OK; }
};

class Events : public testing::Test {
  protected:
    ~Events() override { EXPECT_EQ(m_control->Release(), 0u); }

    ComPtr<IConnectionPoint> Point(REFIID iid) {
        ComPtr<IConnectionPointContainer> container;
        ComPtr<IConnectionPoint> point;
        EXPECT_EQ(m_control->QueryInterface(IID_PPV_ARGS(&container)), S_OK);
        EXPECT_EQ(container->FindConnectionPoint(iid, &point), S_OK);
        return point;
    }
    void Freeze(bool freeze) {
        ComPtr<IOleControl> control;
        ASSERT_EQ(m_control->QueryInterface(IID_PPV_ARGS(&control)), S_OK);
        EXPECT_EQ(control->FreezeEvents(freeze), S_OK);
    }
    void FireChanged(long value) { m_control->FireEvent(events::Changed, value); }

    Thermometer* const m_control = new Thermometer();
};

TEST_F(Events, ArriveWithTheirArguments) {
    EventRecorder sink(*m_control, kThermometerEvents, events::kAll);
    EventRecorder lateBound(*m_control, kThermometerEvents, events::kAll, true);
    VARIANT answer;
    answer.vt = VT_I4;
    answer.lVal = 1;
    sink.onEvent = [](DISPID id, DISPPARAMS& arguments) {
        if (id == events::Asked.id) arguments.rgvarg[0].pvarVal->lVal = 2;
    };
    m_control->FireEvent(events::Changed, -5);
    m_control->FireEvent(events::Measured, short{3}, true, 0.5);
    m_control->FireEvent(events::Asked, &answer);
    m_control->FireEvent(events::Idle);
    const Texts expected = {"Changed(-5)", "Measured(3s, true, 0.5d)", "Asked(&{1})", "Idle()"};
    EXPECT_EQ(sink.Events(), expected);
    EXPECT_EQ(answer.lVal, 2);  // what the host put in its place comes back
    EXPECT_EQ(lateBound.Events().size(), expected.size());
}

TEST_F(Events, OneFailingSinkDoesNotSilenceTheOthers) {
    EventRecorder failing(*m_control, kThermometerEvents, events::kAll);
    EventRecorder other(*m_control, kThermometerEvents, events::kAll);
    failing.answer = E_FAIL;
    FireChanged(1);
    EXPECT_EQ(failing.Events(), other.Events());
}

TEST_F(Events, SinksMayComeAndGoInsideHandlers) {
    std::optional<EventRecorder> first(std::in_place, *m_control, kThermometerEvents, events::kAll);
    EventRecorder second(*m_control, kThermometerEvents, events::kAll);
    std::optional<EventRecorder> late;
    first->onEvent = [&](DISPID, DISPPARAMS&) {
        first->StopListening();
        second.StopListening();
        if (!late) late.emplace(*m_control, kThermometerEvents, events::kAll);
    };
    FireChanged(1);
    EXPECT_EQ(first->Events(), Texts{"Changed(1)"});
    // Who was there when the event began hears it, who came after does not.
    EXPECT_EQ(second.Events(), Texts{"Changed(1)"});
    EXPECT_EQ(late->Events(), Texts());
    FireChanged(2);
    EXPECT_EQ(first->Events().size(), 1u);
    EXPECT_EQ(second.Events().size(), 1u);
    EXPECT_EQ(late->Events(), Texts{"Changed(2)"});
}

TEST_F(Events, AdviseRefusesWhatCannotListen) {
    const ComPtr<IConnectionPoint> point = Point(kThermometerEvents);
    DeafSink deaf;
    DWORD cookie = 99;
    EXPECT_EQ(point->Advise(&deaf, &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(cookie, 0u);
    EXPECT_EQ(Point(IID_IPropertyNotifySink)->Advise(&deaf, &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(point->Advise(nullptr, &cookie), E_POINTER);
    EXPECT_EQ(point->Advise(&deaf, nullptr), E_POINTER);
    EXPECT_EQ(point->Unadvise(0), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(point->Unadvise(1), CONNECT_E_NOCONNECTION);
}

TEST_F(Events, TellOfPropertiesThatChange) {
    PropertySink sink;
    const ComPtr<IConnectionPoint> point = Point(IID_IPropertyNotifySink);
    DWORD cookie = 0;
    ASSERT_EQ(point->Advise(&sink, &cookie), S_OK);
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = -1;
    EXPECT_EQ(Put(*m_control, Thermometer::kDegrees, value), S_OK);
    EXPECT_EQ(Put(*m_control, Thermometer::kLimit, value), E_INVALIDARG);       // nothing was stored
    EXPECT_EQ(Put(*m_control, Thermometer::kKelvin, value), DISP_E_EXCEPTION);  // read-only
    EXPECT_EQ(sink.changed, std::vector<DISPID>{Thermometer::kDegrees});
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(Put(*m_control, Thermometer::kDegrees, value), S_OK);
    EXPECT_EQ(sink.changed.size(), 1u);
}

TEST_F(Events, FrozenOnesComeInOrderAfterTheLastThaw) {
    EventRecorder sink(*m_control, kThermometerEvents, events::kAll);
    VARIANT answer;
    VariantInit(&answer);
    Freeze(true);
    Freeze(true);
    FireChanged(1);
    m_control->FireEvent(events::Asked, &answer);  // nobody could answer any more
    m_control->FireEvent(events::Said, Text(L"kept"));
    Freeze(false);
    FireChanged(2);
    EXPECT_EQ(sink.Events(), Texts());
    Freeze(false);
    EXPECT_EQ(sink.Take(), (Texts{"Changed(1)", "Said(\"kept\")", "Changed(2)"}));
    Freeze(false);  // once too often
    FireChanged(3);
    EXPECT_EQ(sink.Take(), Texts{"Changed(3)"});
    Freeze(true);
    FireChanged(4);
    EXPECT_EQ(sink.Take(), Texts());
    Freeze(false);
    EXPECT_EQ(sink.Take(), Texts{"Changed(4)"});
}

// An event that a handler causes while older ones still wait has to come after them.
TEST_F(Events, FiredInsideTheThawDoNotOvertake) {
    EventRecorder sink(*m_control, kThermometerEvents, events::kAll);
    Freeze(true);
    FireChanged(1);
    FireChanged(2);
    bool fired = false;
    sink.onEvent = [&](DISPID, DISPPARAMS&) {
        if (!std::exchange(fired, true)) FireChanged(3);
    };
    Freeze(false);
    EXPECT_EQ(sink.Events(), (Texts{"Changed(1)", "Changed(2)", "Changed(3)"}));
}

TEST_F(Events, HeldBackAreLimited) {
    EventRecorder sink(*m_control, kThermometerEvents, events::kAll);
    Freeze(true);
    for (long i = 0; i < 10'000; ++i)
        FireChanged(i);
    Freeze(false);
    ASSERT_FALSE(sink.Events().empty());
    EXPECT_LT(sink.Events().size(), 1000u);
    EXPECT_EQ(sink.Events().back(), "Changed(9999)");  // the oldest gave way
}

}  // namespace
}  // namespace framework::test
