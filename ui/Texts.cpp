#include "ui/Texts.h"

#include <windows.h>

#include "framework/Module.h"
#include "util/Settings.h"

namespace norix {

namespace {

constexpr unsigned kBlock = 16;  // strings per resource, as Windows stores them

/// One string of a language's own table; empty when it has none.
std::wstring Find(unsigned id, WORD language) {
    const HINSTANCE module = framework::COleControlModule::Get().Instance();
    const HRSRC block =
        FindResourceExW(module, MAKEINTRESOURCEW(6),  // RT_STRING
                        MAKEINTRESOURCEW(id / kBlock + 1), MAKELANGID(language, SUBLANG_DEFAULT));
    const HGLOBAL loaded = block != nullptr ? LoadResource(module, block) : nullptr;
    const auto* at = loaded != nullptr ? static_cast<const wchar_t*>(LockResource(loaded)) : nullptr;
    if (at == nullptr) return {};
    const wchar_t* const end = at + SizeofResource(module, block) / sizeof(wchar_t);
    for (unsigned skip = id % kBlock; skip > 0 && at < end; --skip)
        at += 1 + *at;  // each begins with its length
    if (at >= end || *at > end - at - 1) return {};
    return std::wstring(at + 1, *at);
}

WORD Language() {
    const std::wstring chosen = util::ClientLanguage();
    if (chosen == L"en") return LANG_ENGLISH;
    if (chosen == L"de") return LANG_GERMAN;
    return PRIMARYLANGID(GetUserDefaultUILanguage());
}

}  // namespace

std::wstring UiText(unsigned id) {
    std::wstring text = Find(id, Language());
    return text.empty() ? Find(id, LANG_ENGLISH) : text;
}

}  // namespace norix
