// Feeds texts as a camera or host could send them to every pure function that takes such texts.

#include <cstdlib>
#include <string>

#include "AppendText.h"
#include "util/ClientKey.h"
#include "util/LogLine.h"
#include "util/Redact.h"
#include "util/Version.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

// A secret of plain characters never survives, whatever surrounds it.
void CheckRedaction(const std::string& text) {
    const std::string secret = "S3cr-t";
    Require(util::RedactSecrets("rtsp://user:" + secret + "@host/ " + text).find(secret) ==
                std::string::npos ||
            text.find(secret) != std::string::npos);
    Require(util::RedactSecrets(text + "\nAuthorization: " + secret).find(secret) == std::string::npos ||
            text.find(secret) != std::string::npos);
}

void CheckLine(const std::string& text) {
    util::LogLine<char> line;
    line.Begin(1);
    util::test::AppendText(line, "%s", text.c_str());
    line.Location(text.c_str(), 1, text.c_str());
    line.End();
    Require(line.Str().starts_with("[NorixSDK][T00001] ") && line.Str().ends_with("\r\n"));
    Require(util::LogRecord(line.Str()).Size() <= line.Str().size() + 3);
}

void CheckClientKey(const std::string& text) {
    const std::wstring path = util::ClientKeyPath(std::wstring(text.begin(), text.end()), 1);
    Require(path.starts_with(L"Software\\Norix\\") && path.ends_with(L"\\CH1"));
    Require(path.find(L"\\\\") == std::wstring::npos && path.find(L'\0') == std::wstring::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckRedaction(text);
    CheckLine(text);
    CheckClientKey(text);
    util::ParseVersionResource({data, size});
    return 0;
}
