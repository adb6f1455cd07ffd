#pragma once

#include <QObject>

class QLabel;
class QPushButton;

namespace keyvane {

// What the main window says of the installation as a whole, as the last reading back found it: a
// line above the table when no installation can work, with what to do, and the footer, which says
// whether closing the window keeps the mappings installed, and offers to install them when the
// capture window left none installed.
class InstallationSummary : public QObject {
    Q_OBJECT
  public:
    static constexpr const char* keptText =
        QT_TR_NOOP("Closing this window keeps your mappings installed.");
    static constexpr const char* noneInstalledText =
        QT_TR_NOOP("None of your mappings is installed.");
    static constexpr const char* installNowButton = QT_TR_NOOP("Install Now");

    // The widgets belong to the window.
    InstallationSummary(QLabel* obstacleLine, QLabel* footer, QPushButton* installNow,
                        QObject* parent);

    void update();

  private:
    QLabel* obstacleLine_;
    QLabel* footer_;
    QPushButton* installNow_;
};

}  // namespace keyvane
