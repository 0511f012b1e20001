#pragma once

#include <QPointer>
#include <QUuid>
#include <QWidget>

#include <optional>

class ActionEditor;
class ActionListModel;
class ActionStore;
class QLabel;
class QListView;
class QMessageBox;
class QPushButton;
class QStackedWidget;
class QToolButton;

// The "Actions" tab: the list of actions with add, delete, move and reset on
// the left, the editor of the selected action (or a hint) on the right. Every
// change goes straight into the store, which saves the file.
class ActionsTab : public QWidget {
    Q_OBJECT
public:
    explicit ActionsTab(ActionStore& store, QWidget* parent = nullptr);

    // The id of the selected action, if any.
    std::optional<QUuid> selected() const { return m_selected; }
    void select(std::optional<QUuid> id);

    void add();
    void deleteSelected();
    // Swaps the selected action with its neighbour above (-1) or below (+1);
    // nothing at either end.
    void move(int offset);
    // Asks "Reset actions?"; the answer "Reset" puts back the built-in set.
    void askReset();
    // The reset question while it is open (null otherwise).
    QMessageBox* resetQuestion() const;

private:
    void selectionChangedByUser();
    void rowsChanged();
    void showSelection();
    void reset();

    ActionStore& m_store;
    std::optional<QUuid> m_selected;
    bool m_syncing = false; // true while the view's selection is set from m_selected

    ActionListModel* m_model = nullptr;
    QListView* m_list = nullptr;
    QToolButton* m_add = nullptr;
    QToolButton* m_delete = nullptr;
    QToolButton* m_up = nullptr;
    QToolButton* m_down = nullptr;
    QPushButton* m_reset = nullptr;
    QStackedWidget* m_detail = nullptr;
    QLabel* m_hint = nullptr;
    ActionEditor* m_editor = nullptr;
    QPointer<QMessageBox> m_question;
};
