#include "settingswindow/SnippetStatusView.h"

#include "platform/PermissionService.h"
#include "settings/AppSettings.h"
#include "settingswindow/SettingsStyle.h"
#include "snippets/SnippetEngine.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

SnippetStatusView::SnippetStatusView(AppSettings& settings, SnippetEngine& engine,
                                     PermissionService& permissions, QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_engine(engine)
    , m_permissions(permissions) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);

    m_off = new QLabel(QStringLiteral("Off"));
    m_off->setObjectName(QStringLiteral("off"));
    SettingsStyle::setTextColor(m_off, SettingsStyle::secondary(palette()));
    m_active = new QLabel(QStringLiteral("Active"));
    m_active->setObjectName(QStringLiteral("active"));
    SettingsStyle::setTextColor(m_active, SettingsStyle::green(palette()));

    m_waiting = new QWidget;
    m_waiting->setObjectName(QStringLiteral("waiting"));
    auto* waitingRow = new QHBoxLayout(m_waiting);
    waitingRow->setContentsMargins(0, 0, 0, 0);
    waitingRow->setSpacing(6);
    auto* waitingText = new QLabel(QStringLiteral("Waiting for Input Monitoring permission"));
    waitingText->setFont(SettingsStyle::caption(font()));
    SettingsStyle::setTextColor(waitingText, SettingsStyle::orange(palette()));
    m_openSettings = new QPushButton(QStringLiteral("Open Settings"));
    m_openSettings->setObjectName(QStringLiteral("openSettings"));
    m_openSettings->setFont(SettingsStyle::caption(font()));
    m_openSettings->setAutoDefault(false);
    waitingRow->addWidget(waitingText);
    waitingRow->addWidget(m_openSettings);

    row->addWidget(m_off);
    row->addWidget(m_active);
    row->addWidget(m_waiting);

    connect(m_openSettings, &QPushButton::clicked, this,
            [this] { m_permissions.openPane(PermissionService::Pane::inputMonitoring); });
    connect(&m_settings, &AppSettings::snippetsEnabledChanged, this, &SnippetStatusView::showState);
    connect(&m_engine, &SnippetEngine::isRunningChanged, this, &SnippetStatusView::showState);
    showState();
}

SnippetStatusView::State SnippetStatusView::state() const {
    if (!m_settings.snippetsEnabled())
        return State::off;
    return m_engine.isRunning() ? State::active : State::waiting;
}

void SnippetStatusView::showState() {
    const State now = state();
    m_off->setVisible(now == State::off);
    m_active->setVisible(now == State::active);
    m_waiting->setVisible(now == State::waiting);
    // Where there is no settings page to grant the permission in, there is
    // nothing for the button to open.
    m_openSettings->setVisible(m_permissions.hasSettingsPanes());
}
