#include "Dialogue.h"

#include "protocol/Text.h"

namespace onvif_test {
namespace {

void SetField(Dialogue& dialogue, std::string_view name, const std::string& value) {
    norix::OnvifQuestion& question = dialogue.question;
    const std::uint32_t number = protocol::parseNumber(value, 65535).value_or(0);
    if (name == "host") question.host = value;
    if (name == "port") question.port = static_cast<std::uint16_t>(number);
    if (name == "secure") question.secure = number != 0;
    if (name == "user") question.user = value;
    if (name == "password") question.password = value;
    if (name == "mediaService") question.mediaServiceUri = value;
    if (name == "token") question.profileToken = value;
    if (name == "channel") question.channel = number;
    if (name == "codec") question.codec = static_cast<norix::KsOnvifCodec>(number);
    if (name == "index") question.streamIndex = number;
    if (name == "protocol") question.protocol = number;
    if (name == "expect") dialogue.expected = value;
    if (name == "sent") dialogue.sent.push_back(value);
    if (name == "log") dialogue.logged.push_back(value);
    if (name == "never") dialogue.neverLogged.push_back(value);
}

}  // namespace

Dialogue ReadDialogue(std::string_view text) {
    Dialogue dialogue;
    while (!text.empty()) {
        std::string_view line = protocol::takeLine(text);
        if (line.starts_with("=== ")) {
            line.remove_prefix(4);
            Exchange exchange;
            const std::size_t arrow = line.find(" -> ");
            exchange.request = line.substr(0, arrow);
            if (arrow != line.npos) {
                const auto status = protocol::parseNumber(line.substr(arrow + 4), 999);
                exchange.answered = status.has_value();
                exchange.status = status.value_or(0);
            }
            dialogue.exchanges.push_back(std::move(exchange));
        } else if (!dialogue.exchanges.empty()) {
            dialogue.exchanges.back().reply += std::string(line) + "\n";
        } else {
            const std::string_view name = protocol::take(line, ':');
            SetField(dialogue, name, std::string(protocol::trim(line)));
        }
    }
    return dialogue;
}

norix::HttpReply ScriptedCamera::Send(const norix::HttpRequest& request) {
    const std::string_view action = request.headers;
    std::string_view operation = action.substr(0, action.rfind('"'));
    operation.remove_prefix(operation.rfind('/') + 1);
    asked.push_back((request.secure ? "https:" : "") + request.host + ":" + std::to_string(request.port) +
                    " " + request.path + " " + std::string(operation));
    requests.push_back(request);
    if (asked.size() > m_exchanges.size()) return {};
    const Exchange& exchange = m_exchanges[asked.size() - 1];
    return {exchange.answered, exchange.status, "", exchange.reply};
}

norix::OnvifSurroundings QuietSurroundings() {
    return {[] { return std::int64_t{1000}; }, [] { return std::int64_t{1795255332}; },
            [] { return std::string("0123456789abcdef"); }};
}

}  // namespace onvif_test
