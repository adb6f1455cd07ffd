#include "app/SettingsAlerts.h"

#include <QCoreApplication>
#include <QString>

#include "platform/Alert.h"
#include "platform/DefaultsKeys.h"
#include "platform/Translation.h"
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
    const QString pattern = QCoreApplication::translate("SettingsAlerts", text);
    const QString filled =
        problem.keptAs.empty()
            ? pattern.arg(file, reason)
            : pattern.arg(file, reason, QString::fromStdString(problem.keptAs.string()));
    showAlert(
        filled.toStdString(),
        translated("SettingsAlerts", problem.kind == Kind::NotSaved ? settingsNotSavedAlertTitle
                                                                    : settingsUnreadableAlertTitle),
        {});
}

}  // namespace

void alertOnSettingsProblems() {
    UserDefaults::setProblemHandler(alert);
}

}  // namespace keyvane
