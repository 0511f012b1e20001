#pragma once

#include <QList>
#include <QString>

class QGridLayout;
class QLabel;
class QLayout;
class QWidget;

// A form of titled rows: titles right-aligned in the first column, fields
// filling the second. Built on a grid rather than QFormLayout because the
// form layout gives a field box no more height than its size hint, which cuts
// off a wrapped note or message under a field; the grid asks each field how
// tall it is at the width it gets.
class FormGrid {
public:
    explicit FormGrid(QGridLayout* grid);

    // Adds a row and returns its number. An empty title leaves the first
    // column blank. The title label's buddy is the field.
    int addRow(const QString& title, QWidget* field);
    int addRow(const QString& title, QLayout* field);

    void setRowVisible(int row, bool visible);
    QLabel* title(int row) const;

private:
    struct Row {
        QLabel* title = nullptr;
        QWidget* field = nullptr;
    };
    QGridLayout* m_grid;
    QList<Row> m_rows;
};
