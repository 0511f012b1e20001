#include "actions/ActionStore.h"

#include "storage/AppSupport.h"
#include "storage/JsonList.h"

ActionStore::ActionStore(QString filePath, QObject* parent)
    : QObject(parent)
    , m_filePath(std::move(filePath))
    , m_actions(JsonList::load<WendleAction>(m_filePath).value_or(WendleAction::defaults())) {}

ActionStore& ActionStore::shared() {
    static ActionStore* store =
        new ActionStore(AppSupport::fileURL(QStringLiteral("actions.json")));
    return *store;
}

void ActionStore::setActions(const QList<WendleAction>& actions) {
    m_actions = actions;
    Q_EMIT actionsChanged();
    JsonList::save(m_filePath, m_actions);
}
