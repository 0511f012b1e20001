#include "settingswindow/GeneralTab.h"

#include "platform/LoginItem.h"
#include "platform/PermissionService.h"
#include "settingswindow/PermissionRow.h"
#include "settingswindow/SettingsStyle.h"
#include "settingswindow/ToggleSwitch.h"
#include "storage/AppSupport.h"
#include "texts/Texts.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

GeneralTab::GeneralTab(PermissionService& permissions, LoginItem& loginItem, QWidget* parent)
    : QWidget(parent)
    , m_permissions(permissions)
    , m_loginItem(loginItem) {
    auto* page = new QVBoxLayout(this);
    const int pad = SettingsStyle::padding;
    page->setContentsMargins(pad, pad, pad, pad);
    page->setSpacing(14);

    auto* usage = new QLabel(Texts::generalUsage(), this);
    usage->setObjectName(QStringLiteral("usage"));
    usage->setWordWrap(true);
    usage->setTextFormat(Qt::PlainText);
    page->addWidget(usage);
    page->addWidget(SettingsStyle::divider(this));

    m_accessibility =
        new PermissionRow(QStringLiteral("Accessibility"), Texts::accessibilityHelp(),
                          PermissionRow::MissingMark::warning, Texts::openSystemSettings(), this);
    m_accessibility->setObjectName(QStringLiteral("accessibility"));
    m_inputMonitoring =
        new PermissionRow(QStringLiteral("Input Monitoring"), Texts::inputMonitoringHelp(),
                          PermissionRow::MissingMark::neutral, Texts::openSystemSettings(), this);
    m_inputMonitoring->setObjectName(QStringLiteral("inputMonitoring"));
    page->addWidget(m_accessibility);
    page->addWidget(m_inputMonitoring);
    page->addWidget(SettingsStyle::divider(this));

    // Only an installed Wendle is offered: an entry naming a build folder
    // would start whatever is there at the next login, or nothing.
    if (m_loginItem.isAvailable()) {
        m_startAtLogin = new ToggleSwitch(QStringLiteral("Start Wendle at login"), this);
        m_startAtLogin->setObjectName(QStringLiteral("startAtLogin"));
        m_startAtLogin->setCheckable(true);
        m_startAtLogin->setChecked(m_loginItem.isEnabled());
        connect(m_startAtLogin, &ToggleSwitch::clicked, this, &GeneralTab::startAtLoginClicked);
        page->addWidget(m_startAtLogin);
        m_loginError = SettingsStyle::captionLabel(QString(), this);
        m_loginError->setObjectName(QStringLiteral("loginError"));
        m_loginError->hide();
        page->addWidget(m_loginError);
        page->addWidget(SettingsStyle::divider(this));
    }

    auto* storage = SettingsStyle::captionLabel(Texts::storageNote(AppSupport::folder()), this);
    storage->setObjectName(QStringLiteral("storage"));
    page->addWidget(storage);
    page->addStretch(1);

    // Where no settings page exists to grant a permission in, the buttons
    // would lead nowhere.
    const bool panes = m_permissions.hasSettingsPanes();
    m_accessibility->button()->setVisible(panes);
    m_inputMonitoring->button()->setVisible(panes);
    connect(m_accessibility, &PermissionRow::buttonClicked, this, [this] {
        // The platform's own prompt first, then the page to grant it in.
        m_permissions.requestAccessibility();
        m_permissions.openPane(PermissionService::Pane::accessibility);
    });
    connect(m_inputMonitoring, &PermissionRow::buttonClicked, this, [this] {
        // Only the page: the request belongs to switching snippets on.
        m_permissions.openPane(PermissionService::Pane::inputMonitoring);
    });

    m_timer.setInterval(2000);
    connect(&m_timer, &QTimer::timeout, this, &GeneralTab::refresh);
    refresh();
}

void GeneralTab::startAtLoginClicked(bool on) {
    QString reason;
    const bool changed = m_loginItem.setEnabled(on, &reason);
    // The switch shows what is really set, also after a failed change.
    m_startAtLogin->setChecked(m_loginItem.isEnabled());
    m_loginError->setText(
        changed ? QString()
                : QStringLiteral("Couldn't change whether Wendle starts at login: %1").arg(reason));
    m_loginError->setVisible(!changed);
}

void GeneralTab::refresh() {
    m_accessibility->setGranted(m_permissions.accessibilityGranted());
    m_inputMonitoring->setGranted(m_permissions.inputMonitoringGranted());
}

void GeneralTab::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_timer.start();
}

void GeneralTab::hideEvent(QHideEvent* event) {
    m_timer.stop();
    QWidget::hideEvent(event);
}
