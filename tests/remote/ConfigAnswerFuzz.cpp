// libFuzzer target: any answer body must decode without a crash, undefined behaviour or leak, and
// whatever is accepted must look like a configuration.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "remote/RemoteConfig.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace keyvane;
    const std::string body(reinterpret_cast<const char*>(data), size);
    const std::optional<RemoteConfig> config = config_answer::decode(body);
    if (!config)
        return 0;
    const std::string values[] = {config->configTag, config->configFlag, config->minimumVersion,
                                  config->latestVersion};
    if (config->configTag != "config")
        std::abort();
    for (const std::string& value : values) {
        if (value.find('\n') != std::string::npos)
            std::abort();
    }
    // The version order is a strict order: never both ways, never a text below itself.
    const std::string& minimum = config->minimumVersion;
    const std::string& latest = config->latestVersion;
    if (versionSortsBelow(minimum, minimum) ||
        (versionSortsBelow(minimum, latest) && versionSortsBelow(latest, minimum)))
        std::abort();
    return 0;
}
