#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "engine/KeyTable.h"

namespace keyvane {
namespace {

// The picker lists every key once, ascending by usage text: "Disable key" first, and each
// separator's usage puts it after the group it closes. Each is found by its exact key id only.
TEST(KeyTable, PickerListsEveryKeyAscendingByUsageAndLookupTakesExactIds) {
    const auto& entries = KeyTable::sortedEntries();
    ASSERT_EQ(entries.size(), 124u);
    EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end(),
                               [](const auto& a, const auto& b) { return a.usage < b.usage; }));
    for (const KeyTable::SortedEntry& entry : entries) {
        const KeyTable::Entry* looked = KeyTable::lookup(entry.keyId);
        ASSERT_NE(looked, nullptr) << entry.keyId;
        EXPECT_EQ(looked->usage, entry.usage) << entry.keyId;
        EXPECT_EQ(looked->name, entry.name) << entry.keyId;
    }
    EXPECT_EQ(entries.front().name, KeyTable::disableKeyName);
    EXPECT_EQ(entries[1].name, KeyTable::separatorName);
    EXPECT_EQ(entries[2].name, "a");
    EXPECT_EQ(entries.back().name, "Right Command");
    EXPECT_EQ(KeyTable::lookup("57")->name, "Caps Lock");
    for (const char* missing : {"63", "010", "", " 0", "901", "65536"})
        EXPECT_EQ(KeyTable::lookup(missing), nullptr) << missing;
}

}  // namespace
}  // namespace keyvane
