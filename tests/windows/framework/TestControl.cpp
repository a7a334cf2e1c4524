#include "tests/windows/framework/TestControl.h"

#include <new>
#include <stdexcept>

#include "framework/EntryPoint.h"

namespace framework::test {

namespace {

using T = Thermometer;
using S = Thermometer::State;

constexpr DispatchMember kMembers[] = {
    StoredProperty<T, &S::degrees, &T::OnDegreesChanged>(T::kDegrees, L"Degrees"),
    StoredProperty<T, &S::place, &T::OnChanged>(T::kPlace, L"Place"),
    StoredProperty<T, &S::celsius, &T::OnChanged>(T::kCelsius, L"Celsius"),
    StoredProperty<T, &S::factor, &T::OnChanged>(T::kFactor, L"Factor"),
    StoredProperty<T, &S::digits, &T::OnChanged>(T::kDigits, L"Digits"),
    ReadOnlyProperty<&T::GetKelvin>(T::kKelvin, L"Kelvin"),
    StoredProperty<T, &S::secret, &T::OnChanged>(T::kSecret, L"Secret", Persistence::LoadOnly),
    AccessorProperty<&T::GetLimit, &T::SetLimit>(T::kLimit, L"Limit"),
    Method<&T::Difference>(T::kDifference, L"Difference"),
    Method<&T::Describe>(T::kDescribe, L"Describe"),
    Method<&T::Fail>(T::kFail, L"Fail"),
    Method<&T::Reset>(T::kReset, L"Reset"),
};

constexpr ControlClass kThermometer = {
    .clsid = kThermometerClass,
    .userType = L"Thermometer",
    .typeLibrary = {},
    .dispatchInterface = kThermometerInterface,
    .eventInterface = kThermometerEvents,
    .propertyPage = kThermometerPage,
    .miscStatus = OLEMISC_INSIDEOUT,
    .initialSize = {64, 48},
};

constexpr ClassRegistration kRegistration = {
    .clsid = kThermometerClass,
    .description = L"Thermometer for framework tests",
    .versionIndependentProgId = L"FrameworkTests.Thermometer",
    .progId = L"FrameworkTests.Thermometer.1",
    .typeLibrary = kThermometerInterface,
    .version = L"1.0",
    .miscStatus = OLEMISC_INSIDEOUT,
    .toolboxBitmap = 7,
};

ThermometerFactory g_factory;

}  // namespace

int Thermometer::s_living = 0;

Thermometer::Thermometer() : COleControl(kThermometer, Table()) {
    ++s_living;
}

Thermometer::~Thermometer() {
    if (onDestroy) onDestroy();
    --s_living;
}

void Thermometer::OnDegreesChanged() {
    SetModifiedFlag();
    if (onDegreesChanged) onDegreesChanged();
}

void Thermometer::SetLimit(long limit) {
    if (limit < 0) throw HResultError{E_INVALIDARG};
    m_limit = limit;
}

Text Thermometer::Describe(const Text& place, bool celsius, double value, short digits) const {
    return place + (celsius ? L":C:" : L":F:") + std::to_wstring(static_cast<long>(value * 1000)) + L':' +
           std::to_wstring(digits);
}

void Thermometer::Fail(short kind) {
    switch (static_cast<Failure>(kind)) {
        case Failure::HResult:
            throw HResultError{STG_E_ACCESSDENIED};
        case Failure::Memory:
            throw std::bad_alloc();
        case Failure::Standard:
            throw std::runtime_error("Fail");
        case Failure::Anything:
            throw 1;
    }
}

void Thermometer::Reset() {
    m_state = {};
}

const DispatchTable& Thermometer::Table() {
    static const DispatchTable table(kMembers);
    return table;
}

LRESULT Thermometer::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case kFireChanged:
            if (onMessage) onMessage();
            FireEvent(events::Changed, static_cast<long>(wParam));
            return Properties().degrees;
        case kThrow:
            throw std::runtime_error("OnMessage");
        default:
            return COleControl::OnMessage(message, wParam, lParam);
    }
}

ThermometerFactory::ThermometerFactory() : COleObjectFactory(kRegistration) {}

IUnknown* ThermometerFactory::CreateObject() {
    if (std::exchange(failNext, false)) throw std::bad_alloc();
    return static_cast<IDispatch*>(new Thermometer());
}

ThermometerFactory& Factory() {
    return g_factory;
}

}  // namespace framework::test
