#include "ui/Texts.h"

namespace norix {

std::wstring Insert(const std::wstring& text, std::initializer_list<std::wstring> arguments) {
    std::wstring result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t number =
            text[i] == L'%' && i + 1 < text.size() ? static_cast<std::size_t>(text[i + 1] - L'0') : 0;
        if (number >= 1 && number <= arguments.size()) {
            result += arguments.begin()[number - 1];
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

}  // namespace norix
