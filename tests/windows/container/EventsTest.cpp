// Connection points: sinks come and go, also in the middle of an event, and so does the control.

#include <olectl.h>

#include "samples/host/Values.h"
#include "tests/windows/container/ContainerTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PropertySink final : public TestObject<IPropertyNotifySink> {
  public:
    STDMETHODIMP OnChanged(DISPID id) override {
        changed.push_back(id);
        return S_OK;
    }
    STDMETHODIMP OnRequestEdit(DISPID) override { return S_OK; }
    std::vector<DISPID> changed;
};

// A sink that knows only IDispatch, or fails every call.
class PlainSink final : public TestObject<IDispatch> {
  public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        ++calls;
        EXPECT_EQ(iid, IID_NULL);
        EXPECT_EQ(flags, DISPATCH_METHOD);
        EXPECT_NE(parameters, nullptr);
        return result;
    }
    bool hasEventInterface = true;
    HRESULT result = S_OK;
    int calls = 0;

  protected:
    void* Find(REFIID iid) override {
        if (iid == ControlModule::EventInterface())
            return hasEventInterface ? static_cast<IDispatch*>(this) : nullptr;
        return TestObject::Find(iid);
    }
};

class EventsTest : public ContainerTest {
  protected:
    void SetUp() override {
        ContainerTest::SetUp();
        if (HasFatalFailure()) return;
        CreateInSite();
        DoVerb(OLEIVERB_INPLACEACTIVATE);
        IgnoreCalls();
    }
    void TearDown() override {
        first.Unadvise();
        second.Unadvise();
        ContainerTest::TearDown();
    }
    ComPtr<IConnectionPoint> Point(REFIID iid = ControlModule::EventInterface()) {
        ComPtr<IConnectionPoint> point;
        EXPECT_EQ(Query<IConnectionPointContainer>()->FindConnectionPoint(iid, &point), S_OK);
        return point;
    }

    EventRecorder first;
    EventRecorder second;
};

TEST_F(EventsTest, EverySinkHearsEveryEvent) {
    FireEvent(Automation());  // nobody listens
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    ASSERT_EQ(second.Advise(object.Get()), S_OK);
    FireEvent(Automation());
    EXPECT_THAT(first.events, ElementsAre(kDisconnectEvent));
    EXPECT_THAT(second.events, ElementsAre(kDisconnectEvent));
    first.Unadvise();
    FireEvent(Automation());
    EXPECT_THAT(first.events, ElementsAre(kDisconnectEvent));
    EXPECT_THAT(second.events, ElementsAre(kDisconnectEvent, kDisconnectEvent));
}

TEST_F(EventsTest, TellNothingOfTheUserWhileTheContainerSaysSo) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    const auto move = [&] { SendMessageW(ControlWindow(), WM_MOUSEMOVE, 0, MAKELPARAM(3, 4)); };
    for (const VARIANT_BOOL dead : {VARIANT_TRUE, VARIANT_FALSE}) {
        site.ambients[DISPID_AMBIENT_UIDEAD].vt = VT_BOOL;
        site.ambients[DISPID_AMBIENT_UIDEAD].boolVal = dead;
        EXPECT_EQ(Query<IOleControl>()->OnAmbientPropertyChange(DISPID_AMBIENT_UIDEAD), S_OK);
        move();
    }
    EXPECT_THAT(first.events, ElementsAre("OnMouseMove(3,4)"));
}

