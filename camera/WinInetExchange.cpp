#include "camera/WinInetExchange.h"

#include <algorithm>
#include <array>

#include "camera/HttpPolicy.h"
#include "net/Failure.h"
#include "protocol/Origin.h"
#include "util/Log.h"
#include "util/Text.h"

namespace norix {
namespace {

constexpr wchar_t kAgent[] = L"RTSP URL";
constexpr DWORD kLongestHeaders = 256u << 10;
constexpr DWORD kReadStep = 16u << 10;

constexpr DWORD kRequestFlags = INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_AUTH |
                                INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_NO_COOKIES |
                                INTERNET_FLAG_NO_UI;

void SetNumber(HINTERNET handle, DWORD option, DWORD value) {
    InternetSetOptionW(handle, option, &value, sizeof value);
}

// Systems differ in which handle they take these from.
void SetTimeouts(HINTERNET handle) {
    SetNumber(handle, INTERNET_OPTION_CONNECT_TIMEOUT, kPhaseLimit);
    SetNumber(handle, INTERNET_OPTION_SEND_TIMEOUT, kPhaseLimit);
    SetNumber(handle, INTERNET_OPTION_RECEIVE_TIMEOUT, kPhaseLimit);
}

void LogFailure(const char* what) {
    NORIX_LOG("WinInetExchange", 1, "%s failed, error %u", what, static_cast<unsigned>(GetLastError()));
}

// WinInet's reports of what it is doing, on the thread that called it.
void CALLBACK OnStatus(HINTERNET request, DWORD_PTR context, DWORD status, LPVOID, DWORD) noexcept {
    using Phase = ExchangeWatch::Phase;
    auto* const watch = reinterpret_cast<ExchangeWatch*>(context);
    if (!watch) return;
    switch (status) {
        case INTERNET_STATUS_RESOLVING_NAME:
            return watch->Enter(Phase::Lookup);
        case INTERNET_STATUS_CONNECTING_TO_SERVER:
            return watch->Enter(Phase::Connect);
        case INTERNET_STATUS_CONNECTED_TO_SERVER:
            return watch->Enter(Phase::Secure);
        case INTERNET_STATUS_SENDING_REQUEST:
            // The last moment before anything is told to the server. (Wine sends the request all the same,
            // but lets nobody see a reply.)
            if (watch->Guard() && watch->Guard()->Look(request) == CertificateGuard::Verdict::Refused)
                watch->CloseLent();
            return watch->Enter(Phase::Send);
        case INTERNET_STATUS_REQUEST_SENT:
        case INTERNET_STATUS_RECEIVING_RESPONSE:
            return watch->Enter(Phase::Receive);
        default:
            return;
    }
}

void AcceptAnyIssuer(HINTERNET request) {
    DWORD flags = 0;
    DWORD size = sizeof flags;
    InternetQueryOptionW(request, INTERNET_OPTION_SECURITY_FLAGS, &flags, &size);
    SetNumber(request, INTERNET_OPTION_SECURITY_FLAGS,
              flags | SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_CN_INVALID);
}

// The name, for a request that is sent to an address.
bool SetHostLine(HINTERNET handle, const HttpRequest& request) {
    std::string line = "Host: " + protocol::hostInUrl(request.host);
    if (request.port != (request.secure ? protocol::kHttpsPort : protocol::kHttpPort))
        line += ":" + std::to_string(request.port);
    line += "\r\n";
    return HttpAddRequestHeadersA(handle, line.c_str(), static_cast<DWORD>(line.size()),
                                  HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE) != FALSE;
}

bool IsForTheCertificate(DWORD error) {
    return error == ERROR_INTERNET_INVALID_CA || error == ERROR_INTERNET_SEC_CERT_CN_INVALID ||
           error == ERROR_INTERNET_SEC_CERT_ERRORS;
}

std::string FailureOf(DWORD error) {
    switch (error) {
        case ERROR_INTERNET_NAME_NOT_RESOLVED:
            return net::failureOfError(net::kNameNotFound);
        case ERROR_INTERNET_TIMEOUT:
            return net::kNoAnswer;
        case ERROR_INTERNET_CANNOT_CONNECT:
            return net::failureOfError(WSAECONNREFUSED);
        default:
            return net::failureOfError(WSAECONNRESET);
    }
}

}  // namespace

bool WinInetExchange::Open(const HttpRequest& request, Certificates certificates) {
    m_session.Reset(InternetOpenW(kAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!m_session) return false;
    SetTimeouts(m_session.Get());
    SetNumber(m_session.Get(), INTERNET_OPTION_CONNECT_RETRIES, 1);
    InternetSetStatusCallbackW(m_session.Get(), &OnStatus);

    const auto context = reinterpret_cast<DWORD_PTR>(&m_watch);
    // A certificate that the system vouches for proves whose name that is; one that was only pinned doesn't.
    const bool provesName = request.secure && certificates == Certificates::Vouched;
    const bool byAddress = !provesName && !request.connectTo.empty() && request.connectTo != request.host;
    const std::string server = protocol::hostInUrl(byAddress ? request.connectTo : request.host);
    m_connection.Reset(InternetConnectW(m_session.Get(), util::Utf8ToWide(server).c_str(), request.port,
                                        nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, context));
    if (!m_connection) return false;
    const DWORD secure = request.secure ? INTERNET_FLAG_SECURE : 0;
    m_request.Reset(HttpOpenRequestA(m_connection.Get(), request.verb.c_str(),
                                     EncodePath(request.path).c_str(), "HTTP/1.0", nullptr, nullptr,
                                     kRequestFlags | secure, context));
    if (m_request) SetTimeouts(m_request.Get());
    if (m_request && byAddress && !SetHostLine(m_request.Get(), request)) return false;
    if (m_request && certificates == Certificates::Pinned) AcceptAnyIssuer(m_request.Get());
    return static_cast<bool>(m_request);
}

bool WinInetExchange::Transmit(const HttpRequest& request, const std::string& authorization) {
    const std::string headers = request.headers + authorization;
    std::string body = request.body;  // WinInet wants to be able to write to it
    m_watch.LendRequest(m_request.Get());
    const bool sent = !m_watch.Abandoned() &&
                      HttpSendRequestA(m_request.Get(), headers.empty() ? nullptr : headers.c_str(),
                                       static_cast<DWORD>(headers.size()),
                                       body.empty() ? nullptr : body.data(), static_cast<DWORD>(body.size()));
    const DWORD error = GetLastError();
    if (!m_watch.TakeBackRequest()) {
        static_cast<void>(m_request.Release());  // closed already
        return false;
    }
    SetLastError(error);
    return sent;
}

bool WinInetExchange::ReadHeaders(HttpReply& reply) {
    DWORD status = 0;
    DWORD size = sizeof status;
    if (HttpQueryInfoW(m_request.Get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                       nullptr)) {
        reply.status = status;
    }
    size = 0;
    const BOOL empty = HttpQueryInfoA(m_request.Get(), HTTP_QUERY_RAW_HEADERS_CRLF, nullptr, &size, nullptr);
    if (empty || GetLastError() != ERROR_INSUFFICIENT_BUFFER) return true;  // a reply without headers
    if (size > kLongestHeaders) return false;
    reply.headers.resize(size + 1);
    size = static_cast<DWORD>(reply.headers.size());
    if (!HttpQueryInfoA(m_request.Get(), HTTP_QUERY_RAW_HEADERS_CRLF, reply.headers.data(), &size, nullptr)) {
        size = 0;
    }
    reply.headers.resize(size);
    return true;
}

HttpReply WinInetExchange::Send(const HttpRequest& request, const std::string& authorization,
                                Certificates certificates) {
    if (!Open(request, certificates)) {
        LogFailure("Opening a request");
        return {};
    }
    CertificateGuard guard(OriginOf(request));
    CertificateGuard* const guarded = certificates == Certificates::Pinned ? &guard : nullptr;
    m_watch.SetGuard(guarded);
    const bool sent = Transmit(request, authorization);
    const DWORD error = sent ? ERROR_SUCCESS : GetLastError();
    m_watch.SetGuard(nullptr);
    // The certificate is known from the handshake on, that is, after sending.
    const auto verdict = guarded ? guard.Look(m_request.Get()) : CertificateGuard::Verdict::Accepted;
    m_certificateRefused = verdict == CertificateGuard::Verdict::Refused || IsForTheCertificate(error);
    if (!sent) {
        SetLastError(error);
        LogFailure("A request");
    }
    HttpReply reply;
    // Nothing counts from a server whose certificate was not seen, or not accepted.
    if (!sent || verdict != CertificateGuard::Verdict::Accepted) {
        reply.failure = m_certificateRefused ? net::kCertificate : FailureOf(error);
        return reply;
    }
    reply.answered = ReadHeaders(reply);
    return reply;
}

void WinInetExchange::ReadBody(std::size_t most, HttpReply& reply) {
    m_watch.Enter(ExchangeWatch::Phase::Body);
    std::array<char, kReadStep> step;
    while (reply.body.size() < most) {
        // Reading more than there is would wait until all of it is there.
        DWORD size = 0;
        bool read = !m_watch.Abandoned() && InternetQueryDataAvailable(m_request.Get(), &size, 0, 0);
        if (read && size == 0) return;
        size = static_cast<DWORD>(std::min({std::size_t{size}, step.size(), most - reply.body.size()}));
        read = read && InternetReadFile(m_request.Get(), step.data(), size, &size);
        if (!read) {
            LogFailure("Reading a reply");
            reply.body.clear();
            reply.stalled = true;
            return;
        }
        if (size == 0) return;
        reply.body.append(step.data(), size);
    }
}

}  // namespace norix
