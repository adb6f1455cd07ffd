#include "ui/main/MainVC.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QEvent>
#include <QHeaderView>
#include <QMainWindow>
#include <QScreen>
#include <QStyleOptionViewItem>
#include <QTableView>
#include <algorithm>

#include "common/Log.h"
#include "common/Text.h"
#include "engine/KeyTable.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "platform/Alert.h"
#include "platform/Application.h"
#include "ui/KeyNames.h"
#include "ui/capture/KeyboardVC.h"
#include "ui/main/AddFromListsVC.h"
#include "ui/main/InstallationSummary.h"
#include "ui/main/KeyboardList.h"
#include "ui/main/MappingFileDialogs.h"
#include "ui/main/MappingHistory.h"
#include "ui/main/SegmentedControl.h"
#include "ui/main/StatusColumn.h"
#include "ui_MainWindow.h"

namespace keyvane {

MainVC* currentMainVC = nullptr;
bool mainWindowShown = false;

namespace {

const char* const columns[] = {MainVC::originalColumn, MainVC::remappedColumn};

}  // namespace

MainVC::MainVC(std::function<void()> updateLoginItem, PermanentSettings permanent, QObject* parent)
    : QAbstractTableModel(parent),
      updateLoginItem_(std::move(updateLoginItem)),
      window_(std::make_unique<QMainWindow>()),
      ui_(std::make_unique<Ui::MainWindow>()),
      permanent_(new PermanentKeymapDialogs(window_.get(), std::move(permanent))) {
    ui_->setupUi(window_.get());
    summary_ =
        new InstallationSummary(ui_->obstacleLbl, ui_->backgroundHint, ui_->installNowBtn, this);
    ui_->tableView->setModel(this);
    sizeKeyColumns();
    // The status takes the room that is left.
    ui_->tableView->horizontalHeader()->setSectionResizeMode(statusColumn, QHeaderView::Stretch);
    // The selected row shows itself; a header turned bold with it would only shift its text.
    ui_->tableView->horizontalHeader()->setHighlightSections(false);
    ui_->startLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
    fitToScreen();
    window_->installEventFilter(this);
    connectActions();
    setUpEditing();
    updateRemoveEnabled();
}

MainVC::~MainVC() {
    if (currentMainVC == this)
        currentMainVC = nullptr;
    window_->removeEventFilter(this);
    // The table sizes its columns to their contents while the window closes, asking this model,
    // which is half gone by then.
    ui_->tableView->setModel(nullptr);
}

void MainVC::connectActions() {
    connect(ui_->segmentedBtn1, &SegmentedControl::clicked, this,
            [this] { segmentedBtnClick(ui_->segmentedBtn1); });
    connect(ui_->keyboardPopup, &QComboBox::activated, this,
            [this] { keyboardPopupChanged(ui_->keyboardPopup); });
    connect(ui_->applyCheckbox, &QCheckBox::clicked, this,
            [this] { applyCheckboxClicked(ui_->applyCheckbox); });
    connect(ui_->quitBtn, &QAbstractButton::clicked, this, [this] { quitBtnClicked(); });

    // The menus are the keyboard's way to the segments and to closing the window. Quitting from
    // the menu leaves the mappings installed; only the quit button removes them.
    connect(ui_->addMappingAction, &QAction::triggered, this,
            [this] { ui_->segmentedBtn1->click(0); });
    connect(ui_->removeMappingAction, &QAction::triggered, this,
            [this] { ui_->segmentedBtn1->click(1); });
    // The next row is selected once one goes: a held Delete would empty the list row by row.
    ui_->removeMappingAction->setAutoRepeat(false);
    connect(ui_->importAction, &QAction::triggered, this, &MainVC::importMappings);
    connect(ui_->exportAction, &QAction::triggered, this,
            [this] { mapping_file_dialogs::exportMappings(window_.get()); });
    connect(ui_->makePermanentAction, &QAction::triggered, permanent_,
            &PermanentKeymapDialogs::makePermanent);
    connect(ui_->removePermanentAction, &QAction::triggered, permanent_,
            &PermanentKeymapDialogs::removePermanent);
    // One helper at a time: the other item waits until the first has finished.
    connect(permanent_, &PermanentKeymapDialogs::runningChanged, this, [this](bool running) {
        ui_->makePermanentAction->setEnabled(!running);
        ui_->removePermanentAction->setEnabled(!running);
    });
    connect(ui_->closeWindowAction, &QAction::triggered, window_.get(), &QWidget::close);
    connect(ui_->quitAction, &QAction::triggered, this, [] { terminateApplication(); });

    connect(ui_->tableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &MainVC::updateRemoveEnabled);
    connect(this, &QAbstractItemModel::modelReset, this, &MainVC::updateRemoveEnabled);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &MainVC::updateRemoveEnabled);
}

