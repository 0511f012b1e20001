#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;

// One permission in the General tab: a status mark, the permission's name
// and what it is for, and a button that leads to where it is granted.
class PermissionRow : public QWidget {
    Q_OBJECT
public:
    // The mark shown while the permission is missing: a warning for the one
    // Wendle needs, a neutral sign for the optional one.
    enum class MissingMark { warning, neutral };

    PermissionRow(const QString& title, const QString& help, MissingMark missingMark,
                  const QString& buttonText, QWidget* parent = nullptr);

    void setGranted(bool granted);
    bool isGranted() const { return m_granted; }
    // The symbol currently shown, for example "checkmark.circle.fill".
    QString symbol() const { return m_symbol; }

    QPushButton* button() const { return m_button; }

Q_SIGNALS:
    void buttonClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void showMark();

    MissingMark m_missingMark;
    bool m_granted = false;
    QString m_symbol;
    QLabel* m_mark = nullptr;
    QPushButton* m_button = nullptr;
};
