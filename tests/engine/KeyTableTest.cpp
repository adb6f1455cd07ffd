#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "engine/KeyTable.h"

namespace keyvane {
namespace {

TEST(KeyTable, LookupFindsExactKeyIdsOnly) {
    struct Row {
        const char* keyId;
        const char* usage;
        const char* name;
    };
    for (const Row& row : std::vector<Row>{{"0", "04", "a"},
                                           {"10", "64", "§ Section"},
                                           {"905", "64", "Non-US \\ and |"},
                                           {"916", "00", "Disable key"},
                                           {"799", "00a", "----------"}}) {
        const KeyTable::Entry* entry = KeyTable::lookup(row.keyId);
        ASSERT_NE(entry, nullptr) << row.keyId;
        EXPECT_EQ(entry->usage, row.usage) << row.keyId;
        EXPECT_EQ(entry->name, row.name) << row.keyId;
    }
    for (const char* missing : {"63", "010", "", " 0", "901", "65536"})
        EXPECT_EQ(KeyTable::lookup(missing), nullptr) << missing;
}

// The picker lists every key once, ascending by usage text: "Disable key" first, and each
// separator's usage puts it after the group it closes.
TEST(KeyTable, PickerOrderIsEveryKeyAscendingByUsage) {
    const auto& entries = KeyTable::sortedEntries();
    ASSERT_EQ(entries.size(), 124u);
    EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end(),
                               [](const auto& a, const auto& b) { return a.usage < b.usage; }));
    for (const KeyTable::SortedEntry& entry : entries) {
        const KeyTable::Entry* looked = KeyTable::lookup(entry.keyId);
        ASSERT_NE(looked, nullptr) << entry.keyId;
        EXPECT_EQ(looked->name, entry.name) << entry.keyId;
    }
    EXPECT_EQ(entries.front().name, KeyTable::disableKeyName);
    EXPECT_EQ(entries[1].name, KeyTable::separatorName);
    EXPECT_EQ(entries[2].name, "a");
    EXPECT_EQ(entries.back().name, "Right Command");
}

}  // namespace
}  // namespace keyvane
