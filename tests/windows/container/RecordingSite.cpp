#include "tests/windows/container/RecordingSite.h"

#include <oleauto.h>

#include <cstring>

STDMETHODIMP ZoneManager::GetSecurityId(BYTE* id, DWORD* size, DWORD_PTR) {
    static constexpr char kSite[] = "http:www.example";
    constexpr DWORD kLength = sizeof(kSite) - 1;
    if (!readable || *size < kLength + sizeof(zone)) return E_FAIL;
    std::memcpy(id, kSite, kLength);
    std::memcpy(id + kLength, &zone, sizeof(zone));
    *size = kLength + sizeof(zone);
    return S_OK;
}

RecordingSite::~RecordingSite() {
    EXPECT_FALSE(inPlaceActive_) << "the control never took its in-place activation back";
    EXPECT_FALSE(uiActive_) << "the control never took its UI activation back";
}

void* RecordingSite::Find(REFIID iid) {
    const bool inPlace = iid == IID_IOleWindow || iid == IID_IOleInPlaceSite;
    if (inPlace) return offersInPlace ? static_cast<IOleInPlaceSite*>(this) : nullptr;
    if (iid == IID_IOleControlSite && !offersControlSite) return nullptr;
    if (iid == IID_IServiceProvider && !offersManager) return nullptr;
    if (iid == IID_IDispatch && !offersAmbients) return nullptr;
    return TestObject::Find(iid);
}

STDMETHODIMP RecordingSite::OnInPlaceActivate() {
    EXPECT_FALSE(inPlaceActive_) << "activated in place twice";
    const HRESULT answer = Answer("OnInPlaceActivate");
    if (SUCCEEDED(answer)) inPlaceActive_ = true;
    return answer;
}

STDMETHODIMP RecordingSite::OnUIActivate() {
    EXPECT_TRUE(inPlaceActive_) << "UI-activated without being in-place active";
    EXPECT_FALSE(uiActive_) << "UI-activated twice";
    const HRESULT answer = Answer("OnUIActivate");
    if (SUCCEEDED(answer)) uiActive_ = true;
    return answer;
}

STDMETHODIMP RecordingSite::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                             LPRECT where, LPRECT visible, LPOLEINPLACEFRAMEINFO info) {
    *frame = nullptr;
    *document = nullptr;
    if (const HRESULT answer = Answer("GetWindowContext"); FAILED(answer)) return answer;
    EXPECT_GE(info->cb, sizeof(OLEINPLACEFRAMEINFO)) << "the frame information's size was not filled in";
    if (offersFrame) {
        *frame = &frame_;
        frame_.AddRef();
    }
    *where = position;
    *visible = clip;
    info->fMDIApp = FALSE;
    info->hwndFrame = window_;
    info->haccel = nullptr;
    info->cAccelEntries = 0;
    return S_OK;
}

STDMETHODIMP RecordingSite::OnUIDeactivate(BOOL) {
    EXPECT_TRUE(uiActive_) << "UI-deactivated without being UI-active";
    uiActive_ = false;
    return Answer("OnUIDeactivate");
}

STDMETHODIMP RecordingSite::OnInPlaceDeactivate() {
    EXPECT_TRUE(inPlaceActive_) << "deactivated in place without being active";
    EXPECT_FALSE(uiActive_) << "deactivated in place while UI-active";
    inPlaceActive_ = false;
    return Answer("OnInPlaceDeactivate");
}

STDMETHODIMP RecordingSite::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO*, UINT*) {
    EXPECT_TRUE(flags & DISPATCH_PROPERTYGET) << "ambient properties can only be read";
    EXPECT_NE(parameters, nullptr);
    EXPECT_NE(result, nullptr);
    const auto ambient = ambients.find(id);
    if (ambient == ambients.end()) return DISP_E_MEMBERNOTFOUND;
    return VariantCopy(result, &ambient->second);
}
