// The automation interface exists twice: as the tables and constants that the control works by, and as the
// type library that hosts read. They are held against each other, so that neither can drift away. The
// documentation, made from the library and compared with it elsewhere, is the record of what has been
// published.

#include <windows.h>

#include <gmock/gmock.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <map>
#include <string>
#include <vector>

#include "control/Enumerations.h"
#include "control/Events.h"
#include "control/Identity.h"
#include "control/NorixSDKCtl.h"
#include "framework/Registration.h"
#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"
#include "samples/host/TypeInfo.h"

namespace norix {
namespace {

using framework::DispatchMember;
using framework::EventDescription;
using framework::MemberKind;
using Microsoft::WRL::ComPtr;
using testing::UnorderedElementsAreArray;
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

/// Members and events of the library.
Rows RowsOf(const Interface& described) {
    Rows rows;
    for (const Member& member : described.members) {
        const std::string name = Narrow(member.name.c_str());
        if (member.isMethod) {
            Rows arguments;
            for (const Parameter& parameter : member.parameters)
                arguments.push_back(TypeName(parameter.type));
            rows.push_back(Function(member.id, TypeName(member.type), name, arguments));
        } else {
            rows.push_back(std::to_string(member.id) + ' ' + TypeName(member.type) + ' ' + name +
                           (member.writable ? "" : " read-only"));
        }
    }
    return rows;
}

/// "ECodecType ectH264 = 4" for every constant of the library.
Rows RowsOf(const std::vector<Enumeration>& enumerations) {
    Rows rows;
    for (const Enumeration& enumeration : enumerations) {
        for (const auto& [name, value] : enumeration.constants)
            rows.push_back(Narrow(enumeration.name.c_str()) + ' ' + Narrow(name.c_str()) + " = " +
                           std::to_string(value));
    }
    return rows;
}

/// The constants that the control's own code works with.
struct Constant {
    template <class Enumerator>
    constexpr Constant(const char* inTheLibrary, Enumerator inTheCode)
        : name(inTheLibrary), value(static_cast<long>(inTheCode)) {}
    const char* name;
    long value;
};
constexpr Constant kConstantsOfTheCode[] = {
    {"ECaptionInfo eciNone", eciNone},
    {"ECaptionInfo eciProtocol", eciProtocol},
    {"ECaptionInfo eciTime", eciTime},
    {"ECaptionInfo eciStatus", eciStatus},
    {"ECaptionInfo eciAll", eciAll},
    {"EConnectStatus ecsConnecting", ecsConnecting},
    {"EConnectStatus ecsConnected", ecsConnected},
    {"EConnectStatus ecsDisconnect", ecsDisconnect},
    {"EConnectStatus ecsConnectFail", ecsConnectFail},
    {"EConnectStatus ecsMulticastError", ecsMulticastError},
    {"EConnectStatus ecsUserAuthenticationFail", ecsUserAuthenticationFail},
    {"EConnectProtocol ecpNone", ecpNone},
    {"EConnectProtocol ecpUDP", ecpUDP},
    {"EConnectProtocol ecpTCP", ecpTCP},
    {"EConnectProtocol ecpHTTP", ecpHTTP},
    {"EConnectProtocol ecpMulticast", ecpMulticast},
    {"EConnectProtocol ecpMulticastPush", ecpMulticastPush},
    {"ECodecType ectNone", VideoCodec::None},
    {"ECodecType ectMPEG4", VideoCodec::Mpeg4},
    {"ECodecType ectMJPEG", VideoCodec::Mjpeg},
    {"ECodecType ectH264", VideoCodec::H264},
    {"EAudioCodecType eactNone", AudioCodec::None},
    {"EAudioCodecType eactPCMU", AudioCodec::Pcmu},
    {"EAudioCodecType eactAAC", AudioCodec::Aac},
    {"EAudioCodecType eactPCM", AudioCodec::Pcm},
    {"EMediaType emtAudioVideo", norix::MediaType::AudioVideo},
    {"EMediaType emtVideo", norix::MediaType::Video},
    {"EMediaType emtAudio", norix::MediaType::Audio},
    {"ERecordStatus ersNone", RecordStatus::None},
    {"ERecordStatus ersRecording", RecordStatus::Recording},
    {"ERecordStatus ersDiskFull", RecordStatus::DiskFull},
    {"ERecordStatus ersRecordStart", RecordStatus::Started},
    {"ERecordStatus ersRecordStop", RecordStatus::Stopped},
    {"ERecordStatus ersPathInvalid", RecordStatus::PathInvalid},
    {"ERecordStatus ersFileCreateFailed", RecordStatus::FileCreateFailed},
    {"ERecordStatus ersFileWriteFailed", RecordStatus::FileWriteFailed},
    {"EMulticastInfoType emiVideo", MulticastStream::Video},
    {"EMulticastInfoType emiAudio", MulticastStream::Audio},
    {"EMulticastInfoType emiAudioBroadcast", MulticastStream::AudioBroadcast},
    {"EMulticastInfoType emiMetadata", MulticastStream::Metadata},
};

// What the control says of itself is what hosts read; get and put of a property agree, or its documentation
// could not be made.
TEST(InterfaceDrift, LibraryAndTablesSayTheSame) {
    IDispatch* const control = new CNorixSDKCtrl();
    const ControlInfo library = ReadControlInfo(control);
    control->Release();
    EXPECT_EQ(library.name, L"NorixSDK");
    EXPECT_EQ(library.automation.name, L"_DNorixSDK");
    EXPECT_EQ(library.events.name, L"_DNorixSDKEvents");
    EXPECT_TRUE(library.automation.iid == kDispatchInterface && library.events.iid == kEventInterface);
    EXPECT_THAT(RowsOf(CNorixSDKCtrl::Table().Members()),
                UnorderedElementsAreArray(RowsOf(library.automation)));
    EXPECT_THAT(RowsOf(events::kAll), UnorderedElementsAreArray(RowsOf(library.events)));
    Rows constants;
    for (const Constant& constant : kConstantsOfTheCode)
        constants.push_back(constant.name + (" = " + std::to_string(constant.value)));
    EXPECT_THAT(constants, UnorderedElementsAreArray(RowsOf(library.enumerations)));
}

TEST(InterfaceDrift, LibraryIsTheOneThatHostsKnow) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(framework::ModulePath().c_str(), REGKIND_NONE, &library), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_TRUE(attributes->guid == kTypeLibrary);
    EXPECT_EQ(attributes->wMajorVerNum, kTypeLibraryMajor);
    EXPECT_EQ(attributes->wMinorVerNum, kTypeLibraryMinor);
    EXPECT_NE(attributes->wLibFlags & LIBFLAG_FCONTROL, 0);
    library->ReleaseTLibAttr(attributes);
    BSTR name = nullptr;
    ASSERT_EQ(library->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(name, L"NORIXSDKLib_Plugin");
    SysFreeString(name);
}

}  // namespace
}  // namespace norix
