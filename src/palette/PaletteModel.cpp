#include "palette/PaletteModel.h"

#include "actions/ActionStore.h"
#include "llm/ChatStream.h"
#include "llm/ReplyText.h"
#include "platform/Clipboard.h"

#include <QNetworkReply>
#include <QSettings>

namespace {

// Between an action's name and its option in the result's title.
const QString titleSeparator = QStringLiteral(" \u00B7 ");

QString stepped(const QStringList& list, const QString& current, int delta) {
    const int n = int(list.size());
    const int position = qMax(0, int(list.indexOf(current)));
    return list.at(((position + delta) % n + n) % n);
}

} // namespace

PaletteModel::PaletteModel(ActionStore& store, Clipboard& clipboard, QSettings& preferences,
                           StreamFactory streams, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_clipboard(clipboard)
    , m_preferences(preferences)
    , m_streams(std::move(streams))
    , m_tone(preferences.value(QLatin1String(toneKey), Options::defaultTone).toString())
    , m_language(
          preferences.value(QLatin1String(languageKey), Options::defaultLanguage).toString()) {}

PaletteModel::~PaletteModel() {
    cancel();
}

QString PaletteModel::emptyReplyMessage() {
    return ReplyText::emptyReplyText;
}

const QList<WendleAction>& PaletteModel::actions() const {
    return m_store.actions();
}

void PaletteModel::setPhase(Phase phase) {
    m_phase = phase;
    Q_EMIT phaseChanged();
}

void PaletteModel::setSelectedText(const QString& text) {
    m_selectedText = text;
    Q_EMIT selectedTextChanged();
}

void PaletteModel::setSource(SelectionSource source) {
    m_source = source;
    Q_EMIT sourceChanged();
}

void PaletteModel::setNote(const QString& note) {
    m_note = note;
    Q_EMIT noteChanged();
}

void PaletteModel::setSelectedIndex(int index) {
    m_selectedIndex = index;
    Q_EMIT selectedIndexChanged();
}

void PaletteModel::setOutput(const QString& output) {
    m_output = output;
    Q_EMIT outputChanged();
}

void PaletteModel::setErrorMessage(const QString& message) {
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}

void PaletteModel::setRunTitle(const QString& title) {
    m_runTitle = title;
    Q_EMIT runTitleChanged();
}

void PaletteModel::setTone(const QString& tone) {
    m_tone = tone;
    m_preferences.setValue(QLatin1String(toneKey), tone);
    Q_EMIT toneChanged();
}

void PaletteModel::setLanguage(const QString& language) {
    m_language = language;
    m_preferences.setValue(QLatin1String(languageKey), language);
    Q_EMIT languageChanged();
}

void PaletteModel::cancel() {
    if (!m_stream)
        return;
    ChatStream* stream = m_stream;
    m_stream = nullptr;
    // Cut the stream off first, so that nothing it still emits reaches the
    // fields, then end the request.
    stream->disconnect(this);
    stream->abort();
    stream->deleteLater();
}

void PaletteModel::prepare(const QString& text, SelectionSource source, const QString& note) {
    cancel();
    setSelectedText(text);
    setSource(source);
    setNote(note);
    setPhase(Phase::choose);
    setSelectedIndex(0);
    setOutput(QString());
    setErrorMessage(QString());
}

void PaletteModel::move(int delta) {
    const int n = int(actions().size());
    if (n == 0)
        return;
    setSelectedIndex(((m_selectedIndex + delta) % n + n) % n);
}

void PaletteModel::cycleOption(int delta) {
    if (m_selectedIndex < 0 || m_selectedIndex >= actions().size())
        return;
    switch (actions().at(m_selectedIndex).kind) {
    case WendleAction::Kind::plain:
        return;
    case WendleAction::Kind::tone:
        setTone(stepped(Options::tones(), m_tone, delta));
        return;
    case WendleAction::Kind::translate:
        setLanguage(stepped(Options::languages(), m_language, delta));
        return;
    }
}

void PaletteModel::runSelected() {
    if (m_selectedIndex < 0 || m_selectedIndex >= actions().size())
        return;
    run(actions().at(m_selectedIndex));
}

void PaletteModel::pick(int number) {
    const int index = number - 1;
    if (index < 0 || index >= actions().size())
        return;
    const WendleAction action = actions().at(index);
    setSelectedIndex(index);
    run(action);
}

void PaletteModel::run(const WendleAction& action) {
    if (m_source == SelectionSource::none)
        return;
    m_lastAction = action;
    cancel();
    setOutput(QString());
    setErrorMessage(QString());
    setPhase(Phase::running);
    switch (action.kind) {
    case WendleAction::Kind::plain:
        setRunTitle(action.name);
        break;
    case WendleAction::Kind::tone:
        setRunTitle(action.name + titleSeparator + m_tone);
        break;
    case WendleAction::Kind::translate:
        setRunTitle(action.name + titleSeparator + m_language);
        break;
    }

    ChatStream* stream = m_streams(action.resolvedInstruction(m_tone, m_language), m_selectedText);
    stream->setParent(this);
    m_stream = stream;
    connect(stream, &ChatStream::piece, this,
            [this](const QString& piece) { setOutput(m_output + piece); });
    connect(stream, &ChatStream::finished, this, [this] {
        finishRun();
        if (cleanedOutput().isEmpty()) {
            setErrorMessage(emptyReplyMessage());
            setPhase(Phase::failed);
        } else {
            setPhase(Phase::done);
        }
    });
    connect(stream, &ChatStream::failed, this, [this](const ClientError& error) {
        finishRun();
        // Our own abort is no failure; the canceller has set the phase.
        if (error.isCancellation() || error.networkError() == QNetworkReply::OperationCanceledError)
            return;
        setErrorMessage(error.description());
        setPhase(Phase::failed);
    });
}

void PaletteModel::finishRun() {
    if (ChatStream* stream = m_stream) {
        m_stream = nullptr;
        stream->disconnect(this);
        stream->deleteLater();
    }
}

void PaletteModel::retry() {
    if (m_lastAction)
        run(*m_lastAction);
}

void PaletteModel::back() {
    cancel();
    setPhase(Phase::choose);
}

void PaletteModel::copyResult() {
    const QString text = cleanedOutput();
    if (text.isEmpty())
        return;
    m_clipboard.setText(text);
    Q_EMIT closeRequested();
}

QString PaletteModel::cleanedOutput() const {
    return ReplyText::cleaned(m_output);
}

bool PaletteModel::canReplace() const {
    return m_phase == Phase::done && m_source == SelectionSource::selection &&
           !cleanedOutput().isEmpty();
}
