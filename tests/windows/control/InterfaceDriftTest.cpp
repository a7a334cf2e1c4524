// The automation interface exists three times: as the dispatch table and event table that the control works
// by, as the type library that hosts read, and as what was published once and for all. These tests hold them
// against each other, so that none can drift away from the others.

#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "control/Enumerations.h"
#include "control/Events.h"
#include "control/Identity.h"
#include "control/NorixSDKCtl.h"
#include "framework/Registration.h"
#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"
#include "tests/windows/control/PublishedInterface.h"

namespace norix {
namespace {

using framework::DispatchMember;
using framework::EventDescription;
using framework::MemberKind;
using Microsoft::WRL::ComPtr;
/// One text per member: "22 short ConnectStatus read-only", "42 long StartRecording(short)".
using Rows = std::vector<std::string>;

std::string Narrow(const wchar_t* text) {
    return {text, text + wcslen(text)};
}

std::string TypeName(VARTYPE type) {
    static const std::map<VARTYPE, std::string> kNames = {
        {VT_EMPTY, "void"},  {VT_VOID, "void"},       {VT_I2, "short"},
        {VT_I4, "long"},     {VT_R8, "double"},       {VT_BOOL, "BOOL"},
        {VT_BSTR, "string"}, {VT_HRESULT, "HRESULT"}, {VT_VARIANT, "variant"}};
    if ((type & VT_BYREF) != 0) return TypeName(type & ~VT_BYREF) + '&';
    const auto found = kNames.find(type);
    return found != kNames.end() ? found->second : "type " + std::to_string(type);
}

std::string Function(DISPID id, const std::string& result, const std::string& name, const Rows& arguments) {
    std::string row = std::to_string(id) + ' ' + result + ' ' + name + '(';
    for (const std::string& argument : arguments)
        row += (row.back() == '(' ? "" : ", ") + argument;
    return row + ')';
}

// ---- The sources

Rows TypesOf(std::span<const VARTYPE> types) {
    Rows names;
    for (const VARTYPE type : types)
        names.push_back(TypeName(type));
    return names;
}

Rows RowsOf(std::span<const DispatchMember> members) {
    Rows rows;
    for (const DispatchMember& member : members) {
        if (member.kind == MemberKind::Method) {
            rows.push_back(
                Function(member.id, TypeName(member.type), Narrow(member.name), TypesOf(member.arguments)));
        } else {
            rows.push_back(std::to_string(member.id) + ' ' + TypeName(member.type) + ' ' +
                           Narrow(member.name) +
                           (member.kind == MemberKind::ReadOnlyProperty ? " read-only" : ""));
        }
    }
    return rows;
}

Rows RowsOf(std::span<const EventDescription> events) {
    Rows rows;
    for (const EventDescription& event : events)
        rows.push_back(Function(event.id, "void", Narrow(event.name), TypesOf(event.arguments)));
    return rows;
}

template <std::size_t N>
Rows RowsOf(const std::array<const char*, N>& texts) {
    return {texts.begin(), texts.end()};
}

std::string TypeName(const TYPEDESC& type) {
    return type.vt == VT_PTR ? TypeName(*type.lptdesc) + '&' : TypeName(type.vt);
}

/// With the parameters' names behind their types if `parameterNames`.
Rows RowsOf(ITypeInfo& info, bool parameterNames) {
    struct Property {
        std::string get;
        std::string put;
    };
    std::map<std::pair<DISPID, std::string>, Property> properties;
    Rows rows;
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(info.GetTypeAttr(&attributes), S_OK);
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        EXPECT_EQ(info.GetFuncDesc(i, &function), S_OK);
        BSTR names[16] = {};
        UINT count = 0;
        EXPECT_EQ(info.GetNames(function->memid, names, 16, &count), S_OK);
        const std::string name = Narrow(names[0]);
        Rows arguments;
        for (int p = 0; p < function->cParams; ++p) {
            std::string argument = TypeName(function->lprgelemdescParam[p].tdesc);
            if (parameterNames)
                argument += ' ' + (p + 1u < count ? Narrow(names[p + 1]) : std::string("(no name)"));
            arguments.push_back(argument);
        }
        const std::string result = TypeName(function->elemdescFunc.tdesc);
        switch (function->invkind) {
            case INVOKE_FUNC:
                rows.push_back(Function(function->memid, result, name, arguments));
                break;
            case INVOKE_PROPERTYGET:
                EXPECT_TRUE(arguments.empty()) << name;
                properties[{function->memid, name}].get = result;
                break;
            default:
                EXPECT_EQ(function->cParams, 1) << name;
                properties[{function->memid, name}].put = TypeName(function->lprgelemdescParam[0].tdesc);
                break;
        }
        for (UINT n = 0; n < count; ++n)
            SysFreeString(names[n]);
        info.ReleaseFuncDesc(function);
    }
    EXPECT_EQ(attributes->cVars, 0);  // properties are functions: only these carry help strings
    info.ReleaseTypeAttr(attributes);
    for (const auto& [key, property] : properties) {
        const bool readOnly = property.put.empty();
        EXPECT_TRUE(readOnly || property.put == property.get) << key.second;
        rows.push_back(std::to_string(key.first) + ' ' + property.get + ' ' + key.second +
                       (readOnly ? " read-only" : ""));
    }
    return rows;
}

/// "ECodecType ectH264 = 4" for every constant of the library.
Rows ConstantsOf(ITypeLib& library) {
    Rows rows;
    for (UINT t = 0; t < library.GetTypeInfoCount(); ++t) {
        TYPEKIND kind;
        if (FAILED(library.GetTypeInfoType(t, &kind)) || kind != TKIND_ENUM) continue;
        ComPtr<ITypeInfo> info;
        BSTR enumeration = nullptr;
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(library.GetTypeInfo(t, &info), S_OK);
        EXPECT_EQ(info->GetDocumentation(MEMBERID_NIL, &enumeration, nullptr, nullptr, nullptr), S_OK);
        EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
        for (UINT v = 0; v < attributes->cVars; ++v) {
            VARDESC* constant = nullptr;
            BSTR name = nullptr;
            UINT count = 0;
            EXPECT_EQ(info->GetVarDesc(v, &constant), S_OK);
            EXPECT_EQ(info->GetNames(constant->memid, &name, 1, &count), S_OK);
            EXPECT_EQ(constant->lpvarValue->vt, VT_I4);
            rows.push_back(Narrow(enumeration) + ' ' + Narrow(name) + " = " +
                           std::to_string(constant->lpvarValue->lVal));
            SysFreeString(name);
            info->ReleaseVarDesc(constant);
        }
        SysFreeString(enumeration);
        info->ReleaseTypeAttr(attributes);
    }
    return rows;
}

/// The constants that the control's own code works with.
Rows ConstantsOfTheCode() {
#define CONSTANT(enumeration, name) \
    std::string(#enumeration " " #name " = ") + std::to_string(static_cast<long>(enumeration::name))
#define NUMBER(text, value) std::string(text " = ") + std::to_string(static_cast<long>(value))
    return {
        CONSTANT(ECaptionInfo, eciNone),
        CONSTANT(ECaptionInfo, eciProtocol),
        CONSTANT(ECaptionInfo, eciTime),
        CONSTANT(ECaptionInfo, eciStatus),
        CONSTANT(ECaptionInfo, eciAll),
        CONSTANT(EConnectStatus, ecsConnecting),
        CONSTANT(EConnectStatus, ecsConnected),
        CONSTANT(EConnectStatus, ecsDisconnect),
        CONSTANT(EConnectStatus, ecsConnectFail),
        CONSTANT(EConnectStatus, ecsMulticastError),
        CONSTANT(EConnectStatus, ecsUserAuthenticationFail),
        CONSTANT(EConnectProtocol, ecpNone),
        CONSTANT(EConnectProtocol, ecpUDP),
        CONSTANT(EConnectProtocol, ecpTCP),
        CONSTANT(EConnectProtocol, ecpHTTP),
        CONSTANT(EConnectProtocol, ecpMulticast),
        CONSTANT(EConnectProtocol, ecpMulticastPush),
        NUMBER("ECodecType ectNone", VideoCodec::None),
        NUMBER("ECodecType ectMPEG4", VideoCodec::Mpeg4),
        NUMBER("ECodecType ectMJPEG", VideoCodec::Mjpeg),
        NUMBER("ECodecType ectH264", VideoCodec::H264),
        NUMBER("EAudioCodecType eactNone", AudioCodec::None),
        NUMBER("EAudioCodecType eactPCMU", AudioCodec::Pcmu),
        NUMBER("EAudioCodecType eactAAC", AudioCodec::Aac),
        NUMBER("EAudioCodecType eactPCM", AudioCodec::Pcm),
        NUMBER("EMediaType emtAudioVideo", norix::MediaType::AudioVideo),
        NUMBER("EMediaType emtVideo", norix::MediaType::Video),
        NUMBER("EMediaType emtAudio", norix::MediaType::Audio),
        CONSTANT(ERecordStatus, ersNone),
        CONSTANT(ERecordStatus, ersRecording),
        CONSTANT(ERecordStatus, ersDiskFull),
        CONSTANT(ERecordStatus, ersRecordStart),
        CONSTANT(ERecordStatus, ersRecordStop),
        CONSTANT(ERecordStatus, ersPathInvalid),
        CONSTANT(ERecordStatus, ersFileCreateFailed),
        CONSTANT(ERecordStatus, ersFileWriteFailed),
        CONSTANT(EMulticastInfoType, emiVideo),
        CONSTANT(EMulticastInfoType, emiAudio),
        CONSTANT(EMulticastInfoType, emiAudioBroadcast),
        CONSTANT(EMulticastInfoType, emiMetadata),
    };
#undef CONSTANT
#undef NUMBER
}

// ---- The comparison

/// "40 void SavePresetPosition(string lpszPresetName, short sPresetIndex)" without the parameters' names.
std::string WithoutParameterNames(const std::string& row) {
    const std::size_t open = row.find('(');
    if (open == std::string::npos) return row;
    std::string text = row.substr(0, open);
    bool inName = false;
    for (const char c : row.substr(open)) {
        if (c == ' ' && text.back() != ',') inName = true;
        if (c == ',' || c == ')') inName = false;
        if (!inName) text += c;
    }
    return text;
}
Rows WithoutParameterNames(Rows rows) {
    for (std::string& row : rows)
        row = WithoutParameterNames(row);
    return rows;
}

/// What only one side has, or one side has twice. Empty when both say the same.
Rows Differences(const Rows& left, const Rows& right) {
    Rows found;
    const auto missing = [&](const Rows& from, const Rows& in, const char* side) {
        for (const std::string& row : from)
            if (std::find(in.begin(), in.end(), row) == in.end()) found.push_back(side + row);
    };
    missing(left, right, "only left: ");
    missing(right, left, "only right: ");
    for (const Rows& rows : {left, right}) {
        std::set<std::string> ids;
        for (const std::string& row : rows)
            if (!ids.insert(row.substr(0, row.find(' '))).second) found.push_back("id used again: " + row);
    }
    return found;
}

class InterfaceDrift : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(LoadTypeLibEx(framework::ModulePath().c_str(), REGKIND_NONE, &m_library), S_OK);
    }
    ComPtr<ITypeInfo> Info(REFGUID type) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(m_library->GetTypeInfoOfGuid(type, &info), S_OK);
        return info;
    }
    Rows Library(REFGUID type, bool parameterNames) { return RowsOf(*Info(type).Get(), parameterNames); }

    static std::span<const DispatchMember> Table() { return CNorixSDKCtrl::Table().Members(); }

    ComPtr<ITypeLib> m_library;
};

