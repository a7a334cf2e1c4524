#include "tests/windows/framework/EventRecorder.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <algorithm>
#include <cstdio>

namespace framework::test {

namespace {

std::string Narrow(const BSTR text) {
    std::string narrow;
    for (UINT i = 0; i < SysStringLen(text); ++i)
        narrow += text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    return '"' + narrow + '"';
}

std::string Bytes(SAFEARRAY& array) {
    LONG lower = -1;
    LONG upper = -1;
    if (SafeArrayGetDim(&array) != 1 || FAILED(SafeArrayGetLBound(&array, 1, &lower)) || lower != 0 ||
        FAILED(SafeArrayGetUBound(&array, 1, &upper))) {
        return "[not from 0]";
    }
    std::string text;
    for (LONG i = 0; i <= upper; ++i) {
        unsigned char byte = 0;
        SafeArrayGetElement(&array, &i, &byte);
        char hex[4];
        std::snprintf(hex, sizeof hex, "%s%02X", text.empty() ? "" : " ", byte);
        text += hex;
    }
    return '[' + text + ']';
}

}  // namespace

std::string ToText(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
            return "empty";
        case VT_I2:
            return std::to_string(value.iVal) + "s";
        case VT_I4:
            return std::to_string(value.lVal);
        case VT_R8: {
            char text[32];
            std::snprintf(text, sizeof text, "%gd", value.dblVal);
            return text;
        }
        case VT_BOOL:
            return value.boolVal == VARIANT_TRUE    ? "true"
                   : value.boolVal == VARIANT_FALSE ? "false"
                                                    : "bool?";
        case VT_BSTR:
            return Narrow(value.bstrVal);
        case VT_ARRAY | VT_UI1:
            return Bytes(*value.parray);
        case VT_BYREF | VT_BSTR:
            return '&' + Narrow(*value.pbstrVal);
        case VT_BYREF | VT_VARIANT:
            return "&{" + ToText(*value.pvarVal) + '}';
        default:
            return "type " + std::to_string(value.vt);
    }
}

std::string ToText(const DISPPARAMS& parameters) {
    std::string text;
    for (UINT i = parameters.cArgs; i > 0; --i)
        text += (text.empty() ? "" : ", ") + ToText(parameters.rgvarg[i - 1]);
    return text;
}

HRESULT Put(IDispatch& object, DISPID id, VARIANT value) {
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&value, &put, 1, 1};
    return object.Invoke(id, IID_NULL, LOCALE_INVARIANT, DISPATCH_PROPERTYPUT, &parameters, nullptr, nullptr,
                         nullptr);
}

EventRecorder::EventRecorder(IUnknown& control, REFIID events, std::span<const EventDescription> names,
                             bool lateBound)
    : m_interface(events), m_names(names), m_lateBound(lateBound) {
    IConnectionPointContainer* container = nullptr;
    EXPECT_EQ(control.QueryInterface(IID_PPV_ARGS(&container)), S_OK);
    if (container == nullptr) return;
    EXPECT_EQ(container->FindConnectionPoint(events, &m_point), S_OK);
    container->Release();
    if (m_point != nullptr) {
        EXPECT_EQ(m_point->Advise(this, &m_cookie), S_OK);
        EXPECT_NE(m_cookie, 0u);
    }
}

EventRecorder::~EventRecorder() {
    StopListening();
}

void EventRecorder::StopListening() {
    if (m_point == nullptr) return;
    EXPECT_EQ(m_point->Unadvise(m_cookie), S_OK);
    std::exchange(m_point, nullptr)->Release();
}

STDMETHODIMP EventRecorder::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT*,
                                   EXCEPINFO*, UINT*) {
    EXPECT_TRUE(iid == IID_NULL);
    EXPECT_EQ(flags, DISPATCH_METHOD);
    EXPECT_EQ(parameters->cNamedArgs, 0u);
    if (std::find(m_ignored.begin(), m_ignored.end(), id) == m_ignored.end()) {
        const auto known =
            std::find_if(m_names.begin(), m_names.end(), [&](const auto& event) { return event.id == id; });
        std::string name = "event " + std::to_string(id);
        if (known != m_names.end()) name.assign(known->name, known->name + wcslen(known->name));
        m_events.push_back(name + '(' + ToText(*parameters) + ')');
    }
    if (onEvent) onEvent(id, *parameters);
    return answer;
}

}  // namespace framework::test
