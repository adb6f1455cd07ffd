#include "engine/MappingStore.h"

#include "platform/UserDefaults.h"

namespace keyvane {

std::vector<KeyMapping> keyMappings;

namespace {

std::vector<KeyMapping> storedMappings() {
    const DefaultsValue* stored = UserDefaults::standard().objectForKey(defaults_keys::keyData);
    const DefaultsArray* array = stored ? stored->get<DefaultsArray>() : nullptr;
    if (!array)
        return {};
    std::vector<KeyMapping> mappings;
    mappings.reserve(array->size());
    for (const DefaultsValue& element : *array) {
        std::optional<KeyMapping> mapping = MappingStore::asKeyMapping(element);
        if (!mapping)
            return {};
        mappings.push_back(std::move(*mapping));
    }
    return mappings;
}

}  // namespace

std::optional<KeyMapping> MappingStore::asKeyMapping(const DefaultsValue& value) {
    const DefaultsDictionary* dictionary = value.get<DefaultsDictionary>();
    if (!dictionary)
        return std::nullopt;
    KeyMapping mapping;
    for (const auto& [key, element] : *dictionary) {
        const std::string* text = element.get<std::string>();
        if (!text)
            return std::nullopt;
        mapping.emplace(key, *text);
    }
    return mapping;
}

void MappingStore::loadMappings() {
    keyMappings = storedMappings();
}

void MappingStore::saveMappings() {
    UserDefaults::standard().setStringDictionaryArray(defaults_keys::keyData, keyMappings);
}

void MappingStore::appendMapping(const KeyMapping& mapping) {
    keyMappings.push_back(mapping);
    saveMappings();
}

void MappingStore::removeMapping(std::size_t index) {
    keyMappings.erase(keyMappings.begin() + static_cast<std::ptrdiff_t>(index));
    saveMappings();
}

std::string MappingStore::field(const KeyMapping& mapping, const char* key) {
    const auto found = mapping.find(key);
    return found == mapping.end() ? std::string() : found->second;
}

std::optional<std::size_t> MappingStore::lastRowOf(const std::string& originalId) {
    for (std::size_t row = keyMappings.size(); row > 0 && !originalId.empty(); --row) {
        if (field(keyMappings[row - 1], "originalId") == originalId)
            return row - 1;
    }
    return std::nullopt;
}

std::optional<std::string> MappingStore::loadKeyboardId() {
    return UserDefaults::standard().stringForKey(defaults_keys::keyboardId);
}

void MappingStore::saveKeyboardId(const std::string& keyboardId) {
    UserDefaults::standard().setString(defaults_keys::keyboardId, keyboardId);
}

bool MappingStore::loadApplyAtLogin() {
    return UserDefaults::standard().boolForKey(defaults_keys::applyAtLogin);
}

void MappingStore::saveApplyAtLogin(bool applyAtLogin) {
    UserDefaults::standard().setBool(defaults_keys::applyAtLogin, applyAtLogin);
}

std::string MappingStore::describe(const std::vector<KeyMapping>& mappings) {
    std::string text = "(";
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        text += i == 0 ? "{" : ", {";
        bool first = true;
        for (const auto& [key, value] : mappings[i]) {
            text += (first ? "" : ", ") + key + " = \"" + value + "\"";
            first = false;
        }
        text += "}";
    }
    return text + ")";
}

}  // namespace keyvane
