#include "tests/system/container/HostProcess.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/windows/container/BuiltFile.h"
#include "util/Handles.h"

namespace {

constexpr DWORD kDeadline = 60'000;
constexpr size_t kTimeLength = 13;  // "hh:mm:ss.mmm "

// As the C runtime takes command lines apart.
std::wstring Quoted(const std::wstring& argument) {
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L"\"";
}

// Created empty and removed at the end.
class TemporaryFile {
  public:
    TemporaryFile() {
        wchar_t folder[MAX_PATH];
        wchar_t name[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        if (!GetTempFileNameW(folder, L"nxh", 0, name)) throw std::runtime_error("no temporary file");
        path_ = name;
    }
    ~TemporaryFile() { DeleteFileW(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::wstring& Path() const { return path_; }

  private:
    std::wstring path_;
};

std::string ReadAll(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(pipe, buffer, sizeof(buffer), &read, nullptr) && read > 0)
        text.append(buffer, read);
    return text;
}

}  // namespace

std::vector<std::string> HostRun::Of(const std::string& kind) const {
    std::vector<std::string> lines;
    for (const std::string& line : log) {
        if (line.starts_with(kind + " ")) lines.push_back(line.substr(kind.size() + 1));
    }
    return lines;
}

HostRun RunHostWithoutLog(const std::vector<std::wstring>& arguments) {
    const std::wstring program = FindBuiltFile(L"samples\\host\\NorixHost.exe");
    std::wstring commandLine = Quoted(program);
    for (const auto& argument : arguments)
        commandLine += L" " + Quoted(argument);

    SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
    util::UniqueHandle read;
    util::UniqueHandle write;
    if (!CreatePipe(read.Put(), write.Put(), &inheritable, 0)) throw std::runtime_error("no pipe");
    SetHandleInformation(read.Get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = write.Get();
    startup.hStdError = write.Get();
    PROCESS_INFORMATION information{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &information)) {
        throw std::runtime_error("NorixHost.exe does not start");
    }
    const util::UniqueHandle process(information.hProcess);
    const util::UniqueHandle thread(information.hThread);
    write.Reset();

    HostRun run;
    std::jthread reader([&] { run.output = ReadAll(read.Get()); });
    const bool ended = WaitForSingleObject(process.Get(), kDeadline) == WAIT_OBJECT_0;
    if (!ended) TerminateProcess(process.Get(), 99);
    reader.join();
    if (!ended) throw std::runtime_error("NorixHost.exe does not end");
    DWORD code = 0;
    GetExitCodeProcess(process.Get(), &code);
    run.exitCode = static_cast<int>(code);
    return run;
}

HostRun RunHost(const std::vector<std::wstring>& arguments) {
    const TemporaryFile file;
    std::vector<std::wstring> all = {L"--log", file.Path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    HostRun run = RunHostWithoutLog(all);
    std::ifstream log{std::filesystem::path(file.Path())};
    for (std::string line; std::getline(log, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        run.log.push_back(line.substr(std::min(kTimeLength, line.size())));
    }
    return run;
}
