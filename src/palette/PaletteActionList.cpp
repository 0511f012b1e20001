#include "palette/PaletteActionList.h"

#include "actions/ActionStore.h"
#include "palette/PaletteActionRow.h"
#include "palette/PaletteModel.h"
#include "palette/PaletteStyle.h"

#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedLayout>
#include <QVBoxLayout>

PaletteActionList::PaletteActionList(PaletteModel& model, ActionStore& store, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_store(store)
    , m_stack(new QStackedLayout(this))
    , m_empty(new QLabel(
          QStringLiteral("There are no actions yet. Add some in Settings \u2192 Actions."), this))
    , m_scroll(new QScrollArea(this)) {
    PaletteStyle::apply(m_empty, PaletteStyle::body(), PaletteStyle::secondary());
    m_empty->setWordWrap(true);
    m_empty->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_empty->setContentsMargins(20, 20, 20, 20);

    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->viewport()->setAutoFillBackground(false);

    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_scroll);
    rebuild();
}

void PaletteActionList::rebuild() {
    m_rows.clear();
    m_content = new QWidget;
    m_content->setAutoFillBackground(false);
    auto* column = new QVBoxLayout(m_content);
    column->setContentsMargins(8, 8, 8, 8);
    column->setSpacing(2);

    const QList<WendleAction>& actions = m_store.actions();
    for (int i = 0; i < actions.size(); ++i) {
        auto* row = new PaletteActionRow(i, actions.at(i), m_content);
        const WendleAction action = actions.at(i);
        connect(row, &PaletteActionRow::clicked, this, [this, action](int index) {
            m_model.setSelectedIndex(index);
            m_model.run(action);
        });
        connect(row, &PaletteActionRow::optionChosen, this,
                [this, kind = action.kind](const QString& value) {
                    if (kind == WendleAction::Kind::tone)
                        m_model.setTone(value);
                    else
                        m_model.setLanguage(value);
                });
        column->addWidget(row);
        m_rows.append(row);
    }
    column->addStretch(1);
    m_scroll->setWidget(m_content); // deletes the previous rows
    m_stack->setCurrentWidget(actions.isEmpty() ? static_cast<QWidget*>(m_empty) : m_scroll);
    showOptions();
    showSelection();
}

void PaletteActionList::showSelection() {
    const int selected = m_model.selectedIndex();
    for (PaletteActionRow* row : std::as_const(m_rows))
        row->setSelected(row->index() == selected);
    if (selected < 0 || selected >= m_rows.size())
        return;
    // The smallest movement that brings the row into view.
    m_content->layout()->activate();
    m_scroll->ensureWidgetVisible(m_rows.at(selected), 0, 0);
}

void PaletteActionList::showOptions() {
    const QList<WendleAction>& actions = m_store.actions();
    for (PaletteActionRow* row : std::as_const(m_rows)) {
        if (row->index() >= actions.size())
            continue;
        switch (actions.at(row->index()).kind) {
        case WendleAction::Kind::tone:
            row->showOption(m_model.tone());
            break;
        case WendleAction::Kind::translate:
            row->showOption(m_model.language());
            break;
        case WendleAction::Kind::plain:
            break;
        }
    }
}
