#include "ui/main/InstallationSummary.h"

#include <QLabel>
#include <QPushButton>

#include "engine/MappingApplier.h"
#include "engine/MappingStatus.h"

namespace keyvane {

InstallationSummary::InstallationSummary(QLabel* obstacleLine, QLabel* footer,
                                         QPushButton* installNow, QObject* parent)
    : QObject(parent), obstacleLine_(obstacleLine), footer_(footer), installNow_(installNow) {
    installNow_->setText(tr(installNowButton));
    // The same way as every installation: cleared first, then read back.
    connect(installNow_, &QPushButton::clicked, this, [] { MappingApplier::applyMappings(); });
    update();
}

void InstallationSummary::update() {
    const std::optional<std::string> obstacle = MappingStatus::obstacle();
    obstacleLine_->setText(QString::fromStdString(obstacle.value_or("")));
    obstacleLine_->setVisible(obstacle.has_value());
    const bool noneInstalled = MappingStatus::nothingInstalled() && !keyMappings.empty();
    installNow_->setVisible(noneInstalled);
    // Where nothing can be installed, the line above says so; the footer would claim otherwise.
    footer_->setText(noneInstalled ? tr(noneInstalledText) : obstacle ? QString() : tr(keptText));
}

}  // namespace keyvane
