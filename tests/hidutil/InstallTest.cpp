// Installing and restoring keymaps against keyboards in memory, through the command line.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "hidutil/Command.h"
#include "tests/hidutil/MemoryDevices.h"

namespace keyvane::hidutil {
namespace {

using testing::MemoryDeviceSource;

const std::string clear = R"({"UserKeyMapping" : []})";

std::string entry(const char* src, const char* dst) {
    return std::string(R"({"HIDKeyboardModifierMappingSrc" : )") + src +
           R"(, "HIDKeyboardModifierMappingDst" : )" + dst + "}";
}

std::string mappings(std::initializer_list<std::string> entries) {
    std::string joined;
    for (const auto& e : entries)
        joined += (joined.empty() ? "" : ",") + e;
    return R"({"UserKeyMapping" : [)" + joined + "]}";
}

class Install : public ::testing::Test {
  protected:
    struct Outcome {
        int status;
        std::string out;
        std::string err;
    };

    Outcome run(const std::vector<std::string>& args) {
        std::ostringstream out, err;
        const int status = runCommand(args, devices, folder, out, err);
        return {status, out.str(), err.str()};
    }
    Outcome set(const std::string& text) { return run({"property", "--set", text}); }

    std::vector<KeymapEntry> pristine(const testing::MemoryKeyboard& keyboard) const {
        return keyboard.keymap;
    }

    std::filesystem::path folder =
        std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "keyvane-hidutil";
    MemoryDeviceSource devices;
};

const std::string capsToEscape = entry("0x700000039", "0x700000029");
const std::string escapeToCaps = entry("0x700000029", "0x700000039");
const std::string commandToRightCommand = entry("0x7000000e3", "0x7000000e7");

TEST_F(Install, SwapsOnHidAndAtKeyboardsAndAnEmptyListRestoresBoth) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, hid};
    const auto hidBefore = hid->keymap, atBefore = at->keymap;

    const Outcome swapped = set(mappings({capsToEscape, escapeToCaps, commandToRightCommand}));
    ASSERT_EQ(swapped.status, exitSuccess) << swapped.err;
    // HID: the scancode is the usage.
    EXPECT_EQ(hid->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(hid->codeOf(0x70029), KEY_CAPSLOCK);
    EXPECT_EQ(hid->codeOf(0x700e3), KEY_RIGHTMETA);
    EXPECT_EQ(hid->codeOf(0x700e7), KEY_RIGHTMETA);
    // AT: the scancodes whose original codes are the sources' codes.
    EXPECT_EQ(at->codeOf(0x3a), KEY_ESC);
    EXPECT_EQ(at->codeOf(0x01), KEY_CAPSLOCK);
    EXPECT_EQ(at->codeOf(0x80 | 0x5b), KEY_RIGHTMETA);
    EXPECT_EQ(at->codeOf(0x1e), KEY_A);
    EXPECT_EQ(hid->changes, 3);
    EXPECT_EQ(at->changes, 3);

    // Installing the same list again changes nothing that is already in place.
    ASSERT_EQ(set(mappings({capsToEscape, escapeToCaps, commandToRightCommand})).status,
              exitSuccess);
    EXPECT_EQ(hid->changes, 3);

    const Outcome cleared = set(clear);
    ASSERT_EQ(cleared.status, exitSuccess) << cleared.err;
    EXPECT_EQ(cleared.out, "UserKeyMapping:(\n)\n");
    EXPECT_EQ(hid->keymap, hidBefore);
    EXPECT_EQ(at->keymap, atBefore);
    EXPECT_FALSE(std::filesystem::exists(folder / hid->info.stateName));
}

TEST_F(Install, LaterEntryOfTheSameSourceWinsAndUsageZeroDisables) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, hid};
    const Outcome result =
        set(mappings({entry("0x700000004", "0x700000005"), entry("0x700000004", "0x700000006"),
                      entry("0x70000004c", "0x700000000")}));
    ASSERT_EQ(result.status, exitSuccess) << result.err;
    EXPECT_EQ(hid->codeOf(0x70004), KEY_C);
    EXPECT_EQ(at->codeOf(0x1e), KEY_C);
    EXPECT_EQ(hid->codeOf(0x7004c), 0u);
    // Every AT scancode that produced Delete goes silent; the HID keyboard's other Delete usages,
    // being other keys, keep their code.
    EXPECT_EQ(at->codeOf(0x80 | 0x53), 0u);
    EXPECT_EQ(at->codeOf(0x80 | 0x71), 0u);
    EXPECT_EQ(hid->codeOf(0x7009c), KEY_DELETE);
}

