#include "engine/MappingFile.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>

#include "common/AtomicFile.h"
#include "common/Text.h"
#include "engine/KeyTable.h"
#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "platform/JsonText.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

// A reason, in the user's language, why a file cannot be used.
std::string said(const char* text) {
    return translated("MappingFile", text);
}

const char* const recordKeys[] = {"original", "originalId", "remapped", "remappedId"};

// The keys a usage names in the key table (one usage can have two names); the picker's separators
// are no keys.
std::vector<const KeyTable::SortedEntry*> keysOfUsage(const std::string& usage) {
    std::vector<const KeyTable::SortedEntry*> keys;
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        if (entry.usage == usage && entry.name != KeyTable::separatorName)
            keys.push_back(&entry);
    }
    return keys;
}

// Fills in `mapping`'s name of one side ("original" or "remapped") from the key table, or says why
// that side cannot be used.
std::string checkSide(const KeyMapping& texts, const std::string& side, KeyMapping& mapping) {
    const auto id = texts.find(side + "Id");
    if (id == texts.end())
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "it has no \"%1Id\"")), {side});
    const auto keys = keysOfUsage(id->second);
    const auto name = texts.find(side);
    // The file's own name of the key is what its reader knows it by.
    if (keys.empty() && name != texts.end())
        return fillIn(said(QT_TRANSLATE_NOOP(
                          "MappingFile", "\"%1\" is not a key Keyvane knows (\"%2Id\": \"%3\")")),
                      {name->second, side, id->second});
    if (keys.empty())
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile",
                                             "the key table has no key with id \"%1\" (\"%2Id\")")),
                      {id->second, side});
    if (side == "original" && keys.front()->name == KeyTable::disableKeyName)
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "\"%1\" cannot be an original key")),
                      {std::string(KeyTable::disableKeyName)});
    if (name == texts.end()) {
        mapping[side] = keys.front()->name;
    } else if (std::none_of(keys.begin(), keys.end(),
                            [&](const auto* key) { return key->name == name->second; })) {
        return fillIn(
            said(QT_TRANSLATE_NOOP("MappingFile", "\"%1\" is not the name of key id \"%2\" (%3)")),
            {name->second, id->second, keys.front()->name});
    } else {
        mapping[side] = name->second;
    }
    mapping[side + "Id"] = id->second;
    return {};
}

// The mapping that `value` describes, or the reason why it cannot be used.
std::string checkRecord(const DefaultsValue& value, KeyMapping& mapping) {
    const std::optional<KeyMapping> texts = MappingStore::asKeyMapping(value);
    if (!texts)
        return said(QT_TRANSLATE_NOOP("MappingFile", "it is not an object of texts"));
    for (const char* side : {"original", "remapped"}) {
        if (std::string reason = checkSide(*texts, side, mapping); !reason.empty())
            return reason;
    }
    if (mapping["originalId"] == mapping["remappedId"])
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "it maps %1 to itself")),
                      {mapping["original"]});
    return {};
}

bool isProductId(const std::string& text) {
    return text.size() > 2 && text.size() <= 10 && text.compare(0, 2, "0x") == 0 &&
           std::all_of(text.begin() + 2, text.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

// Whole-file problems of the object's frame (format, version, keyboard, list), or "".
std::string checkFrame(const DefaultsDictionary& object) {
    const auto format = object.find(MappingFile::formatKey);
    const std::string* formatText =
        format == object.end() ? nullptr : format->second.get<std::string>();
    if (!formatText || *formatText != MappingFile::formatName)
        return fillIn(
            said(QT_TRANSLATE_NOOP("MappingFile",
                                   "it is not a Keyvane mappings file (it has no \"%1\": \"%2\")")),
            {MappingFile::formatKey, MappingFile::formatName});
    const auto version = object.find(MappingFile::versionKey);
    const std::int64_t* number =
        version == object.end() ? nullptr : version->second.get<std::int64_t>();
    if (!number || *number != MappingFile::version)
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile",
                                             "it is in a format version this Keyvane "
                                             "does not know (it reads version %1)")),
                      {std::to_string(MappingFile::version)});
    const auto keyboard = object.find(MappingFile::keyboardIdKey);
    if (keyboard != object.end()) {
        const std::string* id = keyboard->second.get<std::string>();
        if (!id || (*id != allKeyboardsId && !isProductId(*id)))
            return fillIn(said(QT_TRANSLATE_NOOP("MappingFile",
                                                 "its \"%1\" is neither a keyboard's product id "
                                                 "(such as 0x27e) nor %2 (all keyboards)")),
                          {MappingFile::keyboardIdKey, allKeyboardsId});
    }
    const auto mappings = object.find(MappingFile::mappingsKey);
    if (mappings == object.end() || !mappings->second.get<DefaultsArray>())
        return fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "its \"%1\" is missing or not a list")),
                      {MappingFile::mappingsKey});
    return {};
}

}  // namespace

MappingFile::Reading MappingFile::read(const std::filesystem::path& file) {
    Reading reading;
    std::error_code error;
    // Anything but a plain file (a folder, a pipe that nobody writes to) is refused before it is
    // opened, so that reading cannot hang.
    if (!std::filesystem::is_regular_file(file, error)) {
        reading.problem =
            error ? fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "it cannot be read (%1)")),
                           {error.message()})
                  : said(QT_TRANSLATE_NOOP("MappingFile", "it is not a file that can be read"));
        return reading;
    }
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (!error && size > maximumSize) {
        reading.problem = fillIn(said(QT_TRANSLATE_NOOP("MappingFile",
                                                        "it is %1 bytes long, far more than a list "
                                                        "of mappings (at most %2 bytes)")),
                                 {std::to_string(size), std::to_string(maximumSize)});
        return reading;
    }
    std::ifstream in(file, std::ios::binary);
    std::string text(maximumSize + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad() || !in.is_open()) {
        reading.problem = said(QT_TRANSLATE_NOOP("MappingFile", "it cannot be read"));
        return reading;
    }
    text.resize(static_cast<std::size_t>(in.gcount()));
    if (text.size() > maximumSize) {  // it grew while it was read
        reading.problem =
            said(QT_TRANSLATE_NOOP("MappingFile", "it is larger than a list of mappings can be"));
        return reading;
    }
    return parse(text);
}

