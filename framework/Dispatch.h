#pragma once

#include <windows.h>

#include <oaidl.h>

#include <array>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace framework {

class COleControl;

/// A text property or argument: UTF-16, may hold embedded zeros.
using Text = std::wstring;

// ---- C++ types of the automation interface and their variant types

template <class T>
struct AutomationType;
template <>
struct AutomationType<void> {
    static constexpr VARTYPE vt = VT_EMPTY;
};
template <>
struct AutomationType<bool> {
    static constexpr VARTYPE vt = VT_BOOL;
    static bool Read(const VARIANT& value) { return value.boolVal != VARIANT_FALSE; }
    static void Write(VARIANT& out, bool value) { out.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE; }
};
template <>
struct AutomationType<short> {
    static constexpr VARTYPE vt = VT_I2;
    static short Read(const VARIANT& value) { return value.iVal; }
    static void Write(VARIANT& out, short value) { out.iVal = value; }
};
template <>
struct AutomationType<long> {
    static constexpr VARTYPE vt = VT_I4;
    static long Read(const VARIANT& value) { return value.lVal; }
    static void Write(VARIANT& out, long value) { out.lVal = value; }
};
template <>
struct AutomationType<double> {
    static constexpr VARTYPE vt = VT_R8;
    static double Read(const VARIANT& value) { return value.dblVal; }
    static void Write(VARIANT& out, double value) { out.dblVal = value; }
};
template <>
struct AutomationType<Text> {
    static constexpr VARTYPE vt = VT_BSTR;
    static Text Read(const VARIANT& value);
    /// Throws std::bad_alloc.
    static void Write(VARIANT& out, const Text& value);
};

/// Stores a value with its variant type.
template <class T>
void WriteVariant(VARIANT& out, const T& value) {
    AutomationType<T>::Write(out, value);
    out.vt = AutomationType<T>::vt;
}

// ---- The dispatch table

enum class MemberKind { Property, ReadOnlyProperty, Method };

/// How a property takes part in persistence and in `<param>` values.
enum class Persistence {
    None,
    LoadOnly,  ///< taken from a property bag or stream, never written to one (a password)
    Full,
};

/// One row of a dispatch table: a member of the automation interface as data.
struct DispatchMember {
    DISPID id;
    const wchar_t* name;
    MemberKind kind;
    VARTYPE type;  ///< of the property, or the method's result (VT_EMPTY: none)
    Persistence persistence = Persistence::None;
    /// The change handler needs the control's window: values that are loaded before it exists are stored at
    /// once, and their handler runs when the window is there.
    bool handlerNeedsWindow = false;

    /// Method: variant types of the arguments in declaration order.
    std::span<const VARTYPE> arguments = {};

    /// Writes the property's value to `out` (empty at the call).
    void (*get)(COleControl& control, VARIANT& out) = nullptr;
    /// Stores the property's value; `value` has the row's type.
    void (*store)(COleControl& control, const VARIANT& value) = nullptr;
    /// What runs after a value was stored. May be null.
    void (*changed)(COleControl& control) = nullptr;
    /// Calls the method; `arguments` have the row's types.
    void (*call)(COleControl& control, const VARIANT* arguments, VARIANT& out) = nullptr;
};

/// The members of an automation interface, found by name and by DISPID.
class DispatchTable {
  public:
    explicit DispatchTable(std::span<const DispatchMember> members);

    std::span<const DispatchMember> Members() const { return m_members; }
    const DispatchMember* Find(DISPID id) const;
    /// Names compare without regard to case.
    const DispatchMember* Find(const wchar_t* name) const;

  private:
    std::span<const DispatchMember> m_members;
    std::vector<const DispatchMember*> m_byId;    // index = DISPID
    std::vector<const DispatchMember*> m_byName;  // sorted without regard to case
};

/// IDispatch::Invoke over a table. The caller has guarded the call.
HRESULT InvokeMember(const DispatchTable& table, COleControl& control, DISPID id, LCID locale, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception, UINT* argumentError);

/// Converts `source` (by-reference values included) to `type` as automation does. S_OK,
/// DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_PARAMNOTOPTIONAL or E_OUTOFMEMORY.
HRESULT CoerceArgument(VARIANT& target, const VARIANT& source, VARTYPE type, LCID locale);