TEST_F(InterfaceDrift, MembersAreTheSameEverywhere) {
    const Rows published = RowsOf(test::kPublishedMembers);
    EXPECT_EQ(Differences(Library(kDispatchInterface, true), published), Rows());
    EXPECT_EQ(Differences(RowsOf(Table()), WithoutParameterNames(published)), Rows());
    EXPECT_EQ(Differences(RowsOf(Table()), Library(kDispatchInterface, false)), Rows());
}

TEST_F(InterfaceDrift, EventsAreTheSameEverywhere) {
    const Rows published = RowsOf(test::kPublishedEvents);
    EXPECT_EQ(Differences(Library(kEventInterface, true), published), Rows());
    EXPECT_EQ(Differences(RowsOf(events::kAll), WithoutParameterNames(published)), Rows());
    EXPECT_EQ(Differences(RowsOf(events::kAll), Library(kEventInterface, false)), Rows());
}

TEST_F(InterfaceDrift, ConstantsAreTheSameEverywhere) {
    const auto sorted = [](Rows rows) {
        std::sort(rows.begin(), rows.end());
        return rows;
    };
    EXPECT_EQ(sorted(ConstantsOf(*m_library.Get())), sorted(RowsOf(test::kPublishedConstants)));
    EXPECT_EQ(sorted(ConstantsOfTheCode()), sorted(RowsOf(test::kPublishedConstants)));
}

