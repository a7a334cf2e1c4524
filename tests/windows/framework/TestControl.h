#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "framework/ObjectFactory.h"
#include "framework/OleControl.h"

namespace framework::test {

inline constexpr CLSID kThermometerClass = {
    0x7C1F0B52, 0x3A0E, 0x4E0B, {0x9D, 0x1E, 0x61, 0x0A, 0x44, 0x7B, 0x10, 0x01}};
inline constexpr IID kThermometerInterface = {
    0x7C1F0B52, 0x3A0E, 0x4E0B, {0x9D, 0x1E, 0x61, 0x0A, 0x44, 0x7B, 0x10, 0x02}};
inline constexpr IID kThermometerEvents = {
    0x7C1F0B52, 0x3A0E, 0x4E0B, {0x9D, 0x1E, 0x61, 0x0A, 0x44, 0x7B, 0x10, 0x03}};
inline constexpr CLSID kThermometerPage = {
    0x7C1F0B52, 0x3A0E, 0x4E0B, {0x9D, 0x1E, 0x61, 0x0A, 0x44, 0x7B, 0x10, 0x04}};

namespace events {
inline constexpr Event<long> Changed{1, L"Changed"};
inline constexpr Event<short, bool, double> Measured{2, L"Measured"};
inline constexpr Event<VARIANT*> Asked{3, L"Asked"};
inline constexpr Event<> Idle{4, L"Idle"};
inline constexpr Event<Text> Said{5, L"Said"};
inline constexpr std::array kAll{Describe(Changed), Describe(Measured), Describe(Asked), Describe(Idle),
                                 Describe(Said)};
}  // namespace events

/// What Thermometer::Fail throws.
enum class Failure { HResult, Memory, Standard, Anything };

/// A small control with nothing of a camera: whatever works with it is the framework's doing.
class Thermometer final : public COleControl {
  public:
    struct State {
        long degrees = 20;
        Text place;
        bool celsius = true;
        double factor = 1.0;
        short digits = 1;
        Text secret;
    };
    /// DISPIDs.
    enum Member : DISPID {
        kDegrees = 1,
        kPlace = 2,
        kCelsius = 3,
        kFactor = 4,
        kDigits = 5,
        kKelvin = 6,  // read-only
        kSecret = 7,
        kLimit = 8,  // accessor functions; refuses negative values
        kDifference = 20,
        kDescribe = 21,
        kFail = 22,
        kReset = 23,
    };
    /// What the window understands: fires Changed(wParam).
    static constexpr UINT kFireChanged = WM_APP + 1;
    static constexpr UINT kThrow = WM_APP + 2;

    Thermometer();

    State& Properties() { return m_state; }
    static int Living() { return s_living; }

    /// Runs inside a property put, in the change handler of Degrees.
    std::function<void()> onDegreesChanged;
    /// Runs inside OnMessage, for kFireChanged, before the event.
    std::function<void()> onMessage;
    /// Runs inside the destructor.
    std::function<void()> onDestroy;

    void OnDegreesChanged();
    void OnChanged() { SetModifiedFlag(); }
    double GetKelvin() const { return m_state.degrees + 273.15; }
    long GetLimit() const { return m_limit; }
    void SetLimit(long limit);
    long Difference(long a, long b) const { return a - b; }
    Text Describe(const Text& place, bool celsius, double value, short digits) const;
    void Fail(short kind);
    void Reset();

    static const DispatchTable& Table();

  protected:
    ~Thermometer() override;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    State m_state;
    long m_limit = 100;
    static int s_living;
};

class ThermometerFactory final : public COleObjectFactory {
  public:
    ThermometerFactory();
    /// Set by a test: the next object cannot be made.
    bool failNext = false;

  private:
    IUnknown* CreateObject() override;
};
ThermometerFactory& Factory();

}  // namespace framework::test
