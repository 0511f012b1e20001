#include "permissions/Alert.h"

#include <QCoroSignal>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace Alert {

QCoro::Task<int> show(Content content) {
    QPointer<QMessageBox> box = new QMessageBox;
    box->setWindowModality(content.modal ? Qt::ApplicationModal : Qt::NonModal);
    box->setWindowTitle(QStringLiteral("Wendle"));
    box->setIcon(QMessageBox::Warning);
    box->setText(content.message);
    box->setInformativeText(content.informative);

    QList<QAbstractButton*> buttons;
    if (content.buttons.isEmpty())
        content.buttons.append(QStringLiteral("OK"));
    for (qsizetype i = 0; i < content.buttons.size(); ++i) {
        // AcceptRole for the default keeps it on the right where the style
        // puts the affirmative choice.
        QPushButton* button = box->addButton(
            content.buttons.at(i), i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
        buttons.append(button);
        if (i == 0)
            box->setDefaultButton(button);
    }

    box->show();
    box->raise();
    box->activateWindow();
    co_await qCoro(box.data(), &QMessageBox::finished);
    if (!box)
        co_return -1;
    const int choice = int(buttons.indexOf(box->clickedButton()));
    box->deleteLater();
    co_return choice;
}

Presenter realPresenter() {
    return [](Content content) { return show(std::move(content)); };
}

} // namespace Alert