TEST_F(InterfaceDrift, NothingIsMissing) {
    const auto methods = std::count_if(Table().begin(), Table().end(), [](const DispatchMember& member) {
        return member.kind == MemberKind::Method;
    });
    EXPECT_EQ(Table().size() - methods, 45u);
    EXPECT_EQ(methods, 38);
    EXPECT_EQ(events::kAll.size(), 24u);
    std::set<std::string> enumerations;
    for (const std::string& row : ConstantsOf(*m_library.Get()))
        enumerations.insert(row.substr(0, row.find(' ')));
    EXPECT_EQ(enumerations.size(), 8u);
}

// Every row can be called: a property has its accessors, a method its function, and nothing has both.
TEST_F(InterfaceDrift, RowsAreComplete) {
    for (const DispatchMember& member : Table()) {
        const bool method = member.kind == MemberKind::Method;
        EXPECT_EQ(member.call != nullptr, method) << Narrow(member.name);
        EXPECT_EQ(member.get != nullptr, !method) << Narrow(member.name);
        EXPECT_EQ(member.store != nullptr, member.kind == MemberKind::Property) << Narrow(member.name);
        EXPECT_TRUE(member.kind == MemberKind::Property || member.persistence == framework::Persistence::None)
            << Narrow(member.name);
        EXPECT_EQ(CNorixSDKCtrl::Table().Find(member.id), &member);
        EXPECT_EQ(CNorixSDKCtrl::Table().Find(member.name), &member);
    }
    EXPECT_EQ(CNorixSDKCtrl::Table().Find(L"password")->persistence, framework::Persistence::LoadOnly);
}

