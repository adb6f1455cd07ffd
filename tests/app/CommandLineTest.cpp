#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDBusConnection>
#include <QMainWindow>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/CommandLine.h"
#include "app/Launch.h"
#include "common/Text.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/PermanentKeymap.h"
#include "hidutil/Status.h"
#include "permanent/PermanentCommand.h"
#include "platform/Bundle.h"
#include "platform/SingleInstance.h"
#include "platform/UserDefaults.h"
#include "tests/support/AlertAnswerer.h"
#include "tests/support/FakeHidutil.h"
#include "tests/support/FakeInputDeviceMonitor.h"
#include "tests/support/HttpsTestServer.h"
#include "tests/support/KeyMappingProperty.h"
#include "tests/support/PrivateSessionBus.h"
#include "tests/support/ReadFile.h"
#include "ui/main/MainVC.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
using testing::readFile;
using Calls = std::vector<std::vector<std::string>>;

const KeyMapping capsLockToEscape = {
    {"original", "Caps Lock"}, {"originalId", "39"}, {"remapped", "Escape"}, {"remappedId", "29"}};
const KeyMapping commandToControl = {
    {"original", "Command"}, {"originalId", "e3"}, {"remapped", "Control"}, {"remappedId", "e0"}};
const std::string capsLockProperty = testing::keyMappingProperty({{"39", "29"}});

// What `hidutil status --json`, in its own words, says of Caps Lock -> Escape and Command ->
// Control on Desk Keyboard (0x27e), and on Travel Keyboard where given; no keyboard at all without
// a state.
std::string deskStatus(std::optional<hidutil::EntryState> state,
                       std::optional<hidutil::EntryState> travel = {}) {
    std::vector<hidutil::KeyboardStatus> keyboards;
    for (const auto& [given, product, productId] : {std::tuple{state, "Desk Keyboard", 0x27eu},
                                                    std::tuple{travel, "Travel Keyboard", 0x300u}})
        if (given) {
            keyboards.emplace_back().row.product = product;
            keyboards.back().row.productId = productId;
            keyboards.back().entries = {{{0x700000039, 0x700000029}, *given},
                                        {{0x7000000e3, 0x7000000e0}, *given}};
        }
    return hidutil::formatStatusJson(keyboards);
}

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

// Starts `keyvane` with these arguments as from a console: no display of any kind.
void start(QProcess& process, const QStringList& arguments) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(variable);
    process.setProcessEnvironment(environment);
    process.start(KEYVANE_PATH, arguments);
}

