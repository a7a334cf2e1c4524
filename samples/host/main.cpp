#include <windows.h>

#include <comdef.h>
#include <shellapi.h>
#include <wrl/client.h>

#include <memory>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Log.h"
#include "MainWindow.h"
#include "TypeInfo.h"
#include "Values.h"

namespace {

// OLE for the main thread; everything that holds interfaces lives inside its scope.
class OleSession {
  public:
    OleSession() { _com_util::CheckError(OleInitialize(nullptr)); }
    ~OleSession() { OleUninitialize(); }
    OleSession(const OleSession&) = delete;
    OleSession& operator=(const OleSession&) = delete;
};

std::vector<std::wstring> Arguments() {
    int count = 0;
    const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> raw(CommandLineToArgvW(GetCommandLineW(), &count),
                                                              &LocalFree);
    return raw ? std::vector<std::wstring>(raw.get() + 1, raw.get() + count) : std::vector<std::wstring>();
}

// To the standard output where there is one: a pipe, a file, or the console the program was started from.
void Print(const std::wstring& text) {
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if ((!output || output == INVALID_HANDLE_VALUE) && AttachConsole(ATTACH_PARENT_PROCESS)) {
        output = GetStdHandle(STD_OUTPUT_HANDLE);
    }
    const std::string utf8 = ToUtf8(text);
    DWORD written = 0;
    WriteFile(output, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
}

ExitCode List(const std::wstring& progId) {
    CLSID clsid{};
    _com_util::CheckError(CLSIDFromProgID(progId.c_str(), &clsid));
    Microsoft::WRL::ComPtr<IUnknown> control;
    _com_util::CheckError(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&control)));
    Print(Format(ReadControlInfo(control.Get())));
    return ExitCode::Done;
}

ExitCode Run(const Options& options) {
    Log log;
    if (!options.logFile.empty() && !log.Open(options.logFile)) {
        Print(L"cannot write " + options.logFile + L"\n");
        return ExitCode::NoLog;
    }
    return MainWindow(options, log).Run();
}

ExitCode Main() try {
    const Options options = ParseCommandLine(Arguments());
    if (options.help) {
        Print(UsageText());
        return ExitCode::Done;
    }
    const OleSession ole;
    return options.list ? List(options.progId) : Run(options);
} catch (const UsageError& error) {
    Print(error.Message() + L"\n\n" + UsageText());
    return ExitCode::BadCommandLine;
} catch (const _com_error& error) {
    Print(std::wstring(L"failed: ") + error.ErrorMessage() + L"\n");
    return ExitCode::NoControl;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return static_cast<int>(Main());
}
