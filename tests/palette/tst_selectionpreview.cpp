#include "palette/SelectionPreview.h"

#include <QTest>

class SelectionPreviewTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void longTextIsCutAt160WithAnEllipsis() {
        const QString text = QString(200, QLatin1Char('a'));
        QCOMPARE(SelectionPreview::text(text), QString(160, QLatin1Char('a')) + QChar(0x2026));
    }

    void exactly160IsShownWhole() {
        const QString text = QString(160, QLatin1Char('b'));
        QCOMPARE(SelectionPreview::text(text), text);
        QCOMPARE(SelectionPreview::text(text + QLatin1Char('c')), text + QChar(0x2026));
    }

    void lineFeedsBecomeSpaces() {
        QCOMPARE(SelectionPreview::text(QStringLiteral("one\ntwo\n\nthree")),
                 QStringLiteral("one two  three"));
        // Other line breaks are left alone.
        QCOMPARE(SelectionPreview::text(QStringLiteral("a\rb\u2028c")),
                 QStringLiteral("a\rb\u2028c"));
    }

    void charactersAreCountedAsTheUserSeesThem() {
        // 160 emoji (two UTF-16 units each) are shown whole; one more is cut
        // after the 160th, never inside one.
        const QString face = QStringLiteral("\U0001F600");
        QString text;
        for (int i = 0; i < 160; ++i)
            text += face;
        QCOMPARE(SelectionPreview::text(text), text);
        QCOMPARE(SelectionPreview::text(text + face), text + QChar(0x2026));
        // A letter with a combining accent is one character.
        QString accented;
        for (int i = 0; i < 161; ++i)
            accented += QStringLiteral("e\u0301");
        QCOMPARE(SelectionPreview::text(accented), accented.left(320) + QChar(0x2026));
    }

    void emptyStaysEmpty() { QCOMPARE(SelectionPreview::text(QString()), QString()); }
};

QTEST_GUILESS_MAIN(SelectionPreviewTest)
#include "tst_selectionpreview.moc"
