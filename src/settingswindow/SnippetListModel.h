#pragma once

#include "snippets/Snippet.h"

#include <QAbstractListModel>
#include <QLocale>
#include <QUuid>

class SnippetStore;

// The snippets of the store that match the search, as list rows, in store
// order. Follows the store: an edit updates its row, an import or a delete
// rebuilds the list.
class SnippetListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        AbbreviationRole, // the abbreviation as stored (the display role shows "(empty)")
        ExpansionRole,
    };

    explicit SnippetListModel(SnippetStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    QString query() const { return m_query; }
    void setQuery(const QString& query);
    // The locale whose case rules the search follows (the user's by default).
    void setLocale(const QLocale& locale);

    int rowOf(const QUuid& id) const;
    QUuid idAt(int row) const;

private:
    void rebuild();

    SnippetStore& m_store;
    QString m_query;
    QLocale m_locale;
    QList<Snippet> m_rows;
};
