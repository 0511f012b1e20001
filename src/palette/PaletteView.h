#pragma once

#include <QWidget>

class PaletteActionList;
class ActionStore;
class PaletteEmptyState;
class PaletteHeader;
class PaletteModel;
class QLabel;
class QStackedWidget;
class PaletteResultPane;

// The content of the palette: header, divider, one of the empty state, the
// action list or the result pane, divider, and a one-line key hint. It keeps
// no state of its own and redraws whenever the model or the action list
// changes; keys are handled by the controller, the view only takes clicks.
class PaletteView : public QWidget {
    Q_OBJECT
public:
    static constexpr int panelWidth = 440;
    static constexpr int panelHeight = 380;

    PaletteView(PaletteModel& model, ActionStore& store, QWidget* parent = nullptr);

    // The hint line's text for the model's state.
    static QString hintFor(const PaletteModel& model);

    PaletteHeader* header() const { return m_header; }
    PaletteEmptyState* emptyState() const { return m_empty; }
    PaletteActionList* actionList() const { return m_list; }
    PaletteResultPane* resultPane() const { return m_result; }
    QLabel* hint() const { return m_hint; }
    // The screen shown now: the empty state, the list or the result pane.
    QWidget* currentScreen() const;

Q_SIGNALS:
    // The Replace button was clicked.
    void replaceClicked();

private:
    void showScreen();

    PaletteModel& m_model;
    PaletteHeader* m_header;
    QStackedWidget* m_screens;
    PaletteEmptyState* m_empty;
    PaletteActionList* m_list;
    PaletteResultPane* m_result;
    QLabel* m_hint;
};
