#include "control/NorixSDKPropPage.h"

#include <oleauto.h>
#include <wrl/client.h>

#include <string>

#include "control/Identity.h"
#include "control/resource.h"
#include "framework/ScopedVariant.h"

namespace norix {

namespace {

constexpr framework::ClassRegistration kRegistration = {
    .clsid = kPropertyPageClass,
    .description = L"NorixSDK Property Page",
};

CNorixSDKPropPage::CNorixSDKPropPageFactory g_pageFactory;

std::wstring ReadVersion(IUnknown& object) {
    Microsoft::WRL::ComPtr<IDispatch> control;
    if (FAILED(object.QueryInterface(IID_PPV_ARGS(&control)))) return {};
    std::wstring name = L"VersionInfo";
    LPOLESTR names = name.data();
    DISPID id = DISPID_UNKNOWN;
    DISPPARAMS none = {};
    framework::ScopedVariant value;
    if (SUCCEEDED(control->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id)) &&
        SUCCEEDED(control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &value,
                                  nullptr, nullptr)) &&
        value.vt == VT_BSTR && value.bstrVal != nullptr) {
        return value.bstrVal;
    }
    return {};
}

}  // namespace

CNorixSDKPropPage::CNorixSDKPropPageFactory::CNorixSDKPropPageFactory() : COleObjectFactory(kRegistration) {}

IUnknown* CNorixSDKPropPage::CNorixSDKPropPageFactory::CreateObject() {
    return new CNorixSDKPropPage();
}

CNorixSDKPropPage::CNorixSDKPropPage() : COlePropertyPage(IDD_PROPERTY_PAGE, L"General") {}

void CNorixSDKPropPage::OnShowObject(HWND dialog, IUnknown& object) {
    const std::wstring text = std::wstring(kControlName) + L", version " + ReadVersion(object);
    SetDlgItemTextW(dialog, IDC_PROPERTY_TEXT, text.c_str());
}

}  // namespace norix
