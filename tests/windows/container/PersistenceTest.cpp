// Storing the control and loading it again: streams, storages, and the named values of a web page.

#include <olectl.h>

#include <map>

#include "samples/host/TypeInfo.h"
#include "samples/host/Values.h"
#include "tests/windows/container/ContainerTest.h"

namespace {

using testing::IsEmpty;

// Property names differ in case only by mistake.
struct LessIgnoringCase {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    }
};
using Values = std::map<std::wstring, _variant_t, LessIgnoringCase>;

class PropertyBag final : public TestObject<IPropertyBag> {
  public:
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        const auto found = values.find(name);
        if (found == values.end()) return E_INVALIDARG;
        if (value->vt == VT_EMPTY) return VariantCopy(value, &found->second);
        return VariantChangeType(value, &found->second, 0, value->vt);
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
        if (failing) return E_FAIL;
        values[name] = *value;
        return S_OK;
    }
    Values values;
    bool failing = false;
};

class ErrorLog final : public TestObject<IErrorLog> {
  public:
    STDMETHODIMP AddError(LPCOLESTR name, EXCEPINFO* problem) override {
        EXPECT_HRESULT_FAILED(problem->scode);
        names.push_back(name);
        return S_OK;
    }
    std::vector<std::wstring> names;
};

ComPtr<IStream> MemoryStream(const std::vector<BYTE>& bytes = {}) {
    ComPtr<IStream> stream;
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    if (!bytes.empty()) stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    return stream;
}

ComPtr<IStorage> MemoryStorage() {
    ComPtr<ILockBytes> bytes;
    ComPtr<IStorage> storage;
    EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, &bytes), S_OK);
    EXPECT_EQ(
        StgCreateDocfileOnILockBytes(
            bytes.Get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED, 0, &storage),
        S_OK);
    return storage;
}

class PersistenceTest : public ContainerTest {
  protected:
    // The properties that a page's author or a form's designer sets, each to something that is not its
    // default.
    static const Values& Settings() {
        static const Values settings = {
            {L"ServerIP", L"192.0.2.20"},
            {L"username", L"operator"},
            {L"HttpPort", 8080L},
            {L"VideoProtocol", short{2}},
            {L"MediaType", short{1}},
            {L"CHIndex", 3L},
            {L"StreamIndex", 2L},
            {L"ConnectionTimeout", 7000L},
            {L"AutoReconnect", true},
            {L"DeInterlace", true},
            {L"IFrameOnly", true},
            {L"CaptionInfo", 5L},
            {L"RecordVideoPath", L"C:\\Film\\\u00e4\u4e2d"},
            {L"RecordMaxFileTimeLength", 30L},
            {L"StreamUri", L"rtsp://192.0.2.20/live"},
        };
        return settings;
    }
    void ApplySettings() {
        for (const auto& [name, value] : Settings())
            SetProperty(Automation(), name, value);
    }
    void ExpectSettings() {
        for (const auto& [name, value] : Settings()) {
            const auto now = GetProperty(Automation(), name);
            EXPECT_EQ(now, value) << ToUtf8(name) << " is " << ToUtf8(Describe(now));
        }
    }
    void Recreate() {
        ReleaseControl();
        Create();
    }
    std::vector<BYTE> Saved() {
        const auto stream = MemoryStream();
        EXPECT_EQ(Query<IPersistStreamInit>()->Save(stream.Get(), FALSE), S_OK);
        STATSTG status{};
        stream->Stat(&status, STATFLAG_NONAME);
        std::vector<BYTE> bytes(status.cbSize.LowPart);
        stream->Seek({}, STREAM_SEEK_SET, nullptr);
        stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
        return bytes;
    }
};

TEST_F(PersistenceTest, StreamKeepsPropertiesAndSize) {
    Create();
    InitNew();
    ApplySettings();
    SIZEL extent{7777, 5555};
    object->SetExtent(DVASPECT_CONTENT, &extent);
    const auto stream = MemoryStream();
    const auto persist = Query<IPersistStreamInit>();
    ULARGE_INTEGER most{};
    EXPECT_EQ(persist->GetSizeMax(&most), S_OK);
    ASSERT_EQ(persist->Save(stream.Get(), TRUE), S_OK);
    STATSTG status{};
    stream->Stat(&status, STATFLAG_NONAME);
    EXPECT_LE(status.cbSize.QuadPart, most.QuadPart);

    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    const_cast<ComPtr<IPersistStreamInit>&>(persist).Reset();
    Recreate();
    ASSERT_EQ(Query<IPersistStreamInit>()->Load(stream.Get()), S_OK);
    ExpectSettings();
    SIZEL loaded{};
    object->GetExtent(DVASPECT_CONTENT, &loaded);
    EXPECT_EQ(loaded.cx, extent.cx);
    EXPECT_EQ(loaded.cy, extent.cy);
}

