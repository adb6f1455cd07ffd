#pragma once

#include <QWidget>

class QToolButton;

namespace keyvane {

// Two joined buttons, add (segment 0) and remove (segment 1), reporting the one last clicked.
class SegmentedControl : public QWidget {
    Q_OBJECT
  public:
    explicit SegmentedControl(QWidget* parent = nullptr);

    // The segment of the last click, or -1 before any.
    int indexOfSelectedItem() const { return selected_; }
    // Acts as a click on `segment` (for keyboard shortcuts).
    void click(int segment);
    void setSegmentEnabled(int segment, bool enabled);

  signals:
    void clicked();

  private:
    QToolButton* addSegment(const QString& text, const QString& name, const QString& toolTip);
    QToolButton* segment(int index) const;

    int selected_ = -1;
};

}  // namespace keyvane
