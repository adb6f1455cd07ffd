#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QLabel>
#include <QLocale>
#include <QMainWindow>
#include <QMenuBar>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QWindow>
#include <fstream>

#include "app/Launch.h"
#include "app/Translation.h"
#include "engine/MappingStore.h"
#include "platform/Bundle.h"
#include "platform/LoginItems.h"
#include "platform/UserDefaults.h"
#include "remote/SCL.h"
#include "tests/support/AlertAnswerer.h"
#include "tests/support/FakeHidutil.h"
#include "tests/support/FakeInputDeviceMonitor.h"
#include "tests/support/HttpsTestServer.h"
#include "tests/support/KeyMappingProperty.h"
#include "tests/support/PrivateSessionBus.h"
#include "ui/main/MainVC.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
using Calls = std::vector<std::vector<std::string>>;
using namespace std::chrono_literals;

const std::string capsLockToEscape = testing::keyMappingProperty({{"39", "29"}});
const std::vector<std::string> listCall = {"list", "-m", "keyboard"};
const std::vector<std::string> statusCall = {"status", "--json"};

class LaunchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        server.useForThisProcess();
        MappingStore::appendMapping({{"original", "Caps Lock"},
                                     {"originalId", "39"},
                                     {"remapped", "Escape"},
                                     {"remappedId", "29"}});
        keyMappings.clear();
    }

    std::unique_ptr<Launch> launch(std::chrono::milliseconds reapplyInterval = 1800s) {
        auto started = std::make_unique<Launch>(
            LifecycleSettings{reapplyInterval, [this] {
                                  auto made = std::make_unique<testing::FakeInputDeviceMonitor>();
                                  devices = made.get();
                                  return made;
                              }});
        EXPECT_EQ(started->start(), Launch::Outcome::Running);
        return started;
    }

    // Runs the event loop for a while, before a check that nothing (more) happened. It decides no
    // pass: a slow machine can only hide an extra call, never fail a correct run.
    static void settle(std::chrono::milliseconds time = 300ms) { QTest::qWait(int(time.count())); }

    // How many event reports named `name` (as encoded) the web service received.
    int reportsOf(const QByteArray& name) {
        int count = 0;
        for (const auto& request : server.requests())
            count += request.target.contains("evtname=" + name + "&");
        return count;
    }

    testing::PrivateSessionBus bus;
    testing::HttpsTestServer server;
    FakeHidutil hidutil;
    testing::AlertAnswerer alerts{{}, testing::AlertAnswerer::WhenUnscripted::PressDefault};
    testing::FakeInputDeviceMonitor* devices = nullptr;
};

// The login helper's own start is checked in LauncherTest; here, what each launch shows and counts.
TEST_F(LaunchTest, NormalThenLoginLaunchShowOrHideTheWindowInstallAndCountTheLaunches) {
    auto app = launch();
    QMainWindow* window = app->mainVC().MainWin();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->windowTitle().toStdString(), "Keyvane " + SCL::appVersion());
    // What Keyvane adds to the installation, reading it back, waits until the window is on screen.
    EXPECT_EQ(hidutil.calls(), (Calls{listCall, FakeHidutil::clearingCall(),
                                      FakeHidutil::installCall(capsLockToEscape)}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() == 4; }, 20000));
    EXPECT_EQ(hidutil.calls().back(), statusCall);
    EXPECT_TRUE(window->windowHandle()->isExposed());
    // The installation is reported as well (its reports are checked in MappingApplierTest).
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return reportsOf("First%20launch") == 1 && reportsOf("applymapping") == 1; }, 20000));
    EXPECT_TRUE(alerts.drain().empty());

    // Closing the window leaves the application running in the background.
    window->close();
    QTimer::singleShot(300, [] { QCoreApplication::exit(7); });
    EXPECT_EQ(QCoreApplication::exec(), 7);

    // A second launch, this time by the login helper, is no first launch: it installs once more
    // and stays hidden.
    app.reset();
    hidutil.clearCalls();
    QDBusConnection::sessionBus().interface()->registerService("app.keyvane.KeyvaneLauncher");
    app = launch();
    EXPECT_FALSE(app->mainVC().MainWin()->isVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() == 6; }, 20000));
    EXPECT_EQ(hidutil.calls(),
              (Calls{listCall, FakeHidutil::clearingCall(),
                     FakeHidutil::installCall(capsLockToEscape), FakeHidutil::clearingCall(),
                     FakeHidutil::installCall(capsLockToEscape), statusCall}));
    EXPECT_TRUE(QTest::qWaitFor(
        [] { return UserDefaults::standard().integerForKey("launchcount") == 2; }, 20000));
    settle();
    EXPECT_EQ(reportsOf("First%20launch"), 1);
    EXPECT_EQ(hidutil.calls().size(), 6u);  // that installation is not read back twice
}