// Edit > Undo, Redo and Add Mapping from Lists…, and the table's current row kept to its selection.
void MainVC::setUpEditing() {
    history_ = new MappingHistory(
        ui_->undoAction, ui_->redoAction,
        [this](std::optional<std::size_t> broughtBack) {
            showStoredChoices();
            if (broughtBack)
                selectRow(static_cast<int>(*broughtBack));
        },
        this);
    connect(ui_->addFromListsAction, &QAction::triggered, this, &MainVC::presentAddFromListsVC);
    QItemSelectionModel* selection = ui_->tableView->selectionModel();
    connect(selection, &QItemSelectionModel::currentChanged, this,
            &MainVC::matchCurrentToSelection);
    connect(selection, &QItemSelectionModel::selectionChanged, this,
            &MainVC::matchCurrentToSelection);
}

// The table draws its current cell as if chosen, and the arrow keys move on from it; the focus
// alone gives it the first cell. So the current row is the selected one, or there is none: nothing
// looks selected that Delete would not remove, and Down or Up from none selects the first row.
void MainVC::matchCurrentToSelection() {
    QItemSelectionModel* selection = ui_->tableView->selectionModel();
    const QModelIndexList selected = selection->selectedRows();
    const QModelIndex row = selected.isEmpty() ? QModelIndex() : selected.first();
    if (selection->currentIndex().row() != row.row())
        selection->setCurrentIndex(row, QItemSelectionModel::NoUpdate);
}

// A key column holds key table names only, so the widest of them sizes both, once: measuring every
// row instead costs a third of the start with a long list, and again at every change.
void MainVC::sizeKeyColumns() {
    QTableView* table = ui_->tableView;
    const QFontMetrics metrics(table->font());
    QString widest;
    int widestAdvance = 0;
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        const QString name = QString::fromStdString(entry.name);
        if (const int advance = metrics.horizontalAdvance(name); advance > widestAdvance) {
            widest = name;
            widestAdvance = advance;
        }
    }
    // What the table's delegate asks of the style for a cell of that text, and the grid line.
    QStyleOptionViewItem cell;
    cell.initFrom(table);
    cell.font = table->font();
    cell.fontMetrics = metrics;
    cell.features = QStyleOptionViewItem::HasDisplay;
    cell.text = widest;
    const int width =
        table->style()->sizeFromContents(QStyle::CT_ItemViewItem, &cell, QSize(), table).width() +
        (table->showGrid() ? 1 : 0);
    QHeaderView* header = table->horizontalHeader();
    for (int column = 0; column < statusColumn; ++column)
        header->resizeSection(column, std::max(width, header->sectionSizeHint(column)));
}

// A small screen, or a large scale factor, must not push the window's buttons out of reach: the
// window and its title bar fit on the screen's free area.
void MainVC::fitToScreen() {
    QSize room = window_->screen()->availableGeometry().size();
    room.rheight() -= window_->style()->pixelMetric(QStyle::PM_TitleBarHeight);
    window_->resize(window_->size().boundedTo(room).expandedTo(window_->minimumSize()));
}

// Remove acts on the selected row; without one it would do nothing, so it is offered only then.
void MainVC::updateRemoveEnabled() {
    const bool selected = ui_->tableView->selectionModel()->hasSelection();
    ui_->segmentedBtn1->setSegmentEnabled(1, selected);
    ui_->removeMappingAction->setEnabled(selected);
}

void MainVC::viewDidLoad() {
    currentMainVC = this;
    MappingStore::loadMappings();
    trace(MappingStore::describe(keyMappings));
    history_->reset();
    // The listing only reads the keyboards, so it runs while the list is installed: the window
    // maps one shell's start sooner.
    ShellRunner::Pending listing = ShellRunner::start(listKeyboardsCommand);
    MappingApplier::applyMappings();
    reloadTable();
    fillKeyboardPopup(ui_->keyboardPopup, std::move(listing));
    loaded_ = true;
    if (MappingStore::loadApplyAtLogin())
        ui_->applyCheckbox->setChecked(true);
}

void MainVC::viewWillAppear() {
    mainWindowShown = true;
}

void MainVC::viewDidDisappear() {
    mainWindowShown = false;
}

bool MainVC::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_.get()) {
        if (event->type() == QEvent::Show)
            viewWillAppear();
        if (event->type() == QEvent::Hide)
            viewDidDisappear();
    }
    return QAbstractTableModel::eventFilter(watched, event);
}

int MainVC::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || keyMappings.empty())
        return 0;
    ui_->startLabel->hide();
    return static_cast<int>(keyMappings.size());
}

int MainVC::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 3;
}