TEST_F(EventsTest, AcceptsOnlyProperSinks) {
    const auto point = Point();
    PlainSink stranger;
    stranger.hasEventInterface = false;
    PropertySink wrong;
    DWORD cookie = 4711;
    EXPECT_EQ(point->Advise(&wrong, &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(cookie, 0u);
    EXPECT_HRESULT_FAILED(point->Advise(nullptr, &cookie));
    EXPECT_HRESULT_FAILED(point->Advise(&stranger, nullptr));
    EXPECT_EQ(stranger.References(), 0);

    PlainSink sink;
    ASSERT_EQ(point->Advise(&sink, &cookie), S_OK);
    EXPECT_NE(cookie, 0u);
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(point->Unadvise(0), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(sink.References(), 0);
}

TEST_F(EventsTest, DoesNotReuseACookie) {
    const auto point = Point();
    PlainSink sink;
    DWORD earlier = 0;
    DWORD later = 0;
    ASSERT_EQ(point->Advise(&sink, &earlier), S_OK);
    ASSERT_EQ(point->Unadvise(earlier), S_OK);
    ASSERT_EQ(point->Advise(&sink, &later), S_OK);
    EXPECT_NE(earlier, later) << "a late second Unadvise would cut somebody else off";
    EXPECT_EQ(point->Unadvise(later), S_OK);
}

TEST_F(EventsTest, EnumeratesPointsAndConnections) {
    const auto container = Query<IConnectionPointContainer>();
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_EQ(container->EnumConnectionPoints(&points), S_OK);
    std::vector<IID> found;
    ComPtr<IConnectionPoint> point;
    ULONG fetched = 0;
    while (points->Next(1, point.ReleaseAndGetAddressOf(), &fetched) == S_OK) {
        IID iid{};
        EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
        found.push_back(iid);
        ComPtr<IConnectionPointContainer> owner;
        EXPECT_EQ(point->GetConnectionPointContainer(&owner), S_OK);
        EXPECT_EQ(owner, container);
    }
    EXPECT_EQ(std::count(found.begin(), found.end(), ControlModule::EventInterface()), 1);
    EXPECT_EQ(std::count(found.begin(), found.end(), IID_IPropertyNotifySink), 1);
    EXPECT_EQ(points->Reset(), S_OK);
    EXPECT_EQ(points->Skip(static_cast<ULONG>(found.size())), S_OK);
    EXPECT_EQ(points->Skip(1), S_FALSE);
    ComPtr<IEnumConnectionPoints> clone;
    ASSERT_EQ(points->Clone(&clone), S_OK);
    EXPECT_EQ(clone->Next(1, point.ReleaseAndGetAddressOf(), nullptr), S_FALSE);
    EXPECT_EQ(container->FindConnectionPoint(IID_IDispatch, &point), CONNECT_E_NOCONNECTION);
    EXPECT_EQ(point, nullptr);

    PlainSink sink;
    const auto events = Point();
    DWORD cookies[2]{};
    for (DWORD& cookie : cookies)
        ASSERT_EQ(events->Advise(&sink, &cookie), S_OK);
    ComPtr<IEnumConnections> connections;
    ASSERT_EQ(events->EnumConnections(&connections), S_OK);
    CONNECTDATA data[3]{};
    EXPECT_EQ(connections->Next(3, data, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    for (ULONG i = 0; i < fetched; ++i) {
        EXPECT_EQ(data[i].dwCookie, cookies[i]);
        data[i].pUnk->Release();
    }
    // The list stays as it was when it was made.
    EXPECT_EQ(connections->Reset(), S_OK);
    EXPECT_EQ(events->Unadvise(cookies[0]), S_OK);
    EXPECT_EQ(events->Unadvise(cookies[1]), S_OK);
    EXPECT_EQ(connections->Next(1, data, &fetched), S_OK);
    data[0].pUnk->Release();
    connections.Reset();
}

TEST_F(EventsTest, APointOutlivesNothingButItsControl) {
    auto point = Point();
    CloseControl();
    automation.Reset();
    EXPECT_GT(object.Reset(), 0u);  // the point is part of the control
    PlainSink sink;
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(&sink, &cookie), S_OK);
    EXPECT_EQ(point.Reset(), 0u);  // and lets its sinks go with it
    IgnoreCalls();
}

TEST_F(EventsTest, AFailingSinkDoesNotStopTheOthers) {
    PlainSink failing;
    failing.result = E_FAIL;
    DWORD cookie = 0;
    ASSERT_EQ(Point()->Advise(&failing, &cookie), S_OK);
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    FireEvent(Automation());
    EXPECT_EQ(failing.calls, 1);
    EXPECT_THAT(first.events, ElementsAre(kDisconnectEvent));
    EXPECT_EQ(Point()->Unadvise(cookie), S_OK);
}

TEST_F(EventsTest, HoldsFrozenEventsBack) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    const auto control = Query<IOleControl>();
    EXPECT_EQ(control->FreezeEvents(TRUE), S_OK);
    EXPECT_EQ(control->FreezeEvents(TRUE), S_OK);
    FireEvent(Automation());
    EXPECT_EQ(control->FreezeEvents(FALSE), S_OK);
    EXPECT_THAT(first.events, IsEmpty()) << "frozen twice, thawed once";
    EXPECT_EQ(control->FreezeEvents(FALSE), S_OK);
    FireEvent(Automation());
    EXPECT_THAT(first.events, ElementsAre(kDisconnectEvent, kDisconnectEvent));
    EXPECT_EQ(control->FreezeEvents(FALSE), S_OK);  // one too many does not freeze for ever
    FireEvent(Automation());
    EXPECT_EQ(first.events.size(), 3u);
    // The last reference goes while events are frozen and held.
    EXPECT_EQ(control->FreezeEvents(TRUE), S_OK);
    FireEvent(Automation());
}

TEST_F(EventsTest, TellsAboutChangedProperties) {
    PropertySink sink;
    DWORD cookie = 0;
    const auto point = Point(IID_IPropertyNotifySink);
    ASSERT_EQ(point->Advise(&sink, &cookie), S_OK);
    SetProperty(Automation(), L"ServerIP", L"192.0.2.1");
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    const auto heard = sink.changed.size();
    EXPECT_LE(heard, 1u);
    SetProperty(Automation(), L"ServerIP", L"192.0.2.2");
    EXPECT_EQ(sink.changed.size(), heard);
}

// ---- Inside an event handler a host may do anything
// ---------------------------------------------------------

TEST_F(EventsTest, HandlerMayDisconnectItselfAndOthers) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    ASSERT_EQ(second.Advise(object.Get()), S_OK);
    first.inHandler = [&] {
        first.Unadvise();
        second.Unadvise();
    };
    FireEvent(Automation());
    FireEvent(Automation());
    EXPECT_THAT(first.events, ElementsAre(kDisconnectEvent));
    EXPECT_LE(second.events.size(), 1u);  // it may have been on the way already
}

TEST_F(EventsTest, HandlerMayConnectMoreSinks) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    first.inHandler = [&] {
        first.inHandler = nullptr;
        EXPECT_EQ(second.Advise(object.Get()), S_OK);
    };
    FireEvent(Automation());
    FireEvent(Automation());
    EXPECT_EQ(first.events.size(), 2u);
    EXPECT_GE(second.events.size(), 1u);
}

TEST_F(EventsTest, HandlerMayCallTheControl) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    first.inHandler = [&] {
        first.inHandler = nullptr;
        SetProperty(Automation(), L"ServerIP", L"192.0.2.9");
        SetProperty(Automation(), L"Display", false);
        CallMethod(Automation(), L"Disconnect");
        EXPECT_EQ(static_cast<short>(GetProperty(Automation(), L"ConnectStatus")), 2);
    };
    FireEvent(Automation());
    EXPECT_GE(first.events.size(), 1u);
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"ServerIP")), L"192.0.2.9");
}