// A second start shows the window of the copy that runs (also from a console without a display,
// and also when the window was minimised) and ends; one that cannot reach it says why and fails.
TEST_F(LaunchTest, ASecondStartReopensTheWindowOfTheRunningCopyOrSaysWhyItCannot) {
    // The second start's words for env(1); desktops often export QT_QPA_PLATFORM.
    const QStringList noDisplay = {"-u", "DISPLAY", "-u", "WAYLAND_DISPLAY"};
    const QString noBus = "DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/keyvane-test-bus";
    const struct {
        QStringList environment;
        int exitCode;
        const char* says;
    } starts[] = {
        {{noBus}, 1, "already runs for this user, outside this session's message bus"},
        {noDisplay + QStringList{"QT_QPA_PLATFORM=wayland;xcb", noBus}, 1,
         "needs a graphical session to show its window"},
        {QStringList{"-u", "QT_QPA_PLATFORM"} + noDisplay, 0,
         "the running Keyvane was asked to show its window"},
        {{"QT_QPA_PLATFORM=wayland;offscreen", "WAYLAND_DISPLAY=keyvane-test-none"},
         0,
         "keyvane: Keyvane could not reach Wayland (WAYLAND_DISPLAY=keyvane-test-none), so its "
         "window opens on offscreen instead.\n"},
        {{}, 0, ""},
    };
    auto app = launch();
    QMainWindow* window = app->mainVC().MainWin();
    for (const auto& start : starts) {
        window->showMinimized();
        QProcess second;
        second.start("env", start.environment + QStringList{KEYVANE_PATH});
        ASSERT_TRUE(QTest::qWaitFor([&] { return second.state() == QProcess::NotRunning; }, 20000));
        const std::string said = second.readAllStandardError().toStdString();
        EXPECT_EQ(second.exitCode(), start.exitCode) << said;
        EXPECT_NE(said.find(start.says), std::string::npos) << said;
        EXPECT_EQ(said.find("Qt platform plugin"), std::string::npos) << said;
        EXPECT_EQ(window->isMinimized(), start.exitCode != 0) << said;
    }
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(mainWindowShown);
    // The second processes never got as far as installing anything.
    EXPECT_EQ(hidutil.calls().size(), 4u);
}

