#include "palette/PaletteResultPane.h"

#include "palette/PaletteIcons.h"
#include "palette/PaletteModel.h"
#include "palette/PaletteStyle.h"
#include "texts/Texts.h"
#include "widgets/Spinner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

QPushButton* button(const QString& text, QWidget* parent) {
    auto* b = new QPushButton(text, parent);
    // Buttons are for the mouse; the keys are the palette's own.
    b->setFocusPolicy(Qt::NoFocus);
    b->setAutoDefault(false);
    return b;
}

QString prominentStyle() {
    const QColor accent = PaletteStyle::accent();
    QColor disabled = accent;
    disabled.setAlphaF(0.35);
    return QStringLiteral("QPushButton { background: %1; color: white; border: none;"
                          " border-radius: 5px; padding: 4px 12px; }"
                          "QPushButton:pressed { background: %2; }"
                          "QPushButton:disabled { background: %3; color: rgba(255,255,255,0.7); }")
        .arg(accent.name(), accent.darker(120).name(), disabled.name(QColor::HexArgb));
}

} // namespace

PaletteResultPane::PaletteResultPane(PaletteModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_title(new QLabel(this))
    , m_spinner(new Spinner(this))
    , m_body(new QScrollArea(this))
    , m_reply(new QLabel)
    , m_errorRow(new QWidget)
    , m_error(new QLabel(m_errorRow))
    , m_back(button(QStringLiteral("Back"), this))
    , m_retry(button(Texts::retryButton(), this))
    , m_copy(button(Texts::copyButton(), this))
    , m_replace(button(QStringLiteral("Replace \u23CE"), this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 12, 12, 12);
    column->setSpacing(8);

    auto* titleRow = new QHBoxLayout;
    titleRow->setSpacing(8);
    PaletteStyle::apply(m_title, PaletteStyle::headline(), PaletteStyle::primary());
    titleRow->addWidget(m_title);
    QPalette spinnerColours = m_spinner->palette();
    spinnerColours.setColor(QPalette::WindowText, PaletteStyle::secondary());
    m_spinner->setPalette(spinnerColours);
    titleRow->addWidget(m_spinner);
    titleRow->addStretch(1);
    column->addLayout(titleRow);

    // The body holds the reply and the error row; one of them is shown.
    auto* bodyContent = new QWidget;
    bodyContent->setAutoFillBackground(false);
    auto* bodyColumn = new QVBoxLayout(bodyContent);
    bodyColumn->setContentsMargins(0, 0, 0, 0);
    bodyColumn->setSpacing(0);

    PaletteStyle::apply(m_reply, PaletteStyle::body(), PaletteStyle::primary());
    m_reply->setTextFormat(Qt::PlainText);
    m_reply->setWordWrap(true);
    m_reply->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_reply->setTextInteractionFlags(Qt::TextSelectableByMouse);
    bodyColumn->addWidget(m_reply);

    auto* errorLine = new QHBoxLayout(m_errorRow);
    errorLine->setContentsMargins(0, 0, 0, 0);
    errorLine->setSpacing(8);
    auto* triangle = new QLabel(m_errorRow);
    const int size = QFontMetrics(PaletteStyle::body()).height();
    triangle->setPixmap(PaletteIcons::symbol(QStringLiteral("exclamationmark.triangle.fill"), size,
                                             PaletteStyle::orange(), devicePixelRatioF()));
    PaletteStyle::apply(m_error, PaletteStyle::body(), PaletteStyle::primary());
    m_error->setTextFormat(Qt::PlainText);
    m_error->setWordWrap(true);
    m_error->setTextInteractionFlags(Qt::TextSelectableByMouse);
    errorLine->addWidget(triangle, 0, Qt::AlignTop);
    errorLine->addWidget(m_error, 1, Qt::AlignTop);
    bodyColumn->addWidget(m_errorRow);
    bodyColumn->addStretch(1);

    m_body->setFrameShape(QFrame::NoFrame);
    m_body->setWidgetResizable(true);
    m_body->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_body->setFocusPolicy(Qt::NoFocus);
    m_body->viewport()->setAutoFillBackground(false);
    m_body->setWidget(bodyContent);
    column->addWidget(m_body, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_back);
    buttons->addStretch(1);
    buttons->addWidget(m_retry);
    buttons->addWidget(m_copy);
    buttons->addWidget(m_replace);
    m_replace->setStyleSheet(prominentStyle());
    column->addLayout(buttons);

    connect(m_back, &QPushButton::clicked, this, [this] { m_model.back(); });
    connect(m_retry, &QPushButton::clicked, this, [this] { m_model.retry(); });
    connect(m_copy, &QPushButton::clicked, this, [this] { m_model.copyResult(); });
    connect(m_replace, &QPushButton::clicked, this, &PaletteResultPane::replaceClicked);
    refresh();
}

void PaletteResultPane::refresh() {
    const PaletteModel::Phase phase = m_model.phase();
    m_title->setText(m_model.runTitle());
    m_spinner->setVisible(phase == PaletteModel::Phase::running);

    const bool failed = phase == PaletteModel::Phase::failed;
    const QString cleaned = m_model.cleanedOutput();
    m_errorRow->setVisible(failed);
    m_reply->setVisible(!failed);
    m_error->setText(m_model.errorMessage());
    // A lone space keeps the line's height before the first words arrive.
    m_reply->setText(cleaned.isEmpty() ? QStringLiteral(" ") : cleaned);

    m_copy->setEnabled(!cleaned.isEmpty());
    m_replace->setEnabled(m_model.canReplace());
}
