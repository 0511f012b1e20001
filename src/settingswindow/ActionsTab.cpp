#include "settingswindow/ActionsTab.h"

#include "actions/ActionStore.h"
#include "settingswindow/ActionEditor.h"
#include "settingswindow/ActionListModel.h"
#include "settingswindow/ListSelection.h"
#include "settingswindow/SettingsStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

ActionsTab::ActionsTab(ActionStore& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store) {
    auto* row = new QHBoxLayout(this);
    const int pad = SettingsStyle::padding;
    row->setContentsMargins(pad, pad, pad, pad);
    row->setSpacing(14);

    auto* left = new QWidget(this);
    left->setFixedWidth(230);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    m_model = new ActionListModel(m_store, this);
    m_list = new QListView(left);
    m_list->setObjectName(QStringLiteral("actions"));
    m_list->setModel(m_model);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setDragDropMode(QAbstractItemView::InternalMove);
    m_list->setDefaultDropAction(Qt::MoveAction);
    m_list->setDropIndicatorShown(true);
    m_list->setUniformItemSizes(true);
    m_list->setStyleSheet(QStringLiteral("QListView::item { padding: 3px 4px; }"));
    column->addWidget(m_list, 1);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    m_add = SettingsStyle::iconButton(QStringLiteral("plus"), QStringLiteral("add"), left);
    m_delete = SettingsStyle::iconButton(QStringLiteral("minus"), QStringLiteral("delete"), left);
    m_up = SettingsStyle::iconButton(QStringLiteral("arrow.up"), QStringLiteral("up"), left);
    m_down = SettingsStyle::iconButton(QStringLiteral("arrow.down"), QStringLiteral("down"), left);
    m_reset = new QPushButton(QStringLiteral("Reset…"), left);
    m_reset->setObjectName(QStringLiteral("reset"));
    m_reset->setAutoDefault(false);
    for (QWidget* button : {static_cast<QWidget*>(m_add), static_cast<QWidget*>(m_delete),
                            static_cast<QWidget*>(m_up), static_cast<QWidget*>(m_down)})
        buttons->addWidget(button);
    buttons->addStretch(1);
    buttons->addWidget(m_reset);
    column->addLayout(buttons);
    row->addWidget(left);

    m_detail = new QStackedWidget(this);
    m_hint = new QLabel(QStringLiteral("Select an action to edit it, or add a new one.\nDrag rows "
                                       "(or use the arrows) to reorder them."));
    m_hint->setObjectName(QStringLiteral("hint"));
    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setWordWrap(true);
    m_hint->setTextFormat(Qt::PlainText);
    SettingsStyle::setTextColor(m_hint, SettingsStyle::secondary(m_hint->palette()));
    m_editor = new ActionEditor(m_store);
    m_editor->setObjectName(QStringLiteral("editor"));
    m_detail->addWidget(m_hint);
    m_detail->addWidget(m_editor);
    row->addWidget(m_detail, 1);

    connect(m_add, &QToolButton::clicked, this, &ActionsTab::add);
    connect(m_delete, &QToolButton::clicked, this, &ActionsTab::deleteSelected);
    connect(m_up, &QToolButton::clicked, this, [this] { move(-1); });
    connect(m_down, &QToolButton::clicked, this, [this] { move(+1); });
    connect(m_reset, &QPushButton::clicked, this, &ActionsTab::askReset);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ActionsTab::selectionChangedByUser);
    connect(m_model, &QAbstractItemModel::modelReset, this, &ActionsTab::rowsChanged);
    connect(m_model, &QAbstractItemModel::rowsMoved, this, &ActionsTab::rowsChanged);
    showSelection();
}

void ActionsTab::select(std::optional<QUuid> id) {
    m_selected = id;
    showSelection();
}

void ActionsTab::add() {
    const WendleAction action{QUuid::createUuid(), QStringLiteral("New action"),
                              QStringLiteral("Rewrite the text to "), WendleAction::Kind::plain};
    QList<WendleAction> actions = m_store.actions();
    actions.append(action);
    m_store.setActions(actions);
    select(action.id);
}

void ActionsTab::deleteSelected() {
    if (!m_selected)
        return;
    QList<WendleAction> actions = m_store.actions();
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [this](const WendleAction& a) { return a.id == *m_selected; });
    if (found != actions.end()) {
        actions.erase(found);
        m_store.setActions(actions);
    }
    // No neighbour takes over the selection.
    select(std::nullopt);
}

void ActionsTab::move(int offset) {
    if (!m_selected)
        return;
    const int from = m_model->rowOf(*m_selected);
    const int to = from + offset;
    if (from < 0 || to < 0 || to >= m_model->rowCount())
        return;
    // Swapping neighbours is moving one of them past the other.
    m_model->moveRow({}, from, {}, offset > 0 ? from + 2 : to);
}

void ActionsTab::askReset() {
    if (m_question)
        return;
    m_question = new QMessageBox(this);
    m_question->setObjectName(QStringLiteral("resetQuestion"));
    m_question->setWindowTitle(QStringLiteral("Reset actions?"));
    m_question->setText(QStringLiteral("Reset actions?"));
    m_question->setInformativeText(
        QStringLiteral("This replaces your actions with the built-in set."));
    m_question->setIcon(QMessageBox::Warning);
    QPushButton* reset =
        m_question->addButton(QStringLiteral("Reset"), QMessageBox::DestructiveRole);
    QPushButton* cancel = m_question->addButton(QMessageBox::Cancel);
    m_question->setDefaultButton(cancel);
    m_question->setEscapeButton(cancel);
    m_question->setWindowModality(Qt::WindowModal);
    m_question->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_question, &QMessageBox::buttonClicked, this, [this, reset](QAbstractButton* button) {
        if (button == reset)
            this->reset();
    });
    m_question->open();
}

QMessageBox* ActionsTab::resetQuestion() const {
    return m_question;
}

void ActionsTab::reset() {
    m_store.setActions(WendleAction::defaults());
    select(std::nullopt);
}

void ActionsTab::selectionChangedByUser() {
    if (m_syncing)
        return;
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    if (rows.isEmpty())
        m_selected.reset();
    else
        m_selected = m_model->idAt(rows.first().row());
    showSelection();
}

void ActionsTab::rowsChanged() {
    // The selection is by id: it follows its action wherever it moved.
    showSelection();
}

void ActionsTab::showSelection() {
    const int row = m_selected ? m_model->rowOf(*m_selected) : -1;
    m_syncing = true;
    ListSelection::show(*m_list, row);
    m_syncing = false;

    const bool hasSelection = m_selected.has_value();
    m_delete->setEnabled(hasSelection);
    m_up->setEnabled(hasSelection);
    m_down->setEnabled(hasSelection);
    if (hasSelection && m_editor->actionId() != *m_selected)
        m_editor->setActionId(*m_selected);
    m_detail->setCurrentWidget(hasSelection ? static_cast<QWidget*>(m_editor)
                                            : static_cast<QWidget*>(m_hint));
}