Outcome outcome(QProcess& process) {
    // The event loop keeps running meanwhile, so that a copy in this process can answer.
    EXPECT_TRUE(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60000));
    return {process.exitCode(), process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

Outcome keyvane(const QStringList& arguments) {
    QProcess process;
    start(process, arguments);
    return outcome(process);
}

class CommandLineTest : public ::testing::Test {
  protected:
    void SetUp() override {
        MappingStore::appendMapping(capsLockToEscape);
        exportFile = (std::filesystem::path(getenv("HOME")) / "mappings.json").string();
    }

    testing::PrivateSessionBus bus;
    FakeHidutil hidutil;
    std::string exportFile;
};

TEST_F(CommandLineTest, EachOptionWorksWithoutADisplayAndBadOnesGetTheUsage) {
    const std::string failed = std::string("keyvane: ") + MappingApplier::failedAlertText + "\n";
    const std::vector<std::string> statusCall = {"status", "--json"};
    const auto installsCaps = [&](std::size_t count) {
        return Calls{FakeHidutil::clearingCall(),
                     FakeHidutil::installCall(testing::keyMappingProperty({count, {"39", "29"}})),
                     statusCall};
    };
    const Calls installs = installsCaps(1);
    Calls twice = installs;
    twice.insert(twice.end(), installs.begin(), installs.end());
    // --apply says what the status column says of each mapping, read back from the keyboards.
    const auto installed = [](std::size_t count) {
        std::string lines;
        for (std::size_t i = 0; i < count; ++i)
            lines += "Caps Lock -> Escape: Installed on 1 keyboard\n";
        return lines;
    };
    using State = hidutil::EntryState;
    const QString file = QString::fromStdString(exportFile);
    // As many mappings as one command carries for all keyboards, but the keyboard it names
    // lengthens the command.
    const std::string fullForOne = exportFile + ".0x27e";
    const std::string fullForAll = exportFile + ".all", other = exportFile + ".other";
    for (const auto& [path, id] : {std::pair{fullForOne, "0x27e"}, {fullForAll, allKeyboardsId}})
        std::ofstream(path) << MappingFile::compose(std::vector<KeyMapping>(1379, capsLockToEscape),
                                                    id);
    std::ofstream(other) << MappingFile::compose({commandToControl}, allKeyboardsId);
    // --status passes on what the real hidutil printed for a key changed since, and its status.
    const std::string leftOut = readFile(HIDUTIL_GOLDEN_DATA "/left-out.txt");
    const std::size_t from =
        leftOut.find('\n', leftOut.find("== status after a key was changed")) + 1;
    const std::string statusOutput = leftOut.substr(from, leftOut.find("[exit 3]\n", from) - from);
    // And what it read back where it could not open a keyboard.
    const std::size_t json = leftOut.rfind("{\"Keyboards", leftOut.find("\"Unopened\""));
    const std::string noAccess = leftOut.substr(json, leftOut.find("]}\nhidutil", json) + 3 - json);
    enum class Copy { None, LockedElsewhere, Silent };  // a copy of Keyvane that runs meanwhile
    struct Row {
        QStringList arguments;
        int status;
        std::string out{};  // the whole standard output
        std::string err{};  // the whole standard error, or its start where the row says so
        Calls calls{};
        std::string json = {};  // hidutil status --json; Caps Lock installed if empty
        bool installFails = false;
        std::size_t listSize = 1;  // the stored list afterwards
        std::size_t stored = 1;    // Caps Lock -> Escape, so many times before the run
        Copy copy = Copy::None;
        bool errStartsSo = false;  // the rest of `err` is the bus's own wording
    };
    const auto apply = [&](std::string out, std::string json, std::string err = "",
                           Calls calls = {}, bool installFails = false) {
        return Row{{"--apply"}, 1, out, err, calls.empty() ? installs : calls, json, installFails};
    };
    const auto fails = [](QStringList arguments, std::string err, std::size_t stored = 1) {
        return Row{
            std::move(arguments), 1, "", "keyvane: " + err + "\n", {}, "", false, stored, stored};
    };
    const auto tooMany = [](const std::string& path, const char* would, const char* most) {
        return "cannot import " + path + ": your list would then have " + would +
               " mappings, but one installation can carry at most " + most +
               ". Your list is unchanged.";
    };
    const auto usage = [](QStringList arguments, const std::string& reason) {
        return Row{std::move(arguments), 2, "", "keyvane: " + reason + "\n\n" + CommandLine::usage};
    };
    const std::string now1 = "; the list now has 1 mapping.\n" + installed(1);
    const Row rows[] = {
        {{"--help"}, 0, CommandLine::usage},
        {{"--version"}, 0, "Keyvane " + bundle::shortVersion() + "\n"},
        {{"--list"}, 0, "Keyboard: all keyboards\nCaps Lock -> Escape\n"},
        {{"--apply"}, 0, installed(1), "", installs},
        // Only what took effect on a keyboard counts, and the cause is named where it is known.
        apply("Caps Lock -> Escape: Installed on 2 keyboards\n", noAccess,
              failed + "keyvane: " +
                  fillIn(MappingStatus::noAccessText, {"/dev/input/event9", "Permission denied"}) +
                  "\n",
              installs, true),
        apply("Caps Lock -> Escape: Not installed\n", deskStatus(std::nullopt),
              "keyvane: " + std::string(MappingStatus::noKeyboardText) + "\n"),
        apply("Caps Lock -> Escape: No keyboard has this key\n", deskStatus(State::Skipped)),
        // Installed once more, and read again: still overridden on one of the keyboards.
        apply("Caps Lock -> Escape: Overridden on Travel Keyboard, even after installing again\n",
              deskStatus(State::Installed, State::Overridden), "", twice),
        {{"--restore"}, 0, "Every key Keyvane changed is as it was.\n", "", {installs[0]}},
        {{"--status"}, 3, statusOutput, "", {{"status"}}},
        {{"--export", file}, 0, "Exported 1 mapping for all keyboards to " + exportFile + ".\n"},
        fails({"--export", "/none/m.json"},
              "cannot export to /none/m.json: there is no folder /none"),
        // Appending never doubles a mapping.
        {{"--import", file, "--append"},
         0,
         "Imported 0 mappings from " + exportFile +
             ", after the ones you had, leaving out 1 mapping your list had already" + now1,
         "",
         installs},
        {{"--import", file}, 0, "Imported 1 mapping from " + exportFile + now1, "", installs},
        // The most one command can carry, and not one more: nothing is even cleared.
        {{"--import", QString::fromStdString(fullForAll)},
         0,
         "Imported 1,379 mappings from " + fullForAll + "; the list now has 1,379 mappings.\n" +
             installed(1379),
         "",
         installsCaps(1379),
         "",
         false,
         1379},
        fails({"--import", QString::fromStdString(other), "--append"},
              tooMany(other, "1,380", "1,379"), 1379),
        fails({"--import", QString::fromStdString(fullForOne)},
              tooMany(fullForOne, "1,379", "1,378")),
        // A copy that cannot be asked would save its own list over the import: nothing is done.
        {.arguments = {"--import", file},
         .status = 1,
         .err = std::string("keyvane: ") + CommandLine::outOfReachText + "\n",
         .copy = Copy::LockedElsewhere},
        {.arguments = {"--import", file},
         .status = 1,
         .err = std::string("keyvane: ") + CommandLine::noAnswerText,
         .copy = Copy::Silent,
         .errStartsSo = true},
        fails({"--apply"},
              "Your list has 1,380 mappings, but one installation can carry at most 1,379. Remove "
              "1 mapping; until then the keys stay as they were installed before.",
              1380),
        // This build's helper is not installed: said so, and nothing cleared or asked.
        fails({"--make-permanent"},
              std::string(PermanentKeymap::notInstalledTitle) + ". " +
                  fillIn(PermanentKeymap::notInstalledText, {bundle::permanentHelperPath()})),
        usage({"--frobnicate"}, "unknown option \"--frobnicate\""),
        usage({"--list", "--apply"}, "give one option at a time, not both --list and --apply"),
        usage({"--export"}, "--export needs a file name"),
        usage({"--import", "--append"}, "--import needs a file name"),
        usage({"--apply", "--append"}, "--append goes with --import FILE, not with --apply"),
    };
    hidutil.setExitStatus("status", 3);
    for (const auto& row : rows) {
        keyMappings.assign(row.stored, capsLockToEscape);
        MappingStore::saveMappings();
        hidutil.clearCalls();
        hidutil.setOutput("property", row.installFails ? "" : "UserKeyMapping:(\n)\n");
        hidutil.setOutput("status", row.arguments == QStringList{"--status"} ? statusOutput
                                    : row.json.empty() ? deskStatus(State::Installed)
                                                       : row.json);
        const std::string lock =
            std::string(getenv("XDG_RUNTIME_DIR")) + "/" + bundle::appIdentifier + ".lock";
        const int locked = row.copy == Copy::LockedElsewhere
                               ? ::open(lock.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600)
                               : -1;
        ASSERT_TRUE(locked < 0 || ::flock(locked, LOCK_EX | LOCK_NB) == 0) << lock;
        if (row.copy == Copy::Silent)
            QDBusConnection::sessionBus().registerService(bundle::appIdentifier);
        const Outcome run = keyvane(row.arguments);
        ::close(locked);
        QDBusConnection::sessionBus().unregisterService(bundle::appIdentifier);
        const std::string context = row.arguments.join(' ').toStdString() + "\n" + run.err;
        EXPECT_EQ(run.status, row.status) << context;
        EXPECT_EQ(run.out, row.out) << context;
        EXPECT_EQ(row.errStartsSo ? run.err.substr(0, row.err.size()) : run.err, row.err)
            << context;
        EXPECT_EQ(hidutil.calls(), row.calls) << context;
        MappingStore::loadMappings();
        EXPECT_EQ(keyMappings.size(), row.listSize) << context;
    }
    EXPECT_EQ(readFile(exportFile), MappingFile::compose({capsLockToEscape}, allKeyboardsId));
}

// Only a name that another copy holds means that Keyvane runs already; one the bus refuses leaves
// this copy the one copy (its lock tells), and that nothing can reach it is said.
TEST_F(CommandLineTest, OnlyANameHeldByAnotherCopyMeansThatKeyvaneRuns) {
    QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "other");
    ASSERT_TRUE(other.registerService(bundle::appIdentifier));
    EXPECT_EQ(SingleInstance().claim(bundle::appIdentifier), SingleInstance::Claim::AlreadyRunning);
    QDBusConnection::disconnectFromBus("other");
    ::testing::internal::CaptureStderr();  // an element of a bus name cannot begin with a digit
    EXPECT_EQ(SingleInstance().claim("app.keyvane.9"), SingleInstance::Claim::NameRefused);
    const std::string said = ::testing::internal::GetCapturedStderr();
    const std::string refusal = fillIn(SingleInstance::nameRefusedText, {"app.keyvane.9", "\n"});
    EXPECT_NE(said.find(refusal.substr(0, refusal.find('\n'))), std::string::npos) << said;
}