TEST_F(Install, EachListReplacesThePreviousOneFromTheOriginals) {
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at};
    ASSERT_EQ(set(mappings({entry("0x700000004", "0x700000005")})).status, exitSuccess);
    // Then b -> a: the original b key makes a, and the a key is a again.
    ASSERT_EQ(set(mappings({entry("0x700000005", "0x700000004")})).status, exitSuccess);
    EXPECT_EQ(at->codeOf(0x1e), KEY_A);
    EXPECT_EQ(at->codeOf(0x30), KEY_A);
}

TEST_F(Install, AnInterruptedInstallIsUndoneByTheNextRun) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {hid, at};
    const auto hidBefore = hid->keymap, atBefore = at->keymap;
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);

    // The next install stops after two changes, as if hidutil died there.
    hid->changesBeforeCrash = hid->changes + 2;
    at->changesBeforeCrash = at->changes + 2;
    const Outcome crashed =
        set(mappings({escapeToCaps, commandToRightCommand, entry("0x700000004", "0x700000000")}));
    EXPECT_EQ(crashed.status, exitFailure);
    EXPECT_EQ(crashed.out, "");
    EXPECT_NE(crashed.err.find("cannot change the keys of /dev/input/event5 (Memory Keyboard)"),
              std::string::npos);
    EXPECT_NE(hid->keymap, hidBefore);

    hid->changesBeforeCrash = at->changesBeforeCrash = -1;
    ASSERT_EQ(set(clear).status, exitSuccess);
    EXPECT_EQ(hid->keymap, hidBefore);
    EXPECT_EQ(at->keymap, atBefore);
}

TEST_F(Install, WithoutARecordAHidKeyboardFallsBackToTheKernelsDefaults) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {hid, at};
    const auto hidBefore = hid->keymap;
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);
    // The records are lost (a new login session), the keymaps stay as they were.
    std::filesystem::remove_all(folder);
    ASSERT_EQ(set(clear).status, exitSuccess);
    EXPECT_EQ(hid->keymap, hidBefore);
    EXPECT_EQ(at->codeOf(0x3a), KEY_ESC);  // an AT keymap has no known default
    // A record left by an earlier device under the same name is not used.
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);
    auto replugged = testing::hidKeyboard(0x27e, 5);
    replugged->info.identity = "another device";
    replugged->keymap = hid->keymap;
    devices.keyboards = {replugged};
    ASSERT_EQ(set(clear).status, exitSuccess);
    EXPECT_EQ(replugged->keymap, hidBefore);
}

