#pragma once

#include "actions/WendleAction.h"

#include <QUuid>
#include <QWidget>

class ActionStore;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

// The form for one action: name, type, instruction and a help line for the
// type. Bound to the action by id: it shows the store's current version, and
// every keystroke replaces the action in the store, which saves the file.
class ActionEditor : public QWidget {
    Q_OBJECT
public:
    explicit ActionEditor(ActionStore& store, QWidget* parent = nullptr);

    // Edits the action with `id` from now on.
    void setActionId(const QUuid& id);
    QUuid actionId() const { return m_id; }

    // The help line for each kind.
    static QString help(WendleAction::Kind kind);

private:
    // The action with the id, or a blank one that is never stored when it is
    // gone (just deleted, for example).
    WendleAction current() const;
    // Replaces the action with the id; dropped when it is gone.
    void write(const WendleAction& action);
    void showAction();

    ActionStore& m_store;
    QUuid m_id;
    WendleAction m_blank;
    bool m_showing = false; // true while the fields are filled from the store

    QLineEdit* m_name = nullptr;
    QComboBox* m_kind = nullptr;
    QPlainTextEdit* m_instruction = nullptr;
    QLabel* m_help = nullptr;
};
