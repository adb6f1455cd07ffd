#include "engine/MappingApplier.h"

#include <iostream>

#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "engine/Text.h"
#include "platform/Alert.h"
#include "remote/SCL.h"

namespace keyvane {
namespace {

std::function<void()> afterInstall;

std::string chooseTemplate() {
    std::optional<std::string> keyboardId = MappingStore::loadKeyboardId();
    if (!keyboardId || *keyboardId == allKeyboardsId)
        return MappingApplier::allKeyboardsTemplate;
    return MappingApplier::oneKeyboardTemplateHead + insideSingleQuotes(*keyboardId) +
           MappingApplier::oneKeyboardTemplateTail;
}

std::string composeEntries() {
    std::string entries;
    for (const KeyMapping& mapping : keyMappings) {
        auto source = mapping.find("originalId");
        auto destination = mapping.find("remappedId");
        if (source == mapping.end() || destination == mapping.end())
            continue;
        entries += MappingApplier::entryHead + insideSingleQuotes(source->second) +
                   MappingApplier::entryMiddle + insideSingleQuotes(destination->second) +
                   MappingApplier::entryTail;
    }
    if (!entries.empty())
        entries.pop_back();  // the last entry's comma
    return entries;
}

}  // namespace

std::string insideSingleQuotes(const std::string& value) {
    return replacingOccurrences(value, "'", R"('\'')");
}

std::string MappingApplier::composeCommand() {
    std::string entries = composeEntries();
    if (entries.empty())
        return {};
    return replacingOccurrences(chooseTemplate(), placeholder, entries);
}

void MappingApplier::applyMappings() {
    std::string clearingOutput = ShellRunner::run(clearingCommand);
    std::cout << clearingOutput << std::endl;
    SCL::logEvent("applymapping", "startcmd", clearingOutput);

    std::string command = composeCommand();
    if (command.empty())
        return;

    if (command.find(blankSourceMarker) != std::string::npos ||
        command.find(blankDestinationMarker) != std::string::npos) {
        SCL::logError(blankIdError + command);
        showAlert(blankIdAlertText, blankIdAlertTitle, [] {});
    }

    std::string result = ShellRunner::run(command);
    std::cout << command << std::endl;
    SCL::logEvent("sh", "cmd", command);
    std::cout << result << std::endl;
    SCL::logEvent("sh", "result", result);

    if (result.find(successMarker) == std::string::npos)
        showAlert(failedAlertText, failedAlertTitle, [] {});
    if (afterInstall)
        afterInstall();
}

void MappingApplier::setAfterInstall(std::function<void()> hook) {
    afterInstall = std::move(hook);
}

}  // namespace keyvane
