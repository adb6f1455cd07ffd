#include "platform/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "common/Log.h"
#include "common/Text.h"
#include "platform/SessionBus.h"

namespace keyvane {
namespace {

// A copy that holds the name but does not answer within this time is taken to hang.
constexpr int reopenTimeoutMs = 5000;

// The runtime folder is the user's own and local to this machine (a home folder may be shared
// between machines, each of which needs its own copy). Without one, the shared temporary folder,
// with the user's id in the name.
std::filesystem::path lockPath(const std::string& identifier) {
    const char* runtimeDir = std::getenv("XDG_RUNTIME_DIR");
    if (runtimeDir && *runtimeDir)
        return std::filesystem::path(runtimeDir) / (identifier + ".lock");
    return std::filesystem::temp_directory_path() /
           (identifier + "-" + std::to_string(::getuid()) + ".lock");
}

}  // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::~SingleInstance() {
    if (lockFile_ >= 0)
        ::close(lockFile_);
}

SingleInstance::Claim SingleInstance::claim(const std::string& identifier) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    std::string refusal;
    bool refused = false;
    if (bus.isConnected()) {
        // The object comes before the name, so whoever sees the name can call it.
        bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots);
        const session_bus::NameClaim name = session_bus::claimName(identifier, refusal);
        if (name != session_bus::NameClaim::Owned)
            bus.unregisterObject(path);
        // Only a copy that holds the name can be asked to reopen; a refusal (the bus's policy,
        // a name it does not take) says nothing of another copy, which the lock tells.
        if (name == session_bus::NameClaim::TakenByAnother)
            return Claim::AlreadyRunning;
        refused = name == session_bus::NameClaim::Refused;
    }
    if (!lock(identifier))
        return Claim::RunningOutOfReach;
    if (refused) {
        warn(fillIn(nameRefusedText, {identifier, refusal}));
        return Claim::NameRefused;
    }
    return bus.isConnected() ? Claim::First : Claim::NoBus;
}

// The kernel drops the lock when the process ends, however it ends, so no stale lock is left.
bool SingleInstance::lock(const std::string& identifier) {
    const std::filesystem::path file = lockPath(identifier);
    // Not inherited by the commands the application runs, which may outlive it.
    lockFile_ = ::open(file.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (lockFile_ < 0) {
        warn("cannot open " + file.string() +
             "; a second copy of Keyvane for this user would not be noticed");
        return true;
    }
    if (::flock(lockFile_, LOCK_EX | LOCK_NB) == 0)
        return true;
    return errno != EWOULDBLOCK;  // a file system without locks cannot tell either
}

bool SingleInstance::lockHeld(const std::string& identifier) {
    const int file = ::open(lockPath(identifier).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return false;
    // Taken and released at once; only a copy starting in that very moment would mistake it for
    // a running one.
    const bool held = ::flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(file);
    return held;
}

bool SingleInstance::askToReopen(const std::string& identifier, const LaunchToken& token,
                                 std::string& error) {
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromStdString(identifier), path,
                                                       interface, "Reopen");
    call << QString::fromStdString(token.activationToken)
         << QString::fromStdString(token.startupId);
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, reopenTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    error = reply.errorMessage().toStdString();
    return false;
}

void SingleInstance::Reopen(const QString& activationToken, const QString& startupId) {
    emit reopenRequested({activationToken.toStdString(), startupId.toStdString()});
}

}  // namespace keyvane