// The copy that runs carries the commands out on its own list, and shows what changed.
TEST_F(CommandLineTest, ARunningCopyCarriesOutTheCommandsOverTheBus) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    testing::AlertAnswerer alerts{{}, testing::AlertAnswerer::WhenUnscripted::PressDefault};
    Launch app(LifecycleSettings{std::chrono::seconds(1800), [] {
                                     return std::make_unique<testing::FakeInputDeviceMonitor>();
                                 }});
    ASSERT_EQ(app.start(), Launch::Outcome::Running);
    std::ofstream(exportFile) << MappingFile::compose({commandToControl, capsLockToEscape},
                                                      "0x27e");
    // The start's installation is read back once the window is on screen.
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() == 4; }, 20000));
    hidutil.clearCalls();
    hidutil.setOutput("status", deskStatus(hidutil::EntryState::Installed));

    Outcome run = keyvane({"--import", QString::fromStdString(exportFile), "--append"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(app.mainVC().rowCount(), 2);  // Caps Lock -> Escape was in the list already
    EXPECT_EQ(MappingFile::storedKeyboardId(), allKeyboardsId);
    MappingStore::saveApplyAtLogin(true);
    run = keyvane({"--import", QString::fromStdString(exportFile)});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(app.mainVC().rowCount(), 2);
    EXPECT_EQ(MappingFile::storedKeyboardId(), "0x27e");
    // The window shows the choices in force, also that of a keyboard it lists under no item.
    QMainWindow* window = app.mainVC().MainWin();
    EXPECT_EQ(window->findChild<QComboBox*>("keyboardPopup")->currentText(), "Keyboard 0x27e");
    EXPECT_TRUE(window->findChild<QCheckBox*>("applyCheckbox")->isChecked());
    run = keyvane({"--list"});
    EXPECT_EQ(run.out, "Keyboard: the keyboard 0x27e\nCommand -> Control\nCaps Lock -> Escape\n");
    EXPECT_EQ(hidutil.calls().size(), 6u);  // each import cleared, installed and read back

    // While a key is being captured, the keys must stay unmapped.
    app.mainVC().MainWin()->findChild<QAction*>("addMappingAction")->trigger();
    hidutil.clearCalls();
    run = keyvane({"--apply"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("waiting for a key press"), std::string::npos) << run.err;
    EXPECT_TRUE(hidutil.calls().empty());

    // The copy ends once it has answered, so that it cannot install the mappings again.
    QProcess restore;
    start(restore, {"--restore"});
    QTimer::singleShot(60000, &restore, [] { QCoreApplication::exit(7); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    run = outcome(restore);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("The running Keyvane ended"), std::string::npos) << run.out;
    EXPECT_EQ(hidutil.calls(), Calls{FakeHidutil::clearingCall()});
    MappingStore::loadMappings();
    EXPECT_EQ(keyMappings.size(), 2u);  // kept for the next start
}

// --make-permanent and --remove-permanent run the helper through pkexec between a clearing of the
// session list and its installation again; only Enter keeps the new keys, and the end of the input
// (a script) lets them change back.
TEST_F(CommandLineTest, PermanentKeymapCommandsAskTheHelperAndOnlyEnterKeepsTheKeys) {
    const std::string helper = std::string(getenv("HOME")) + "/keyvane-permanent";
    std::ofstream(helper) << "stands in for the installed helper";
    const KeyMapping aToEscape = {
        {"original", "a"}, {"originalId", "04"}, {"remapped", "Escape"}, {"remappedId", "29"}};
    const std::string aProperty = testing::keyMappingProperty({{"04", "29"}});
    const std::string matching = R"({"ProductID": 0x27e})";
    const auto around = [](const std::vector<std::string>& pkexec, const std::string& property,
                           bool cleared, bool oneKeyboard = false) {
        Calls calls;
        if (cleared)
            calls.push_back(FakeHidutil::clearingCall());
        calls.push_back(pkexec);
        calls.push_back(FakeHidutil::clearingCall());
        calls.push_back(FakeHidutil::installCall(property));
        if (oneKeyboard)
            calls.back().insert(calls.back().end(), {"--matching", R"({"ProductID": 0x27e})"});
        return calls;
    };
    const std::vector<std::string> make = {"pkexec", helper, "make", capsLockProperty};
    // The question for 1 mapping, what it says of the keyboards' keys, the countdown's start.
    const auto asking = [](const std::string& keyboards, const std::string& caution) {
        return fillIn(PermanentKeymap::makeText, {"1 mapping", keyboards, permanent::hwdbFile}) +
               "\n\n" + caution + "\n\n" + fillIn(PermanentKeymap::countdownText, {"20"}) + "\n";
    };
    const std::string keep = fillIn(PermanentKeymap::keepPrompt, {"20"}) + "\n";
    const std::string asked = asking("all keyboards", PermanentKeymap::laterKeyboardsText);
    const std::string explained = asked + keep;
    const std::string kept = std::string(PermanentKeymap::keptTitle) + ". " +
                             fillIn(PermanentKeymap::keptText, {permanent::hwdbFile}) + "\n";
    struct Row {
        CommandLine::Action action;
        std::string input;  // standard input, then its end; /dev/null when empty
        std::string out;    // the whole standard output
        std::string err;
        Calls calls;
        int status = 1;
        const char* mode = "";  // the fake pkexec's
        std::vector<KeyMapping> list = {capsLockToEscape};
        const char* keyboard = allKeyboardsId;
        bool installed = true;
        bool throughPkexec = true;  // false: run directly, as by root
    };
    const auto makes = [&](std::string input, std::string out, std::string err, int status = 1,
                           const char* mode = "") {
        return Row{CommandLine::Action::MakePermanent,   input,  out, err,
                   around(make, capsLockProperty, true), status, mode};
    };
    const auto said = [](const std::string& title, const std::string& text = "") {
        return "keyvane: " + title + (text.empty() ? "" : ". " + text) + "\n";
    };
    const auto refuses = [](std::string err, std::vector<KeyMapping> list, bool installed) {
        Row row{CommandLine::Action::MakePermanent, "\n", "", err, {}};
        row.list = list;
        row.installed = installed;
        return row;
    };
    const std::string makeFailed = said(std::string(PermanentKeymap::makeFailedTitle) + ".");
    const std::string reverted =
        said(PermanentKeymap::revertedTitle, PermanentKeymap::revertedToNoneText);
    const Row rows[] = {
        makes("", explained, reverted),
        makes("no\n", explained, reverted),
        makes("\n", explained + kept, "", 0),
        {CommandLine::Action::MakePermanent,
         "\n",
         asking("the keyboard 0x27e", fillIn(PermanentKeymap::passwordKeysText, {"a"})) + keep +
             kept,
         "",
         around({"pkexec", helper, "make", aProperty, "--matching", matching}, aProperty, true,
                true),
         0,
         "",
         {aToEscape},
         "0x27e"},
        makes("\n", asked, "keyvane-permanent: /etc/udev/hwdb.d is read-only\n" + makeFailed, 1,
              "fail"),
        makes("\n", asked, said(PermanentKeymap::dismissedTitle, PermanentKeymap::dismissedText), 1,
              "dismiss"),
        refuses(said(PermanentKeymap::nothingToMakeText), {}, true),
        refuses(said(PermanentKeymap::notInstalledTitle,
                     fillIn(PermanentKeymap::notInstalledText, {helper + ".missing"})),
                {capsLockToEscape}, false),
        // Run directly, the stand-in is no program: the reason, then what it means.
        {CommandLine::Action::MakePermanent,
         "\n",
         asked,
         helper + ": execvp: Permission denied\n" + makeFailed,
         {FakeHidutil::clearingCall(), FakeHidutil::clearingCall(),
          FakeHidutil::installCall(capsLockProperty)},
         1,
         "",
         {capsLockToEscape},
         allKeyboardsId,
         true,
         false},
        {CommandLine::Action::RemovePermanent, "",
         fillIn(PermanentKeymap::removeText, {permanent::hwdbFile}) + "\n" +
             PermanentKeymap::removedTitle + ". " + PermanentKeymap::removedText + "\n",
         "", around({"pkexec", helper, "remove"}, capsLockProperty, false), 0},
    };
    for (const auto& row : rows) {
        keyMappings = row.list;
        MappingStore::saveKeyboardId(row.keyboard);
        hidutil.clearCalls();
        hidutil.setPkexecMode(row.mode);
        int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (!row.input.empty()) {
            int ends[2];
            ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
            ASSERT_EQ(::write(ends[1], row.input.data(), row.input.size()),
                      static_cast<ssize_t>(row.input.size()));
            ::close(ends[1]);
            ::close(input);
            input = ends[0];
        }
        std::ostringstream out;
        std::ostringstream err;
        const CommandLine::Session session{out, err, {}, {}, {}};
        const int status = CommandLine::executePermanent(
            {row.action, {}, false}, session,
            {row.installed ? helper : helper + ".missing", row.throughPkexec}, input);
        ::close(input);
        const std::string context = "row " + std::to_string(&row - rows) + "\n" + err.str();
        EXPECT_EQ(status, row.status) << context;
        EXPECT_EQ(out.str(), row.out) << context;
        EXPECT_EQ(err.str(), row.err) << context;
        EXPECT_EQ(hidutil.calls(), row.calls) << context;
    }
}

// However an import file is wrong, the command says why and the stored settings stay as they were,
// to the byte.
TEST_F(CommandLineTest, ImportOfABadFileLeavesTheStoredSettingsByteIdentical) {
    const std::string good = R"({"originalId": "39", "remappedId": "29"})";
    const auto file = [](const std::string& keyboard, const std::string& mappings) {
        return R"({"format": "keyvane-mappings", "version": 1, )" + keyboard + R"("mappings": [)" +
               mappings + "]}";
    };
    const struct {
        std::string contents;  // empty: the file is a folder
        std::string says;
    } files[] = {
        {"{not json", "it is not JSON ("},
        {"[]", "it is not a Keyvane mappings file (it holds no JSON object)"},
        {R"({"keydata2": []})", R"(it is not a Keyvane mappings file (it has no "format")"},
        {R"({"format": "keyvane-mappings", "version": 2, "mappings": []})",
         "a format version this Keyvane does not know"},
        {R"({"format": "keyvane-mappings", "version": 1, "mappings": {}})",
         R"(its "mappings" is missing or not a list)"},
        {file(R"("keyboardId": "x; rm -rf ~", )", good),
         R"(its "keyboardId" is neither a keyboard's product id)"},
        // No product id has more than 32 bits.
        {file(R"("keyboardId": "0x123456789", )", good),
         R"(its "keyboardId" is neither a keyboard's product id)"},
        {file("", R"({"originalId": "zz", "remappedId": "29"}, ["39"])"),
         R"(mapping 1: the key table has no key with id "zz" ("originalId"))"},
        {file("", R"(["39"])"), "none of its 1 mappings can be used"},
        {file("", ""), "it holds no mappings"},
        {file("", good + R"(, {"originalId": "39", "remappedId": "0x29"})"),
         R"(mapping 2: the key table has no key with id "0x29" ("remappedId"))"},
        {file("", good + R"(, {"originalId": "39"})"), R"(mapping 2: it has no "remappedId")"},
        {file("", good + R"(, {"original": "F13", "originalId": "68", "remappedId": "29"})"),
         R"(mapping 2: "F13" is not a key Keyvane knows ("originalId": "68"))"},
        {file("", good + R"(, {"originalId": "00", "remappedId": "29"})"),
         R"(mapping 2: "Disable key" cannot be an original key)"},
        {file("", good + R"(, {"original": "Escape", "originalId": "39", "remappedId": "29"})"),
         R"(mapping 2: "Escape" is not the name of key id "39" (Caps Lock))"},
        {file("", good + R"(, {"originalId": "29", "remappedId": "29"})"),
         "mapping 2: it maps Escape to itself"},
        {file("", good + R"(, {"originalId": "39", "remappedId": 29})"),
         "mapping 2: it is not an object of texts"},
        {file("", good + ", " + std::string(MappingFile::maximumSize, ' ')),
         "bytes long, far more than a list of mappings"},
        {"", "it is not a file that can be read"},
    };
    MappingStore::saveKeyboardId("0x27e");
    const std::string before = readFile(UserDefaults::standardPath());
    const std::filesystem::path path = exportFile;
    for (const auto& bad : files) {
        std::filesystem::remove_all(path);
        if (bad.contents.empty())
            std::filesystem::create_directory(path);
        else
            std::ofstream(path) << bad.contents;
        std::ostringstream out;
        std::ostringstream err;
        bool changed = false;
        const CommandLine::Session session{out, err, [&] { return changed = true; },
                                           [&] { changed = true; }, [] {}};
        const int status =
            CommandLine::execute({CommandLine::Action::Import, exportFile, false}, session);
        EXPECT_EQ(status, 1) << bad.says;
        EXPECT_NE(err.str().find(bad.says), std::string::npos) << err.str();
        EXPECT_NE(err.str().find("Your list is unchanged."), std::string::npos) << err.str();
        EXPECT_FALSE(changed) << bad.says;
        EXPECT_EQ(readFile(UserDefaults::standardPath()), before) << bad.says;
    }
}

}  // namespace
}  // namespace keyvane
