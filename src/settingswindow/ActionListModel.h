#pragma once

#include "actions/WendleAction.h"

#include <QAbstractListModel>
#include <QUuid>

class ActionStore;

// The actions of the store as list rows: each row shows the action's name,
// or "Untitled" when the name is empty. Rows can be moved (by dragging or by
// the arrow buttons); a move is written to the store, which saves it.
class ActionListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { IdRole = Qt::UserRole + 1 };

    explicit ActionListModel(ActionStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    // Moves `count` rows from `sourceRow` to before `destinationChild`, the
    // list view's standard move, and assigns the new order to the store.
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;

    // The row of the action with `id`, or -1.
    int rowOf(const QUuid& id) const;
    QUuid idAt(int row) const;

private:
    void storeChanged();

    ActionStore& m_store;
    QList<WendleAction> m_rows; // what the view shows; follows the store
};