// What cannot be read or saved, the user is told once, with the file's path; what did not parse
// is kept aside, what could not even be read is left alone.
TEST_F(LaunchTest, UnreadableOrUnsavableSettingsAreShownInAnAlertInTheUsersLanguage) {
    const std::filesystem::path file = UserDefaults::standardPath();
    const QString path = QString::fromStdString(file.string());
    std::ofstream(file) << "{not json";
    // The login item made before the file was lost keeps its checkbox ticked.
    const auto loginItem = LoginItems::entryPath(bundle::launcherIdentifier);
    std::filesystem::create_directories(loginItem.parent_path());
    std::ofstream(loginItem) << "[Desktop Entry]\n";
    auto app = launch();
    EXPECT_TRUE(app->mainVC().MainWin()->findChild<QCheckBox*>("applyCheckbox")->isChecked());
    std::vector<testing::AlertAnswerer::Seen> seen = alerts.drain();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].text, "Your settings could not be read");
    EXPECT_TRUE(seen[0].informativeText.contains(path + " (") &&
                seen[0].informativeText.contains(path + ".corrupt-"));
    app.reset();

    std::filesystem::remove_all(file.parent_path());
    std::filesystem::remove(loginItem);
    std::ofstream(file.parent_path()) << "a file where the settings folder belongs";
    app = launch();  // the launch count is not saved, which is no change of the user's
    EXPECT_TRUE(alerts.drain().empty());
    for (int change = 0; change < 2; ++change)  // told once per setting
        MappingStore::saveKeyboardId("0x27e");
    MappingStore::saveApplyAtLogin(true);
    seen = alerts.drain();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[1].text, "Your settings could not be saved");
    EXPECT_TRUE(seen[1].informativeText.contains(path + " ("));

    // A folder where the file belongs is not corrupt: it stays, and nothing is saved over it.
    app.reset();
    std::filesystem::remove(file.parent_path());
    std::filesystem::create_directories(file);
    app = launch();
    MappingStore::saveKeyboardId("0x27e");
    EXPECT_EQ(alerts.drain(),
              (std::vector<testing::AlertAnswerer::Seen>{
                  // Told once: the saves it refuses afterwards are no news.
                  {"Your settings could not be read",
                   "Keyvane could not read " + path +
                       " (Is a directory), so it started without your mappings and settings. It "
                       "left that as it is and will not save over it while it runs, so what you "
                       "change now lasts until Keyvane ends. Make sure it is a file you can read, "
                       "then start Keyvane again.",
                   {"OK"},
                   "OK"}}));
    EXPECT_TRUE(std::filesystem::is_directory(file));

    // In German, as for a German locale: the alert, and the main window behind it.
    app.reset();
    std::filesystem::remove(file);
    std::ofstream(file) << "{not json";
    installTranslators(QLocale(QLocale::German, QLocale::Germany));
    app = launch();
    seen = alerts.drain();
    QMainWindow* window = app->mainVC().MainWin();
    const std::pair<QString, const char*> shown[] = {
        {window->menuBar()->actions().at(0)->text(), "&Datei"},
        {window->findChild<QCheckBox*>("applyCheckbox")->text(),
         "Zuordnungen bei der An&meldung anwenden"},
        {window->findChild<QComboBox*>("keyboardPopup")->itemText(0), "Alle Tastaturen"},
        {window->findChild<QLabel*>("backgroundHint")->text(),
         "Beim Schließen bleiben Ihre Zuordnungen installiert."},
        {app->mainVC().headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), "Originaltaste"},
    };
    qDeleteAll(qApp->findChildren<QTranslator*>());
    for (const auto& [text, german] : shown)
        EXPECT_EQ(text.toStdString(), german);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].text.toStdString(), "Ihre Einstellungen konnten nicht gelesen werden");
}

TEST(LaunchWithoutBus, StartsAsANormalLaunchAndSaysSo) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/keyvane-test-bus", 1);
    FakeHidutil hidutil;
    ::testing::internal::CaptureStderr();
    Launch app(LifecycleSettings{
        1800s, [] { return std::make_unique<testing::FakeInputDeviceMonitor>(); }});
    EXPECT_EQ(app.start(), Launch::Outcome::Running);
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("no session bus; starting as a normal launch"), std::string::npos)
        << errors;
    EXPECT_TRUE(app.mainVC().MainWin()->isVisible());
    EXPECT_EQ(hidutil.calls().size(), 2u);  // cleared (nothing stored) and listed
}

// The timer installs only while the window is hidden. New keyboards get the mappings at once,
// whether the window shows or not; a burst of them gets them once.
TEST_F(LaunchTest, TheTimerInstallsOnlyWhileTheWindowIsHiddenABurstOfKeyboardsOnce) {
    auto app = launch(100ms);
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() == 4; }, 20000));
    hidutil.clearCalls();
    settle(600ms);
    EXPECT_TRUE(hidutil.calls().empty());

    app->mainVC().MainWin()->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() >= 4; }, 20000));
    EXPECT_EQ(hidutil.calls()[0], FakeHidutil::clearingCall());
    EXPECT_EQ(hidutil.calls()[1], FakeHidutil::installCall(capsLockToEscape));

    app->mainVC().MainWin()->show();
    hidutil.clearCalls();
    for (const char* node : {"/dev/input/event11", "/dev/input/event12", "/dev/input/event13"})
        devices->report(InputDeviceEvent::Action::Add, node, true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return hidutil.calls().size() >= 3; }, 20000));
    settle(1500ms);
    EXPECT_EQ(hidutil.calls(), (Calls{FakeHidutil::clearingCall(),
                                      FakeHidutil::installCall(capsLockToEscape), statusCall}));
}

}  // namespace
}  // namespace keyvane
