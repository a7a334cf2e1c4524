#include "camera/onvif/PresetNumbers.h"

#include <algorithm>
#include <optional>
#include <set>

#include "protocol/Text.h"

namespace norix::onvif {
namespace {

constexpr int kLastListed = 25;

// Nothing unless all tokens are numbers from 1 to 32767, each another one.
std::optional<std::vector<int>> TokensAsNumbers(const std::vector<Preset>& presets) {
    constexpr std::uint32_t kHighest = 0x7FFF;
    std::vector<int> numbers;
    for (const Preset& preset : presets) {
        const auto number = protocol::parseNumber(preset.token, kHighest);
        if (!number || *number == 0) return std::nullopt;
        numbers.push_back(static_cast<int>(*number));
    }
    const std::set<int> different(numbers.begin(), numbers.end());
    return different.size() == numbers.size() ? std::optional(std::move(numbers)) : std::nullopt;
}

}  // namespace

std::map<int, Preset> NumberPresets(const std::vector<Preset>& presets,
                                    const std::map<int, std::string>& saved) {
    std::map<int, Preset> numbered;
    std::set<std::string> placed;
    for (const auto& [number, token] : saved) {
        const auto preset = std::find_if(presets.begin(), presets.end(),
                                         [&, &wanted = token](const Preset& p) { return p.token == wanted; });
        if (preset == presets.end()) continue;  // somebody has removed it
        numbered[number] = *preset;
        placed.insert(token);
    }
    const auto tokens = TokensAsNumbers(presets);
    for (std::size_t i = 0; i < presets.size(); ++i) {
        if (placed.contains(presets[i].token)) continue;
        int number = tokens ? (*tokens)[i] : static_cast<int>(i) + 1;
        while (numbered.contains(number))
            ++number;
        numbered[number] = presets[i];
    }
    return numbered;
}

std::string PresetNames(const std::map<int, Preset>& numbered) {
    std::string names;
    int next = 1;
    for (const auto& [number, preset] : numbered) {
        if (number > kLastListed) break;
        if (number < 1) continue;
        names.append(static_cast<std::size_t>(number - next), '#').append(preset.name).append("#");
        next = number + 1;
    }
    return names;
}

}  // namespace norix::onvif
