#include "snippets/SnippetEngine.h"

#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "snippets/Graphemes.h"
#include "snippets/SnippetStore.h"

#include <QCoroSignal>
#include <QCoroTimer>
#include <QPointer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

// How many typed characters the engine remembers.
constexpr qsizetype bufferCharacters = 64;
// The most text one key press may add; anything beyond is cut off.
constexpr qsizetype maximumKeyText = 8;

bool clearsBuffer(KeyStroke::KeyClass keyClass) {
    switch (keyClass) {
    case KeyStroke::KeyClass::returnKey:
    case KeyStroke::KeyClass::tab:
    case KeyStroke::KeyClass::escape:
    case KeyStroke::KeyClass::enter:
    case KeyStroke::KeyClass::home:
    case KeyStroke::KeyClass::end:
    case KeyStroke::KeyClass::pageUp:
    case KeyStroke::KeyClass::pageDown:
    case KeyStroke::KeyClass::forwardDelete:
    case KeyStroke::KeyClass::left:
    case KeyStroke::KeyClass::right:
    case KeyStroke::KeyClass::down:
    case KeyStroke::KeyClass::up:
        return true;
    case KeyStroke::KeyClass::other:
    case KeyStroke::KeyClass::backspace:
        return false;
    }
    return false;
}

// Cuts overlong key text without leaving half of a surrogate pair behind.
QString limitedKeyText(const QString& text) {
    if (text.size() <= maximumKeyText)
        return text;
    QString cut = text.left(maximumKeyText);
    if (cut.back().isHighSurrogate())
        cut.back() = QChar::ReplacementCharacter;
    return cut;
}

// Sleeps without blocking. A precise timer, because a coarse one may fire up
// to 5% early and these pauses are the receiving application's time to act.
QCoro::Task<> pause(std::chrono::milliseconds duration) {
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    timer.start(duration);
    co_await timer;
}

} // namespace

