#include "remote/SCL.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "common/Hex.h"
#include "common/Log.h"
#include "common/Utf8.h"
#include "platform/Bundle.h"
#include "platform/MainQueue.h"
#include "platform/SystemInfo.h"
#include "platform/UnicodeText.h"
#include "platform/UrlSession.h"
#include "remote/ServiceTexts.h"
#include "remote/ServiceUrls.h"

namespace keyvane {
namespace {

constexpr std::chrono::seconds idleLimit{15};
constexpr std::chrono::seconds totalLimit{30};

// The answer's bytes as text: ASCII as it is; anything above it taken as Latin-1, so that every
// byte stays one character and the text is valid UTF-8.
std::string asciiText(const std::vector<unsigned char>& bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const unsigned char byte : bytes)
        appendUtf8(text, byte);
    return text;
}

constexpr bool isAsciiAlphanumeric(unsigned char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z');
}

void parseHeaderLines(const std::string& headerLines, UrlRequest& request) {
    std::size_t start = 0;
    while (start <= headerLines.size()) {
        std::size_t end = headerLines.find('\n', start);
        if (end == std::string::npos)
            end = headerLines.size();
        const std::string_view line = std::string_view(headerLines).substr(start, end - start);
        start = end + 1;
        if (line.empty())
            continue;
        const std::size_t separator = line.find(": ");
        if (separator == std::string_view::npos) {
            trace(service::headerNoMatchFrom);
            trace(service::headerNoMatchTo);
            request.headerFields.emplace_back("", "");
        } else {
            request.headerFields.emplace_back(std::string(line.substr(0, separator)),
                                              std::string(line.substr(separator + 2)));
        }
    }
}

}  // namespace

void SCL::sendRequest(const std::string& url, std::function<void(const std::string&)> onText,
                      std::function<void(const std::string&)> onFailure, const std::string& body,
                      const std::string& headerLines,
                      std::function<void(const std::vector<unsigned char>&)> onData) {
    UrlRequest request;
    request.url = url;
    request.idleLimit = idleLimit;
    request.totalLimit = totalLimit;
    if (!body.empty()) {
        request.method = "POST";
        request.body = body;
    }
    parseHeaderLines(headerLines, request);

    // The completion runs once: the callbacks and the answer move on to the main queue, and its
    // text, up to a whole answer's size, is only made for a caller that reads it.
    UrlSession::start(
        std::move(request), [onText = std::move(onText), onFailure = std::move(onFailure),
                             onData = std::move(onData)](UrlOutcome outcome) mutable {
            if (outcome.failed) {
                trace(outcome.errorDetail);
                MainQueue::async([onFailure = std::move(onFailure),
                                  description = std::move(outcome.errorDescription)] {
                    if (onFailure)
                        onFailure(description);
                });
            } else if (!outcome.body) {
                trace(service::noErrorNoData);
                MainQueue::async([onFailure = std::move(onFailure)] {
                    if (onFailure)
                        onFailure(service::noErrorNoData);
                });
            } else {
                std::string text = onText ? asciiText(*outcome.body) : std::string();
                MainQueue::async([onText = std::move(onText), onData = std::move(onData),
                                  text = std::move(text), bytes = std::move(*outcome.body)] {
                    if (onText)
                        onText(text);
                    if (onData)
                        onData(bytes);
                });
            }
        });
}

// Reports to the built-in placeholder host could never arrive, and nobody would see them fail:
// the URL, which encodes a whole command, is not even composed.
void SCL::logEvent(const std::string& name, const std::string& value, const std::string& notes) {
    if (UrlSession::neverResolves(service::host()))
        return;
    sendRequest(service::eventUrl(name, value, notes, service::randomQueryValue()), {}, {}, "", "",
                {});
}

void SCL::logError(const std::string& message) {
    if (UrlSession::neverResolves(service::host()))
        return;
    sendRequest(service::errorUrl(message), {}, {}, "", "", {});
}

const std::string& SCL::userIdentity() {
    static const std::string identity = sanitizeName(
        system_info::loginName() + service::identitySeparator + system_info::computerName());
    return identity;
}

const std::string& SCL::osVersion() {
    static const std::string version = system_info::osMajorMinor();
    return version;
}

const std::string& SCL::appVersion() {
    static const std::string version = bundle::shortVersion();
    return version;
}

std::string SCL::sanitizeName(const std::string& text) {
    const std::string_view allowed = service::identityAllowed;
    std::string result;
    for (const std::string& character : unicode::graphemeClusters(text)) {
        if (character.size() == 1 && allowed.find(character.front()) != std::string_view::npos)
            result += character;
    }
    return result;
}

std::string SCL::percentEncode(const std::string& text) {
    std::string result;
    result.reserve(text.size() + text.size() / 2);
    const auto escape = [&](unsigned char byte) {
        result += '%';
        appendHexByte(result, byte, true);
    };
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // ASCII, nearly all of what is sent, needs no look-up in the Unicode tables.
        if (byte < 0x80) {
            if (isAsciiAlphanumeric(byte))
                result += static_cast<char>(byte);
            else
                escape(byte);
            ++i;
            continue;
        }
        const Utf8Step step = decodeUtf8At(text, i);
        if (step.valid && unicode::isAlphanumeric(step.codePoint)) {
            result.append(text, i, step.length);
        } else {
            for (std::size_t k = i; k < i + step.length; ++k)
                escape(static_cast<unsigned char>(text[k]));
        }
        i += step.length;
    }
    return result;
}

}  // namespace keyvane
