#pragma once

#include "actions/WendleAction.h"
#include "capture/SelectionSource.h"
#include "llm/ChatStream.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <optional>

class ActionStore;
class Clipboard;
class QSettings;

// The state behind the palette: the text it works on and where it came from,
// the highlighted action, the chosen tone and language, and the one model run
// that may be in flight. Every setter notifies, also when the value does not
// change, and the view redraws from these fields alone.
class PaletteModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(Phase phase READ phase WRITE setPhase NOTIFY phaseChanged)
    Q_PROPERTY(QString selectedText READ selectedText NOTIFY selectedTextChanged)
    Q_PROPERTY(SelectionSource source READ source NOTIFY sourceChanged)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)
    Q_PROPERTY(
        int selectedIndex READ selectedIndex WRITE setSelectedIndex NOTIFY selectedIndexChanged)
    Q_PROPERTY(QString output READ output NOTIFY outputChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QString runTitle READ runTitle NOTIFY runTitleChanged)
    Q_PROPERTY(QString tone READ tone WRITE setTone NOTIFY toneChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
public:
    enum class Phase {
        choose,  // the action list; arrows, digits and Return choose
        running, // a run is in flight and `output` grows
        done,    // the run finished with a non-empty reply
        failed,  // an error or an empty reply; `errorMessage` says which
    };
    Q_ENUM(Phase)

    // Starts one model run; the model owns the returned stream and deletes or
    // aborts it to cancel the run.
    using StreamFactory =
        std::function<ChatStream*(const QString& instruction, const QString& text)>;

    // The tone and language are read from `preferences` once, here.
    PaletteModel(ActionStore& store, Clipboard& clipboard, QSettings& preferences,
                 StreamFactory streams, QObject* parent = nullptr);
    ~PaletteModel() override;

    // The keys of the remembered choices in the defaults store.
    static constexpr const char* toneKey = "paletteTone";
    static constexpr const char* languageKey = "paletteLanguage";

    Phase phase() const { return m_phase; }
    QString selectedText() const { return m_selectedText; }
    SelectionSource source() const { return m_source; }
    QString note() const { return m_note; }
    int selectedIndex() const { return m_selectedIndex; }
    QString output() const { return m_output; }
    QString errorMessage() const { return m_errorMessage; }
    QString runTitle() const { return m_runTitle; }
    QString tone() const { return m_tone; }
    QString language() const { return m_language; }
    const std::optional<WendleAction>& lastAction() const { return m_lastAction; }
    bool isRunning() const { return m_stream != nullptr; }

    void setPhase(Phase phase);
    void setSelectedIndex(int index);
    // Also remembered in the defaults store at once.
    void setTone(const QString& tone);
    void setLanguage(const QString& language);

    // Starts afresh on newly captured text.
    void prepare(const QString& text, SelectionSource source, const QString& note);
    // Moves the highlight, wrapping at both ends.
    void move(int delta);
    // Steps the highlighted action's tone or language, wrapping.
    void cycleOption(int delta);
    void runSelected();
    // Highlights and runs the action shown with `number` (1-based).
    void pick(int number);
    // Runs `action` on the text; cancels the run in flight first.
    void run(const WendleAction& action);
    // Runs the last action again with the current tone and language.
    void retry();
    // Abandons the run or result and returns to the list.
    void back();
    // Puts the cleaned reply on the clipboard and asks for the palette to close.
    void copyResult();
    // Cancels the run in flight; a cancelled run writes nothing further.
    void cancel();

    // The reply without think blocks, trimmed.
    QString cleanedOutput() const;
    bool canReplace() const;

    // The message of a run that ended with nothing to show.
    static QString emptyReplyMessage();

Q_SIGNALS:
    void phaseChanged();
    void selectedTextChanged();
    void sourceChanged();
    void noteChanged();
    void selectedIndexChanged();
    void outputChanged();
    void errorMessageChanged();
    void runTitleChanged();
    void toneChanged();
    void languageChanged();
    // copyResult() is done; the palette should close.
    void closeRequested();

private:
    void setSelectedText(const QString& text);
    void setSource(SelectionSource source);
    void setNote(const QString& note);
    void setOutput(const QString& output);
    void setErrorMessage(const QString& message);
    void setRunTitle(const QString& title);
    void finishRun();
    const QList<WendleAction>& actions() const;

    ActionStore& m_store;
    Clipboard& m_clipboard;
    QSettings& m_preferences;
    StreamFactory m_streams;

    Phase m_phase = Phase::choose;
    QString m_selectedText;
    SelectionSource m_source = SelectionSource::none;
    QString m_note;
    int m_selectedIndex = 0;
    QString m_output;
    QString m_errorMessage;
    QString m_runTitle;
    QString m_tone;
    QString m_language;
    QPointer<ChatStream> m_stream; // the run in flight
    std::optional<WendleAction> m_lastAction;
};