SnippetEngine::SnippetEngine(Platform& platform, SnippetStore& store, AppSettings& settings,
                             QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_store(store)
    , m_settings(settings) {
    m_timer.setInterval(2s);
    connect(&m_timer, &QTimer::timeout, this, &SnippetEngine::tick);
    connect(&m_platform.keyWatcher(), &KeyWatcher::keyPressed, this, &SnippetEngine::handle);
    connect(&m_store, &SnippetStore::snippetsChanged, this, [this] { m_indexStale = true; });
}

SnippetEngine& SnippetEngine::shared() {
    static SnippetEngine* engine =
        new SnippetEngine(Platform::shared(), SnippetStore::shared(), AppSettings::shared());
    return *engine;
}

void SnippetEngine::setPermissionPrompt(PermissionPrompt prompt) {
    m_prompt = std::move(prompt);
}

void SnippetEngine::startMonitoringState() {
    m_timer.stop();
    m_timer.start();
    tick();
}

void SnippetEngine::tick() {
    const bool enabled = m_settings.snippetsEnabled();
    if (enabled && !m_isRunning) {
        if (m_platform.permissions().inputMonitoringGranted())
            start();
    } else if (!enabled && m_isRunning) {
        stop();
    }
}

QCoro::Task<> SnippetEngine::setEnabled(bool on) {
    if (!on) {
        m_settings.setSnippetsEnabled(false);
        stop();
        co_return;
    }
    if (m_platform.permissions().inputMonitoringGranted()) {
        m_settings.setSnippetsEnabled(true);
        tick();
        co_return;
    }
    if (!m_prompt || m_asking)
        co_return; // "Cancel", or the open question answers for both
    m_platform.shell().activate();
    m_asking = true;
    QPointer<SnippetEngine> self(this);
    // A copy: the prompt may be replaced while its question is open, and a
    // coroutine lambda's captures live in the lambda.
    const PermissionPrompt prompt = m_prompt;
    const bool proceed = co_await prompt();
    if (!self)
        co_return;
    m_asking = false;
    if (!proceed)
        co_return; // the setting keeps its value and the switch shows off again
    m_settings.setSnippetsEnabled(true);
    PermissionService& permissions = m_platform.permissions();
    permissions.requestInputMonitoring();
    permissions.openPane(PermissionService::Pane::inputMonitoring);
    // The two-second poll starts the watcher once the permission is granted.
}

void SnippetEngine::start() {
    if (m_isRunning)
        return;
    // A refusal leaves the engine stopped; the next tick tries again.
    if (!m_platform.keyWatcher().start())
        return;
    m_buffer.clear();
    setRunning(true);
}

void SnippetEngine::stop() {
    m_platform.keyWatcher().stop();
    m_buffer.clear();
    setRunning(false);
}

void SnippetEngine::setRunning(bool running) {
    m_isRunning = running;
    Q_EMIT isRunningChanged();
}

void SnippetEngine::handle(const KeyStroke& stroke) {
    if (!m_isRunning || stroke.own)
        return;
    // Ctrl (Command on macOS) and Super (Control on macOS) combinations are
    // shortcuts, not typing; Shift and Alt (Option) type characters.
    if (stroke.modifiers & (Qt::ControlModifier | Qt::MetaModifier)) {
        m_buffer.clear();
        return;
    }
    if (clearsBuffer(stroke.keyClass)) {
        m_buffer.clear();
        return;
    }
    if (stroke.keyClass == KeyStroke::KeyClass::backspace) {
        Graphemes::removeLast(m_buffer);
        return;
    }
    if (stroke.text.isEmpty())
        return;
    m_buffer.append(limitedKeyText(stroke.text));
    Graphemes::keepLast(m_buffer, bufferCharacters);

    const Snippet* winner = findMatch();
    if (!winner)
        return;
    m_buffer.clear();
    // In an application without a paste keystroke (a default xterm) the
    // expansion could not be put in: the abbreviation stays as typed, and
    // the clipboard is left alone.
    if (!m_platform.keySender().hasShortcut(KeySender::Shortcut::paste))
        return;
    // The key itself reaches the application unchanged; the expansion erases
    // the whole abbreviation, this key included, a moment later.
    expand(int(Graphemes::count(winner->abbreviation)), winner->expansion);
}

const Snippet* SnippetEngine::findMatch() {
    if (m_indexStale) {
        m_index = AbbreviationIndex(m_store.snippets());
        m_indexStale = false;
    }
    const qsizetype position = m_index.find(m_buffer);
    return position < 0 ? nullptr : &m_store.snippets().at(position);
}

const Snippet* SnippetEngine::match(const QString& typed, const QList<Snippet>& snippets) {
    const Snippet* winner = nullptr;
    qsizetype winnerCharacters = 0;
    for (const Snippet& snippet : snippets) {
        const QString& abbreviation = snippet.abbreviation;
        if (abbreviation.isEmpty() || !typed.endsWith(abbreviation) ||
            !Graphemes::isBoundary(typed, typed.size() - abbreviation.size()))
            continue;
        const qsizetype characters = Graphemes::count(abbreviation);
        if (!winner || characters > winnerCharacters) {
            winner = &snippet;
            winnerCharacters = characters;
        }
    }
    return winner;
}

QCoro::Task<> SnippetEngine::expand(int abbreviationLength, QString expansion) {
    // The receiving application needs these pauses to take each step in
    // turn: the abbreviation's last key, the erasing, the new clipboard, the
    // paste, and its request for the clipboard's content.
    QPointer<SnippetEngine> self(this);
    co_await pause(50ms);
    if (!self)
        co_return;
    KeySender& keys = m_platform.keySender();
    for (int i = 0; i < abbreviationLength; ++i)
        keys.send(Qt::Key_Backspace, Qt::NoModifier);

    co_await pause(30ms);
    if (!self)
        co_return;
    // Expansions overlap when a second abbreviation follows within half a
    // second. They share one saved clipboard, taken by the first and put
    // back by the last: otherwise the second would save the first's
    // expansion as "the user's clipboard", and the first's restore could
    // land between the second's new text and its paste.
    Clipboard& clipboard = m_platform.clipboard();
    if (m_clipboardUsers++ == 0) {
        m_savingClipboard = true;
        std::optional<ClipboardSnapshot> saved = co_await clipboard.snapshot();
        if (!self)
            co_return;
        m_savedClipboard = std::move(saved);
        m_savingClipboard = false;
        Q_EMIT clipboardSaved();
    } else if (m_savingClipboard) {
        co_await qCoro(this, &SnippetEngine::clipboardSaved);
        if (!self)
            co_return;
    }
    clipboard.setText(expansion);

    co_await pause(40ms);
    if (!self)
        co_return;
    m_platform.keySender().sendShortcut(KeySender::Shortcut::paste);

    co_await pause(400ms);
    if (!self)
        co_return;
    if (--m_clipboardUsers == 0) {
        if (m_savedClipboard)
            m_platform.clipboard().restore(*m_savedClipboard);
        m_savedClipboard.reset();
    }
    Q_EMIT expansionFinished();
}
