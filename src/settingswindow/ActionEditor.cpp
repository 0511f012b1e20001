#include "settingswindow/ActionEditor.h"

#include "actions/ActionStore.h"
#include "settingswindow/SettingsStyle.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace {

QString kindTitle(WendleAction::Kind kind) {
    switch (kind) {
    case WendleAction::Kind::plain:
        return QStringLiteral("Standard");
    case WendleAction::Kind::tone:
        return QStringLiteral("With tone picker");
    case WendleAction::Kind::translate:
        return QStringLiteral("With language picker");
    }
    return {};
}

} // namespace

ActionEditor::ActionEditor(ActionStore& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 10, 10, 10);
    column->setSpacing(8);

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_name = new QLineEdit;
    m_name->setObjectName(QStringLiteral("name"));
    form->addRow(QStringLiteral("Name"), m_name);
    m_kind = new QComboBox;
    m_kind->setObjectName(QStringLiteral("kind"));
    for (const WendleAction::Kind kind : WendleActionKind::allCases())
        m_kind->addItem(kindTitle(kind), QVariant::fromValue(int(kind)));
    form->addRow(QStringLiteral("Type"), m_kind);
    column->addLayout(form);

    column->addSpacing(4);
    column->addWidget(SettingsStyle::headlineLabel(QStringLiteral("Instruction")));
    m_instruction = new QPlainTextEdit;
    m_instruction->setObjectName(QStringLiteral("instruction"));
    m_instruction->setMinimumHeight(160);
    m_instruction->setTabChangesFocus(true);
    m_instruction->setStyleSheet(
        QStringLiteral("QPlainTextEdit { %1 }").arg(SettingsStyle::outlinedEditorStyle(palette())));
    column->addWidget(m_instruction, 1);
    m_help = SettingsStyle::captionLabel(QString());
    m_help->setObjectName(QStringLiteral("help"));
    column->addWidget(m_help);

    connect(m_name, &QLineEdit::textEdited, this, [this](const QString& name) {
        WendleAction action = current();
        action.name = name;
        write(action);
    });
    connect(m_kind, &QComboBox::activated, this, [this](int index) {
        WendleAction action = current();
        action.kind = WendleActionKind::allCases().value(index, WendleAction::Kind::plain);
        write(action);
    });
    connect(m_instruction, &QPlainTextEdit::textChanged, this, [this] {
        if (m_showing)
            return;
        WendleAction action = current();
        action.instruction = m_instruction->toPlainText();
        write(action);
    });
    connect(&m_store, &ActionStore::actionsChanged, this, &ActionEditor::showAction);
    showAction();
}

QString ActionEditor::help(WendleAction::Kind kind) {
    switch (kind) {
    case WendleAction::Kind::plain:
        return QStringLiteral("Describe what the model should do with the selected text.");
    case WendleAction::Kind::tone:
        return QStringLiteral(
            "Use {tone} in the instruction; it is replaced by the tone chosen in the palette.");
    case WendleAction::Kind::translate:
        return QStringLiteral("Use {language} in the instruction; it is replaced by the language "
                              "chosen in the palette.");
    }
    return {};
}

void ActionEditor::setActionId(const QUuid& id) {
    m_id = id;
    m_blank = WendleAction{QUuid::createUuid(), {}, {}, WendleAction::Kind::plain};
    showAction();
}

WendleAction ActionEditor::current() const {
    for (const WendleAction& action : m_store.actions()) {
        if (action.id == m_id)
            return action;
    }
    return m_blank;
}

void ActionEditor::write(const WendleAction& action) {
    QList<WendleAction> actions = m_store.actions();
    for (WendleAction& stored : actions) {
        if (stored.id == m_id) {
            stored = action;
            m_store.setActions(actions);
            return;
        }
    }
}

void ActionEditor::showAction() {
    const WendleAction action = current();
    m_showing = true;
    if (m_name->text() != action.name)
        m_name->setText(action.name);
    m_kind->setCurrentIndex(int(WendleActionKind::allCases().indexOf(action.kind)));
    if (m_instruction->toPlainText() != action.instruction)
        m_instruction->setPlainText(action.instruction);
    m_help->setText(help(action.kind));
    m_showing = false;
}
