#include "snippets/SnippetStore.h"

#include "storage/AppSupport.h"
#include "storage/JsonList.h"

#include <algorithm>

SnippetStore::SnippetStore(QString filePath, QObject* parent)
    : QObject(parent)
    , m_filePath(std::move(filePath))
    , m_snippets(JsonList::load<Snippet>(m_filePath).value_or(starters())) {}

SnippetStore& SnippetStore::shared() {
    static SnippetStore* store =
        new SnippetStore(AppSupport::fileURL(QStringLiteral("snippets.json")));
    return *store;
}

QList<Snippet> SnippetStore::starters() {
    return {
        Snippet{QUuid::createUuid(), QStringLiteral(";sig"),
                QStringLiteral("Best regards,\nYour Name")},
        Snippet{QUuid::createUuid(), QStringLiteral(";addr"),
                QStringLiteral("123 Main Street\nSpringfield")},
    };
}

void SnippetStore::setSnippets(const QList<Snippet>& snippets) {
    m_snippets = snippets;
    Q_EMIT snippetsChanged();
    save();
}

void SnippetStore::save() {
    JsonList::save(m_filePath, m_snippets);
}

SnippetStore::MergeResult SnippetStore::merge(const QList<Snippet>& imported) {
    QList<Snippet> merged = m_snippets;
    MergeResult result;
    for (const Snippet& incoming : imported) {
        if (incoming.abbreviation.isEmpty())
            continue;
        const auto match = std::find_if(merged.begin(), merged.end(), [&](const Snippet& s) {
            return s.abbreviation == incoming.abbreviation;
        });
        if (match != merged.end()) {
            match->expansion = incoming.expansion;
            ++result.updated;
        } else {
            merged.append(Snippet{QUuid::createUuid(), incoming.abbreviation, incoming.expansion});
            ++result.added;
        }
    }
    setSnippets(merged);
    return result;
}
