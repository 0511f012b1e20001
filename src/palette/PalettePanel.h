#pragma once

#include <QWidget>

class ActionStore;
class PaletteModel;
class PaletteView;

// The borderless window that carries the palette. On X11 it is a popup: the
// keyboard focus stays with the user's application while every key comes
// here, and a click anywhere outside closes it. It is not closed when the
// application deactivates: it never activates the application in the first
// place. Created once and reused.
class PalettePanel : public QWidget {
    Q_OBJECT
public:
    PalettePanel(PaletteModel& model, ActionStore& store, QWidget* parent = nullptr);

    PaletteView* view() const { return m_view; }

Q_SIGNALS:
    // The panel was hidden, by us or by Qt after a click outside it.
    void hidden();

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    PaletteView* m_view;
    // The application state as last announced; differs from the current one
    // while a change of state is being delivered.
    Qt::ApplicationState m_announcedState;
};
