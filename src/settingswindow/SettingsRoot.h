#pragma once

#include "settingswindow/SettingsServices.h"
#include "settingswindow/SettingsTab.h"

#include <QWidget>

class ActionsTab;
class GeneralTab;
class ModelTab;
class QTabWidget;
class SettingsUI;
class SnippetsTab;

// The content of the settings window: the four tabs, left to right Model,
// Actions, Snippets and General, each with its title and symbol. The tab on
// screen and `ui`'s tab follow each other both ways.
class SettingsRoot : public QWidget {
    Q_OBJECT
public:
    SettingsRoot(const SettingsServices& services, SettingsUI& ui, QWidget* parent = nullptr);

    QTabWidget* tabs() const { return m_tabs; }
    ModelTab* modelTab() const { return m_model; }
    ActionsTab* actionsTab() const { return m_actions; }
    SnippetsTab* snippetsTab() const { return m_snippets; }
    GeneralTab* generalTab() const { return m_general; }

    // The tab on screen.
    SettingsTab currentTab() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void showTab(SettingsTab tab);
    void paintTabIcons();

    SettingsUI& m_ui;
    QTabWidget* m_tabs = nullptr;
    ModelTab* m_model = nullptr;
    ActionsTab* m_actions = nullptr;
    SnippetsTab* m_snippets = nullptr;
    GeneralTab* m_general = nullptr;
};
