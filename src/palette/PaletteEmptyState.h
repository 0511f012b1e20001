#pragma once

#include <QWidget>

class PaletteModel;
class QLabel;

// What the palette shows when there is no text to work on.
class PaletteEmptyState : public QWidget {
    Q_OBJECT
public:
    explicit PaletteEmptyState(PaletteModel& model, QWidget* parent = nullptr);

    void refresh();

    QLabel* note() const { return m_note; }

private:
    PaletteModel& m_model;
    QLabel* m_note;
};
