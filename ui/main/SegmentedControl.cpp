#include "ui/main/SegmentedControl.h"

#include <QHBoxLayout>
#include <QToolButton>

namespace keyvane {

SegmentedControl::SegmentedControl(QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    addSegment(QStringLiteral("+"), QStringLiteral("addSegment"), tr("Add a mapping (Ctrl+N)"));
    addSegment(QStringLiteral("\u2212"), QStringLiteral("removeSegment"),
               tr("Remove the selected mapping (Delete)"));
    setFocusPolicy(Qt::NoFocus);  // the segments themselves take focus
}

QToolButton* SegmentedControl::addSegment(const QString& text, const QString& name,
                                          const QString& toolTip) {
    const int index = layout()->count();
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setMinimumSize(32, 26);
    button->setFocusPolicy(Qt::StrongFocus);
    connect(button, &QToolButton::clicked, this, [this, index] { click(index); });
    layout()->addWidget(button);
    return button;
}

QToolButton* SegmentedControl::segment(int index) const {
    return qobject_cast<QToolButton*>(layout()->itemAt(index)->widget());
}

void SegmentedControl::setSegmentEnabled(int index, bool enabled) {
    segment(index)->setEnabled(enabled);
}

void SegmentedControl::click(int segment) {
    selected_ = segment;
    emit clicked();
}

}  // namespace keyvane
