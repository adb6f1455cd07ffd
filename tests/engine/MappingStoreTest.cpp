#include <gtest/gtest.h>

#include <fstream>

#include "engine/MappingStore.h"
#include "platform/UserDefaults.h"

namespace keyvane {
namespace {

KeyMapping mapping(const std::string& from, const std::string& to) {
    return {{"original", "key " + from},
            {"originalId", from},
            {"remapped", "key " + to},
            {"remappedId", to}};
}

void writeDefaultsFile(const std::string& json) {
    std::filesystem::create_directories(UserDefaults::standardPath().parent_path());
    std::ofstream(UserDefaults::standardPath()) << json;
}

TEST(MappingStoreTest, AnyIllFormedStoredListLoadsAsEmpty) {
    const char* badValues[] = {
        R"("text")",
        R"({"originalId": "39"})",
        R"([{"original": "Caps Lock", "originalId": "39"}, {"original": "Escape", "originalId": 29}])",
        R"([{"originalId": "39"}, "not a dictionary"])",
        R"([{"originalId": "39"}, {"nested": {"a": "b"}}])",
        R"([{"originalId": null}])",
        R"([[]])",
    };
    for (const char* bad : badValues) {
        writeDefaultsFile(std::string(R"({"keydata2": )") + bad + "}");
        keyMappings = {mapping("ff", "ff")};
        MappingStore::loadMappings();
        EXPECT_TRUE(keyMappings.empty()) << bad;
    }
}

TEST(MappingStoreTest, ExtraKeysAndDuplicatesSurviveARoundTrip) {
    writeDefaultsFile(R"({"keydata2": [
        {"original": "Caps Lock", "originalId": "39", "remapped": "Escape", "remappedId": "29",
         "addedBy": "an older version"},
        {"original": "Caps Lock", "originalId": "39", "remapped": "a", "remappedId": "04"},
        {"original": "x"}
    ], "somethingElse": [1, 2.5, true]})");
    keyMappings = {mapping("ff", "ff")};  // stale contents to drop
    MappingStore::loadMappings();
    ASSERT_EQ(keyMappings.size(), 3u);
    EXPECT_EQ(keyMappings[0].at("addedBy"), "an older version");
    EXPECT_EQ(keyMappings[1].at("remappedId"), "04");
    EXPECT_EQ(keyMappings[2], (KeyMapping{{"original", "x"}}));

    const std::vector<KeyMapping> loaded = keyMappings;
    MappingStore::saveMappings();
    keyMappings.clear();
    MappingStore::loadMappings();
    EXPECT_EQ(keyMappings, loaded);
    // Keys the store does not own are left as they were.
    const DefaultsValue* other = UserDefaults::standard().objectForKey("somethingElse");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(*other, (DefaultsValue{DefaultsArray{{std::int64_t{1}}, {2.5}, {true}}}));
}

}  // namespace
}  // namespace keyvane
