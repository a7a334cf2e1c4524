#include "camera/ptz/PtzQueries.h"

#include "camera/ptz/PtzMoves.h"
#include "protocol/Text.h"
#include "util/Format.h"

namespace norix {
namespace {

constexpr int kPresets = 25;

std::string Speeds(int tilt, int pan, int zoom) {
    return "&speedtilt=" + std::to_string(tilt) + "&speedpan=" + std::to_string(pan) +
           "&speedzoom=" + std::to_string(zoom);
}

}  // namespace

std::optional<std::string> PtzQuery(std::string_view command, std::int16_t parameter, std::int32_t channel) {
    const PtzMove* const move = FindPtzMove(command);
    if (move == nullptr) return std::nullopt;
    const auto speed = [&](PtzUse axis) {
        const bool both = move->use == PtzUse::TiltAndPan && axis != PtzUse::Zoom;
        return move->use == axis || both ? int{parameter} : 0;
    };
    std::string query =
        "/kest-cgi/setPTZCtrl.cgi?channel=" + std::to_string(channel) + "&move=" + std::string(move->name);
    if (move->use == PtzUse::Preset) query += "&recall=" + std::to_string(parameter);
    return query + Speeds(speed(PtzUse::Tilt), speed(PtzUse::Pan), speed(PtzUse::Zoom));
}

std::string SavePresetQuery(std::string_view name, std::int16_t index) {
    std::string line(name);
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
    return "/kest-cgi/setPreset.cgi?move=addpreset&name=" + protocol::percentEncode(line, "") +
           "&PresetIndex=" + util::Format("%02d", index) + Speeds(0, 0, 0);
}

std::string PresetNamesQuery() {
    std::string query = "/kest-cgi/getParam.cgi?";
    for (int preset = 1; preset <= kPresets; ++preset)
        query += util::Format(preset > 1 ? "&camctrl_presetname%02d" : "camctrl_presetname%02d", preset);
    return query;
}

std::string PresetNames(std::string_view reply) {
    std::string names;
    std::size_t sign = 0;  // looked for once: a reply may be of lines alone
    for (std::size_t begin = 0;;) {
        if (sign <= begin) sign = reply.find('=', begin);
        const std::size_t end = reply.find('\n', begin);
        if (sign == std::string_view::npos || end == std::string_view::npos) return names;
        // A line without a sign has no name.
        if (sign < end) names += reply.substr(sign + 1, end - sign - 1);
        names += '#';
        begin = end + 1;
    }
}

}  // namespace norix
