#include "platform/UrlSession.h"

#include <curl/curl.h>

#include <cctype>
#include <memory>
#include <optional>

#include "platform/ExchangeThreads.h"

namespace keyvane {
namespace {

UrlOutcome failureBeforeStart(const std::string& description, const std::string& url) {
    UrlOutcome outcome;
    outcome.failed = true;
    outcome.errorDescription = description;
    outcome.errorDetail = description + " for " + url;
    return outcome;
}

std::string lowerCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The host of a URL, or nothing when it does not parse.
std::optional<std::string> hostOf(const std::string& url) {
    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parts(curl_url(), curl_url_cleanup);
    char* host = nullptr;
    if (!parts || curl_url_set(parts.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
        curl_url_get(parts.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK)
        return std::nullopt;
    std::string result = host;
    curl_free(host);
    return result;
}

}  // namespace

void UrlSession::start(UrlRequest request, std::function<void(UrlOutcome)> completion) {
    const std::optional<std::string> host = hostOf(request.url);
    if (!host) {
        completion(failureBeforeStart("The URL is not valid: " + request.url, request.url));
        return;
    }
    if (neverResolves(*host)) {
        // Answered here: even a look-up of the name would leave the machine.
        completion(failureBeforeStart("Could not resolve host: " + *host, request.url));
        return;
    }
    ExchangeThreads::start(std::move(request), std::move(completion));
}

bool UrlSession::neverResolves(const std::string& hostAndPort) {
    std::string host = hostAndPort;
    if (host.empty() || host.front() == '[')
        return false;  // an IPv6 address
    if (const std::size_t colon = host.rfind(':'); colon != std::string::npos)
        host.erase(colon);
    host = lowerCase(host);
    if (!host.empty() && host.back() == '.')
        host.pop_back();
    return host == "invalid" || host.ends_with(".invalid");
}

}  // namespace keyvane
