#include "palette/PaletteKeyTable.h"

#include <QTest>

using namespace PaletteKeyTable;
using Phase = PaletteModel::Phase;

namespace {
Key key(int k, Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
    return Key{k, modifiers, text};
}
Result in(const Key& k, Phase phase, SelectionSource source = SelectionSource::selection) {
    return interpret(k, source, phase);
}
const Result nothing{};
} // namespace

class PaletteKeyTableTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void escapeClosesEverywhere() {
        for (Phase phase : {Phase::choose, Phase::running, Phase::done, Phase::failed}) {
            for (SelectionSource source :
                 {SelectionSource::selection, SelectionSource::clipboard, SelectionSource::none})
                QCOMPARE(in(key(Qt::Key_Escape), phase, source), Result{Command::close});
        }
    }

    void withoutTextOnlyEscapeActs() {
        const auto none = SelectionSource::none;
        QCOMPARE(in(key(Qt::Key_Return), Phase::choose, none), nothing);
        QCOMPARE(in(key(Qt::Key_Down), Phase::choose, none), nothing);
        QCOMPARE(in(key(Qt::Key_1, {}, "1"), Phase::choose, none), nothing);
        QCOMPARE(in(key(Qt::Key_C, Qt::ControlModifier), Phase::done, none), nothing);
    }

    void theListTable() {
        QCOMPARE(in(key(Qt::Key_Return), Phase::choose), Result{Command::runSelected});
        QCOMPARE(in(key(Qt::Key_Enter, Qt::KeypadModifier), Phase::choose),
                 Result{Command::runSelected});
        QCOMPARE(in(key(Qt::Key_Left), Phase::choose), Result{Command::previousOption});
        QCOMPARE(in(key(Qt::Key_Right), Phase::choose), Result{Command::nextOption});
        QCOMPARE(in(key(Qt::Key_Down), Phase::choose), Result{Command::moveDown});
        QCOMPARE(in(key(Qt::Key_Up), Phase::choose), Result{Command::moveUp});
        // Arrows and Return act whatever modifiers are held.
        QCOMPARE(in(key(Qt::Key_Down, Qt::ControlModifier | Qt::ShiftModifier), Phase::choose),
                 Result{Command::moveDown});
        QCOMPARE(in(key(Qt::Key_Return, Qt::ControlModifier), Phase::choose),
                 Result{Command::runSelected});
    }

    void digitsPickFromTheTopRowAndTheKeypad() {
        for (int n = 1; n <= 9; ++n)
            QCOMPARE(in(key(Qt::Key_0 + n, {}, QString::number(n)), Phase::choose),
                     (Result{Command::pick, n}));
        QCOMPARE(in(key(Qt::Key_3, Qt::KeypadModifier, "3"), Phase::choose),
                 (Result{Command::pick, 3}));
    }

    void otherCharactersDoNothing() {
        QCOMPARE(in(key(Qt::Key_0, {}, "0"), Phase::choose), nothing);
        QCOMPARE(in(key(Qt::Key_A, {}, "a"), Phase::choose), nothing);
        QCOMPARE(in(key(Qt::Key_Exclam, Qt::ShiftModifier, "!"), Phase::choose), nothing);
        QCOMPARE(in(key(Qt::Key_unknown, {}, "12"), Phase::choose), nothing);
        QCOMPARE(in(key(Qt::Key_Space, {}, " "), Phase::choose), nothing);
    }

    void digitsWithCtrlDoNothing() {
        QCOMPARE(in(key(Qt::Key_2, Qt::ControlModifier, "2"), Phase::choose), nothing);
    }

    void ctrlCInTheListDoesNothing() {
        QCOMPARE(in(key(Qt::Key_C, Qt::ControlModifier, "\x03"), Phase::choose), nothing);
    }

    void theResultTable() {
        for (Phase phase : {Phase::running, Phase::done, Phase::failed}) {
            QCOMPARE(in(key(Qt::Key_Backspace), phase), Result{Command::back});
            QCOMPARE(in(key(Qt::Key_Backspace, Qt::ShiftModifier), phase), Result{Command::back});
            QCOMPARE(in(key(Qt::Key_Return), phase), Result{Command::replace});
            QCOMPARE(in(key(Qt::Key_Enter, Qt::KeypadModifier), phase), Result{Command::replace});
            QCOMPARE(in(key(Qt::Key_C, Qt::ControlModifier, "\x03"), phase), Result{Command::copy});
            QCOMPARE(in(key(Qt::Key_R, Qt::ControlModifier, "\x12"), phase),
                     Result{Command::retry});
            // Without Ctrl, c and r are letters and do nothing.
            QCOMPARE(in(key(Qt::Key_C, {}, "c"), phase), nothing);
            QCOMPARE(in(key(Qt::Key_R, {}, "r"), phase), nothing);
            // Digits and arrows belong to the list.
            QCOMPARE(in(key(Qt::Key_1, {}, "1"), phase), nothing);
            QCOMPARE(in(key(Qt::Key_Down), phase), nothing);
        }
    }

    void theHotKeyTypedIntoThePaletteActsAsTheHotKey() {
        for (Phase phase : {Phase::choose, Phase::running, Phase::done}) {
            for (SelectionSource source : {SelectionSource::selection, SelectionSource::none}) {
                QCOMPARE(in(key(Qt::Key_Space, Qt::ControlModifier | Qt::AltModifier, " "), phase,
                            source),
                         Result{Command::hotKey});
            }
        }
        QCOMPARE(in(key(Qt::Key_Space, Qt::MetaModifier | Qt::AltModifier, " "), Phase::choose),
                 Result{Command::hotKey});
        QCOMPARE(in(key(Qt::Key_Space, Qt::ControlModifier, " "), Phase::choose), nothing);
        QCOMPARE(
            in(key(Qt::Key_Space, Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier, " "),
               Phase::choose),
            nothing);
    }
};

QTEST_GUILESS_MAIN(PaletteKeyTableTest)
#include "tst_palettekeytable.moc"
