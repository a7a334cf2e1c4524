#include "live/env/BasicUsageEnvironment.h"

#include <memory>

#include "net/Sockets.h"

namespace {
const char* text(const char* message) {
    return message ? message : "";
}
}  // namespace

BasicUsageEnvironment* BasicUsageEnvironment::createNew(TaskScheduler& scheduler) {
    if (!net::startUp()) return nullptr;
    return new BasicUsageEnvironment(scheduler);
}

Boolean BasicUsageEnvironment::reclaim() {
    const std::unique_ptr<BasicUsageEnvironment> ended(this);
    return True;
}

void BasicUsageEnvironment::setResultMsg(MsgString message) {
    setResultMsg(message, "", "");
}

void BasicUsageEnvironment::setResultMsg(MsgString first, MsgString second) {
    setResultMsg(first, second, "");
}

void BasicUsageEnvironment::setResultMsg(MsgString first, MsgString second, MsgString third) {
    // The parts may point into the old text.
    std::string joined = text(first);
    joined += text(second);
    joined += text(third);
    m_result = std::move(joined);
}

void BasicUsageEnvironment::setResultErrMsg(MsgString message, int err) {
    setResultMsg(message, net::errorText(err != 0 ? err : getErrno()).c_str());
}

int BasicUsageEnvironment::getErrno() const {
    return net::lastError();
}
