#include "palette/PaletteActionRow.h"

#include "palette/PaletteStyle.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

PaletteActionRow::PaletteActionRow(int index, const WendleAction& action, QWidget* parent)
    : QWidget(parent)
    , m_index(index)
    , m_number(new QLabel(index < 9 ? QString::number(index + 1) : QString(), this))
    , m_name(new QLabel(action.name, this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 7, 10, 7);
    row->setSpacing(10);

    QFont numberFont = PaletteStyle::caption();
    numberFont.setWeight(QFont::DemiBold);
    m_number->setFont(numberFont);
    m_number->setFixedWidth(18);
    m_number->setAlignment(Qt::AlignCenter);
    m_name->setFont(PaletteStyle::body());

    row->addWidget(m_number);
    row->addWidget(m_name);
    row->addStretch(1);

    if (action.kind != WendleAction::Kind::plain) {
        m_options = new QComboBox(this);
        m_options->setFixedWidth(150);
        m_options->setFocusPolicy(Qt::NoFocus);
        const QStringList& entries =
            action.kind == WendleAction::Kind::tone ? Options::tones() : Options::languages();
        for (const QString& entry : entries)
            m_options->addItem(entry, entry);
        connect(m_options, &QComboBox::activated, this,
                [this](int i) { Q_EMIT optionChosen(m_options->itemData(i).toString()); });
        row->addWidget(m_options);
    }
    recolour();
}

void PaletteActionRow::setSelected(bool selected) {
    m_selected = selected;
    recolour();
    update();
}

void PaletteActionRow::showOption(const QString& value) {
    if (!m_options)
        return;
    const QSignalBlocker blocker(m_options);
    const int i = m_options->findData(value);
    // A remembered value that is not in the list is shown as it stands.
    m_options->setPlaceholderText(i < 0 ? value : QString());
    m_options->setCurrentIndex(i);
}

void PaletteActionRow::recolour() {
    QColor numberColour = PaletteStyle::secondary();
    QColor nameColour = PaletteStyle::primary();
    if (m_selected) {
        numberColour = QColor(Qt::white);
        numberColour.setAlphaF(0.85);
        nameColour = Qt::white;
    }
    PaletteStyle::apply(m_number, m_number->font(), numberColour);
    PaletteStyle::apply(m_name, m_name->font(), nameColour);
}

void PaletteActionRow::paintEvent(QPaintEvent*) {
    if (!m_selected)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()), 8, 8);
    painter.fillPath(path, PaletteStyle::accent());
}

void PaletteActionRow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        Q_EMIT clicked(m_index);
}
