#include "palette/PaletteView.h"

#include "actions/ActionStore.h"
#include "palette/PaletteActionList.h"
#include "palette/PaletteDivider.h"
#include "palette/PaletteEmptyState.h"
#include "palette/PaletteHeader.h"
#include "palette/PaletteModel.h"
#include "palette/PaletteResultPane.h"
#include "palette/PaletteStyle.h"
#include "texts/Texts.h"

#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

PaletteView::PaletteView(PaletteModel& model, ActionStore& store, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_header(new PaletteHeader(model, this))
    , m_screens(new QStackedWidget(this))
    , m_empty(new PaletteEmptyState(model, m_screens))
    , m_list(new PaletteActionList(model, store, m_screens))
    , m_result(new PaletteResultPane(model, m_screens))
    , m_hint(new QLabel(this)) {
    setFixedSize(panelWidth, panelHeight);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_header);
    column->addWidget(new PaletteDivider(this));
    m_screens->addWidget(m_empty);
    m_screens->addWidget(m_list);
    m_screens->addWidget(m_result);
    column->addWidget(m_screens, 1);
    column->addWidget(new PaletteDivider(this));
    PaletteStyle::apply(m_hint, PaletteStyle::caption(), PaletteStyle::secondary());
    m_hint->setContentsMargins(8, 8, 8, 8);
    m_hint->setAlignment(Qt::AlignCenter);
    column->addWidget(m_hint);

    const auto screenAndHeader = [this] {
        m_header->refresh();
        m_empty->refresh();
        showScreen();
    };
    connect(&model, &PaletteModel::sourceChanged, this, screenAndHeader);
    connect(&model, &PaletteModel::phaseChanged, this, [this] {
        showScreen();
        m_result->refresh();
    });
    connect(&model, &PaletteModel::selectedTextChanged, m_header, &PaletteHeader::refresh);
    connect(&model, &PaletteModel::noteChanged, this, screenAndHeader);
    connect(&model, &PaletteModel::selectedIndexChanged, m_list, &PaletteActionList::showSelection);
    connect(&model, &PaletteModel::toneChanged, m_list, &PaletteActionList::showOptions);
    connect(&model, &PaletteModel::languageChanged, m_list, &PaletteActionList::showOptions);
    connect(&model, &PaletteModel::outputChanged, m_result, &PaletteResultPane::refresh);
    connect(&model, &PaletteModel::errorMessageChanged, m_result, &PaletteResultPane::refresh);
    connect(&model, &PaletteModel::runTitleChanged, m_result, &PaletteResultPane::refresh);
    connect(&store, &ActionStore::actionsChanged, m_list, &PaletteActionList::rebuild);
    connect(m_result, &PaletteResultPane::replaceClicked, this, &PaletteView::replaceClicked);
    showScreen();
}

QString PaletteView::hintFor(const PaletteModel& model) {
    if (model.source() == SelectionSource::none)
        return QStringLiteral("esc close");
    if (model.phase() == PaletteModel::Phase::choose)
        return QStringLiteral("\u2191\u2193 select   \u23CE run   1\u20139 quick pick   "
                              "\u2190\u2192 option   esc close");
    return Texts::paletteResultHint();
}

QWidget* PaletteView::currentScreen() const {
    return m_screens->currentWidget();
}

void PaletteView::showScreen() {
    if (m_model.source() == SelectionSource::none)
        m_screens->setCurrentWidget(m_empty);
    else if (m_model.phase() == PaletteModel::Phase::choose)
        m_screens->setCurrentWidget(m_list);
    else
        m_screens->setCurrentWidget(m_result);
    m_hint->setText(hintFor(m_model));
}
