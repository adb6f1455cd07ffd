#pragma once

#include <cstdint>
#include <string>

namespace keyvane::service {

// "host" or "host:port": the environment's choice, else the one built in.
std::string host();

// The whole URLs of the web service. `random` is the cache-busting query value.
std::string eventUrl(const std::string& name, const std::string& value, const std::string& notes,
                     std::uint32_t random);
std::string errorUrl(const std::string& message);
std::string configUrl(std::uint32_t random);
std::string downloadPageUrl();

// A fresh random number below `randomBound`.
std::uint32_t randomQueryValue();

}  // namespace keyvane::service
