#include "permissions/Alert.h"

#include "RecordingPlatform.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

namespace {
QMessageBox* openBox() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(window); box && box->isVisible())
            return box;
    }
    return nullptr;
}
} // namespace

// The real alert on a real (virtual) display: shown without a nested event
// loop, answered by a click.
class AlertTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void answersTheClickedButton() {
        Alert::Content content{QStringLiteral("Message"),
                               QStringLiteral("Details"),
                               {QStringLiteral("First"), QStringLiteral("Second")}};
        int answer = -2;
        auto task = Alert::show(content);
        QCoro::connect(std::move(task), this, [&](int choice) { answer = choice; });

        QTRY_VERIFY(openBox() != nullptr);
        QMessageBox* box = openBox();
        QCOMPARE(box->text(), QStringLiteral("Message"));
        QCOMPARE(box->informativeText(), QStringLiteral("Details"));
        QCOMPARE(box->windowModality(), Qt::ApplicationModal);
        QCOMPARE(box->defaultButton()->text(), QStringLiteral("First"));
        // The event loop runs on while the alert waits.
        QCOMPARE(answer, -2);

        QPushButton* second = nullptr;
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == QStringLiteral("Second"))
                second = qobject_cast<QPushButton*>(button);
        }
        QVERIFY(second);
        QTest::mouseClick(second, Qt::LeftButton);
        QTRY_COMPARE(answer, 1);
        QTRY_VERIFY(openBox() == nullptr);
    }

    void singleOkButtonByDefaultAndNonModalNotice() {
        Alert::Content content{QStringLiteral("Notice"), QString(), {}};
        content.modal = false;
        int answer = -2;
        QCoro::connect(Alert::show(content), this, [&](int choice) { answer = choice; });
        QTRY_VERIFY(openBox() != nullptr);
        QMessageBox* box = openBox();
        QCOMPARE(box->buttons().size(), 1);
        QCOMPARE(box->buttons().at(0)->text(), QStringLiteral("OK"));
        QCOMPARE(box->windowModality(), Qt::NonModal);
        QTest::keyClick(box, Qt::Key_Return);
        QTRY_COMPARE(answer, 0);
    }
};

QTEST_MAIN(AlertTest)
#include "tst_alert.moc"
