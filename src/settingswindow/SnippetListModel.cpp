#include "settingswindow/SnippetListModel.h"

#include "settingswindow/SnippetFilter.h"
#include "snippets/SnippetStore.h"

SnippetListModel::SnippetListModel(SnippetStore& store, QObject* parent)
    : QAbstractListModel(parent)
    , m_store(store) {
    m_rows = SnippetFilter::filtered(m_store.snippets(), m_query, m_locale);
    connect(&m_store, &SnippetStore::snippetsChanged, this, &SnippetListModel::rebuild);
}

int SnippetListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SnippetListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Snippet& snippet = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return snippet.abbreviation.isEmpty() ? QStringLiteral("(empty)") : snippet.abbreviation;
    case IdRole:
        return snippet.id;
    case AbbreviationRole:
        return snippet.abbreviation;
    case ExpansionRole:
        return snippet.expansion;
    default:
        return {};
    }
}

void SnippetListModel::setQuery(const QString& query) {
    m_query = query;
    rebuild();
}

void SnippetListModel::setLocale(const QLocale& locale) {
    m_locale = locale;
    rebuild();
}

int SnippetListModel::rowOf(const QUuid& id) const {
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        if (m_rows.at(i).id == id)
            return int(i);
    }
    return -1;
}

QUuid SnippetListModel::idAt(int row) const {
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).id : QUuid();
}

void SnippetListModel::rebuild() {
    const QList<Snippet> rows = SnippetFilter::filtered(m_store.snippets(), m_query, m_locale);
    bool sameRows = rows.size() == m_rows.size();
    for (qsizetype i = 0; sameRows && i < rows.size(); ++i)
        sameRows = rows.at(i).id == m_rows.at(i).id;
    if (!sameRows) {
        beginResetModel();
        m_rows = rows;
        endResetModel();
        return;
    }
    // The same rows: only texts changed, so the selection stays put.
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (rows.at(i) == m_rows.at(i))
            continue;
        m_rows[i] = rows.at(i);
        Q_EMIT dataChanged(index(int(i)), index(int(i)));
    }
}
