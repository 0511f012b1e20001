#include "settingswindow/SegmentedControl.h"

#include <QHBoxLayout>
#include <QPushButton>

SegmentedControl::SegmentedControl(const QStringList& titles, QWidget* parent)
    : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    m_group.setExclusive(true);
    for (int i = 0; i < titles.size(); ++i) {
        auto* button = new QPushButton(titles.at(i), this);
        button->setCheckable(true);
        button->setAutoDefault(false);
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        m_group.addButton(button, i);
        row->addWidget(button);
    }
    connect(&m_group, &QButtonGroup::idClicked, this, &SegmentedControl::activated);
}

void SegmentedControl::setCurrentIndex(int index) {
    if (QAbstractButton* button = m_group.button(index))
        button->setChecked(true);
}