MappingFile::Reading MappingFile::parse(std::string_view text) {
    Reading reading;
    std::string error;
    const std::optional<DefaultsValue> parsed = parseJson(text, error);
    if (!parsed) {
        reading.problem =
            fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "it is not JSON (%1)")), {error});
        return reading;
    }
    const DefaultsDictionary* object = parsed->get<DefaultsDictionary>();
    if (!object) {
        reading.problem = said(QT_TRANSLATE_NOOP(
            "MappingFile", "it is not a Keyvane mappings file (it holds no JSON object)"));
        return reading;
    }
    reading.problem = checkFrame(*object);
    if (!reading.problem.empty())
        return reading;
    if (const auto keyboard = object->find(keyboardIdKey); keyboard != object->end())
        reading.keyboardId = *keyboard->second.get<std::string>();
    const DefaultsArray& records = *object->at(mappingsKey).get<DefaultsArray>();
    for (std::size_t i = 0; i < records.size(); ++i) {
        KeyMapping mapping;
        const std::string reason = checkRecord(records[i], mapping);
        if (reason.empty())
            reading.mappings.push_back(std::move(mapping));
        else
            reading.rejected.push_back(
                fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "mapping %1: %2")),
                       {std::to_string(i + 1), reason}));
    }
    // An empty list would only ever empty the user's own.
    if (records.empty())
        reading.problem = said(QT_TRANSLATE_NOOP("MappingFile", "it holds no mappings"));
    else if (reading.mappings.empty())
        reading.problem =
            fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "none of its %1 mappings can be used")),
                   {std::to_string(records.size())});
    return reading;
}

std::string MappingFile::compose(const std::vector<KeyMapping>& mappings,
                                 const std::string& keyboardId) {
    DefaultsArray records(mappings.size());
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        DefaultsDictionary record;
        for (const char* key : recordKeys) {
            if (const auto found = mappings[i].find(key); found != mappings[i].end())
                record[key].value = found->second;
        }
        records[i].value = std::move(record);
    }
    DefaultsDictionary object;
    object[formatKey].value = std::string(formatName);
    object[versionKey].value = version;
    object[keyboardIdKey].value = keyboardId;
    object[mappingsKey].value = std::move(records);
    return jsonText(object);
}

bool MappingFile::write(const std::filesystem::path& file, std::string& error) {
    // A mistyped folder is named, not created.
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored)) {
        error = fillIn(said(QT_TRANSLATE_NOOP("MappingFile", "there is no folder %1")),
                       {folder.string()});
        return false;
    }
    if (const std::error_code written =
            replaceFileAtomically(file, compose(keyMappings, storedKeyboardId()))) {
        error = written.message();
        return false;
    }
    return true;
}

// A mapping the list has already: the same key made the same new key.
bool MappingFile::isListed(const KeyMapping& mapping) {
    // A read mapping has both ids, so a stored record that lacks one is never the same.
    return std::any_of(keyMappings.begin(), keyMappings.end(), [&](const KeyMapping& listed) {
        return MappingStore::field(listed, "originalId") == mapping.at("originalId") &&
               MappingStore::field(listed, "remappedId") == mapping.at("remappedId");
    });
}

std::size_t MappingFile::alreadyListed(const Reading& reading) {
    return static_cast<std::size_t>(
        std::count_if(reading.mappings.begin(), reading.mappings.end(), isListed));
}

std::string MappingFile::adoptionProblem(const Reading& reading, Adoption how) {
    std::size_t count = reading.mappings.size();
    std::optional<std::string> keyboardId = MappingStore::loadKeyboardId();
    if (how == Adoption::Append)
        count += keyMappings.size() - alreadyListed(reading);
    else if (reading.keyboardId)
        keyboardId = reading.keyboardId;
    const std::size_t maximum = MappingApplier::maximumMappings(keyboardId);
    if (count <= maximum)
        return {};
    return fillIn(translated("MappingFile", tooManyProblem),
                  {groupedDigits(count), groupedDigits(maximum)});
}

void MappingFile::adopt(const Reading& reading, Adoption how) {
    if (how == Adoption::Replace) {
        keyMappings = reading.mappings;
        MappingStore::saveMappings();
        if (reading.keyboardId)
            MappingStore::saveKeyboardId(*reading.keyboardId);
        return;
    }
    std::vector<KeyMapping> added;
    std::copy_if(reading.mappings.begin(), reading.mappings.end(), std::back_inserter(added),
                 [](const KeyMapping& mapping) { return !isListed(mapping); });
    keyMappings.insert(keyMappings.end(), added.begin(), added.end());
    MappingStore::saveMappings();
}

std::string MappingFile::storedKeyboardId() {
    return MappingStore::loadKeyboardId().value_or(allKeyboardsId);
}

std::string mappingsCount(std::size_t count) {
    const char* pattern = count == 1 ? QT_TRANSLATE_NOOP("MappingFile", "%1 mapping")
                                     : QT_TRANSLATE_NOOP("MappingFile", "%1 mappings");
    return fillIn(translated("MappingFile", pattern), {groupedDigits(count)});
}

}  // namespace keyvane
