#pragma once

#include "async/Delay.h"
#include "palette/PaletteKeyTable.h"
#include "palette/PaletteModel.h"
#include "platform/WindowHandle.h"

#include <QCoroTask>
#include <QObject>
#include <QPoint>
#include <QPointer>

#include <chrono>

class ActionStore;
class PalettePanel;
class Platform;
class QSettings;

// Opens, drives and closes the palette: remembers the window in front,
// captures its selection, shows the panel next to the pointer, turns keys
// into model operations, and puts a result back in place of the selection.
class PaletteController : public QObject {
    Q_OBJECT
public:
    PaletteController(Platform& platform, ActionStore& store, QSettings& preferences,
                      PaletteModel::StreamFactory streams, Delay delay = realDelay(),
                      QObject* parent = nullptr);
    ~PaletteController() override;

    // The instance on the installed platform, the shared action store and
    // defaults store, running actions with the model client.
    static PaletteController& shared();

    PaletteModel& model() { return *m_model; }
    // Created on first use and kept.
    PalettePanel& panel();
    bool isVisible() const;
    // True from an accepted open until the panel is shown.
    bool isBusy() const { return m_busy; }
    WindowHandle targetApp() const { return m_targetApp; }

    // Opens the palette after `delay`, or closes it when it is showing. A
    // request while a capture is under way is dropped.
    void toggle(std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    // Cancels any run, hides the panel and stops taking keys.
    void close();
    // Puts `text` in place of the selection in the remembered window.
    void replaceSelection(const QString& text);
    // One key pressed in the palette.
    void handle(const PaletteKeyTable::Key& key);

Q_SIGNALS:
    // The panel is on screen with the captured text.
    void shown();
    void closed();
    // A Replace sequence has restored the clipboard.
    void replaceFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QCoro::Task<> open(std::chrono::milliseconds delay, QPoint pointer);
    QCoro::Task<> replace(QString text);
    void show(QPoint pointer);
    void replaceIfAllowed();
    void installKeyFilter();
    void removeKeyFilter();

    Platform& m_platform;
    ActionStore& m_store;
    Delay m_delay;
    PaletteModel* m_model;
    QPointer<PalettePanel> m_panel;
    WindowHandle m_targetApp;
    bool m_busy = false;
    bool m_filtering = false;
};
