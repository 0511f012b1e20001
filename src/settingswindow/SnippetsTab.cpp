#include "settingswindow/SnippetsTab.h"

#include "settings/AppSettings.h"
#include "settingswindow/ListSelection.h"
#include "settingswindow/SettingsStyle.h"
#include "settingswindow/SnippetEditor.h"
#include "settingswindow/SnippetListModel.h"
#include "settingswindow/SnippetRowDelegate.h"
#include "settingswindow/SnippetStatusView.h"
#include "settingswindow/SnippetTransfer.h"
#include "settingswindow/SymbolIcons.h"
#include "settingswindow/ToggleSwitch.h"
#include "snippets/SnippetEngine.h"
#include "snippets/SnippetStore.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

SnippetsTab::SnippetsTab(SnippetStore& store, AppSettings& settings, SnippetEngine& engine,
                         PermissionService& permissions, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_settings(settings)
    , m_engine(engine) {
    auto* page = new QVBoxLayout(this);
    const int pad = SettingsStyle::padding;
    page->setContentsMargins(pad, pad, pad, pad);
    page->setSpacing(10);

    // The switch and what the watcher really does.
    auto* top = new QHBoxLayout;
    m_switch = new ToggleSwitch(QStringLiteral("Expand snippets while I type"), this);
    m_switch->setObjectName(QStringLiteral("expand"));
    m_status = new SnippetStatusView(settings, engine, permissions, this);
    m_status->setObjectName(QStringLiteral("snippetStatus"));
    top->addWidget(m_switch, 0, Qt::AlignVCenter);
    top->addStretch(1);
    top->addWidget(m_status, 0, Qt::AlignVCenter);
    page->addLayout(top);

    auto* main = new QHBoxLayout;
    main->setSpacing(14);
    page->addLayout(main, 1);

    // The list column: search, list, buttons.
    auto* left = new QWidget(this);
    left->setFixedWidth(260);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    auto* searchLine = new QHBoxLayout;
    searchLine->setSpacing(4);
    auto* glass = new QLabel(left);
    glass->setPixmap(SymbolIcons::pixmap(QStringLiteral("magnifyingglass"),
                                         SettingsStyle::secondary(palette()), 14,
                                         devicePixelRatioF()));
    m_search = new QLineEdit(left);
    m_search->setObjectName(QStringLiteral("search"));
    m_search->setPlaceholderText(QStringLiteral("Search"));
    m_search->setClearButtonEnabled(true);
    searchLine->addWidget(glass);
    searchLine->addWidget(m_search, 1);
    column->addLayout(searchLine);

    m_model = new SnippetListModel(m_store, this);
    m_list = new QListView(left);
    m_list->setObjectName(QStringLiteral("snippets"));
    m_list->setModel(m_model);
    m_list->setItemDelegate(new SnippetRowDelegate(m_list));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setUniformItemSizes(true);
    column->addWidget(m_list, 1);

    auto* buttons = new QHBoxLayout;
    m_add = SettingsStyle::iconButton(QStringLiteral("plus"), QStringLiteral("add"), left);
    m_delete = SettingsStyle::iconButton(QStringLiteral("minus"), QStringLiteral("delete"), left);
    m_import = new QPushButton(QStringLiteral("Import…"), left);
    m_import->setObjectName(QStringLiteral("import"));
    m_import->setAutoDefault(false);
    m_export = new QPushButton(QStringLiteral("Export…"), left);
    m_export->setObjectName(QStringLiteral("export"));
    m_export->setAutoDefault(false);
    buttons->addWidget(m_add);
    buttons->addWidget(m_delete);
    buttons->addStretch(1);
    buttons->addWidget(m_import);
    buttons->addWidget(m_export);
    column->addLayout(buttons);
    main->addWidget(left);

    // The editor column, or what to do when nothing is selected.
    m_detail = new QStackedWidget(this);
    m_placeholder =
        new QLabel(QStringLiteral("Select a snippet to edit it, or add a new one.\nType "
                                  "the abbreviation in any app and it expands to the "
                                  "text."));
    m_placeholder->setObjectName(QStringLiteral("placeholder"));
    m_placeholder->setAlignment(Qt::AlignCenter);
    m_placeholder->setWordWrap(true);
    m_placeholder->setTextFormat(Qt::PlainText);
    SettingsStyle::setTextColor(m_placeholder, SettingsStyle::secondary(palette()));
    m_editor = new SnippetEditor(m_store);
    m_editor->setObjectName(QStringLiteral("editor"));
    m_detail->addWidget(m_placeholder);
    m_detail->addWidget(m_editor);
    main->addWidget(m_detail, 1);

    m_messageLabel = SettingsStyle::captionLabel(QString(), this);
    m_messageLabel->setObjectName(QStringLiteral("message"));
    m_messageLabel->hide();
    page->addWidget(m_messageLabel);

    connect(m_switch, &ToggleSwitch::clicked, this, &SnippetsTab::switchClicked);
    connect(&m_settings, &AppSettings::snippetsEnabledChanged, this, &SnippetsTab::showSwitch);
    connect(m_search, &QLineEdit::textChanged, m_model, &SnippetListModel::setQuery);
    connect(m_add, &QToolButton::clicked, this, &SnippetsTab::add);
    connect(m_delete, &QToolButton::clicked, this, &SnippetsTab::deleteSelected);
    connect(m_import, &QPushButton::clicked, this, &SnippetsTab::importSnippets);
    connect(m_export, &QPushButton::clicked, this, &SnippetsTab::exportSnippets);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SnippetsTab::selectionChangedByUser);
    connect(m_model, &QAbstractItemModel::modelReset, this, &SnippetsTab::showSelection);

    showSwitch();
    showSelection();
}

