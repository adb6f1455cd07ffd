#pragma once

#include <QObject>
#include <QUndoStack>
#include <functional>
#include <memory>

class QAction;

namespace keyvane {

// Edit > Undo and Redo over the changes to the list of mappings and to the keyboard it applies to.
// A step keeps both as they were before it and after it; taking it back or again stores them and
// installs the whole list, as every change is stored and installed.
class MappingHistory : public QObject {
    Q_OBJECT
  public:
    // Every step holds a whole list: a long list changed all day long must not grow without end.
    static constexpr int stepLimit = 100;

    // `undo` and `redo` are enabled only while they have a step to take; `show` shows the list
    // and the keyboard choice again once a step has stored them.
    MappingHistory(QAction* undo, QAction* redo, std::function<void()> show, QObject* parent);

    // Forgets every step: the history starts from what is stored now.
    void reset();
    // Records the change from what the last step left stored to what is stored now; nothing when
    // they are the same.
    void record();

    struct Choices;
    // Stores `choices`, shows them and installs the list.
    void restore(const std::shared_ptr<const Choices>& choices);

  private:
    QUndoStack stack_;
    std::shared_ptr<const Choices> seen_;  // what the last step left stored
    std::function<void()> show_;
};

}  // namespace keyvane
