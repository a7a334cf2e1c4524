#include "bench/live_view/LogTap.h"

#include "tests/system/endurance/LiveView.h"
#include "util/Settings.h"

namespace {

// By these a program tells its debugger a line; who handles them first is the debugger.
constexpr DWORD kLine = 0x40010006;

}  // namespace

LogTap* LogTap::current_ = nullptr;

LogTap::LogTap() {
    current_ = this;
    handler_ = AddVectoredExceptionHandler(1, &OnException);
    Switch(L"EnableDebugOutput", 1);
    Switch(L"ShowFrameTimeInfo", 1);
}

LogTap::~LogTap() {
    Switch(L"EnableDebugOutput", 0);
    Switch(L"ShowFrameTimeInfo", 0);
    RemoveVectoredExceptionHandler(handler_);
    current_ = nullptr;
}

void LogTap::Switch(const wchar_t* name, DWORD value) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, util::kMachineKey, name, REG_DWORD, &value, sizeof value);
}

std::vector<LogTap::Line> LogTap::Take() {
    const std::lock_guard lock(lock_);
    return std::exchange(lines_, {});
}

LONG CALLBACK LogTap::OnException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != kLine || !current_) return EXCEPTION_CONTINUE_SEARCH;
    const std::lock_guard lock(current_->lock_);
    current_->lines_.push_back({NowMs(), reinterpret_cast<const char*>(record.ExceptionInformation[1])});
    return EXCEPTION_CONTINUE_EXECUTION;
}
