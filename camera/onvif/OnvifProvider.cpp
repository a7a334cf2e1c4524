#include "camera/onvif/OnvifProvider.h"

#include <cstring>

#include "camera/onvif/OnvifMedia.h"
#include "util/Log.h"

namespace norix {
namespace {

KsOnvifCreate CreationFunction(HMODULE library) {
    const FARPROC address = GetProcAddress(library, kKsOnvifCreateName);
    KsOnvifCreate create = nullptr;
    static_assert(sizeof create == sizeof address);
    std::memcpy(&create, &address, sizeof create);
    return create;
}

// The library's object, if it is one that we understand.
OnvifMediaPtr CreateMakers(HMODULE library) {
    const KsOnvifCreate create = CreationFunction(library);
    if (create == nullptr) {
        NORIX_LOG("OnvifProvider::CreateMakers", 1, "%ls has no %s", kKsOnvifLibraryFile, kKsOnvifCreateName);
        return nullptr;
    }
    IKsOnvifMedia* created = nullptr;
    const KsOnvifResult result = create(kKsOnvifInterfaceVersion, &created);
    OnvifMediaPtr media(created);
    const unsigned version = media ? media->InterfaceVersion() : 0;
    if (result < 0 || version != kKsOnvifInterfaceVersion) {
        NORIX_LOG("OnvifProvider::CreateMakers", 1, "%ls is of no use: 0x%08x, version %u",
                  kKsOnvifLibraryFile, static_cast<unsigned>(result), version);
        return nullptr;
    }
    return media;
}

}  // namespace

OnvifProvider::OnvifProvider(HttpTransport& transport, const std::wstring& folder) {
    if (!folder.empty()) {
        const std::wstring path = folder + kKsOnvifLibraryFile;
        m_library = util::UniqueModule(LoadLibraryExW(
            path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
    }
    if (m_library) {
        m_media = CreateMakers(m_library.Get());
        if (!m_media) m_library.Reset();
    }
    if (!m_media) m_media = CreateOnvifMedia(transport);
}

}  // namespace norix
