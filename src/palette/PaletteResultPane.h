#pragma once

#include <QWidget>

class PaletteModel;
class QLabel;
class QPushButton;
class QScrollArea;
class Spinner;

// The palette after an action was chosen: the run's title with a spinner
// while it runs, the streamed reply or the error, and the Back, Retry, Copy
// and Replace buttons.
class PaletteResultPane : public QWidget {
    Q_OBJECT
public:
    explicit PaletteResultPane(PaletteModel& model, QWidget* parent = nullptr);

    void refresh();

    QLabel* title() const { return m_title; }
    Spinner* spinner() const { return m_spinner; }
    QLabel* reply() const { return m_reply; }
    QWidget* errorRow() const { return m_errorRow; }
    QLabel* error() const { return m_error; }
    QPushButton* backButton() const { return m_back; }
    QPushButton* retryButton() const { return m_retry; }
    QPushButton* copyButton() const { return m_copy; }
    QPushButton* replaceButton() const { return m_replace; }

Q_SIGNALS:
    void replaceClicked();

private:
    PaletteModel& m_model;
    QLabel* m_title;
    Spinner* m_spinner;
    QScrollArea* m_body;
    QLabel* m_reply;
    QWidget* m_errorRow;
    QLabel* m_error;
    QPushButton* m_back;
    QPushButton* m_retry;
    QPushButton* m_copy;
    QPushButton* m_replace;
};
