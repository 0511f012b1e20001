#pragma once

#include "snippets/Snippet.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class SnippetStore;

// The form for one snippet: its abbreviation with an advisory warning, and
// the text it expands to. Bound to the snippet by id: every keystroke
// replaces the snippet in the store, which saves the file. Edits to a snippet
// that has been deleted meanwhile are dropped.
class SnippetEditor : public QWidget {
    Q_OBJECT
public:
    explicit SnippetEditor(SnippetStore& store, QWidget* parent = nullptr);

    // Edits the snippet with `id` from now on.
    void setSnippetId(const QUuid& id);
    QUuid snippetId() const { return m_copy.id; }

    // The warning shown for `snippet` among `all`, or an empty string.
    static QString warning(const Snippet& snippet, const QList<Snippet>& all);

private:
    // The stored snippet with the id, or the copy taken when editing began.
    Snippet current() const;
    void write(const Snippet& snippet);
    void showSnippet();

    SnippetStore& m_store;
    Snippet m_copy;
    bool m_showing = false;

    QLineEdit* m_abbreviation = nullptr;
    QLabel* m_warning = nullptr;
    QPlainTextEdit* m_expansion = nullptr;
};
