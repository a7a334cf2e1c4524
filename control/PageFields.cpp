#include "control/PageFields.h"

#include <algorithm>

#include "ui/ClientSettings.h"

namespace norix {

const PageField* FieldOf(int id) {
    const auto found = std::find_if(kPageFields.begin(), kPageFields.end(),
                                    [&](const PageField& field) { return field.id == id; });
    return found == kPageFields.end() ? nullptr : &*found;
}

std::optional<long> ParseField(const PageField& field, const std::wstring& text) {
    const auto number = text.empty() ? std::nullopt : ParseNumber(text, field.most);
    return number && *number >= field.least ? number : std::nullopt;
}

int ProtocolPosition(long protocol) {
    const auto found = std::find(kPageProtocols.begin(), kPageProtocols.end(), protocol);
    return found == kPageProtocols.end() ? 0 : static_cast<int>(found - kPageProtocols.begin());
}

}  // namespace norix
