#include "util/ClientKey.h"

#include <algorithm>

namespace util {

std::wstring ClientKeyPath(std::wstring_view model, int channel) {
    std::wstring path = L"Software\\Norix";
    model = model.substr(0, model.find(L'\0'));
    while (!model.empty()) {
        const size_t end = std::min(model.find(L'\\'), model.size());
        if (end > 0) path.append(1, L'\\').append(model.substr(0, end));
        model.remove_prefix(std::min(end + 1, model.size()));
    }
    return path + L"\\CH" + std::to_wstring(channel);
}

}  // namespace util
