#include "palette/PaletteController.h"

#include "actions/ActionStore.h"
#include "capture/SelectionCapture.h"
#include "llm/LLMClient.h"
#include "palette/PaletteActionList.h"
#include "palette/PalettePanel.h"
#include "palette/PalettePlacement.h"
#include "palette/PaletteView.h"
#include "platform/Platform.h"
#include "replace/ReplaceSequence.h"
#include "settings/Preferences.h"

#include <QApplication>
#include <QCoroTimer>
#include <QCursor>
#include <QKeyEvent>

PaletteController::PaletteController(Platform& platform, ActionStore& store, QSettings& preferences,
                                     PaletteModel::StreamFactory streams, Delay delay,
                                     QObject* parent)
    : QObject(parent)
    , m_platform(platform)
    , m_store(store)
    , m_delay(std::move(delay))
    , m_model(
          new PaletteModel(store, platform.clipboard(), preferences, std::move(streams), this)) {
    connect(m_model, &PaletteModel::closeRequested, this, &PaletteController::close);
}

PaletteController::~PaletteController() {
    removeKeyFilter();
    delete m_panel;
}

PaletteController& PaletteController::shared() {
    static PaletteController* controller =
        new PaletteController(Platform::shared(), ActionStore::shared(), Preferences::shared(),
                              [](const QString& instruction, const QString& text) {
                                  return LLMClient::stream(instruction, text);
                              });
    return *controller;
}

PalettePanel& PaletteController::panel() {
    if (!m_panel) {
        m_panel = new PalettePanel(*m_model, m_store);
        m_platform.shell().preparePalettePanel(m_panel);
        connect(m_panel, &PalettePanel::hidden, this, [this] {
            // Qt hides a popup by itself after a click outside it.
            if (m_filtering)
                close();
        });
        connect(m_panel->view(), &PaletteView::replaceClicked, this,
                &PaletteController::replaceIfAllowed);
    }
    return *m_panel;
}

bool PaletteController::isVisible() const {
    return m_panel && m_panel->isVisible();
}

void PaletteController::toggle(std::chrono::milliseconds delay) {
    if (isVisible()) {
        close();
        return;
    }
    if (m_busy)
        return;
    m_busy = true;
    m_targetApp = m_platform.frontWindow().current();
    // Where the pointer is now, not where it will be after the capture.
    open(delay, QCursor::pos());
}

QCoro::Task<> PaletteController::open(std::chrono::milliseconds delay, QPoint pointer) {
    QPointer<PaletteController> self(this);
    // The task starts once the caller (a key or menu handler) has returned.
    co_await QCoro::sleepFor(std::chrono::milliseconds(0));
    if (self && delay.count() > 0)
        co_await m_delay(delay);
    if (!self)
        co_return;
    const SelectionCapture::Result captured =
        co_await SelectionCapture::capture(m_platform, m_delay);
    if (!self)
        co_return;
    m_model->prepare(captured.text, captured.source, captured.note);
    show(pointer);
    m_busy = false;
    Q_EMIT shown();
}

void PaletteController::show(QPoint pointer) {
    PalettePanel& window = panel();
    window.move(PalettePlacement::topLeftOnScreens(pointer, window.size()));
    removeKeyFilter();
    installKeyFilter();
    window.show();
    window.raise();
    // A popup gets the keys, but its widgets only once one of them has focus.
    window.view()->actionList()->setFocus(Qt::PopupFocusReason);
}

void PaletteController::close() {
    m_model->cancel();
    removeKeyFilter();
    if (m_panel && m_panel->isVisible())
        m_panel->hide();
    Q_EMIT closed();
}

void PaletteController::installKeyFilter() {
    qApp->installEventFilter(this);
    m_filtering = true;
}

void PaletteController::removeKeyFilter() {
    if (qApp)
        qApp->removeEventFilter(this);
    m_filtering = false;
}

bool PaletteController::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!m_panel || !m_panel->isVisible() || !widget || widget->window() != m_panel)
        return false;
    // Every key typed in the palette is the palette's: none reaches a widget
    // as text input or as a shortcut.
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    handle({key->key(), key->modifiers(), key->text()});
    return true;
}

void PaletteController::handle(const PaletteKeyTable::Key& key) {
    using Command = PaletteKeyTable::Command;
    const PaletteKeyTable::Result meaning =
        PaletteKeyTable::interpret(key, m_model->source(), m_model->phase());
    switch (meaning.command) {
    case Command::ignore:
        break;
    case Command::close:
        close();
        break;
    case Command::hotKey:
        toggle();
        break;
    case Command::back:
        m_model->back();
        break;
    case Command::replace:
        replaceIfAllowed();
        break;
    case Command::copy:
        m_model->copyResult();
        break;
    case Command::retry:
        m_model->retry();
        break;
    case Command::runSelected:
        m_model->runSelected();
        break;
    case Command::previousOption:
        m_model->cycleOption(-1);
        break;
    case Command::nextOption:
        m_model->cycleOption(+1);
        break;
    case Command::moveDown:
        m_model->move(+1);
        break;
    case Command::moveUp:
        m_model->move(-1);
        break;
    case Command::pick:
        m_model->pick(meaning.number);
        break;
    }
}

void PaletteController::replaceIfAllowed() {
    if (!m_model->canReplace())
        return;
    const QString text = m_model->cleanedOutput();
    close();
    replaceSelection(text);
}

void PaletteController::replaceSelection(const QString& text) {
    replace(text);
}

QCoro::Task<> PaletteController::replace(QString text) {
    QPointer<PaletteController> self(this);
    co_await ReplaceSequence::run(m_platform, m_targetApp, text, m_delay);
    if (self)
        Q_EMIT self->replaceFinished();
}
