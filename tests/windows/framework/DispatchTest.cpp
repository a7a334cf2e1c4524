// IDispatch over a dispatch table: what hosts may pass, and what they get for what they must not pass.

#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>
#include <olectl.h>

#include <bit>
#include <limits>
#include <vector>

#include "tests/windows/framework/EventRecorder.h"
#include "tests/windows/framework/TestControl.h"

namespace framework::test {
namespace {

VARIANT OfType(VARTYPE type, ULONGLONG bits = 0) {
    VARIANT variant{};
    variant.vt = type;
    variant.ullVal = bits;
    return variant;
}
VARIANT Short(short value) {
    return OfType(VT_I2, static_cast<USHORT>(value));
}
VARIANT Long(long value) {
    return OfType(VT_I4, static_cast<ULONG>(value));
}
VARIANT Double(double value) {
    return OfType(VT_R8, std::bit_cast<ULONGLONG>(value));
}
VARIANT Reference(VARTYPE type, void* to) {
    VARIANT variant;
    variant.vt = static_cast<VARTYPE>(VT_BYREF | type);
    variant.byref = to;
    return variant;
}
VARIANT Missing() {
    return OfType(VT_ERROR, static_cast<ULONG>(DISP_E_PARAMNOTFOUND));
}

/// What came of a call.
struct Outcome {
    HRESULT result = S_OK;
    std::string value;
    UINT argument = 99;  // left alone
    SCODE exception = 0;
};

class Dispatch : public testing::Test {
  protected:
    ~Dispatch() override { EXPECT_EQ(m_control->Release(), 0u); }

    /// `arguments` as rgvarg has them: the last one first.
    Outcome Invoke(DISPID id, WORD flags, std::vector<VARIANT> arguments = {},
                   std::vector<DISPID> named = {}) {
        DISPPARAMS parameters = {arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                                 static_cast<UINT>(named.size())};
        return Invoke(id, flags, &parameters);
    }
    Outcome Invoke(DISPID id, WORD flags, DISPPARAMS* parameters) {
        Outcome outcome;
        VARIANT value = Long(4711);  // as uninitialised as hosts pass it
        EXCEPINFO exception = {};
        outcome.result = m_control->Invoke(id, IID_NULL, LOCALE_INVARIANT, flags, parameters, &value,
                                           &exception, &outcome.argument);
        outcome.value = ToText(value);
        outcome.exception = exception.scode;
        EXPECT_NE(outcome.value, "4711");
        VariantClear(&value);
        SysFreeString(exception.bstrSource);
        SysFreeString(exception.bstrDescription);
        return outcome;
    }
    Outcome Put(DISPID id, const VARIANT& value) {
        return Invoke(id, DISPATCH_PROPERTYPUT, {value}, {DISPID_PROPERTYPUT});
    }
    std::string Get(DISPID id) { return Invoke(id, DISPATCH_PROPERTYGET).value; }