// ---- Rows made from C++ members

namespace detail {

template <class>
struct DataMember;
template <class C, class T>
struct DataMember<T C::*> {
    using Class = C;
    using Type = T;
};

template <class T>
using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

template <class>
struct Function;
template <class C, class R, class... A>
struct Function<R (C::*)(A...)> {
    using Class = C;
    using Result = Plain<R>;
    static constexpr std::array<VARTYPE, sizeof...(A)> kArguments{AutomationType<Plain<A>>::vt...};

    template <auto Method, std::size_t... I>
    static void Call(COleControl& control, const VARIANT* arguments, VARIANT& out,
                     std::index_sequence<I...>) {
        auto& object = static_cast<C&>(control);
        if constexpr (std::is_void_v<R>) {
            (object.*Method)(AutomationType<Plain<A>>::Read(arguments[I])...);
        } else {
            WriteVariant<Result>(out, (object.*Method)(AutomationType<Plain<A>>::Read(arguments[I])...));
        }
    }
    template <auto Method>
    static void Call(COleControl& control, const VARIANT* arguments, VARIANT& out) {
        Call<Method>(control, arguments, out, std::index_sequence_for<A...>{});
    }
};
template <class C, class R, class... A>
struct Function<R (C::*)(A...) const> : Function<R (C::*)(A...)> {};

template <auto Method>
void RunHandler(COleControl& control) {
    using Class = typename Function<decltype(Method)>::Class;
    (static_cast<Class&>(control).*Method)();
}

}  // namespace detail

/// A property kept in a data member of the struct that `Control::Properties()` returns, with the change
/// handler `Changed` that runs after the host has written it.
template <class Control, auto Member, auto Changed>
constexpr DispatchMember StoredProperty(DISPID id, const wchar_t* name,
                                        Persistence persistence = Persistence::Full,
                                        bool handlerNeedsWindow = false) {
    using Type = typename detail::DataMember<decltype(Member)>::Type;
    return {.id = id,
            .name = name,
            .kind = MemberKind::Property,
            .type = AutomationType<Type>::vt,
            .persistence = persistence,
            .handlerNeedsWindow = handlerNeedsWindow,
            .get =
                [](COleControl& control, VARIANT& out) {
                    WriteVariant<Type>(out, static_cast<Control&>(control).Properties().*Member);
                },
            .store =
                [](COleControl& control, const VARIANT& value) {
                    static_cast<Control&>(control).Properties().*Member = AutomationType<Type>::Read(value);
                },
            .changed = &detail::RunHandler<Changed>};
}

/// A property behind a pair of accessor functions.
template <auto Get, auto Set>
constexpr DispatchMember AccessorProperty(DISPID id, const wchar_t* name,
                                          Persistence persistence = Persistence::None) {
    using Getter = detail::Function<decltype(Get)>;
    return {
        .id = id,
        .name = name,
        .kind = MemberKind::Property,
        .type = AutomationType<typename Getter::Result>::vt,
        .persistence = persistence,
        .get = [](COleControl& control, VARIANT& out) { Getter::template Call<Get>(control, nullptr, out); },
        .store =
            [](COleControl& control, const VARIANT& value) {
                VARIANT none{};
                detail::Function<decltype(Set)>::template Call<Set>(control, &value, none);
            }};
}

template <auto Get>
constexpr DispatchMember ReadOnlyProperty(DISPID id, const wchar_t* name) {
    using Getter = detail::Function<decltype(Get)>;
    return {
        .id = id,
        .name = name,
        .kind = MemberKind::ReadOnlyProperty,
        .type = AutomationType<typename Getter::Result>::vt,
        .get = [](COleControl& control, VARIANT& out) { Getter::template Call<Get>(control, nullptr, out); }};
}

template <auto Function>
constexpr DispatchMember Method(DISPID id, const wchar_t* name) {
    using Signature = detail::Function<decltype(Function)>;
    return {.id = id,
            .name = name,
            .kind = MemberKind::Method,
            .type = AutomationType<typename Signature::Result>::vt,
            .arguments = Signature::kArguments,
            .call = &Signature::template Call<Function>};
}

}  // namespace framework