TEST_F(EventsTest, HandlerMayFreezeAndThaw) {
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    const auto control = Query<IOleControl>();
    first.inHandler = [&] {
        control->FreezeEvents(TRUE);
        control->FreezeEvents(FALSE);
    };
    control->FreezeEvents(TRUE);
    FireEvent(Automation());
    FireEvent(Automation());
    control->FreezeEvents(FALSE);
    EXPECT_EQ(first.events.size(), 2u) << "an event was lost or came twice";
}

TEST_F(EventsTest, HandlerMayDeactivateAndClose) {
    DoVerb(OLEIVERB_UIACTIVATE);
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    first.inHandler = [&] { CloseControl(); };
    FireEvent(Automation());
    EXPECT_EQ(ControlWindow(), nullptr);
    EXPECT_EQ(site.References(), 0);
    IgnoreCalls();
}

TEST_F(EventsTest, HandlerMayDestroyTheContainersWindow) {
    DoVerb(OLEIVERB_UIACTIVATE);
    ASSERT_EQ(first.Advise(object.Get()), S_OK);
    first.inHandler = [&] { window.Destroy(); };
    FireEvent(Automation());
    EXPECT_EQ(ControlWindow(), nullptr);
    EXPECT_FALSE(site.InPlaceActive());
    IgnoreCalls();
}

TEST_F(EventsTest, HandlerMayLetGoOfTheControl) {
    // One event comes by way of the window, the other straight from the method.
    for (const wchar_t* method : {L"Disconnect", L"Connect"}) {
        SCOPED_TRACE(ToUtf8(method));
        if (!object) {
            CreateInSite();
            DoVerb(OLEIVERB_INPLACEACTIVATE);
        }
        ASSERT_EQ(first.Advise(object.Get()), S_OK);
        ASSERT_EQ(second.Advise(object.Get()), S_OK);
        IDispatch* borrowed = Automation();
        first.inHandler = [&] {
            first.Unadvise();
            second.Unadvise();
            CloseControl();
            automation.Reset();
            object.Reset();
            EXPECT_EQ(module.CanUnloadNow(), S_FALSE) << "the control has gone from under its own event";
        };
        CallMethod(borrowed, method);  // the last reference goes while the call is still running
        EXPECT_EQ(site.References(), 0);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        IgnoreCalls();
    }
}

}  // namespace
