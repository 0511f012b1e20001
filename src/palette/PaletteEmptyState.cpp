#include "palette/PaletteEmptyState.h"

#include "palette/PaletteIcons.h"
#include "palette/PaletteModel.h"
#include "palette/PaletteStyle.h"
#include "texts/Texts.h"

#include <QLabel>
#include <QVBoxLayout>

PaletteEmptyState::PaletteEmptyState(PaletteModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_note(new QLabel(this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(8);
    column->addStretch();

    auto* symbol = new QLabel(this);
    // A symbol as tall as large-title capitals need a little more than the
    // line height, since icons leave a margin inside their square.
    const int size = QFontMetrics(PaletteStyle::largeTitle()).height() * 3 / 2;
    symbol->setPixmap(PaletteIcons::symbol(QStringLiteral("text.cursor"), size,
                                           PaletteStyle::secondary(), devicePixelRatioF()));
    symbol->setAlignment(Qt::AlignCenter);

    auto* title = new QLabel(QStringLiteral("No text to wendle"), this);
    PaletteStyle::apply(title, PaletteStyle::headline(), PaletteStyle::primary());
    title->setAlignment(Qt::AlignCenter);

    auto* hint = new QLabel(Texts::paletteEmptyHint(), this);
    PaletteStyle::apply(hint, PaletteStyle::callout(), PaletteStyle::secondary());
    hint->setAlignment(Qt::AlignCenter);
    hint->setWordWrap(true);

    PaletteStyle::apply(m_note, PaletteStyle::caption(), PaletteStyle::orange());
    m_note->setAlignment(Qt::AlignCenter);
    m_note->setWordWrap(true);

    column->addWidget(symbol);
    column->addWidget(title);
    column->addWidget(hint);
    column->addWidget(m_note);
    column->addStretch();
    refresh();
}

void PaletteEmptyState::refresh() {
    m_note->setText(m_model.note());
    m_note->setVisible(!m_model.note().isEmpty());
}
