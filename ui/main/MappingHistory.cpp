#include "ui/main/MappingHistory.h"

#include <QAction>
#include <algorithm>

#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/MappingStore.h"

namespace keyvane {

struct MappingHistory::Choices {
    std::vector<KeyMapping> mappings;
    std::string keyboardId;

    static std::shared_ptr<const Choices> stored() {
        return std::make_shared<const Choices>(
            Choices{keyMappings, MappingFile::storedKeyboardId()});
    }
    bool operator==(const Choices&) const = default;
};

namespace {

// The change itself was made, stored and installed before it became a step, so the stack's first
// redo (as it is pushed) does nothing.
class Step : public QUndoCommand {
  public:
    using Choices = std::shared_ptr<const MappingHistory::Choices>;
    Step(MappingHistory* history, Choices before, Choices after, const QString& name)
        : QUndoCommand(name),
          history_(history),
          before_(std::move(before)),
          after_(std::move(after)) {}

    void undo() override { history_->restore(before_); }
    void redo() override {
        if (pushed_)
            history_->restore(after_);
        pushed_ = true;
    }

  private:
    MappingHistory* history_;
    Choices before_, after_;
    bool pushed_ = false;
};

}  // namespace

MappingHistory::MappingHistory(QAction* undo, QAction* redo, Show show, QObject* parent)
    : QObject(parent), show_(std::move(show)) {
    stack_.setUndoLimit(stepLimit);
    undo->setEnabled(false);
    redo->setEnabled(false);
    connect(undo, &QAction::triggered, &stack_, &QUndoStack::undo);
    connect(redo, &QAction::triggered, &stack_, &QUndoStack::redo);
    connect(&stack_, &QUndoStack::canUndoChanged, undo, &QAction::setEnabled);
    connect(&stack_, &QUndoStack::canRedoChanged, redo, &QAction::setEnabled);
    connect(&stack_, &QUndoStack::undoTextChanged, undo,
            [undo, plain = undo->text()](const QString& step) {
                nameAction(undo, plain, undoNamed, step);
            });
    connect(&stack_, &QUndoStack::redoTextChanged, redo,
            [redo, plain = redo->text()](const QString& step) {
                nameAction(redo, plain, redoNamed, step);
            });
    reset();
}

void MappingHistory::nameAction(QAction* action, const QString& plainText, const char* namedText,
                                const QString& stepName) {
    action->setText(stepName.isEmpty() ? plainText : tr(namedText).arg(stepName));
}

void MappingHistory::reset() {
    stack_.clear();
    seen_ = Choices::stored();
}

void MappingHistory::record(const char* name) {
    std::shared_ptr<const Choices> now = Choices::stored();
    if (*now == *seen_)
        return;
    stack_.push(new Step(this, seen_, now, tr(name)));
    seen_ = std::move(now);
}

void MappingHistory::restore(const std::shared_ptr<const Choices>& choices) {
    const std::vector<KeyMapping>& restored = choices->mappings;
    const std::size_t firstChange = static_cast<std::size_t>(
        std::mismatch(restored.begin(), restored.end(), keyMappings.begin(), keyMappings.end())
            .first -
        restored.begin());
    keyMappings = restored;
    MappingStore::saveMappings();
    if (MappingFile::storedKeyboardId() != choices->keyboardId)
        MappingStore::saveKeyboardId(choices->keyboardId);
    // Before showing them, so that showing what was stored elsewhere records no step.
    seen_ = choices;
    show_(firstChange < restored.size() ? std::optional(firstChange) : std::nullopt);
    MappingApplier::applyMappings();
}

}  // namespace keyvane
