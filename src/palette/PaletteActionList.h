#pragma once

#include <QList>
#include <QWidget>

class PaletteActionRow;
class ActionStore;
class PaletteModel;
class QLabel;
class QScrollArea;
class QStackedLayout;

// The palette's list of actions: numbered rows in a scrolling area that keeps
// the highlighted row in view, or a hint when there are no actions.
class PaletteActionList : public QWidget {
    Q_OBJECT
public:
    PaletteActionList(PaletteModel& model, ActionStore& store, QWidget* parent = nullptr);

    // Builds the rows again from the store.
    void rebuild();
    // Highlights the model's row and scrolls it into view.
    void showSelection();
    // Shows the model's tone and language in every option menu.
    void showOptions();

    const QList<PaletteActionRow*>& rows() const { return m_rows; }
    QScrollArea* scrollArea() const { return m_scroll; }
    QLabel* emptyHint() const { return m_empty; }

private:
    PaletteModel& m_model;
    ActionStore& m_store;
    QStackedLayout* m_stack;
    QLabel* m_empty;
    QScrollArea* m_scroll;
    QWidget* m_content = nullptr;
    QList<PaletteActionRow*> m_rows;
};
