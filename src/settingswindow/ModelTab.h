#pragma once

#include "llm/LLMClient.h"
#include "settings/Provider.h"

#include <QCoroTask>
#include <QStringList>
#include <QWidget>

#include <memory>

class AppSettings;
class FormGrid;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class SegmentedControl;
class Spinner;

// The "Model" tab: which kind of server, its address, an optional API key,
// and the model, with a live check of what the server offers. Every control
// writes straight into the settings or the keyring; there is no Save.
class ModelTab : public QWidget {
    Q_OBJECT
public:
    explicit ModelTab(AppSettings& settings, QWidget* parent = nullptr);
    ~ModelTab() override;

    // Lists the server's models and shows the outcome in the status line.
    void refresh();

    // The last successful listing (empty after a failure).
    QStringList models() const { return m_models; }
    // The status line: empty, a success text, or an error text.
    QString status() const { return m_status; }
    bool statusIsError() const { return m_statusIsError; }
    bool isLoading() const { return m_loading; }

Q_SIGNALS:
    // A listing has ended and its outcome is on screen.
    void listingApplied();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QCoro::Task<> loadKey();
    QCoro::Task<> runListing();
    void startListing();
    void applyListing(const LLMClient::ModelList& listing);
    void providerChanged();
    void showProvider();
    void showModel();
    void showModels();
    void showStatus();

    AppSettings& m_settings;
    Provider m_provider;
    QStringList m_models;
    QString m_status;
    bool m_statusIsError = false;
    bool m_loading = false;
    bool m_keyEdited = false;

    std::unique_ptr<FormGrid> m_form;
    SegmentedControl* m_providerPicker = nullptr;
    QLineEdit* m_ollamaURL = nullptr;
    QLineEdit* m_lmStudioURL = nullptr;
    QLineEdit* m_customURL = nullptr;
    QLineEdit* m_apiKey = nullptr;
    QLineEdit* m_model = nullptr;
    QPushButton* m_choose = nullptr;
    QMenu* m_chooseMenu = nullptr;
    QPushButton* m_refresh = nullptr;
    Spinner* m_spinner = nullptr;
    QLabel* m_statusLabel = nullptr;
    int m_ollamaRow = -1;
    int m_lmStudioRow = -1;
    int m_customRow = -1;
    int m_apiKeyRow = -1;
};
