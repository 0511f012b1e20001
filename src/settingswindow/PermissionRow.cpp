#include "settingswindow/PermissionRow.h"

#include "settingswindow/SettingsStyle.h"
#include "settingswindow/SymbolIcons.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
constexpr int markSize = 20;
}

PermissionRow::PermissionRow(const QString& title, const QString& help, MissingMark missingMark,
                             const QString& buttonText, QWidget* parent)
    : QWidget(parent)
    , m_missingMark(missingMark) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);

    m_mark = new QLabel(this);
    m_mark->setObjectName(QStringLiteral("mark"));
    m_mark->setFixedSize(markSize, markSize);
    row->addWidget(m_mark, 0, Qt::AlignVCenter);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* heading = SettingsStyle::headlineLabel(title, this);
    heading->setObjectName(QStringLiteral("title"));
    auto* explanation = SettingsStyle::captionLabel(help, this);
    explanation->setObjectName(QStringLiteral("help"));
    texts->addWidget(heading);
    texts->addWidget(explanation);
    row->addLayout(texts, 1);

    m_button = new QPushButton(buttonText, this);
    m_button->setObjectName(QStringLiteral("open"));
    m_button->setAutoDefault(false);
    row->addWidget(m_button, 0, Qt::AlignVCenter);
    connect(m_button, &QPushButton::clicked, this, &PermissionRow::buttonClicked);
    showMark();
}

void PermissionRow::setGranted(bool granted) {
    if (granted == m_granted && !m_symbol.isEmpty())
        return;
    m_granted = granted;
    showMark();
}

void PermissionRow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        showMark();
    QWidget::changeEvent(event);
}

void PermissionRow::showMark() {
    const QPalette& colors = palette();
    QColor color;
    if (m_granted) {
        m_symbol = QStringLiteral("checkmark.circle.fill");
        color = SettingsStyle::green(colors);
    } else if (m_missingMark == MissingMark::warning) {
        m_symbol = QStringLiteral("exclamationmark.triangle.fill");
        color = SettingsStyle::orange(colors);
    } else {
        m_symbol = QStringLiteral("minus.circle");
        color = SettingsStyle::secondary(colors);
    }
    m_mark->setPixmap(SymbolIcons::pixmap(m_symbol, color, markSize, devicePixelRatioF()));
    m_mark->setToolTip(m_granted ? QStringLiteral("Granted") : QStringLiteral("Not granted"));
}
