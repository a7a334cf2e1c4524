#include "control/NorixSDKPropPage.h"

#include <oleauto.h>
#include <wrl/client.h>

#include <string>

#include "control/Identity.h"
#include "framework/Dispatch.h"
#include "framework/ScopedVariant.h"
#include "ui/Texts.h"
#include "util/Handles.h"
#include "util/ScreenDpi.h"
#include "util/Text.h"

namespace norix {

namespace {

using Microsoft::WRL::ComPtr;

constexpr framework::ClassRegistration kRegistration = {
    .clsid = kPropertyPageClass,
    .description = L"NorixSDK Property Page",
};

constexpr wchar_t kReference[] = L"automation.md";
constexpr int kNoteLines = 2;

CNorixSDKPropPage::CNorixSDKPropPageFactory g_pageFactory;

DISPID IdOf(IDispatch& control, const wchar_t* member) {
    std::wstring name = member;
    LPOLESTR names = name.data();
    DISPID id = DISPID_UNKNOWN;
    control.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    return id;
}

/// A property as text; empty when it can't be read.
std::wstring Read(IDispatch& control, const wchar_t* member) {
    DISPPARAMS none = {};
    framework::ScopedVariant value;
    framework::ScopedVariant text;
    if (FAILED(control.Invoke(IdOf(control, member), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                              &none, &value, nullptr, nullptr)) ||
        FAILED(VariantChangeType(&text, &value, 0, VT_BSTR))) {
        return {};
    }
    return std::wstring(util::BstrView(text.bstrVal));
}

long ReadNumber(IDispatch& control, const wchar_t* member) {
    return std::wcstol(Read(control, member).c_str(), nullptr, 10);
}

bool Write(IDispatch& control, const wchar_t* member, VARIANT& value) {
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS arguments = {&value, &put, 1, 1};
    return SUCCEEDED(control.Invoke(IdOf(control, member), IID_NULL, LOCALE_USER_DEFAULT,
                                    DISPATCH_PROPERTYPUT, &arguments, nullptr, nullptr, nullptr));
}

void Call(IDispatch& control, const wchar_t* method) {
    DISPPARAMS none = {};
    control.Invoke(IdOf(control, method), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr,
                   nullptr, nullptr);
}

bool IsConnected(IDispatch& control) {
    return ReadNumber(control, L"ConnectStatus") == ecsConnected;
}

std::vector<std::wstring> Protocols() {
    std::vector<std::wstring> texts;
    for (const unsigned id : {IDS_PROTOCOL_UDP, IDS_PROTOCOL_TCP, IDS_PROTOCOL_HTTP, IDS_PROTOCOL_MULTICAST,
                              IDS_PROTOCOL_PUSH, IDS_PROTOCOL_USERS}) {
        texts.push_back(UiText(id));
    }
    return texts;
}

FormItem::Kind KindOf(const PageField& field) {
    switch (field.kind) {
        case PageField::Kind::Secret:
            return FormItem::Kind::Password;
        case PageField::Kind::Number:
            return FormItem::Kind::Number;
        case PageField::Kind::Protocol:
        case PageField::Kind::Presenter:
            return FormItem::Kind::Choice;
        case PageField::Kind::Flag:
            return FormItem::Kind::Check;
        default:
            return FormItem::Kind::Edit;
    }
}

Form MakeForm() {
    Form form;
    form.items.push_back({FormItem::Kind::Note, IDC_PAGE_VERSION, L" "});
    for (const PageField& field : kPageFields) {
        FormItem item = {KindOf(field), field.id, UiText(field.label)};
        if (field.kind == PageField::Kind::Presenter) item.widest = UiText(IDS_PAGE_PRESENTER_AUTO);
        form.items.push_back(item);
        if (field.kind == PageField::Kind::Secret)
            form.items.push_back({FormItem::Kind::Note, -1, UiText(IDS_PAGE_PASSWORD_KEPT)});
    }
    form.items.push_back({FormItem::Kind::Check, IDC_PAGE_CONNECT_AGAIN, UiText(IDS_PAGE_CONNECT_AGAIN)});
    FormItem note = {FormItem::Kind::Note, IDC_PAGE_NOTE, L""};
    note.lines = kNoteLines;
    form.items.push_back(note);
    form.buttons = {{IDC_PAGE_HELP, UiText(IDS_HELP)}};
    return form;
}

/// A label without the mark of its key and its colon.
std::wstring PlainLabel(unsigned label) {
    std::wstring text = UiText(label);
    std::erase_if(text, [](wchar_t c) { return c == L'&' || c == L':'; });
    return text;
}

}  // namespace

CNorixSDKPropPage::CNorixSDKPropPageFactory::CNorixSDKPropPageFactory() : COleObjectFactory(kRegistration) {}

IUnknown* CNorixSDKPropPage::CNorixSDKPropPageFactory::CreateObject() {
    return static_cast<IPropertyPage*>(new CNorixSDKPropPage());
}

CNorixSDKPropPage::CNorixSDKPropPage() : COlePropertyPage(UiText(IDS_PAGE_TITLE), kReference) {}

bool CNorixSDKPropPage::OnInit() {
    m_filling = true;
    const bool filled = m_controls.Fill(Handle(), MakeForm(), util::DpiOf(Handle()));
    m_controls.SetChoices(IDC_PAGE_PROTOCOL, Protocols(), -1);
    m_controls.SetChoices(IDC_PAGE_PRESENTER,
                          {UiText(IDS_PAGE_PRESENTER_AUTO), UiText(IDS_PAGE_PRESENTER_GDI)}, -1);
    m_filling = false;
    SetWindowPos(Handle(), nullptr, 0, 0, m_controls.Size().width, m_controls.Size().height,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    return filled;
}

// ---- From the control

void CNorixSDKPropPage::OnShowObject(IUnknown& object) {
    ComPtr<IDispatch> control;
    if (FAILED(object.QueryInterface(IID_PPV_ARGS(&control)))) return;
    m_filling = true;
    m_controls.SetText(IDC_PAGE_VERSION, Insert(UiText(IDS_PAGE_VERSION),
                                                {kControlName, Read(*control.Get(), L"VersionInfo")}));
    for (const PageField& field : kPageFields)
        ShowField(field, *control.Get());
    const bool connected = IsConnected(*control.Get());
    m_controls.SetChecked(IDC_PAGE_CONNECT_AGAIN, connected);
    m_controls.Enable(IDC_PAGE_CONNECT_AGAIN, connected);
    m_controls.SetText(IDC_PAGE_NOTE, L"");
    m_changed.clear();
    m_filling = false;
}

void CNorixSDKPropPage::ShowField(const PageField& field, IDispatch& control) {
    const auto select = [&](int position) {
        SendDlgItemMessageW(Handle(), field.id, CB_SETCURSEL, static_cast<WPARAM>(position), 0);
    };
    switch (field.kind) {
        case PageField::Kind::Secret:
            return m_controls.SetText(field.id, L"");
        case PageField::Kind::Protocol:
            return select(ProtocolPosition(ReadNumber(control, field.member)));
        case PageField::Kind::Presenter:
            return select(ReadNumber(control, field.member) != 0 ? 1 : 0);
        case PageField::Kind::Flag:
            return m_controls.SetChecked(field.id, ReadNumber(control, field.member) != 0);
        default:
            return m_controls.SetText(field.id, Read(control, field.member));
    }
}

// ---- By the user

void CNorixSDKPropPage::OnCommand(int id, int code) {
    if (id == IDC_PAGE_HELP && code == BN_CLICKED) {
        OnHelp();
        return;
    }
    const PageField* const field = FieldOf(id);
    if (m_filling || (field == nullptr && id != IDC_PAGE_CONNECT_AGAIN)) return;
    if (code == EN_SETFOCUS || code == CBN_SETFOCUS || code == BN_SETFOCUS) m_at = id;
    const bool list = field != nullptr && KindOf(*field) == FormItem::Kind::Choice;
    const bool box = field == nullptr || field->kind == PageField::Kind::Flag;
    if (code != (list ? int{CBN_SELCHANGE} : box ? int{BN_CLICKED} : int{EN_CHANGE})) return;
    m_at = id;
    if (field != nullptr) m_changed.insert(id);
    SetDirty();
}

/// Whether all numbers can be taken; the user is told of one that can't.
bool CNorixSDKPropPage::Check() {
    for (const int id : m_changed) {
        const PageField& field = *FieldOf(id);
        if (field.kind != PageField::Kind::Number || ParseField(field, m_controls.Text(id))) continue;
        m_controls.SetText(IDC_PAGE_NOTE, Insert(UiText(IDS_PAGE_BAD_NUMBER),
                                                 {PlainLabel(field.label), std::to_wstring(field.least),
                                                  std::to_wstring(field.most)}));
        m_controls.Focus(id);
        return false;
    }
    return true;
}

bool CNorixSDKPropPage::WriteField(const PageField& field, IDispatch& control) const {
    framework::ScopedVariant value;
    const auto number = [&](long written) {
        value.vt = VT_I4;
        value.lVal = written;
    };
    const std::wstring text = m_controls.Text(field.id);
    switch (field.kind) {
        case PageField::Kind::Number:
            number(ParseField(field, text).value_or(field.least));
            break;
        case PageField::Kind::Protocol:
            number(kPageProtocols.at(static_cast<std::size_t>(std::max(m_controls.Chosen(field.id), 0))));
            break;
        case PageField::Kind::Presenter:
            number(m_controls.Chosen(field.id) == 1 ? VARIANT_TRUE : VARIANT_FALSE);
            break;
        case PageField::Kind::Flag:
            number(m_controls.IsChecked(field.id) ? VARIANT_TRUE : VARIANT_FALSE);
            break;
        case PageField::Kind::Secret:
            if (text.empty()) return true;
            [[fallthrough]];
        default:
            framework::WriteVariant<framework::Text>(value, text);
    }
    return Write(control, field.member, value);
}

HRESULT CNorixSDKPropPage::OnApply() {
    if (!Check()) return E_INVALIDARG;
    const std::set<int> changed = m_changed;
    const bool again = m_controls.IsChecked(IDC_PAGE_CONNECT_AGAIN);
    bool taken = true;
    std::vector<ComPtr<IDispatch>> connected;
    for (const Object& object : std::vector<Object>(Objects())) {
        ComPtr<IDispatch> control;
        if (FAILED(object.As(&control))) continue;
        for (const int id : changed)
            taken = WriteField(*FieldOf(id), *control.Get()) && taken;
        if (again && IsConnected(*control.Get())) connected.push_back(control);
    }
    if (!taken) {
        m_controls.SetText(IDC_PAGE_NOTE, UiText(IDS_PAGE_NOT_TAKEN));
        return E_FAIL;
    }
    m_changed.clear();
    m_controls.SetText(IDC_PAGE_NOTE, L"");
    // Last: connecting waits for the camera, and the host may do anything meanwhile.
    for (const ComPtr<IDispatch>& control : connected) {
        Call(*control.Get(), L"Disconnect");
        Call(*control.Get(), L"Connect");
    }
    return S_OK;
}

// ---- Help

/// The reference's text on the member that the keyboard was at: the type library holds it.
HRESULT CNorixSDKPropPage::OnHelp() {
    const PageField* const field = FieldOf(m_at);
    const wchar_t* const member = field != nullptr ? field->member : L"Connect";
    ComPtr<IDispatch> control;
    ComPtr<ITypeInfo> type;
    util::UniqueBstr help;
    if (Objects().empty() || FAILED(Objects().front().As(&control)) ||
        FAILED(control->GetTypeInfo(0, LOCALE_USER_DEFAULT, &type)) ||
        FAILED(type->GetDocumentation(IdOf(*control.Get(), member), nullptr, help.Put(), nullptr, nullptr))) {
        return E_FAIL;
    }
    const std::wstring text(util::BstrView(help.Get()));
    MessageBoxW(Handle(), text.c_str(), member, MB_OK | MB_ICONINFORMATION);
    return S_OK;
}

}  // namespace norix
