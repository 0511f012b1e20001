#include "settingswindow/FormGrid.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>

namespace {

// The height of one line of controls: a text field, a button.
int controlHeight() {
    const QLineEdit probe;
    return probe.sizeHint().height();
}

} // namespace

FormGrid::FormGrid(QGridLayout* grid)
    : m_grid(grid) {
    m_grid->setColumnStretch(1, 1);
}

int FormGrid::addRow(const QString& title, QWidget* field) {
    const int row = int(m_rows.size());
    auto* label = new QLabel(title);
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(field);
    // Level with the field's first line of controls, not with the middle of
    // a field that has a note under it.
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setMinimumHeight(controlHeight());
    m_grid->addWidget(label, row, 0, Qt::AlignRight | Qt::AlignTop);
    m_grid->addWidget(field, row, 1);
    m_rows.append({label, field});
    return row;
}

int FormGrid::addRow(const QString& title, QLayout* field) {
    auto* box = new QWidget;
    field->setContentsMargins(0, 0, 0, 0);
    box->setLayout(field);
    return addRow(title, box);
}

void FormGrid::setRowVisible(int row, bool visible) {
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row].title->setVisible(visible);
    m_rows[row].field->setVisible(visible);
}

QLabel* FormGrid::title(int row) const {
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).title : nullptr;
}
