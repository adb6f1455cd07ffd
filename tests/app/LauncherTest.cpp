#include <gtest/gtest.h>
#include <signal.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "tests/support/FakeHidutil.h"
#include "tests/support/HttpsTestServer.h"
#include "tests/support/PrivateSessionBus.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
namespace fs = std::filesystem;

struct Finished {
    int exitCode = -1;
    std::string errors;
};

Finished runToEnd(const QString& program, const QStringList& arguments = {}) {
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 30000))
        << program.toStdString() << " did not end";
    return {process.exitCode(), process.readAllStandardError().toStdString()};
}

bool isRunning(const char* name) {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(name).value();
}

class LauncherTest : public ::testing::Test {
  protected:
    // keyvane-launcher in a folder of its own, beside a stand-in keyvane that notes each start.
    QString launcherBesideStandIn() {
        const fs::path folder = fs::path(getenv("HOME")) / "bin";
        fs::create_directories(folder);
        fs::copy_file(LAUNCHER_PATH, folder / "keyvane-launcher");
        std::ofstream(folder / "keyvane") << "#!/bin/sh\necho started >> " << standInStarts << "\n";
        fs::permissions(folder / "keyvane", fs::perms::owner_all);
        return QString::fromStdString((folder / "keyvane-launcher").string());
    }
    bool standInStarted() const { return fs::exists(standInStarts); }

    testing::PrivateSessionBus bus;
    fs::path standInStarts = fs::path(getenv("HOME")) / "stand-in-starts";
};

TEST_F(LauncherTest, StartsKeyvaneForALoginLaunchAndQuitsWhenToldTo) {
    FakeHidutil hidutil;
    testing::HttpsTestServer server;
    server.useForThisProcess();

    const Finished launcher = runToEnd(LAUNCHER_PATH);
    EXPECT_EQ(launcher.exitCode, 0) << launcher.errors;
    EXPECT_TRUE(isRunning("app.keyvane.Keyvane"));
    EXPECT_FALSE(isRunning("app.keyvane.KeyvaneLauncher"));
    // What a login launch installs and shows is checked in LaunchTest.

    const uint pid = QDBusConnection::sessionBus().interface()->servicePid("app.keyvane.Keyvane");
    ASSERT_GT(pid, 0u);
    ::kill(static_cast<pid_t>(pid), SIGTERM);
    EXPECT_TRUE(QTest::qWaitFor([] { return !isRunning("app.keyvane.Keyvane"); }, 20000));
}

// Once nothing runs, it starts Keyvane and gives up when that never reports its start.
TEST_F(LauncherTest, StartsNothingWhenKeyvaneOrAnotherLauncherAlreadyRunsOrGivesUp) {
    const QString launcher = launcherBesideStandIn();
    for (const char* holder : {"app.keyvane.Keyvane", "app.keyvane.KeyvaneLauncher"}) {
        QDBusConnection::sessionBus().interface()->registerService(holder);
        const Finished run = runToEnd(launcher);
        EXPECT_EQ(run.exitCode, 0) << holder << ": " << run.errors;
        QDBusConnection::sessionBus().interface()->unregisterService(holder);
    }
    EXPECT_FALSE(standInStarted());
    EXPECT_EQ(runToEnd(launcher, {"--wait"}).exitCode, 2);

    const Finished run = runToEnd(launcher, {"--wait", "1"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.errors.find("did not report its start within 1 s"), std::string::npos)
        << run.errors;
    EXPECT_TRUE(standInStarted());
}

}  // namespace
}  // namespace keyvane
