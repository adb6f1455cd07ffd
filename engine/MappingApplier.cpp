#include "engine/MappingApplier.h"

#include "common/Log.h"
#include "common/Text.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"

namespace keyvane {
namespace {

std::function<void()> afterInstall;
ApplierEffects effects;

void logEvent(const std::string& name, const std::string& value, const std::string& notes) {
    if (effects.logEvent)
        effects.logEvent(name, value, notes);
}

void alert(const std::string& text, const std::string& title) {
    if (effects.showAlert)
        effects.showAlert(text, title);
}

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

bool MappingApplier::Installation::installed() const {
    const std::string& answer = command.empty() ? clearingOutput : result;
    return answer.find(successMarker) != std::string::npos;
}

MappingApplier::Installation MappingApplier::install() {
    Installation installation;
    installation.clearingOutput = ShellRunner::run(clearingCommand);
    installation.command = composeCommand();
    if (installation.command.empty())
        return installation;
    installation.hasBlankId =
        installation.command.find(blankSourceMarker) != std::string::npos ||
        installation.command.find(blankDestinationMarker) != std::string::npos;
    installation.result = ShellRunner::run(installation.command);
    return installation;
}

bool MappingApplier::applyMappings() {
    const Installation installation = install();
    trace(installation.clearingOutput);
    logEvent("applymapping", "startcmd", installation.clearingOutput);
    if (installation.command.empty())
        return installation.installed();

    if (installation.hasBlankId) {
        if (effects.logError)
            effects.logError(blankIdError + installation.command);
        alert(blankIdAlertText, blankIdAlertTitle);
    }
    trace(installation.command);
    logEvent("sh", "cmd", installation.command);
    trace(installation.result);
    logEvent("sh", "result", installation.result);

    if (!installation.installed())
        alert(failedAlertText, failedAlertTitle);
    if (afterInstall)
        afterInstall();
    return installation.installed();
}

void MappingApplier::setEffects(ApplierEffects given) {
    effects = std::move(given);
}

void MappingApplier::setAfterInstall(std::function<void()> hook) {
    afterInstall = std::move(hook);
}

}  // namespace keyvane
