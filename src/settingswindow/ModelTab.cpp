#include "settingswindow/ModelTab.h"

#include "settings/AppSettings.h"
#include "settings/Keychain.h"
#include "settingswindow/FormGrid.h"
#include "settingswindow/SegmentedControl.h"
#include "settingswindow/SettingsStyle.h"
#include "settingswindow/WrappingLabel.h"
#include "texts/Texts.h"
#include "widgets/Spinner.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// A text field with its explanation in small print under it.
QWidget* fieldWithNote(QLineEdit* field, const QString& note) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(3);
    column->addWidget(field);
    column->addWidget(SettingsStyle::captionLabel(note));
    return box;
}

// Keeps `field` showing `value` without moving the cursor of a field the user
// is typing in (its text already equals the value then).
void showText(QLineEdit* field, const QString& value) {
    if (field->text() != value)
        field->setText(value);
}

QStringList providerTitles() {
    QStringList titles;
    for (const Provider provider : Providers::allCases())
        titles.append(Providers::displayName(provider));
    return titles;
}

} // namespace

ModelTab::ModelTab(AppSettings& settings, QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_provider(settings.provider()) {
    auto* page = new QVBoxLayout(this);
    const int pad = SettingsStyle::padding;
    page->setContentsMargins(pad, pad, pad, pad);
    page->setSpacing(10);

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(12);
    page->addLayout(grid);
    m_form = std::make_unique<FormGrid>(grid);

    m_providerPicker = new SegmentedControl(providerTitles());
    m_providerPicker->setObjectName(QStringLiteral("provider"));
    m_form->addRow(QStringLiteral("Provider"), m_providerPicker);

    m_ollamaURL = new QLineEdit;
    m_ollamaURL->setObjectName(QStringLiteral("ollamaURL"));
    m_ollamaRow = m_form->addRow(
        QStringLiteral("Server URL"),
        fieldWithNote(m_ollamaURL,
                      QStringLiteral("Requests go to /api/chat on this server. Installed "
                                     "models are listed from /api/tags.")));

    m_lmStudioURL = new QLineEdit;
    m_lmStudioURL->setObjectName(QStringLiteral("lmStudioURL"));
    m_lmStudioRow = m_form->addRow(
        QStringLiteral("Server URL"),
        fieldWithNote(m_lmStudioURL, QStringLiteral("Requests go to /v1/chat/completions "
                                                    "(OpenAI-compatible). Load a model "
                                                    "in LM Studio first.")));

    m_customURL = new QLineEdit;
    m_customURL->setObjectName(QStringLiteral("customURL"));
    m_customRow = m_form->addRow(
        QStringLiteral("Chat completions URL"),
        fieldWithNote(m_customURL,
                      QStringLiteral("Full endpoint of any OpenAI-compatible server, for "
                                     "example http://localhost:8080/v1/chat/completions.")));

    m_apiKey = new QLineEdit;
    m_apiKey->setObjectName(QStringLiteral("apiKey"));
    m_apiKey->setEchoMode(QLineEdit::Password);
    m_apiKeyRow = m_form->addRow(QStringLiteral("API key (optional)"),
                                 fieldWithNote(m_apiKey, Texts::apiKeyNote()));

    auto* modelRow = new QHBoxLayout;
    modelRow->setSpacing(6);
    m_model = new QLineEdit;
    m_model->setObjectName(QStringLiteral("model"));
    m_choose = new QPushButton(QStringLiteral("Choose"));
    m_choose->setObjectName(QStringLiteral("choose"));
    m_choose->setAutoDefault(false);
    m_choose->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_chooseMenu = new QMenu(m_choose);
    m_choose->setMenu(m_chooseMenu);
    m_refresh = new QPushButton(QStringLiteral("Refresh"));
    m_refresh->setObjectName(QStringLiteral("refresh"));
    m_refresh->setAutoDefault(false);
    m_refresh->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    modelRow->addWidget(m_model, 1);
    modelRow->addWidget(m_choose);
    modelRow->addWidget(m_refresh);
    m_form->addRow(QStringLiteral("Model"), modelRow);

    // The status line keeps its height whether it shows text, progress or
    // nothing, so the rows below do not jump.
    auto* statusBox = new QWidget;
    auto* statusRow = new QHBoxLayout(statusBox);
    statusRow->setContentsMargins(0, 0, 0, 0);
    m_spinner = new Spinner;
    m_spinner->setObjectName(QStringLiteral("progress"));
    m_statusLabel = new WrappingLabel;
    m_statusLabel->setObjectName(QStringLiteral("status"));
    statusRow->addWidget(m_spinner, 0, Qt::AlignLeft | Qt::AlignTop);
    statusRow->addWidget(m_statusLabel, 1);
    statusRow->addStretch(0); // keeps the progress indicator at the left
    statusBox->setMinimumHeight(
        qMax(m_spinner->sizeHint().height(), m_statusLabel->fontMetrics().height()));
    m_form->addRow(QString(), statusBox);

    page->addWidget(SettingsStyle::divider());
    page->addWidget(SettingsStyle::captionLabel(Texts::modelPrivacyNote()));
    page->addStretch(1);

    // Every edit is written through at once.
    connect(m_providerPicker, &SegmentedControl::activated, this, [this](int index) {
        m_settings.setProvider(Providers::allCases().value(index, Provider::ollama));
    });
    connect(m_ollamaURL, &QLineEdit::textEdited, &m_settings, &AppSettings::setOllamaURL);
    connect(m_lmStudioURL, &QLineEdit::textEdited, &m_settings, &AppSettings::setLmStudioURL);
    connect(m_customURL, &QLineEdit::textEdited, &m_settings, &AppSettings::setCustomURL);
    connect(m_model, &QLineEdit::textEdited, &m_settings, &AppSettings::setCurrentModel);
    connect(m_apiKey, &QLineEdit::textEdited, this, [this](const QString& key) {
        m_keyEdited = true;
        // Stored as typed, cleared when empty; the keyring queues the writes
        // in order, so the last edit is what stays.
        Keychain::set(key);
    });
    connect(m_refresh, &QPushButton::clicked, this, &ModelTab::refresh);

    // And the fields follow the settings, whoever changes them.
    connect(&m_settings, &AppSettings::providerChanged, this, &ModelTab::providerChanged);
    connect(&m_settings, &AppSettings::ollamaURLChanged, this,
            [this] { showText(m_ollamaURL, m_settings.ollamaURL()); });
    connect(&m_settings, &AppSettings::lmStudioURLChanged, this,
            [this] { showText(m_lmStudioURL, m_settings.lmStudioURL()); });
    connect(&m_settings, &AppSettings::customURLChanged, this,
            [this] { showText(m_customURL, m_settings.customURL()); });
    for (const auto signal : {&AppSettings::ollamaModelChanged, &AppSettings::lmStudioModelChanged,
                              &AppSettings::customModelChanged})
        connect(&m_settings, signal, this, &ModelTab::showModel);

    showText(m_ollamaURL, m_settings.ollamaURL());
    showText(m_lmStudioURL, m_settings.lmStudioURL());
    showText(m_customURL, m_settings.customURL());
    showProvider();
    showModel();
    showModels();
    showStatus();
    loadKey();
}

ModelTab::~ModelTab() = default;

QCoro::Task<> ModelTab::loadKey() {
    QPointer<ModelTab> self(this);
    const QString key = co_await Keychain::get();
    // A key typed while the keyring answered wins over the stored one.
    if (self && !self->m_keyEdited)
        self->m_apiKey->setText(key);
}

void ModelTab::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

void ModelTab::refresh() {
    m_loading = true;
    showStatus();
    startListing();
}

void ModelTab::providerChanged() {
    if (m_settings.provider() == m_provider) {
        showProvider();
        return;
    }
    m_provider = m_settings.provider();
    showProvider();
    showModel();
    m_models.clear();
    m_status.clear();
    m_loading = true;
    showModels();
    showStatus();
    startListing();
}

void ModelTab::startListing() {
    // Two listings may run at once (the provider changed during one); each
    // applies its own outcome when it ends, the later one last.
    runListing();
}

QCoro::Task<> ModelTab::runListing() {
    QPointer<ModelTab> self(this);
    const LLMClient::ModelList listing = co_await LLMClient::listModels(m_settings.server());
    if (self)
        self->applyListing(listing);
}

void ModelTab::applyListing(const LLMClient::ModelList& listing) {
    if (listing.error) {
        m_models.clear();
        m_statusIsError = true;
        m_status = listing.error->description();
    } else {
        m_models = listing.names;
        m_statusIsError = false;
        m_status = m_models.isEmpty()
                       ? QStringLiteral("Connected, but the server lists no models.")
                       : QStringLiteral("Connected. %1 model(s) available.").arg(m_models.size());
        // A model the user typed or chose is never replaced.
        if (m_settings.currentModel().isEmpty() && !m_models.isEmpty())
            m_settings.setCurrentModel(m_models.first());
    }
    m_loading = false;
    showModels();
    showStatus();
    Q_EMIT listingApplied();
}

void ModelTab::showProvider() {
    const Provider provider = m_settings.provider();
    m_providerPicker->setCurrentIndex(Providers::allCases().indexOf(provider));
    m_form->setRowVisible(m_ollamaRow, provider == Provider::ollama);
    m_form->setRowVisible(m_lmStudioRow, provider == Provider::lmstudio);
    m_form->setRowVisible(m_customRow, provider == Provider::custom);
    // Ollama takes no key; a stored key stays in the keyring for the others.
    m_form->setRowVisible(m_apiKeyRow, provider != Provider::ollama);
}

void ModelTab::showModel() {
    showText(m_model, m_settings.currentModel());
}

void ModelTab::showModels() {
    m_chooseMenu->clear();
    for (const QString& name : m_models) {
        // A menu reads "&" as a shortcut marker; model names show it as typed.
        QString title = name;
        title.replace(QLatin1Char('&'), QStringLiteral("&&"));
        m_chooseMenu->addAction(title, this, [this, name] { m_settings.setCurrentModel(name); });
    }
    m_choose->setEnabled(!m_models.isEmpty());
}

void ModelTab::showStatus() {
    m_refresh->setEnabled(!m_loading);
    m_spinner->setVisible(m_loading);
    m_statusLabel->setVisible(!m_loading && !m_status.isEmpty());
    m_statusLabel->setText(m_status);
    const QPalette& colors = palette();
    SettingsStyle::setTextColor(m_statusLabel, m_statusIsError ? SettingsStyle::red(colors)
                                                               : SettingsStyle::green(colors));
}
