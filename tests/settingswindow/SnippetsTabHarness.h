#pragma once

#include "SettingsFixture.h"
#include "settingswindow/SnippetsTab.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTest>

#include <memory>

// A Snippets tab over a fixture of its own, with what its tests do to it:
// click a row, read the list, answer the file dialog.
class SnippetsTabHarness : public QObject {
    Q_OBJECT

protected:
    void setUpTab() {
        m_fixture = std::make_unique<SettingsFixture>();
        makeTab();
    }
    void tearDownTab() {
        m_tab.reset();
        m_fixture.reset();
    }

    void makeTab(PermissionService* permissions = nullptr) {
        m_tab = std::make_unique<SnippetsTab>(
            m_fixture->snippets, m_fixture->settings, m_fixture->engine,
            permissions ? *permissions : m_fixture->platform.permissionsFake);
        m_tab->resize(660, 460);
        m_tab->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_tab.get()));
    }

    template <typename T>
    T* child(const char* name) const {
        return m_tab->findChild<T*>(QLatin1String(name));
    }

    // The rows of the list as shown.
    QStringList listed() const {
        QStringList rows;
        QAbstractItemModel* model = child<QListView>("snippets")->model();
        for (int row = 0; row < model->rowCount(); ++row)
            rows.append(model->index(row, 0).data().toString());
        return rows;
    }

    void selectRow(int row) {
        auto* list = child<QListView>("snippets");
        const QRect rect = list->visualRect(list->model()->index(row, 0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    }

    // Answers the open file dialog with `path`: puts it into the name field
    // and clicks the dialog's Open or Save button. (Typed in key by key, the
    // field's completion list would pop up at a moment that depends on how
    // fast the folder is read, and take the Return key.)
    bool answerDialog(const QString& path) {
        QFileDialog* dialog = m_tab->fileDialog();
        if (!dialog || !QTest::qWaitForWindowExposed(dialog))
            return false;
        auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        auto* buttons = dialog->findChild<QDialogButtonBox*>();
        if (!name || !buttons)
            return false;
        name->setText(path);
        QPushButton* accept = nullptr;
        for (QAbstractButton* button : buttons->buttons()) {
            if (buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
                accept = qobject_cast<QPushButton*>(button);
        }
        if (!accept || !accept->isEnabled())
            return false;
        QTest::mouseClick(accept, Qt::LeftButton);
        return QTest::qWaitFor([&] { return !m_tab->fileDialog(); }, 5000);
    }

    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<SnippetsTab> m_tab;
};