    Thermometer* const m_control = new Thermometer();
};

TEST_F(Dispatch, TakesNumbersOfEveryType) {
    struct {
        VARTYPE type;
        ULONGLONG bits;
    } const cases[] = {{VT_I1, 7},  {VT_UI1, 7},  {VT_I2, 7},          {VT_UI2, 7},
                       {VT_I4, 7},  {VT_UI4, 7},  {VT_I8, 7},          {VT_UI8, 7},
                       {VT_INT, 7}, {VT_UINT, 7}, {VT_R4, 0x40E00000}, {VT_CY, 70000}};
    for (const auto& c : cases) {
        m_control->Reset();
        EXPECT_EQ(Put(Thermometer::kDegrees, OfType(c.type, c.bits)).result, S_OK) << c.type;
        EXPECT_EQ(Get(Thermometer::kDegrees), "7") << c.type;
        ULONGLONG bits = c.bits;
        EXPECT_EQ(Put(Thermometer::kDigits, Reference(c.type, &bits)).result, S_OK) << c.type;
        EXPECT_EQ(Get(Thermometer::kDigits), "7s") << c.type;
    }
    EXPECT_EQ(Put(Thermometer::kDegrees, Double(-2.4)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "-2");
    EXPECT_EQ(Put(Thermometer::kDegrees, OfType(VT_EMPTY)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "0");
    EXPECT_EQ(Put(Thermometer::kDegrees, OfType(VT_BOOL, 0xFFFF)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "-1");
    EXPECT_EQ(Put(Thermometer::kCelsius, Long(5)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kCelsius), "true");
    EXPECT_EQ(Put(Thermometer::kFactor, Short(3)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kFactor), "3d");
}

// Scripts pass variables: a reference to a variant that itself may be a reference.
TEST_F(Dispatch, FollowsReferences) {
    long number = 8;
    VARIANT inner = Reference(VT_I4, &number);
    VARIANT middle = Reference(VT_VARIANT, &inner);
    EXPECT_EQ(Put(Thermometer::kDegrees, inner).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "8");
    number = 9;
    EXPECT_EQ(Put(Thermometer::kDegrees, middle).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "9");
    number = 10;
    EXPECT_EQ(Put(Thermometer::kDegrees, Reference(VT_VARIANT, &middle)).result, S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "10");

    // What cannot be followed is refused.
    VARIANT itself = {};
    itself = Reference(VT_VARIANT, &itself);
    for (const VARIANT& bad : {itself, Reference(VT_VARIANT, nullptr), Reference(VT_I4, nullptr),
                               Reference(VT_BSTR, nullptr), Reference(VT_DISPATCH, nullptr)}) {
        EXPECT_EQ(Put(Thermometer::kDegrees, bad).result, DISP_E_TYPEMISMATCH) << bad.vt;
    }
    EXPECT_EQ(Get(Thermometer::kDegrees), "10");
}

TEST_F(Dispatch, RefusesWhatDoesNotFit) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 1);
    VARIANT arrayValue = OfType(VT_ARRAY | VT_I4);
    arrayValue.parray = array;
    VARIANT text = OfType(VT_BSTR);
    text.bstrVal = SysAllocString(L"warm");
    VARIANT object = OfType(VT_DISPATCH);
    object.pdispVal = m_control;
    const struct {
        const char* what;
        DISPID id;
        VARIANT value;
        HRESULT expected;
    } cases[] = {
        {"beyond a short", Thermometer::kDigits, Long(32768), DISP_E_OVERFLOW},
        {"below a short", Thermometer::kDigits, Long(-32769), DISP_E_OVERFLOW},
        {"beyond a long", Thermometer::kDegrees, Double(2147483648.0), DISP_E_OVERFLOW},
        {"a text for a number", Thermometer::kDegrees, text, DISP_E_TYPEMISMATCH},
        {"null", Thermometer::kDegrees, OfType(VT_NULL), DISP_E_TYPEMISMATCH},
        {"no object", Thermometer::kDegrees, OfType(VT_DISPATCH), DISP_E_TYPEMISMATCH},
        {"an object without a value", Thermometer::kPlace, object, DISP_E_TYPEMISMATCH},
        {"an array", Thermometer::kPlace, arrayValue, DISP_E_TYPEMISMATCH},
        {"an error", Thermometer::kDegrees, OfType(VT_ERROR), DISP_E_TYPEMISMATCH},
        {"no such type", Thermometer::kDegrees, OfType(0x0FFF), DISP_E_TYPEMISMATCH},
        {"nothing", Thermometer::kDegrees, Missing(), DISP_E_PARAMNOTOPTIONAL},
    };
    for (const auto& c : cases) {
        const Outcome outcome = Put(c.id, c.value);
        EXPECT_EQ(outcome.result, c.expected) << c.what;
        EXPECT_EQ(outcome.argument, 0u) << c.what;
    }
    EXPECT_EQ(Get(Thermometer::kDegrees), "20");
    EXPECT_EQ(Get(Thermometer::kDigits), "1s");
    SysFreeString(text.bstrVal);
    SafeArrayDestroy(array);
}

TEST_F(Dispatch, OrdersPositionalAndNamedArguments) {
    const auto call = [&](std::vector<VARIANT> arguments, std::vector<DISPID> named = {}) {
        return Invoke(Thermometer::kDifference, DISPATCH_METHOD, std::move(arguments), std::move(named));
    };
    EXPECT_EQ(call({Long(2), Long(7)}).value, "5");  // last argument first
    EXPECT_EQ(call({Long(7), Long(2)}, {0, 1}).value, "5");
    EXPECT_EQ(call({Long(2), Long(7)}, {1, 0}).value, "5");
    EXPECT_EQ(call({Long(2), Long(7)}, {1}).value, "5");  // the rest by position

    EXPECT_EQ(call({Long(2), Long(7)}, {0}).result, DISP_E_PARAMNOTFOUND);  // given twice
    EXPECT_EQ(call({Long(2), Long(7)}, {1, 1}).result, DISP_E_PARAMNOTFOUND);
    for (const DISPID unknown :
         {2L, -1L, 16L, std::numeric_limits<DISPID>::max(), std::numeric_limits<DISPID>::min(),
          static_cast<DISPID>(DISPID_PROPERTYPUT)}) {
        const Outcome outcome = call({Long(2), Long(7)}, {1, unknown});
        EXPECT_EQ(outcome.result, DISP_E_PARAMNOTFOUND) << unknown;
        EXPECT_EQ(outcome.argument, 1u) << unknown;
    }
    for (const std::size_t count : {0u, 1u, 3u, 17u}) {
        EXPECT_EQ(call(std::vector<VARIANT>(count, Long(1))).result, DISP_E_BADPARAMCOUNT) << count;
    }
}

// The index counts as rgvarg does.
TEST_F(Dispatch, SaysWhichArgumentIsWrong) {
    const VARIANT place = OfType(VT_EMPTY);
    const VARIANT null = OfType(VT_NULL);
    const struct {
        std::vector<VARIANT> arguments;  // digits, value, celsius, place
        HRESULT result;
        UINT argument;
    } cases[] = {
        {{Long(2), Double(1.5), Long(1), place}, S_OK, 99},
        {{Long(99999), Double(1.5), Long(1), place}, DISP_E_OVERFLOW, 0},
        {{Long(2), null, Long(1), place}, DISP_E_TYPEMISMATCH, 1},
        {{Long(2), Double(1.5), Missing(), place}, DISP_E_PARAMNOTOPTIONAL, 2},
        {{Long(2), Double(1.5), Long(1), null}, DISP_E_TYPEMISMATCH, 3},
    };
    for (const auto& c : cases) {
        const Outcome outcome = Invoke(Thermometer::kDescribe, DISPATCH_METHOD, c.arguments);
        EXPECT_EQ(outcome.result, c.result);
        EXPECT_EQ(outcome.argument, c.argument);
        EXPECT_EQ(outcome.value, SUCCEEDED(c.result) ? "\":C:1500:2\"" : "empty");
    }
    const Outcome named =
        Invoke(Thermometer::kDescribe, DISPATCH_METHOD, {place, null, Double(1.5), Long(1)}, {0, 3, 2, 1});
    EXPECT_EQ(named.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(named.argument, 1u);
}

TEST_F(Dispatch, TellsPropertiesFromMethods) {
    const struct {
        DISPID id;
        WORD flags;
        HRESULT expected;
    } cases[] = {
        {Thermometer::kDegrees, DISPATCH_PROPERTYGET, S_OK},
        {Thermometer::kDegrees, DISPATCH_METHOD | DISPATCH_PROPERTYGET, S_OK},  // as scripts ask
        {Thermometer::kDegrees, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {Thermometer::kDegrees, 0, DISP_E_MEMBERNOTFOUND},
        {Thermometer::kReset, DISPATCH_METHOD, S_OK},
        {Thermometer::kReset, DISPATCH_METHOD | DISPATCH_PROPERTYGET, S_OK},
        {Thermometer::kReset, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},
        {0, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {19, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},  // a gap
        {24, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {DISPID_PROPERTYPUT, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {std::numeric_limits<DISPID>::max(), DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {std::numeric_limits<DISPID>::min(), DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Invoke(c.id, c.flags).result, c.expected) << c.id << ", flags " << c.flags;
    EXPECT_EQ(Invoke(Thermometer::kReset, DISPATCH_PROPERTYPUT, {Long(1)}, {DISPID_PROPERTYPUT}).result,
              DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYGET, {Long(1)}).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(Dispatch, PutsPropertiesInEveryHostsWay) {
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYPUT, {Long(1)}).result, S_OK);  // not named
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYPUTREF, {Long(2)}, {DISPID_PROPERTYPUT}).result,
              S_OK);
    EXPECT_EQ(Get(Thermometer::kDegrees), "2");
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYPUT, {Long(3)}, {0}).result,
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYPUT).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(Invoke(Thermometer::kDegrees, DISPATCH_PROPERTYPUT, {Long(3), Long(4)}).result,
              DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(Get(Thermometer::kDegrees), "2");

    const Outcome readOnly = Put(Thermometer::kKelvin, Double(0));
    EXPECT_EQ(readOnly.result, DISP_E_EXCEPTION);
    EXPECT_EQ(readOnly.exception, CTL_E_SETNOTSUPPORTED);
    EXPECT_EQ(Get(Thermometer::kKelvin), "275.15d");
}

TEST_F(Dispatch, TurnsExceptionsIntoResults) {
    const struct {
        Failure failure;
        HRESULT expected;
    } cases[] = {{Failure::HResult, STG_E_ACCESSDENIED},
                 {Failure::Memory, E_OUTOFMEMORY},
                 {Failure::Standard, E_UNEXPECTED},
                 {Failure::Anything, E_UNEXPECTED}};
    for (const auto& c : cases) {
        const Outcome outcome =
            Invoke(Thermometer::kFail, DISPATCH_METHOD, {Short(static_cast<short>(c.failure))});
        EXPECT_EQ(outcome.result, c.expected);
        EXPECT_EQ(outcome.value, "empty");
    }
    EXPECT_EQ(Put(Thermometer::kLimit, Long(-1)).result, E_INVALIDARG);
    EXPECT_EQ(Get(Thermometer::kLimit), "100");

    ASSERT_TRUE(m_control->CreateHiddenWindow());
    EXPECT_EQ(SendMessageW(m_control->Handle(), Thermometer::kThrow, 0, 0), 0);
    EXPECT_EQ(SendMessageW(m_control->Handle(), Thermometer::kFireChanged, 0, 0), 20);  // it goes on
}

}  // namespace
}  // namespace framework::test
