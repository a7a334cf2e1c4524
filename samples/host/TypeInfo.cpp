#include "TypeInfo.h"

#include <comdef.h>
#include <ocidl.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "Values.h"

using _com_util::CheckError;
using Microsoft::WRL::ComPtr;

namespace {

// The description structures belong to the type info that handed them out and go back to it.
template <class T>
using Description = std::unique_ptr<T, std::function<void(T*)>>;

Description<TYPEATTR> Attributes(ITypeInfo* info) {
    TYPEATTR* raw = nullptr;
    CheckError(info->GetTypeAttr(&raw));
    return {raw, [info](TYPEATTR* attributes) { info->ReleaseTypeAttr(attributes); }};
}

Description<FUNCDESC> Function(ITypeInfo* info, UINT index) {
    FUNCDESC* raw = nullptr;
    CheckError(info->GetFuncDesc(index, &raw));
    return {raw, [info](FUNCDESC* function) { info->ReleaseFuncDesc(function); }};
}

Description<VARDESC> Variable(ITypeInfo* info, UINT index) {
    VARDESC* raw = nullptr;
    CheckError(info->GetVarDesc(index, &raw));
    return {raw, [info](VARDESC* variable) { info->ReleaseVarDesc(variable); }};
}

std::wstring NameOfType(ITypeInfo* info) {
    _bstr_t name;
    CheckError(info->GetDocumentation(MEMBERID_NIL, name.GetAddress(), nullptr, nullptr, nullptr));
    return name.length() ? std::wstring(name) : std::wstring();
}

// First the member itself, then its parameters.
std::vector<std::wstring> NamesOf(ITypeInfo* info, MEMBERID id, size_t atMost) {
    std::vector<BSTR> raw(atMost);
    UINT count = 0;
    CheckError(info->GetNames(id, raw.data(), static_cast<UINT>(raw.size()), &count));
    std::vector<std::wstring> names;
    for (UINT i = 0; i < count; ++i)
        names.emplace_back(_bstr_t(raw[i], false));
    return names;
}

struct Type {
    VARTYPE type;
    std::wstring name;
};

Type Resolve(ITypeInfo* info, const TYPEDESC& description) {
    switch (description.vt) {
        case VT_PTR: {
            auto target = Resolve(info, *description.lptdesc);
            return {static_cast<VARTYPE>(target.type | VT_BYREF), target.name + L"*"};
        }
        case VT_SAFEARRAY: {
            auto element = Resolve(info, description.lpadesc->tdescElem);
            return {static_cast<VARTYPE>(element.type | VT_ARRAY), element.name + L"[]"};
        }
        case VT_USERDEFINED: {
            ComPtr<ITypeInfo> named;
            CheckError(info->GetRefTypeInfo(description.hreftype, &named));
            const auto attributes = Attributes(named.Get());
            if (attributes->typekind == TKIND_ALIAS) return Resolve(named.Get(), attributes->tdescAlias);
            const VARTYPE type = attributes->typekind == TKIND_ENUM ? VT_I4 : VT_DISPATCH;
            return {type, NameOfType(named.Get())};
        }
        default:
            return {description.vt, TypeName(description.vt)};
    }
}

Member& MemberFor(Interface& target, MEMBERID id, const std::wstring& name) {
    const auto known = std::ranges::find(target.members, id, &Member::id);
    if (known != target.members.end()) return *known;
    target.members.push_back({});
    target.members.back().id = id;
    target.members.back().name = name;
    return target.members.back();
}

void AddFunction(Interface& target, ITypeInfo* info, const FUNCDESC& function) {
    if (function.wFuncFlags & FUNCFLAG_FRESTRICTED) return;
    const auto parameters = static_cast<size_t>(function.cParams);
    const auto names = NamesOf(info, function.memid, parameters + 1);
    Member& member = MemberFor(target, function.memid, names.at(0));

    if (function.invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) {
        member.writable = true;
        return;
    }
    const auto result = Resolve(info, function.elemdescFunc.tdesc);
    member.type = result.type;
    member.typeName = result.name;
    member.isMethod = function.invkind == INVOKE_FUNC;
    member.readable = function.invkind == INVOKE_PROPERTYGET;
    for (size_t i = 0; i < parameters; ++i) {
        const auto type = Resolve(info, function.lprgelemdescParam[i].tdesc);
        member.parameters.push_back({i + 1 < names.size() ? names[i + 1] : L"", type.type, type.name});
    }
}

void AddVariable(Interface& target, ITypeInfo* info, const VARDESC& variable) {
    if (variable.varkind != VAR_DISPATCH) return;
    Member& member = MemberFor(target, variable.memid, NamesOf(info, variable.memid, 1).at(0));
    const auto type = Resolve(info, variable.elemdescVar.tdesc);
    member.type = type.type;
    member.typeName = type.name;
    member.readable = true;
    member.writable = !(variable.wVarFlags & VARFLAG_FREADONLY);
}

Interface ReadInterface(ITypeInfo* info) {
    Interface target;
    const auto attributes = Attributes(info);
    target.name = NameOfType(info);
    target.iid = attributes->guid;
    for (UINT i = 0; i < attributes->cVars; ++i)
        AddVariable(target, info, *Variable(info, i));
    for (UINT i = 0; i < attributes->cFuncs; ++i)
        AddFunction(target, info, *Function(info, i));
    return target;
}

std::vector<Enumeration> ReadEnumerations(ITypeLib* library) {
    std::vector<Enumeration> enumerations;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND kind{};
        if (FAILED(library->GetTypeInfoType(i, &kind)) || kind != TKIND_ENUM) continue;
        ComPtr<ITypeInfo> info;
        CheckError(library->GetTypeInfo(i, &info));
        auto& enumeration = enumerations.emplace_back(Enumeration{NameOfType(info.Get()), {}});
        const auto attributes = Attributes(info.Get());
        for (UINT constant = 0; constant < attributes->cVars; ++constant) {
            const auto variable = Variable(info.Get(), constant);
            if (variable->varkind != VAR_CONST) continue;
            enumeration.constants.emplace_back(NamesOf(info.Get(), variable->memid, 1).at(0),
                                               static_cast<long>(_variant_t(*variable->lpvarValue)));
        }
    }
    return enumerations;
}

}  // namespace

