#include "remote/ServiceUrls.h"

#include <cstdlib>

#include "remote/SCL.h"
#include "remote/ServiceTexts.h"

#ifndef KEYVANE_SERVICE_HOST
#error "KEYVANE_SERVICE_HOST must be defined by the build"
#endif

namespace keyvane::service {

std::string host() {
    const char* chosen = std::getenv(hostVariable);
    return chosen && *chosen ? chosen : KEYVANE_SERVICE_HOST;
}

std::string eventUrl(const std::string& name, const std::string& value, const std::string& notes,
                     std::uint32_t random) {
    return scheme + host() + eventPath + SCL::percentEncode(name) + eventValueField +
           SCL::percentEncode(value) + eventNotesField + SCL::percentEncode(notes) +
           eventDeviceField + SCL::percentEncode(SCL::osVersion() + "-" + SCL::appVersion()) +
           eventUserField + SCL::percentEncode(SCL::userIdentity() + "-") + randomField +
           std::to_string(random);
}

std::string errorUrl(const std::string& message) {
    const std::string report =
        message + "\n\n" + SCL::userIdentity() + "-" + SCL::osVersion() + "-" + SCL::appVersion();
    return scheme + host() + errorPath + SCL::percentEncode(report);
}

std::string configUrl(std::uint32_t random) {
    return scheme + host() + configPath + SCL::percentEncode(SCL::userIdentity()) + randomField +
           std::to_string(random);
}

std::string downloadPageUrl() {
    return scheme + host() + downloadPath;
}

std::uint32_t randomQueryValue() {
    return arc4random_uniform(randomBound);
}

}  // namespace keyvane::service
