#include "palette/PaletteHeader.h"

#include "palette/PaletteElidedLabel.h"
#include "palette/PaletteIcons.h"
#include "palette/PaletteModel.h"
#include "palette/PaletteStyle.h"
#include "palette/SelectionPreview.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

PaletteHeader::PaletteHeader(PaletteModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_quoteRow(new QWidget(this))
    , m_quote(new QLabel(m_quoteRow))
    , m_preview(new PaletteElidedLabel(2, m_quoteRow))
    , m_title(new QLabel(QStringLiteral("Wendle"), this))
    , m_note(new QLabel(this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 12, 12, 12);
    column->setSpacing(4);

    auto* row = new QHBoxLayout(m_quoteRow);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    const int symbolSize = QFontMetrics(PaletteStyle::callout()).height();
    m_quote->setPixmap(PaletteIcons::symbol(QStringLiteral("text.quote"), symbolSize,
                                            PaletteStyle::secondary(), devicePixelRatioF()));
    m_quote->setAlignment(Qt::AlignTop);
    m_preview->setFont(PaletteStyle::callout());
    QPalette previewPalette = m_preview->palette();
    previewPalette.setColor(QPalette::WindowText, PaletteStyle::secondary());
    m_preview->setPalette(previewPalette);
    row->addWidget(m_quote, 0, Qt::AlignTop);
    row->addWidget(m_preview, 1, Qt::AlignTop);

    PaletteStyle::apply(m_title, PaletteStyle::headline(), PaletteStyle::primary());

    PaletteStyle::apply(m_note, PaletteStyle::caption(), PaletteStyle::orange());
    m_note->setWordWrap(true);

    column->addWidget(m_quoteRow);
    column->addWidget(m_title);
    column->addWidget(m_note);
    refresh();
}

void PaletteHeader::refresh() {
    const bool hasText = m_model.source() != SelectionSource::none;
    m_quoteRow->setVisible(hasText);
    m_title->setVisible(!hasText);
    m_preview->setText(SelectionPreview::text(m_model.selectedText()));
    m_note->setText(m_model.note());
    // With no text at all the note stands under the empty state instead.
    m_note->setVisible(hasText && !m_model.note().isEmpty());
}
