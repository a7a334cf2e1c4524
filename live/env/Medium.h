#pragma once

// Everything that belongs to an environment and is ended with close.

#include "live/env/UsageEnvironment.h"

class Medium {
  public:
    /// NULL is fine.
    static void close(Medium* medium);

    UsageEnvironment& envir() const { return m_environment; }

    Medium(const Medium&) = delete;
    Medium& operator=(const Medium&) = delete;

  protected:
    explicit Medium(UsageEnvironment& env) : m_environment(env) {}
    virtual ~Medium() = default;

    TaskToken& nextTask() { return m_nextTask; }

  private:
    UsageEnvironment& m_environment;
    TaskToken m_nextTask = nullptr;
};
