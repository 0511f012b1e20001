#include "settingswindow/ActionListModel.h"

#include "actions/ActionStore.h"

namespace {

bool sameOrder(const QList<WendleAction>& a, const QList<WendleAction>& b) {
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a.at(i).id != b.at(i).id)
            return false;
    }
    return true;
}

} // namespace

ActionListModel::ActionListModel(ActionStore& store, QObject* parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_rows(store.actions()) {
    connect(&m_store, &ActionStore::actionsChanged, this, &ActionListModel::storeChanged);
}

int ActionListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant ActionListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const WendleAction& action = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return action.name.isEmpty() ? QStringLiteral("Untitled") : action.name;
    case Qt::ToolTipRole:
        return action.instruction;
    case IdRole:
        return action.id;
    default:
        return {};
    }
}

Qt::ItemFlags ActionListModel::flags(const QModelIndex& index) const {
    // Rows are dropped between other rows, never onto one.
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled;
}

Qt::DropActions ActionListModel::supportedDragActions() const {
    return Qt::MoveAction;
}

Qt::DropActions ActionListModel::supportedDropActions() const {
    return Qt::MoveAction;
}

bool ActionListModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                               const QModelIndex& destinationParent, int destinationChild) {
    if (sourceParent.isValid() || destinationParent.isValid() || count <= 0 || sourceRow < 0 ||
        sourceRow + count > m_rows.size() || destinationChild < 0 ||
        destinationChild > m_rows.size())
        return false;
    // A move onto itself is refused here, as the view expects.
    if (!beginMoveRows({}, sourceRow, sourceRow + count - 1, {}, destinationChild))
        return false;
    QList<WendleAction> rows = m_rows;
    const QList<WendleAction> moved = rows.mid(sourceRow, count);
    rows.remove(sourceRow, count);
    const int target = destinationChild > sourceRow ? destinationChild - count : destinationChild;
    for (int i = 0; i < count; ++i)
        rows.insert(target + i, moved.at(i));
    // The rows move first, so the store's notification finds them in place.
    m_rows = rows;
    m_store.setActions(rows);
    endMoveRows();
    return true;
}

int ActionListModel::rowOf(const QUuid& id) const {
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        if (m_rows.at(i).id == id)
            return int(i);
    }
    return -1;
}

QUuid ActionListModel::idAt(int row) const {
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).id : QUuid();
}

void ActionListModel::storeChanged() {
    const QList<WendleAction>& actions = m_store.actions();
    if (!sameOrder(actions, m_rows)) {
        beginResetModel();
        m_rows = actions;
        endResetModel();
        return;
    }
    // The same actions in the same order: only fields changed (an edit in
    // the editor), so the selection stays where it is.
    for (qsizetype i = 0; i < actions.size(); ++i) {
        if (actions.at(i) == m_rows.at(i))
            continue;
        m_rows[i] = actions.at(i);
        const QModelIndex changed = index(int(i));
        Q_EMIT dataChanged(changed, changed);
    }
}