TEST_F(Install, MatchingChangesOnlyKeyboardsWithThatProductId) {
    auto first = testing::hidKeyboard(0x27e, 5);
    auto second = testing::hidKeyboard(0x27e, 6);  // another event node of the same product
    auto other = testing::hidKeyboard(0x300, 7);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, first, second, other};

    const Outcome matched = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x27E})"});
    ASSERT_EQ(matched.status, exitSuccess) << matched.err;
    EXPECT_EQ(matched.out,
              "RegistryID  Key                   Value\n"
              "100000005   UserKeyMapping   (\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    }\n"
              ")\n"
              "100000006   UserKeyMapping   (\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    }\n"
              ")\n");
    EXPECT_EQ(first->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(second->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(other->codeOf(0x70039), KEY_CAPSLOCK);
    EXPECT_EQ(at->codeOf(0x3a), KEY_CAPSLOCK);

    const Outcome get =
        run({"property", "--get", "UserKeyMapping", "--matching", R"({"ProductID": 768})"});
    EXPECT_EQ(get.out,
              "RegistryID  Key                   Value\n100000007   UserKeyMapping   (\n)\n");

    const Outcome none = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x999})"});
    EXPECT_EQ(none.status, exitFailure);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "hidutil: no keyboard matches {\"ProductID\": 0x999}\n");
    // A mouse is no keyboard, whatever its product id.
    devices.keyboards.push_back(testing::hidMouse(8));
    EXPECT_EQ(run({"property", "--set", clear, "--matching", R"({"ProductID": 0x99})"}).status,
              exitFailure);
}

TEST_F(Install, ADeviceThatRefusesOrCannotBeOpenedFailsTheInstallLoudly) {
    auto refusing = testing::hidKeyboard(0x27e, 5);
    auto fine = testing::hidKeyboard(0x300, 6);
    refusing->refuses = true;
    devices.keyboards = {refusing, fine};
    const Outcome refused = set(mappings({capsToEscape}));
    EXPECT_EQ(refused.status, exitFailure);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(
        refused.err,
        "hidutil: cannot change the keys of /dev/input/event5 (Memory Keyboard): Operation not "
        "permitted\n");
    EXPECT_EQ(fine->codeOf(0x70039), KEY_ESC);

    refusing->refuses = false;
    devices.unopenable = {"/dev/input/event9"};
    const Outcome unopenable = set(clear);
    EXPECT_EQ(unopenable.status, exitFailure);
    EXPECT_EQ(unopenable.out, "");
    EXPECT_EQ(unopenable.err,
              "hidutil: cannot open /dev/input/event9: Permission denied\n"
              "hidutil: listing and changing keyboards needs read and write access to "
              "/dev/input/event*:\n"
              "hidutil: add yourself to the group 'input' (sudo usermod -aG input $USER), then log "
              "in again.\n");
    EXPECT_EQ(fine->codeOf(0x70039), KEY_CAPSLOCK);  // the others are still restored

    const Outcome noFolder = [&] {
        std::ostringstream out, err;
        const int status =
            runCommand({"property", "--set", clear}, devices, std::nullopt, out, err);
        return Outcome{status, out.str(), err.str()};
    }();
    EXPECT_EQ(noFolder.status, exitFailure);
    EXPECT_EQ(
        noFolder.err,
        "hidutil: XDG_RUNTIME_DIR is not set, so there is nowhere to remember the original keys\n");
}

TEST_F(Install, RemappedLettersKeepAKeyboardListedAndGetShowsTheList) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    devices.keyboards = {hid, testing::hidMouse(6)};
    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out, "(null)\n");
    std::vector<std::string> disableLetters;
    for (unsigned usage = 4; usage <= 0x1d; ++usage) {
        char src[16];
        std::snprintf(src, sizeof src, "0x7000000%02x", usage);
        disableLetters.push_back(entry(src, "0x700000000"));
    }
    std::string all;
    for (const auto& e : disableLetters)
        all += (all.empty() ? "" : ",") + e;
    ASSERT_EQ(set(R"({"UserKeyMapping" : [)" + all + "]}").status, exitSuccess);
    EXPECT_EQ(hid->codeOf(0x70004), 0u);

    const Outcome listed = run({"list", "-m", "keyboard"});
    EXPECT_EQ(listed.status, exitSuccess);
    EXPECT_NE(listed.out.find("Memory Keyboard"), std::string::npos);
    EXPECT_EQ(listed.out.find("Memory Mouse"), std::string::npos);
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);
    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out,
              "(\n        {\n        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n    }\n)\n");
}

}  // namespace
}  // namespace keyvane::hidutil
