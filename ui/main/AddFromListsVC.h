#pragma once

#include <QObject>
#include <memory>

class QDialog;
class QWidget;

namespace Ui {
class AddFromListsW;
}

namespace keyvane {

// Edit > Add Mapping from Lists…: both keys picked from the lists alone, with the keyboard or a
// screen reader, since the capture window takes every key (Tab, Enter and Escape among them) as a
// key to map. Enter applies and Escape cancels; Apply adds the mapping exactly as the capture
// window's Apply does. The keys stay installed while it is open: nothing is captured here.
class AddFromListsVC : public QObject {
    Q_OBJECT
  public:
    // The window opens over `presenter`, modal to it; a controller must not outlive it.
    explicit AddFromListsVC(QWidget* presenter);
    ~AddFromListsVC() override;

    QDialog* window() const { return window_.get(); }

    void applyClick();

  private:
    void updateApplyEnabled();

    std::unique_ptr<QDialog> window_;
    std::unique_ptr<Ui::AddFromListsW> ui_;
};

}  // namespace keyvane
