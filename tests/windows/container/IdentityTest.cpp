// What the control says it is: interfaces, class information.

#include <objsafe.h>
#include <olectl.h>

#include "tests/windows/container/ContainerTest.h"

namespace {

using IdentityTest = ContainerTest;

const IID* const kInterfaces[] = {
    &IID_IUnknown,
    &IID_IDispatch,
    &IID_IOleObject,
    &IID_IOleControl,
    &IID_IOleInPlaceObject,
    &IID_IOleWindow,
    &IID_IOleInPlaceActiveObject,
    &IID_IViewObject,
    &IID_IViewObject2,
    &IID_IPersist,
    &IID_IPersistStreamInit,
    &IID_IPersistStorage,
    &IID_IPersistPropertyBag,
    &IID_IQuickActivate,
    &IID_IConnectionPointContainer,
    &IID_IProvideClassInfo,
    &IID_IProvideClassInfo2,
    &IID_ISpecifyPropertyPages,
    &IID_IObjectSafety,
    &IID_ISupportErrorInfo,
};

TEST_F(IdentityTest, IsOneObjectBehindAllInterfaces) {
    Create();
    ComPtr<IUnknown> identity;
    ASSERT_EQ(object.As(&identity), S_OK);
    const auto reachableFrom = [](IUnknown* from, REFIID iid) {
        ComPtr<IUnknown> found;
        return from->QueryInterface(iid, &found) == S_OK && found;
    };
    for (const IID* from : kInterfaces) {
        wchar_t name[64];
        StringFromGUID2(*from, name, 64);
        SCOPED_TRACE(testing::Message() << "from " << name);
        ComPtr<IUnknown> face;
        ASSERT_EQ(object->QueryInterface(*from, &face), S_OK);
        ComPtr<IUnknown> again;
        EXPECT_EQ(face->QueryInterface(IID_IUnknown, &again), S_OK);
        EXPECT_EQ(again, identity);
        for (const IID* to : kInterfaces)
            EXPECT_TRUE(reachableFrom(face.Get(), *to));
        EXPECT_TRUE(reachableFrom(face.Get(), ControlModule::AutomationInterface()));

        // A container that could activate without a window has to be told that we cannot.
        void* unknown = reinterpret_cast<void*>(1);
        EXPECT_EQ(face->QueryInterface(IID_IOleInPlaceObjectWindowless, &unknown), E_NOINTERFACE);
        EXPECT_EQ(unknown, nullptr);
    }
    identity.Reset();
}

TEST_F(IdentityTest, NamesItsClass) {
    Create();
    CLSID clsid{};
    EXPECT_EQ(object->GetUserClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, ControlModule::ControlClass());
    EXPECT_EQ(Query<IPersist>()->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, ControlModule::ControlClass());
    for (const DWORD form : {USERCLASSTYPE_FULL, USERCLASSTYPE_SHORT, USERCLASSTYPE_APPNAME}) {
        LPOLESTR name = nullptr;
        ASSERT_EQ(object->GetUserType(form, &name), S_OK);
        EXPECT_GT(wcslen(name), 0u);
        CoTaskMemFree(name);
    }
}

TEST_F(IdentityTest, TellsItsEventInterface) {
    Create();
    const auto info = Query<IProvideClassInfo2>();
    GUID guid{};
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &guid), S_OK);
    EXPECT_EQ(guid, ControlModule::EventInterface());
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID + 1, &guid), E_INVALIDARG);
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr), E_POINTER);

    const ControlInfo described = ReadControlInfo(object.Get());
    EXPECT_EQ(described.events.iid, ControlModule::EventInterface());
    EXPECT_EQ(described.automation.iid, ControlModule::AutomationInterface());
    EXPECT_EQ(info->GetClassInfo(nullptr), E_POINTER);
}

TEST_F(IdentityTest, DeclinesWhatALiveViewDoesNotDo) {
    Create();
    ComPtr<IMoniker> moniker;
    EXPECT_HRESULT_FAILED(object->GetMoniker(OLEGETMONIKER_ONLYIFTHERE, OLEWHICHMK_OBJFULL, &moniker));
    ComPtr<IDataObject> data;
    EXPECT_HRESULT_FAILED(object->GetClipboardData(0, &data));
    EXPECT_HRESULT_FAILED(object->InitFromData(nullptr, TRUE, 0));
    EXPECT_HRESULT_FAILED(object->SetColorScheme(nullptr));
    EXPECT_EQ(object->Update(), S_OK);
    EXPECT_EQ(object->IsUpToDate(), S_OK);
    CONTROLINFO keys{};
    keys.cb = sizeof(keys);
    EXPECT_EQ(Query<IOleControl>()->GetControlInfo(&keys), S_OK);
    EXPECT_EQ(keys.cAccel, 0);
}

}  // namespace
