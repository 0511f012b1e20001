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
        const bool first = i == 0;
        const bool last = i == titles.size() - 1;
        button->setProperty("segment", first  ? QStringLiteral("first")
                                       : last ? QStringLiteral("last")
                                              : QStringLiteral("middle"));
        m_group.addButton(button, i);
        row->addWidget(button);
    }
    // Joined segments, the chosen one in the selection colour: plain push
    // buttons side by side do not show clearly which one is chosen.
    setStyleSheet(QStringLiteral(
        "QPushButton { border: 1px solid palette(mid); background: palette(button);"
        " padding: 3px 10px; }"
        "QPushButton:pressed { background: palette(midlight); }"
        "QPushButton:checked { background: palette(highlight); color: palette(highlighted-text);"
        " border-color: palette(highlight); }"
        "QPushButton:focus { outline: none; }"
        "QPushButton[segment=\"first\"] { border-top-left-radius: 4px;"
        " border-bottom-left-radius: 4px; }"
        "QPushButton[segment=\"last\"] { border-top-right-radius: 4px;"
        " border-bottom-right-radius: 4px; }"
        "QPushButton[segment=\"middle\"], QPushButton[segment=\"last\"] { border-left: none; }"));
    connect(&m_group, &QButtonGroup::idClicked, this, &SegmentedControl::activated);
}

void SegmentedControl::setCurrentIndex(int index) {
    if (QAbstractButton* button = m_group.button(index))
        button->setChecked(true);
}
