#pragma once

#include "actions/WendleAction.h"

#include <QList>
#include <QObject>

// The user's list of actions, in palette order, kept in "actions.json".
// Every assignment notifies observers and saves the whole file at once; there
// are no separate add, delete or move operations: callers change a copy of
// the list and assign it back.
class ActionStore : public QObject {
    Q_OBJECT
public:
    // Reads the file once. A missing or invalid file gives the built-in set,
    // and the file is left as it is until the first assignment.
    explicit ActionStore(QString filePath, QObject* parent = nullptr);

    // The instance for "actions.json" in the data folder, created on first use.
    static ActionStore& shared();

    const QList<WendleAction>& actions() const { return m_actions; }
    void setActions(const QList<WendleAction>& actions);

    QString filePath() const { return m_filePath; }

Q_SIGNALS:
    // Emitted on every assignment, also when nothing changed.
    void actionsChanged();

private:
    QString m_filePath;
    QList<WendleAction> m_actions;
};
