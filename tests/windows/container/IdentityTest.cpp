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

}  // namespace