QCoro::Task<> SnippetsTab::switchClicked(bool on) {
    // The engine may ask for the permission first and writes the setting
    // itself; until it has decided, the switch stays where the user put it,
    // then it shows what was decided.
    QPointer<SnippetsTab> self(this);
    co_await m_engine.setEnabled(on);
    if (self)
        self->showSwitch();
}

QString SnippetsTab::query() const {
    return m_search->text();
}

void SnippetsTab::setQuery(const QString& query) {
    m_search->setText(query);
}

void SnippetsTab::select(std::optional<QUuid> id) {
    m_selected = id;
    showSelection();
}

void SnippetsTab::add() {
    setQuery(QString()); // so that the new snippet is in the list
    const Snippet snippet{QUuid::createUuid(), QStringLiteral(";new"), QString()};
    QList<Snippet> snippets = m_store.snippets();
    snippets.append(snippet);
    m_store.setSnippets(snippets); // notifies and saves
    select(snippet.id);
}

void SnippetsTab::deleteSelected() {
    if (!m_selected)
        return;
    QList<Snippet> snippets = m_store.snippets();
    const auto found = std::find_if(snippets.begin(), snippets.end(),
                                    [this](const Snippet& s) { return s.id == *m_selected; });
    if (found == snippets.end())
        return;
    snippets.erase(found);
    m_store.setSnippets(snippets);
    select(std::nullopt);
}

QFileDialog* SnippetsTab::fileDialog() const {
    return m_dialog;
}

QFileDialog* SnippetsTab::makeDialog(const QString& title) {
    auto* dialog = new QFileDialog(this, title, QDir::homePath());
    dialog->setObjectName(QStringLiteral("fileDialog"));
    // Qt's own dialog: the same on every desktop, and scriptable in tests.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setNameFilter(QStringLiteral("JSON (*.json)"));
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_dialog = dialog;
    return dialog;
}

void SnippetsTab::importSnippets() {
    if (m_dialog)
        return;
    QFileDialog* dialog = makeDialog(QStringLiteral("Import Snippets"));
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (!path.isEmpty())
            setMessage(SnippetTransfer::importFile(m_store, path));
    });
    dialog->open();
}

void SnippetsTab::exportSnippets() {
    if (m_dialog)
        return;
    QFileDialog* dialog = makeDialog(QStringLiteral("Export Snippets"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix(QStringLiteral("json"));
    dialog->selectFile(QStringLiteral("snippets.json"));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (!path.isEmpty())
            setMessage(SnippetTransfer::exportFile(m_store.snippets(), path));
    });
    dialog->open();
}

void SnippetsTab::setMessage(const QString& message) {
    m_message = message;
    m_messageLabel->setText(message);
    m_messageLabel->setVisible(!message.isEmpty());
}

void SnippetsTab::selectionChangedByUser() {
    if (m_syncing)
        return;
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    if (rows.isEmpty())
        return; // a search that hides the row keeps it selected
    m_selected = m_model->idAt(rows.first().row());
    showSelection();
}

void SnippetsTab::showSelection() {
    const int row = m_selected ? m_model->rowOf(*m_selected) : -1;
    m_syncing = true;
    ListSelection::show(*m_list, row);
    m_syncing = false;

    const bool hasSelection = m_selected.has_value();
    m_delete->setEnabled(hasSelection);
    if (hasSelection && m_editor->snippetId() != *m_selected)
        m_editor->setSnippetId(*m_selected);
    m_detail->setCurrentWidget(hasSelection ? static_cast<QWidget*>(m_editor)
                                            : static_cast<QWidget*>(m_placeholder));
}

void SnippetsTab::showSwitch() {
    m_switch->setChecked(m_settings.snippetsEnabled());
}
