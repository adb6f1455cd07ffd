#include "engine/MappingApplier.h"

#include <cstring>

#include "common/Log.h"
#include "common/Text.h"
#include "engine/MappingFile.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

std::string tr(const char* text) {
    return translated("MappingApplier", text);
}

std::function<void()> beforeInstall, afterInstall;
std::function<MappingApplier::FailureCause()> failureCause;
ApplierEffects effects;

void logEvent(const std::string& name, const std::string& value, const std::string& notes) {
    if (effects.logEvent)
        effects.logEvent(name, value, notes);
}

void alert(const std::string& text, const std::string& title) {
    if (effects.showAlert)
        effects.showAlert(text, title);
}

// The specified text first, then what the read-back tells of the cause.
void alertFailure() {
    const auto cause = failureCause ? failureCause() : MappingApplier::FailureCause{};
    const std::string text = tr(MappingApplier::failedAlertText);
    if (!cause.toldBefore)
        alert(cause.text.empty() ? text : text + "\n\n" + cause.text,
              tr(MappingApplier::failedAlertTitle));
}

std::string chooseTemplate(const std::optional<std::string>& keyboardId) {
    if (!keyboardId || *keyboardId == allKeyboardsId)
        return MappingApplier::allKeyboardsTemplate;
    return MappingApplier::oneKeyboardTemplateHead + insideSingleQuotes(*keyboardId) +
           MappingApplier::oneKeyboardTemplateTail;
}

// The entries unquoted: the fixed words hold no ', so quoting them whole for the shell is the same
// as quoting each id.
std::string composeEntries(const std::vector<KeyMapping>& mappings) {
    std::string entries;
    for (const KeyMapping& mapping : mappings) {
        auto source = mapping.find("originalId");
        auto destination = mapping.find("remappedId");
        if (source == mapping.end() || destination == mapping.end())
            continue;
        entries += MappingApplier::entryHead + source->second + MappingApplier::entryMiddle +
                   destination->second + MappingApplier::entryTail;
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
    std::string entries = composeEntries(keyMappings);
    if (entries.empty())
        return {};
    return replacingOccurrences(chooseTemplate(MappingStore::loadKeyboardId()), placeholder,
                                insideSingleQuotes(entries));
}

MappingApplier::PropertyTexts MappingApplier::composeProperty() {
    PropertyTexts texts;
    const std::string entries = composeEntries(keyMappings);
    if (entries.empty())
        return texts;
    texts.property = replacingOccurrences(propertyTemplate, placeholder, entries);
    const std::optional<std::string> keyboardId = MappingStore::loadKeyboardId();
    if (keyboardId && *keyboardId != allKeyboardsId)
        texts.matching = matchingHead + *keyboardId + matchingTail;
    return texts;
}

bool MappingApplier::fitsOneArgument(const std::string& command) {
    return command.size() < longestArgument;  // the NUL takes the last byte
}

std::size_t MappingApplier::maximumMappings(const std::optional<std::string>& keyboardId) {
    // n entries make a command of the template without its placeholder and the n entries less the
    // last one's comma, which must leave a byte for the NUL.
    const KeyMapping twoDigits = {{"originalId", "00"}, {"remappedId", "00"}};
    const std::size_t frame = chooseTemplate(keyboardId).size() - std::strlen(placeholder);
    const std::size_t entry = composeEntries({twoDigits}).size() + 1;  // with its comma
    return frame >= longestArgument ? 0 : (longestArgument - frame) / entry;
}

std::size_t MappingApplier::maximumMappings() {
    return maximumMappings(MappingStore::loadKeyboardId());
}

std::string MappingApplier::tooManyMappingsText() {
    const std::size_t maximum = maximumMappings();
    return fillIn(tr(tooManyAlertText), {groupedDigits(keyMappings.size()), groupedDigits(maximum),
                                         mappingsCount(keyMappings.size() - maximum)});
}

bool MappingApplier::Installation::installed() const {
    const std::string& answer = command.empty() ? clearingOutput : result;
    return answer.find(successMarker) != std::string::npos;
}

MappingApplier::Installation MappingApplier::install() {
    Installation installation;
    // Composed before the clearing, which must not run for a list that cannot be installed after
    // it: the keys would be left with none.
    installation.command = composeCommand();
    if (!fitsOneArgument(installation.command)) {
        installation.tooLong = true;
        return installation;
    }
    installation.clearingOutput = ShellRunner::run(clearingCommand);
    if (installation.command.empty())
        return installation;
    installation.hasBlankId =
        installation.command.find(blankSourceMarker) != std::string::npos ||
        installation.command.find(blankDestinationMarker) != std::string::npos;
    if (beforeInstall)
        beforeInstall();
    installation.result = ShellRunner::run(installation.command);
    return installation;
}

bool MappingApplier::applyMappings() {
    const Installation installation = install();
    if (installation.tooLong) {
        trace("not installed: the command would be " + std::to_string(installation.command.size()) +
              " bytes long, more than one argument can hold");
        alert(tooManyMappingsText(), tr(tooManyAlertTitle));
        return false;
    }
    trace(installation.clearingOutput);
    logEvent("applymapping", "startcmd", installation.clearingOutput);
    if (installation.command.empty())
        return installation.installed();

    if (installation.hasBlankId) {
        if (effects.logError)
            effects.logError(blankIdError + installation.command);
        alert(tr(blankIdAlertText), tr(blankIdAlertTitle));
    }
    trace(installation.command);
    logEvent("sh", "cmd", installation.command);
    trace(installation.result);
    logEvent("sh", "result", installation.result);

    if (afterInstall)
        afterInstall();
    if (!installation.installed())
        alertFailure();
    return installation.installed();
}

void MappingApplier::setEffects(ApplierEffects given) {
    effects = std::move(given);
}

void MappingApplier::setAroundInstall(std::function<void()> before, std::function<void()> after) {
    beforeInstall = std::move(before);
    afterInstall = std::move(after);
}

void MappingApplier::setFailureCause(std::function<FailureCause()> cause) {
    failureCause = std::move(cause);
}

}  // namespace keyvane
