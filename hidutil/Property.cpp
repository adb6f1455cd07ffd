#include "hidutil/Property.h"

#include "common/Hex.h"
#include "hidutil/Messages.h"
#include "keys/HidKeyCodes.h"

namespace keyvane::hidutil {
namespace {

template <typename T>
Checked<T> refuse(std::size_t position, std::string expected) {
    return {std::nullopt, {position, std::move(expected)}};
}

// Why a usage cannot be installed, or nothing when it can.
std::optional<std::string> usageProblem(std::uint64_t value, bool isDestination) {
    if (value >> 32 != keyboardPage)
        return fill(text::reasonNotKeyboardPage, {hexNumber(value), hexNumber(value >> 32)});
    const auto usage = static_cast<unsigned>(value & 0xffffffffu);
    if (isDestination && usage == 0)
        return std::nullopt;
    const int code = linuxKeyCodeForUsage(usage);
    if (code == 0 || code == unknownKeyCode)
        return fill(text::reasonNoKeyCode, {hexNumber(value)});
    return std::nullopt;
}

}  // namespace

Checked<std::vector<Mapping>> readUserKeyMapping(std::string_view text) {
    using Result = Checked<std::vector<Mapping>>;
    ParsedText parsed = parsePropertyText(text);
    if (!parsed.value)
        return {std::nullopt, parsed.error};
    const Value& root = *parsed.value;
    if (root.kind != Value::Kind::Object || root.members.empty())
        return refuse<std::vector<Mapping>>(root.position, std::string(text::expectSetObject));
    for (const Member& member : root.members)
        if (member.key != text::userKeyMapping)
            return refuse<std::vector<Mapping>>(member.keyPosition,
                                                std::string(text::expectKnownProperty));
    const Value& list = root.members.front().value;
    if (list.kind != Value::Kind::Array)
        return refuse<std::vector<Mapping>>(list.position, std::string(text::expectMappingArray));

    Result result{std::vector<Mapping>{}, {}};
    for (const Value& item : list.items) {
        if (item.kind != Value::Kind::Object)
            return refuse<std::vector<Mapping>>(item.position,
                                                std::string(text::expectMappingObject));
        for (const Member& member : item.members)
            if (member.key != text::mappingSrc && member.key != text::mappingDst)
                return refuse<std::vector<Mapping>>(member.keyPosition,
                                                    std::string(text::expectMappingKey));
        const Value* src = findMember(item, text::mappingSrc);
        const Value* dst = findMember(item, text::mappingDst);
        if (!src)
            return refuse<std::vector<Mapping>>(item.position, std::string(text::expectMissingSrc));
        if (!dst)
            return refuse<std::vector<Mapping>>(item.position, std::string(text::expectMissingDst));
        for (const Value* usage : {src, dst})
            if (usage->kind != Value::Kind::Integer)
                return refuse<std::vector<Mapping>>(usage->position,
                                                    std::string(text::expectUsageInteger));
        result.value->push_back({src->integer, dst->integer});
    }
    return result;
}

std::optional<std::string> whyUnusable(const Mapping& mapping) {
    if (auto problem = usageProblem(mapping.src, false))
        return problem;
    return usageProblem(mapping.dst, true);
}

std::vector<Mapping> usableMappings(const std::vector<Mapping>& mappings, std::ostream& notes) {
    std::vector<Mapping> usable;
    for (const Mapping& mapping : mappings) {
        if (auto problem = whyUnusable(mapping))
            notes << fill(text::noteSkippedMapping,
                          {hexNumber(mapping.src), hexNumber(mapping.dst), *problem});
        else
            usable.push_back(mapping);
    }
    return usable;
}

Checked<Matching> readMatching(std::string_view text) {
    ParsedText parsed = parsePropertyText(text);
    if (!parsed.value)
        return {std::nullopt, parsed.error};
    const Value& root = *parsed.value;
    if (root.kind != Value::Kind::Object)
        return refuse<Matching>(root.position, std::string(text::expectMatchingObject));
    Matching matching;
    for (const Member& member : root.members) {
        std::optional<std::uint64_t>* number = nullptr;
        std::optional<std::string>* string = nullptr;
        if (member.key == text::keyProductId)
            number = &matching.productId;
        else if (member.key == text::keyVendorId)
            number = &matching.vendorId;
        else if (member.key == text::keyLocationId)
            number = &matching.locationId;
        else if (member.key == text::keyPrimaryUsagePage)
            number = &matching.usagePage;
        else if (member.key == text::keyPrimaryUsage)
            number = &matching.usage;
        else if (member.key == text::keyTransport)
            string = &matching.transport;
        else if (member.key == text::keyProduct)
            string = &matching.product;
        else
            return refuse<Matching>(member.keyPosition, std::string(text::expectMatchingKey));
        const Value& value = member.value;
        if (number) {
            if (value.kind != Value::Kind::Integer)
                return refuse<Matching>(value.position, std::string(text::expectInteger));
            *number = value.integer;
        } else {
            if (value.kind != Value::Kind::String)
                return refuse<Matching>(value.position, std::string(text::expectString));
            *string = value.string;
        }
    }
    return {matching, {}};
}

}  // namespace keyvane::hidutil