TEST_F(PersistenceTest, StorageKeepsProperties) {
    Create();
    const auto storage = MemoryStorage();
    {
        const auto persist = Query<IPersistStorage>();
        ASSERT_EQ(persist->InitNew(storage.Get()), S_OK);
        ApplySettings();
        EXPECT_EQ(persist->IsDirty(), S_OK);
        ASSERT_EQ(persist->Save(storage.Get(), TRUE), S_OK);
        EXPECT_EQ(persist->SaveCompleted(nullptr), S_OK);
        EXPECT_EQ(persist->HandsOffStorage(), S_OK);
        EXPECT_EQ(persist->SaveCompleted(storage.Get()), S_OK);
        // A second document: the first must not be touched.
        const auto copy = MemoryStorage();
        EXPECT_EQ(persist->Save(copy.Get(), FALSE), S_OK);
        EXPECT_EQ(persist->SaveCompleted(nullptr), S_OK);
    }
    Recreate();
    ASSERT_EQ(Query<IPersistStorage>()->Load(storage.Get()), S_OK);
    ExpectSettings();
    EXPECT_HRESULT_FAILED(Query<IPersistStorage>()->Load(MemoryStorage().Get()));  // empty
}

TEST_F(PersistenceTest, BagKeepsProperties) {
    PropertyBag bag;
    Create();
    InitNew();
    ApplySettings();
    ASSERT_EQ(Query<IPersistPropertyBag>()->Save(&bag, TRUE, TRUE), S_OK);
    Recreate();
    ASSERT_EQ(Query<IPersistPropertyBag>()->Load(&bag, nullptr), S_OK);
    ExpectSettings();
    bag.failing = true;
    EXPECT_HRESULT_FAILED(Query<IPersistPropertyBag>()->Save(&bag, FALSE, TRUE));
}

TEST_F(PersistenceTest, PageParametersAreTexts) {
    PropertyBag bag;
    bag.values = {{L"ServerIP", L"192.0.2.20"}, {L"HttpPort", L"8080"},   {L"DeInterlace", L"-1"},
                  {L"IFrameOnly", L"true"},     {L"VideoProtocol", L"2"}, {L"password", L"secret"},
                  {L"NoSuchProperty", L"1"},    {L"_Version", L"65536"},  {L"CHIndex", L"0"}};
    ErrorLog errors;
    Create();
    ASSERT_EQ(Query<IPersistPropertyBag>()->Load(&bag, &errors), S_OK);
    EXPECT_THAT(errors.names, IsEmpty());
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"ServerIP")), L"192.0.2.20");
    EXPECT_EQ(static_cast<long>(GetProperty(Automation(), L"HttpPort")), 8080);
    EXPECT_TRUE(static_cast<bool>(GetProperty(Automation(), L"DeInterlace")));
    EXPECT_TRUE(static_cast<bool>(GetProperty(Automation(), L"IFrameOnly")));
    EXPECT_EQ(static_cast<short>(GetProperty(Automation(), L"VideoProtocol")), 2);
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"password")), L"secret");
    EXPECT_EQ(static_cast<long>(GetProperty(Automation(), L"CHIndex")), 1) << "limited like a written one";
}

TEST_F(PersistenceTest, ABadParameterIsReportedAndPassedOver) {
    PropertyBag bag;
    bag.values = {{L"HttpPort", L"eighty"}, {L"AutoReconnect", L"perhaps"}, {L"ServerIP", L"192.0.2.20"}};
    ErrorLog errors;
    Create();
    ASSERT_EQ(Query<IPersistPropertyBag>()->Load(&bag, &errors), S_OK);
    EXPECT_THAT(errors.names, testing::UnorderedElementsAre(L"HttpPort", L"AutoReconnect"));
    EXPECT_EQ(static_cast<long>(GetProperty(Automation(), L"HttpPort")), 80);
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"ServerIP")), L"192.0.2.20");
    EXPECT_EQ(Query<IPersistPropertyBag>()->Load(&bag, nullptr), S_OK);  // a log is not required
    EXPECT_HRESULT_FAILED(Query<IPersistPropertyBag>()->Load(nullptr, nullptr));
}

TEST_F(PersistenceTest, NeverStoresThePassword) {
    Create();
    SetProperty(Automation(), L"password", L"Xyzzy-Plugh");
    PropertyBag bag;
    ASSERT_EQ(Query<IPersistPropertyBag>()->Save(&bag, FALSE, TRUE), S_OK);
    EXPECT_EQ(bag.values.count(L"password"), 0u);
    const auto bytes = Saved();
    const std::wstring_view secret = L"Xyzzy-Plugh";
    const auto* wide = reinterpret_cast<const BYTE*>(secret.data());
    EXPECT_EQ(std::search(bytes.begin(), bytes.end(), wide, wide + secret.size() * sizeof(wchar_t)),
              bytes.end());
    const std::string narrow = "Xyzzy-Plugh";
    EXPECT_EQ(std::search(bytes.begin(), bytes.end(), narrow.begin(), narrow.end()), bytes.end());
}

}  // namespace
