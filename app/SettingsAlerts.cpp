#include "app/SettingsAlerts.h"

#include <QString>

#include "platform/Alert.h"
#include "platform/DefaultsKeys.h"
#include "platform/UserDefaults.h"

namespace keyvane {
namespace {

void alert(const UserDefaults::Problem& problem) {
    using Kind = UserDefaults::Problem::Kind;
    // The launch count is saved at every start, before the user changed anything: its failure
    // is no change of theirs that will be lost (standard error has it).
    if (problem.kind == Kind::NotSaved && problem.key == defaults_keys::launchCount)
        return;
    const char* text = problem.kind == Kind::NotSaved     ? settingsNotSavedAlertText
                       : problem.kind == Kind::Unreadable ? settingsUnreadableAlertText
                       : problem.keptAs.empty()           ? settingsCorruptInTheWayAlertText
                                                          : settingsCorruptKeptAlertText;
    const QString file = QString::fromStdString(problem.file.string());
    const QString reason = QString::fromStdString(problem.reason);
    const QString filled = problem.keptAs.empty()
                               ? QString::fromUtf8(text).arg(file, reason)
                               : QString::fromUtf8(text).arg(
                                     file, reason, QString::fromStdString(problem.keptAs.string()));
    showAlert(
        filled.toStdString(),
        problem.kind == Kind::NotSaved ? settingsNotSavedAlertTitle : settingsUnreadableAlertTitle,
        {});
}

}  // namespace

void alertOnSettingsProblems() {
    UserDefaults::setProblemHandler(alert);
}

}  // namespace keyvane
