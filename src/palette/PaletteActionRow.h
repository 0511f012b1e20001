#pragma once

#include "actions/WendleAction.h"

#include <QWidget>

class QComboBox;
class QLabel;

// One numbered row of the action list: number, name and, for tone and
// translate actions, the menu of options. The whole row takes clicks.
class PaletteActionRow : public QWidget {
    Q_OBJECT
public:
    PaletteActionRow(int index, const WendleAction& action, QWidget* parent = nullptr);

    int index() const { return m_index; }
    void setSelected(bool selected);
    bool isSelected() const { return m_selected; }
    // Shows `value` in the option menu, also one the menu does not list.
    void showOption(const QString& value);

    QLabel* number() const { return m_number; }
    QLabel* name() const { return m_name; }
    QComboBox* options() const { return m_options; } // null for plain actions

Q_SIGNALS:
    void clicked(int index);
    void optionChosen(const QString& value);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void recolour();

    int m_index;
    bool m_selected = false;
    QLabel* m_number;
    QLabel* m_name;
    QComboBox* m_options = nullptr;
};
