#include "settingswindow/SettingsRoot.h"

#include "settingswindow/ActionsTab.h"
#include "settingswindow/GeneralTab.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SettingsTabs.h"
#include "settingswindow/SettingsUI.h"
#include "settingswindow/SnippetsTab.h"
#include "settingswindow/SymbolIcons.h"

#include <QEvent>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

SettingsRoot::SettingsRoot(const SettingsServices& services, SettingsUI& ui, QWidget* parent)
    : QWidget(parent)
    , m_ui(ui) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->tabBar()->setExpanding(false);
    // Centred, like the tab bar of a settings window.
    m_tabs->setStyleSheet(QStringLiteral("QTabWidget::tab-bar { alignment: center; }"));
    layout->addWidget(m_tabs);

    m_model = new ModelTab(*services.settings);
    m_actions = new ActionsTab(*services.actions);
    m_snippets = new SnippetsTab(*services.snippets, *services.settings, *services.engine,
                                 *services.permissions);
    m_general = new GeneralTab(*services.permissions, *services.loginItem);
    // In the order of SettingsTabs::allCases(): the index is the tab.
    for (QWidget* page : {static_cast<QWidget*>(m_model), static_cast<QWidget*>(m_actions),
                          static_cast<QWidget*>(m_snippets), static_cast<QWidget*>(m_general)}) {
        const SettingsTab tab = SettingsTabs::allCases().at(m_tabs->count());
        page->setObjectName(SettingsTabs::title(tab).toLower());
        m_tabs->addTab(page, SettingsTabs::title(tab));
    }
    paintTabIcons();
    showTab(m_ui.tab());

    connect(&m_ui, &SettingsUI::tabChanged, this, &SettingsRoot::showTab);
    connect(m_tabs, &QTabWidget::currentChanged, this, [this](int index) {
        const SettingsTab tab = SettingsTabs::allCases().value(index, SettingsTab::model);
        if (m_ui.tab() != tab)
            m_ui.setTab(tab);
    });
}

SettingsTab SettingsRoot::currentTab() const {
    return SettingsTabs::allCases().value(m_tabs->currentIndex(), SettingsTab::model);
}

void SettingsRoot::showTab(SettingsTab tab) {
    m_tabs->setCurrentIndex(int(SettingsTabs::allCases().indexOf(tab)));
}

void SettingsRoot::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        paintTabIcons();
    QWidget::changeEvent(event);
}

void SettingsRoot::paintTabIcons() {
    const QColor color = palette().color(QPalette::WindowText);
    for (int i = 0; i < m_tabs->count(); ++i)
        m_tabs->setTabIcon(
            i, SymbolIcons::icon(SettingsTabs::symbol(SettingsTabs::allCases().at(i)), color));
}
