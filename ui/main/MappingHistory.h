#pragma once

#include <QObject>
#include <QUndoStack>
#include <functional>
#include <memory>
#include <optional>

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

    // What a step is called in Edit > Undo and Redo ("Undo Remove Mapping").
    static constexpr const char* addStep = QT_TR_NOOP("Add Mapping");
    static constexpr const char* removeStep = QT_TR_NOOP("Remove Mapping");
    static constexpr const char* importStep = QT_TR_NOOP("Import");
    static constexpr const char* keyboardStep = QT_TR_NOOP("Keyboard Choice");
    static constexpr const char* undoNamed = QT_TR_NOOP("&Undo %1");
    static constexpr const char* redoNamed = QT_TR_NOOP("Re&do %1");

    // `undo` and `redo` are enabled only while they have a step to take; `show` shows the list
    // and the keyboard choice again once a step has stored them, and selects `broughtBack`, the
    // first row that the step brought back, if it brought one.
    using Show = std::function<void(std::optional<std::size_t> broughtBack)>;
    MappingHistory(QAction* undo, QAction* redo, Show show, QObject* parent);

    // Forgets every step: the history starts from what is stored now.
    void reset();
    // Records the change from what the last step left stored to what is stored now as the step
    // `name` (one of the names above); nothing when they are the same.
    void record(const char* name);

    struct Choices;
    // Stores `choices`, shows them and installs the list.
    void restore(const std::shared_ptr<const Choices>& choices);

  private:
    static void nameAction(QAction* action, const QString& plainText, const char* namedText,
                           const QString& stepName);

    QUndoStack stack_;
    std::shared_ptr<const Choices> seen_;  // what the last step left stored
    Show show_;
};

}  // namespace keyvane
