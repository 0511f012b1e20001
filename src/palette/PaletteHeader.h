#pragma once

#include <QWidget>

class PaletteElidedLabel;
class PaletteModel;
class QLabel;

// The top of the palette: the quote symbol and a two-line preview of the
// selection with the note below it, or just "Wendle" when there is no text.
class PaletteHeader : public QWidget {
    Q_OBJECT
public:
    explicit PaletteHeader(PaletteModel& model, QWidget* parent = nullptr);

    // Redraws from the model.
    void refresh();

    PaletteElidedLabel* preview() const { return m_preview; }
    QLabel* note() const { return m_note; }
    QLabel* title() const { return m_title; }

private:
    PaletteModel& m_model;
    QWidget* m_quoteRow;
    QLabel* m_quote;
    PaletteElidedLabel* m_preview;
    QLabel* m_title;
    QLabel* m_note;
};