const Member* Interface::Find(DISPID id) const {
    const auto found = std::ranges::find(members, id, &Member::id);
    return found != members.end() ? &*found : nullptr;
}

const Member* Interface::Find(const std::wstring& memberName) const {
    const auto found = std::ranges::find_if(
        members, [&](const Member& member) { return EqualsIgnoringCase(member.name, memberName); });
    return found != members.end() ? &*found : nullptr;
}

std::wstring ControlInfo::NameOf(const std::wstring& enumeration, long value) const {
    const auto found = std::ranges::find(enumerations, enumeration, &Enumeration::name);
    if (found == enumerations.end()) return {};
    const auto constant = std::ranges::find(found->constants, value, &std::pair<std::wstring, long>::second);
    return constant != found->constants.end() ? constant->first : std::wstring();
}

ControlInfo ReadControlInfo(IUnknown* control) {
    ComPtr<IProvideClassInfo> provider;
    CheckError(control->QueryInterface(IID_PPV_ARGS(&provider)));
    ComPtr<ITypeInfo> coclass;
    CheckError(provider->GetClassInfo(&coclass));

    ControlInfo control_info;
    control_info.name = NameOfType(coclass.Get());
    const auto attributes = Attributes(coclass.Get());
    for (UINT i = 0; i < attributes->cImplTypes; ++i) {
        INT flags = 0;
        CheckError(coclass->GetImplTypeFlags(i, &flags));
        if (!(flags & IMPLTYPEFLAG_FDEFAULT)) continue;
        HREFTYPE reference{};
        ComPtr<ITypeInfo> info;
        CheckError(coclass->GetRefTypeOfImplType(i, &reference));
        CheckError(coclass->GetRefTypeInfo(reference, &info));
        (flags & IMPLTYPEFLAG_FSOURCE ? control_info.events : control_info.automation) =
            ReadInterface(info.Get());
    }

    ComPtr<ITypeLib> library;
    UINT index = 0;
    CheckError(coclass->GetContainingTypeLib(&library, &index));
    control_info.enumerations = ReadEnumerations(library.Get());
    return control_info;
}

namespace {

std::wstring FormatParameters(const Member& member) {
    std::wstring text;
    for (const auto& parameter : member.parameters) {
        text += (text.empty() ? L"" : L", ") + parameter.typeName + L" " + parameter.name;
    }
    return L"(" + text + L")";
}

void FormatMembers(std::wstring& text, const wchar_t* title, const Interface& from, bool methods) {
    text += std::wstring(L"\n") + title + L" of " + from.name + L"\n";
    for (const auto& member : from.members) {
        if (member.isMethod != methods) continue;
        text += L"  " + std::to_wstring(member.id) + L"\t" + member.typeName + L" " + member.name;
        if (member.isMethod) {
            text += FormatParameters(member);
        } else if (!member.writable) {
            text += L" (read-only)";
        }
        text += L"\n";
    }
}

}  // namespace

std::wstring Format(const ControlInfo& info) {
    std::wstring text = info.name + L"\n";
    FormatMembers(text, L"Properties", info.automation, false);
    FormatMembers(text, L"Methods", info.automation, true);
    FormatMembers(text, L"Events", info.events, true);
    for (const auto& enumeration : info.enumerations) {
        text += L"\nEnumeration " + enumeration.name + L"\n";
        for (const auto& [name, value] : enumeration.constants) {
            text += L"  " + std::to_wstring(value) + L"\t" + name + L"\n";
        }
    }
    return text;
}
