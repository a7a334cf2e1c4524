#pragma once

#include <string>

#include "live/env/UsageEnvironment.h"

class BasicUsageEnvironment : public UsageEnvironment {
  public:
    /// Also makes sure that sockets can be used.
    static BasicUsageEnvironment* createNew(TaskScheduler& scheduler);

    Boolean reclaim() override;
    MsgString getResultMsg() const override { return m_result.c_str(); }
    void setResultMsg(MsgString message) override;
    void setResultMsg(MsgString first, MsgString second) override;
    void setResultMsg(MsgString first, MsgString second, MsgString third) override;
    void setResultErrMsg(MsgString message, int err = 0) override;
    int getErrno() const override;

  protected:
    explicit BasicUsageEnvironment(TaskScheduler& scheduler) : UsageEnvironment(scheduler) {}

  private:
    std::string m_result;
};
