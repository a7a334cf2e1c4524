#include "live/sdp/ParameterSets.h"

#include <algorithm>
#include <string_view>

#include "protocol/Text.h"

SPropRecord* parseSPropParameterSets(char const* sPropParameterSetsStr, unsigned& numSPropRecords) {
    constexpr std::size_t kMaxRecords = 64;
    numSPropRecords = 0;
    if (!sPropParameterSetsStr) return nullptr;
    std::string_view rest(sPropParameterSetsStr);
    if (rest.empty()) return nullptr;
    const auto commas = static_cast<std::size_t>(std::count(rest.begin(), rest.end(), ','));
    const std::size_t count = std::min(commas + 1, kMaxRecords);
    auto records = std::make_unique<SPropRecord[]>(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto bytes = protocol::decodeBase64(protocol::trim(protocol::take(rest, ',')));
        records[i].sPropLength = static_cast<unsigned>(bytes.size());
        records[i].sPropBytesOwned = std::make_unique<unsigned char[]>(bytes.size());
        records[i].sPropBytes = records[i].sPropBytesOwned.get();
        std::copy(bytes.begin(), bytes.end(), records[i].sPropBytes);
    }
    numSPropRecords = static_cast<unsigned>(count);
    return records.release();
}
