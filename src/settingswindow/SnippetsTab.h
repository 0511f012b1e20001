#pragma once

#include <QCoroTask>
#include <QPointer>
#include <QUuid>
#include <QWidget>

#include <optional>

class AppSettings;
class PermissionService;
class QFileDialog;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QStackedWidget;
class QToolButton;
class SnippetEditor;
class SnippetEngine;
class SnippetListModel;
class SnippetStatusView;
class SnippetStore;
class ToggleSwitch;

// The "Snippets" tab: the switch for snippet expansion with its live status,
// a searchable list of snippets with add, delete, import and export, and the
// editor of the selected snippet. Every edit is saved at once.
class SnippetsTab : public QWidget {
    Q_OBJECT
public:
    SnippetsTab(SnippetStore& store, AppSettings& settings, SnippetEngine& engine,
                PermissionService& permissions, QWidget* parent = nullptr);

    std::optional<QUuid> selected() const { return m_selected; }
    void select(std::optional<QUuid> id);
    QString query() const;
    void setQuery(const QString& query);
    // The result line of the last import or export.
    QString message() const { return m_message; }

    void add();
    void deleteSelected();
    // Ask for a file with a file dialog, then import or export it.
    void importSnippets();
    void exportSnippets();
    // The file dialog while it is open (null otherwise).
    QFileDialog* fileDialog() const;

private:
    void selectionChangedByUser();
    void showSelection();
    void showSwitch();
    QCoro::Task<> switchClicked(bool on);
    void setMessage(const QString& message);
    QFileDialog* makeDialog(const QString& title);

    SnippetStore& m_store;
    AppSettings& m_settings;
    SnippetEngine& m_engine;
    std::optional<QUuid> m_selected;
    QString m_message;
    bool m_syncing = false;

    ToggleSwitch* m_switch = nullptr;
    SnippetStatusView* m_status = nullptr;
    QLineEdit* m_search = nullptr;
    SnippetListModel* m_model = nullptr;
    QListView* m_list = nullptr;
    QToolButton* m_add = nullptr;
    QToolButton* m_delete = nullptr;
    QPushButton* m_import = nullptr;
    QPushButton* m_export = nullptr;
    QStackedWidget* m_detail = nullptr;
    QLabel* m_placeholder = nullptr;
    SnippetEditor* m_editor = nullptr;
    QLabel* m_messageLabel = nullptr;
    QPointer<QFileDialog> m_dialog;
};