TEST_F(InterfaceDrift, LibraryHasTheIdentitiesThatHostsKnow) {
    TLIBATTR* library = nullptr;
    ASSERT_EQ(m_library->GetLibAttr(&library), S_OK);
    EXPECT_TRUE(library->guid == kTypeLibrary);
    EXPECT_EQ(library->wMajorVerNum, kTypeLibraryMajor);
    EXPECT_EQ(library->wMinorVerNum, kTypeLibraryMinor);
    EXPECT_NE(library->wLibFlags & LIBFLAG_FCONTROL, 0);
    m_library->ReleaseTLibAttr(library);

    const struct {
        GUID guid;
        const wchar_t* name;
        TYPEKIND kind;
    } types[] = {{kDispatchInterface, L"_DNorixSDK", TKIND_DISPATCH},
                 {kEventInterface, L"_DNorixSDKEvents", TKIND_DISPATCH},
                 {kControlClass, L"NorixSDK", TKIND_COCLASS}};
    for (const auto& type : types) {
        BSTR name = nullptr;
        TYPEATTR* attributes = nullptr;
        const ComPtr<ITypeInfo> info = Info(type.guid);
        ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        EXPECT_STREQ(name, type.name);
        EXPECT_EQ(attributes->typekind, type.kind);
        info->ReleaseTypeAttr(attributes);
        SysFreeString(name);
    }
    BSTR name = nullptr;
    ASSERT_EQ(m_library->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"NORIXSDKLib_Plugin");
    SysFreeString(name);
}

// The comparison itself: whatever may drift in a row is found.
TEST_F(InterfaceDrift, IsNoticed) {
    static constexpr VARTYPE kOneArgument[] = {VT_BSTR};
    static constexpr VARTYPE kOtherArguments[] = {VT_BSTR, VT_I4};
    const auto at = [](DISPID id) { return [id](const DispatchMember& member) { return member.id == id; }; };
    const struct {
        const char* what;
        DISPID id;
        void (*change)(DispatchMember& member);
    } changes[] = {
        {"id", 1, [](DispatchMember& m) { m.id = 84; }},
        {"id of another", 1, [](DispatchMember& m) { m.id = 2; }},
        {"name", 1, [](DispatchMember& m) { m.name = L"ServerIp"; }},
        {"property type", 9, [](DispatchMember& m) { m.type = VT_I2; }},
        {"read-only", 22, [](DispatchMember& m) { m.kind = MemberKind::Property; }},
        {"writable", 9, [](DispatchMember& m) { m.kind = MemberKind::ReadOnlyProperty; }},
        {"kind", 1, [](DispatchMember& m) { m.kind = MemberKind::Method; }},
        {"result", 38, [](DispatchMember& m) { m.type = VT_EMPTY; }},
        {"argument count", 41, [](DispatchMember& m) { m.arguments = kOneArgument; }},
        {"argument type", 41, [](DispatchMember& m) { m.arguments = kOtherArguments; }},
    };
    const Rows library = Library(kDispatchInterface, false);
    for (const auto& change : changes) {
        std::vector<DispatchMember> altered(Table().begin(), Table().end());
        change.change(*std::find_if(altered.begin(), altered.end(), at(change.id)));
        EXPECT_FALSE(Differences(RowsOf(altered), library).empty()) << change.what;
        EXPECT_FALSE(Differences(library, RowsOf(altered)).empty()) << change.what;
    }

    std::vector<DispatchMember> shorter(Table().begin() + 1, Table().end());
    EXPECT_EQ(Differences(RowsOf(shorter), library), Rows{"only right: 1 string ServerIP"});
    std::vector<DispatchMember> twice(Table().begin(), Table().end());
    twice.push_back(twice.front());
    EXPECT_EQ(Differences(RowsOf(twice), library), Rows{"id used again: 1 string ServerIP"});
}

}  // namespace
}  // namespace norix
