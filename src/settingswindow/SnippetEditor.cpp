#include "settingswindow/SnippetEditor.h"

#include "settingswindow/SettingsStyle.h"
#include "snippets/SnippetStore.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextBoundaryFinder>
#include <QVBoxLayout>

namespace {

// Characters as the user sees them: "é" typed as e plus an accent is one.
int characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() > 0)
        ++count;
    return count;
}

} // namespace

SnippetEditor::SnippetEditor(SnippetStore& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);

    m_abbreviation = new QLineEdit;
    m_abbreviation->setObjectName(QStringLiteral("abbreviation"));
    m_abbreviation->setPlaceholderText(QStringLiteral("Abbreviation (for example ;sig)"));
    m_abbreviation->setFont(SettingsStyle::monospacedBody(font()));
    column->addWidget(m_abbreviation);

    m_warning = SettingsStyle::captionLabel(QString());
    m_warning->setObjectName(QStringLiteral("warning"));
    SettingsStyle::setTextColor(m_warning, SettingsStyle::orange(palette()));
    column->addWidget(m_warning);

    column->addWidget(SettingsStyle::headlineLabel(QStringLiteral("Expands to")));
    m_expansion = new QPlainTextEdit;
    m_expansion->setObjectName(QStringLiteral("expansion"));
    m_expansion->setMinimumHeight(160);
    m_expansion->setTabChangesFocus(true);
    m_expansion->setStyleSheet(
        QStringLiteral("QPlainTextEdit { %1 }").arg(SettingsStyle::outlinedEditorStyle(palette())));
    column->addWidget(m_expansion);
    column->addStretch(1);

    connect(m_abbreviation, &QLineEdit::textEdited, this, [this](const QString& text) {
        Snippet snippet = current();
        snippet.abbreviation = text;
        write(snippet);
    });
    connect(m_expansion, &QPlainTextEdit::textChanged, this, [this] {
        if (m_showing)
            return;
        Snippet snippet = current();
        snippet.expansion = m_expansion->toPlainText();
        write(snippet);
    });
    connect(&m_store, &SnippetStore::snippetsChanged, this, &SnippetEditor::showSnippet);
}

QString SnippetEditor::warning(const Snippet& snippet, const QList<Snippet>& all) {
    for (const Snippet& other : all) {
        if (other.id != snippet.id && other.abbreviation == snippet.abbreviation)
            return QStringLiteral("Another snippet already uses this abbreviation.");
    }
    if (characterCount(snippet.abbreviation) < 2)
        return QStringLiteral("Use at least two characters, ideally starting with ; or / so it "
                              "does not trigger by accident.");
    return {};
}

void SnippetEditor::setSnippetId(const QUuid& id) {
    m_copy = Snippet{id, {}, {}};
    for (const Snippet& snippet : m_store.snippets()) {
        if (snippet.id == id) {
            m_copy = snippet;
            break;
        }
    }
    showSnippet();
}

Snippet SnippetEditor::current() const {
    for (const Snippet& snippet : m_store.snippets()) {
        if (snippet.id == m_copy.id)
            return snippet;
    }
    return m_copy;
}

void SnippetEditor::write(const Snippet& snippet) {
    QList<Snippet> snippets = m_store.snippets();
    for (Snippet& stored : snippets) {
        if (stored.id == snippet.id) {
            stored = snippet;
            m_store.setSnippets(snippets); // notifies and saves
            return;
        }
    }
}

void SnippetEditor::showSnippet() {
    const Snippet snippet = current();
    m_showing = true;
    if (m_abbreviation->text() != snippet.abbreviation)
        m_abbreviation->setText(snippet.abbreviation);
    if (m_expansion->toPlainText() != snippet.expansion)
        m_expansion->setPlainText(snippet.expansion);
    m_showing = false;
    const QString text = warning(snippet, m_store.snippets());
    m_warning->setText(text);
    m_warning->setVisible(!text.isEmpty());
}