QVariant MainVC::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole && role != Qt::ToolTipRole)
        return {};
    if (!index.isValid() || static_cast<std::size_t>(index.row()) >= keyMappings.size())
        return {};
    const KeyMapping& record = keyMappings[static_cast<std::size_t>(index.row())];
    if (index.column() == statusColumn) {
        const auto state = MappingStatus::stateOfRow(static_cast<std::size_t>(index.row()));
        return role == Qt::ToolTipRole ? statusToolTip(state) : statusText(state);
    }
    auto value = record.find(columns[index.column()]);
    const std::string text = value == record.end() ? std::string() : value->second;
    if (role == Qt::ToolTipRole)
        return pcKeyName(text).empty() ? QVariant() : QString::fromUtf8(pcKeyName(text));
    return QString::fromStdString(text);
}

QVariant MainVC::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section > statusColumn)
        return {};
    if (role == columnIdentifierRole && section != statusColumn)
        return QString::fromLatin1(columns[section]);
    if (role == Qt::DisplayRole)
        return section == 0 ? tr("Original key") : section == 1 ? tr("New key") : tr("Status");
    return {};
}

void MainVC::reloadTable() {
    beginResetModel();
    endResetModel();
}

void MainVC::selectLastRow() {
    if (rowCount() > 0)
        selectRow(rowCount() - 1);
}

void MainVC::selectRow(int row) {
    ui_->tableView->selectRow(row);
    ui_->tableView->scrollTo(index(row, 0));
}

void MainVC::showStoredChoices() {
    reloadTable();
    selectKeyboard(ui_->keyboardPopup, MappingFile::storedKeyboardId());
    ui_->applyCheckbox->setChecked(MappingStore::loadApplyAtLogin());
    history_->record(MappingHistory::importStep);
}

void MainVC::mappingAdded() {
    reloadTable();
    selectLastRow();
    history_->record(MappingHistory::addStep);
}

void MainVC::importMappings() {
    if (!mapping_file_dialogs::importMappings(window_.get()))
        return;
    showStoredChoices();
    MappingApplier::applyMappings();
}

void MainVC::statusChanged() {
    summary_->update();
    if (!MappingStatus::nothingInstalled())  // a clearing read nothing back
        nameKeyboardsBehindItems(ui_->keyboardPopup, MappingStatus::keyboards());
    if (rowCount() > 0)
        emit dataChanged(index(0, statusColumn), index(rowCount() - 1, statusColumn));
}

void MainVC::segmentedBtnClick(SegmentedControl* sender) {
    if (sender->indexOfSelectedItem() != 1) {
        presentKeyboardVC();
        return;
    }

    const QModelIndexList selected = ui_->tableView->selectionModel()->selectedRows();
    if (selected.isEmpty())
        return;
    const int row = selected.first().row();
    beginRemoveRows({}, row, row);
    MappingStore::removeMapping(static_cast<std::size_t>(row));
    endRemoveRows();
    MappingApplier::applyMappings();
    history_->record(MappingHistory::removeStep);
}

// Another mapping could not be installed; the capture window would also clear the keys as it opens.
bool MainVC::roomForAnotherMapping() const {
    const std::size_t maximum = MappingApplier::maximumMappings();
    if (keyMappings.size() < maximum)
        return true;
    showAlert(fillIn(tr(listFullAlertText).toStdString(),
                     {groupedDigits(maximum), groupedDigits(keyMappings.size()),
                      mappingsCount(keyMappings.size() - maximum + 1)}),
              tr(listFullAlertTitle).toStdString(), {});
    return false;
}

void MainVC::presentKeyboardVC() {
    if (!roomForAnotherMapping())
        return;
    keyboardVC_ = std::make_unique<KeyboardVC>(window_.get());
    keyboardVC_->viewDidLoad();
    keyboardVC_->window()->show();
}

void MainVC::presentAddFromListsVC() {
    if (!roomForAnotherMapping())
        return;
    addFromListsVC_ = std::make_unique<AddFromListsVC>(window_.get());
    addFromListsVC_->window()->show();
}

void MainVC::keyboardPopupChanged(QComboBox* sender) {
    const QString title = sender->currentText();
    const std::string identifier = sender->currentData().toString().toStdString();
    trace("keyboard pop-up item: " + title.toStdString() + " (" + identifier + ")");
    if (!loaded_)
        return;
    MappingStore::saveKeyboardId(identifier);
    MappingApplier::applyMappings();
    history_->record(MappingHistory::keyboardStep);
}

void MainVC::applyCheckboxClicked(QCheckBox* sender) {
    MappingStore::saveApplyAtLogin(sender->isChecked());
    updateLoginItem_();
}

void MainVC::quitBtnClicked() {
    trace(ShellRunner::run(MappingApplier::clearingCommand));
    terminateApplication();
}

}  // namespace keyvane
