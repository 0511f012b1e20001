#pragma once

#include <QButtonGroup>
#include <QStringList>
#include <QWidget>

// A row of joined buttons of which exactly one is chosen, like a segmented
// picker.
class SegmentedControl : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedControl(const QStringList& titles, QWidget* parent = nullptr);

    int currentIndex() const { return m_group.checkedId(); }
    // Marks segment `index` without emitting activated().
    void setCurrentIndex(int index);

    QAbstractButton* segment(int index) const { return m_group.button(index); }

Q_SIGNALS:
    // The user clicked segment `index` (also when it was already chosen).
    void activated(int index);

private:
    QButtonGroup m_group;
};
