#pragma once

#include <QObject>
#include <string>

#include "platform/LaunchToken.h"

namespace keyvane {

// One copy of the application per user. The first copy owns the application's bundle identifier
// on the session bus and answers "Reopen" calls there; a copy started later finds the name taken,
// asks the first one to reopen, and ends. Beside the name, every copy holds a lock file in the
// user's runtime folder, so that copies that share no bus (or have none) still meet: two copies
// would overwrite each other's settings.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.keyvane.Application")
  public:
    static constexpr const char* path = "/app/keyvane/Application";
    static constexpr const char* interface = "app.keyvane.Application";

    enum class Claim {
        First,              // this process is the one copy; reopen requests reach it
        AlreadyRunning,     // another process holds the name
        NoBus,              // the one copy, but without a session bus nobody can ask it to reopen
        RunningOutOfReach,  // another copy holds the lock, but not on this session bus
        NameRefused,        // the one copy, but the bus refused it the name (said on stderr)
    };
    static constexpr const char* nameRefusedText =
        "the session bus refused Keyvane the name %1 (%2); it starts all the same, but a second "
        "start cannot ask it to show its window, and keyvane commands cannot reach it";

    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;

    Claim claim(const std::string& identifier);

    // Whether a copy holds the lock of `identifier`: one that runs, also on another bus or none.
    static bool lockHeld(const std::string& identifier);

    // Asks the copy that holds `identifier` to bring its window back, with this start's `token`,
    // which lets the desktop give it the focus. False, with the reason in `error`, when it does not
    // answer.
    static bool askToReopen(const std::string& identifier, const LaunchToken& token,
                            std::string& error);

  public slots:
    // The bus method that a later copy calls, with its launch token (either part may be empty).
    Q_SCRIPTABLE void Reopen(const QString& activationToken, const QString& startupId);

  signals:
    void reopenRequested(const LaunchToken& token);

  private:
    bool lock(const std::string& identifier);

    int lockFile_ = -1;
};

}  // namespace keyvane
